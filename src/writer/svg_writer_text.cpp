// Text of the recording engine: one text element per line, the lines found
// and the baselines placed with the measuring engine, so that a viewer with
// the same fonts shows the lines where the engines that draw put them.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "base/utf.h"
#include "document/svg_base_handler.h"
#include "document/svg_document_handler.h"
#include "values/value_records.h"
#include "writer/svg_writer_engine.h"
#include "writer/writer_brushes.h"
#include "writer/writer_font.h"
#include "writer/writer_string_format.h"

namespace kvdrw::svg {

namespace {

// Format flags of a text without a format: line limit and the two flags
// the drawing engines assume by default.
constexpr int32_t kDefaultFormatFlags = 52;
constexpr int32_t kFormatNoWrap = 8;
constexpr int32_t kFormatLineLimit = 16;

constexpr uint32_t kBaselineCentral = 12;

bool IsBlank(char16_t c)
{
    return c <= 0x20;
}

// Characters XML cannot carry become blanks.
void CleanForXml(char16_t* text, int32_t length)
{
    for (int32_t i = 0; i < length; ++i) {
        const char16_t c = text[i];
        const bool control = c < 0x20 && c != 0 && c != u'\t' && c != u'\n' && c != u'\r';
        const bool outside = c > 0xD7FF && (c < 0xE000 || c > 0xFFFD);
        if (control || outside)
            text[i] = u' ';
    }
}

struct GeneratedId {
    // Room for the longest prefix and any 32-bit number: a counter past
    // five digits must not cut an id short and so repeat an earlier one.
    char16_t text[32] = {};
    GeneratedId(const char* prefix, int32_t number)
    {
        char narrow[32];
        std::snprintf(narrow, sizeof narrow, "%s%d", prefix, number);
        for (size_t i = 0; i < sizeof narrow && narrow[i]; ++i)
            text[i] = static_cast<char16_t>(narrow[i]);
    }
};

int32_t ResolveLength(const char16_t* text, int32_t length)
{
    return length < 0 ? static_cast<int32_t>(WideLength(text)) : length;
}

// Widens a narrow text of `length` bytes (negative: up to its end).
bool Widen(const char* text, int32_t length, std::u16string& wide)
{
    if (!text)
        return true;
    try {
        wide = length < 0 ? ToUtf16(text) : ToUtf16(std::string_view(text, static_cast<size_t>(length)));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// The element takes the records of the state, the font, the format and the
// brush, and the positions of the line, for the time of each insertion.
class BorrowedText {
public:
    explicit BorrowedText(SvgTextElement& record) : record_(record) {}
    ~BorrowedText()
    {
        InitTransformList(&record_.transform);
        InitReference(&record_.style.clipPath);
        InitFill(&record_.style.paint.fill);
        record_.style.text.font.fontFamily = nullptr;
        record_.core.id = nullptr;
        record_.text = nullptr;
        record_.textCount = 0;
        InitTextPositionAttributes(&record_.position);
    }
    BorrowedText(const BorrowedText&) = delete;
    BorrowedText& operator=(const BorrowedText&) = delete;

private:
    SvgTextElement& record_;
};

// Where the first baseline lies below the top of the line and how far lines
// are apart, from the font's metrics for the kind of baseline.
struct LineMetrics {
    double baselineOffset = 0.0;
    double lineHeight = 0.0;
};

LineMetrics MeasureLines(MyFont& font, kvdrw::Engine& engine, double resolution, uint32_t dominantBaseline)
{
    // The layout reads one integer past the eight a font gives; it reads as 0.
    int32_t m[kvdrw::kFontMetricCount + 1] = {};
    kvdrw::FontMetrics metrics{};
    if (font.GetMetrics(&metrics, &engine, resolution)) {
        for (int i = 0; i < kvdrw::kFontMetricCount; ++i)
            m[i] = metrics.values[i];
    }
    LineMetrics lines;
    switch (dominantBaseline) {
    case 0:
        lines.baselineOffset = m[1] - m[4];
        lines.lineHeight = std::abs(m[6]) + m[5] + m[3] + m[8];
        break;
    case kBaselineCentral:
        lines.baselineOffset = m[1] * 0.5 - m[4];
        lines.lineHeight = (std::abs(m[6]) + m[5]) * 0.5 + m[8] + m[3];
        break;
    default:
        lines.lineHeight = m[3] + m[8];
        break;
    }
    return lines;
}

}  // namespace

int32_t SvgWriterEngine::BreakLine(const char16_t* start, const char16_t* end, const kvdrw::Size& layout,
                                   kvdrw::Font* font, kvdrw::StringFormat* format, int32_t* length)
{
    kvdrw::Size used{};
    int32_t fitted = 0;
    int32_t lines = 0;
    if (int32_t status = MeasureStringFitted(start, static_cast<int32_t>(end - start), font, &layout, format, &used,
                                             &fitted, &lines);
        status != SUCCESS)
        return status;
    const char16_t* p = start;
    while (p < end) {
        const char16_t c = *p;
        if (p - start + 1 > fitted) {
            if (IsBlank(c)) {
                while (p < end && IsBlank(*p))
                    ++p;
                *length = static_cast<int32_t>(p - start);
                return SUCCESS;
            }
            // The fitted count falls inside a word, or nothing fits at all:
            // the word is cut there, and a line takes at least one character.
            if (p == start) {
                p += (c >= 0xD800 && c <= 0xDBFF && p + 1 < end) ? 2 : 1;
            } else if (c >= 0xDC00 && c <= 0xDFFF && p - 1 > start) {
                --p;  // a surrogate pair stays whole
            }
            *length = static_cast<int32_t>(p - start);
            return SUCCESS;
        }
        if (c == u'\n' || c == u'\r') {
            ++p;
            const char16_t partner = c == u'\n' ? u'\r' : u'\n';
            if (p < end && *p == partner)
                ++p;
            *length = static_cast<int32_t>(p - start);
            return SUCCESS;
        }
        ++p;
    }
    *length = static_cast<int32_t>(p - start);
    return SUCCESS;
}

int32_t SvgWriterEngine::MarkTextLine(const SvgElementView& line, bool endsInWord, kvdrw::StringFormat* format)
{
    SvgBaseHandler* made = nullptr;
    if (int32_t status = WrapXmlNode(&made, line.node()); status != SUCCESS)
        return status;
    SvgHandlerPtr handler(made);
    AttachOwner(document_, made);
    auto* writerFormat = dynamic_cast<MyStringFormat*>(format);
    if (writerFormat && writerFormat->endOfWordMark() && endsInWord) {
        if (int32_t status = handler->SetAttribute(u"kolv_eow", u"1"); status != SUCCESS)
            return status;
    }
    if (flags_ & SVG_DRAW_MARK_OCR) {
        if (int32_t status = handler->SetAttribute(u"kolv_ocr", u"1"); status != SUCCESS)
            return status;
    }
    if (extraParams_.size != 0 && extraParams_.zoneIndex != -1 && extraParams_.charIndex != -1) {
        const GeneratedId zone("", extraParams_.zoneIndex);
        const GeneratedId character("", extraParams_.charIndex);
        if (int32_t status = handler->SetAttribute(u"kolv_zone_index", zone.text); status != SUCCESS)
            return status;
        if (int32_t status = handler->SetAttribute(u"kolv_char_index", character.text); status != SUCCESS)
            return status;
    }
    return handler->PrefixStylePreserveSpace();
}

int32_t SvgWriterEngine::WriteText(const SvgElementView& parent, char16_t* text, int32_t length, kvdrw::Font* font,
                                   double x, double y, const kvdrw::Size* layout, kvdrw::StringFormat* format,
                                   kvdrw::Brush* brush)
{
    if (length < 1 || !std::isfinite(x) || !std::isfinite(y))
        return SUCCESS;
    auto* writerFont = dynamic_cast<MyFont*>(font);
    if (!writerFont)
        return ERROR_INV_PARAMETER;
    auto* writerFormat = dynamic_cast<MyStringFormat*>(format);
    MyBrush* writerBrush = nullptr;
    if (brush && !(writerBrush = dynamic_cast<MyBrush*>(brush)))
        return ERROR_INV_PARAMETER;

    const int32_t formatFlags = format ? format->GetFormatFlags() : kDefaultFormatFlags;
    const bool hasLayout = layout && layout->width > 0 && layout->height > 0;
    const double givenY = y;
    if (format && hasLayout) {
        const int32_t lineAlignment = format->GetLineAlignment();
        if (lineAlignment == kvdrw::kAlignCenter)
            y += layout->height / 2;
        else if (lineAlignment == kvdrw::kAlignFar)
            y += layout->height;
    }
    CleanForXml(text, length);

    ScopedRecord<SvgTextElement> record(SVG_ELEMENT_TEXT);
    if (record.status() != SUCCESS)
        return record.status();
    BorrowedText borrowed(record.get());
    K_SvgStyleProp& style = record->style;
    style.text.textDecoration = writerFont->decoration();
    style.text.font = writerFont->group();
    if (writerFormat) {
        style.text.anchor.textAnchor = writerFormat->textAnchor();
        style.text.anchor.baseline.dominantBaseline = writerFormat->dominantBaseline();
        style.text.anchor.baseline.alignmentBaseline = writerFormat->alignmentBaseline();
        style.text.direction.direction = writerFormat->direction();
        style.text.writingMode = writerFormat->writingMode();
    }
    if (writerBrush)
        writerBrush->GetFill(style.paint.fill);
    record->transform = current().transform;
    style.clipPath = current().clip;
    style.paint.rendering.textRendering = current().textQuality;
    record->core.xmlSpace = 2;  // preserve

    SvgLength xLength;
    SvgLength yLength;
    InitLength(&xLength);
    InitLength(&yLength);
    xLength.value = x;
    if (x != 0) {
        record->position.x = &xLength;
        record->position.xCount = 1;
    }
    record->position.y = &yLength;
    record->position.yCount = 1;

    const LineMetrics lines =
        MeasureLines(*writerFont, *this, dpiY_, style.text.anchor.baseline.dominantBaseline);
    const bool wraps = hasLayout && !(formatFlags & kFormatNoWrap);
    double baseline = y + lines.baselineOffset;
    double heightUsed = 0.0;
    int32_t position = 0;
    while (true) {
        if (wraps && heightUsed + lines.lineHeight > layout->height && (formatFlags & kFormatLineLimit))
            break;
        int32_t lineLength = length - position;
        if (wraps) {
            const kvdrw::Size lineBox = {layout->width, lines.lineHeight + 1.0};
            if (int32_t status = BreakLine(text + position, text + length, lineBox, font, format, &lineLength);
                status != SUCCESS)
                return status;
        }
        const GeneratedId id("Text", ++textCount_);
        record->core.id = const_cast<char16_t*>(id.text);
        record->text = text + position;
        record->textCount = static_cast<uint32_t>(lineLength);
        yLength.value = baseline;
        SvgElementView line;
        if (int32_t status = parent.Insert(SVG_ELEMENT_TEXT, record.data(), kSvgInsertLastChild, &line);
            status != SUCCESS)
            return status;
        const bool endsInWord = lineLength > 0 && !IsBlank(text[position + lineLength - 1]);
        if (int32_t status = MarkTextLine(line, endsInWord, format); status != SUCCESS)
            return status;
        baseline += lines.lineHeight;
        heightUsed += lines.lineHeight;
        position += lineLength;
        if (!wraps || position >= length)
            break;
        if (y + heightUsed >= layout->height + givenY)
            break;
    }
    return SUCCESS;
}

int32_t SvgWriterEngine::DrawText(const SvgElementView& parent, const char16_t* text, int32_t length,
                                  kvdrw::Font* font, kvdrw::Brush* brush, double x, double y,
                                  const kvdrw::Size* layout, kvdrw::StringFormat* format)
{
    if (!text)
        return SUCCESS;
    length = ResolveLength(text, length);
    if (length < 1)
        return SUCCESS;
    // Lines are cut and cleaned in a copy: the caller's text is its own.
    std::u16string copy;
    try {
        copy.assign(text, static_cast<size_t>(length));
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return WriteText(parent, copy.data(), length, font, x, y, layout, format, brush);
}

namespace {

// Where a line of text starts across a layout box: the alignment says which
// edge, and right to left turns the box around.
double AlignedX(const KvRectangle& layout, kvdrw::StringFormat* format)
{
    if (!format || layout.width <= 0)
        return layout.x;
    double offset = 0.0;
    switch (format->GetAlignment()) {
    case kvdrw::kAlignCenter: offset = layout.width / 2; break;
    case kvdrw::kAlignFar: offset = layout.width; break;
    default: break;
    }
    if (format->GetFormatFlags() & kvdrw::kFormatRightToLeft)
        offset = layout.width - offset;
    return layout.x + offset;
}

}  // namespace

int32_t SvgWriterEngine::DrawString(const char16_t* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush,
                                    const KvPoint* origin, kvdrw::StringFormat* format)
{
    if (!font || !brush)
        return ERROR_INV_PARAMETER;
    if (!text || length == 0 || (flags_ & SVG_DRAW_DROP_TEXT))
        return SUCCESS;
    if (!origin)
        return ERROR_INV_PARAMETER;
    return DrawText(root_, text, length, font, brush, origin->x, origin->y, nullptr, format);
}

int32_t SvgWriterEngine::DrawStringInRect(const char16_t* text, int32_t length, kvdrw::Font* font,
                                          kvdrw::Brush* brush, const KvRectangle* layout, kvdrw::StringFormat* format)
{
    if (!font || !brush)
        return ERROR_INV_PARAMETER;
    if (!text || length == 0 || (flags_ & SVG_DRAW_DROP_TEXT))
        return SUCCESS;
    if (!layout)
        return ERROR_INV_PARAMETER;
    const kvdrw::Size size = {layout->width, layout->height};
    return DrawText(root_, text, length, font, brush, AlignedX(*layout, format), layout->y, &size, format);
}

int32_t SvgWriterEngine::MakeAnchor(const char16_t* link, SvgElementView* anchor)
{
    const GeneratedId id("Anchor", ++anchorCount_);
    ScopedRecord<SvgAnchorElement> record(SVG_ELEMENT_A);
    if (record.status() != SUCCESS)
        return record.status();
    if (int32_t status = CopyTrackedText(&record->href, link); status != SUCCESS)
        return status;
    if (int32_t status = CopyTrackedText(&record->core.id, id.text); status != SUCCESS)
        return status;
    return root_.Insert(SVG_ELEMENT_A, record.data(), kSvgInsertLastChild, anchor);
}

int32_t SvgWriterEngine::DrawLinkedStringInRect(const char16_t* text, int32_t length, const char16_t* link,
                                                kvdrw::Font* font, kvdrw::Brush* brush, const KvRectangle* layout,
                                                kvdrw::StringFormat* format)
{
    if ((!text || length == 0) && !link)
        return SUCCESS;
    if (!font || !brush || !layout)
        return ERROR_INV_PARAMETER;
    SvgElementView anchor;
    if (int32_t status = MakeAnchor(link, &anchor); status != SUCCESS)
        return status;
    const kvdrw::Size size = {layout->width, layout->height};
    return DrawText(anchor, text, length, font, brush, AlignedX(*layout, format), layout->y, &size, format);
}

int32_t SvgWriterEngine::DrawLinkedString(const char16_t* text, const char16_t* link, int32_t length,
                                          kvdrw::Font* font, kvdrw::Brush* brush, const KvPoint* origin,
                                          kvdrw::StringFormat* format)
{
    if ((!text || length == 0) && !link)
        return SUCCESS;
    if (!font || !brush || !origin)
        return ERROR_INV_PARAMETER;
    SvgElementView anchor;
    if (int32_t status = MakeAnchor(link, &anchor); status != SUCCESS)
        return status;
    return DrawText(anchor, text, length, font, brush, origin->x, origin->y, nullptr, format);
}

int32_t SvgWriterEngine::DrawStringNarrow(const char* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush,
                                          const KvPoint* origin, kvdrw::StringFormat* format)
{
    std::u16string wide;
    if (!Widen(text, length, wide))
        return ERROR_NO_MEMORY;
    return DrawString(text ? wide.c_str() : nullptr, static_cast<int32_t>(wide.size()), font, brush, origin, format);
}

int32_t SvgWriterEngine::DrawStringInRectNarrow(const char* text, int32_t length, kvdrw::Font* font,
                                                kvdrw::Brush* brush, const KvRectangle* layout,
                                                kvdrw::StringFormat* format)
{
    std::u16string wide;
    if (!Widen(text, length, wide))
        return ERROR_NO_MEMORY;
    return DrawStringInRect(text ? wide.c_str() : nullptr, static_cast<int32_t>(wide.size()), font, brush, layout,
                            format);
}

int32_t SvgWriterEngine::DrawLinkedStringNarrow(const char* text, int32_t length, const char* link,
                                                kvdrw::Font* font, kvdrw::Brush* brush, const KvRectangle* layout,
                                                kvdrw::StringFormat* format)
{
    std::u16string wide;
    std::u16string wideLink;
    if (!Widen(text, length, wide) || !Widen(link, -1, wideLink))
        return ERROR_NO_MEMORY;
    return DrawLinkedStringInRect(text ? wide.c_str() : nullptr, static_cast<int32_t>(wide.size()),
                                  link ? wideLink.c_str() : nullptr, font, brush, layout, format);
}

}  // namespace kvdrw::svg
