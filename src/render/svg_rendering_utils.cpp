#include "render/svg_rendering_utils.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "base/bitmap.h"
#include "base/geometry.h"
#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "codecs/codecs.h"
#include "document/svg_data_uri.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_view.h"
#include "values/svg_color_names.h"
#include "values/value_kinds.h"

namespace {


double OrOne(double value)
{
    return IsUnsetDouble(value) ? 1.0 : value;
}

double OrZero(double value)
{
    return IsUnsetDouble(value) ? 0.0 : value;
}

double LengthOrZero(const SvgLength& length)
{
    return OrZero(length.value);
}

// A number as a colour channel: truncated, and kept inside a byte instead of
// wrapping (a channel of 300 is full, not 44).
uint8_t ChannelByte(double value)
{
    if (!(value > 0.0))
        return 0;
    if (value >= 255.0)
        return 255;
    return static_cast<uint8_t>(value);
}

int HexDigit(char16_t c)
{
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    return -1;
}

// The opacity a fill draws with: none at all when fill-opacity is 0, else the
// element's opacity when set, else fill-opacity.
double FillOpacity(const K_SvgStyleProp& style)
{
    const double fillOpacity = style.paint.fill.opacity;
    if (!IsUnsetDouble(fillOpacity) && fillOpacity == 0.0)
        return 0.0;
    if (!IsUnsetDouble(style.opacity))
        return style.opacity;
    return fillOpacity;
}

template <class T>
void DeleteObject(kvdrw::Engine* engine, T** object)
{
    if (*object && engine)
        engine->DeleteObject(*object);
    *object = nullptr;
}

// Gives a path back to its engine when the owner goes.
class ScopedPath {
public:
    explicit ScopedPath(kvdrw::Engine* engine) : engine_(engine) {}
    ~ScopedPath() { DeleteObject(engine_, &path_); }
    ScopedPath(const ScopedPath&) = delete;
    ScopedPath& operator=(const ScopedPath&) = delete;
    kvdrw::GraphicsPath** out() { return &path_; }
    kvdrw::GraphicsPath* get() const { return path_; }

private:
    kvdrw::Engine* engine_;
    kvdrw::GraphicsPath* path_ = nullptr;
};

template <class T>
class ScopedObject {
public:
    explicit ScopedObject(kvdrw::Engine* engine) : engine_(engine) {}
    ~ScopedObject() { DeleteObject(engine_, &object_); }
    ScopedObject(const ScopedObject&) = delete;
    ScopedObject& operator=(const ScopedObject&) = delete;
    T** out() { return &object_; }
    T* get() const { return object_; }

private:
    kvdrw::Engine* engine_;
    T* object_ = nullptr;
};

// The first element of the document named `name` whose id is `id`: the
// document-order search the XPath "//name[@id='id']" makes, without building
// a query from text the document chose.
pugi::xml_node FindElementWithId(SvgDocumentHandler& document, const char* name, std::string_view id)
{
    return document.tree().find_node([&](pugi::xml_node node) {
        if (node.type() != pugi::node_element)
            return false;
        std::string_view nodeName = node.name();
        if (nodeName.starts_with("svg:"))
            nodeName.remove_prefix(4);
        return nodeName == name && id == node.attribute("id").value();
    });
}

}  // namespace

int32_t ResolveColor(const SvgColor& value, double opacity, kvdrw::Color& color)
{
    opacity = OrOne(opacity);
    if (opacity > 1.0 || opacity < 0.0)
        return SUCCESS;
    switch (value.kind) {
    case SVG_COLOR_NAME: {
        if (!value.text) {
            color = kvdrw::Color{0, 0, 0, 0};
            return SUCCESS;
        }
        uint8_t rgb[3];
        if (LookupSvgColorName(value.text, rgb))
            color = kvdrw::Color{static_cast<uint8_t>(255 * opacity), rgb[0], rgb[1], rgb[2]};
        return SUCCESS;
    }
    case SVG_COLOR_HEX: {
        if (!value.text)
            return FAILURE;
        const std::u16string_view text(value.text);
        if (text.empty() || text[0] != u'#' || (text.size() != 7 && text.size() != 4))
            return FAILURE;
        char16_t digits[6];
        for (size_t i = 0; i < 6; ++i)
            digits[i] = text.size() == 4 ? text[1 + i / 2] : text[1 + i];
        uint32_t rgb = 0;
        for (char16_t digit : digits) {
            const int nibble = HexDigit(digit);
            if (nibble < 0)
                return FAILURE;
            rgb = rgb * 16 + static_cast<uint32_t>(nibble);
        }
        color.alpha = static_cast<uint8_t>(opacity * 255.0);
        color.red = static_cast<uint8_t>(rgb >> 16);
        color.green = static_cast<uint8_t>(rgb >> 8);
        color.blue = static_cast<uint8_t>(rgb);
        return SUCCESS;
    }
    case SVG_COLOR_RGB:
        if (IsUnsetDouble(value.red.value) || IsUnsetDouble(value.green.value) || IsUnsetDouble(value.blue.value)) {
            color = kvdrw::Color{255, 0, 0, 0};
            return SUCCESS;
        }
        color.alpha = static_cast<uint8_t>(opacity * 255.0);
        color.red = ChannelByte(value.red.value);
        color.green = ChannelByte(value.green.value);
        color.blue = ChannelByte(value.blue.value);
        return SUCCESS;
    default:
        return SUCCESS;
    }
}

int32_t ContainsRightToLeftText(const char16_t* text, int32_t length)
{
    static const struct {
        char16_t first, last;
    } kRanges[] = {
        {0x5BE, 0x5BE}, {0x5C0, 0x5C0}, {0x5C3, 0x5C3}, {0x5D0, 0x5EA}, {0x5F0, 0x5F4}, {0x61B, 0x61B},
        {0x61F, 0x61F}, {0x621, 0x63A}, {0x640, 0x64A}, {0x66D, 0x66F}, {0x671, 0x6D5}, {0x6DD, 0x6DD},
        {0x6E5, 0x6E6}, {0x6FA, 0x6FE}, {0x700, 0x70D}, {0x710, 0x710}, {0x712, 0x72C},
    };
    for (int32_t i = 0; text && i < length; ++i) {
        for (const auto& range : kRanges) {
            if (text[i] >= range.first && text[i] <= range.last)
                return 1;
        }
    }
    return 0;
}

// ---- Brushes and pens --------------------------------------------------------------

int32_t SvgRenderingUtils::PrepareSolidBrush(const K_SvgStyleProp& style, kvdrw::SolidBrush** brush)
{
    if (!brush)
        return ERROR_INV_PARAMETER;
    const double opacity = FillOpacity(style);
    const SvgColor* source = nullptr;
    SvgColor black{};
    switch (style.paint.fill.paint.kind) {
    case svgkind::kPaintUnset:
        black.size = kSvgColorSize;
        black.kind = SVG_COLOR_RGB;
        black.red.value = black.green.value = black.blue.value = 0.0;
        source = &black;
        break;
    case svgkind::kPaintCurrentColor: source = &style.colorValue.color.color; break;
    case svgkind::kPaintColor: source = &style.paint.fill.paint.color; break;
    default: DeleteObject(engine_, brush); return SUCCESS;
    }
    if (!engine_)
        return FAILURE;
    kvdrw::Color color{255, 0, 0, 0};
    if (int32_t status = ResolveColor(*source, opacity, color); status != SUCCESS) {
        DeleteObject(engine_, brush);
        return status;
    }
    if (*brush)
        return (*brush)->SetColor(&color);
    return engine_->CreateSolidBrush(brush, &color);
}

int32_t SvgRenderingUtils::BuildGradientBrush(const K_SvgStyleProp& style, kvdrw::LinearGradientBrush** brush)
{
    if (!brush)
        return ERROR_INV_PARAMETER;
    DeleteObject(engine_, brush);
    if (!engine_ || !document_)
        return FAILURE;
    const KvChar* id = style.paint.fill.paint.color.text;
    if (!id)
        return SUCCESS;
    const std::string key = ToUtf8(id);
    pugi::xml_node gradient = FindElementWithId(*document_, "linearGradient", key);
    const bool radial = !gradient && fullPaint();
    if (radial)
        gradient = FindElementWithId(*document_, "radialGradient", key);
    if (!gradient)
        return SUCCESS;
    const SvgElementView gradientView(*document_, gradient);
    ScopedRecord<SvgLinearGradientElement> record(SVG_ELEMENT_LINEARGRADIENT);
    if (!radial) {
        if (int32_t status = gradientView.Read(record); status != SUCCESS)
            return status;
    }

    // The stops are read into records that live until the brush is made.
    std::vector<std::unique_ptr<ScopedRecord<SvgStopElement>>> records;
    std::vector<const SvgStopElement*> stops;
    try {
        for (SvgElementView child = gradientView.FirstChild(); child; child = child.NextSibling()) {
            if (child.type() != SVG_ELEMENT_STOP)
                continue;
            auto stop = std::make_unique<ScopedRecord<SvgStopElement>>(SVG_ELEMENT_STOP);
            if (int32_t status = child.Read(*stop); status != SUCCESS)
                return status;
            stops.push_back(&stop->get());
            records.push_back(std::move(stop));
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (radial)
        return BuildRadialBrushFromStops(stops.data(), stops.size(), brush);
    return BuildGradientBrushFromStops(record.get(), stops.data(), stops.size(), brush);
}

int32_t SvgRenderingUtils::BuildRadialBrushFromStops(const SvgStopElement* const* stops, size_t count,
                                                     kvdrw::LinearGradientBrush** brush)
{
    DeleteObject(engine_, brush);
    if (!engine_)
        return FAILURE;
    if (count == 0)
        return SUCCESS;
    double sum[4] = {0, 0, 0, 0};
    for (size_t i = 0; i < count; ++i) {
        kvdrw::Color color{255, 0, 0, 0};
        ResolveColor(stops[i]->style.stop.stopColor.color, stops[i]->style.stop.stopOpacity, color);
        sum[0] += color.alpha;
        sum[1] += color.red;
        sum[2] += color.green;
        sum[3] += color.blue;
    }
    const auto mean = [&](int i) { return static_cast<uint8_t>(sum[i] / static_cast<double>(count) + 0.5); };
    const kvdrw::Color color{mean(0), mean(1), mean(2), mean(3)};
    const kvdrw::Point from{0, 0}, to{1, 0};
    return engine_->CreateGradientBrushFromPoints(brush, &from, &to, &color, &color);
}

int32_t SvgRenderingUtils::BuildGradientBrushFromStops(const SvgLinearGradientElement& linear,
                                                       const SvgStopElement* const* stops, size_t count,
                                                       kvdrw::LinearGradientBrush** brush)
{
    if (!brush)
        return ERROR_INV_PARAMETER;
    DeleteObject(engine_, brush);
    if (!engine_)
        return FAILURE;
    std::vector<kvdrw::Color> colors;
    std::vector<double> offsets;
    try {
        for (size_t i = 0; i < count; ++i) {
            const SvgStopElement& stop = *stops[i];
            kvdrw::Color color{255, 0, 0, 0};
            ResolveColor(stop.style.stop.stopColor.color, stop.style.stop.stopOpacity, color);
            double offset = OrZero(stop.offset.value);
            if (fullPaint()) {
                // Fractions in order: a percentage is of 100, and no stop
                // stands before the one ahead of it.
                if (stop.offset.percent)
                    offset /= 100.0;
                offset = std::clamp(offset, offsets.empty() ? 0.0 : offsets.back(), 1.0);
            }
            if (colors.empty() && offset != 0.0) {
                colors.push_back(color);
                offsets.push_back(0.0);
            }
            colors.push_back(color);
            offsets.push_back(offset);
        }
        if (colors.empty())
            return SUCCESS;
        if (offsets.back() != 1.0) {
            colors.push_back(colors.back());
            offsets.push_back(1.0);
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    const double x1 = LengthOrZero(linear.x1), y1 = LengthOrZero(linear.y1);
    const double x2 = LengthOrZero(linear.x2), y2 = LengthOrZero(linear.y2);
    if (fullPaint()) {
        // Every stop, and the gradient's whole matrix: the gradient vector
        // goes to device space so that lines of one colour stay where the
        // matrix puts them, also under a scale that differs along x and y.
        const KvMatrix matrix = BuildTransformMatrix(&linear.gradientTransform);
        KvPoint start{x1, y1};
        MatrixTransformPoints(matrix, &start, 1);
        const double dx = x2 - x1, dy = y2 - y1;
        const double lengthSquared = dx * dx + dy * dy;
        const double det = matrix.m11 * matrix.m22 - matrix.m12 * matrix.m21;
        KvPoint end = start;
        if (lengthSquared > 0.0 && det != 0.0) {
            // The gradient of t in device space is M^-T d / |d|^2.
            const double gx = (matrix.m22 * dx - matrix.m21 * dy) / det / lengthSquared;
            const double gy = (-matrix.m12 * dx + matrix.m11 * dy) / det / lengthSquared;
            const double g2 = gx * gx + gy * gy;
            if (g2 > 0.0)
                end = KvPoint{start.x + gx / g2, start.y + gy / g2};
        }
        const kvdrw::Point points[2] = {start, end};
        return engine_->CreateGradientBrushFromStops(brush, points, colors.data(), offsets.data(),
                                                     static_cast<int32_t>(colors.size()));
    }
    // Two colours reach the engine, the first and the second: gradients draw
    // with their first two stops.
    const kvdrw::Color first = colors[0];
    const kvdrw::Color second = colors.size() > 1 ? colors[1] : colors[0];
    const SvgTransformList& list = linear.gradientTransform;
    if (list.count > 0 && list.items[0].type == SVG_TRANSFORM_ROTATE) {
        const KvRectangle box = RectFromEdges(x1, y1, x2, y2);
        return engine_->CreateGradientBrushFromRect(brush, &box, &first, &second, OrZero(list.items[0].a));
    }
    const kvdrw::Point from{x1, y1}, to{x2, y2};
    return engine_->CreateGradientBrushFromPoints(brush, &from, &to, &first, &second);
}

int32_t SvgRenderingUtils::PrepareStrokePen(const K_SvgStyleProp& style, kvdrw::Pen** pen)
{
    if (!pen)
        return ERROR_INV_PARAMETER;
    const SvgStroke& stroke = style.paint.stroke;
    const SvgColor* source = nullptr;
    if (stroke.paint.kind == svgkind::kPaintCurrentColor)
        source = &style.colorValue.color.color;
    else if (stroke.paint.kind == svgkind::kPaintColor)
        source = &stroke.paint.color;
    if (!source) {
        DeleteObject(engine_, pen);
        return SUCCESS;
    }
    if (!engine_)
        return FAILURE;
    const double opacity = !IsUnsetDouble(style.opacity)          ? style.opacity
                           : !IsUnsetDouble(stroke.opacity)        ? stroke.opacity
                                                                   : 1.0;
    kvdrw::Color color{255, 0, 0, 0};
    const int32_t colorStatus = ResolveColor(*source, opacity, color);
    double width = IsUnsetDouble(stroke.width.value) ? 1.0 : stroke.width.value;

    double pattern[64];
    int32_t patternCount = 0;
    const SvgDashArray& dashes = stroke.dashArray;
    if (dashes.kind == 2 && dashes.values && dashes.count >= 2 && dashes.count % 2 == 0) {
        uint32_t positive = 0;
        for (uint32_t i = 0; i < dashes.count; ++i)
            positive += dashes.values[i].value > 0.0 ? 1 : 0;
        if (positive > 1 && dashes.values[0].value != 0.0 && dashes.values[1].value != 0.0) {
            for (uint32_t i = 0; i < dashes.count && patternCount < 64; ++i) {
                if (dashes.values[i].value == 0.0)
                    break;
                pattern[patternCount++] = dashes.values[i].value;
            }
        }
    }
    const int32_t dashStyle = patternCount > 0 ? kvdrw::kDashCustom : kvdrw::kDashSolid;
    if ((flags_ & kRenderThickenHairlines) && width > 0.0 && width <= 1.9)
        width = std::ceil(width + 0.1);
    if (width == 0.0) {
        DeleteObject(engine_, pen);
        return SUCCESS;
    }
    const int32_t cap = stroke.lineCap == 2 ? kvdrw::kCapRound : stroke.lineCap == 3 ? kvdrw::kCapSquare : kvdrw::kCapButt;
    const int32_t join =
        stroke.lineJoin == 2 ? kvdrw::kJoinRound : stroke.lineJoin == 3 ? kvdrw::kJoinBevel : kvdrw::kJoinMiter;
    int32_t status = SUCCESS;
    if (!*pen) {
        status = engine_->CreatePen(pen, &color, width, dashStyle);
    } else {
        status = (*pen)->SetColor(&color);
        if (status == SUCCESS && (*pen)->GetWidth() != width)
            status = (*pen)->SetWidth(width);
        if (status == SUCCESS && (*pen)->GetDashStyle() != dashStyle)
            status = (*pen)->SetDashStyle(dashStyle);
    }
    if (status != SUCCESS) {
        DeleteObject(engine_, pen);
        return status;
    }
    if (patternCount > 0) {
        // The engine takes dashes in multiples of the pen width; the document
        // gives them in user units.
        for (int32_t i = 0; i < patternCount; ++i)
            pattern[i] /= width;
        (*pen)->SetDashPattern(pattern, patternCount);
    }
    (*pen)->SetLineCap(cap);
    (*pen)->SetLineJoin(join);
    return colorStatus;
}

int32_t SvgRenderingUtils::PrepareStringFormat(const K_SvgStyleProp& style, kvdrw::StringFormat** format)
{
    if (!format)
        return ERROR_INV_PARAMETER;
    if (!engine_)
        return FAILURE;
    const SvgTextAttributes& text = style.text;
    const uint32_t anchor = text.anchor.textAnchor;
    const int32_t alignment = anchor == 2 ? kvdrw::kAlignCenter : anchor == 3 ? kvdrw::kAlignFar : kvdrw::kAlignNear;
    const uint32_t baseline = text.anchor.baseline.dominantBaseline;
    const int32_t lineAlignment = baseline == 12 ? kvdrw::kAlignCenter : baseline == 14 ? kvdrw::kAlignFar : kvdrw::kAlignNear;
    int32_t flags = 0;
    if (text.writingMode == svgkind::kWritingModeTb)
        flags |= kvdrw::kFormatVertical;
    if (text.direction.direction == 2)
        flags |= kvdrw::kFormatRightToLeft;
    if (!*format)
        return engine_->CreateStringFormat(format, alignment, lineAlignment, flags);
    int32_t status = SUCCESS;
    if ((*format)->GetFormatFlags() != flags)
        status = (*format)->SetFormatFlags(flags);
    if (status == SUCCESS && (*format)->GetAlignment() != alignment)
        status = (*format)->SetAlignment(alignment);
    if (status == SUCCESS && (*format)->GetLineAlignment() != lineAlignment)
        status = (*format)->SetLineAlignment(lineAlignment);
    if (status != SUCCESS)
        DeleteObject(engine_, format);
    return status;
}

int32_t SvgRenderingUtils::BuildFont(const K_SvgStyleProp& style, kvdrw::Font** font)
{
    if (!font)
        return ERROR_INV_PARAMETER;
    if (!engine_)
        return FAILURE;
    const SvgFontAttributes& attributes = style.text.font;
    std::u16string family = u"Arial";
    try {
        if (attributes.fontFamily && attributes.fontFamily[0]) {
            // The first name of the list counts, without blanks or quotes.
            std::u16string_view list(attributes.fontFamily);
            std::u16string_view first = list.substr(0, list.find(u','));
            while (!first.empty() && (first.front() == u' ' || first.front() == u'\'' || first.front() == u'"'))
                first.remove_prefix(1);
            while (!first.empty() && (first.back() == u' ' || first.back() == u'\'' || first.back() == u'"'))
                first.remove_suffix(1);
            if (!first.empty())
                family = first == u"sans-serif" ? std::u16string(u"sansserif") : std::u16string(first.substr(0, 259));
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    double size = attributes.fontSize.length.value;
    if (IsUnsetDouble(size) || size < 0.0)
        size = 12.0;
    else if (size == 0.0)
        size = 1.0;
    const double resolution = engine_->GetResolution();
    const double engineSize = size * -72.0 / (resolution > 0.0 ? resolution : 96.0);
    int32_t fontStyle = 0;
    if (attributes.fontStyle == 2)
        fontStyle |= kvdrw::kFontItalic;
    if (style.text.textDecoration & SVG_TEXT_DECORATION_LINE_THROUGH)
        fontStyle |= kvdrw::kFontStrikeOut;
    if (style.text.textDecoration & SVG_TEXT_DECORATION_UNDERLINE)
        fontStyle |= kvdrw::kFontUnderline;
    if (attributes.fontWeight == 2 || attributes.fontWeight == 3 || attributes.fontWeight > 9)
        fontStyle |= kvdrw::kFontBold;
    DeleteObject(engine_, font);
    return engine_->CreateFont(font, 0, family.c_str(), engineSize, fontStyle);
}

// ---- Paths --------------------------------------------------------------------------

int32_t SvgRenderingUtils::BuildPath(const SvgPathData& data, int32_t fillMode, kvdrw::GraphicsPath** out)
{
    if (!out)
        return ERROR_INV_PARAMETER;
    *out = nullptr;
    if (!engine_)
        return FAILURE;
    ScopedPath path(engine_);
    if (int32_t status = engine_->CreatePath(path.out()); status != SUCCESS)
        return status;
    kvdrw::GraphicsPath& p = *path.get();
    if (int32_t status = p.SetFillMode(fillMode); status != SUCCESS)
        return status;
    KvPoint cur{0, 0}, start{0, 0}, ctrl{0, 0}, smoothEnd{0, 0};
    for (uint32_t i = 0; i < data.count; ++i) {
        const SvgPathSegment& segment = data.items[i];
        const bool relative = segment.relative != 0;
        const auto at = [&](double x, double y) {
            return relative ? KvPoint{cur.x + OrZero(x), cur.y + OrZero(y)} : KvPoint{OrZero(x), OrZero(y)};
        };
        int32_t status = SUCCESS;
        switch (segment.type) {
        case SVG_SEGMENT_MOVE: {
            status = p.StartFigure();
            cur = start = ctrl = smoothEnd = at(segment.payload.move.x, segment.payload.move.y);
            break;
        }
        case SVG_SEGMENT_CLOSE:
            status = p.CloseFigure();
            cur = start;
            break;
        case SVG_SEGMENT_LINE: {
            const SvgPathLine& line = segment.payload.line;
            KvPoint next;
            if (line.horizontal == 1)
                next = {relative ? cur.x + OrZero(line.x) : OrZero(line.x), cur.y};
            else if (line.vertical == 1)
                next = {cur.x, relative ? cur.y + OrZero(line.y) : OrZero(line.y)};
            else
                next = at(line.x, line.y);
            status = p.AddLine(cur, next);
            cur = ctrl = smoothEnd = next;
            break;
        }
        case SVG_SEGMENT_CUBIC: {
            const SvgPathCubic& cubic = segment.payload.cubic;
            const KvPoint c1 = cubic.smooth == 1 ? KvPoint{2 * cur.x - smoothEnd.x, 2 * cur.y - smoothEnd.y}
                                                  : at(cubic.x1, cubic.y1);
            const KvPoint c2 = at(cubic.x2, cubic.y2);
            const KvPoint end = at(cubic.x, cubic.y);
            status = p.AddBezier(cur, c1, c2, end);
            smoothEnd = c2;
            cur = end;
            break;
        }
        case SVG_SEGMENT_QUADRATIC: {
            const SvgPathQuadratic& quadratic = segment.payload.quadratic;
            const KvPoint q = quadratic.smooth == 1 ? KvPoint{2 * cur.x - ctrl.x, 2 * cur.y - ctrl.y}
                                                     : at(quadratic.x1, quadratic.y1);
            const KvPoint end = at(quadratic.x, quadratic.y);
            const KvPoint c1{cur.x + 2 * (q.x - cur.x) / 3, cur.y + 2 * (q.y - cur.y) / 3};
            const KvPoint c2{q.x + (end.x - q.x) / 3, q.y + (end.y - q.y) / 3};
            status = p.AddBezier(cur, c1, c2, end);
            // The raised control point is kept, so a following smooth
            // quadratic reflects it rather than the quadratic's own.
            ctrl = c2;
            cur = end;
            break;
        }
        case SVG_SEGMENT_ARC: {
            const SvgPathArc& arc = segment.payload.arc;
            const KvPoint end = at(arc.x, arc.y);
            double rx = std::fabs(OrZero(arc.rx)), ry = std::fabs(OrZero(arc.ry));
            if (rx == 0.0 || ry == 0.0) {
                status = p.AddLine(cur, end);
                cur = end;
                break;
            }
            // Into [0, 360) by remainder: stepping by whole turns never ends
            // for a rotation of 1e100, where a turn is below the rounding.
            double rotation = OrZero(arc.rotationDegrees);
            rotation = std::isfinite(rotation) ? std::fmod(rotation, 360.0) : 0.0;
            if (rotation < 0.0)
                rotation += 360.0;
            if (rotation >= 360.0)
                rotation = 0.0;
            const double phi = rotation * 0.017453292519943295;
            const double cosPhi = std::cos(phi), sinPhi = std::sin(phi);
            const double hx = (cur.x - end.x) / 2, hy = (cur.y - end.y) / 2;
            const double x1p = cosPhi * hx + sinPhi * hy;
            const double y1p = -sinPhi * hx + cosPhi * hy;
            const double ratio = (x1p * x1p) / (rx * rx) + (y1p * y1p) / (ry * ry);
            if (ratio > 1.0) {
                rx *= std::sqrt(ratio);
                ry *= std::sqrt(ratio);
            }
            const double sign = (arc.largeArc == 1) == (arc.sweep == 1) ? -1.0 : 1.0;
            const double numerator = rx * rx * ry * ry - rx * rx * y1p * y1p - ry * ry * x1p * x1p;
            const double denominator = rx * rx * y1p * y1p + ry * ry * x1p * x1p;
            double root = denominator > 0.0 ? numerator / denominator : 0.0;
            if (root < 0.0)
                root = 0.0;
            const double coefficient = sign * std::sqrt(root);
            const double cxp = coefficient * rx * y1p / ry;
            const double cyp = -coefficient * ry * x1p / rx;
            const double cx = cosPhi * cxp - sinPhi * cyp + (cur.x + end.x) / 2;
            const double cy = sinPhi * cxp + cosPhi * cyp + (cur.y + end.y) / 2;
            const auto angleBetween = [](double ux, double uy, double vx, double vy) {
                const double length = std::hypot(ux, uy) * std::hypot(vx, vy);
                double cosine = length > 0.0 ? (ux * vx + uy * vy) / length : 1.0;
                cosine = std::clamp(cosine, -1.0, 1.0);
                double degrees = std::acos(cosine) / 0.017453292519943295;
                if (ux * vy - uy * vx < -0.005)
                    degrees = -degrees;
                return degrees;
            };
            const double ux = (x1p - cxp) / rx, uy = (y1p - cyp) / ry;
            const double vx = (-x1p - cxp) / rx, vy = (-y1p - cyp) / ry;
            double startAngle = std::acos(std::clamp(ux / std::max(std::hypot(ux, uy), 1e-300), -1.0, 1.0)) /
                                0.017453292519943295;
            if (uy < 0.0)
                startAngle = -startAngle;
            while (startAngle < 0.0)
                startAngle += 360.0;
            while (startAngle >= 360.0)
                startAngle -= 360.0;
            double sweep = angleBetween(ux, uy, vx, vy);
            if (arc.sweep != 1 && sweep > 0.0)
                sweep -= 360.0;
            else if (arc.sweep == 1 && sweep < 0.0)
                sweep += 360.0;
            sweep = std::fmod(sweep, 360.0);
            // The ellipse's rotation found the centre and goes no further.
            status = p.AddArc(cx - rx, cy - ry, 2 * rx, 2 * ry, startAngle, sweep);
            cur = ctrl = smoothEnd = end;
            break;
        }
        default: break;
        }
        if (status != SUCCESS)
            return status;
    }
    *out = *path.out();
    *path.out() = nullptr;
    return SUCCESS;
}

// ---- Matrices -----------------------------------------------------------------------

KvMatrix BuildTransformMatrix(const SvgTransformList* list)
{
    KvMatrix matrix = MatrixIdentity();
    if (!list || !list->items)
        return matrix;
    for (uint32_t i = list->count; i-- > 0;) {
        const SvgTransform& item = list->items[i];
        switch (item.type) {
        case SVG_TRANSFORM_TRANSLATE: MatrixTranslate(matrix, OrZero(item.a), OrZero(item.b)); break;
        case SVG_TRANSFORM_SCALE: MatrixScale(matrix, OrZero(item.a), OrZero(item.b)); break;
        case SVG_TRANSFORM_ROTATE: MatrixRotateAt(matrix, OrZero(item.a), OrZero(item.b), OrZero(item.c)); break;
        case SVG_TRANSFORM_SKEWX: MatrixSkew(matrix, OrZero(item.a), 0.0); break;
        case SVG_TRANSFORM_SKEWY: MatrixSkew(matrix, 0.0, OrZero(item.a)); break;
        case SVG_TRANSFORM_MATRIX:
            MatrixPrepend(matrix, MatrixSet(OrZero(item.a), OrZero(item.b), OrZero(item.c), OrZero(item.d),
                                            OrZero(item.e), OrZero(item.f)));
            break;
        default: break;
        }
    }
    return matrix;
}

KvMatrix BuildViewBoxMatrix(const SvgLength& width, const SvgLength& height, const SvgViewBox& viewBox,
                            const SvgPreserveAspectRatio& ratio)
{
    KvMatrix matrix = MatrixIdentity();
    if (IsUnsetDouble(width.value) || IsUnsetDouble(height.value) || IsUnsetDouble(viewBox.x) ||
        IsUnsetDouble(viewBox.y) || IsUnsetDouble(viewBox.width) || IsUnsetDouble(viewBox.height))
        return matrix;
    const double boxWidth = viewBox.width == 0.0 ? 1.0 : viewBox.width;
    const double boxHeight = viewBox.height == 0.0 ? 1.0 : viewBox.height;
    double scaledWidth = width.value, scaledHeight = height.value;
    if (ratio.align != svgkind::kAlignNone) {
        const double sx = width.value / boxWidth, sy = height.value / boxHeight;
        const double scale = ratio.meetOrSlice == svgkind::kSlice ? std::max(sx, sy) : std::min(sx, sy);
        scaledWidth = scale * boxWidth;
        scaledHeight = scale * boxHeight;
    }
    const double spareX = width.value - scaledWidth, spareY = height.value - scaledHeight;
    double dx = 0.0, dy = 0.0;
    switch (ratio.align) {
    case 1: case 2: break;
    case 3: dx = spareX * 0.5; break;
    case 4: dx = spareX; break;
    case 5: dy = spareY * 0.5; break;
    case 7: dx = spareX; dy = spareY * 0.5; break;
    case 8: dy = spareY; break;
    case 9: dx = spareX * 0.5; dy = spareY; break;
    case 10: dx = spareX; dy = spareY; break;
    default: dx = spareX * 0.5; dy = spareY * 0.5; break;
    }
    MatrixTranslate(matrix, -viewBox.x, -viewBox.y);
    MatrixScale(matrix, scaledWidth / boxWidth, scaledHeight / boxHeight);
    MatrixTranslate(matrix, dx, dy);
    return matrix;
}

// ---- Images -------------------------------------------------------------------------

int32_t LoadImageReference(const KvChar* href, KvBitmap& bitmap)
{
    std::memset(&bitmap, 0, sizeof bitmap);
    if (!href)
        return SUCCESS;
    SvgDataUri uri{};
    uri.size = kSvgDataUriSize;
    if (ParseDataUri(href, &uri, kSvgDataUriSize) == SUCCESS && uri.isDataUri) {
        void* block = nullptr;
        size_t size = 0;
        if (int32_t status = DecodeDataUriToMemory(&uri, &block, &size); status != SUCCESS)
            return status == ERROR_NO_MEMORY ? status : SUCCESS;
        const int32_t status = CodecLoadMemory(block, size, bitmap, 32, KV_ORDER_BGR);
        KV_FREE(block);
        return status == ERROR_NO_MEMORY ? status : SUCCESS;
    }
    const int32_t status = CodecLoadFileWide(href, bitmap, 32, KV_ORDER_BGR);
    // An image that cannot be read is not drawn; it does not stop the document.
    return status == ERROR_NO_MEMORY ? status : SUCCESS;
}

// ---- Text measuring -------------------------------------------------------------------

int32_t SvgRenderingUtils::GetAnchorOffset(uint32_t textAnchor, kvdrw::Font* font, const char16_t* text,
                                           int32_t length, double& offset)
{
    if (textAnchor != 2 && textAnchor != 3) {
        offset = 0.0;
        return SUCCESS;
    }
    if (!text || length < 1)
        return SUCCESS;
    if (!engine_)
        return FAILURE;
    kvdrw::Size size{0, 0};
    if (int32_t status = engine_->MeasureString(text, length, font, &size); status != SUCCESS)
        return status;
    offset = textAnchor == 2 ? size.width / 2 : size.width;
    return SUCCESS;
}

int32_t SvgRenderingUtils::MeasureTextBounds(const SvgTextElement& text, KvRectangle& bounds)
{
    RectSetEmpty(bounds);
    if (!text.text || text.textCount == 0)
        return SUCCESS;
    if (!engine_)
        return FAILURE;
    ScopedObject<kvdrw::Font> font(engine_);
    if (int32_t status = BuildFont(text.style, font.out()); status != SUCCESS)
        return status;
    kvdrw::FontMetrics metrics{};
    if (!font.get()->GetMetrics(&metrics, engine_, engine_->GetResolution()))
        return FAILURE;
    const int32_t length = static_cast<int32_t>(std::min<uint32_t>(text.textCount, INT32_MAX));
    const SvgTextPositionAttributes& position = text.position;
    const uint32_t n = position.xCount;
    double anchor = 0.0;
    if (static_cast<uint32_t>(length) >= n) {
        const uint32_t from = n > 0 ? n - 1 : 0;
        GetAnchorOffset(text.style.text.anchor.textAnchor, font.get(), text.text + from,
                        length - static_cast<int32_t>(from), anchor);
    }
    kvdrw::Size size{0, 0};
    if (int32_t status = engine_->MeasureString(text.text, length, font.get(), &size); status != SUCCESS)
        return status;
    const double ascent = metrics.values[kvdrw::kMetricTopLeading];
    const double height = std::fabs(static_cast<double>(metrics.values[kvdrw::kMetricEmAscent])) + ascent;
    const auto first = [](const SvgLength* values, uint32_t count) {
        return count > 0 && values && !IsUnsetDouble(values[0].value) ? values[0].value : 0.0;
    };
    if (position.xCount <= 1 && position.yCount <= 1 && position.rotateCount <= 1) {
        double x = first(position.x, position.xCount) - anchor;
        if (text.style.text.direction.direction == 2)
            x -= size.width;
        const double y = first(position.y, position.yCount) - ascent;
        bounds = KvRectangle{x, y, size.width, height};
        return SUCCESS;
    }
    // Character by character, as the text is drawn: beyond the lists the
    // pen moves on by the width of the character before.
    double penX = 0.0, penY = 0.0;
    const uint32_t count = std::max({position.xCount, position.yCount, position.rotateCount});
    for (uint32_t i = 0; i < count && i < static_cast<uint32_t>(length); ++i) {
        if (i < position.xCount) {
            penX = OrZero(position.x[i].value);
        } else if (i > 0) {
            kvdrw::Size previous{0, 0};
            if (engine_->MeasureString(text.text + i - 1, 1, font.get(), &previous) != SUCCESS)
                break;
            penX += previous.width;
        }
        if (i < position.yCount)
            penY = OrZero(position.y[i].value);
        const int32_t runLength = i + 1 == count ? length - static_cast<int32_t>(i) : 1;
        kvdrw::Size character{0, 0};
        if (engine_->MeasureString(text.text + i, runLength, font.get(), &character) != SUCCESS)
            break;
        bounds = RectUnion(bounds, KvRectangle{penX - (i == 0 ? anchor : 0.0), penY - ascent, character.width, height});
    }
    return SUCCESS;
}

// ---- Bounds ---------------------------------------------------------------------------

int32_t SvgRenderingUtils::PathBounds(kvdrw::GraphicsPath* path, const K_SvgStyleProp& style,
                                      const SvgTransformList& transform, const KvMatrix* view, KvRectangle& bounds)
{
    ScopedObject<kvdrw::Pen> pen(engine_);
    if (int32_t status = PrepareStrokePen(style, pen.out()); status != SUCCESS)
        return status;
    KvMatrix matrix = BuildTransformMatrix(&transform);
    if (view)
        matrix = MatrixMultiply(matrix, *view);
    return path->GetBounds(&bounds, &matrix, pen.get());
}

int32_t SvgRenderingUtils::GetRecordBounds(uint32_t kind, const void* record, const KvMatrix* view, KvRectangle& bounds)
{
    RectSetEmpty(bounds);
    if (!record)
        return ERROR_INV_PARAMETER;
    if (!engine_)
        return FAILURE;
    ScopedPath path(engine_);
    const K_SvgStyleProp* style = nullptr;
    const SvgTransformList* transform = nullptr;
    const auto closedRectangle = [&](double x, double y, double width, double height) -> int32_t {
        if (int32_t status = engine_->CreatePath(path.out()); status != SUCCESS)
            return status;
        const kvdrw::Point corners[4] = {{x, y}, {x + width, y}, {x + width, y + height}, {x, y + height}};
        for (int i = 0; i < 4; ++i) {
            if (int32_t status = path.get()->AddLine(corners[i], corners[(i + 1) % 4]); status != SUCCESS)
                return status;
        }
        return path.get()->CloseFigure();
    };
    int32_t status = SUCCESS;
    switch (kind) {
    case SVG_ELEMENT_PATH: {
        const auto& element = *static_cast<const SvgPathElement*>(record);
        if (element.d.count == 0)
            return SUCCESS;
        status = BuildPath(element.d, kvdrw::kFillWinding, path.out());
        style = &element.style;
        transform = &element.transform;
        break;
    }
    case SVG_ELEMENT_RECT: {
        const auto& element = *static_cast<const SvgRectElement*>(record);
        status = closedRectangle(LengthOrZero(element.x), LengthOrZero(element.y), LengthOrZero(element.width),
                                 LengthOrZero(element.height));
        style = &element.style;
        transform = &element.transform;
        break;
    }
    case SVG_ELEMENT_CIRCLE: {
        const auto& element = *static_cast<const SvgCircleElement*>(record);
        const double r = LengthOrZero(element.r);
        status = closedRectangle(LengthOrZero(element.cx) - r, LengthOrZero(element.cy) - r, 2 * r, 2 * r);
        style = &element.style;
        transform = &element.transform;
        break;
    }
    case SVG_ELEMENT_ELLIPSE: {
        const auto& element = *static_cast<const SvgEllipseElement*>(record);
        const double rx = LengthOrZero(element.rx), ry = LengthOrZero(element.ry);
        status = closedRectangle(LengthOrZero(element.cx) - rx, LengthOrZero(element.cy) - ry, 2 * rx, 2 * ry);
        style = &element.style;
        transform = &element.transform;
        break;
    }
    case SVG_ELEMENT_LINE: {
        const auto& element = *static_cast<const SvgLineElement*>(record);
        const KvRectangle box = RectFromEdges(LengthOrZero(element.x1), LengthOrZero(element.y1),
                                              LengthOrZero(element.x2), LengthOrZero(element.y2));
        status = closedRectangle(box.x, box.y, box.width, box.height);
        style = &element.style;
        transform = &element.transform;
        break;
    }
    case SVG_ELEMENT_POLYLINE:
    case SVG_ELEMENT_POLYGON: {
        const auto& element = *static_cast<const SvgPolyElement*>(record);
        style = &element.style;
        transform = &element.transform;
        if (!element.points || element.pointCount == 0)
            return SUCCESS;
        if (kind == SVG_ELEMENT_POLYGON && element.pointCount < 2)
            return SUCCESS;
        if (kind == SVG_ELEMENT_POLYGON && element.pointCount == 2) {
            const KvRectangle box = RectFromEdges(element.points[0].x, element.points[0].y, element.points[1].x,
                                                  element.points[1].y);
            status = closedRectangle(box.x, box.y, box.width, box.height);
            break;
        }
        if ((status = engine_->CreatePath(path.out())) != SUCCESS)
            return status;
        const auto* points = reinterpret_cast<const kvdrw::Point*>(element.points);
        const int32_t count = static_cast<int32_t>(std::min<uint32_t>(element.pointCount, INT32_MAX));
        if (kind == SVG_ELEMENT_POLYGON) {
            status = path.get()->AddPolygon(points, count);
        } else {
            for (int32_t i = 0; i + 1 < count && status == SUCCESS; ++i)
                status = path.get()->AddLine(points[i], points[i + 1]);
            if (count == 1)
                status = path.get()->AddLine(points[0], points[0]);
        }
        break;
    }
    case SVG_ELEMENT_IMAGE: {
        const auto& element = *static_cast<const SvgImageElement*>(record);
        status = closedRectangle(LengthOrZero(element.x), LengthOrZero(element.y), LengthOrZero(element.width),
                                 LengthOrZero(element.height));
        style = &element.style;
        transform = &element.transform;
        break;
    }
    case SVG_ELEMENT_TEXT: {
        const auto& element = *static_cast<const SvgTextElement*>(record);
        KvRectangle box{};
        if ((status = MeasureTextBounds(element, box)) != SUCCESS)
            return status;
        if (RectIsEmpty(box))
            return SUCCESS;
        status = closedRectangle(box.x, box.y, box.width, box.height);
        style = &element.style;
        transform = &element.transform;
        break;
    }
    default: return SUCCESS;
    }
    if (status != SUCCESS)
        return status;
    if (!path.get())
        return SUCCESS;
    return PathBounds(path.get(), *style, *transform, view, bounds);
}

int32_t SvgRenderingUtils::GetElementBoundsByKind(const SvgElementView& element, const KvMatrix* view,
                                                  KvRectangle& bounds)
{
    RectSetEmpty(bounds);
    const uint32_t kind = element.type();
    if (kind != SVG_ELEMENT_IMAGE && (kind < SVG_ELEMENT_PATH || kind > SVG_ELEMENT_TEXT))
        return SUCCESS;
    ScopedAnyRecord record(kind);
    if (int32_t status = element.Read(record); status != SUCCESS)
        return status;
    return GetRecordBounds(kind, record.data(), view, bounds);
}
