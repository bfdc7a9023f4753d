// Transform lists and path data, both ways.
#include <gtest/gtest.h>

#include "base/numeric.h"
#include "base/utf.h"
#include "values/value_formatter.h"
#include "values/value_parser.h"
#include "values/value_records.h"
#include "values_test_support.h"

namespace {

struct TransformRecord {
    SvgTransformList list;
    TransformRecord() { InitTransformList(&list); }
    ~TransformRecord() { FreeTransformList(&list); }
};

struct PathRecord {
    SvgPathData data;
    PathRecord() { InitPathData(&data); }
    ~PathRecord() { FreePathData(&data); }
};

// "a b c d e f" of one transform, "_" for unset.
std::string Numbers(const SvgTransform& item)
{
    std::string text;
    for (double value : {item.a, item.b, item.c, item.d, item.e, item.f}) {
        KvChar buffer[kNumberTextCapacity];
        NumberToString(value, buffer);
        text += (text.empty() ? "" : " ") + (IsUnsetDouble(value) ? std::string("_") : Utf8(buffer));
    }
    return text;
}

std::string WriteTransforms(const SvgTransformList& list, int32_t expectedStatus = SUCCESS)
{
    KvChar* text = nullptr;
    EXPECT_EQ(TransformListToString(&list, &text), expectedStatus);
    return TakeText(text);
}

std::string WritePath(const SvgPathData& data, int32_t expectedStatus = SUCCESS)
{
    KvChar* text = nullptr;
    EXPECT_EQ(PathDataToString(&data, &text), expectedStatus);
    return TakeText(text);
}

SvgPathSegment Line(double x, double y, uint32_t relative = 0)
{
    SvgPathSegment segment{};
    segment.size = kSvgPathSegmentSize;
    segment.relative = relative;
    segment.type = SVG_SEGMENT_LINE;
    segment.payloadSize = sizeof(SvgPathLine);
    segment.payload.line.x = x;
    segment.payload.line.y = y;
    return segment;
}

}  // namespace

TEST(TransformValue, FillsArgumentsByType)
{
    const struct {
        std::u16string_view text;
        std::vector<std::pair<uint32_t, std::string>> items;
    } cases[] = {
        {u"translate(10)", {{1, "10 _ _ _ _ _"}}},
        {u"translate(10,20,30)", {{1, "10 20 _ _ _ _"}}},
        {u"scale(2)", {{2, "2 2 _ _ _ _"}}},
        {u"scale(2 3)", {{2, "2 3 _ _ _ _"}}},
        {u"rotate(45", {{3, "45 _ _ _ _ _"}}},
        {u"rotate(45 5 6 7)", {{3, "45 5 6 _ _ _"}}},
        {u"skewX(1 2 3)", {{4, "3 _ _ _ _ _"}}},  // skew keeps the last argument
        {u"skewY(9)", {{5, "9 _ _ _ _ _"}}},
        {u"matrix(1 0 0 1 5 6 7)", {{6, "1 0 0 1 5 6"}}},
        {u"5 translate(1) scale(2)", {{1, "1 _ _ _ _ _"}, {2, "2 2 _ _ _ _"}}},
        // Arguments are not checked: an unknown word reads as 0.
        {u"translate(7) foo(5)", {{1, "7 0 _ _ _ _"}}},
        // Keywords are case-sensitive.
        {u"Scale(2)", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        TransformRecord record;
        ASSERT_EQ(ParseTransformList(c.text, &record.list), SUCCESS);
        ASSERT_EQ(record.list.count, c.items.size());
        for (size_t i = 0; i < c.items.size(); ++i) {
            EXPECT_EQ(record.list.items[i].type, c.items[i].first);
            EXPECT_EQ(Numbers(record.list.items[i]), c.items[i].second);
            EXPECT_EQ(record.list.items[i].size, kSvgTransformSize);
        }
    }
}

TEST(TransformValue, WritesEachTypeAndRefusesMissingNumbers)
{
    const struct {
        std::u16string_view text;
        int32_t status;
        const char* written;
    } cases[] = {
        {u"translate(10 20) scale(2) rotate(30) skewX(5) skewY(-5) matrix(1 0 0 1 2.5 3)", SUCCESS,
         "translate(10 20) scale(2 2) rotate(30) skewX(5) skewY(-5) matrix(1 0 0 1 2.5 3) "},
        {u"translate(4) rotate(90 1 2)", SUCCESS, "translate(4) rotate(90 1 2) "},
        {u"rotate(45 1)", ERROR_INV_NUMBER, "<null>"},  // a centre x alone
        {u"matrix(1 2 3)", ERROR_INV_NUMBER, "<null>"},
        {u"translate()", ERROR_INV_NUMBER, "<null>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        TransformRecord record;
        ASSERT_EQ(ParseTransformList(c.text, &record.list), SUCCESS);
        EXPECT_EQ(WriteTransforms(record.list, c.status), c.written);
    }
    TransformRecord record;
    ASSERT_EQ(ParseTransformList(u"scale(2) translate(1)", &record.list), SUCCESS);
    record.list.items[0].type = SVG_TRANSFORM_NONE;  // an item of type 0 is skipped
    EXPECT_EQ(WriteTransforms(record.list), "translate(1) ");
    record.list.items[0].type = 7;
    EXPECT_EQ(WriteTransforms(record.list, ERROR_INV_NUMBER), "<null>");
}

TEST(PathDataValue, ReadsEveryCommandIntoItsSegment)
{
    PathRecord record;
    ASSERT_EQ(ParsePathData(u"M1 2 3 4 h5 V6 c1 2 3 4 5 6 S7 8 9 10 q1 2 3 4 T5 6 a1 2 3 0 1 7 8 z", &record.data),
              SUCCESS);
    ASSERT_EQ(record.data.count, 10u);
    const SvgPathSegment* s = record.data.items;
    EXPECT_EQ(s[0].type, SVG_SEGMENT_MOVE);
    EXPECT_EQ(s[0].payload.move.x, 1.0);
    EXPECT_EQ(s[1].type, SVG_SEGMENT_LINE);  // further pairs of a move are lines
    EXPECT_EQ(s[1].relative, 0u);
    EXPECT_EQ(s[1].payload.line.x, 3.0);
    EXPECT_EQ(s[2].relative, 1u);
    EXPECT_EQ(s[2].payload.line.horizontal, 1u);
    EXPECT_EQ(s[2].payload.line.x, 5.0);
    EXPECT_EQ(s[3].payload.line.vertical, 1u);
    EXPECT_EQ(s[3].payload.line.y, 6.0);
    EXPECT_EQ(s[4].type, SVG_SEGMENT_CUBIC);
    EXPECT_EQ(s[4].payload.cubic.x1, 1.0);
    EXPECT_EQ(s[4].payload.cubic.x2, 3.0);
    EXPECT_EQ(s[4].payload.cubic.x, 5.0);
    EXPECT_EQ(s[5].payload.cubic.smooth, 1u);
    EXPECT_EQ(s[5].payload.cubic.x2, 7.0);
    EXPECT_EQ(s[5].payload.cubic.x, 9.0);
    EXPECT_EQ(s[6].type, SVG_SEGMENT_QUADRATIC);
    EXPECT_EQ(s[6].payload.quadratic.x1, 1.0);
    EXPECT_EQ(s[6].payload.quadratic.x, 3.0);
    EXPECT_EQ(s[7].payload.quadratic.smooth, 1u);
    EXPECT_EQ(s[8].type, SVG_SEGMENT_ARC);
    EXPECT_EQ(s[8].payload.arc.rx, 1.0);
    EXPECT_EQ(s[8].payload.arc.rotationDegrees, 3.0);
    EXPECT_EQ(s[8].payload.arc.largeArc, 0u);
    EXPECT_EQ(s[8].payload.arc.sweep, 1u);
    EXPECT_EQ(s[8].payload.arc.y, 8.0);
    EXPECT_EQ(s[9].type, SVG_SEGMENT_CLOSE);
    EXPECT_EQ(s[9].relative, 1u);
}

TEST(PathDataValue, KeepsTheGrammarsOddities)
{
    const struct {
        std::u16string_view text;
        int32_t status;
        const char* rewritten;
    } cases[] = {
        // A second point starts the next number.
        {u"M0 0L10 10.5.5", SUCCESS, "M0 0 L10 10.5 "},
        {u"M0 0L10.5.5", SUCCESS, "M0 0 L10.5 0.5 "},
        // Escaped line ends pass through as separators.
        {u"M0 0&#xD;&#xA;L5 5", SUCCESS, "M0 0 L5 5 "},
        // A sign inside a number without exponent is an error; what came before stays.
        {u"M0 0 L10-20", ERROR_INV_PARAMETER, "M0 0 "},
        {u"M1e-2 5", SUCCESS, "M0.01 5 "},
        {u"M0 0 +5 5", ERROR_INV_PARAMETER, "M0 0 "},
        {u"M0 0 L5 5 !", ERROR_INV_PARAMETER, "M0 0 L5 5 "},
        // Compact arc flags are not understood: "00.5" and ".5" are two numbers.
        {u"M0 0 a1 1 0 00.5.5", SUCCESS, "M0 0 "},
        {u"M0 0 a1 1 0 0 0 .5 .5", SUCCESS, "M0 0 a1 1 0 0 0 0.5 0.5 "},
        // An incomplete group of arguments is dropped.
        {u"M0 0 L5", SUCCESS, "M0 0 "},
        {u"   ", SUCCESS, "<null>"},
        {u"", SUCCESS, "<null>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        PathRecord record;
        EXPECT_EQ(ParsePathData(c.text, &record.data), c.status);
        EXPECT_EQ(WritePath(record.data), c.rewritten);
    }
}

TEST(PathDataValue, KeepsAtMostThirtyOneCharactersOfANumber)
{
    PathRecord record;
    std::u16string longNumber = u"M1" + std::u16string(40, u'0') + u" 5";
    ASSERT_EQ(ParsePathData(longNumber, &record.data), SUCCESS);
    ASSERT_EQ(record.data.count, 1u);
    EXPECT_EQ(record.data.items[0].payload.move.x, 1e30);
}

TEST(PathDataValue, DropsALineThatRepeatsTheLastAbsoluteLine)
{
    PathRecord record;
    ASSERT_EQ(ParsePathData(u"M0 0 L5 5 L5 5 l5 5 l5 5 L5 5 H5 H5", &record.data), SUCCESS);
    // The absolute repeat goes; relative lines always stay; H compares x and
    // the y it does not use.
    EXPECT_EQ(WritePath(record.data), "M0 0 L5 5 l5 5 l5 5 H5 ");

    SvgPathSegment lines[] = {Line(1, 2), Line(1, 2, 1), Line(1, 2, 1)};
    SvgPathData data{kSvgPathDataSize, 3, lines};
    EXPECT_EQ(WritePath(data), "L1 2 l1 2 l1 2 ");
    lines[1].relative = 0;
    EXPECT_EQ(WritePath(data), "L1 2 l1 2 ");
}

TEST(PathDataValue, RefusesSegmentsItCannotWrite)
{
    SvgPathSegment segments[] = {Line(1, 2), Line(3, 4)};
    SvgPathData data{kSvgPathDataSize, 2, segments};
    segments[1].relative = SVG_SEGMENT_INVALID;
    EXPECT_EQ(WritePath(data, ERROR_INV_NUMBER), "<null>");
    segments[1].relative = 0;
    segments[1].type = 6;
    EXPECT_EQ(WritePath(data, ERROR_INV_NUMBER), "<null>");
    segments[1].type = SVG_SEGMENT_LINE;
    segments[1].payload.line.y = UnsetDouble();
    EXPECT_EQ(WritePath(data, ERROR_INV_NUMBER), "<null>");
    segments[1].payload.line.horizontal = 1;  // H needs only x
    EXPECT_EQ(WritePath(data), "L1 2 H3 ");
    segments[1].relative = 2;  // any other non-zero flag is relative
    EXPECT_EQ(WritePath(data), "L1 2 h3 ");

    SvgPathSegment arc{};
    arc.size = kSvgPathSegmentSize;
    arc.type = SVG_SEGMENT_ARC;
    arc.payload.arc = SvgPathArc{2, 1, 10, 20, 5, 6, 0};  // a flag counts only when it is 1
    SvgPathData arcData{kSvgPathDataSize, 1, &arc};
    EXPECT_EQ(WritePath(arcData), "A5 6 0 1 0 10 20 ");
}
