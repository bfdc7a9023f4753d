// SetAttribute's rules, the group writers' order and size tests, the
// stand-alone writers and the file options on the root.
#include "values/svg_attribute_writer.h"

#include <gtest/gtest.h>

#include "base/numeric.h"
#include "values/file_option_attributes.h"
#include "values/property_parser.h"
#include "values/svg_attribute_reader.h"
#include "values/value_formatter.h"
#include "values/value_parser.h"
#include "values_test_support.h"

TEST(AttributeWriter, NeverLeavesAnAttributeEmptyAndKeepsItsPlace)
{
    Element element("<rect id='r' x='1' y='2'/>");
    SvgAttributeWriter writer(element.node(), 0);
    EXPECT_EQ(writer.SetAttribute("x", u" 5 ", false), SUCCESS);
    EXPECT_EQ(writer.SetAttribute("fill", u"  red  ", true), SUCCESS);
    EXPECT_EQ(element.Markup(), "<rect id=\"r\" x=\" 5 \" y=\"2\" fill=\"red\"/>");
    EXPECT_EQ(writer.SetAttribute("id", u"   ", true), SUCCESS);  // an id of blanks removes the id
    EXPECT_EQ(writer.SetAttribute("y", static_cast<const KvChar*>(nullptr), false), SUCCESS);
    EXPECT_EQ(writer.SetAttribute("absent", u"", false), SUCCESS);
    EXPECT_EQ(element.Markup(), "<rect x=\" 5 \" fill=\"red\"/>");
    EXPECT_EQ(writer.SetAttribute(nullptr, u"v", false), ERROR_INV_PARAMETER);

    SvgAttributeWriter unbound(pugi::xml_node(), 0);
    EXPECT_EQ(unbound.SetAttribute("x", u"1", false), FAILURE);
}

TEST(AttributeWriter, SingleValueSettersRemoveWhatHasNoValue)
{
    Element element("<g a='1' b='1' c='1' d='1'/>");
    SvgAttributeWriter writer(element.node(), 0);
    EXPECT_EQ(writer.SetNumberAttribute("a", UnsetDouble()), SUCCESS);
    EXPECT_EQ(writer.SetBooleanAttribute("b", -1), SUCCESS);
    SvgLength unset{kSvgLengthSize, UnsetDouble(), 0, 0};
    EXPECT_EQ(writer.SetLengthAttribute("c", &unset), SUCCESS);
    SvgAngle noAngle{kSvgAngleSize, UnsetDouble(), 1};
    EXPECT_EQ(writer.SetAngleAttribute("d", &noAngle), SUCCESS);
    EXPECT_EQ(element.Markup(), "<g/>");

    EXPECT_EQ(writer.SetNumberAttribute("n", 1.5e10), SUCCESS);
    EXPECT_EQ(writer.SetBooleanAttribute("t", 7), SUCCESS);
    EXPECT_EQ(writer.SetBooleanAttribute("f", 0), SUCCESS);
    SvgLength badUnit{kSvgLengthSize, 1, 9, 0};
    EXPECT_EQ(writer.SetLengthAttribute("l", &badUnit), ERROR_INV_NUMBER);
    SvgAngle badAngle{kSvgAngleSize, 1, 4};
    EXPECT_EQ(writer.SetAngleAttribute("g", &badAngle), FAILURE);
    EXPECT_EQ(writer.SetEnumAttribute("e", 3, kFillRuleKeywords), FAILURE);
    EXPECT_EQ(writer.SetEnumAttribute("e", 2, kFillRuleKeywords), SUCCESS);
    EXPECT_EQ(element.Markup(), "<g n=\"1.5e+1\" t=\"true\" f=\"false\" e=\"evenodd\"/>");
    EXPECT_EQ(writer.SetEnumAttribute("e", 0, kFillRuleKeywords), SUCCESS);
    EXPECT_EQ(element.Attribute("e"), "<absent>");
}

TEST(AttributeWriter, WritesNodeTextAndRemovesStyle)
{
    Element element("<text style='fill:red'>old</text>");
    SvgAttributeWriter writer(element.node(), 0);
    EXPECT_EQ(writer.SetNodeText(u"new \u00E9"), SUCCESS);
    EXPECT_EQ(writer.RemoveStyleAttribute(), SUCCESS);
    EXPECT_EQ(writer.RemoveStyleAttribute(), SUCCESS);
    EXPECT_EQ(element.Markup(), "<text>new \xC3\xA9</text>");
}

TEST(GroupWriters, RefuseARecordOfTheWrongSizeBeforeWriting)
{
    Element element("<g fill='red'/>");
    SvgAttributeWriter writer(element.node(), 0);
    StyleRecord record;
    record->size = kSvgStylePropSize + 4;
    EXPECT_EQ(writer.WritePresentationAttributes(record.get()), ERROR_RECORD_SIZE);
    record->size = kSvgStylePropSize;
    record->paint.fill.size = 0;
    EXPECT_EQ(writer.WritePresentationAttributes(record.get()), ERROR_RECORD_SIZE);
    record->paint.fill.size = kSvgFillSize;
    record->text.anchor.size = 1;  // the nested block of the text group has its own test
    EXPECT_EQ(writer.WriteTextAttributes(&record->text), ERROR_RECORD_SIZE);
    EXPECT_EQ(element.Attribute("fill"), "red");  // the paint group stopped at the fill's size test
    SvgCoreAttributes core{};
    EXPECT_EQ(writer.WriteCoreAttributes(&core), ERROR_RECORD_SIZE);
    SvgViewBox box{};
    EXPECT_EQ(writer.WriteViewBox(&box), ERROR_RECORD_SIZE);
}

TEST(GroupWriters, WriteThePresentationGroupInItsOrderAndDropStyle)
{
    Element element("<rect style='stroke:blue' fill='green'/>");
    StyleRecord record;
    SvgAttributeReader reader(element.node(), 0);
    ASSERT_EQ(ParseStyleAttribute(reader, u"fill:red;stroke-width:2;opacity:0.5;font-size:12px;clip-path:url(#c);"
                                          u"stop-opacity:0.3;top:auto;text-anchor:end;stroke-dasharray:1,2",
                                  record.get()),
              SUCCESS);
    SvgAttributeWriter writer(element.node(), 0);
    ASSERT_EQ(writer.WritePresentationAttributes(record.get()), SUCCESS);
    // fill stays in its place; everything else follows in the groups' order.
    EXPECT_EQ(element.Markup(), "<rect fill=\"red\" clip-path=\"url(#c)\" top=\"auto\" stop-opacity=\"0.3\" "
                                "stroke-dasharray=\"1 2\" stroke-width=\"2\" text-anchor=\"end\" "
                                "font-size=\"12px\" opacity=\"0.5\"/>");
}

TEST(GroupWriters, KeepTheWritersOddities)
{
    Element element("<text/>");
    SvgAttributeWriter writer(element.node(), 0);
    StyleRecord record;
    record->text.anchor.baseline.dominantBaseline = 8;
    record->text.anchor.baseline.alignmentBaseline = 9;
    // Kerning and a vertical orientation read from text carry kind 0: nothing to write.
    ASSERT_EQ(ParseKerningValue(u"2px", &record->text.spacing.kerning), SUCCESS);
    ASSERT_EQ(ParseGlyphOrientationVerticalValue(u"90", &record->text.orientation.glyphOrientationVertical), SUCCESS);
    ASSERT_EQ(writer.WriteTextAttributes(&record->text), SUCCESS);
    EXPECT_EQ(element.Markup(), "<text alignment-baseline=\"alphabetic\" dominant-baseline=\"alphbetic\"/>");
}

TEST(GroupWriters, WriteTheVerticalOrientationOnlyAfterAFailedHorizontalStep)
{
    SvgGlyphOrientationAttributes orientation{};
    orientation.size = kSvgGlyphOrientationAttributesSize;
    orientation.glyphOrientationVertical = SvgKeywordAngle{kSvgKeywordAngleSize, {kSvgAngleSize, 90, 1}, 2};
    const struct {
        SvgAngle horizontal;
        int32_t status;
        const char* markup;
    } cases[] = {
        {{kSvgAngleSize, 0, SVG_ANGLE_DEG}, SUCCESS, "<text glyph-orientation-horizontal=\"0deg\"/>"},
        {{kSvgAngleSize, UnsetDouble(), SVG_ANGLE_DEG}, SUCCESS, "<text/>"},
        {{kSvgAngleSize, 0, 7}, SUCCESS, "<text glyph-orientation-vertical=\"90deg\"/>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.markup);
        Element element("<text/>");
        orientation.glyphOrientationHorizontal = c.horizontal;
        EXPECT_EQ(SvgAttributeWriter(element.node(), 0).WriteGlyphOrientationAttributes(&orientation), c.status);
        EXPECT_EQ(element.Markup(), c.markup);
    }
}

TEST(GroupWriters, FollowTheVersionRules)
{
    SvgXlinkAttributes xlink;
    InitXlinkAttributes(&xlink);
    xlink.type = 2;
    Element element("<use/>");
    EXPECT_EQ(SvgAttributeWriter(element.node(), 2).WriteXlinkAttributes(&xlink), ERROR_INV_NUMBER);
    EXPECT_EQ(SvgAttributeWriter(element.node(), 1).WriteXlinkAttributes(&xlink), SUCCESS);
    xlink.type = 1;
    xlink.actuate = 1;
    EXPECT_EQ(SvgAttributeWriter(element.node(), 2).WriteXlinkAttributes(&xlink), ERROR_INV_NUMBER);
    EXPECT_EQ(element.Markup(), "<use xlink:type=\"simple\"/>");

    SvgColorAttributes rendering{kSvgColorAttributesSize, 1, 2, 3, 2, 3, 2};
    Element first("<g/>");
    ASSERT_EQ(SvgAttributeWriter(first.node(), 1).WriteColorAttributes(&rendering), SUCCESS);
    EXPECT_EQ(first.Markup(), "<g color-interpolation=\"linearRGB\" color-rendering=\"optimizeSpeed\" "
                              "image-rendering=\"optimizeSpeed\" shape-rendering=\"crispEdges\" "
                              "text-rendering=\"auto\"/>");
    Element second("<g/>");
    ASSERT_EQ(SvgAttributeWriter(second.node(), 2).WriteColorAttributes(&rendering), SUCCESS);
    EXPECT_EQ(second.Attribute("color-interpolation-filters"), "sRGB");

    KvChar buffer[50];
    EXPECT_EQ(DominantBaselineToString(11, 1, buffer), ERROR_INV_NUMBER);
    EXPECT_EQ(DominantBaselineToString(2, 2, buffer), ERROR_INV_NUMBER);
    EXPECT_EQ(DominantBaselineToString(2, 1, buffer), SUCCESS);
    EXPECT_EQ(DominantBaselineToString(16, 0, buffer), FAILURE);
}

TEST(GroupWriters, WriteFillAndTextDecoration)
{
    Element element("<rect fill='red' text-decoration='blink'/>");
    SvgAttributeWriter writer(element.node(), 0);
    SvgFill fill;
    InitFill(&fill);
    ASSERT_EQ(writer.WriteFillAttributes(&fill), SUCCESS);  // kind 0 removes fill
    EXPECT_EQ(element.Attribute("fill"), "<absent>");
    fill.rule = 3;
    EXPECT_EQ(writer.WriteFillAttributes(&fill), FAILURE);

    SvgTextAttributes text;
    InitTextAttributes(&text);
    text.textDecoration = 1 | 2 | 8 | 16;
    ASSERT_EQ(writer.WriteTextAttributes(&text), SUCCESS);
    EXPECT_EQ(element.Attribute("text-decoration"), "none underline line-through blink");
    text.textDecoration = 0;
    ASSERT_EQ(writer.WriteTextAttributes(&text), SUCCESS);
    EXPECT_EQ(element.Attribute("text-decoration"), "<absent>");
}

TEST(StandAloneWriters, WriteViewBoxAspectRatioOrientAndPathLength)
{
    Element element("<svg/>");
    SvgAttributeWriter writer(element.node(), 0);
    SvgViewBox box{kSvgViewBoxSize, 0, -5.5, 100, 50};
    ASSERT_EQ(writer.WriteViewBox(&box), SUCCESS);
    EXPECT_EQ(element.Attribute("viewBox"), "0 -5.5 100 50");
    box.width = -1;
    EXPECT_EQ(writer.WriteViewBox(&box), ERROR_INV_NUMBER);
    box.width = UnsetDouble();
    EXPECT_EQ(writer.WriteViewBox(&box), ERROR_INV_NUMBER);
    box = SvgViewBox{kSvgViewBoxSize, UnsetDouble(), UnsetDouble(), UnsetDouble(), UnsetDouble()};
    EXPECT_EQ(writer.WriteViewBox(&box), SUCCESS);
    EXPECT_EQ(element.Attribute("viewBox"), "<absent>");

    // "xMidYMid slice" once parsed comes back without its slice.
    SvgPreserveAspectRatio ratio;
    InitPreserveAspectRatio(&ratio);
    ASSERT_EQ(ParsePreserveAspectRatio(u"xMidYMid slice", &ratio), SUCCESS);
    ASSERT_EQ(writer.WritePreserveAspectRatio(&ratio), SUCCESS);
    EXPECT_EQ(element.Attribute("preserveAspectRatio"), "xMidYMid");
    ratio.align = 11;
    ASSERT_EQ(writer.WritePreserveAspectRatio(&ratio), SUCCESS);
    EXPECT_EQ(element.Attribute("preserveAspectRatio"), "meet");
    ratio.align = 12;
    EXPECT_EQ(writer.WritePreserveAspectRatio(&ratio), ERROR_INV_NUMBER);
    ratio.align = 1;
    ratio.meetOrSlice = 4;
    EXPECT_EQ(writer.WritePreserveAspectRatio(&ratio), ERROR_INV_NUMBER);
    ratio.align = 0;
    EXPECT_EQ(writer.WritePreserveAspectRatio(&ratio), SUCCESS);
    EXPECT_EQ(element.Attribute("preserveAspectRatio"), "<absent>");

    SvgKeywordAngle orient{kSvgKeywordAngleSize, {kSvgAngleSize, 45, SVG_ANGLE_NONE}, 2};
    ASSERT_EQ(writer.WriteOrientAttribute(&orient), SUCCESS);
    EXPECT_EQ(element.Attribute("orient"), "45");
    orient.kind = 1;
    ASSERT_EQ(writer.WriteOrientAttribute(&orient), SUCCESS);
    EXPECT_EQ(element.Attribute("orient"), "auto");

    SvgPercentage pathLength{kSvgPercentageSize, 200, 0};
    ASSERT_EQ(writer.WritePathLengthAttribute(&pathLength), SUCCESS);
    EXPECT_EQ(element.Attribute("pathLength"), "200");
    pathLength.value = UnsetDouble();
    ASSERT_EQ(writer.WritePathLengthAttribute(&pathLength), SUCCESS);
    EXPECT_EQ(element.Attribute("pathLength"), "<absent>");
}

TEST(StandAloneWriters, TrimTheTrailingBlankOfListsAndStopTheStrokeGroupOnAnUnsetLastDash)
{
    Element element("<path/>");
    SvgAttributeWriter writer(element.node(), 0);
    SvgPathData data;
    InitPathData(&data);
    ASSERT_EQ(ParsePathData(u"M0 0 L10 10 L10 10 Z", &data), SUCCESS);
    ASSERT_EQ(writer.WritePathDataAttribute(&data), SUCCESS);
    EXPECT_EQ(element.Attribute("d"), "M0 0 L10 10 Z");
    FreePathData(&data);

    SvgTransformList list;
    InitTransformList(&list);
    ASSERT_EQ(ParseTransformList(u"rotate(90) translate(1,2)", &list), SUCCESS);
    ASSERT_EQ(writer.WriteTransformAttribute("transform", &list), SUCCESS);
    EXPECT_EQ(element.Attribute("transform"), "rotate(90) translate(1 2)");
    FreeTransformList(&list);

    SvgStroke stroke;
    InitStroke(&stroke);
    ASSERT_EQ(ParseDashArrayValue(u"4 x", &stroke.dashArray), SUCCESS);
    stroke.lineCap = 2;
    EXPECT_EQ(writer.WriteStrokeAttributes(&stroke), kStatusNoValue);
    EXPECT_EQ(element.Attribute("stroke-dasharray"), "<absent>");
    EXPECT_EQ(element.Attribute("stroke-linecap"), "<absent>");
    FreeStroke(&stroke);
}

TEST(FileOptions, WriteAndReadTheRootsAttributes)
{
    Element element("<svg/>");
    SvgBounds bounds{kSvgBoundsSize, 1, 1, 96, -1.0, 10, 20.5, 300, 150};
    ASSERT_EQ(WriteFileOptionAttributes(element.node(), &bounds), SUCCESS);
    ASSERT_EQ(WriteIsFlatAttribute(element.node(), true), SUCCESS);
    EXPECT_EQ(element.Markup(), "<svg DpiX=\"96\" Bounds=\"10, 20.5, 300, 150\" IsTrimmed=\"true\" IsFlat=\"true\"/>");

    SvgBounds read{};
    read.size = kSvgBoundsSize;
    ASSERT_EQ(ReadFileOptionAttributes(element.node(), &read), SUCCESS);
    EXPECT_EQ(read.hasBounds, 1u);
    EXPECT_EQ(read.isTrimmed, 1u);
    EXPECT_EQ(read.dpiX, 96.0);
    EXPECT_TRUE(IsUnsetDouble(read.dpiY));
    EXPECT_EQ(read.y, 20.5);
    EXPECT_EQ(read.height, 150.0);
    EXPECT_TRUE(ReadIsFlatAttribute(element.node()));

    bounds.width = 0;
    bounds.isTrimmed = 0;
    ASSERT_EQ(WriteFileOptionAttributes(element.node(), &bounds), SUCCESS);
    EXPECT_EQ(element.Attribute("Bounds"), "Empty");
    EXPECT_EQ(element.Attribute("IsTrimmed"), "false");
    ASSERT_EQ(ReadFileOptionAttributes(element.node(), &read), SUCCESS);
    EXPECT_EQ(read.hasBounds, 1u);
    EXPECT_EQ(read.width, 0.0);

    ASSERT_EQ(WriteFileOptionAttributes(element.node(), nullptr), SUCCESS);
    ASSERT_EQ(WriteIsFlatAttribute(element.node(), false), SUCCESS);
    EXPECT_EQ(element.Markup(), "<svg DpiX=\"96\" IsTrimmed=\"false\"/>");
    EXPECT_FALSE(ReadIsFlatAttribute(element.node()));
}

TEST(FileOptions, RefuseBoundsWithFewerThanFourNumbers)
{
    const struct {
        const char* markup;
        int32_t status;
        uint32_t hasBounds;
    } cases[] = {
        {"<svg Bounds='1,2,3'/>", ERROR_INV_PARAMETER, 0},
        {"<svg Bounds='Empty'/>", SUCCESS, 1},
        {"<svg Bounds='1 2\t3\n4'/>", SUCCESS, 1},
        {"<svg/>", SUCCESS, 0},
        {"<svg IsFlat='yes'/>", SUCCESS, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.markup);
        Element element(c.markup);
        SvgBounds bounds{};
        EXPECT_EQ(ReadFileOptionAttributes(element.node(), &bounds), c.status);
        if (c.status == SUCCESS) {
            EXPECT_EQ(bounds.hasBounds, c.hasBounds);
        }
        EXPECT_FALSE(ReadIsFlatAttribute(element.node()));
    }
}
