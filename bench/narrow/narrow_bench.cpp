// What a narrow twin costs beside its wide export: an attribute read (text
// in and text out) and a whole element record read with its strings.
#include <string>

#include <benchmark/benchmark.h>

#include "kvsvg/kvsvg.h"

namespace {

constexpr char kText[] =
    "<svg><text id=\"t\xC3\xAB\" font-family=\"Frakt\xC3\xBCr\" fill=\"url(#gr\xC3\xA4\x64)\" "
    "stroke=\"#102030\" clip-path=\"url(#c)\" systemLanguage=\"fr\">Gr\xC3\xBC\xC3\x9F\x65 aus Z\xC3\xBCrich</text></svg>";

struct Fixture {
    SvgHandle document = nullptr;
    SvgHandle text = nullptr;
    Fixture()
    {
        K_SvgLoadDocumentMemory(kText, sizeof kText - 1, &document, nullptr);
        K_SvgSelectSingleNode(document, u"//text", &text);
    }
    ~Fixture()
    {
        K_SvgFreeNode(text);
        K_SvgFreeNode(document);
    }
};

void WideAttribute(benchmark::State& state)
{
    Fixture f;
    for (auto _ : state) {
        KvChar* value = nullptr;
        K_SvgGetElementAttributeValue(f.text, u"font-family", &value);
        K_SvgFreeMemory(value);
    }
}
BENCHMARK(WideAttribute);

void NarrowAttribute(benchmark::State& state)
{
    Fixture f;
    for (auto _ : state) {
        char* value = nullptr;
        K_SvgGetElementAttributeValueA(f.text, "font-family", &value);
        K_SvgFreeMemory(value);
    }
}
BENCHMARK(NarrowAttribute);

void WideRecord(benchmark::State& state)
{
    Fixture f;
    for (auto _ : state) {
        SvgTextElement record;
        K_SvgInitElement(&record, SVG_ELEMENT_TEXT, kSvgTextElementSize);
        K_SvgGetElement(f.text, &record, kSvgTextElementSize);
        K_SvgFreeElement(&record, SVG_ELEMENT_TEXT);
    }
}
BENCHMARK(WideRecord);

void NarrowRecord(benchmark::State& state)
{
    Fixture f;
    for (auto _ : state) {
        SvgTextElementA record;
        K_SvgGetElementA(f.text, &record, kSvgTextElementASize);
        K_SvgFreeElement(&record, SVG_ELEMENT_TEXT);
    }
}
BENCHMARK(NarrowRecord);

}  // namespace

BENCHMARK_MAIN();
