#include "values/keyword_table.h"

#include <gtest/gtest.h>

#include "base/utf.h"
#include "values/value_parser.h"

TEST(KeywordTable, ElementNamesAreCaseSensitiveAndIgnoreTheSvgPrefix)
{
    const struct {
        std::u16string_view name;
        uint32_t type;
    } cases[] = {
        {u"svg", 2},         {u"rect", 13},          {u"svg:rect", 13},     {u"RECT", 0},
        {u"Rect", 0},        {u"mask", 46},          {u"a", 45},            {u"textPath", 22},
        {u"textpath", 0},    {u"color-profile", 28}, {u"definition-src", 44}, {u"missing-glyph", 36},
        {u"unknown", 0},     {u"", 0},               {u"svg:", 0},
        // The prefix mark anywhere costs the first four characters.
        {u"rectsvg:", 0},    {u"xxx:rect:svg:", 0},  {u"abcdsvg:", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.name));
        EXPECT_EQ(LookupElementType(c.name), c.type);
    }
}

TEST(KeywordTable, FindsEveryWordOfEveryTableInAnyCase)
{
    const KeywordTable* tables[] = {
        &kWritingModeKeywords, &kTextAnchorKeywords, &kDominantBaselineKeywords, &kAlignmentBaselineKeywords,
        &kUnicodeBidiKeywords, &kDirectionKeywords, &kFontWeightKeywords, &kFontVariantKeywords,
        &kFontStyleKeywords, &kFontStretchKeywords, &kSystemFontKeywords, &kTextRenderingKeywords,
        &kStrokeLineJoinKeywords, &kStrokeLineCapKeywords, &kShapeRenderingKeywords, &kImageRenderingKeywords,
        &kFillRuleKeywords, &kColorRenderingKeywords, &kColorInterpolationKeywords,
        &kColorInterpolationFiltersKeywords, &kVisibilityKeywords, &kDisplayKeywords, &kXmlSpaceKeywords,
        &kXmlLangKeywords, &kXlinkActuateKeywords, &kXlinkShowKeywords, &kXlinkTypeKeywords,
        &kLengthAdjustKeywords, &kMethodKeywords, &kSpacingKeywords, &kBooleanKeywords, &kUnitsKeywords,
        &kSpreadMethodKeywords, &kAngleUnitKeywords, &kZoomAndPanKeywords, &kArabicFormKeywords,
        &kOrientationKeywords, &kMarkerUnitsKeywords, &kRenderingIntentKeywords, &kContentStyleTypeKeywords,
        &kContentScriptTypeKeywords, &kAlignKeywords, &kMeetOrSliceKeywords, &kTextDecorationKeywords,
        &kFeatureKeywords, &kPresentationPropertyKeywords};
    for (const KeywordTable* table : tables) {
        for (uint32_t i = 0; i < table->size(); ++i) {
            std::u16string word((*table)[i]);
            SCOPED_TRACE(ToUtf8(word));
            EXPECT_EQ(table->Find(word), static_cast<int32_t>(i));
            std::u16string upper = word;
            for (char16_t& c : upper)
                c = (c >= u'a' && c <= u'z') ? char16_t(c - 32) : c;
            EXPECT_EQ(table->Find(upper), static_cast<int32_t>(i));
            EXPECT_EQ(table->Find(word + u"x"), -1);
        }
    }
}

TEST(KeywordTable, KeepsTheBucketCountsAndWordCountsOfTheFormat)
{
    EXPECT_EQ(kElementKeywords.bucketCount(), 569u);
    EXPECT_EQ(kElementKeywords.size(), 45u);
    EXPECT_EQ(kPresentationPropertyKeywords.bucketCount(), 2957u);
    EXPECT_EQ(kPresentationPropertyKeywords.size(), 161u);
    EXPECT_EQ(kDisplayKeywords.bucketCount(), 61u);
    EXPECT_EQ(kFontStretchKeywords.bucketCount(), 73u);
    // The presentation properties end where the names known only by name begin.
    EXPECT_EQ(kPresentationPropertyKeywords.Find(u"left"), 64);
    EXPECT_EQ(kPresentationPropertyKeywords.Find(u"margin-top"), 65);
    EXPECT_EQ(kPresentationPropertyKeywords.Find(u"speak-numeral"), 160);
}

TEST(KeywordTable, HashesTheLowByteOnly)
{
    // "a" is 0x61 - 32 = 65; a character with the same low byte hashes alike.
    EXPECT_EQ(KeywordHash(u"a", false), 65u);
    EXPECT_EQ(KeywordHash(u"ab", false), 65u * 33u + 66u);
    EXPECT_EQ(KeywordHash(u"\u0161", false), KeywordHash(u"a", false));
    EXPECT_EQ(KeywordHash(u"NONE", true), KeywordHash(u"none", false));
}

TEST(KeywordTable, LookupTrimsRuntimeSpaceAndReportsUnknownWords)
{
    int32_t index = -1;
    EXPECT_EQ(LookupKeyword(u" \tevenodd\u00A0", kFillRuleKeywords, &index), SUCCESS);
    EXPECT_EQ(index, 1);
    index = 7;
    EXPECT_EQ(LookupKeyword(u"even odd", kFillRuleKeywords, &index), ERROR_UNKNOWN_KEYWORD);
    EXPECT_EQ(index, 7);
    EXPECT_EQ(LookupKeyword(nullptr, kFillRuleKeywords, &index), ERROR_INV_PARAMETER);
    EXPECT_EQ(LookupKeyword(u"nonzero", kFillRuleKeywords, nullptr), ERROR_INV_PARAMETER);
}
