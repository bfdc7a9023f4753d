// Parse, write, parse again: what a document says survives the record.
#include <gtest/gtest.h>

#include "values/svg_attribute_reader.h"
#include "values/svg_attribute_writer.h"
#include "values/value_formatter.h"
#include "values/value_parser.h"
#include "values_test_support.h"

namespace {

// Reads the presentation attributes of `markup`'s element and writes them on
// a bare element of the same name.
std::string RewritePresentation(const char* markup, uint32_t version = 2)
{
    Element source(markup);
    StyleRecord record;
    EXPECT_EQ(SvgAttributeReader(source.node(), version).ReadPresentationAttributes(record.get()), SUCCESS);
    std::string bare = std::string("<") + source.node().name() + "/>";
    Element target(bare.c_str());
    EXPECT_EQ(SvgAttributeWriter(target.node(), version).WritePresentationAttributes(record.get()), SUCCESS);
    return target.Markup();
}

}  // namespace

TEST(RoundTrip, PresentationAttributesComeBackInTheWritersOrder)
{
    const struct {
        const char* markup;
        const char* written;
    } cases[] = {
        {"<rect fill='#FF0000' stroke='rgb(0%, 50%, 100%)' stroke-width='1.5px' fill-opacity='.5' "
         "stroke-dasharray='5, 2.5' stroke-linejoin='round' opacity='0.8'/>",
         "<rect fill=\"#FF0000\" fill-opacity=\"0.5\" stroke=\"rgb(0,127.5,255)\" stroke-dasharray=\"5 2.5\" "
         "stroke-linejoin=\"round\" stroke-width=\"1.5px\" opacity=\"0.8\"/>"},
        {"<text style='font-family: DejaVu Sans; font-size: 3pc; font-weight: bold; text-anchor: middle; "
         "letter-spacing: 2px; baseline-shift: sub' text-decoration='underline overline' x='1'/>",
         "<text text-decoration=\"underline overline\" text-anchor=\"middle\" baseline-shift=\"sub\" "
         "font-weight=\"bold\" font-family=\"DejaVu Sans\" font-size=\"3mm\" letter-spacing=\"2px\"/>"},
        {"<g clip-path='url(#clip )' marker-end='url(#arrow)' visibility='collapse' display='inline' "
         "color-profile='url(#p)' stop-color='currentColor' top='auto' right='-2.5cm' font='caption'/>",
         "<g clip-path=\"url(#clip)\" color-profile=\"url(#p)\" top=\"auto\" right=\"-2.5cm\" "
         "stop-color=\"currentColor\" marker-end=\"url(#arrow)\" visibility=\"collapse\" display=\"inline\" "
         "font=\"caption\"/>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.markup);
        std::string written = RewritePresentation(c.markup);
        EXPECT_EQ(written, c.written);
        // Once written, the text is stable.
        EXPECT_EQ(RewritePresentation(written.c_str()), written);
    }
}

TEST(RoundTrip, PathDataTransformsAndListsAreStable)
{
    const struct {
        const char* attribute;
        const char* text;
        const char* written;
    } cases[] = {
        {"d", "M10,20 L30.5,40 h5 v-5 C1,2 3,4 5,6 s7,8 9,10 Q1,1 2,2 t3,3 A25,25 -30 0,1 50,-25 z",
         "M10 20 L30.5 40 h5 v-5 C1 2 3 4 5 6 s7 8 9 10 Q1 1 2 2 t3 3 A25 25 -30 0 1 50 -25 z"},
        {"d", "m 0.5 .5 l 1e3 2E-2 l 3 4 5 6", "m0.5 0.5 l1000 0.02 l3 4 l5 6"},
        {"transform", "matrix(0.866,0.5,-0.5,0.866,0,0) translate(-10) scale(1.5,2)",
         "matrix(0.866 0.5 -0.5 0.866 0 0) translate(-10) scale(1.5 2)"},
        {"points", "0,0 100,0 100-50 0-50", "0,0 100,0 100,-50 0,-50"},
        {"x", "1 2.5em 30% 4pt", "1 2.5em 30% 4pt"},
        {"rotate", "0 45 -90.25", "0 45 -90.25"},
        {"viewBox", "0 0 841.89 595.28", "0 0 841.89 595.28"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::string markup = std::string("<e ") + c.attribute + "='" + c.text + "'/>";
        std::string text = c.text;
        for (int pass = 0; pass < 2; ++pass) {
            Element source(("<e " + std::string(c.attribute) + "='" + text + "'/>").c_str());
            SvgAttributeReader reader(source.node(), 2);
            Element target("<e/>");
            SvgAttributeWriter writer(target.node(), 2);
            std::string name = c.attribute;
            if (name == "d") {
                SvgPathData data;
                InitPathData(&data);
                ASSERT_EQ(reader.ReadPathDataAttribute(&data), SUCCESS);
                ASSERT_EQ(writer.WritePathDataAttribute(&data), SUCCESS);
                FreePathData(&data);
            } else if (name == "transform") {
                SvgTransformList list;
                InitTransformList(&list);
                ASSERT_EQ(reader.ReadTransformAttribute("transform", &list), SUCCESS);
                ASSERT_EQ(writer.WriteTransformAttribute("transform", &list), SUCCESS);
                FreeTransformList(&list);
            } else if (name == "points") {
                SvgPoint* points = nullptr;
                uint32_t count = 0;
                ASSERT_EQ(reader.ReadPointsAttribute(&points, &count), SUCCESS);
                ASSERT_EQ(writer.SetPointsAttribute(count, points), SUCCESS);
                FreeTrackedField(reinterpret_cast<void**>(&points));
            } else if (name == "x") {
                SvgTextPositionAttributes position;
                InitTextPositionAttributes(&position);
                ASSERT_EQ(reader.ReadTextPositionAttributes(&position), SUCCESS);
                ASSERT_EQ(writer.WriteTextPositionAttributes(&position), SUCCESS);
                FreeTextPositionAttributes(&position);
            } else if (name == "rotate") {
                double* values = nullptr;
                uint32_t count = 0;
                ASSERT_EQ(reader.ReadNumberListAttribute("rotate", &values, &count), SUCCESS);
                ASSERT_EQ(writer.SetNumberListAttribute("rotate", count, values), SUCCESS);
                FreeTrackedField(reinterpret_cast<void**>(&values));
            } else {
                SvgViewBox box;
                InitViewBox(&box);
                ASSERT_EQ(reader.ReadViewBoxAttribute(&box), SUCCESS);
                ASSERT_EQ(writer.WriteViewBox(&box), SUCCESS);
            }
            EXPECT_EQ(target.Attribute(c.attribute), c.written);
            text = target.Attribute(c.attribute);
        }
    }
}

TEST(RoundTrip, GroupsOfLinksAndConditionsSurvive)
{
    Element source("<a xmlns:xlink='http://www.w3.org/1999/xlink' xlink:type='simple' xlink:show='new' "
                   "xlink:title='Home' xlink:arcrole='r' id='link1' xml:space='preserve' "
                   "requiredFeatures='org.w3c.svg.lang org.w3c.dom.svg' systemLanguage='en'/>");
    SvgAttributeReader reader(source.node(), 2);
    SvgXlinkAttributes xlink;
    InitXlinkAttributes(&xlink);
    SvgCoreAttributes core;
    InitCoreAttributes(&core);
    SvgConditionalAttributes conditional;
    InitConditionalAttributes(&conditional);
    ASSERT_EQ(reader.ReadCoreAttributes(&core), SUCCESS);
    ASSERT_EQ(reader.ReadConditionalAttributes(&conditional), SUCCESS);
    ASSERT_EQ(reader.ReadXlinkAttributes(&xlink), SUCCESS);

    Element target("<a/>");
    SvgAttributeWriter writer(target.node(), 2);
    ASSERT_EQ(writer.WriteCoreAttributes(&core), SUCCESS);
    ASSERT_EQ(writer.WriteConditionalAttributes(&conditional), SUCCESS);
    ASSERT_EQ(writer.WriteXlinkAttributes(&xlink), SUCCESS);
    EXPECT_EQ(target.Markup(),
              "<a id=\"link1\" xml:space=\"preserve\" requiredFeatures=\"org.w3c.svg.lang org.w3c.dom.svg\" "
              "systemLanguage=\"en\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" xlink:type=\"simple\" "
              "xlink:arcrole=\"r\" xlink:title=\"Home\" xlink:show=\"new\"/>");
    FreeXlinkAttributes(&xlink);
    FreeCoreAttributes(&core);
    FreeConditionalAttributes(&conditional);
}
