#include "values/keyword_table.h"

namespace {

using W = std::u16string_view;

template <size_t N>
constexpr std::array<W, N> Words(const W (&list)[N])
{
    return std::to_array(list);
}

}  // namespace

int32_t KeywordTable::Find(std::u16string_view text) const
{
    uint32_t bucket = KeywordHash(text, !caseSensitive_) % bucketCount_;
    for (int16_t index = heads_[bucket]; index >= 0; index = next_[index]) {
        W word = words_[index];
        if (word.size() != text.size())
            continue;
        bool same = true;
        for (size_t i = 0; i < word.size() && same; ++i) {
            char16_t a = word[i];
            char16_t b = text[i];
            if (!caseSensitive_) {
                a = (a >= u'A' && a <= u'Z') ? char16_t(a + 32) : a;
                b = (b >= u'A' && b <= u'Z') ? char16_t(b + 32) : b;
            }
            same = a == b;
        }
        if (same)
            return index;
    }
    return -1;
}

// Each table: its words in list order and its bucket count. The counts are
// those the format has always used; a bucket that ends up with two words
// only costs a second comparison.
#define KV_KEYWORD_TABLE(name, buckets, caseSensitive, ...)                                               \
    namespace {                                                                                           \
    constexpr W name##List[] = {__VA_ARGS__};                                                             \
    constexpr KeywordTableStorage<std::size(name##List), buckets> name##Storage(Words(name##List),        \
                                                                                 caseSensitive);          \
    }                                                                                                     \
    constinit const KeywordTable name = name##Storage.table();

KV_KEYWORD_TABLE(kWritingModeKeywords, 19, false, u"lr-tb", u"rl-tb", u"tb-rl", u"lr", u"rl", u"tb")
KV_KEYWORD_TABLE(kTextAnchorKeywords, 7, false, u"start", u"middle", u"end", u"normal")
KV_KEYWORD_TABLE(kDominantBaselineKeywords, 59, false, u"auto", u"autosense-script", u"text-top", u"text-bottom",
                 u"no-change", u"reset-size", u"ideographic", u"alphbetic", u"hanging", u"mathematical",
                 u"use-script", u"central", u"middle", u"text-after-edge", u"text-before-edge")
KV_KEYWORD_TABLE(kAlignmentBaselineKeywords, 43, false, u"auto", u"baseline", u"before-edge", u"text-before-edge",
                 u"middle", u"after-edge", u"text-after-edge", u"ideographic", u"alphabetic", u"hanging",
                 u"mathematical")
KV_KEYWORD_TABLE(kUnicodeBidiKeywords, 5, false, u"normal", u"embed", u"bidi-override")
KV_KEYWORD_TABLE(kDirectionKeywords, 5, false, u"ltr", u"rtl")
KV_KEYWORD_TABLE(kFontWeightKeywords, 59, false, u"normal", u"bold", u"bolder", u"lighter", u"100", u"200", u"300",
                 u"400", u"500", u"600", u"700", u"800", u"900")
KV_KEYWORD_TABLE(kFontVariantKeywords, 3, false, u"normal", u"small-caps")
KV_KEYWORD_TABLE(kFontStyleKeywords, 5, false, u"normal", u"italic", u"oblique")
KV_KEYWORD_TABLE(kFontStretchKeywords, 73, false, u"normal", u"wider", u"narrower", u"ultra-condensed",
                 u"extra-condensed", u"condensed", u"semi-condensed", u"semi-expanded", u"expanded",
                 u"extra-expanded", u"ultra-expanded")
KV_KEYWORD_TABLE(kSystemFontKeywords, 19, false, u"caption", u"icon", u"menu", u"message-box", u"small-caption",
                 u"status-bar")
KV_KEYWORD_TABLE(kTextRenderingKeywords, 7, false, u"auto", u"optimizeSpeed", u"optimizeLegibility",
                 u"geometricPrecision")
KV_KEYWORD_TABLE(kStrokeLineJoinKeywords, 5, false, u"miter", u"round", u"bevel")
KV_KEYWORD_TABLE(kStrokeLineCapKeywords, 5, false, u"butt", u"round", u"square")
KV_KEYWORD_TABLE(kShapeRenderingKeywords, 7, false, u"auto", u"optimizeSpeed", u"crispEdges", u"geometricPrecision")
KV_KEYWORD_TABLE(kImageRenderingKeywords, 11, false, u"auto", u"optimizeSpeed", u"optimizeQuality")
KV_KEYWORD_TABLE(kFillRuleKeywords, 3, false, u"nonzero", u"evenodd")
KV_KEYWORD_TABLE(kColorRenderingKeywords, 11, false, u"auto", u"optimizeSpeed", u"optimizeQuality")
KV_KEYWORD_TABLE(kColorInterpolationKeywords, 7, false, u"auto", u"sRGB", u"linearRGB")
KV_KEYWORD_TABLE(kColorInterpolationFiltersKeywords, 7, false, u"auto", u"sRGB", u"linearRGB")
KV_KEYWORD_TABLE(kVisibilityKeywords, 11, false, u"visible", u"hidden", u"collapse")
KV_KEYWORD_TABLE(kDisplayKeywords, 61, false, u"none", u"inline", u"block", u"list-item", u"run-in", u"compact",
                 u"marker", u"table", u"inline-table", u"table-row-group", u"table-header-group",
                 u"table-footer-group", u"table-row", u"table-column-group", u"table-column", u"table-cell",
                 u"table-caption")
KV_KEYWORD_TABLE(kXmlSpaceKeywords, 2, false, u"default", u"preserve")
KV_KEYWORD_TABLE(kXmlLangKeywords, 5, false, u"en", u"en-GB", u"en-US")
KV_KEYWORD_TABLE(kXlinkActuateKeywords, 2, false, u"onRequest", u"onLoad")
KV_KEYWORD_TABLE(kXlinkShowKeywords, 7, false, u"new", u"replace", u"embed", u"other", u"none")
KV_KEYWORD_TABLE(kXlinkTypeKeywords, 13, false, u"simple", u"extended", u"locator", u"arc")

KV_KEYWORD_TABLE(kLengthAdjustKeywords, 3, false, u"spacing", u"spacingAndGlyphs")
KV_KEYWORD_TABLE(kMethodKeywords, 3, false, u"align", u"stretch")
KV_KEYWORD_TABLE(kSpacingKeywords, 3, false, u"auto", u"exact")
KV_KEYWORD_TABLE(kBooleanKeywords, 2, false, u"FALSE", u"TRUE")
KV_KEYWORD_TABLE(kUnitsKeywords, 2, false, u"userSpaceOnUse", u"objectBoundingBox")
KV_KEYWORD_TABLE(kSpreadMethodKeywords, 7, false, u"pad", u"reflect", u"repeat")
KV_KEYWORD_TABLE(kAngleUnitKeywords, 5, false, u"deg", u"grad", u"rad")
KV_KEYWORD_TABLE(kZoomAndPanKeywords, 3, false, u"disable", u"magnify", u"zoom")
KV_KEYWORD_TABLE(kArabicFormKeywords, 5, false, u"initial", u"medial", u"terminal", u"isolated")
KV_KEYWORD_TABLE(kOrientationKeywords, 2, false, u"h", u"v")
KV_KEYWORD_TABLE(kMarkerUnitsKeywords, 2, false, u"strokeWidth", u"userSpaceOnUse")
// "absolue" is the spelling files of this format carry.
KV_KEYWORD_TABLE(kRenderingIntentKeywords, 17, false, u"auto", u"perceptual", u"relative-colorimetric",
                 u"saturation", u"absolue-colorimetric")
KV_KEYWORD_TABLE(kContentStyleTypeKeywords, 2, false, u"text/css")
KV_KEYWORD_TABLE(kContentScriptTypeKeywords, 2, false, u"text/ecmascript")

KV_KEYWORD_TABLE(kPaintKeywords, 5, false, u"none", u"currentColor")
KV_KEYWORD_TABLE(kClipPathKeywords, 2, false, u"none")
KV_KEYWORD_TABLE(kMarkerKeywords, 2, false, u"none")
KV_KEYWORD_TABLE(kColorProfileKeywords, 5, false, u"auto", u"sRGB")
KV_KEYWORD_TABLE(kCurrentColorKeywords, 2, false, u"currentColor")
KV_KEYWORD_TABLE(kDashArrayKeywords, 2, false, u"none")
KV_KEYWORD_TABLE(kClipRectKeywords, 2, false, u"auto")
KV_KEYWORD_TABLE(kFontSizeAdjustKeywords, 2, false, u"none")
KV_KEYWORD_TABLE(kSpacingNormalKeywords, 2, false, u"normal")
KV_KEYWORD_TABLE(kKerningKeywords, 2, false, u"auto")
KV_KEYWORD_TABLE(kGlyphOrientationKeywords, 2, false, u"auto")
KV_KEYWORD_TABLE(kOrientKeywords, 2, false, u"auto")
KV_KEYWORD_TABLE(kBaselineShiftKeywords, 7, false, u"baseline", u"sub", u"super")
KV_KEYWORD_TABLE(kAlignKeywords, 29, false, u"none", u"xMinYMin", u"xMidYMin", u"xMaxYMin", u"xMinYMid", u"xMidYMid",
                 u"xMaxYMid", u"xMinYMax", u"xMidYMax", u"xMaxYMax")
KV_KEYWORD_TABLE(kMeetOrSliceKeywords, 3, false, u"meet", u"slice")
KV_KEYWORD_TABLE(kTextDecorationKeywords, 11, false, u"none", u"underline", u"overline", u"line-through", u"blink")
KV_KEYWORD_TABLE(kFeatureKeywords, 37, false, u"org.w3c.svg", u"org.w3c.svg.lang", u"org.w3c.svg.static",
                 u"org.w3c.svg.dynamic", u"org.w3c.svg.animation", u"org.w3c.svg.all", u"org.w3c.dom.svg",
                 u"org.w3c.dom.svg.static", u"org.w3c.dom.svg.dynamic", u"org.w3c.dom.svg.animation",
                 u"org.w3c.dom.svg.all")
KV_KEYWORD_TABLE(kPresentationPropertyKeywords, 2957, false,
    u"font", u"font-family", u"font-size", u"font-size-adjust", u"font-stretch", u"font-style",
    u"font-variant", u"font-weight", u"direction", u"letter-spacing", u"text-decoration", u"unicode-bidi",
    u"word-spacing", u"clip", u"color", u"fill", u"stroke", u"stop-color", u"flood-color", u"lighting-color",
    u"cursor", u"display", u"overflow", u"visibility", u"clip-path", u"clip-rule", u"mask", u"opacity",
    u"enable-background", u"filter", u"flood-opacity", u"stop-opacity", u"pointer-events",
    u"color-interpolation", u"color-interpolation-filters", u"color-profile", u"color-rendering",
    u"fill-opacity", u"fill-rule", u"image-rendering", u"marker", u"marker-end", u"marker-mid",
    u"marker-start", u"shape-rendering", u"stroke-dasharray", u"stroke-dashoffset", u"stroke-linecap",
    u"stroke-linejoin", u"stroke-miterlimit", u"stroke-opacity", u"stroke-width", u"text-rendering",
    u"alignment-baseline", u"baseline-shift", u"dominant-baseline", u"glyph-orientation-horizontal",
    u"glyph-orientation-vertical", u"kerning", u"text-anchor", u"writing-mode", u"top", u"right", u"bottom",
    u"left", u"margin-top", u"margin-right", u"margin-bottom", u"margin-left", u"padding-top",
    u"padding-right", u"padding-bottom", u"padding-left", u"border-top-width", u"border-right-width",
    u"border-bottom-width", u"border-left-width", u"border-top-color", u"border-right-color",
    u"border-bottom-color", u"border-left-color", u"border-top-style", u"border-right-style",
    u"border-bottom-style", u"border-left-style", u"border-top", u"border-bottom", u"border-right",
    u"border-left", u"position", u"float", u"clear", u"z-index", u"min-width", u"max-width", u"min-height",
    u"max-height", u"line-height", u"vertical-align", u"content", u"quotes", u"counter-reset",
    u"counter-increment", u"marker-offset", u"list-style-type", u"list-style-image", u"list-style-position",
    u"list-style", u"size", u"marks", u"page-break-before", u"page-break-after", u"page-break-inside",
    u"page", u"orphans", u"widows", u"background-color", u"background-image", u"background-repeat",
    u"background-attachment", u"background-position", u"background", u"definition-src", u"baseline",
    u"centerline", u"mathline", u"topline", u"text-indent", u"text-align", u"text-shadow", u"text-transform",
    u"white-space", u"caption-side", u"table-layout", u"border-collapse", u"border-spacing", u"empty-cells",
    u"speak-header", u"outline", u"outline-width", u"outline-style", u"outline-color", u"volume", u"speak",
    u"pause-before", u"pause-after", u"pause", u"cue-before", u"cue-after", u"cue", u"play-during",
    u"azimuth", u"elevation", u"speech-rate", u"voice-family", u"pitch", u"pitch-range", u"stress",
    u"richness", u"speak-punctuation", u"speak-numeral"
)

KV_KEYWORD_TABLE(kElementKeywords, 569, true, u"svg", u"g", u"defs", u"desc", u"title", u"symbol", u"use", u"image",
                 u"switch", u"style", u"path", u"rect", u"circle", u"ellipse", u"line", u"polyline", u"polygon",
                 u"text", u"tspan", u"tref", u"textPath", u"altGlyph", u"altGlyphDef", u"altGlyphItem", u"glyphRef",
                 u"marker", u"color-profile", u"linearGradient", u"radialGradient", u"stop", u"pattern",
                 u"clipPath", u"font", u"glyph", u"missing-glyph", u"hkern", u"vkern", u"font-face",
                 u"font-face-src", u"font-face-uri", u"font-face-format", u"font-face-name", u"definition-src",
                 u"a", u"mask")

#undef KV_KEYWORD_TABLE

uint32_t FeatureBits(uint32_t index)
{
    static constexpr uint32_t kBits[] = {0x001, 0x002, 0x004, 0x008, 0x010, 0x01F,
                                         0x020, 0x040, 0x080, 0x100, 0x1E0};
    return index < std::size(kBits) ? kBits[index] : 0;
}

uint32_t LookupElementType(std::u16string_view name)
{
    // A prefixed name anywhere in the text costs its first four characters,
    // which is right for "svg:rect" and harmless for the rare rest.
    if (name.find(u"svg:") != std::u16string_view::npos)
        name.remove_prefix(4);
    int32_t index = kElementKeywords.Find(name);
    return index < 0 ? 0u : static_cast<uint32_t>(index) + 2u;
}
