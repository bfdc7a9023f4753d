#include "drawing/text_layout.h"

#include <algorithm>
#include <cmath>

#include "drawing/third_party_handles.h"

namespace kvdrw::native {

namespace {

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == 0x3000; }
bool IsLineBreak(char16_t c) { return c == u'\n' || c == u'\r' || c == 0x2028 || c == 0x2029; }
// A line may end after these as well as after blanks.
bool BreaksAfter(char16_t c) { return c == u'-' || c == 0x2010 || c == 0x2013 || c == 0x2014; }
// Ideographs break anywhere.
bool IsIdeographic(char16_t c) { return (c >= 0x3040 && c <= 0x30FF) || (c >= 0x3400 && c <= 0x9FFF) || (c >= 0xAC00 && c <= 0xD7AF); }
bool IsLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

}  // namespace

TextLayout::TextLayout(const FontFace& face, double emPixels, int32_t style, int32_t flags)
    : face_(face), emPixels_(emPixels), style_(style), flags_(flags)
{
    const FaceMetrics& m = face.metrics();
    scale_ = emPixels / m.unitsPerEm;
    ascent_ = m.ascent * scale_;
    descent_ = m.descent * scale_;
    lineSpacing_ = m.lineSpacing * scale_;
}

namespace {

uint32_t CodePointAt(const char16_t* text, int32_t length, int32_t i, int32_t& units)
{
    const char16_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < length && IsLowSurrogate(text[i + 1])) {
        units = 2;
        return 0x10000 + ((uint32_t(c) - 0xD800) << 10) + (uint32_t(text[i + 1]) - 0xDC00);
    }
    units = 1;
    return c;
}

// Characters that belong to whatever stands before them: marks, joiners
// and variation selectors.
bool ClingsToPrevious(hb_unicode_funcs_t* unicode, uint32_t c)
{
    if (c == 0x200C || c == 0x200D || (c >= 0xFE00 && c <= 0xFE0F) || (c >= 0xE0100 && c <= 0xE01EF))
        return true;
    const hb_unicode_general_category_t category = hb_unicode_general_category(unicode, c);
    return category == HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK ||
           category == HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK ||
           category == HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK;
}

// 1 for a character of a right-to-left script, 0 for left to right, -1 for
// a neutral one (digits, punctuation, blanks) that takes its neighbours' side.
int DirectionOf(hb_unicode_funcs_t* unicode, uint32_t c)
{
    const hb_script_t script = hb_unicode_script(unicode, c);
    if (script == HB_SCRIPT_COMMON || script == HB_SCRIPT_INHERITED || script == HB_SCRIPT_UNKNOWN)
        return -1;
    return hb_script_get_horizontal_direction(script) == HB_DIRECTION_RTL ? 1 : 0;
}

}  // namespace

void TextLayout::Itemize(const char16_t* text, int32_t length, std::vector<FaceRun>& runs) const
{
    runs.clear();
    hb_unicode_funcs_t* unicode = hb_unicode_funcs_get_default();
    const bool bold = (style_ & 1) != 0, italic = (style_ & 2) != 0;
    FontCache& cache = FontCache::Instance();
    for (int32_t i = 0; i < length;) {
        int32_t units = 1;
        const uint32_t c = CodePointAt(text, length, i, units);
        FaceRun* current = runs.empty() ? nullptr : &runs.back();
        const int direction = DirectionOf(unicode, c);
        const FontFace* face = nullptr;
        bool rightToLeft = current ? current->rightToLeft : direction == 1;
        if (current && (ClingsToPrevious(unicode, c) || (direction == -1 && current->face->HasGlyph(c)))) {
            face = current->face;
        } else {
            if (direction != -1)
                rightToLeft = direction == 1;
            if (face_.HasGlyph(c) || c < 0x20)
                face = &face_;
            else if (const FontFace* fallback = cache.FallbackFor(face_, c, bold, italic))
                face = fallback;
            else
                face = &face_;
        }
        if (current && current->face == face && current->rightToLeft == rightToLeft)
            current->length += units;
        else
            runs.push_back(FaceRun{i, units, face, rightToLeft});
        i += units;
    }
    // A neutral stretch that opened the text takes the side of what follows it.
    if (runs.size() > 1 && runs[0].face == runs[1].face && runs[0].rightToLeft != runs[1].rightToLeft) {
        bool neutral = true;
        for (int32_t i = runs[0].start; i < runs[0].start + runs[0].length && neutral;) {
            int32_t units = 1;
            neutral = DirectionOf(unicode, CodePointAt(text, length, i, units)) == -1;
            i += units;
        }
        if (neutral) {
            runs[1].start = runs[0].start;
            runs[1].length += runs[0].length;
            runs.erase(runs.begin());
        }
    }
}

void TextLayout::ShapeRun(const char16_t* text, const FaceRun& run, hb_buffer_t* buffer) const
{
    hb_buffer_clear_contents(buffer);
    hb_buffer_add_utf16(buffer, reinterpret_cast<const uint16_t*>(text), run.start + run.length,
                        static_cast<unsigned>(run.start), run.length);
    if ((flags_ & 1) || run.rightToLeft)
        hb_buffer_set_direction(buffer, HB_DIRECTION_RTL);
    hb_buffer_guess_segment_properties(buffer);
    // Vertical text is a turned horizontal line: shape it horizontally.
    if (!HB_DIRECTION_IS_HORIZONTAL(hb_buffer_get_direction(buffer)))
        hb_buffer_set_direction(buffer, HB_DIRECTION_LTR);
    hb_shape(run.face->shapingFont(), buffer, nullptr, 0);
}

void TextLayout::Shape(const char16_t* text, int32_t length, std::vector<uint32_t>& glyphs,
                       std::vector<KvPoint>& positions, double& advance, std::vector<const FontFace*>* faces) const
{
    glyphs.clear();
    positions.clear();
    if (faces)
        faces->clear();
    advance = 0;
    if (length <= 0)
        return;
    HbBuffer buffer(hb_buffer_create());
    if (!hb_buffer_allocation_successful(buffer.get()))
        throw std::bad_alloc();
    std::vector<FaceRun> runs;
    Itemize(text, length, runs);
    // A right-to-left line sets its runs from the right.
    if (flags_ & 1)
        std::reverse(runs.begin(), runs.end());
    double pen = 0;
    for (const FaceRun& run : runs) {
        ShapeRun(text, run, buffer.get());
        unsigned count = 0;
        const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer.get(), &count);
        const hb_glyph_position_t* moves = hb_buffer_get_glyph_positions(buffer.get(), nullptr);
        const double scale = ScaleOf(*run.face);
        for (unsigned i = 0; i < count; ++i) {
            glyphs.push_back(infos[i].codepoint);
            positions.push_back({pen + moves[i].x_offset * scale, moves[i].y_offset * scale});
            if (faces)
                faces->push_back(run.face);
            pen += moves[i].x_advance * scale;
        }
    }
    advance = pen;
}

void TextLayout::UnitAdvances(const char16_t* text, int32_t length, std::vector<double>& advances) const
{
    advances.assign(std::max(length, 0), 0.0);
    if (length <= 0)
        return;
    HbBuffer buffer(hb_buffer_create());
    if (!hb_buffer_allocation_successful(buffer.get()))
        throw std::bad_alloc();
    std::vector<FaceRun> runs;
    Itemize(text, length, runs);
    for (const FaceRun& run : runs) {
        ShapeRun(text, run, buffer.get());
        unsigned count = 0;
        const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer.get(), &count);
        const hb_glyph_position_t* moves = hb_buffer_get_glyph_positions(buffer.get(), nullptr);
        const double scale = ScaleOf(*run.face);
        for (unsigned i = 0; i < count; ++i) {
            const uint32_t cluster = std::min<uint32_t>(infos[i].cluster, uint32_t(length - 1));
            advances[cluster] += moves[i].x_advance * scale;
        }
    }
}

void TextLayout::Layout(const char16_t* text, int32_t length, double maxWidth)
{
    text_ = text;
    lines_.clear();
    std::vector<double> advances;
    int32_t paragraphStart = 0;
    while (paragraphStart <= length) {
        int32_t paragraphEnd = paragraphStart;
        while (paragraphEnd < length && !IsLineBreak(text[paragraphEnd]))
            ++paragraphEnd;
        int32_t breakLength = 0;
        if (paragraphEnd < length) {
            breakLength = 1;
            if (text[paragraphEnd] == u'\r' && paragraphEnd + 1 < length && text[paragraphEnd + 1] == u'\n')
                breakLength = 2;
        }
        // Text that ends with a line break has no empty line after it.
        if (paragraphStart == length && !lines_.empty())
            break;
        const int32_t paragraphLength = paragraphEnd - paragraphStart;
        UnitAdvances(text + paragraphStart, paragraphLength, advances);
        int32_t lineStart = 0;
        do {
            TextLine line;
            line.start = paragraphStart + lineStart;
            int32_t end = paragraphLength;
            bool wrapped = false;
            if (maxWidth > 0) {
                double width = 0;
                int32_t lastBreak = -1;
                for (int32_t i = lineStart; i < paragraphLength; ++i) {
                    const char16_t c = text[paragraphStart + i];
                    if (IsBlank(c)) {
                        // Blanks hang past the edge and never force a break.
                        width += advances[i];
                        lastBreak = i + 1;
                        continue;
                    }
                    const bool startsCluster = advances[i] != 0 || !IsLowSurrogate(c);
                    if (startsCluster && i > lineStart && width + advances[i] > maxWidth + 1e-9) {
                        if (lastBreak > lineStart) {
                            end = lastBreak;
                        } else {
                            // One word wider than the line: cut it, keeping surrogate pairs whole.
                            end = i;
                        }
                        wrapped = true;
                        break;
                    }
                    if (IsIdeographic(c) && i > lineStart)
                        lastBreak = i;
                    width += advances[i];
                    if (BreaksAfter(c) || IsIdeographic(c))
                        lastBreak = i + 1;
                }
            }
            int32_t visibleEnd = end;
            if (wrapped) {
                while (visibleEnd > lineStart && IsBlank(text[paragraphStart + visibleEnd - 1]))
                    --visibleEnd;
            }
            line.length = visibleEnd - lineStart;
            line.consumed = end - lineStart;
            double width = 0;
            for (int32_t i = lineStart; i < visibleEnd; ++i)
                width += advances[i];
            line.width = width;
            lineStart = end;
            if (lineStart >= paragraphLength)
                line.consumed += breakLength;
            lines_.push_back(line);
        } while (lineStart < paragraphLength);
        paragraphStart = paragraphEnd + breakLength;
        if (breakLength == 0)
            break;
    }
}

int32_t TextLayout::LinesWithin(double maxHeight) const
{
    const int32_t total = static_cast<int32_t>(lines_.size());
    if (maxHeight <= 0 || total == 0)
        return total;
    // The last line needs its ascent and descent, the others a full spacing.
    int32_t fitting = 1;
    while (fitting < total && fitting * lineSpacing_ + ascent_ + descent_ <= maxHeight + 1e-9)
        ++fitting;
    return fitting;
}

void TextLayout::MeasureLines(int32_t count, double& width, double& height) const
{
    count = std::min<int32_t>(count, static_cast<int32_t>(lines_.size()));
    width = 0;
    for (int32_t i = 0; i < count; ++i)
        width = std::max(width, lines_[i].width);
    height = count * lineSpacing_;
}

int32_t TextLayout::UnitsConsumed(int32_t count) const
{
    count = std::min<int32_t>(count, static_cast<int32_t>(lines_.size()));
    int32_t units = 0;
    for (int32_t i = 0; i < count; ++i)
        units += lines_[i].consumed;
    return units;
}

void TextLayout::AppendOutlines(PathGeometry& path, const TextPlacement& placement, int32_t count) const
{
    count = std::min<int32_t>(count, static_cast<int32_t>(lines_.size()));
    if (count <= 0)
        return;
    const bool vertical = (placement.flags & 2) != 0;
    const bool rightToLeft = (placement.flags & 1) != 0;
    // The local frame: u along the line, w across it (down the page when
    // horizontal). The box spans [uMin, uMax] x [wMin, wMax].
    double uMax = vertical ? placement.boxHeight : placement.boxWidth;
    double wMin = vertical ? -placement.boxWidth : 0.0;
    double wMax = vertical ? 0.0 : placement.boxHeight;
    if (uMax < 0)
        uMax = 0;
    if (!(wMax > wMin))
        wMin = wMax = 0;

    int32_t alignment = placement.alignment;
    if (rightToLeft && (alignment == 0 || alignment == 2))
        alignment = 2 - alignment;
    int32_t lineAlignment = placement.lineAlignment == 1 ? 1 : placement.lineAlignment == 2 ? 2 : 0;
    if (vertical && lineAlignment != 1)
        lineAlignment = 2 - lineAlignment;

    double firstBaseline = wMin + ascent_;
    const double blockHeight = (count - 1) * lineSpacing_ + ascent_ + descent_;
    if (lineAlignment == 2)
        firstBaseline = wMax - descent_ - (count - 1) * lineSpacing_;
    else if (lineAlignment == 1)
        firstBaseline = (wMin + wMax) / 2 - blockHeight / 2 + ascent_;

    // Font units (y up) at local (u0, w0) to the page.
    auto placeMatrix = [&](double u0, double w0, double unitScale) {
        KvMatrix m{};
        if (vertical) {
            m.m11 = 0;
            m.m12 = unitScale;
            m.m21 = unitScale;
            m.m22 = 0;
            m.dx = placement.x - w0;
            m.dy = placement.y + u0;
        } else {
            m.m11 = unitScale;
            m.m12 = 0;
            m.m21 = 0;
            m.m22 = -unitScale;
            m.dx = placement.x + u0;
            m.dy = placement.y + w0;
        }
        return m;
    };
    auto addBar = [&](double u0, double u1, double wTop, double wBottom) {
        KvMatrix m = placeMatrix(0, 0, 1.0);
        // placeMatrix maps (u, -w) with unit scale; feed local points through it.
        KvPoint corners[4] = {{u0, -wTop}, {u1, -wTop}, {u1, -wBottom}, {u0, -wBottom}};
        for (KvPoint& p : corners)
            p = {p.x * m.m11 + p.y * m.m21 + m.dx, p.x * m.m12 + p.y * m.m22 + m.dy};
        path.AddPolygon(corners, 4);
    };

    const FaceMetrics& metrics = face_.metrics();
    std::vector<uint32_t> glyphs;
    std::vector<KvPoint> positions;
    std::vector<const FontFace*> faces;
    for (int32_t index = 0; index < count; ++index) {
        const TextLine& line = lines_[index];
        const double baseline = firstBaseline + index * lineSpacing_;
        double advance = 0;
        Shape(text_ + line.start, line.length, glyphs, positions, advance, &faces);
        double lineStart = 0;
        if (alignment == 2)
            lineStart = uMax - advance;
        else if (alignment == 1)
            lineStart = uMax / 2 - advance / 2;
        for (size_t g = 0; g < glyphs.size(); ++g) {
            const GlyphOutline* outline = faces[g]->Outline(glyphs[g]);
            if (!outline || outline->points.empty())
                continue;
            KvMatrix m = placeMatrix(lineStart + positions[g].x, baseline - positions[g].y, ScaleOf(*faces[g]));
            PathGeometry glyphPath;
            glyphPath.AddPathData(outline->points.data(), outline->types.data(),
                                  static_cast<int32_t>(outline->points.size()));
            path.Append(glyphPath, &m);
        }
        if (advance > 0 && (style_ & 4)) {
            double centre = baseline - metrics.underlinePosition * scale_;
            double half = std::max(metrics.underlineThickness * scale_, 1.0) / 2;
            addBar(lineStart, lineStart + advance, centre - half, centre + half);
        }
        if (advance > 0 && (style_ & 8)) {
            double top = baseline - metrics.strikeOutPosition * scale_;
            double thickness = std::max(metrics.strikeOutThickness * scale_, 1.0);
            addBar(lineStart, lineStart + advance, top, top + thickness);
        }
    }
}

uint32_t MirroredCharacter(uint32_t character)
{
    return hb_unicode_mirroring(hb_unicode_funcs_get_default(), character);
}

}  // namespace kvdrw::native
