// Colours, paint, references and the keyword-or-value properties around them.
#include <gtest/gtest.h>

#include "base/numeric.h"
#include "base/utf.h"
#include "values/value_formatter.h"
#include "values/value_parser.h"
#include "values/value_records.h"
#include "values_test_support.h"

namespace {

struct PaintRecord {
    SvgPaint paint;
    PaintRecord() { InitPaint(&paint); }
    ~PaintRecord() { FreePaint(&paint); }
};

struct ColorRecord {
    SvgColor color;
    ColorRecord() { InitColor(&color); }
    ~ColorRecord() { FreeColor(&color); }
};

std::string PaintText(const SvgPaint& paint, int32_t expectedStatus = SUCCESS)
{
    KvChar* text = nullptr;
    EXPECT_EQ(PaintToString(&paint, &text), expectedStatus);
    return TakeText(text);
}

}  // namespace

TEST(ColorValue, ReadsHexRgbAndKeepsAnyOtherWordAsAName)
{
    const struct {
        std::u16string_view text;
        uint32_t kind;
        const char* keptText;
    } cases[] = {
        {u"#FF8000", SVG_COLOR_HEX, "#FF8000"}, {u"#f80", SVG_COLOR_HEX, "#f80"},
        // The hexadecimal test is the runtime's: a sign or "0x" passes.
        {u"#0x1", SVG_COLOR_HEX, "#0x1"},       {u"#-12", SVG_COLOR_HEX, "#-12"},
        // Too short, too long or not hexadecimal: a name, unchecked.
        {u"#12", SVG_COLOR_NAME, "#12"},        {u"#12345", SVG_COLOR_NAME, "#12345"},
        {u"#ggg", SVG_COLOR_NAME, "#ggg"},      {u"red", SVG_COLOR_NAME, "red"},
        {u"notacolour", SVG_COLOR_NAME, "notacolour"}, {u"darkgrey", SVG_COLOR_NAME, "darkgrey"},
        {u"rgb(1,2,3,4)", SVG_COLOR_NAME, "rgb(1,2,3,4)"}, {u"rgb(1 ,2,3)", SVG_COLOR_NAME, "rgb(1 ,2,3)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        ColorRecord record;
        int32_t incomplete = 5;
        ASSERT_EQ(ParseColor(c.text, &record.color, &incomplete), SUCCESS);
        EXPECT_EQ(incomplete, 0);
        EXPECT_EQ(record.color.kind, c.kind);
        EXPECT_EQ(Utf8(record.color.text), c.keptText);
    }
}

TEST(ColorValue, ReadsRgbComponentsWithPercentagesScaledTo255)
{
    const struct {
        std::u16string_view text;
        double red, green, blue;
    } cases[] = {
        {u"rgb(10,20,30)", 10, 20, 30},
        {u"rgb(100%,0%,50%)", 255, 0, 127.5},
        {u"RGB( 1,\t2,\n3)", 1, 2, 3},  // white space before a piece is skipped
        {u"rgb(1,,2,3)", 1, 2, 3},     // an empty piece is no piece
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        ColorRecord record;
        ASSERT_EQ(ParseColorName(u"old", &record.color), SUCCESS);
        int32_t incomplete = 0;
        ASSERT_EQ(ParseColor(c.text, &record.color, &incomplete), SUCCESS);
        EXPECT_EQ(record.color.kind, SVG_COLOR_RGB);
        EXPECT_EQ(record.color.text, nullptr);
        EXPECT_EQ(record.color.red.value, c.red);
        EXPECT_EQ(record.color.green.value, c.green);
        EXPECT_EQ(record.color.blue.value, c.blue);
        EXPECT_EQ(record.color.red.type, SVG_PERCENTAGE_NUMBER);
        EXPECT_EQ(record.color.blue.type, SVG_PERCENTAGE_NUMBER);
    }
}

TEST(ColorValue, AcceptsFewerThanThreeComponentsAndFlagsAMissingParenthesis)
{
    ColorRecord record;
    int32_t incomplete = 0;
    ASSERT_EQ(ParseColor(u"rgb(7)", &record.color, &incomplete), SUCCESS);
    EXPECT_EQ(record.color.kind, SVG_COLOR_RGB);
    EXPECT_EQ(record.color.red.value, 7.0);
    EXPECT_TRUE(IsUnsetDouble(record.color.green.value));

    ColorRecord open;
    ASSERT_EQ(ParseColor(u"rgb(10,20", &open.color, &incomplete), SUCCESS);
    EXPECT_EQ(incomplete, 1);
    EXPECT_EQ(open.color.kind, SVG_COLOR_NAME);
    EXPECT_EQ(open.color.text, nullptr);

    // More than 100 characters is no rgb() form at all.
    std::u16string longRgb = u"rgb(1,2," + std::u16string(100, u'0') + u"3)";
    EXPECT_EQ(ParseRgbColor(longRgb, &open.color, &incomplete), ERROR_INV_NUMBER);
    EXPECT_EQ(ParseRgbColor(u"hsl(1,2,3)", &open.color, &incomplete), ERROR_INV_NUMBER);
}

TEST(PaintValue, ReadsKeywordsColoursAndReferences)
{
    const struct {
        std::u16string_view text;
        int32_t status;
        uint32_t kind;
        const char* colorText;
    } cases[] = {
        {u"none", SUCCESS, SVG_PAINT_NONE, "<null>"},
        {u" NONE ", SUCCESS, SVG_PAINT_NONE, "<null>"},
        {u"currentColor", SUCCESS, SVG_PAINT_CURRENT_COLOR, "<null>"},
        {u"red", SUCCESS, SVG_PAINT_COLOR, "red"},
        {u"#abc", SUCCESS, SVG_PAINT_COLOR, "#abc"},
        {u"url(#grad1)", SUCCESS, SVG_PAINT_REFERENCE, "grad1"},
        {u"URL(#g  )", SUCCESS, SVG_PAINT_REFERENCE, "g"},
        {u"url(#a) red", SUCCESS, SVG_PAINT_REFERENCE, "a"},
        // An rgb( without its end is no colour: the kind stays unset.
        {u"rgb(10,20", SUCCESS, SVG_PAINT_UNSET, "<null>"},
        {u"url(#missing", ERROR_INV_NUMBER, SVG_PAINT_UNSET, "<null>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        PaintRecord record;
        record.paint.kind = SVG_PAINT_COLOR;
        EXPECT_EQ(ParsePaint(c.text, &record.paint), c.status);
        EXPECT_EQ(record.paint.kind, c.kind);
        EXPECT_EQ(Utf8(record.paint.color.text), c.colorText);
    }
}

TEST(ReferenceValue, NeedsTheParenthesisButNotThePrefix)
{
    KvChar* id = nullptr;
    EXPECT_EQ(ParseReference(u"  url(#clip1)", &id), SUCCESS);
    EXPECT_EQ(Utf8(id), "clip1");
    EXPECT_EQ(ParseReference(u"clip2 )", &id), SUCCESS);  // replaces and frees the old id
    EXPECT_EQ(Utf8(id), "clip2");
    EXPECT_EQ(ParseReference(u"url(#clip3", &id), ERROR_INV_NUMBER);
    EXPECT_EQ(Utf8(id), "clip2");
    KV_FREE(id);
}

TEST(PaintValue, WritesKeywordsColoursAndReferences)
{
    PaintRecord record;
    EXPECT_EQ(PaintText(record.paint), "<null>");
    record.paint.kind = SVG_PAINT_NONE;
    EXPECT_EQ(PaintText(record.paint), "none");
    record.paint.kind = SVG_PAINT_CURRENT_COLOR;
    EXPECT_EQ(PaintText(record.paint), "currentColor");

    ASSERT_EQ(ParsePaint(u"url(#g1)", &record.paint), SUCCESS);
    EXPECT_EQ(PaintText(record.paint), "url(#g1)");
    ASSERT_EQ(ParsePaint(u"  Navy ", &record.paint), SUCCESS);
    EXPECT_EQ(PaintText(record.paint), "Navy");  // names are written trimmed
    record.paint.kind = 9;                          // any kind above 4 writes the colour
    EXPECT_EQ(PaintText(record.paint), "Navy");

    ASSERT_EQ(ParsePaint(u"rgb(100%,0%,50%)", &record.paint), SUCCESS);
    EXPECT_EQ(PaintText(record.paint), "rgb(255,0,127.5)");
    record.paint.color.green.value = UnsetDouble();
    EXPECT_EQ(PaintText(record.paint, kStatusNoValue), "<null>");
    record.paint.color.kind = 3;
    EXPECT_EQ(PaintText(record.paint, ERROR_INV_NUMBER), "<null>");
}

TEST(ReferenceValue, WrapsIdsInUrlUnlessTheyHaveIt)
{
    const struct {
        const KvChar* id;
        const char* text;
    } cases[] = {
        {u"a", "url(#a)"}, {u"  b  ", "url(#b)"}, {u"url(#c)", "url(#c)"}, {u" URL(#d) ", "URL(#d)"},
        {u"", "url(#)"},   {nullptr, "<null>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        KvChar* text = nullptr;
        EXPECT_EQ(UriToString(c.id, &text), SUCCESS);
        EXPECT_EQ(TakeText(text), c.text);
    }
    EXPECT_EQ(UriToString(u"a", nullptr), ERROR_INV_PARAMETER);
}

TEST(ColorValue, KeywordOrColourPropertiesReadAndWrite)
{
    SvgColorValue stop{};
    stop.size = kSvgColorValueSize;
    InitColor(&stop.color);
    EXPECT_EQ(ParseColorValue(u"currentColor", &stop), SUCCESS);
    EXPECT_EQ(stop.kind, 1u);
    KvChar* text = nullptr;
    EXPECT_EQ(StopColorToString(&stop, &text), SUCCESS);
    EXPECT_EQ(TakeText(text), "currentColor");

    EXPECT_EQ(ParseColorValue(u"#00ff00", &stop), SUCCESS);
    EXPECT_EQ(stop.kind, 2u);
    EXPECT_EQ(StopColorToString(&stop, &text), SUCCESS);
    EXPECT_EQ(TakeText(text), "#00ff00");

    stop.kind = 3;
    EXPECT_EQ(StopColorToString(&stop, &text), FAILURE);
    EXPECT_EQ(text, nullptr);
    FreeColor(&stop.color);

    SvgColorProfile profile{};
    const struct {
        std::u16string_view text;
        uint32_t kind;
        const char* written;
    } profiles[] = {
        {u"auto", 1, "auto"}, {u"SRGB", 2, "sRGB"}, {u"url(#p)", 3, "url(#p)"}, {u" my profile ", 4, "my profile"},
    };
    for (const auto& c : profiles) {
        SCOPED_TRACE(c.written);
        ASSERT_EQ(ParseColorProfileValue(c.text, &profile), SUCCESS);
        EXPECT_EQ(profile.kind, c.kind);
        EXPECT_EQ(ColorProfileToString(&profile, &text), SUCCESS);
        EXPECT_EQ(TakeText(text), c.written);
    }
    FreeTrackedField(reinterpret_cast<void**>(&profile.text));
}

TEST(ReferenceValue, ClipPathAndMarkersTakeNoneOrAReferenceOnly)
{
    SvgReference reference;
    InitReference(&reference);
    EXPECT_EQ(ParseClipPathValue(u"none", &reference), SUCCESS);
    EXPECT_EQ(reference.kind, 1u);
    EXPECT_EQ(ParseClipPathValue(u"circle(5px)", &reference), ERROR_UNKNOWN_KEYWORD);
    EXPECT_EQ(reference.kind, 1u);
    EXPECT_EQ(ParseMarkerValue(u"url(#arrow)", &reference), SUCCESS);
    EXPECT_EQ(reference.kind, 2u);
    EXPECT_EQ(Utf8(reference.id), "arrow");

    KvChar* text = nullptr;
    EXPECT_EQ(MarkerRefToString(&reference, &text), SUCCESS);
    EXPECT_EQ(TakeText(text), "url(#arrow)");
    reference.kind = 1;
    EXPECT_EQ(ClipPathRefToString(&reference, &text), SUCCESS);
    EXPECT_EQ(TakeText(text), "none");
    reference.kind = 0;
    EXPECT_EQ(ClipPathRefToString(&reference, &text), SUCCESS);
    EXPECT_EQ(text, nullptr);
    reference.kind = 3;
    EXPECT_EQ(ClipPathRefToString(&reference, &text), FAILURE);
    FreeReference(&reference);
}
