// Text on the recording engine: one text element a line, baselines from the
// measuring engine's metrics, the layout keywords of the string format, the
// recognition attributes and the links.
//
// Arial resolves to Liberation Sans of the pinned fonts. At 12 points (16
// pixels) its metrics are ascent 14, descent 4, internal leading 2 and no
// top leading: a top-aligned line has its baseline 14 below the top, and
// lines are 18 apart.
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "writer/writer_test_support.h"

namespace {

using kvtest::Object;
using kvtest::Recording;
using kvtest::Rgb;

// The head every text element shares at the engine's defaults: an id, kept
// spaces, the text quality the engine starts with and the font.
std::string TextHead(int id)
{
    return R"~(<text id="Text)~" + std::to_string(id) + R"~(" xml:space="preserve")~";
}
constexpr const char* kFont = R"~(text-rendering="optimizeSpeed" font-family="Arial" font-size="16")~";
constexpr const char* kStyle = R"~(style="white-space:pre;white-space:pre;")~";

struct TextTools {
    explicit TextTools(kvdrw::Engine& engine) : font(engine), ink(engine)
    {
        const KvColor blue = Rgb(0, 0, 200);
        EXPECT_EQ(engine.CreateFont(font.out(), 0, u"Arial", 12, 0), SUCCESS);
        EXPECT_EQ(engine.CreateSolidBrush(ink.out(), &blue), SUCCESS);
    }
    Object<kvdrw::Font> font;
    Object<kvdrw::SolidBrush> ink;
};

TEST(WriterText, OneLineAtTheTopOfItsOrigin)
{
    using Draw = std::function<int32_t(kvdrw::Engine&, TextTools&)>;
    const KvPoint at = {10, 20}, atZero = {0, 20};
    const std::string fill = R"~( fill="rgb(0,0,200)" )~";
    const struct {
        const char* name;
        Draw draw;
        std::string expected;
    } cases[] = {
        {"plain", [&](auto& e, auto& t) { return e.DrawString(u"Hello", -1, t.font.get(), t.ink.get(), &at, nullptr); },
         TextHead(1) + R"~( x="10" y="34")~" + fill + kFont + " " + kStyle + ">Hello</text>"},
        // x is said only when it is not 0.
        {"at x 0",
         [&](auto& e, auto& t) { return e.DrawString(u"Hello", 5, t.font.get(), t.ink.get(), &atZero, nullptr); },
         TextHead(1) + R"~( y="34")~" + fill + kFont + " " + kStyle + ">Hello</text>"},
        {"length cuts the text",
         [&](auto& e, auto& t) { return e.DrawString(u"Hello", 2, t.font.get(), t.ink.get(), &at, nullptr); },
         TextHead(1) + R"~( x="10" y="34")~" + fill + kFont + " " + kStyle + ">He</text>"},
        {"narrow",
         [&](auto& e, auto& t) {
             return e.DrawStringNarrow("caf\xC3\xA9", -1, t.font.get(), t.ink.get(), &at, nullptr);
         },
         TextHead(1) + R"~( x="10" y="34")~" + fill + kFont + " " + kStyle + ">caf\xC3\xA9</text>"},
        // A line feed stays in the one element when there is no layout box.
        {"line feed without a box",
         [&](auto& e, auto& t) { return e.DrawString(u"a\nb", -1, t.font.get(), t.ink.get(), &at, nullptr); },
         TextHead(1) + R"~( x="10" y="34")~" + fill + kFont + " " + kStyle + ">a\nb</text>"},
        // What XML cannot carry becomes a blank; tabs stay.
        {"control characters",
         [&](auto& e, auto& t) {
             return e.DrawString(u"a\u0001b\tc\uFFFEd", -1, t.font.get(), t.ink.get(), &at, nullptr);
         },
         TextHead(1) + R"~( x="10" y="34")~" + fill + kFont + " " + kStyle + ">a b\tc d</text>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        TextTools tools(recording.engine());
        EXPECT_EQ(c.draw(recording.engine(), tools), SUCCESS);
        EXPECT_EQ(recording.Body(), c.expected);
    }
}

TEST(WriterText, FontStyleAndFormatBecomeTheirAttributes)
{
    const struct {
        const char* name;
        int32_t fontStyle;
        int32_t alignment, lineAlignment, flags;
        std::string expected;
    } cases[] = {
        {"bold italic, underlined and struck", kvdrw::kFontBold | kvdrw::kFontItalic | kvdrw::kFontUnderline |
                                                   kvdrw::kFontStrikeOut,
         0, 0, 0,
         R"~( x="10" y="34" text-rendering="optimizeSpeed" text-decoration="underline line-through" font-style="italic" font-weight="700" font-family="Arial" font-size="16")~"},
        {"right to left", 0, 0, 0, kvdrw::kFormatRightToLeft,
         R"~( x="10" y="34" text-rendering="optimizeSpeed" writing-mode="rl" direction="rtl" font-family="Arial" font-size="16")~"},
        {"vertical", 0, 0, 0, kvdrw::kFormatVertical,
         R"~( x="10" y="34" text-rendering="optimizeSpeed" writing-mode="tb" font-family="Arial" font-size="16")~"},
        {"vertical right to left", 0, 0, 0, kvdrw::kFormatVertical | kvdrw::kFormatRightToLeft,
         R"~( x="10" y="34" text-rendering="optimizeSpeed" writing-mode="rl-tb" direction="rtl" font-family="Arial" font-size="16")~"},
        // Centred across the line: the baseline sits half the ascent below.
        {"centred", 0, kvdrw::kAlignCenter, kvdrw::kAlignCenter, 0,
         R"~( x="10" y="27" text-rendering="optimizeSpeed" text-anchor="middle" dominant-baseline="central" font-family="Arial" font-size="16")~"},
        // The far line alignment places no offset at all.
        {"far", 0, kvdrw::kAlignFar, kvdrw::kAlignFar, 0,
         R"~( x="10" y="20" text-rendering="optimizeSpeed" text-anchor="end" dominant-baseline="text-after-edge" font-family="Arial" font-size="16")~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        kvdrw::Engine& e = recording.engine();
        Object<kvdrw::Font> font(e);
        ASSERT_EQ(e.CreateFont(font.out(), 0, u"Arial", 12, c.fontStyle), SUCCESS);
        EXPECT_EQ(font->GetStyle(), c.fontStyle);
        Object<kvdrw::SolidBrush> black(e);
        const KvColor blackColor = Rgb(0, 0, 0);
        ASSERT_EQ(e.CreateSolidBrush(black.out(), &blackColor), SUCCESS);
        Object<kvdrw::StringFormat> format(e);
        ASSERT_EQ(e.CreateStringFormat(format.out(), c.alignment, c.lineAlignment, c.flags), SUCCESS);
        EXPECT_EQ(format->GetAlignment(), c.alignment);
        EXPECT_EQ(format->GetLineAlignment(), c.lineAlignment);
        EXPECT_EQ(format->GetFormatFlags(), c.flags);
        const KvPoint at = {10, 20};
        ASSERT_EQ(e.DrawString(u"x", 1, font.get(), black.get(), &at, format.get()), SUCCESS);
        EXPECT_EQ(recording.Body(), TextHead(1) + c.expected + " " + kStyle + ">x</text>");
    }
}

TEST(WriterText, FontSizesFollowTheResolution)
{
    const struct {
        double size;
        std::string fontSize;
    } cases[] = {
        {12, "16"}, {-12, "16"}, {7.5, "10"},
        {0, "12"},  // no size writes 12
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        Recording recording;
        Object<kvdrw::Font> font(recording.engine());
        ASSERT_EQ(recording->CreateFont(font.out(), 0, nullptr, c.size, 0), SUCCESS);
        Object<kvdrw::SolidBrush> brush(recording.engine());
        const KvColor black = Rgb(0, 0, 0);
        ASSERT_EQ(recording->CreateSolidBrush(brush.out(), &black), SUCCESS);
        const KvPoint at = {1, 0};
        ASSERT_EQ(recording->DrawString(u"x", 1, font.get(), brush.get(), &at, nullptr), SUCCESS);
        const std::string body = recording.Body();
        // A missing family is Arial.
        EXPECT_NE(body.find(R"~(font-family="Arial" font-size=")~" + c.fontSize + "\""), std::string::npos) << body;
    }
}

TEST(WriterText, RecognitionAttributesComeFromFlagsAndExtraParams)
{
    const struct {
        const char* name;
        uint32_t flags;
        int32_t formatFlags;
        bool withParams;
        int32_t zone, character;
        const char16_t* text;
        std::string attributes;
    } cases[] = {
        {"none", 0, 0, false, 0, 0, u"word", ""},
        {"ocr mark", SVG_DRAW_MARK_OCR, 0, false, 0, 0, u"word", R"~( kolv_ocr="1")~"},
        {"end of word", 0, kvdrw::kFormatEndOfWordMark, false, 0, 0, u"word", R"~( kolv_eow="1")~"},
        {"end of word, ending in a blank", 0, kvdrw::kFormatEndOfWordMark, false, 0, 0, u"word ", ""},
        {"indices", 0, 0, true, 3, 17, u"word", R"~( kolv_zone_index="3" kolv_char_index="17")~"},
        {"zone -1 leaves both out", 0, 0, true, -1, 17, u"word", ""},
        {"char -1 leaves both out", 0, 0, true, 3, -1, u"word", ""},
        {"all", SVG_DRAW_MARK_OCR, kvdrw::kFormatEndOfWordMark, true, 0, 9, u"word",
         R"~( kolv_eow="1" kolv_ocr="1" kolv_zone_index="0" kolv_char_index="9")~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SvgFileOptions options{};
        options.size = kSvgFileOptionsSize;
        options.width = options.height = options.dpiX = options.dpiY = -1.0;
        options.flags = c.flags;
        Recording recording(&options);
        TextTools tools(recording.engine());
        if (c.withParams) {
            const SvgTextExtraParams params = {kSvgTextExtraParamsSize, c.zone, c.character};
            ASSERT_EQ(K_Draw_SetTextExtraParams(&recording.engine(), &params), SUCCESS);
        }
        Object<kvdrw::StringFormat> format(recording.engine());
        ASSERT_EQ(recording->CreateStringFormat(format.out(), 0, 0, c.formatFlags), SUCCESS);
        const KvPoint at = {0, 0};
        ASSERT_EQ(recording->DrawString(c.text, -1, tools.font.get(), tools.ink.get(), &at, format.get()), SUCCESS);
        const std::string body = recording.Body();
        const std::string text = c.text[4] ? "word " : "word";
        // The marks go on after the element is written, so they follow its style.
        EXPECT_EQ(body, TextHead(1) + R"~( y="14" fill="rgb(0,0,200)" )~" + kFont + " " + kStyle + c.attributes + ">" +
                            text + "</text>");
    }
}

TEST(WriterText, ExtraParamsAreCheckedAndCleared)
{
    Recording recording;
    TextTools tools(recording.engine());
    SvgTextExtraParams params = {kSvgTextExtraParamsSize, 1, 2};
    // Several faults at once: the null engine is named first.
    EXPECT_EQ(K_Draw_SetTextExtraParams(nullptr, &params), ERROR_INV_PARAMETER);
    params.size = 8;
    EXPECT_EQ(K_Draw_SetTextExtraParams(&recording.engine(), &params), ERROR_RECORD_SIZE);
    params.size = kSvgTextExtraParamsSize;
    EXPECT_EQ(K_Draw_SetTextExtraParams(&recording.engine(), &params), SUCCESS);
    EXPECT_EQ(K_Draw_SetTextExtraParams(&recording.engine(), nullptr), SUCCESS);
    const KvPoint at = {0, 0};
    ASSERT_EQ(recording->DrawString(u"a", 1, tools.font.get(), tools.ink.get(), &at, nullptr), SUCCESS);
    EXPECT_EQ(recording.Body().find("kolv_"), std::string::npos);
    // Another engine is not a recording engine.
    void* measuring = nullptr;
    ASSERT_EQ(K_DrawingCreateMeasureEngine(&measuring), SUCCESS);
    EXPECT_EQ(K_Draw_SetTextExtraParams(measuring, &params), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_Draw_DestroySvgEngine(measuring), ERROR_INV_PARAMETER);
    K_DrawingDestroyEngine(measuring);
}

std::string Line(int id, int y, const std::string& text)
{
    return TextHead(id) + R"~( y=")~" + std::to_string(y) + R"~(" fill="rgb(0,0,200)" )~" + kFont + " " + kStyle +
           ">" + text + "</text>";
}

TEST(WriterText, LayoutBoxesBreakLinesWithTheMeasuringEngine)
{
    const struct {
        const char* name;
        const char16_t* text;
        KvRectangle box;
        bool withFormat;
        int32_t formatFlags;
        std::string expected;
    } cases[] = {
        // Blanks stay at the end of their line.
        {"at word boundaries", u"aaa bbb ccc", {0, 0, 40, 100}, false, 0,
         Line(1, 14, "aaa ") + Line(2, 32, "bbb ") + Line(3, 50, "ccc")},
        // Without a format the line limit is on: no line that does not fit whole.
        {"line limit", u"aaa bbb ccc", {0, 0, 40, 40}, false, 0, Line(1, 14, "aaa ") + Line(2, 32, "bbb ")},
        // A format without it writes the line that starts inside the box.
        {"no line limit", u"aaa bbb ccc", {0, 0, 40, 40}, true, 0,
         Line(1, 14, "aaa ") + Line(2, 32, "bbb ") + Line(3, 50, "ccc")},
        {"line feeds end lines", u"a\r\nb\nc", {0, 0, 200, 100}, false, 0,
         Line(1, 14, "a\r\n") + Line(2, 32, "b\n") + Line(3, 50, "c")},
        // A word wider than the box is cut where the measure stops.
        {"a word too wide", u"abcdefgh", {0, 0, 20, 100}, false, 0,
         Line(1, 14, "ab") + Line(2, 32, "cd") + Line(3, 50, "ef") + Line(4, 68, "gh")},
        {"no room for any character", u"abc", {0, 0, 1, 100}, false, 0,
         Line(1, 14, "a") + Line(2, 32, "b") + Line(3, 50, "c")},
        // No wrapping: the text is one line, whatever the box.
        {"no wrap", u"aaa bbb ccc", {0, 0, 40, 100}, true, 8, Line(1, 14, "aaa bbb ccc")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        TextTools tools(recording.engine());
        Object<kvdrw::StringFormat> format(recording.engine());
        ASSERT_EQ(recording->CreateStringFormat(format.out(), 0, 0, c.formatFlags), SUCCESS);
        ASSERT_EQ(recording->DrawStringInRect(c.text, -1, tools.font.get(), tools.ink.get(), &c.box,
                                              c.withFormat ? format.get() : nullptr),
                  SUCCESS);
        EXPECT_EQ(recording.Body(), c.expected);
    }
}

TEST(WriterText, AlignmentInABoxPlacesTheAnchorOnItsEdge)
{
    const struct {
        const char* name;
        int32_t alignment, lineAlignment, flags;
        std::string position;
    } cases[] = {
        {"near", 0, 0, 0, R"~( x="10" y="34")~"},
        {"centred both ways", 1, 1, 0, R"~( x="60" y="77")~"},
        {"far", 2, 0, 0, R"~( x="110" y="34")~"},
        // Right to left starts at the right edge.
        {"near, right to left", 0, 0, kvdrw::kFormatRightToLeft, R"~( x="110" y="34")~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        TextTools tools(recording.engine());
        Object<kvdrw::StringFormat> format(recording.engine());
        ASSERT_EQ(recording->CreateStringFormat(format.out(), c.alignment, c.lineAlignment, c.flags), SUCCESS);
        const KvRectangle box = {10, 20, 100, 100};
        ASSERT_EQ(recording->DrawStringInRect(u"ab", 2, tools.font.get(), tools.ink.get(), &box, format.get()),
                  SUCCESS);
        const std::string body = recording.Body();
        EXPECT_EQ(body.substr(0, body.find(" fill=")), TextHead(1) + c.position);
    }
}

TEST(WriterText, LinksWrapTheirTextAndIgnoreTheDropFlag)
{
    SvgFileOptions options{};
    options.size = kSvgFileOptionsSize;
    options.width = options.height = options.dpiX = options.dpiY = -1.0;
    options.flags = SVG_DRAW_DROP_TEXT;
    Recording recording(&options);
    kvdrw::Engine& e = recording.engine();
    TextTools tools(e);
    const KvPoint at = {0, 0};
    const KvRectangle box = {0, 0, 100, 100};
    EXPECT_EQ(e.DrawString(u"dropped", -1, tools.font.get(), tools.ink.get(), &at, nullptr), SUCCESS);
    EXPECT_EQ(e.DrawStringInRect(u"dropped", -1, tools.font.get(), tools.ink.get(), &box, nullptr), SUCCESS);
    EXPECT_EQ(e.DrawLinkedString(u"one", u"http://example.org/a", -1, tools.font.get(), tools.ink.get(), &at, nullptr),
              SUCCESS);
    EXPECT_EQ(e.DrawLinkedStringNarrow("two", -1, "#b", tools.font.get(), tools.ink.get(), &box, nullptr), SUCCESS);
    EXPECT_EQ(e.DrawLinkedString(nullptr, nullptr, 0, tools.font.get(), tools.ink.get(), &at, nullptr), SUCCESS);
    EXPECT_EQ(recording.Body(), R"~(<a id="Anchor1" xlink:href="http://example.org/a">)~" + Line(1, 14, "one") +
                                    R"~(</a><a id="Anchor2" xlink:href="#b">)~" + Line(2, 14, "two") + "</a>");
}

TEST(WriterText, ArgumentsAreCheckedBeforeTheEmptyText)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    TextTools t(e);
    const KvPoint at = {0, 0};
    const KvRectangle box = {0, 0, 10, 10};
    EXPECT_EQ(e.DrawString(nullptr, 0, nullptr, t.ink.get(), &at, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.DrawString(nullptr, 0, t.font.get(), nullptr, &at, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.DrawString(nullptr, 3, t.font.get(), t.ink.get(), &at, nullptr), SUCCESS);
    EXPECT_EQ(e.DrawString(u"", -1, t.font.get(), t.ink.get(), &at, nullptr), SUCCESS);
    EXPECT_EQ(e.DrawStringInRect(u"x", 1, nullptr, t.ink.get(), &box, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.DrawStringNarrow("", -1, t.font.get(), t.ink.get(), &at, nullptr), SUCCESS);
    EXPECT_EQ(recording.Body(), "");
}

TEST(WriterText, CallersTextIsLeftAsItWas)
{
    Recording recording;
    TextTools t(recording.engine());
    char16_t text[] = u"a\u0002b c";
    const KvRectangle box = {0, 0, 15, 100};
    ASSERT_EQ(recording->DrawStringInRect(text, -1, t.font.get(), t.ink.get(), &box, nullptr), SUCCESS);
    EXPECT_EQ(std::u16string(text), u"a\u0002b c");
}

TEST(WriterText, MeasuringPassesThroughToTheMeasuringEngine)
{
    Recording recording;
    TextTools t(recording.engine());
    kvdrw::Size size{};
    ASSERT_EQ(recording->MeasureString(u"aaa ", 4, t.font.get(), &size), SUCCESS);
    EXPECT_NEAR(size.width, 31.14, 0.01);
    EXPECT_NEAR(size.height, 18.4, 0.01);
    const kvdrw::Size box = {40, 100};
    int32_t fitted = 0, lines = 0;
    ASSERT_EQ(recording->MeasureStringFitted(u"aaa bbb ccc", 11, t.font.get(), &box, nullptr, &size, &fitted, &lines),
              SUCCESS);
    EXPECT_EQ(lines, 3);
    EXPECT_EQ(fitted, 11);
    EXPECT_EQ(t.font->GetHeight(96), 16.0);
    EXPECT_EQ(t.font->GetSize(), 16.0);
}

}  // namespace
