// Masks, in the one form the flat document can carry: a picture. Only a
// rect (or a path that is an upright rectangle) and an image take a mask,
// and only a mask whose content holds an image has an effect; the masked
// element becomes an image whose alpha is the mask picture's luminance.
// Anything else a mask could hold is beyond a flat document without
// compositing, and the element so masked is dropped rather than drawn
// unmasked.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "base/bitmap.h"
#include "base/numeric.h"
#include "base/safety_limits.h"
#include "base/utf.h"
#include "flatten/flat_images.h"
#include "flatten/paint_and_clip.h"
#include "values/svg_color_names.h"
#include "values/value_kinds.h"
#include "values/value_records.h"

namespace {

// The id inside "url(#id)" (or a bare id): blanks skipped, the closing
// parenthesis and blanks ahead of it dropped. Empty when none is there.
std::u16string ExtractUrlId(std::u16string_view text)
{
    size_t start = 0;
    while (start < text.size() && (text[start] == u' ' || text[start] == u'\t' || text[start] == u'\n' ||
                                   text[start] == u'\r'))
        ++start;
    text.remove_prefix(start);
    static constexpr std::u16string_view kUrl = u"url(#";
    bool isUrl = text.size() >= kUrl.size();
    for (size_t i = 0; isUrl && i < kUrl.size(); ++i) {
        char16_t c = text[i];
        if (c >= u'A' && c <= u'Z')
            c = static_cast<char16_t>(c - u'A' + u'a');
        isUrl = c == kUrl[i];
    }
    if (!isUrl)
        return std::u16string();
    text.remove_prefix(kUrl.size());
    const size_t close = text.rfind(u')');
    if (close == std::u16string_view::npos)
        return std::u16string();
    text = text.substr(0, close);
    while (!text.empty() && (text.back() == u' ' || text.back() == u'\t' || text.back() == u'\n' ||
                             text.back() == u'\r'))
        text.remove_suffix(1);
    return std::u16string(text);
}

// The image a mask shows: an image child, or else the first g and down again.
SvgElementView FindMaskImage(SvgElementView mask)
{
    for (size_t depth = 0; mask && depth < kvlimits::kMaxReferenceChain; ++depth) {
        SvgElementView group;
        for (SvgElementView child = mask.FirstChild(); child; child = child.NextSibling()) {
            if (child.type() == SVG_ELEMENT_IMAGE)
                return child;
            if (!group && child.type() == SVG_ELEMENT_G)
                group = child;
        }
        mask = group;
    }
    return {};
}

double Resolved(SvgLength& length, bool vertical, const CSvgContext& context)
{
    ResolveSvgLength(length, vertical, true, context.fontSize, context.viewportWidth, context.viewportHeight);
    return IsUnsetDouble(length.value) ? 0.0 : length.value;
}

// The mask's picture and where it stands in the masked element's user space.
struct MaskPicture {
    FlatBitmap bitmap;
    SvgMatrix toBox;  // mask picture pixels to user space
};

// Reads the mask named by context.maskId. FAILURE when it holds no usable
// picture: the masked element is then dropped.
int32_t LoadMask(CSvgFlattener& flattener, const CSvgContext& context, MaskPicture& mask)
{
    const SvgElementView maskNode = flattener.FindElementById(context, context.maskId);
    if (!maskNode || maskNode.type() != SVG_ELEMENT_MASK)
        return FAILURE;
    const SvgElementView imageNode = FindMaskImage(maskNode);
    if (!imageNode)
        return FAILURE;
    ScopedRecord<SvgImageElement> record(SVG_ELEMENT_IMAGE);
    if (int32_t status = imageNode.Read(record); status != SUCCESS)
        return status == ERROR_NO_MEMORY ? status : FAILURE;
    SvgImageElement& image = record.get();
    double x = Resolved(image.x, false, context), y = Resolved(image.y, true, context);
    double width = Resolved(image.width, false, context), height = Resolved(image.height, true, context);
    if (int32_t status = LoadBitmapFromHref(flattener, image.href, 32, mask.bitmap.get(), nullptr); status != SUCCESS)
        return status;
    const KvBitmap& picture = mask.bitmap.get();
    FitImageToBox(x, y, width, height, picture.width, picture.height);
    if (width <= 0.05 || height <= 0.05)
        return FAILURE;
    const SvgMatrix place{width / picture.width, 0, 0, height / picture.height, x, y};
    mask.toBox = MultiplySvgMatrix(SvgMatrixFromList(&image.transform), place);
    return SUCCESS;
}

bool Invert(const SvgMatrix& m, SvgMatrix& inverse)
{
    const double det = m.a * m.d - m.b * m.c;
    if (std::fabs(det) < 1e-12)
        return false;
    inverse = SvgMatrix{m.d / det, -m.b / det, -m.c / det, m.a / det, (m.c * m.f - m.d * m.e) / det,
                        (m.b * m.e - m.a * m.f) / det};
    return true;
}

// The side in pixels of a picture made for `length` user units under
// `matrix`: enough for the drawing not to blur, bounded by the limit.
int32_t PictureSide(double length, const SvgMatrix& matrix)
{
    const double scale = std::sqrt(std::fabs(matrix.a * matrix.d - matrix.b * matrix.c));
    const double pixels = std::ceil(length * (scale > 0 ? scale : 1.0));
    return static_cast<int32_t>(std::clamp(pixels, 1.0, static_cast<double>(kvlimits::kMaxMaskPictureSide)));
}

// Fills `out` (32 bits, straight alpha) for the box x, y, width, height of
// user space: each pixel takes `source` (a picture covering the box, or a
// plain colour when null) with its alpha times the mask's luminance there.
int32_t PaintMasked(const MaskPicture& mask, double x, double y, double width, double height, const KvBitmap* source,
                    const uint8_t colour[4], const SvgMatrix& matrix, KvBitmap& out)
{
    const int32_t columns = PictureSide(width, matrix);
    const int32_t rows = PictureSide(height, matrix);
    if (int32_t status = InitBitmap(out, kKvBitmapSize, columns, rows, 32, KV_ORDER_BGR); status != SUCCESS)
        return status;
    if (int32_t status = AllocateBitmap(out); status != SUCCESS)
        return status;
    SvgMatrix toMask;
    if (!Invert(mask.toBox, toMask))
        return SUCCESS;  // a flat mask hides everything: the picture stays clear
    const KvBitmap& maskBitmap = mask.bitmap.get();
    for (int32_t row = 0; row < rows; ++row) {
        uint8_t* pixel = BitmapRow(out, row);
        const double userY = y + (row + 0.5) * height / rows;
        for (int32_t column = 0; column < columns; ++column, pixel += 4) {
            const double userX = x + (column + 0.5) * width / columns;
            const KvPoint at = toMask.Apply(userX, userY);
            const int32_t mx = static_cast<int32_t>(std::floor(at.x));
            const int32_t my = static_cast<int32_t>(std::floor(at.y));
            if (mx < 0 || my < 0 || mx >= maskBitmap.width || my >= maskBitmap.height)
                continue;
            const uint8_t* m = BitmapRow(maskBitmap, my) + 4 * mx;
            // Luminance of the mask's colour (blue, green, red, alpha), times its alpha.
            const double luminance = (0.0722 * m[0] + 0.7152 * m[1] + 0.2126 * m[2]) / 255.0 * (m[3] / 255.0);
            uint8_t bgra[4];
            if (source) {
                const int32_t sx = std::min(source->width - 1, column * source->width / columns);
                const int32_t sy = std::min(source->height - 1, row * source->height / rows);
                std::memcpy(bgra, BitmapRow(*source, sy) + 4 * sx, 4);
            } else {
                std::memcpy(bgra, colour, 4);
            }
            pixel[0] = bgra[0];
            pixel[1] = bgra[1];
            pixel[2] = bgra[2];
            pixel[3] = static_cast<uint8_t>(std::lround(bgra[3] * luminance));
        }
    }
    return SUCCESS;
}

// The fill of a rect as blue, green, red, alpha: a colour keyword, a
// hexadecimal colour or rgb(); anything unresolved is opaque black.
void FillColour(const K_SvgStyleProp& style, uint8_t bgra[4])
{
    const SvgFill& fill = style.paint.fill;
    uint8_t rgb[3] = {0, 0, 0};
    const SvgColor& colour = fill.paint.color;
    if (fill.paint.kind == svgkind::kPaintColor || fill.paint.kind == svgkind::kPaintUnset) {
        if (colour.kind == SVG_COLOR_NAME && colour.text) {
            LookupSvgColorName(colour.text, rgb);
        } else if (colour.kind == SVG_COLOR_HEX && colour.text) {
            const std::u16string_view text(colour.text);
            if (text.size() == 4 || text.size() == 7) {
                auto nibble = [](char16_t c) {
                    if (c >= u'0' && c <= u'9')
                        return c - u'0';
                    if (c >= u'a' && c <= u'f')
                        return c - u'a' + 10;
                    if (c >= u'A' && c <= u'F')
                        return c - u'A' + 10;
                    return 0;
                };
                for (int i = 0; i < 3; ++i) {
                    // A three-digit colour doubles each digit.
                    const int high = nibble(text.size() == 4 ? text[1 + i] : text[1 + 2 * i]);
                    const int low = nibble(text.size() == 4 ? text[1 + i] : text[2 + 2 * i]);
                    rgb[i] = static_cast<uint8_t>(high * 16 + low);
                }
            }
        } else if (colour.kind == SVG_COLOR_RGB) {
            const double channels[3] = {colour.red.value, colour.green.value, colour.blue.value};
            for (int i = 0; i < 3; ++i)
                rgb[i] = IsUnsetDouble(channels[i]) ? 0 : static_cast<uint8_t>(std::clamp(channels[i], 0.0, 255.0));
        }
    }
    const double opacity = IsUnsetDouble(fill.opacity) ? 1.0 : std::clamp(fill.opacity, 0.0, 1.0);
    bgra[0] = rgb[2];
    bgra[1] = rgb[1];
    bgra[2] = rgb[0];
    bgra[3] = static_cast<uint8_t>(std::lround(255 * opacity));
}

}  // namespace

int32_t ReadElementMask(CSvgFlattener&, CSvgContext& context)
{
    const pugi::xml_attribute attribute = context.sourceNode.node().attribute("mask");
    if (!attribute)
        return SUCCESS;  // whatever the parent passed stands
    std::u16string id;
    try {
        id = ExtractUrlId(ToUtf16(attribute.value()));
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (id.empty())
        return SUCCESS;  // not a reference: no mask of its own
    return context.SetMaskId(id.c_str(), IsIdentitySvgMatrix(context.matrix));
}

int32_t ApplyMaskToRect(CSvgFlattener& flattener, CSvgContext& context, SvgRectElement& rect,
                        const SvgMatrix& matrix, bool* maskUsed)
{
    // Whatever happens below, the rect itself is not drawn unmasked.
    *maskUsed = true;
    MaskPicture mask;
    if (int32_t status = LoadMask(flattener, context, mask); status != SUCCESS)
        return status == ERROR_NO_MEMORY ? status : SUCCESS;
    const double x = IsUnsetDouble(rect.x.value) ? 0.0 : rect.x.value;
    const double y = IsUnsetDouble(rect.y.value) ? 0.0 : rect.y.value;
    const double width = IsUnsetDouble(rect.width.value) ? 0.0 : rect.width.value;
    const double height = IsUnsetDouble(rect.height.value) ? 0.0 : rect.height.value;
    if (width <= 0 || height <= 0)
        return SUCCESS;
    uint8_t colour[4];
    FillColour(rect.style, colour);
    FlatBitmap picture;
    if (int32_t status = PaintMasked(mask, x, y, width, height, nullptr, colour, matrix, picture.get());
        status != SUCCESS)
        return status == ERROR_NO_MEMORY ? status : SUCCESS;
    std::u16string href;
    if (int32_t status = EncodePngDataUri(picture.get(), href); status != SUCCESS)
        return status == ERROR_NO_MEMORY ? status : SUCCESS;

    ScopedRecord<SvgImageElement> record(SVG_ELEMENT_IMAGE);
    SvgImageElement& image = record.get();
    if (int32_t status = CopyTrackedText(&image.href, href.c_str()); status != SUCCESS)
        return status;
    // The picture carries the fill; the image keeps the rest of the style.
    std::swap(image.style, rect.style);
    std::swap(image.core, rect.core);
    image.preserveAspectRatio.align = svgkind::kAlignNone;
    return FinishImage(flattener, context, image, matrix, x, y, width, height);
}

int32_t ApplyMaskToImage(CSvgFlattener& flattener, CSvgContext& context, KvBitmap& picture, double x, double y,
                         double width, double height, std::u16string& href, bool* masked)
{
    *masked = false;
    MaskPicture mask;
    if (int32_t status = LoadMask(flattener, context, mask); status != SUCCESS)
        return status == ERROR_NO_MEMORY ? status : SUCCESS;
    if (width <= 0 || height <= 0)
        return SUCCESS;
    FlatBitmap converted;
    const KvBitmap* source = &picture;
    if (picture.bitsPerPixel != 32 || picture.order != KV_ORDER_BGR) {
        if (int32_t status = ConvertBitmap(converted.get(), picture, 32, KV_ORDER_BGR); status != SUCCESS)
            return status == ERROR_NO_MEMORY ? status : SUCCESS;
        source = &converted.get();
    }
    FlatBitmap result;
    const uint8_t unused[4] = {0, 0, 0, 0};
    if (int32_t status = PaintMasked(mask, x, y, width, height, source, unused, context.matrix, result.get());
        status != SUCCESS)
        return status == ERROR_NO_MEMORY ? status : SUCCESS;
    if (int32_t status = EncodePngDataUri(result.get(), href); status != SUCCESS)
        return status == ERROR_NO_MEMORY ? status : SUCCESS;
    *masked = true;
    return SUCCESS;
}
