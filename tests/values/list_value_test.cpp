// Lists, points, view boxes, aspect ratios, decorations and features.
#include <gtest/gtest.h>

#include "base/numeric.h"
#include "base/utf.h"
#include "values/value_formatter.h"
#include "values/value_parser.h"
#include "values/value_records.h"
#include "values_test_support.h"

namespace {

struct Points {
    SvgPoint* points = nullptr;
    uint32_t count = 0;
    ~Points() { FreeTrackedField(reinterpret_cast<void**>(&points)); }
};

}  // namespace

TEST(LengthListValue, CutsAtBlanksAndCommasAndWritesWithTheCommonUnitRules)
{
    SvgLength* values = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(ParseLengthList(u" 5, 10px\t20%\r\n3pc,,abc ", &values, &count), SUCCESS);
    ASSERT_EQ(count, 5u);
    EXPECT_EQ(values[0].value, 5.0);
    EXPECT_EQ(values[1].unit, SVG_UNIT_PX);
    EXPECT_EQ(values[2].percent, 1u);
    EXPECT_EQ(values[3].unit, SVG_UNIT_PC);
    EXPECT_TRUE(IsUnsetDouble(values[4].value));
    EXPECT_EQ(values[4].size, kSvgLengthSize);

    // The unset length is skipped, but as the last piece its status ends the list.
    KvChar* text = nullptr;
    EXPECT_EQ(LengthListToString(count, values, &text), kStatusNoValue);
    EXPECT_EQ(TakeText(text), "5 10px 20% 3mm ");
    EXPECT_EQ(LengthListToString(4, values, &text), SUCCESS);
    EXPECT_EQ(TakeText(text), "5 10px 20% 3mm ");
    EXPECT_EQ(LengthListToString(0, values, &text), SUCCESS);
    EXPECT_EQ(text, nullptr);

    // A bad unit ends the parse; the pieces read so far stay.
    ASSERT_EQ(ParseLengthList(u"1 2 3q 4", &values, &count), ERROR_ATTRIBUTE_UNKNOWN);
    EXPECT_EQ(count, 2u);
    values[1].unit = 12;
    EXPECT_EQ(LengthListToString(count, values, &text), ERROR_INV_NUMBER);
    EXPECT_EQ(TakeText(text), "1 ");  // the partial text is the caller's to free
    FreeTrackedField(reinterpret_cast<void**>(&values));
}

TEST(LengthListValue, GrowsPastItsFirstBlocks)
{
    std::u16string text;
    for (int i = 0; i < 45; ++i)
        text += u"1.5 ";
    double* numbers = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(ParseNumberList(text, &numbers, &count), SUCCESS);
    EXPECT_EQ(count, 45u);
    EXPECT_EQ(numbers[44], 1.5);
    KvChar* written = nullptr;
    ASSERT_EQ(NumberListToString(count, numbers, &written), SUCCESS);
    std::string expected;
    for (int i = 0; i < 45; ++i)
        expected += "1.5 ";
    EXPECT_EQ(TakeText(written), expected);
    numbers[1] = UnsetDouble();  // unset numbers are left out
    ASSERT_EQ(NumberListToString(3, numbers, &written), SUCCESS);
    EXPECT_EQ(TakeText(written), "1.5 1.5 ");
    FreeTrackedField(reinterpret_cast<void**>(&numbers));
}

TEST(PointsValue, SplitsAtMinusAndTheEscapedLineEndCharacters)
{
    const struct {
        std::u16string_view text;
        int32_t status;
        std::vector<SvgPoint> points;
    } cases[] = {
        {u"1,2 3,4", SUCCESS, {{1, 2}, {3, 4}}},
        {u"10-20", SUCCESS, {{10, -20}}},
        {u"1-2", SUCCESS, {{1, -2}}},
        {u"-1-2-3-4", SUCCESS, {{-1, -2}, {-3, -4}}},
        {u"0,0&#xD;&#xA;10,10", SUCCESS, {{0, 0}, {10, 10}}},
        {u"1e-5", SUCCESS, {{1, -5}}},  // the minus splits even an exponent
        {u"", SUCCESS, {}},
        {u"1,2 3", ERROR_INV_POINTS, {}},
        {u"1,2 a,3", ERROR_INV_NUMBER, {}},
        {u"1,2 +3,4", ERROR_INV_NUMBER, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        Points result;
        ASSERT_EQ(ParsePoints(c.text, &result.points, &result.count), c.status);
        ASSERT_EQ(result.count, c.points.size());
        for (size_t i = 0; i < c.points.size(); ++i) {
            EXPECT_EQ(result.points[i].x, c.points[i].x);
            EXPECT_EQ(result.points[i].y, c.points[i].y);
        }
        if (c.status != SUCCESS) {
            EXPECT_EQ(result.points, nullptr);
        }
    }
}

TEST(PointsValue, WritesPairsThatReadBack)
{
    const SvgPoint points[] = {{0, 0}, {10.5, -3}, {1e6, 2}};
    KvChar* text = nullptr;
    ASSERT_EQ(PointsToString(3, points, &text), SUCCESS);
    std::string written = TakeText(text);
    EXPECT_EQ(written, "0,0 10.5,-3 1e+06,2 ");
    Points again;
    ASSERT_EQ(ParsePoints(ToUtf16(written), &again.points, &again.count), SUCCESS);
    ASSERT_EQ(again.count, 3u);
    EXPECT_EQ(again.points[2].x, 1e6);
}

TEST(ViewBoxValue, KeepsANegativeWidthAndRefusesANegativeHeight)
{
    const struct {
        std::u16string_view text;
        int32_t status;
    } cases[] = {
        {u"0 0 100 50", SUCCESS},       {u"0,0,100,50", SUCCESS},  {u"0 0 -1 1", SUCCESS},
        {u"0 0 1 -1", ERROR_INV_NUMBER}, {u"0 0 1", ERROR_INV_NUMBER}, {u"0 0 1 1 1", ERROR_INV_NUMBER},
        {u"", ERROR_INV_NUMBER},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        SvgViewBox box;
        InitViewBox(&box);
        ASSERT_EQ(ParseViewBox(c.text, &box), c.status);
        if (c.status != SUCCESS) {
            EXPECT_TRUE(IsUnsetDouble(box.width));
        }
    }
    SvgViewBox box;
    InitViewBox(&box);
    ASSERT_EQ(ParseViewBox(u"-5 2.5 -10 20", &box), SUCCESS);
    EXPECT_EQ(box.x, -5.0);
    EXPECT_EQ(box.y, 2.5);
    EXPECT_EQ(box.width, -10.0);
    EXPECT_EQ(box.height, 20.0);
}

TEST(AspectRatioValue, ReadsAlignAndMeetOrSlice)
{
    SvgPreserveAspectRatio ratio;
    InitPreserveAspectRatio(&ratio);
    EXPECT_EQ(ParsePreserveAspectRatio(u"xMidYMid slice", &ratio), SUCCESS);
    EXPECT_EQ(ratio.align, 6u);
    EXPECT_EQ(ratio.meetOrSlice, 2u);
    EXPECT_EQ(ParsePreserveAspectRatio(u"none,meet", &ratio), SUCCESS);
    EXPECT_EQ(ratio.align, 1u);
    EXPECT_EQ(ratio.meetOrSlice, 1u);
    EXPECT_EQ(ParsePreserveAspectRatio(u"XMAXYMAX", &ratio), SUCCESS);
    EXPECT_EQ(ratio.align, 10u);
    EXPECT_EQ(ParsePreserveAspectRatio(u"defer xMinYMin", &ratio), ERROR_UNKNOWN_KEYWORD);
    EXPECT_EQ(ParsePreserveAspectRatio(u"xMinYMin stretch", &ratio), ERROR_UNKNOWN_KEYWORD);
    EXPECT_EQ(ratio.align, 2u);  // the align word was read before the second failed
}

TEST(TextDecorationValue, SetsABitPerWordAndRefusesOthers)
{
    uint32_t bits = 99;
    EXPECT_EQ(ParseTextDecoration(u"underline, LINE-THROUGH\tblink", &bits), SUCCESS);
    EXPECT_EQ(bits, 2u | 8u | 16u);
    EXPECT_EQ(ParseTextDecoration(u"none overline", &bits), SUCCESS);
    EXPECT_EQ(bits, 1u | 4u);
    EXPECT_EQ(ParseTextDecoration(u"underline wavy", &bits), ERROR_INV_NUMBER);
    EXPECT_EQ(bits, 1u | 4u);
}

TEST(FeaturesValue, ReadsKnownWordsAndWritesGroupsInOrder)
{
    uint32_t features = 0;
    EXPECT_EQ(ParseFeatures(u"org.w3c.svg.static unknown org.w3c.dom.svg", &features), SUCCESS);
    EXPECT_EQ(features, 0x004u | 0x020u);
    EXPECT_EQ(ParseFeatures(u"org.w3c.svg.all org.w3c.dom.svg.all", &features), SUCCESS);
    EXPECT_EQ(features, 0x1FFu);

    const struct {
        uint32_t features;
        const char* text;
    } cases[] = {
        {0, "<null>"},
        {0x001, "org.w3c.svg "},
        {0x006, "org.w3c.svg.lang org.w3c.svg.static "},
        {0x01F, "org.w3c.svg.all "},
        {0x1E0, "org.w3c.dom.svg.all"},
        {0x1FF, "org.w3c.svg.all org.w3c.dom.svg.all"},
        {0x018 | 0x140, "org.w3c.svg.dynamic org.w3c.svg.animation org.w3c.dom.svg.static org.w3c.dom.svg.animation "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        KvChar* text = nullptr;
        EXPECT_EQ(FeaturesToString(c.features, &text), SUCCESS);
        EXPECT_EQ(TakeText(text), c.text);
    }
}
