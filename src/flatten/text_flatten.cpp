#include "flatten/text_flatten.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <cwctype>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/numeric.h"
#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/svg_document_handler.h"
#include "flatten/clip_paths.h"
#include "flatten/paint_and_clip.h"
#include "kvsvg/kvdrw.h"
#include "values/value_kinds.h"
#include "values/value_records.h"

namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;

// Gives an engine object back to its engine on every path.
template <class T>
class EngineOwned {
public:
    explicit EngineOwned(kvdrw::Engine& engine) : engine_(engine) {}
    ~EngineOwned()
    {
        if (object_)
            engine_.DeleteObject(object_);
    }
    EngineOwned(const EngineOwned&) = delete;
    EngineOwned& operator=(const EngineOwned&) = delete;
    T** out() { return &object_; }
    T* get() const { return object_; }

private:
    kvdrw::Engine& engine_;
    T* object_ = nullptr;
};
// A text turned by less than this keeps the turn out of its runs.
constexpr double kTextRotationTolerance = 0.005;
// A run stays on one line while its baseline moves by less than this.
constexpr double kSameLineTolerance = 0.5;
constexpr uint32_t kXmlSpacePreserve = 2;
// lastSpace of the pen: no chunk yet, the last one ended in white space, it did not.
constexpr uint32_t kSpaceNone = 0;
constexpr uint32_t kSpaceTrailing = 1;
constexpr uint32_t kSpaceSolid = 2;

// The pen of one `text`, shared by its whole subtree.
struct CSvgTextPosition {
    virtual ~CSvgTextPosition() = default;
    double x = 0;
    double y = 0;
    // Characters laid out so far, across all chunks of the text.
    uint32_t index = 0;
    uint32_t lastSpace = kSpaceNone;
};

// A list of x, y, dx or dy values in force: its own values count from
// `start`; past their end the list of the enclosing element shows through,
// as a tspan's short list leaves its parent's later values to the
// characters after it. Lists are shared, never copied, so deep nesting under
// a long list costs nothing per level.
struct LengthList {
    std::vector<SvgLength> values;
    uint32_t start = 0;
    std::shared_ptr<const LengthList> outer;

    uint64_t End() const { return uint64_t(start) + values.size(); }
};
using LengthListRef = std::shared_ptr<const LengthList>;

const SvgLength* LengthAt(const LengthListRef& list, uint32_t index)
{
    for (const LengthList* at = list.get(); at; at = at->outer.get()) {
        if (index >= at->start && index - at->start < at->values.size())
            return &at->values[index - at->start];
    }
    return nullptr;
}

struct RotateList {
    std::shared_ptr<const std::vector<double>> values;
    uint32_t start = 0;
};

// The lists in force on one level of the text.
struct CSvgTextPositioningAttrs {
    LengthListRef x, y, dx, dy;
    RotateList rotate;
};

class CSvgTextContext : public CSvgContext {
public:
    CSvgTextContext() = default;
    ~CSvgTextContext() override = default;

    // Attributes that the drawing-to-SVG road leaves on text, carried to
    // every run below the element that has them.
    std::string originalFontName;
    bool hasOriginalFontName = false;
    std::string originalOpacity;
    bool hasOriginalOpacity = false;
    CSvgTextPositioningAttrs attrs;
    CSvgTextPosition* position = nullptr;
    uint32_t xmlSpace = 0;
    // The pending `a` that this level's runs go into; -1 for none.
    int32_t anchor = -1;
};

// The first family of a font-family list, as the renderer reads it, so that
// both ask the engine for the same face.
std::u16string FirstFamily(const KvChar* list)
{
    std::u16string family = u"Arial";
    if (!list || !list[0])
        return family;
    std::u16string_view names(list);
    std::u16string_view first = names.substr(0, names.find(u','));
    while (!first.empty() && (first.front() == u' ' || first.front() == u'\'' || first.front() == u'"'))
        first.remove_prefix(1);
    while (!first.empty() && (first.back() == u' ' || first.back() == u'\'' || first.back() == u'"'))
        first.remove_suffix(1);
    if (!first.empty())
        family = first == u"sans-serif" ? std::u16string(u"sansserif") : std::u16string(first.substr(0, 259));
    return family;
}

double FontSizePx(const K_SvgStyleProp& style)
{
    const double size = style.text.font.fontSize.length.value;
    return !IsUnsetDouble(size) && size > 0 ? size : 12.0;
}

// The font's style bits, as the renderer reads them: bold, bolder, 700,
// 800 and 900 are bold, 600 is not; oblique is not italic.
int32_t FontStyleBits(const K_SvgStyleProp& style)
{
    const SvgFontAttributes& attributes = style.text.font;
    int32_t styleBits = 0;
    if (attributes.fontStyle == 2)
        styleBits |= kvdrw::kFontItalic;
    if (style.text.textDecoration & SVG_TEXT_DECORATION_LINE_THROUGH)
        styleBits |= kvdrw::kFontStrikeOut;
    if (style.text.textDecoration & SVG_TEXT_DECORATION_UNDERLINE)
        styleBits |= kvdrw::kFontUnderline;
    const uint32_t weight = attributes.fontWeight;
    if (weight == 2 || weight == 3 || weight == 11 || weight == 12 || weight == 13)
        styleBits |= kvdrw::kFontBold;
    return styleBits;
}

}  // namespace

CSvgFont::~CSvgFont()
{
    if (font_)
        engine_->DeleteObject(font_);
}

int32_t CSvgFont::Setup(const std::u16string& family, double points, int32_t styleBits)
{
    if (!engine_)
        return ERROR_NO_ENGINE;
    if (int32_t status = engine_->CreateFont(&font_, 0, family.c_str(), points, styleBits); status != SUCCESS) {
        font_ = nullptr;
        return status == ERROR_NO_MEMORY ? status : SUCCESS;
    }
    font_->GetMetrics(&metrics_, engine_, engine_->GetResolution());
    return SUCCESS;
}

double CSvgFont::Advance(const char16_t* text, int32_t length)
{
    if (!font_ || length < 1)
        return 0.0;
    const uint32_t key = length == 1 ? text[0] : (uint32_t(text[0]) << 16) | text[1];
    if (auto known = advances_.find(key); known != advances_.end())
        return known->second;
    kvdrw::Size size{0, 0};
    if (engine_->MeasureString(text, length, font_, &size) != SUCCESS)
        size.width = 0;
    try {
        advances_.emplace(key, size.width);
    } catch (const std::bad_alloc&) {
        // Only a saving is lost.
    }
    return size.width;
}

bool CSvgFont::ShapedAdvances(const char16_t* text, int32_t length, double* advances)
{
    return font_ && length > 0 && font_->MeasureGlyphRun(engine_, text, length, advances) == SUCCESS;
}

CSvgFont* CSvgFontCache::FontFor(const K_SvgStyleProp& style, int32_t* status)
{
    *status = SUCCESS;
    if (!engine_) {
        *status = ERROR_NO_ENGINE;
        return nullptr;
    }
    try {
        const std::u16string family = FirstFamily(style.text.font.fontFamily);
        const double resolution = engine_->GetResolution() > 0 ? engine_->GetResolution() : 96.0;
        const double points = FontSizePx(style) * 72.0 / resolution;
        const int32_t styleBits = FontStyleBits(style);
        std::u16string key = family;
        key.push_back(u'\0');
        uint64_t bits = 0;
        std::memcpy(&bits, &points, sizeof bits);
        for (int shift = 0; shift < 64; shift += 16)
            key.push_back(static_cast<char16_t>(bits >> shift));
        key.push_back(static_cast<char16_t>(styleBits));
        auto known = fonts_.find(key);
        if (known != fonts_.end())
            return known->second.get();
        auto font = std::unique_ptr<CSvgFont>(new (std::nothrow) CSvgFont(engine_));
        if (!font) {
            *status = ERROR_NO_MEMORY;
            return nullptr;
        }
        if ((*status = font->Setup(family, points, styleBits)) != SUCCESS)
            return nullptr;
        return fonts_.emplace(std::move(key), std::move(font)).first->second.get();
    } catch (const std::bad_alloc&) {
        *status = ERROR_NO_MEMORY;
        return nullptr;
    }
}

CSvgFontCache* CSvgFlattener::textFonts()
{
    if (!textFonts_)
        textFonts_.reset(new (std::nothrow) CSvgFontCache(engine()));
    return textFonts_.get();
}

namespace {

double OrZero(double value) { return IsUnsetDouble(value) ? 0.0 : value; }

bool IsHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }
bool IsWhiteSpace(char16_t c) { return std::iswspace(static_cast<wint_t>(c)) != 0; }

// Collapses white space as xml:space="default" asks: leading and trailing
// runs go, each inner run becomes one blank. leading and trailing tell
// whether the text began or ended in white space (kSpaceTrailing) or not
// (kSpaceSolid); an empty text gives kSpaceNone for both, and a text of
// nothing but white space ends as it began.
void NormalizeTextSpace(std::u16string& text, uint32_t& leading, uint32_t& trailing)
{
    leading = trailing = kSpaceNone;
    if (text.empty())
        return;
    leading = IsWhiteSpace(text.front()) ? kSpaceTrailing : kSpaceSolid;
    trailing = IsWhiteSpace(text.back()) ? kSpaceTrailing : kSpaceSolid;
    size_t out = 0;
    bool pendingBlank = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (IsWhiteSpace(c)) {
            pendingBlank = out > 0;
            continue;
        }
        if (pendingBlank)
            text[out++] = u' ';
        pendingBlank = false;
        text[out++] = c;
    }
    text.resize(out);
    if (out == 0)
        trailing = leading;
}

bool IsVertical(const K_SvgStyleProp& style)
{
    return style.text.writingMode == svgkind::kWritingModeTbRl || style.text.writingMode == svgkind::kWritingModeTb;
}

bool IsRightToLeft(const K_SvgStyleProp& style)
{
    return style.text.direction.direction == 2 && !IsVertical(style);
}

// The move of the baseline that dominant-baseline asks for, down the page.
double BaselineShift(const K_SvgStyleProp& style, const kvdrw::FontMetrics& metrics)
{
    const int32_t* m = metrics.values;
    switch (style.text.anchor.baseline.dominantBaseline) {
    case 9:
    case 15: return m[kvdrw::kMetricAscent];
    case 12:
    case 13: return m[kvdrw::kMetricHeight] * 0.5 - m[kvdrw::kMetricDescent];
    case 14: return -m[kvdrw::kMetricDescent];
    default: return 0.0;
    }
}

// Letters of the right-to-left scripts (Hebrew, Arabic, Syriac, Thaana,
// N'Ko and their presentation forms, and the historic ones).
bool IsRightToLeftLetter(uint32_t c)
{
    return (c >= 0x0590 && c <= 0x08FF) || (c >= 0xFB1D && c <= 0xFDFF) || (c >= 0xFE70 && c <= 0xFEFF) ||
           (c >= 0x10800 && c <= 0x10FFF) || (c >= 0x1E800 && c <= 0x1EFFF);
}

// Letters whose shapes join their neighbours (Arabic, Syriac, N'Ko and the
// Arabic presentation forms), as the renderer groups them.
bool IsJoiningLetter(char16_t c)
{
    return (c >= 0x0620 && c <= 0x064A) || (c >= 0x066E && c <= 0x06D3) || (c >= 0x06FA && c <= 0x06FF) ||
           (c >= 0x0710 && c <= 0x074F) || (c >= 0x0750 && c <= 0x077F) || (c >= 0x07CA && c <= 0x07EA) ||
           (c >= 0x08A0 && c <= 0x08C9) || (c >= 0xFB50 && c <= 0xFDFF) || (c >= 0xFE70 && c <= 0xFEFC) ||
           (c >= 0x064B && c <= 0x065F);
}

// Blanks and punctuation take the side of the letters around them; letters
// and digits of any other script hold their left-to-right order.
bool IsNeutral(char16_t c)
{
    return IsWhiteSpace(c) || (std::iswpunct(static_cast<wint_t>(c)) && !(c >= u'0' && c <= u'9'));
}

// One string of the text as laid out: its context (style, matrix, where it
// goes), and per UTF-16 unit the pen position, turn, advance and chunk.
struct TextSegment {
    std::unique_ptr<CSvgContext> context;
    std::u16string text;
    std::vector<double> x, y, rotate, advance;
    std::vector<uint32_t> chunk;
    uint32_t xmlSpace = 0;
    std::string originalFontName;
    bool hasOriginalFontName = false;
    std::string originalOpacity;
    bool hasOriginalOpacity = false;
    int32_t anchor = -1;
    double ascent = 0, descent = 0;
};

// A chunk: the characters from one absolute position to the next, shifted
// together by text-anchor.
struct TextChunk {
    uint32_t textAnchor = 0;
    bool rightToLeft = false;
    bool vertical = false;
    bool anchorKnown = false;
    bool hasCharacters = false;
    double low = 0, high = 0;
};

// An `a` inside the text, written ahead of the first run it holds.
struct PendingAnchor {
    std::unique_ptr<ScopedRecord<SvgAnchorElement>> record;
    std::unique_ptr<CSvgContext> context;
    int32_t parent = -1;
    bool written = false;
    SvgElementView inserted;
};

// The layout of one `text` element, from the walk to the written runs.
class TextLayoutRun {
public:
    TextLayoutRun(CSvgFlattener& flattener, SvgDocumentHandler& source) : flattener_(flattener), source_(source) {}

    int32_t Walk(CSvgTextContext& root, pugi::xml_node element);
    int32_t Finish();

    bool hasRunTransform = false;
    SvgMatrix runTransform;
    CSvgTextPosition position;

private:
    struct Frame {
        std::unique_ptr<CSvgTextContext> context;
        pugi::xml_node next;
        pugi::xml_node consumed;
    };

    int32_t FlattenTextChunk(CSvgTextContext& context, std::u16string_view text);
    int32_t OpenTspan(CSvgTextContext& parent, pugi::xml_node node, std::unique_ptr<CSvgTextContext>& out);
    int32_t OpenAnchor(CSvgTextContext& parent, pugi::xml_node node, std::unique_ptr<CSvgTextContext>& out);
    double ApplyCharPosition(CSvgTextContext& context, bool* positioned = nullptr);
    void StartChunk();
    int32_t EnsureAnchorWritten(int32_t anchor);
    int32_t EmitSegment(TextSegment& segment);
    int32_t EmitTextRun(TextSegment& segment, SvgTextElement& record, std::vector<SvgLength>& xs,
                        std::vector<SvgLength>& ys, const std::vector<SvgMatrix>& matrices,
                        const std::vector<bool>& ownMatrix, size_t from, size_t to);

    CSvgFlattener& flattener_;
    SvgDocumentHandler& source_;
    std::vector<std::unique_ptr<TextSegment>> segments_;
    std::vector<PendingAnchor> anchors_;
    std::vector<TextChunk> chunks_;
};

// The character data that the element's own record would read: its first
// child when that is text, so that the text before any child element comes
// first and every text node is laid out once, in document order.
pugi::xml_node OwnCharacterData(pugi::xml_node element)
{
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        const pugi::xml_node_type type = child.type();
        if (type == pugi::node_pcdata || type == pugi::node_cdata)
            return child;
        if (type == pugi::node_element)
            return {};
    }
    return {};
}

void ReadCarriedAttributes(CSvgTextContext& context, pugi::xml_node node)
{
    if (pugi::xml_attribute name = node.attribute("original_font_name")) {
        context.originalFontName = name.value();
        context.hasOriginalFontName = true;
    }
    if (pugi::xml_attribute opacity = node.attribute("original_opacity")) {
        context.originalOpacity = opacity.value();
        context.hasOriginalOpacity = true;
    }
}

// A child level of the text: the context derived over `style`, lengths
// resolved, the text's fields brought down.
int32_t DeriveTextContext(CSvgTextContext& child, const CSvgTextContext& parent, const K_SvgStyleProp* style)
{
    if (int32_t status = child.Derive(parent, nullptr, style); status != SUCCESS)
        return status;
    ResolveContextLengths(child, child.style);
    child.originalFontName = parent.originalFontName;
    child.hasOriginalFontName = parent.hasOriginalFontName;
    child.originalOpacity = parent.originalOpacity;
    child.hasOriginalOpacity = parent.hasOriginalOpacity;
    child.attrs = parent.attrs;
    child.position = parent.position;
    child.xmlSpace = parent.xmlSpace;
    child.anchor = parent.anchor;
    return SUCCESS;
}

// Lays a new list over the one in force, from the pen's index on.
LengthListRef OverlayLengths(const LengthListRef& outer, const SvgLength* own, uint32_t count, uint32_t index)
{
    if (count == 0 || !own)
        return outer;
    auto list = std::make_shared<LengthList>();
    list->values.assign(own, own + count);
    list->start = index;
    // Outer lists that end within this one can never show again.
    LengthListRef below = outer;
    while (below && below->End() <= list->End())
        below = below->outer;
    list->outer = std::move(below);
    return list;
}

void OverlayLists(CSvgTextPositioningAttrs& attrs, const SvgTextPositionAttributes& own, uint32_t index)
{
    attrs.x = OverlayLengths(attrs.x, own.x, own.xCount, index);
    attrs.y = OverlayLengths(attrs.y, own.y, own.yCount, index);
    attrs.dx = OverlayLengths(attrs.dx, own.dx, own.dxCount, index);
    attrs.dy = OverlayLengths(attrs.dy, own.dy, own.dyCount, index);
    if (own.rotateCount > 0 && own.rotate) {
        attrs.rotate.values = std::make_shared<const std::vector<double>>(own.rotate, own.rotate + own.rotateCount);
        attrs.rotate.start = index;
    }
}

double ResolvedListValue(const SvgLength& value, bool vertical, const CSvgContext& context)
{
    SvgLength copy = value;
    if (IsUnsetDouble(copy.value))
        return 0.0;
    ResolveSvgLength(copy, vertical, true, context.fontSize, context.viewportWidth, context.viewportHeight);
    return copy.value;
}

// Words written against the line's direction read in their own: letters
// of a right-to-left script inside left-to-right text read from the right,
// and Latin letters, digits and the like inside right-to-left text from the
// left. Each stretch from one such character to the last one before a
// character of the line's own direction is mirrored within the room it
// takes, as long as no character inside it was placed by a position list.
// The renderer sets one character at a time, so the order must be in the
// positions. Positions are left edges on a left-to-right line and right
// edges on a right-to-left one, where the pen moves left.
void ReorderOpposingWords(TextSegment& segment, const std::vector<double>& steps, const std::vector<bool>& positioned,
                          bool rightToLeftLine)
{
    const std::u16string& text = segment.text;
    const auto opposes = [&](char16_t c) {
        return rightToLeftLine ? !IsRightToLeftLetter(c) && !IsNeutral(c) && !IsLowSurrogate(c)
                               : IsRightToLeftLetter(c);
    };
    const double edge = rightToLeftLine ? 1.0 : -1.0;
    const size_t n = text.size();
    size_t i = 0;
    while (i < n) {
        if (!opposes(text[i])) {
            ++i;
            continue;
        }
        size_t last = i;
        for (size_t j = i + 1; j < n; ++j) {
            const char16_t c = text[j];
            if (positioned[j] || segment.chunk[j] != segment.chunk[i])
                break;
            if (opposes(c) || (c >= 0x0300 && c <= 0x036F) || IsLowSurrogate(c))
                last = j;
            else if (!IsNeutral(c))
                break;
        }
        if (last > i) {
            // The two ends of the stretch along the line, whichever way it runs.
            const double start = segment.x[i];
            const double end = segment.x[last] + edge * -steps[last];
            for (size_t k = i; k <= last; ++k)
                segment.x[k] = IsLowSurrogate(text[k]) ? segment.x[k - 1]
                                                       : start + end - segment.x[k] + edge * steps[k];
        }
        i = last + 1;
    }
}

}  // namespace

// ---- The walk -------------------------------------------------------------------------

void TextLayoutRun::StartChunk()
{
    chunks_.emplace_back();
}

double TextLayoutRun::ApplyCharPosition(CSvgTextContext& context, bool* positioned)
{
    const uint32_t i = position.index;
    const CSvgTextPositioningAttrs& attrs = context.attrs;
    bool absolute = false;
    if (const SvgLength* x = LengthAt(attrs.x, i)) {
        position.x = ResolvedListValue(*x, false, context);
        absolute = true;
    }
    if (const SvgLength* y = LengthAt(attrs.y, i)) {
        position.y = ResolvedListValue(*y, true, context);
        absolute = true;
    }
    const SvgLength* dx = LengthAt(attrs.dx, i);
    if (dx)
        position.x += ResolvedListValue(*dx, false, context);
    const SvgLength* dy = LengthAt(attrs.dy, i);
    if (dy)
        position.y += ResolvedListValue(*dy, true, context);
    if (positioned)
        *positioned = absolute || dx || dy;
    // An absolute position begins a chunk, unless nothing has been set
    // since the last one began.
    if (absolute && (chunks_.empty() || chunks_.back().hasCharacters))
        StartChunk();
    if (chunks_.empty())
        StartChunk();
    const RotateList& rotate = attrs.rotate;
    if (!rotate.values || rotate.values->empty() || i < rotate.start)
        return 0.0;
    const size_t at = std::min<size_t>(rotate.values->size() - 1, size_t(i - rotate.start));
    const double angle = (*rotate.values)[at];
    return IsUnsetDouble(angle) ? 0.0 : angle;
}

int32_t TextLayoutRun::FlattenTextChunk(CSvgTextContext& context, std::u16string_view text)
{
    auto segment = std::unique_ptr<TextSegment>(new (std::nothrow) TextSegment);
    if (!segment)
        return ERROR_NO_MEMORY;
    try {
        segment->context = CSvgFlattener::NewContext();
        if (!segment->context)
            return ERROR_NO_MEMORY;
        if (int32_t status = segment->context->Derive(context, nullptr, nullptr); status != SUCCESS)
            return status;
        segment->text.assign(text);
        const K_SvgStyleProp& style = segment->context->style;

        uint32_t leading = kSpaceNone, trailing = kSpaceNone;
        if (context.xmlSpace != kXmlSpacePreserve)
            NormalizeTextSpace(segment->text, leading, trailing);

        CSvgFontCache* fonts = flattener_.textFonts();
        if (!fonts)
            return ERROR_NO_MEMORY;
        int32_t fontStatus = SUCCESS;
        CSvgFont* measuring = fonts->FontFor(style, &fontStatus);
        if (!measuring)
            return fontStatus;
        CSvgFont& font = *measuring;
        const std::u16string& chars = segment->text;
        const size_t n = chars.size();
        segment->x.resize(n);
        segment->y.resize(n);
        segment->rotate.resize(n);
        segment->advance.resize(n);
        segment->chunk.resize(n);

        const bool vertical = IsVertical(style);
        const bool rightToLeft = IsRightToLeft(style);
        const SvgSpacingAttributes& spacing = style.text.spacing;
        const double letterSpacing = spacing.letterSpacing.kind == svgkind::kKeywordLengthValue
                                         ? OrZero(spacing.letterSpacing.length.value) : 0.0;
        const double wordSpacing = spacing.wordSpacing.kind == svgkind::kKeywordLengthValue
                                       ? OrZero(spacing.wordSpacing.length.value) : 0.0;
        const auto advancePen = [&](const char16_t* unit, double width) {
            ++position.index;
            double step = width + letterSpacing;
            if (unit[0] == u' ')
                step += wordSpacing;
            if (vertical)
                position.y += step;
            else
                position.x += rightToLeft ? -step : step;
        };
        static const char16_t kBlank = u' ';

        // The white space between two strings counts once.
        if (leading == kSpaceTrailing && position.lastSpace == kSpaceSolid) {
            ApplyCharPosition(context);
            advancePen(&kBlank, font.Advance(&kBlank, 1));
        }
        const double shift = BaselineShift(style, font.metrics());
        segment->ascent = font.metrics().values[kvdrw::kMetricAscent];
        segment->descent = font.metrics().values[kvdrw::kMetricDescent];
        std::vector<double> steps(n, 0.0);
        std::vector<bool> positioned(n, false);
        // Words of joining letters are measured shaped, as they are drawn.
        std::vector<double> shaped(n, -1.0);
        for (size_t i = 0; i < n;) {
            size_t end = i;
            while (end < n && IsJoiningLetter(chars[end]))
                ++end;
            if (end - i > 1 && !font.ShapedAdvances(&chars[i], static_cast<int32_t>(end - i), &shaped[i]))
                std::fill(shaped.begin() + static_cast<ptrdiff_t>(i), shaped.begin() + static_cast<ptrdiff_t>(end), -1.0);
            else if (end - i == 1)
                shaped[i] = -1.0;
            i = end > i ? end : i + 1;
        }
        for (size_t i = 0; i < n; ++i) {
            const bool pair = IsHighSurrogate(chars[i]) && i + 1 < n && IsLowSurrogate(chars[i + 1]);
            bool moved = false;
            const double angle = ApplyCharPosition(context, &moved);
            positioned[i] = moved;
            TextChunk& chunk = chunks_.back();
            if (!chunk.anchorKnown) {
                chunk.anchorKnown = true;
                chunk.textAnchor = style.text.anchor.textAnchor;
                chunk.rightToLeft = rightToLeft;
                chunk.vertical = vertical;
            }
            segment->x[i] = position.x - (vertical ? shift : 0.0);
            segment->y[i] = position.y + (vertical ? 0.0 : shift);
            segment->rotate[i] = angle;
            segment->chunk[i] = static_cast<uint32_t>(chunks_.size() - 1);
            const double width = shaped[i] >= 0 ? shaped[i] : font.Advance(&chars[i], pair ? 2 : 1);
            segment->advance[i] = width;
            // Blanks inside a string take their room in the chunk; the ones
            // that white space handling cut from its ends are not characters.
            {
                const double from = vertical ? segment->y[i] : segment->x[i];
                const double low = rightToLeft ? from - width : from;
                const double high = rightToLeft ? from : from + width;
                chunk.low = chunk.hasCharacters ? std::min(chunk.low, low) : low;
                chunk.high = chunk.hasCharacters ? std::max(chunk.high, high) : high;
                chunk.hasCharacters = true;
            }
            const double penBefore = vertical ? position.y : position.x;
            advancePen(&chars[i], width);
            steps[i] = std::fabs((vertical ? position.y : position.x) - penBefore);
            if (pair) {
                // The second half of a pair stands where the first does and
                // takes no room of its own.
                ++i;
                ++position.index;
                segment->x[i] = segment->x[i - 1];
                segment->y[i] = segment->y[i - 1];
                segment->rotate[i] = angle;
                segment->chunk[i] = segment->chunk[i - 1];
            }
        }
        if (!vertical)
            ReorderOpposingWords(*segment, steps, positioned, rightToLeft);
        if (n > 0 && trailing == kSpaceTrailing) {
            ApplyCharPosition(context);
            advancePen(&kBlank, font.Advance(&kBlank, 1));
        }
        if (n > 0 || trailing != kSpaceNone)
            position.lastSpace = trailing;

        segment->xmlSpace = context.xmlSpace;
        segment->originalFontName = context.originalFontName;
        segment->hasOriginalFontName = context.hasOriginalFontName;
        segment->originalOpacity = context.originalOpacity;
        segment->hasOriginalOpacity = context.hasOriginalOpacity;
        segment->anchor = context.anchor;
        if (n > 0)
            segments_.push_back(std::move(segment));
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t TextLayoutRun::OpenTspan(CSvgTextContext& parent, pugi::xml_node node,
                                 std::unique_ptr<CSvgTextContext>& out)
{
    ScopedRecord<SvgTSpanElement> record(SVG_ELEMENT_TSPAN);
    if (record.status() != SUCCESS)
        return record.status();
    if (int32_t status = SvgElementView(source_, node).Read(record); status != SUCCESS)
        return status;
    out.reset(new (std::nothrow) CSvgTextContext);
    if (!out)
        return ERROR_NO_MEMORY;
    if (int32_t status = DeriveTextContext(*out, parent, &record->style); status != SUCCESS)
        return status;
    try {
        OverlayLists(out->attrs, record->position, position.index);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    ReadCarriedAttributes(*out, node);
    // A tspan that states its own xml:space keeps it for its strings.
    if (record->core.xmlSpace != 0)
        out->xmlSpace = record->core.xmlSpace;
    out->sourceNode = SvgElementView(source_, node);
    return SUCCESS;
}

int32_t TextLayoutRun::OpenAnchor(CSvgTextContext& parent, pugi::xml_node node,
                                  std::unique_ptr<CSvgTextContext>& out)
{
    PendingAnchor pending;
    pending.record.reset(new (std::nothrow) ScopedRecord<SvgAnchorElement>(SVG_ELEMENT_A));
    pending.context = CSvgFlattener::NewContext();
    out.reset(new (std::nothrow) CSvgTextContext);
    if (!pending.record || !pending.context || !out)
        return ERROR_NO_MEMORY;
    ScopedRecord<SvgAnchorElement>& record = *pending.record;
    if (int32_t status = SvgElementView(source_, node).Read(record); status != SUCCESS)
        return status;
    SvgAnchorElement& anchor = record.get();
    // An `a` inside text moves nothing: its transform has no place in a line.
    FreeTransformList(&anchor.transform);
    if (int32_t status = pending.context->Derive(parent, nullptr, &anchor.style); status != SUCCESS)
        return status;
    pending.context->style.MoveInto(anchor.style);
    ResolveContextLengths(*pending.context, anchor.style);
    FreeTrackedField(reinterpret_cast<void**>(&anchor.core.id));
    if (int32_t status = pending.context->style.CopyFrom(anchor.style); status != SUCCESS)
        return status;
    if (int32_t status = DeriveTextContext(*out, parent, nullptr); status != SUCCESS)
        return status;
    if (int32_t status = out->style.CopyFrom(anchor.style); status != SUCCESS)
        return status;
    pending.parent = parent.anchor;
    try {
        anchors_.push_back(std::move(pending));
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    out->anchor = static_cast<int32_t>(anchors_.size() - 1);
    out->sourceNode = SvgElementView(source_, node);
    return SUCCESS;
}

int32_t TextLayoutRun::Walk(CSvgTextContext& root, pugi::xml_node element)
{
    const pugi::xml_node own = OwnCharacterData(element);
    if (own) {
        std::u16string text;
        try {
            text = ToUtf16(own.value());
        } catch (const std::bad_alloc&) {
            return ERROR_NO_MEMORY;
        }
        if (int32_t status = FlattenTextChunk(root, text); status != SUCCESS)
            return status;
    }
    // The subtree on a heap stack: nesting costs memory, not machine stack.
    std::vector<Frame> frames;
    try {
        frames.push_back(Frame{nullptr, element.first_child(), own});
        while (!frames.empty()) {
            Frame& top = frames.back();
            CSvgTextContext& context = top.context ? *top.context : root;
            const pugi::xml_node node = top.next;
            if (!node) {
                frames.pop_back();
                continue;
            }
            top.next = node.next_sibling();
            if (node == top.consumed)
                continue;
            const pugi::xml_node_type type = node.type();
            if (type == pugi::node_pcdata || type == pugi::node_cdata) {
                CSvgTextContext plain;
                if (int32_t status = DeriveTextContext(plain, context, nullptr); status != SUCCESS)
                    return status;
                if (int32_t status = FlattenTextChunk(plain, ToUtf16(node.value())); status != SUCCESS)
                    return status;
                continue;
            }
            if (type != pugi::node_element)
                continue;
            const uint32_t kind = SvgElementView(source_, node).type();
            if (kind != SVG_ELEMENT_TSPAN && kind != SVG_ELEMENT_A)
                continue;  // tref, textPath, altGlyph and the rest, content included
            if (frames.size() >= kvlimits::kMaxFlattenDepth)
                return ERROR_MAX_ELEMENTS;
            std::unique_ptr<CSvgTextContext> child;
            const int32_t status =
                kind == SVG_ELEMENT_TSPAN ? OpenTspan(context, node, child) : OpenAnchor(context, node, child);
            if (status != SUCCESS)
                return status;
            const pugi::xml_node childText = OwnCharacterData(node);
            if (childText) {
                if (int32_t chunkStatus = FlattenTextChunk(*child, ToUtf16(childText.value()));
                    chunkStatus != SUCCESS)
                    return chunkStatus;
            }
            frames.push_back(Frame{std::move(child), node.first_child(), childText});
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

// ---- Output ---------------------------------------------------------------------------

int32_t TextLayoutRun::EnsureAnchorWritten(int32_t index)
{
    // The unwritten anchors from this one outwards, written outermost
    // first; a loop, since anchors can nest as deep as the text does.
    std::vector<int32_t> chain;
    try {
        for (int32_t at = index; at >= 0 && !anchors_[static_cast<size_t>(at)].written;
             at = anchors_[static_cast<size_t>(at)].parent)
            chain.push_back(at);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    for (auto at = chain.rbegin(); at != chain.rend(); ++at) {
        PendingAnchor& anchor = anchors_[static_cast<size_t>(*at)];
        anchor.written = true;
        if (anchor.parent >= 0 && anchors_[static_cast<size_t>(anchor.parent)].inserted)
            anchor.context->outputParent = anchors_[static_cast<size_t>(anchor.parent)].inserted;
        if (int32_t status = flattener_.InsertFlatElement(*anchor.context, &anchor.record->get(), SVG_ELEMENT_A,
                                                          CSvgBoundingBox{}, &anchor.inserted);
            status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t TextLayoutRun::Finish()
{
    // Each chunk moves as a whole by its anchor; the chunk's own start is
    // its left end, or its right end when it runs right to left.
    std::vector<double> chunkShift(chunks_.size(), 0.0);
    for (size_t c = 0; c < chunks_.size(); ++c) {
        const TextChunk& chunk = chunks_[c];
        if (!chunk.hasCharacters)
            continue;
        const double width = chunk.high - chunk.low;
        const double factor = chunk.textAnchor == 2 ? 0.5 : chunk.textAnchor == 3 ? 1.0 : 0.0;
        chunkShift[c] = chunk.rightToLeft ? width * factor : -width * factor;
    }
    for (auto& segment : segments_) {
        for (size_t i = 0; i < segment->text.size(); ++i) {
            const uint32_t c = segment->chunk[i];
            if (chunks_[c].vertical)
                segment->y[i] += chunkShift[c];
            else
                segment->x[i] += chunkShift[c];
        }
    }
    // Anchors in document order, so that an `a` without text still appears.
    for (auto& segment : segments_) {
        if (int32_t status = EmitSegment(*segment); status != SUCCESS)
            return status;
    }
    for (size_t a = 0; a < anchors_.size(); ++a) {
        if (int32_t status = EnsureAnchorWritten(static_cast<int32_t>(a)); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

namespace {

// The scale of the matrix goes into the positions and the font size, so
// that glyphs are drawn at their real size rather than scaled afterwards.
void FoldScaleIntoText(SvgMatrix& m, TextSegment& segment, K_SvgStyleProp& style)
{
    double sx = m.a, sy = m.d;
    if (IsRotationSvgMatrix(m)) {
        sx = std::copysign(std::sqrt(m.a * m.a + m.c * m.c), m.a);
        sy = std::copysign(std::sqrt(m.b * m.b + m.d * m.d), m.d);
    }
    if (sx == 0 || sy == 0 || IsUnsetDouble(sx) || IsUnsetDouble(sy))
        return;
    const double ax = std::fabs(sx), ay = std::fabs(sy);
    for (double& x : segment.x)
        x *= ax;
    for (double& y : segment.y)
        y *= ay;
    // A size of 0 stays 0, so the text stays unseen; an unset one is the 12
    // pixels it was measured at.
    SvgLength& size = style.text.font.fontSize.length;
    if (!IsUnsetDouble(size.value)) {
        size.value *= ax;
    } else if (ax != 1.0) {
        size.value = 12.0 * ax;
        size.unit = SVG_UNIT_NONE;
        size.percent = 0;
    }
    SvgLength& stroke = style.paint.stroke.width;
    if (!IsUnsetDouble(stroke.value))
        stroke.value *= ax;
    segment.ascent *= ay;
    segment.descent *= ay;
    SvgMatrix inverse;
    inverse.a = 1.0 / ax;
    inverse.d = 1.0 / ay;
    m = MultiplySvgMatrix(m, inverse);
}

// A slant that a transform gives upright text becomes a real italic.
void FoldSkewIntoText(SvgMatrix& m, TextSegment& segment, K_SvgStyleProp& style)
{
    if (style.text.font.fontStyle > 1)
        return;
    if (std::fabs(m.a - 1) > kSvgMatrixTolerance || std::fabs(m.d - 1) > kSvgMatrixTolerance ||
        std::fabs(m.b) > kSvgMatrixTolerance)
        return;
    const double angle = std::atan(m.c) * kDegreesPerRadian;
    if (!(angle > -30.0 && angle < 0.0))
        return;
    const double slope = std::tan(angle / kDegreesPerRadian);
    for (size_t i = 0; i < segment.x.size(); ++i)
        segment.x[i] += segment.y[i] * slope;
    style.text.font.fontStyle = 2;
    SvgMatrix unslant;
    unslant.c = -slope;
    m = MultiplySvgMatrix(m, unslant);
}

bool IsMultipleOfQuarterTurn(double angle)
{
    const double whole = std::trunc(angle);
    return std::fabs(whole) < 9.0e15 && std::fmod(whole, 90.0) == 0.0;
}

// A list of matrices as the transform of a record, outermost first.
int32_t MatricesToList(const SvgMatrix* matrices, uint32_t count, SvgTransformList& list)
{
    FreeTransformList(&list);
    if (count == 0)
        return SUCCESS;
    auto* items = static_cast<SvgTransform*>(KV_ALLOC_ZERO(count, sizeof(SvgTransform)));
    if (!items)
        return ERROR_NO_MEMORY;
    for (uint32_t i = 0; i < count; ++i) {
        SvgTransform& item = items[i];
        item.size = kSvgTransformSize;
        item.type = SVG_TRANSFORM_MATRIX;
        item.a = matrices[i].a;
        item.b = matrices[i].b;
        item.c = matrices[i].c;
        item.d = matrices[i].d;
        item.e = matrices[i].e;
        item.f = matrices[i].f;
    }
    list.items = items;
    list.count = count;
    return SUCCESS;
}

// The run's pointers into the segment's arrays are lent, never owned: they
// are taken back before the record is freed, on every path.
class LentTextFields {
public:
    explicit LentTextFields(SvgTextElement& record) : record_(record) {}
    ~LentTextFields()
    {
        record_.text = nullptr;
        record_.textCount = 0;
        SvgTextPositionAttributes& p = record_.position;
        p.x = p.y = p.dx = p.dy = nullptr;
        p.rotate = nullptr;
        p.xCount = p.yCount = p.dxCount = p.dyCount = p.rotateCount = 0;
    }
    LentTextFields(const LentTextFields&) = delete;
    LentTextFields& operator=(const LentTextFields&) = delete;

private:
    SvgTextElement& record_;
};

int32_t SetCarriedAttribute(pugi::xml_node node, const char* name, const std::string& value)
{
    if (value.empty())
        return SUCCESS;
    pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute)
        attribute = node.append_attribute(name);
    return attribute && attribute.set_value(value.c_str()) ? SUCCESS : ERROR_NO_MEMORY;
}

}  // namespace

int32_t TextLayoutRun::EmitSegment(TextSegment& segment)
{
    CSvgContext& context = *segment.context;
    ScopedRecord<SvgTextElement> record(SVG_ELEMENT_TEXT);
    if (record.status() != SUCCESS)
        return record.status();
    SvgTextElement& text = record.get();
    context.style.MoveInto(text.style);
    // Anchoring and the baseline are in the positions now; the renderer
    // must not move the characters again.
    text.style.text.anchor.textAnchor = 0;
    text.style.text.anchor.baseline.dominantBaseline = 0;

    SvgMatrix m = context.matrix;
    FoldScaleIntoText(m, segment, text.style);
    FoldSkewIntoText(m, segment, text.style);

    const size_t n = segment.text.size();
    std::vector<SvgMatrix> matrices;
    std::vector<bool> ownMatrix;
    std::vector<SvgLength> xs, ys;
    CSvgBoundingBox box;
    try {
        matrices.resize(n);
        ownMatrix.resize(n);
        xs.resize(n);
        ys.resize(n);
        for (size_t i = 0; i < n; ++i) {
            // The character's own turn about its point, under the text's matrix.
            SvgMatrix charMatrix = m;
            if (segment.rotate[i] != 0.0) {
                SvgTransform turn{};
                turn.size = kSvgTransformSize;
                turn.type = SVG_TRANSFORM_ROTATE;
                turn.a = segment.rotate[i];
                turn.b = segment.x[i];
                turn.c = segment.y[i];
                charMatrix = MultiplySvgMatrix(m, SvgMatrixFromTransform(turn));
                segment.rotate[i] = 0.0;
            }
            const KvPoint baked = charMatrix.Apply(segment.x[i], segment.y[i]);
            // What is left of the matrix acts about the baked point.
            SvgMatrix rest = charMatrix;
            rest.e = baked.x - (rest.a * baked.x + rest.c * baked.y);
            rest.f = baked.y - (rest.b * baked.x + rest.d * baked.y);
            if (IsRotationSvgMatrix(rest) && !IsIdentitySvgMatrix(rest)) {
                segment.rotate[i] = std::atan2(rest.b, rest.d) * kDegreesPerRadian;
                rest = SvgMatrix{};
            }
            segment.x[i] = baked.x;
            segment.y[i] = baked.y;
            matrices[i] = rest;
            ownMatrix[i] = !IsIdentitySvgMatrix(rest);
            xs[i] = SvgLength{kSvgLengthSize, baked.x, SVG_UNIT_NONE, 0};
            ys[i] = SvgLength{kSvgLengthSize, baked.y, SVG_UNIT_NONE, 0};
            box.Add(baked.x, baked.y - segment.ascent);
            box.Add(baked.x + segment.advance[i], baked.y + segment.descent);
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (int32_t status = ResolvePaintAndClip(flattener_, context, &text, SVG_ELEMENT_TEXT, box,
                                             hasRunTransform ? &runTransform : nullptr);
        status != SUCCESS)
        return status;
    if (int32_t status = EnsureAnchorWritten(segment.anchor); status != SUCCESS)
        return status;
    if (segment.anchor >= 0 && anchors_[static_cast<size_t>(segment.anchor)].inserted)
        context.outputParent = anchors_[static_cast<size_t>(segment.anchor)].inserted;

    const bool vertical = IsVertical(text.style);
    size_t start = 0;
    for (size_t i = 1; i <= n; ++i) {
        bool split = i == n;
        if (!split) {
            const double angle = segment.rotate[i];
            const double across = vertical ? std::fabs(segment.x[i] - segment.x[i - 1])
                                           : std::fabs(segment.y[i] - segment.y[i - 1]);
            split = ownMatrix[i] || ownMatrix[start] || !IsMultipleOfQuarterTurn(angle) ||
                    (across >= kSameLineTolerance && std::fabs(angle) < kSvgMatrixTolerance);
            // A pair of surrogates is never cut.
            if (IsLowSurrogate(segment.text[i]))
                split = false;
        }
        if (!split)
            continue;
        if (int32_t status = EmitTextRun(segment, text, xs, ys, matrices, ownMatrix, start, i); status != SUCCESS)
            return status;
        start = i;
    }
    return SUCCESS;
}

int32_t TextLayoutRun::EmitTextRun(TextSegment& segment, SvgTextElement& record, std::vector<SvgLength>& xs,
                                   std::vector<SvgLength>& ys, const std::vector<SvgMatrix>& matrices,
                                   const std::vector<bool>& ownMatrix, size_t from, size_t to)
{
    if (segment.xmlSpace != kXmlSpacePreserve) {
        while (from < to && IsWhiteSpace(segment.text[from]))
            ++from;
        while (to > from && IsWhiteSpace(segment.text[to - 1]))
            --to;
    }
    if (from >= to)
        return SUCCESS;
    const uint32_t count = static_cast<uint32_t>(to - from);
    LentTextFields lent(record);
    record.text = segment.text.data() + from;
    record.textCount = count;
    SvgTextPositionAttributes& p = record.position;
    p.x = xs.data() + from;
    p.xCount = count;
    p.y = ys.data() + from;
    p.yCount = count;
    bool turned = false;
    for (size_t i = from; i < to; ++i)
        turned = turned || std::fabs(segment.rotate[i]) >= kSvgMatrixTolerance;
    if (turned) {
        p.rotate = segment.rotate.data() + from;
        p.rotateCount = count;
    }
    SvgMatrix list[2];
    uint32_t entries = 0;
    if (hasRunTransform)
        list[entries++] = runTransform;
    if (ownMatrix[from])
        list[entries++] = matrices[from];
    if (int32_t status = MatricesToList(list, entries, record.transform); status != SUCCESS)
        return status;
    record.core.xmlSpace = segment.xmlSpace;

    // Inside a clipPath the run clips by the outlines of its glyphs.
    if (CSvgClipPath* clip = segment.context->collectingClip) {
        kvdrw::Engine* engine = flattener_.engine();
        if (!engine)
            return ERROR_NO_ENGINE;
        EngineOwned<kvdrw::GraphicsPath> figure(*engine);
        if (int32_t status = engine->CreatePath(figure.out()); status != SUCCESS)
            return status;
        const bool evenOdd = record.style.paint.fill.rule == svgkind::kFillRuleEvenOdd;
        figure.get()->SetFillMode(evenOdd ? kvdrw::kFillEvenOdd : kvdrw::kFillWinding);
        if (int32_t status = AddTextOutline(*engine, *figure.get(), record); status != SUCCESS)
            return status;
        return clip->AddGeometry(figure.get(), evenOdd);
    }
    SvgElementView inserted;
    if (int32_t status = flattener_.InsertFlatElement(*segment.context, &record, SVG_ELEMENT_TEXT, CSvgBoundingBox{},
                                                      &inserted);
        status != SUCCESS)
        return status;
    if (!inserted)
        return SUCCESS;
    // The record's writer marks a preserved run with "white-space:pre" in
    // its style; the carried attributes are this run's to add.
    if (segment.hasOriginalFontName) {
        if (int32_t status = SetCarriedAttribute(inserted.node(), "original_font_name", segment.originalFontName);
            status != SUCCESS)
            return status;
    }
    if (segment.hasOriginalOpacity) {
        if (int32_t status = SetCarriedAttribute(inserted.node(), "original_opacity", segment.originalOpacity);
            status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t FlattenText(CSvgFlattener& flattener, CSvgContext& parent)
{
    // A pattern's content has no text.
    if (parent.mode == FlattenMode::PatternContent)
        return SUCCESS;
    SvgDocumentHandler* source = parent.sourceNode.document();
    if (!source)
        return ERROR_NODE_UNBOUND;
    ScopedRecord<SvgTextElement> record(SVG_ELEMENT_TEXT);
    if (record.status() != SUCCESS)
        return ERROR_INV_PARAMETER;
    if (int32_t status = parent.sourceNode.Read(record); status != SUCCESS)
        return status;
    SvgTextElement& text = record.get();

    auto run = std::unique_ptr<TextLayoutRun>(new (std::nothrow) TextLayoutRun(flattener, *source));
    auto context = std::unique_ptr<CSvgTextContext>(new (std::nothrow) CSvgTextContext);
    if (!run || !context)
        return ERROR_NO_MEMORY;
    if (int32_t status = context->Derive(parent, &text.transform, &text.style); status != SUCCESS)
        return status;
    FreeTransformList(&text.transform);
    ResolveContextLengths(*context, context->style);

    // A turned text keeps its turn as the transform of its runs, so that the
    // glyphs are turned rather than their positions alone.
    const SvgMatrix& m = context->matrix;
    if (IsRotationSvgMatrix(m) && context->mode != FlattenMode::InstanceContent) {
        const double angle = std::atan2(m.b, m.d) * kDegreesPerRadian;
        if (std::fabs(angle) > kTextRotationTolerance) {
            run->hasRunTransform = true;
            run->runTransform = m;
            context->matrix = SvgMatrix{};
        }
    }
    context->position = &run->position;
    context->xmlSpace = text.core.xmlSpace;
    ReadCarriedAttributes(*context, parent.sourceNode.node());
    try {
        OverlayLists(context->attrs, text.position, 0);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (int32_t status = run->Walk(*context, parent.sourceNode.node()); status != SUCCESS)
        return status;
    return run->Finish();
}

int32_t AddTextOutline(kvdrw::Engine& engine, kvdrw::GraphicsPath& figure, const SvgTextElement& text)
{
    if (!text.text || text.textCount == 0)
        return SUCCESS;
    const double fontSize = text.style.text.font.fontSize.length.value;
    if (!IsUnsetDouble(fontSize) && fontSize == 0.0)
        return SUCCESS;
    std::u16string family;
    try {
        family = FirstFamily(text.style.text.font.fontFamily);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    CSvgFont font(&engine);
    const double resolution = engine.GetResolution() > 0 ? engine.GetResolution() : 96.0;
    if (int32_t status = font.Setup(family, FontSizePx(text.style) * 72.0 / resolution, FontStyleBits(text.style));
        status != SUCCESS)
        return status;
    kvdrw::Font* handle = font.handle();
    if (!handle)
        return SUCCESS;
    const double ascent = font.metrics().values[kvdrw::kMetricAscent];
    const SvgMatrix runMatrix = SvgMatrixFromList(&text.transform);
    const SvgTextPositionAttributes& p = text.position;
    const uint32_t count = text.textCount;
    double penX = 0, penY = 0, angle = 0;
    try {
        std::vector<kvdrw::Point> points;
        for (uint32_t i = 0; i < count; ++i) {
            const char16_t unit = text.text[i];
            if (i < p.xCount)
                penX = OrZero(p.x[i].value);
            else if (i > 0)
                penX += font.Advance(&text.text[i - 1], 1);
            if (i < p.yCount)
                penY = OrZero(p.y[i].value);
            if (i < p.rotateCount)
                angle = OrZero(p.rotate[i]);
            if (IsLowSurrogate(unit) && i > 0)
                continue;
            const int32_t length = IsHighSurrogate(unit) && i + 1 < count ? 2 : 1;
            EngineOwned<kvdrw::GraphicsPath> glyph(engine);
            if (int32_t status = engine.CreatePath(glyph.out()); status != SUCCESS)
                return status;
            const kvdrw::Point origin{penX, penY - ascent};
            if (int32_t status = glyph.get()->AddString(&engine, &text.text[i], length, handle, origin, nullptr);
                status != SUCCESS)
                return status;
            EngineOwned<kvdrw::PathData> data(engine);
            if (int32_t status = glyph.get()->GetPathData(data.out()); status != SUCCESS)
                return status;
            const int32_t n = data.get()->GetCount();
            if (n <= 0)
                continue;
            SvgMatrix m = runMatrix;
            if (angle != 0.0) {
                SvgTransform turn{};
                turn.size = kSvgTransformSize;
                turn.type = SVG_TRANSFORM_ROTATE;
                turn.a = angle;
                turn.b = penX;
                turn.c = penY;
                m = MultiplySvgMatrix(m, SvgMatrixFromTransform(turn));
            }
            points.assign(data.get()->GetPoints(), data.get()->GetPoints() + n);
            for (kvdrw::Point& point : points) {
                const KvPoint moved = m.Apply(point.x, point.y);
                point = {moved.x, moved.y};
            }
            if (int32_t status = figure.AddPathData(points.data(), data.get()->GetTypes(), n); status != SUCCESS)
                return status;
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}
