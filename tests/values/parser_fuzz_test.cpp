// Deterministic garbage through every parser and back through the writers:
// under the sanitizers this proves no crash, no overrun and, through the
// leak-checking main, no leak.
#include <random>

#include <gtest/gtest.h>

#include "values/property_parser.h"
#include "values/svg_attribute_reader.h"
#include "values/svg_attribute_writer.h"
#include "values/value_formatter.h"
#include "values/value_parser.h"
#include "values_test_support.h"

namespace {

constexpr char16_t kLoneSurrogate[] = {0xD800, 0};

// Pieces that the grammars care about, so that random text reaches deep.
const std::u16string_view kPieces[] = {
    u"0", u"1", u"9", u"12.5", u".", u"-", u"+", u"e", u"E", u",", u" ", u"\t", u"\r\n", u";", u":", u"#", u"&",
    u"x", u"D", u"A", u"a", u"M", u"m", u"L", u"l", u"H", u"v", u"C", u"s", u"Q", u"t", u"Z", u"z", u"(", u")",
    u"%", u"px", u"pc", u"deg", u"rad", u"url(#", u"rgb(", u"none", u"auto", u"normal", u"currentColor",
    u"translate", u"scale", u"rotate", u"skewX", u"matrix", u"fill", u"stroke-dasharray", u"font-family",
    u"dominant-baseline", u"central", u"&#xD;", u"\u00A0", u"\u00E9", u"\uFFFF",
    std::u16string_view(kLoneSurrogate, 1), u"c", u"inf", u"0x",
};

std::u16string RandomText(std::mt19937& random)
{
    std::u16string text;
    size_t pieces = random() % 40;
    if (random() % 50 == 0)
        pieces = 600;  // now and then something far past every fixed buffer
    for (size_t i = 0; i < pieces; ++i) {
        if (random() % 8 == 0)
            text.push_back(static_cast<char16_t>(random() % 0x80));
        else
            text += kPieces[random() % std::size(kPieces)];
    }
    return text;
}

void ParseAndWriteEverything(std::u16string_view text, uint32_t version, uint32_t flags)
{
    KvChar buffer[kNumberTextCapacity];
    KvChar* owned = nullptr;

    SvgLength length;
    InitLength(&length);
    ParseLength(text, &length);
    LengthToString(&length, buffer);
    SvgPercentage percentage;
    InitPercentage(&percentage);
    ParsePercentage(text, &percentage);
    PercentageToString(&percentage, buffer, 20);
    SvgAngle angle;
    InitAngle(&angle);
    ParseAngle(text, &angle);
    AngleToString(&angle, buffer);
    IsNumberText(text);
    ParseVersion(text);

    SvgPaint paint;
    InitPaint(&paint);
    ParsePaint(text, &paint);
    PaintToString(&paint, &owned);
    KV_FREE(owned);
    owned = nullptr;
    int32_t incomplete = 0;
    ParseColor(text, &paint.color, &incomplete);
    ColorToString(&paint.color, &owned);
    KV_FREE(owned);
    owned = nullptr;
    FreePaint(&paint);

    KvChar* id = nullptr;
    ParseReference(text, &id);
    UriToString(id, &owned);
    KV_FREE(owned);
    owned = nullptr;
    KV_FREE(id);

    SvgLength* lengths = nullptr;
    uint32_t count = 0;
    ParseLengthList(text, &lengths, &count);
    LengthListToString(count, lengths, &owned);  // a partial list comes back too
    KV_FREE(owned);
    owned = nullptr;
    KV_FREE(lengths);
    double* numbers = nullptr;
    ParseNumberList(text, &numbers, &count);
    NumberListToString(count, numbers, &owned);
    KV_FREE(owned);
    owned = nullptr;
    KV_FREE(numbers);

    SvgTransformList transforms;
    InitTransformList(&transforms);
    ParseTransformList(text, &transforms);
    TransformListToString(&transforms, &owned);
    KV_FREE(owned);
    owned = nullptr;
    FreeTransformList(&transforms);

    SvgPathData path;
    InitPathData(&path);
    ParsePathData(text, &path);
    PathDataToString(&path, &owned);
    KV_FREE(owned);
    owned = nullptr;
    FreePathData(&path);

    SvgPoint* points = nullptr;
    ParsePoints(text, &points, &count);
    PointsToString(count, points, &owned);
    KV_FREE(owned);
    owned = nullptr;
    KV_FREE(points);

    SvgViewBox box;
    InitViewBox(&box);
    ParseViewBox(text, &box);
    SvgPreserveAspectRatio ratio;
    InitPreserveAspectRatio(&ratio);
    ParsePreserveAspectRatio(text, &ratio);
    uint32_t bits = 0;
    ParseTextDecoration(text, &bits);
    ParseFeatures(text, &bits);
    FeaturesToString(bits, &owned);
    KV_FREE(owned);
    owned = nullptr;

    SvgKeywordAngle orient;
    InitKeywordAngle(&orient);
    ParseOrientValue(text, &orient);
    GlyphOrientationVerticalToString(&orient, buffer);

    // The style attribute and, through a node, every reader and writer.
    std::string utf8 = ToUtf8(text);
    pugi::xml_document document;
    pugi::xml_node node = document.append_child("text");
    for (const char* name : {"style", "fill", "stroke", "stroke-dasharray", "font", "baseline-shift", "clip-path",
                             "dominant-baseline", "font-weight", "color-profile", "kerning", "x", "rotate", "d",
                             "points", "viewBox", "preserveAspectRatio", "transform", "xlink:type", "id"})
        node.append_attribute(name).set_value(utf8.c_str());
    SvgAttributeReader reader(node, version, flags);
    StyleRecord style;
    reader.ReadPresentationAttributes(style.get());
    ParseStyleAttribute(reader, text, style.get());
    SvgTextPositionAttributes position;
    InitTextPositionAttributes(&position);
    reader.ReadTextPositionAttributes(&position);
    SvgXlinkAttributes xlink;
    InitXlinkAttributes(&xlink);
    KvChar* href = nullptr;
    reader.ReadXlinkAttributes(&xlink, &href);
    SvgCoreAttributes core;
    InitCoreAttributes(&core);
    reader.ReadCoreAttributes(&core);

    SvgAttributeWriter writer(node, version);
    writer.WritePresentationAttributes(style.get());
    writer.WriteTextPositionAttributes(&position);
    writer.WriteXlinkAttributes(&xlink);
    writer.WriteCoreAttributes(&core);
    writer.WriteViewBox(&box);
    writer.WritePreserveAspectRatio(&ratio);
    writer.WriteOrientAttribute(&orient);
    writer.SetNodeText(utf8.empty() ? nullptr : std::u16string(text).c_str());
    FreeTextPositionAttributes(&position);
    FreeXlinkAttributes(&xlink);
    FreeCoreAttributes(&core);
    KV_FREE(href);
}

}  // namespace

TEST(ParserFuzz, SurvivesGarbageInEveryParserAndWriter)
{
    std::mt19937 random(20240611);
    for (int round = 0; round < 15000; ++round) {
        std::u16string text = RandomText(random);
        ParseAndWriteEverything(text, random() % 3, random() % 2);
    }
}

TEST(ParserFuzz, ReportsEveryFailedAllocationAndLeavesNothingBehind)
{
    Element element("<path fill='url(#g)' stroke='#abc' stroke-dasharray='1 2 3' font-family='Serif' "
                    "d='M0 0 L1 1 L2 2' transform='scale(2) rotate(5)' style='fill:red;color-profile:x'/>");
    SvgAttributeReader reader(element.node(), 2);
    bool sawFailure = false;
    for (long successes = 0; successes < 40; ++successes) {
        SCOPED_TRACE(successes);
        StyleRecord style;
        SvgPathData path;
        InitPathData(&path);
        SvgTransformList list;
        InitTransformList(&list);
        TrackedFailAllocationAfter(successes);
        int32_t status = reader.ReadPresentationAttributes(style.get());
        if (status == SUCCESS)
            status = reader.ReadPathDataAttribute(&path);
        if (status == SUCCESS)
            status = reader.ReadTransformAttribute("transform", &list);
        KvChar* text = nullptr;
        if (status == SUCCESS)
            status = PathDataToString(&path, &text);
        TrackedFailAllocationAfter(-1);
        EXPECT_TRUE(status == SUCCESS || status == ERROR_NO_MEMORY) << status;
        sawFailure = sawFailure || status == ERROR_NO_MEMORY;
        if (text)
            KV_FREE(text);
        FreePathData(&path);
        FreeTransformList(&list);
    }
    EXPECT_TRUE(sawFailure);
}
