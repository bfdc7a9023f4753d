// The style attribute, the presentation properties and the attribute readers.
#include "values/svg_attribute_reader.h"

#include <gtest/gtest.h>

#include "base/numeric.h"
#include "values/property_parser.h"
#include "values/value_parser.h"
#include "values_test_support.h"

namespace {

int32_t ReadPresentation(const char* markup, StyleRecord& record, uint32_t version = 0, uint32_t flags = 0)
{
    Element element(markup);
    SvgAttributeReader reader(element.node(), version, flags);
    return reader.ReadPresentationAttributes(record.get());
}

}  // namespace

TEST(StyleAttribute, OverridesPresentationAttributesAndSkipsTheTailOfEscapes)
{
    StyleRecord record;
    ASSERT_EQ(ReadPresentation("<rect fill='blue' stroke-width='2' style='fill:red;&amp;#xD;'/>", record), SUCCESS);
    EXPECT_EQ(record->paint.fill.paint.kind, SVG_PAINT_COLOR);
    EXPECT_EQ(Utf8(record->paint.fill.paint.color.text), "red");
    EXPECT_EQ(record->paint.stroke.width.value, 2.0);
}

TEST(StyleAttribute, RemovesWhiteSpaceButKeepsBlanksOfFontFamily)
{
    StyleRecord record;
    Element element("<text/>");
    SvgAttributeReader reader(element.node(), 0);
    ASSERT_EQ(ParseStyleAttribute(reader, u"  font-family : Times New Roman ; font - size: 1 2 px;stroke :\tur l(#a);",
                                  record.get()),
              SUCCESS);
    EXPECT_EQ(Utf8(record->text.font.fontFamily), "Times New Roman");
    EXPECT_EQ(record->paint.stroke.paint.kind, SVG_PAINT_REFERENCE);
    EXPECT_EQ(Utf8(record->paint.stroke.paint.color.text), "a");
    EXPECT_EQ(record->text.font.fontSize.length.value, 12.0);
    EXPECT_EQ(record->text.font.fontSize.length.unit, SVG_UNIT_PX);
}

TEST(StyleAttribute, IgnoresPropertiesThatHaveNoEffectInStyle)
{
    StyleRecord record;
    Element element("<g/>");
    SvgAttributeReader reader(element.node(), 0);
    ASSERT_EQ(ParseStyleAttribute(reader, u"color:red;clip:rect(1 2 3 4);mask:url(#m);filter:url(#f);"
                                          u"margin-top:5px;unknown-thing:9;opacity:0.5",
                                  record.get()),
              SUCCESS);
    EXPECT_EQ(record->colorValue.color.kind, 0u);
    EXPECT_EQ(record->colorValue.color.color.text, nullptr);
    EXPECT_EQ(record->opacity, 0.5);
    EXPECT_EQ(ParseStyleAttribute(reader, static_cast<const KvChar*>(nullptr), record.get()), SUCCESS);
    EXPECT_EQ(ParseStyleAttribute(reader, u"", record.get()), SUCCESS);
}

TEST(StyleAttribute, AnUnknownKeywordEndsTheParseButNotTheGroupRead)
{
    StyleRecord record;
    // The style's unknown word stops the style there; the group reader forgives it.
    ASSERT_EQ(ReadPresentation("<rect style='fill-rule:evenodd;font-style:slanted;stroke:red'/>", record), SUCCESS);
    EXPECT_EQ(record->paint.fill.rule, 2u);
    EXPECT_EQ(record->paint.stroke.paint.kind, SVG_PAINT_UNSET);
}

TEST(StyleAttribute, CutsOverlongNamesAndValuesSafely)
{
    StyleRecord record;
    Element element("<g/>");
    SvgAttributeReader reader(element.node(), 0);
    std::u16string family(1000, u'F');
    std::u16string style = u"font-family:" + family + u";" + std::u16string(600, u'n') + u":1";
    ASSERT_EQ(ParseStyleAttribute(reader, style, record.get()), SUCCESS);
    EXPECT_EQ(Utf8(record->text.font.fontFamily), std::string(255, 'F'));
}

TEST(PresentationProperty, KeepsKerningAndVerticalOrientationKindsAtZero)
{
    StyleRecord record;
    ASSERT_EQ(ReadPresentation("<text kerning='2px' glyph-orientation-vertical='90'/>", record), SUCCESS);
    EXPECT_EQ(record->text.spacing.kerning.length.value, 2.0);
    EXPECT_EQ(record->text.spacing.kerning.length.unit, SVG_UNIT_PX);
    EXPECT_EQ(record->text.spacing.kerning.kind, 0u);
    EXPECT_EQ(record->text.orientation.glyphOrientationVertical.angle.value, 90.0);
    EXPECT_EQ(record->text.orientation.glyphOrientationVertical.kind, 0u);

    StyleRecord keywords;
    ASSERT_EQ(ReadPresentation("<text kerning='auto' glyph-orientation-vertical='AUTO' letter-spacing='normal' "
                               "word-spacing='3em'/>",
                               keywords),
              SUCCESS);
    EXPECT_EQ(keywords->text.spacing.kerning.kind, 1u);
    EXPECT_EQ(keywords->text.orientation.glyphOrientationVertical.kind, 1u);
    EXPECT_EQ(keywords->text.spacing.letterSpacing.kind, 1u);
    EXPECT_EQ(keywords->text.spacing.wordSpacing.kind, 2u);
}

TEST(PresentationProperty, ReadsDominantBaselineByVersion)
{
    const struct {
        const char* value;
        uint32_t version;
        uint32_t flags;
        int32_t status;
        uint32_t stored;
    } cases[] = {
        {"alphbetic", 0, 0, SUCCESS, 8},        {"central", 0, 0, SUCCESS, 12},
        {"central", 1, 0, ERROR_INV_NUMBER, 0}, {"central", 1, 1, SUCCESS, 0},
        {"mathematical", 1, 0, SUCCESS, 10},    {"autosense-script", 2, 0, ERROR_INV_NUMBER, 0},
        {"autosense-script", 2, 1, SUCCESS, 0}, {"autosense-script", 1, 0, SUCCESS, 2},
        {"alphabetic", 2, 0, SUCCESS, 0},  // the correct spelling is no keyword here
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.value) + " v" + std::to_string(c.version));
        StyleRecord record;
        std::string markup = std::string("<text dominant-baseline='") + c.value + "'/>";
        EXPECT_EQ(ReadPresentation(markup.c_str(), record, c.version, c.flags), c.status);
        EXPECT_EQ(record->text.anchor.baseline.dominantBaseline, c.stored);
    }
}

TEST(PresentationProperty, ReadsNumbersKeywordsAndListsOfEveryGroup)
{
    StyleRecord record;
    ASSERT_EQ(ReadPresentation(
                  "<text clip-path='url(#c)' color='currentColor' color-profile='sRGB' top='auto' left='5mm' "
                  "stop-color='#123' stop-opacity='0.25' fill-opacity='x' fill-rule='EVENODD' "
                  "marker-start='none' marker-end='url(#m)' color-interpolation='linearRGB' "
                  "color-interpolation-filters='sRGB' shape-rendering='crispEdges' stroke='none' "
                  "stroke-dasharray='5,3 2' stroke-dashoffset='1' stroke-linecap='round' stroke-linejoin='bevel' "
                  "stroke-miterlimit='4' stroke-opacity='0.5' visibility='hidden' display='table-cell' "
                  "text-decoration='underline' writing-mode='tb' text-anchor='middle' alignment-baseline='hanging' "
                  "baseline-shift='super' direction='rtl' unicode-bidi='embed' font-stretch='condensed' "
                  "font-style='italic' font-variant='small-caps' font-weight='bold, 700' font='menu' "
                  "font-family=' Arial ' font-size='12pt' font-size-adjust='0.5' glyph-orientation-horizontal='90deg' "
                  "opacity='0.75'/>",
                  record),
              SUCCESS);
    const K_SvgStyleProp& s = record.style;
    EXPECT_EQ(s.clipPath.kind, 2u);
    EXPECT_EQ(Utf8(s.clipPath.id), "c");
    EXPECT_EQ(s.colorValue.color.kind, 1u);
    EXPECT_EQ(s.colorValue.colorProfile.kind, 2u);
    EXPECT_EQ(s.clipRect.top.kind, 1u);
    EXPECT_EQ(s.clipRect.left.kind, 2u);
    EXPECT_EQ(s.clipRect.left.length.unit, SVG_UNIT_MM);
    EXPECT_EQ(s.stop.stopColor.kind, 2u);
    EXPECT_EQ(s.stop.stopOpacity, 0.25);
    EXPECT_TRUE(IsUnsetDouble(s.paint.fill.opacity));  // not a number: left alone
    EXPECT_EQ(s.paint.fill.rule, 2u);
    EXPECT_EQ(s.paint.markers.markerStart.kind, 1u);
    EXPECT_EQ(Utf8(s.paint.markers.markerEnd.id), "m");
    EXPECT_EQ(s.paint.rendering.colorInterpolation, 3u);
    EXPECT_EQ(s.paint.rendering.colorInterpolationFilters, 2u);
    EXPECT_EQ(s.paint.rendering.shapeRendering, 3u);
    EXPECT_EQ(s.paint.stroke.paint.kind, SVG_PAINT_NONE);
    EXPECT_EQ(s.paint.stroke.dashArray.kind, 2u);
    EXPECT_EQ(s.paint.stroke.dashArray.count, 3u);
    EXPECT_EQ(s.paint.stroke.dashOffset.value, 1.0);
    EXPECT_EQ(s.paint.stroke.lineCap, 2u);
    EXPECT_EQ(s.paint.stroke.lineJoin, 3u);
    EXPECT_EQ(s.paint.stroke.miterLimit, 4.0);
    EXPECT_EQ(s.paint.stroke.opacity, 0.5);
    EXPECT_EQ(s.paint.visibility.visibility, 2u);
    EXPECT_EQ(s.paint.visibility.display, 16u);
    EXPECT_EQ(s.text.textDecoration, 2u);
    EXPECT_EQ(s.text.writingMode, 6u);
    EXPECT_EQ(s.text.anchor.textAnchor, 2u);
    EXPECT_EQ(s.text.anchor.baseline.alignmentBaseline, 10u);
    EXPECT_EQ(s.text.anchor.baseline.baselineShift.kind, 3u);
    EXPECT_EQ(s.text.direction.direction, 2u);
    EXPECT_EQ(s.text.direction.unicodeBidi, 2u);
    EXPECT_EQ(s.text.font.fontStretch, 6u);
    EXPECT_EQ(s.text.font.fontStyle, 2u);
    EXPECT_EQ(s.text.font.fontVariant, 2u);
    EXPECT_EQ(s.text.font.fontWeight, 2u);  // cut at the comma
    EXPECT_EQ(s.text.font.font.kind, 3u);
    EXPECT_EQ(Utf8(s.text.font.fontFamily), "Arial");
    EXPECT_EQ(s.text.font.fontSize.length.unit, SVG_UNIT_PT);
    EXPECT_EQ(s.text.font.fontSizeAdjust.kind, 2u);
    EXPECT_EQ(s.text.font.fontSizeAdjust.value, 0.5);
    EXPECT_EQ(s.text.orientation.glyphOrientationHorizontal.value, 90.0);
    EXPECT_EQ(s.opacity, 0.75);
}

TEST(PresentationProperty, LeavesColorInterpolationFiltersOutOfVersionOne)
{
    StyleRecord record;
    ASSERT_EQ(ReadPresentation("<g color-interpolation-filters='sRGB' style='color-interpolation-filters:linearRGB'/>",
                               record, 1),
              SUCCESS);
    EXPECT_EQ(record->paint.rendering.colorInterpolationFilters, 0u);
}

TEST(AttributeReader, SingleReadersTreatMissingAttributesAsTheirDocumentSays)
{
    Element element("<rect a='TRUE' b='false' c='yes' n=' 12.5 ' bad='1x' e='middle' u='wobble' s='  text  '/>");
    SvgAttributeReader reader(element.node(), 0);
    int32_t flag = 5;
    EXPECT_EQ(reader.ReadBooleanAttribute("a", &flag), SUCCESS);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(reader.ReadBooleanAttribute("b", &flag), SUCCESS);
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(reader.ReadBooleanAttribute("missing", &flag), SUCCESS);
    EXPECT_EQ(flag, -1);
    EXPECT_EQ(reader.ReadBooleanAttribute("c", &flag), ERROR_UNKNOWN_KEYWORD);

    double number = 0;
    EXPECT_EQ(reader.ReadNumberAttribute("n", &number), SUCCESS);
    EXPECT_EQ(number, 12.5);
    EXPECT_EQ(reader.ReadNumberAttribute("bad", &number), ERROR_INV_NUMBER);
    EXPECT_EQ(reader.ReadNumberAttribute("missing", &number), SUCCESS);
    EXPECT_TRUE(IsUnsetDouble(number));

    uint32_t anchor = 9;
    EXPECT_EQ(reader.ReadEnumAttribute("e", &anchor, kTextAnchorKeywords), SUCCESS);
    EXPECT_EQ(anchor, 2u);
    EXPECT_EQ(reader.ReadEnumAttribute("e", &anchor, kTextAnchorKeywords, false), SUCCESS);
    EXPECT_EQ(anchor, 1u);
    EXPECT_EQ(reader.ReadEnumAttribute("u", &anchor, kTextAnchorKeywords), SUCCESS);  // dropped silently
    EXPECT_EQ(anchor, 1u);
    EXPECT_EQ(reader.ReadEnumAttribute("missing", &anchor, kTextAnchorKeywords, false), SUCCESS);
    EXPECT_EQ(anchor, 1u);
    EXPECT_EQ(reader.ReadEnumAttribute("missing", &anchor, kTextAnchorKeywords), SUCCESS);
    EXPECT_EQ(anchor, 0u);

    KvChar* text = nullptr;
    EXPECT_EQ(reader.ReadStringAttribute("s", &text, false), SUCCESS);
    EXPECT_EQ(Utf8(text), "  text  ");
    EXPECT_EQ(reader.ReadStringAttribute("s", &text), SUCCESS);
    EXPECT_EQ(Utf8(text), "text");
    FreeTrackedField(reinterpret_cast<void**>(&text));
}

TEST(AttributeReader, XlinkFollowsTheVersionRuleAndFallsBackOnPlainNames)
{
    const struct {
        const char* markup;
        uint32_t version;
        uint32_t flags;
        int32_t status;
        uint32_t type, actuate;
    } cases[] = {
        {"<use xlink:type='extended' xlink:actuate='onLoad'/>", 0, 0, SUCCESS, 2, 2},
        {"<use xlink:type='extended'/>", 2, 0, ERROR_INV_NUMBER, 0, 0},
        {"<use xlink:type='extended' xlink:actuate='onLoad'/>", 2, 1, SUCCESS, 0, 2},
        {"<use xlink:actuate='onRequest'/>", 2, 1, ERROR_INV_NUMBER, 0, 0},
        {"<use xlink:actuate='onRequest'/>", 1, 0, SUCCESS, 0, 1},
        {"<use xlink:type='bogus'/>", 2, 0, SUCCESS, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.markup);
        Element element(c.markup);
        SvgXlinkAttributes xlink;
        InitXlinkAttributes(&xlink);
        EXPECT_EQ(SvgAttributeReader(element.node(), c.version, c.flags).ReadXlinkAttributes(&xlink), c.status);
        EXPECT_EQ(xlink.type, c.type);
        EXPECT_EQ(xlink.actuate, c.actuate);
        FreeXlinkAttributes(&xlink);
    }

    Element element("<use href='#plain' title='T' xlink:role=' r '/>");
    SvgXlinkAttributes xlink;
    InitXlinkAttributes(&xlink);
    KvChar* href = nullptr;
    ASSERT_EQ(SvgAttributeReader(element.node(), 2).ReadXlinkAttributes(&xlink, &href), SUCCESS);
    EXPECT_EQ(Utf8(href), "#plain");
    EXPECT_EQ(Utf8(xlink.title), "T");
    EXPECT_EQ(Utf8(xlink.role), "r");
    FreeXlinkAttributes(&xlink);
    FreeTrackedField(reinterpret_cast<void**>(&href));
}

TEST(AttributeReader, TextPositionsSkipRelativeListsAtVersionOne)
{
    Element element("<text x='1 2' y='3' dx='4' dy='5' rotate='10 20 30'/>");
    SvgTextPositionAttributes position;
    InitTextPositionAttributes(&position);
    ASSERT_EQ(SvgAttributeReader(element.node(), 1).ReadTextPositionAttributes(&position), SUCCESS);
    EXPECT_EQ(position.xCount, 2u);
    EXPECT_EQ(position.yCount, 1u);
    EXPECT_EQ(position.dxCount, 0u);
    EXPECT_EQ(position.rotateCount, 0u);
    ASSERT_EQ(SvgAttributeReader(element.node(), 2).ReadTextPositionAttributes(&position), SUCCESS);
    EXPECT_EQ(position.dxCount, 1u);
    EXPECT_EQ(position.rotateCount, 3u);
    EXPECT_EQ(position.rotate[2], 30.0);
    FreeTextPositionAttributes(&position);
}

TEST(AttributeReader, CoreAndConditionalGroups)
{
    Element element("<g id=' a1 ' xml:base='b' xml:lang='en-US' xml:space='preserve' "
                    "requiredFeatures='org.w3c.svg.static' systemLanguage='fr'/>");
    SvgAttributeReader reader(element.node(), 0);
    SvgCoreAttributes core;
    InitCoreAttributes(&core);
    ASSERT_EQ(reader.ReadCoreAttributes(&core), SUCCESS);
    EXPECT_EQ(Utf8(core.id), "a1");
    EXPECT_EQ(core.xmlLang, 3u);
    EXPECT_EQ(core.xmlSpace, 2u);
    SvgConditionalAttributes conditional;
    InitConditionalAttributes(&conditional);
    ASSERT_EQ(reader.ReadConditionalAttributes(&conditional), SUCCESS);
    EXPECT_EQ(conditional.requiredFeatures, 0x004u);
    EXPECT_EQ(Utf8(conditional.systemLanguage), "fr");
    FreeCoreAttributes(&core);
    FreeConditionalAttributes(&conditional);
}
