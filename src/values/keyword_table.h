// The keyword tables of the attribute grammar: every list of words that an
// attribute may hold, each in a hash table built at compile time, plus the
// element-name table. Lookups are case-blind (ASCII) except for element
// names. What a word means is left to the parsers and writers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The hash of every table: the low byte of each character, less 32 (kept to
// eight bits), times 33, in unsigned 32-bit arithmetic. The high byte plays
// no part. Case-blind tables hash the ASCII-lowered text, so that a word
// finds its bucket whatever its case.
constexpr uint32_t KeywordHash(std::u16string_view text, bool foldCase)
{
    uint32_t hash = 0;
    for (char16_t c : text) {
        if (foldCase && c >= u'A' && c <= u'Z')
            c = static_cast<char16_t>(c + 32);
        hash = hash * 33u + static_cast<uint8_t>(static_cast<uint8_t>(c & 0xFF) - 32u);
    }
    return hash;
}

// A view of one table: the words in list order and the bucket chains.
class KeywordTable {
public:
    constexpr KeywordTable(const std::u16string_view* words, uint32_t count, const int16_t* heads,
                           uint32_t bucketCount, const int16_t* next, bool caseSensitive)
        : words_(words), count_(count), heads_(heads), bucketCount_(bucketCount), next_(next),
          caseSensitive_(caseSensitive)
    {
    }

    // Index of the word in the list, or -1. The text is compared as given:
    // trimming is the caller's (LookupKeyword).
    int32_t Find(std::u16string_view text) const;
    uint32_t size() const { return count_; }
    uint32_t bucketCount() const { return bucketCount_; }
    // The index-th word; an empty view past the end.
    std::u16string_view operator[](uint32_t index) const { return index < count_ ? words_[index] : std::u16string_view(); }

private:
    const std::u16string_view* words_;
    uint32_t count_;
    const int16_t* heads_;
    uint32_t bucketCount_;
    const int16_t* next_;
    bool caseSensitive_;
};

// Storage of one table, filled at compile time from its word list.
template <size_t N, uint32_t Buckets>
struct KeywordTableStorage {
    std::array<std::u16string_view, N> words;
    std::array<int16_t, Buckets> heads{};
    std::array<int16_t, N> next{};
    bool caseSensitive;

    constexpr KeywordTableStorage(const std::array<std::u16string_view, N>& list, bool caseSensitiveLookup)
        : words(list), caseSensitive(caseSensitiveLookup)
    {
        heads.fill(-1);
        next.fill(-1);
        for (size_t i = N; i-- > 0;) {
            uint32_t bucket = KeywordHash(words[i], !caseSensitive) % Buckets;
            next[i] = heads[bucket];
            heads[bucket] = static_cast<int16_t>(i);
        }
    }

    constexpr KeywordTable table() const
    {
        return KeywordTable(words.data(), N, heads.data(), Buckets, next.data(), caseSensitive);
    }
};

// Tables shared by parsers and writers; an enumerated field holds the index
// plus one.
extern const KeywordTable kWritingModeKeywords;
extern const KeywordTable kTextAnchorKeywords;
extern const KeywordTable kDominantBaselineKeywords;
extern const KeywordTable kAlignmentBaselineKeywords;
extern const KeywordTable kUnicodeBidiKeywords;
extern const KeywordTable kDirectionKeywords;
extern const KeywordTable kFontWeightKeywords;
extern const KeywordTable kFontVariantKeywords;
extern const KeywordTable kFontStyleKeywords;
extern const KeywordTable kFontStretchKeywords;
extern const KeywordTable kSystemFontKeywords;
extern const KeywordTable kTextRenderingKeywords;
extern const KeywordTable kStrokeLineJoinKeywords;
extern const KeywordTable kStrokeLineCapKeywords;
extern const KeywordTable kShapeRenderingKeywords;
extern const KeywordTable kImageRenderingKeywords;
extern const KeywordTable kFillRuleKeywords;
extern const KeywordTable kColorRenderingKeywords;
extern const KeywordTable kColorInterpolationKeywords;
extern const KeywordTable kColorInterpolationFiltersKeywords;
extern const KeywordTable kVisibilityKeywords;
extern const KeywordTable kDisplayKeywords;
extern const KeywordTable kXmlSpaceKeywords;
extern const KeywordTable kXmlLangKeywords;
extern const KeywordTable kXlinkActuateKeywords;
extern const KeywordTable kXlinkShowKeywords;
extern const KeywordTable kXlinkTypeKeywords;

// Tables for reading only.
extern const KeywordTable kLengthAdjustKeywords;      // "spacing", "spacingAndGlyphs"
extern const KeywordTable kMethodKeywords;            // "align", "stretch"
extern const KeywordTable kSpacingKeywords;           // "auto", "exact"
extern const KeywordTable kBooleanKeywords;           // "FALSE", "TRUE"
extern const KeywordTable kUnitsKeywords;             // "userSpaceOnUse", "objectBoundingBox"
extern const KeywordTable kSpreadMethodKeywords;      // "pad", "reflect", "repeat"
extern const KeywordTable kAngleUnitKeywords;         // "deg", "grad", "rad"
extern const KeywordTable kZoomAndPanKeywords;        // "disable", "magnify", "zoom"
extern const KeywordTable kArabicFormKeywords;        // "initial", "medial", "terminal", "isolated"
extern const KeywordTable kOrientationKeywords;       // "h", "v"
extern const KeywordTable kMarkerUnitsKeywords;       // "strokeWidth", "userSpaceOnUse"
extern const KeywordTable kRenderingIntentKeywords;   // "auto", ... "absolue-colorimetric" (sic)
extern const KeywordTable kContentStyleTypeKeywords;  // "text/css"
extern const KeywordTable kContentScriptTypeKeywords; // "text/ecmascript"

// The keyword halves of the keyword-or-value properties.
extern const KeywordTable kPaintKeywords;            // "none", "currentColor"
extern const KeywordTable kClipPathKeywords;         // "none"
extern const KeywordTable kMarkerKeywords;           // "none"
extern const KeywordTable kColorProfileKeywords;     // "auto", "sRGB"
extern const KeywordTable kCurrentColorKeywords;     // "currentColor"
extern const KeywordTable kDashArrayKeywords;        // "none"
extern const KeywordTable kClipRectKeywords;         // "auto"
extern const KeywordTable kFontSizeAdjustKeywords;   // "none"
extern const KeywordTable kSpacingNormalKeywords;    // "normal"
extern const KeywordTable kKerningKeywords;          // "auto"
extern const KeywordTable kGlyphOrientationKeywords; // "auto"
extern const KeywordTable kOrientKeywords;           // "auto"
extern const KeywordTable kBaselineShiftKeywords;    // "baseline", "sub", "super"
extern const KeywordTable kAlignKeywords;            // "none", "xMinYMin" ... "xMaxYMax"
extern const KeywordTable kMeetOrSliceKeywords;      // "meet", "slice"
extern const KeywordTable kTextDecorationKeywords;   // "none", "underline", "overline", "line-through", "blink"
extern const KeywordTable kFeatureKeywords;          // requiredFeatures words, see FeatureBits
extern const KeywordTable kPresentationPropertyKeywords; // the 161 property names of a style attribute

// Bits of each word of kFeatureKeywords, by index.
uint32_t FeatureBits(uint32_t index);

// Property indexes below this one are presentation properties; the rest are
// names known and ignored.
constexpr int32_t kPresentationPropertyCount = 65;

// The element table: case-sensitive, 569 buckets, words in type order from
// "svg" (type 2).
extern const KeywordTable kElementKeywords;

// Element type of a name: "svg:" anywhere in the name drops its first four
// characters; an unknown name is type 0.
uint32_t LookupElementType(std::u16string_view name);
