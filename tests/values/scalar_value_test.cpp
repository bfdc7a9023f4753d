// Lengths, percentages and angles, both ways.
#include <gtest/gtest.h>

#include "base/numeric.h"
#include "base/utf.h"
#include "values/value_formatter.h"
#include "values/value_parser.h"
#include "values/value_records.h"
#include "values_test_support.h"

namespace {

SvgLength Length(double value, uint32_t unit, uint32_t percent = 0)
{
    return SvgLength{kSvgLengthSize, value, unit, percent};
}

std::string Format(const SvgLength& length, int32_t expectedStatus = SUCCESS)
{
    KvChar buffer[kNumberTextCapacity] = u"untouched";
    EXPECT_EQ(LengthToString(&length, buffer), expectedStatus);
    return ToUtf8(std::u16string_view(buffer));
}

}  // namespace

TEST(LengthValue, ReadsNumberAndUnit)
{
    const struct {
        std::u16string_view text;
        double value;
        uint32_t unit;
        uint32_t percent;
    } cases[] = {
        {u"10", 10, SVG_UNIT_NONE, 0},  {u"10 px", 10, SVG_UNIT_PX, 0}, {u"  2.5in ", 2.5, SVG_UNIT_IN, 0},
        {u"1em", 1, SVG_UNIT_EM, 0},    {u"3EX", 3, SVG_UNIT_EX, 0},    {u"12pt", 12, SVG_UNIT_PT, 0},
        {u"3pc", 3, SVG_UNIT_PC, 0},    {u"7cm", 7, SVG_UNIT_CM, 0},    {u"-8mm", -8, SVG_UNIT_MM, 0},
        {u"50%", 50, SVG_UNIT_NONE, 1}, {u"1e2px", 100, SVG_UNIT_PX, 0}, {u".5\t%\n", 0.5, SVG_UNIT_NONE, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        SvgLength length;
        InitLength(&length);
        ASSERT_EQ(ParseLength(c.text, &length), SUCCESS);
        EXPECT_EQ(length.value, c.value);
        EXPECT_EQ(length.unit, c.unit);
        EXPECT_EQ(length.percent, c.percent);
    }
}

TEST(LengthValue, ForgivesWhatIsNoNumberButRefusesUnknownUnits)
{
    SvgLength length = Length(4, SVG_UNIT_CM);
    // Not a number: the value is unset, with no unit, and no error.
    EXPECT_EQ(ParseLength(u"abc", &length), SUCCESS);
    EXPECT_TRUE(IsUnsetDouble(length.value));
    EXPECT_EQ(length.unit, SVG_UNIT_NONE);
    EXPECT_EQ(length.percent, 0u);

    length = Length(4, SVG_UNIT_CM);
    EXPECT_EQ(ParseLength(u"10.5.5px", &length), SUCCESS);
    EXPECT_TRUE(IsUnsetDouble(length.value));
    EXPECT_EQ(length.unit, SVG_UNIT_PX);

    // The number runs to the last digit, so a unit in the middle spoils it.
    EXPECT_EQ(ParseLength(u"1px2em", &length), SUCCESS);
    EXPECT_TRUE(IsUnsetDouble(length.value));
    EXPECT_EQ(length.unit, SVG_UNIT_EM);

    // An unknown unit fails and leaves the record as it was.
    const std::u16string_view refused[] = {u"10q", u"10 p x", u"10.", u"5e", u"10%%"};
    for (std::u16string_view text : refused) {
        SCOPED_TRACE(ToUtf8(text));
        length = Length(4, SVG_UNIT_CM);
        EXPECT_EQ(ParseLength(text, &length), ERROR_ATTRIBUTE_UNKNOWN);
        EXPECT_EQ(length.value, 4.0);
        EXPECT_EQ(length.unit, SVG_UNIT_CM);
    }

    // Nothing but white space leaves the record alone too.
    length = Length(4, SVG_UNIT_CM);
    EXPECT_EQ(ParseLength(u" \t\r\n", &length), SUCCESS);
    EXPECT_EQ(length.value, 4.0);
    EXPECT_EQ(ParseLength(static_cast<const KvChar*>(nullptr), &length), ERROR_INV_PARAMETER);
}

TEST(LengthValue, WritesPicasWithTheMillimetreSuffix)
{
    const struct {
        SvgLength length;
        const char* text;
    } cases[] = {
        {Length(10, SVG_UNIT_NONE), "10"},    {Length(50, SVG_UNIT_NONE, 1), "50%"},
        {Length(2.5, SVG_UNIT_IN), "2.5in"},  {Length(1, SVG_UNIT_EM), "1em"},
        {Length(3, SVG_UNIT_EX), "3ex"},      {Length(4, SVG_UNIT_PX), "4px"},
        {Length(3, SVG_UNIT_PC), "3mm"},      {Length(12, SVG_UNIT_PT), "12pt"},
        {Length(7, SVG_UNIT_CM), "7cm"},      {Length(-8, SVG_UNIT_MM), "-8mm"},
        {Length(5, SVG_UNIT_PX, 1), "5px"},  // the percent flag counts only without a unit
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(Format(c.length), c.text);
    }
    EXPECT_EQ(Format(Length(UnsetDouble(), SVG_UNIT_PX), kStatusNoValue), "untouched");
    EXPECT_EQ(Format(Length(1, 9), ERROR_INV_NUMBER), "untouched");
}

TEST(PercentageValue, ReadsPlainNumbersAndPercentages)
{
    const struct {
        std::u16string_view text;
        int32_t status;
        double value;
        uint32_t type;
    } cases[] = {
        {u"50%", SUCCESS, 50, 1},        {u"  0.25", SUCCESS, 0.25, 0},   {u"-10%", SUCCESS, -10, 1},
        {u"1e2", SUCCESS, 100, 0},       {u"1e2 junk!", SUCCESS, 100, 0}, {u"3cm", SUCCESS, 3, 0},
        {u"5%5", SUCCESS, 5, 1},
        {u"", ERROR_INV_NUMBER, 0, 0},   {u"50% ", ERROR_INV_NUMBER, 0, 0}, {u"1.2.3", ERROR_INV_NUMBER, 0, 0},
        {u"5%%", ERROR_INV_NUMBER, 0, 0}, {u"12px", ERROR_INV_NUMBER, 0, 0}, {u"+1", ERROR_INV_NUMBER, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        SvgPercentage percentage{kSvgPercentageSize, 9, 7};
        ASSERT_EQ(ParsePercentage(c.text, &percentage), c.status);
        if (c.status != SUCCESS) {
            EXPECT_EQ(percentage.value, 9.0);
            continue;
        }
        EXPECT_EQ(percentage.value, c.value);
        EXPECT_EQ(percentage.type, c.type);
    }
}

TEST(PercentageValue, WritesIntoTheCallersBuffer)
{
    KvChar buffer[20];
    SvgPercentage percentage{kSvgPercentageSize, 12.5, SVG_PERCENTAGE_PERCENT};
    EXPECT_EQ(PercentageToString(&percentage, buffer, 20), SUCCESS);
    EXPECT_EQ(Utf8(buffer), "12.5%");
    percentage.type = SVG_PERCENTAGE_NUMBER;
    EXPECT_EQ(PercentageToString(&percentage, buffer, 20), SUCCESS);
    EXPECT_EQ(Utf8(buffer), "12.5");
    percentage.type = 2;
    EXPECT_EQ(PercentageToString(&percentage, buffer, 20), ERROR_INV_NUMBER);
    percentage.value = UnsetDouble();
    EXPECT_EQ(PercentageToString(&percentage, buffer, 20), kStatusNoValue);
    // A small buffer gets a cut text, never more than it holds.
    KvChar small[4] = {u'x', u'x', u'x', u'x'};
    percentage = SvgPercentage{kSvgPercentageSize, 123456, SVG_PERCENTAGE_PERCENT};
    EXPECT_EQ(PercentageToString(&percentage, small, 4), SUCCESS);
    EXPECT_EQ(Utf8(small), "123");
    EXPECT_EQ(PercentageToString(&percentage, nullptr, 4), ERROR_INV_PARAMETER);
}

TEST(AngleValue, ReadsDegreesByDefaultAndTheUnitWords)
{
    const struct {
        std::u16string_view text;
        int32_t status;
        double value;
        uint32_t unit;
    } cases[] = {
        {u"45", SUCCESS, 45, SVG_ANGLE_DEG},        {u" -90deg ", SUCCESS, -90, SVG_ANGLE_DEG},
        {u"100grad", SUCCESS, 100, SVG_ANGLE_GRAD}, {u"1.5RAD", SUCCESS, 1.5, SVG_ANGLE_RAD},
        {u".5 deg", SUCCESS, 0.5, SVG_ANGLE_DEG},
        {u"deg", ERROR_INV_NUMBER, 0, 0},           {u"", ERROR_INV_NUMBER, 0, 0},
        {u"45turn", ERROR_UNKNOWN_KEYWORD, 0, 0},   {u"4-5", ERROR_UNKNOWN_KEYWORD, 0, 0},
        {u"1.5.5", ERROR_UNKNOWN_KEYWORD, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        SvgAngle angle{kSvgAngleSize, 7, SVG_ANGLE_NONE};
        ASSERT_EQ(ParseAngle(c.text, &angle), c.status);
        if (c.status != SUCCESS) {
            EXPECT_EQ(angle.value, 7.0);
            continue;
        }
        EXPECT_EQ(angle.value, c.value);
        EXPECT_EQ(angle.unit, c.unit);
    }
}

TEST(AngleValue, WritesTheUnitWordOrTheBareNumber)
{
    KvChar buffer[kNumberTextCapacity];
    const struct {
        SvgAngle angle;
        int32_t status;
        const char* text;
    } cases[] = {
        {{kSvgAngleSize, 30, SVG_ANGLE_NONE}, SUCCESS, "30"},
        {{kSvgAngleSize, 30, SVG_ANGLE_DEG}, SUCCESS, "30deg"},
        {{kSvgAngleSize, 0.5, SVG_ANGLE_GRAD}, SUCCESS, "0.5grad"},
        {{kSvgAngleSize, 2, SVG_ANGLE_RAD}, SUCCESS, "2rad"},
        {{kSvgAngleSize, 2, 4}, FAILURE, "before"},
        {{kSvgAngleSize, UnsetDouble(), SVG_ANGLE_DEG}, kStatusNoValue, "before"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::u16string_view before = u"before";
        std::copy(before.begin(), before.end(), buffer);
        buffer[before.size()] = 0;
        EXPECT_EQ(AngleToString(&c.angle, buffer), c.status);
        EXPECT_EQ(Utf8(buffer), c.text);
    }
}
