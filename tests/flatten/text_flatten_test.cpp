// Text in the flat form: runs of plain strings with one x and y per
// character, as a caller reads them back. Liberation Mono at 20.48 pixels
// advances every character by exactly 12.29, so expected positions are
// written out as a reader would count them.
#include <algorithm>
#include <cstdlib>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"
#include "flatten/flat_promises.h"
#include "kvsvg/kvdrw.h"

using kvtest::FlatContent;

namespace {

// A document whose text is set in the monospaced face.
std::string Mono(const std::string& body, const std::string& extra = "")
{
    return R"~(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="300" )~"
           R"~(height="200" font-family="Liberation Mono" font-size="20.48")~" +
           extra + ">" + body + "</svg>";
}

const char* const kFont = R"~( font-family="Liberation Mono" font-size="20.48")~";

struct FlatCase {
    const char* name;
    std::string svg;
    std::string flat;
};

void ExpectFlat(const std::vector<FlatCase>& cases, const K_SvgFlatOptions* options = nullptr)
{
    for (const FlatCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(FlatContent(c.svg, options), c.flat);
    }
}

std::string FlatRun(const std::string& attributes, const std::string& text)
{
    return "<text " + attributes + kFont + ">" + text + "</text>";
}

}  // namespace

TEST(TextFlatten, PositionListsGiveEveryCharacterItsPlace)
{
    ExpectFlat({
        {"an x list places each character and y defaults to 0",
         Mono(R"~(<text x="10 20 30">abc</text>)~"), FlatRun(R"~(x="10 20 30" y="0 0 0")~", "abc")},
        {"past the list the pen moves on by the advance",
         Mono(R"~(<text x="10" y="20">abcd</text>)~"), FlatRun(R"~(x="10 22.29 34.58 46.87" y="20 20 20 20")~", "abcd")},
        {"dx and dy accumulate and dy moves the pen for good",
         Mono(R"~(<text x="10" y="20" dx="1 1" dy="0 5">abc</text>)~"),
         FlatRun(R"~(x="11" y="20")~", "a") + FlatRun(R"~(x="24.29 36.58" y="25 25")~", "bc")},
        {"a tspan's dy splits the run and the text after it stays on its line",
         Mono(R"~(<text x="10" y="20">a<tspan dy="5">b</tspan>c</text>)~"),
         FlatRun(R"~(x="10" y="20")~", "a") + FlatRun(R"~(x="22.29" y="25")~", "b") + FlatRun(R"~(x="34.58" y="25")~", "c")},
        {"a tspan's x list counts from its first character; the parent's list shows through after it",
         Mono(R"~(<text x="10 20 30 40 50">a<tspan x="100">b</tspan>cd</text>)~"),
         FlatRun(R"~(x="10" y="0")~", "a") + FlatRun(R"~(x="100" y="0")~", "b") + FlatRun(R"~(x="30 40" y="0 0")~", "cd")},
        {"an absolute position in a tspan starts a new chunk of its own",
         Mono(R"~(<text x="10" y="20">ab<tspan x="100" y="60">cd</tspan></text>)~"),
         FlatRun(R"~(x="10 22.29" y="20 20")~", "ab") + FlatRun(R"~(x="100 112.29" y="60 60")~", "cd")},
        {"lengths in em resolve against the whole pixels of the font size",
         Mono(R"~(<text x="1em" y="2em">a</text>)~"), FlatRun(R"~(x="20" y="40")~", "a")},
    });
}

TEST(TextFlatten, RotateListsTurnCharactersAndTheLastValueHolds)
{
    ExpectFlat({
        {"each turned character is a run of its own, the last value repeating",
         Mono(R"~(<text x="10" y="20" rotate="0 45">abc</text>)~"),
         FlatRun(R"~(x="10" y="20")~", "a") + FlatRun(R"~(rotate="45" x="22.29" y="20")~", "b") +
             FlatRun(R"~(rotate="45" x="34.58" y="20")~", "c")},
        {"quarter turns on one line stay together",
         Mono(R"~(<text x="10" y="20" rotate="90">ab</text>)~"), FlatRun(R"~(rotate="90 90" x="10 22.29" y="20 20")~", "ab")},
        {"a tspan's rotate replaces the parent's from its first character",
         Mono(R"~(<text x="10" y="20" rotate="90">a<tspan rotate="180">bc</tspan></text>)~"),
         FlatRun(R"~(rotate="90" x="10" y="20")~", "a") + FlatRun(R"~(rotate="180 180" x="22.29 34.58" y="20 20")~", "bc")},
    });
}

TEST(TextFlatten, AnchorsShiftEachChunkByItsMeasuredWidth)
{
    ExpectFlat({
        {"start leaves the chunk where it begins",
         Mono(R"~(<text x="100" y="50" text-anchor="start">ab</text>)~"),
         FlatRun(R"~(x="100 112.29" y="50 50")~", "ab")},
        {"middle centres it on its start",
         Mono(R"~(<text x="100" y="50" text-anchor="middle">ab</text>)~"),
         FlatRun(R"~(x="87.71 100" y="50 50")~", "ab")},
        {"end ends it there",
         Mono(R"~(<text x="100" y="50" text-anchor="end">ab</text>)~"),
         FlatRun(R"~(x="75.42 87.71" y="50 50")~", "ab")},
        {"a chunk spanning a tspan moves as a whole",
         Mono(R"~(<text x="100" y="50" text-anchor="end">a<tspan fill="red">b</tspan></text>)~"),
         FlatRun(R"~(x="75.42" y="50")~", "a") +
             R"~(<text x="87.71" y="50" fill="red" font-family="Liberation Mono" font-size="20.48">b</text>)~"},
        {"every absolute position anchors its own chunk",
         Mono(R"~(<text x="100 200" y="50" text-anchor="end">a b</text>)~"),
         FlatRun(R"~(x="87.71 175.42 187.71" y="50 50 50")~", "a b")},
        {"trailing white space takes no part in the width",
         Mono(R"~(<text x="100" y="50" text-anchor="end">ab </text>)~"),
         FlatRun(R"~(x="75.42 87.71" y="50 50")~", "ab")},
        {"right to left a Latin word still reads from the left, ends where the line starts, and end anchors its left end",
         Mono(R"~(<text x="100" y="50" direction="rtl">ab</text><text x="100" y="90" direction="rtl" text-anchor="end">ab</text>)~"),
         R"~(<text x="87.71 100" y="50 50" direction="rtl")~" + std::string(kFont) + ">ab</text>" +
             R"~(<text x="112.29 124.58" y="90 90" direction="rtl")~" + kFont + ">ab</text>"},
        {"vertical text runs down the page and anchors along it",
         Mono(R"~(<text x="100" y="50" writing-mode="tb" text-anchor="end">ab</text>)~"),
         R"~(<text x="100 100" y="25.42 37.71" writing-mode="tb")~" + std::string(kFont) + ">ab</text>"},
    });
}

TEST(TextFlatten, WhiteSpaceCollapsesUnlessPreserved)
{
    ExpectFlat({
        {"inner runs of white space become one blank, the ends go",
         Mono("<text x=\"10\" y=\"20\">  a \t\n  b  </text>"), FlatRun(R"~(x="10 22.29 34.58" y="20 20 20")~", "a b")},
        {"white space between two strings counts once",
         Mono(R"~(<text x="10" y="20"><tspan>a </tspan><tspan> b</tspan></text>)~"),
         FlatRun(R"~(x="10" y="20")~", "a") + FlatRun(R"~(x="34.58" y="20")~", "b")},
        {"the blank between two tspans is one advance",
         Mono(R"~(<text x="10" y="20"><tspan>a</tspan> <tspan>b</tspan>  <tspan>c</tspan></text>)~"),
         FlatRun(R"~(x="10" y="20")~", "a") + FlatRun(R"~(x="34.58" y="20")~", "b") +
             FlatRun(R"~(x="59.16" y="20")~", "c")},
        {"indented markup inside a text reads as blanks between its parts",
         Mono("<text x=\"10\" y=\"20\">\n  <tspan>a</tspan>\n  <tspan>b</tspan>\n</text>"),
         FlatRun(R"~(x="10" y="20")~", "a") + FlatRun(R"~(x="34.58" y="20")~", "b")},
        {"a string of blanks between two others gives one advance",
         Mono(R"~(<text x="10" y="20">a<tspan>   </tspan>b</text>)~"),
         FlatRun(R"~(x="10" y="20")~", "a") + FlatRun(R"~(x="34.58" y="20")~", "b")},
        {"preserve keeps every blank and marks the run",
         Mono(R"~(<text x="10" y="20" xml:space="preserve"> a  b</text>)~"),
         R"~(<text xml:space="preserve" x="10 22.29 34.58 46.87 59.16" y="20 20 20 20 20")~" + std::string(kFont) +
             R"~( style="white-space:pre;"> a  b</text>)~"},
        {"empty and blank texts write nothing",
         Mono(R"~(<text x="10" y="20"></text><text>   </text><text><tspan/></text>)~"), ""},
    });
}

TEST(TextFlatten, SpacingAndFontChoices)
{
    ExpectFlat({
        {"letter-spacing adds to every advance and word-spacing to blanks",
         Mono(R"~(<text x="10" y="20" letter-spacing="2" word-spacing="10">a b</text>)~"),
         R"~(<text x="10 24.29 48.58" y="20 20 20")~" + std::string(kFont) +
             R"~( letter-spacing="2" word-spacing="10">a b</text>)~"},
        {"a font size of 0 measures at 12 pixels and keeps its size",
         Mono(R"~(<text x="10" y="20" font-size="0">ab</text>)~"),
         R"~(<text x="10 17.2012" y="20 20" font-family="Liberation Mono" font-size="0">ab</text>)~"},
        {"a tspan with its own style makes its own run",
         Mono(R"~(<text x="10" y="20">a<tspan font-weight="bold" fill="blue">b</tspan>c</text>)~"),
         FlatRun(R"~(x="10" y="20")~", "a") +
             R"~(<text x="22.29" y="20" fill="blue" font-weight="bold" font-family="Liberation Mono" font-size="20.48">b</text>)~" +
             FlatRun(R"~(x="34.58" y="20")~", "c")},
        {"hanging and central baselines move the characters, the style forgets them",
         Mono(R"~(<text x="10" y="20" dominant-baseline="hanging">a</text>)~"), FlatRun(R"~(x="10" y="37")~", "a")},
    });
}

TEST(TextFlatten, StructureInsideAndAroundText)
{
    ExpectFlat({
        {"an a inside text holds its runs",
         Mono(R"~(<text x="10" y="20">a<a xlink:href="#x"><tspan>b</tspan></a>c</text>)~"),
         FlatRun(R"~(x="10" y="20")~", "a") + R"~(<a xlink:href="#x")~" + std::string(kFont) + R"~(><text x="22.29" y="20")~" + kFont +
             ">b</text></a>" + FlatRun(R"~(x="34.58" y="20")~", "c")},
        {"tref and textPath are passed over with their content",
         Mono(R"~(<path id="p" d="M0 0 L100 0"/><text x="10" y="20">a<textPath xlink:href="#p">zz</textPath>)~"
              R"~(<tref xlink:href="#q"/>b</text>)~"),
         R"~(<path d="M0 0 L100 0" font-family="Liberation Mono" font-size="20.48"/>)~" +
             FlatRun(R"~(x="10" y="20")~", "a") + FlatRun(R"~(x="22.29" y="20")~", "b")},
        {"text under a turned group carries the turn as its transform",
         Mono(R"~(<g transform="rotate(90)"><text x="10" y="20">ab</text></g>)~"),
         R"~(<text transform="matrix(0 1 -1 0 0 0)" x="10 22.29" y="20 20")~" + std::string(kFont) + ">ab</text>"},
        {"a translation and a scale are baked into positions and size",
         Mono(R"~(<g transform="translate(5 5) scale(2)"><text x="10" y="20">ab</text></g>)~"),
         R"~(<text x="25 49.58" y="45 45" font-family="Liberation Mono" font-size="40.96">ab</text>)~"},
        {"the carried attributes go on every run",
         Mono(R"~(<text x="10" y="20" original_font_name="Courier" original_opacity="0.5">a<tspan dy="1">b</tspan></text>)~"),
         R"~(<text x="10" y="20")~" + std::string(kFont) + R"~( original_font_name="Courier" original_opacity="0.5">a</text>)~" +
             R"~(<text x="22.29" y="21")~" + kFont + R"~( original_font_name="Courier" original_opacity="0.5">b</text>)~"},
    });
}

TEST(TextFlatten, TextTakesPaintServersAndClipsLikeAShape)
{
    ExpectFlat({
        {"a gradient fill gets its own copy placed on the text's box",
         Mono(R"~(<linearGradient id="g"><stop offset="0" stop-color="red"/></linearGradient>)~"
              R"~(<text x="10" y="20" fill="url(#g)">ab</text>)~"),
         R"~(<linearGradient id="kolv_linearGradient_0" gradientTransform="matrix(24.58 0 0 23 10 3)" )~"
         R"~(gradientUnits="userSpaceOnUse" x1="0" y1="0" x2="1" y2="0"><stop offset="0" stop-color="red"/>)~"
         R"~(</linearGradient><text x="10 22.29" y="20 20" fill="url(#kolv_linearGradient_0)")~" + std::string(kFont) +
             ">ab</text>"},
        {"a clip on the text is written ahead of it",
         Mono(R"~(<clipPath id="c"><rect width="50" height="50"/></clipPath>)~"
              R"~(<text x="10" y="20" clip-path="url(#c)">ab</text>)~"),
         R"~(<clipPath id="c"><path d="M0 0 L50 0 L50 50 L0 50 Z" fill-rule="nonzero"/></clipPath>)~"
         R"~(<text x="10 22.29" y="20 20" clip-path="url(#c)")~" + std::string(kFont) + ">ab</text>"},
    });
}

TEST(TextFlatten, TextOnlyKeepsTextAndDropsTheRest)
{
    K_SvgFlatOptions options{};
    options.uStructSize = kSvgFlatOptionsSize;
    options.uFlags = SVG_FLAT_TEXT_ONLY;
    ExpectFlat({{"shapes go, text stays",
                 Mono(R"~(<rect width="10" height="10"/><text x="10" y="20">a</text><circle r="3"/>)~"),
                 FlatRun(R"~(x="10" y="20")~", "a")}},
               &options);
}

namespace {

// The x and y lists of every flat text, in document order.
struct FlatRunLists {
    std::u16string text;
    std::vector<double> x, y;
};

std::vector<FlatRunLists> FlatTextRuns(const std::string& svg, int32_t* status)
{
    std::vector<FlatRunLists> runs;
    kvtest::Handle source;
    *status = kvtest::LoadText(svg, source);
    if (*status != SUCCESS)
        return runs;
    kvtest::Handle flat;
    *status = K_SvgFlatDocument(source, flat.out(), nullptr);
    if (*status != SUCCESS)
        return runs;
    SvgNodesIterator texts{kSvgNodesIteratorSize, 0, nullptr};
    EXPECT_EQ(K_SvgSelectNodes(flat, u"//text", &texts), SUCCESS);
    for (int32_t i = 0; i < texts.count && texts.nodes[i]; ++i) {
        alignas(8) unsigned char storage[4096];
        auto& record = *reinterpret_cast<SvgTextElement*>(storage);
        EXPECT_EQ(K_SvgInitElement(&record, SVG_ELEMENT_TEXT, kSvgTextElementSize), SUCCESS);
        EXPECT_EQ(K_SvgGetElement(texts.nodes[i], &record, kSvgTextElementSize), SUCCESS);
        FlatRunLists run;
        run.text.assign(record.text ? record.text : u"", record.textCount);
        for (uint32_t k = 0; k < record.position.xCount; ++k)
            run.x.push_back(record.position.x[k].value);
        for (uint32_t k = 0; k < record.position.yCount; ++k)
            run.y.push_back(record.position.y[k].value);
        K_SvgFreeElement(&record, SVG_ELEMENT_TEXT);
        runs.push_back(std::move(run));
    }
    K_SvgFreeIterator(&texts);
    return runs;
}

// The measuring engine and a font on it, given back on every path.
class MeasuringFont {
public:
    MeasuringFont(const char16_t* family, double sizePx)
    {
        void* engine = nullptr;
        EXPECT_EQ(K_DrawingCreateMeasureEngine(&engine), SUCCESS);
        engine_ = static_cast<kvdrw::Engine*>(engine);
        if (engine_)
            EXPECT_EQ(engine_->CreateFont(&font_, 0, family, sizePx * 72.0 / engine_->GetResolution(), 0), SUCCESS);
    }
    ~MeasuringFont()
    {
        if (font_)
            engine_->DeleteObject(font_);
        if (engine_)
            K_DrawingDestroyEngine(engine_);
    }
    MeasuringFont(const MeasuringFont&) = delete;
    MeasuringFont& operator=(const MeasuringFont&) = delete;

    double Width(const std::u16string& text)
    {
        kvdrw::Size size{0, 0};
        EXPECT_EQ(engine_->MeasureString(text.data(), static_cast<int32_t>(text.size()), font_, &size), SUCCESS);
        return size.width;
    }

private:
    kvdrw::Engine* engine_ = nullptr;
    kvdrw::Font* font_ = nullptr;
};

}  // namespace

TEST(TextFlatten, ProportionalTextAgreesWithTheEnginesOwnMeasure)
{
    // Character by character the pen may differ from the shaped string by
    // kerning, never by more than a pixel over a line.
    const struct {
        const char* name;
        const char* attributes;
        std::u16string text;
        double anchorFactor;
    } cases[] = {
        {"start", "", u"Plain words, 0123456789", 0.0},
        {"middle", R"( text-anchor="middle")", u"The quick brown fox", 0.5},
        {"end", R"( text-anchor="end")", u"Jumps over lazy dogs", 1.0},
    };
    MeasuringFont font(u"Liberation Sans", 16);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string utf8(c.text.begin(), c.text.end());
        const std::string svg = std::string(R"(<svg width="400" height="100"><text x="200" y="50" )") +
                                R"(font-family="Liberation Sans" font-size="16")" + c.attributes + ">" + utf8 +
                                "</text></svg>";
        int32_t status = 0;
        const auto runs = FlatTextRuns(svg, &status);
        ASSERT_EQ(status, SUCCESS);
        ASSERT_EQ(runs.size(), 1u);
        const FlatRunLists& run = runs[0];
        ASSERT_EQ(run.text, c.text);
        ASSERT_EQ(run.x.size(), c.text.size());
        const double whole = font.Width(c.text);
        const double laidOut = run.x.back() + font.Width(c.text.substr(c.text.size() - 1)) - run.x.front();
        EXPECT_NEAR(laidOut, whole, 1.0);
        EXPECT_NEAR(run.x.front(), 200 - whole * c.anchorFactor, 1.0);
        for (size_t i = 1; i < run.x.size(); ++i)
            EXPECT_NEAR(run.x[i] - run.x[i - 1], font.Width(c.text.substr(i - 1, 1)), 1e-3) << "at " << i;
    }
}

TEST(TextFlatten, MixedScriptsKeepEveryCharacterAndReadInOrder)
{
    int32_t status = 0;
    const auto runs = FlatTextRuns(
        R"(<svg width="400" height="100"><text x="10" y="50" font-family="Liberation Sans" font-size="20">)"
        "Abc \xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D \xE4\xB8\xAD\xE6\x96\x87</text></svg>",
        &status);
    ASSERT_EQ(status, SUCCESS);
    ASSERT_EQ(runs.size(), 1u);
    const FlatRunLists& run = runs[0];
    ASSERT_EQ(run.text, u"Abc \u05E9\u05DC\u05D5\u05DD \u4E2D\u6587");
    // Latin left to right; the Hebrew word from the right, its first letter
    // rightmost; the ideographs after it, left to right again.
    EXPECT_LT(run.x[0], run.x[1]);
    EXPECT_GT(run.x[4], run.x[5]);
    EXPECT_GT(run.x[6], run.x[7]);
    EXPECT_GT(run.x[9], run.x[4]);
    EXPECT_LT(run.x[9], run.x[10]);
    for (double y : run.y)
        EXPECT_EQ(y, 50);
}

TEST(TextFlatten, HostileTextEndsWithAClearResult)
{
    const auto flatten = [](const std::string& svg, int32_t expected, size_t expectedRuns) {
        int32_t status = 0;
        const auto runs = FlatTextRuns(svg, &status);
        EXPECT_EQ(status, expected);
        EXPECT_EQ(runs.size(), expectedRuns);
        return runs;
    };
    {
        SCOPED_TRACE("100,000 characters in one text");
        const auto runs = flatten(Mono("<text>" + std::string(100000, 'x') + "</text>"), SUCCESS, 1);
        ASSERT_EQ(runs.size(), 1u);
        EXPECT_EQ(runs[0].x.size(), 100000u);
        // Six significant digits, as every number is written.
        EXPECT_NEAR(runs[0].x.back(), 99999 * 12.29, 10);
    }
    {
        SCOPED_TRACE("10,000 nested tspans, each with a letter and a dx");
        std::string body = "<text x=\"0\" y=\"10\">";
        for (int i = 0; i < 10000; ++i)
            body += "<tspan dx=\"1\">a";
        for (int i = 0; i < 10000; ++i)
            body += "</tspan>";
        body += "</text>";
        const auto runs = flatten(Mono(body), SUCCESS, 10000);
        ASSERT_EQ(runs.size(), 10000u);
        EXPECT_EQ(runs.back().x.size(), 1u);
        EXPECT_NEAR(runs.back().x[0], 9999 * 12.29 + 10000, 1);
    }
    {
        SCOPED_TRACE("2,000 nested links around one letter");
        std::string body = "<text x=\"0\" y=\"10\">";
        for (int i = 0; i < 2000; ++i)
            body += "<a xlink:href=\"#x\">";
        body += "z";
        for (int i = 0; i < 2000; ++i)
            body += "</a>";
        body += "</text>";
        flatten(Mono(body), SUCCESS, 1);
    }
    {
        SCOPED_TRACE("a rotate list of 1,000,000 numbers on three characters");
        std::string rotate;
        rotate.reserve(2000000);
        for (int i = 0; i < 1000000; ++i)
            rotate += "0 ";
        flatten(Mono(R"(<text x="0" y="10" rotate=")" + rotate + R"(">abc</text>)"), SUCCESS, 1);
    }
}

TEST(TextFlatten, TextInsideAClipPathClipsByItsGlyphs)
{
    const std::string flat = FlatContent(
        R"~(<svg width="300" height="120"><clipPath id="c"><text x="10" y="90" font-family="Liberation Sans" )~"
        R"~(font-size="80">I</text></clipPath><rect width="300" height="120" fill="orange" clip-path="url(#c)"/></svg>)~");
    // The clip holds the outline of the letter: a bar from the baseline up
    // to the cap height, at the pen's x plus the glyph's side bearing.
    const size_t clip = flat.find(R"~(<clipPath id="c"><path d="M)~");
    ASSERT_NE(clip, std::string::npos) << flat;
    EXPECT_EQ(flat.find("<text"), std::string::npos) << flat;
    EXPECT_NE(flat.find(R"~(clip-path="url(#c)")~"), std::string::npos) << flat;
    const size_t from = flat.find("<path d=\"", clip) + 9;
    const std::string d = flat.substr(from, flat.find('"', from) - from);
    double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
    for (const char* at = d.c_str(); *at;) {
        char* end = nullptr;
        if (*at == '-' || (*at >= '0' && *at <= '9')) {
            const double x = std::strtod(at, &end);
            const double y = std::strtod(end, &end);
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
            at = end;
        } else {
            ++at;
        }
    }
    EXPECT_NEAR(bottom, 90, 0.5);
    EXPECT_NEAR(top, 90 - 0.688 * 80, 2);
    EXPECT_GT(left, 10);
    EXPECT_LT(right, 10 + 0.278 * 80);
}

TEST(TextFlatten, JoiningWordsAreMeasuredAsTheyAreDrawn)
{
    // An Arabic word takes the room of the word shaped as one, not of its
    // letters alone, so what follows it starts where the drawn word ends.
    const std::u16string word = u"\u0645\u0631\u062D\u0628\u0627";
    int32_t status = 0;
    const auto runs = FlatTextRuns(
        R"(<svg width="400" height="100"><text x="10" y="50" font-family="Liberation Sans" font-size="20">)"
        "\xD9\x85\xD8\xB1\xD8\xAD\xD8\xA8\xD8\xA7 a</text></svg>",
        &status);
    ASSERT_EQ(status, SUCCESS);
    ASSERT_EQ(runs.size(), 1u);
    ASSERT_EQ(runs[0].text, word + u" a");
    MeasuringFont font(u"Liberation Sans", 20);
    const std::vector<double>& x = runs[0].x;
    // Read from the right: the last letter stands at the pen's start.
    EXPECT_NEAR(x[4], 10, 1e-2);
    EXPECT_GT(x[0], x[4]);
    EXPECT_NEAR(x[6], 10 + font.Width(word) + font.Width(u" "), 1e-2);
    EXPECT_LT(font.Width(word), font.Width(u"\u0645") + font.Width(u"\u0631") + font.Width(u"\u062D") +
                                    font.Width(u"\u0628") + font.Width(u"\u0627"));
}

TEST(TextFlatten, EveryFailedAllocationGivesNoMemoryAndLeavesNothing)
{
    const std::string svg = Mono(
        R"~(<linearGradient id="g"><stop offset="0" stop-color="red"/></linearGradient>)~"
        R"~(<clipPath id="c"><text x="1" y="20">C</text></clipPath>)~"
        R"~(<g transform="rotate(10)"><text x="10 20" y="20" rotate="5" fill="url(#g)" clip-path="url(#c)" )~"
        R"~(original_font_name="F">ab<tspan dy="3" xml:space="preserve"> c </tspan><a xlink:href="#x">d</a></text></g>)~"
        R"~(<text x="50" y="50" text-anchor="end">e f</text>)~");
    kvtest::Handle source;
    ASSERT_EQ(kvtest::LoadText(svg, source), SUCCESS);
    const std::string before = kvtest::SaveRaw(source);
    const size_t blocksBefore = TrackedLiveBlocks();
    bool succeeded = false;
    for (long n = 0; n < 4000 && !succeeded; ++n) {
        SCOPED_TRACE(n);
        SvgHandle flat = reinterpret_cast<SvgHandle>(0x1);
        TrackedFailAllocationAfter(n);
        const int32_t status = K_SvgFlatDocument(source, &flat, nullptr);
        TrackedFailAllocationAfter(-1);
        succeeded = status == SUCCESS;
        if (!succeeded) {
            ASSERT_EQ(status, ERROR_NO_MEMORY);
            EXPECT_EQ(flat, nullptr);
            EXPECT_EQ(TrackedLiveBlocks(), blocksBefore);
        } else {
            kvtest::ExpectFlatPromises(flat);
            K_SvgFreeNode(flat);
        }
        ASSERT_EQ(kvtest::SaveRaw(source), before);
    }
    EXPECT_TRUE(succeeded);
}

TEST(TextFlatten, LatinInsideARightToLeftLineReadsFromTheLeft)
{
    int32_t status = 0;
    const auto runs = FlatTextRuns(
        R"(<svg width="400" height="100"><text x="390" y="50" direction="rtl" font-family="Liberation Sans" )"
        "font-size=\"20\">\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D abc 12</text></svg>",
        &status);
    ASSERT_EQ(status, SUCCESS);
    ASSERT_EQ(runs.size(), 1u);
    const std::vector<double>& x = runs[0].x;
    ASSERT_EQ(x.size(), 11u);
    // Right edges, the pen moving left: the Hebrew word first from 390.
    EXPECT_NEAR(x[0], 390, 1e-2);
    EXPECT_GT(x[0], x[1]);
    EXPECT_GT(x[2], x[3]);
    // "abc 12" keeps its own order, left to right, to the left of the word.
    EXPECT_LT(x[5], x[6]);
    EXPECT_LT(x[6], x[7]);
    EXPECT_LT(x[7], x[9]);
    EXPECT_LT(x[9], x[10]);
    EXPECT_LT(x[10], x[3]);
}
