#include "drawing/native_font.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "base/utf.h"
#include "drawing/text_layout.h"

namespace kvdrw::native {

namespace {

int32_t EncodeUtf16(uint32_t character, char16_t units[2])
{
    if (character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF))
        return 0;
    if (character < 0x10000) {
        units[0] = static_cast<char16_t>(character);
        return 1;
    }
    character -= 0x10000;
    units[0] = static_cast<char16_t>(0xD800 + (character >> 10));
    units[1] = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    return 2;
}

// The ink of shaped glyphs in pixels, y down, the origin on the baseline.
bool InkOf(const std::vector<const FontFace*>& faces, const TextLayout& layout, const std::vector<uint32_t>& glyphs,
           const std::vector<KvPoint>& positions, KvRectangle& box)
{
    double left = std::numeric_limits<double>::infinity(), top = left, right = -left, bottom = -left;
    for (size_t i = 0; i < glyphs.size(); ++i) {
        const double s = layout.ScaleOf(*faces[i]);
        const GlyphOutline* outline = faces[i]->Outline(glyphs[i]);
        if (!outline || !outline->hasInk)
            continue;
        left = std::min(left, positions[i].x + outline->left * s);
        right = std::max(right, positions[i].x + outline->right * s);
        top = std::min(top, -(positions[i].y + outline->top * s));
        bottom = std::max(bottom, -(positions[i].y + outline->bottom * s));
    }
    if (!(right >= left)) {
        box = {0, 0, 0, 0};
        return false;
    }
    box = {left, top, right - left, bottom - top};
    return true;
}

template <class Char>
int32_t CopyName(const std::basic_string<Char>& name, Char* buffer, int32_t size)
{
    if (!buffer || size < 1)
        return ERROR_INV_PARAMETER;
    if (name.size() + 1 > static_cast<size_t>(size)) {
        buffer[0] = 0;
        return ERROR_BUFFER_TOO_SMALL;
    }
    std::copy(name.begin(), name.end(), buffer);
    buffer[name.size()] = 0;
    return SUCCESS;
}

// Pixels as a whole number, held within a quarter of the int32_t range so
// that the sums, differences and negations the metrics are made of stay in
// range too: a font of a million points at 1e300 dots per inch gives large
// numbers, not an overflow. NaN counts as 0.
int32_t WholePixels(double pixels)
{
    constexpr double kLimit = double(1 << 29);
    if (std::isnan(pixels))
        return 0;
    return static_cast<int32_t>(std::lround(std::clamp(pixels, -kLimit, kLimit)));
}

}  // namespace

int32_t NativeFont::GetFamilyNameNarrow(char* buffer, int32_t size)
{
    return CopyName(face_.familyName(), buffer, size);
}

int32_t NativeFont::GetFamilyName(char16_t* buffer, int32_t size)
{
    try {
        return CopyName(ToUtf16(face_.familyName()), buffer, size);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

double NativeFont::GetHeight(double resolutionDpi)
{
    return EmPixels(resolutionDpi >= 1.0 ? resolutionDpi : 96.0);
}

void NativeFont::FillMetrics(kvdrw::FontMetrics& metrics, double resolutionDpi) const
{
    const FaceMetrics& m = face_.metrics();
    const double em = EmPixels(resolutionDpi);
    const double s = em / m.unitsPerEm;
    const int32_t ascent = WholePixels(m.ascent * s);
    const int32_t height = WholePixels((m.ascent + m.descent) * s);
    const int32_t descent = height - ascent;
    const int32_t internalLeading = height - WholePixels(em);
    metrics.values[kvdrw::kMetricHeight] = height;
    metrics.values[kvdrw::kMetricAscent] = ascent;
    metrics.values[kvdrw::kMetricDescent] = descent;
    metrics.values[kvdrw::kMetricInternalLeading] = internalLeading;
    // Lines start at their ascent: nothing is kept above it.
    metrics.values[kvdrw::kMetricTopLeading] = 0;
    metrics.values[kvdrw::kMetricEmAscent] = ascent - internalLeading;
    metrics.values[kvdrw::kMetricNegativeDescent] = -descent;
    metrics.values[kvdrw::kMetricMaxAdvance] = WholePixels(m.maxAdvance * s);
}

kvdrw::FontMetrics* NativeFont::GetMetrics(kvdrw::FontMetrics* metrics, kvdrw::Engine* engine, double resolutionDpi)
{
    if (!metrics)
        return nullptr;
    FillMetrics(*metrics, resolutionDpi >= 1.0 ? resolutionDpi : ResolutionOf(engine));
    return metrics;
}

int32_t NativeFont::MeasureGlyphRun(kvdrw::Engine* engine, const char16_t* text, int32_t length, double* advances)
{
    if (length <= 0)
        return SUCCESS;
    if (!text || !advances)
        return ERROR_INV_PARAMETER;
    try {
        TextLayout layout(face_, EmPixels(ResolutionOf(engine)), style_, 0);
        std::vector<double> unitAdvances;
        layout.UnitAdvances(text, length, unitAdvances);
        std::copy(unitAdvances.begin(), unitAdvances.end(), advances);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t NativeFont::MeasureCellWidths(kvdrw::Engine* engine, uint32_t firstChar, uint32_t lastChar, int32_t* widths,
                                      int32_t capacity)
{
    if (!widths)
        return ERROR_INV_PARAMETER;
    if (lastChar < firstChar)
        return ERROR_INV_PARAMETER;
    try {
        TextLayout layout(face_, EmPixels(ResolutionOf(engine)), style_, 0);
        std::vector<uint32_t> glyphs;
        std::vector<KvPoint> positions;
        std::vector<const FontFace*> faces;
        int32_t slot = 0;
        for (uint64_t c = firstChar; c <= lastChar && slot < capacity; ++c, ++slot) {
            char16_t units[2];
            int32_t count = EncodeUtf16(static_cast<uint32_t>(c), units);
            double advance = 0;
            layout.Shape(units, count, glyphs, positions, advance, &faces);
            KvRectangle ink{};
            const int32_t total = WholePixels(advance);
            int32_t before = 0, inkWidth = 0;
            if (InkOf(faces, layout, glyphs, positions, ink)) {
                before = WholePixels(ink.x);
                inkWidth = WholePixels(ink.x + ink.width) - before;
            }
            widths[slot * 3] = before;
            widths[slot * 3 + 1] = inkWidth;
            widths[slot * 3 + 2] = total - before - inkWidth;
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t NativeFont::MeasureCell(kvdrw::Engine*, char16_t* text, int32_t length)
{
    if (length <= 0)
        return SUCCESS;
    if (!text)
        return ERROR_INV_PARAMETER;
    for (int32_t i = 0; i < length; ++i) {
        uint32_t mirrored = MirroredCharacter(text[i]);
        if (mirrored < 0x10000 && (mirrored < 0xD800 || mirrored > 0xDFFF))
            text[i] = static_cast<char16_t>(mirrored);
    }
    return SUCCESS;
}

int32_t NativeFont::MeasureGlyphs(kvdrw::Engine* engine, const char16_t* text, int32_t length, uint32_t* glyphs,
                                  int32_t capacity, int32_t* count)
{
    if (!count || (length > 0 && !text))
        return ERROR_INV_PARAMETER;
    try {
        TextLayout layout(face_, EmPixels(ResolutionOf(engine)), style_, 0);
        std::vector<uint32_t> shaped;
        std::vector<KvPoint> positions;
        double advance = 0;
        layout.Shape(text, length, shaped, positions, advance);
        *count = static_cast<int32_t>(shaped.size());
        if (shaped.size() > static_cast<size_t>(std::max(capacity, 0)) || (!glyphs && !shaped.empty()))
            return ERROR_BUFFER_TOO_SMALL;
        std::copy(shaped.begin(), shaped.end(), glyphs);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t NativeFont::MeasureExtents(kvdrw::Engine* engine, const char16_t* text, int32_t length, KvRectangle* inkBox)
{
    if (!inkBox || (length > 0 && !text))
        return ERROR_INV_PARAMETER;
    try {
        TextLayout layout(face_, EmPixels(ResolutionOf(engine)), style_, 0);
        std::vector<uint32_t> glyphs;
        std::vector<KvPoint> positions;
        std::vector<const FontFace*> faces;
        double advance = 0;
        layout.Shape(text, length, glyphs, positions, advance, &faces);
        InkOf(faces, layout, glyphs, positions, *inkBox);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t NativeFont::MeasureBox(kvdrw::Engine* engine, uint32_t character, KvRectangle* inkBox)
{
    char16_t units[2];
    int32_t count = EncodeUtf16(character, units);
    if (!count)
        return ERROR_INV_PARAMETER;
    return MeasureExtents(engine, units, count, inkBox);
}

int32_t NativeFont::MeasureLine(kvdrw::Engine* engine, double* underlineOffset, double* underlineThickness,
                                double* strikeOutOffset, double* strikeOutThickness)
{
    if (!underlineOffset || !underlineThickness || !strikeOutOffset || !strikeOutThickness)
        return ERROR_INV_PARAMETER;
    const FaceMetrics& m = face_.metrics();
    const double s = EmPixels(ResolutionOf(engine)) / m.unitsPerEm;
    *underlineOffset = -m.underlinePosition * s;
    *underlineThickness = m.underlineThickness * s;
    *strikeOutOffset = -m.strikeOutPosition * s;
    *strikeOutThickness = m.strikeOutThickness * s;
    return SUCCESS;
}

}  // namespace kvdrw::native
