#include "render/svg_rendering_engine.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include "base/bitmap.h"
#include "base/geometry.h"
#include "base/numeric.h"
#include "base/utf.h"
#include "document/svg_base_handler.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_view.h"
#include "render/render_optimized_state.h"
#include "values/value_kinds.h"

namespace {

double OrZero(double value)
{
    return IsUnsetDouble(value) ? 0.0 : value;
}

bool IsUnset(const SvgLength& length)
{
    return IsUnsetDouble(length.value);
}

bool IsContainer(uint32_t kind)
{
    return kind == SVG_ELEMENT_SVG || kind == SVG_ELEMENT_G || kind == SVG_ELEMENT_SWITCH || kind == SVG_ELEMENT_A;
}

bool IsDrawable(uint32_t kind)
{
    return kind == SVG_ELEMENT_IMAGE || (kind >= SVG_ELEMENT_PATH && kind <= SVG_ELEMENT_TEXT);
}

// Restores the engine state saved at construction, on every path.
class SavedState {
public:
    explicit SavedState(kvdrw::Engine& engine) : engine_(engine), token_(engine.SaveState()) {}
    ~SavedState() { engine_.RestoreState(token_); }
    SavedState(const SavedState&) = delete;
    SavedState& operator=(const SavedState&) = delete;

private:
    kvdrw::Engine& engine_;
    int32_t token_;
};

template <class T>
class ScopedObject {
public:
    explicit ScopedObject(kvdrw::Engine& engine) : engine_(engine) {}
    ~ScopedObject()
    {
        if (object_)
            engine_.DeleteObject(object_);
    }
    ScopedObject(const ScopedObject&) = delete;
    ScopedObject& operator=(const ScopedObject&) = delete;
    T** out() { return &object_; }
    T* get() const { return object_; }

private:
    kvdrw::Engine& engine_;
    T* object_ = nullptr;
};

bool IsAllZero(const KvMatrix& matrix)
{
    return matrix.m11 == 0.0 && matrix.m12 == 0.0 && matrix.m21 == 0.0 && matrix.m22 == 0.0 && matrix.dx == 0.0 &&
           matrix.dy == 0.0;
}

// The options' matrix; an all-zero matrix stands for none, the identity.
KvMatrix OptionsMatrix(const SvgRenderOptions* options)
{
    if (!options || IsAllZero(options->transform))
        return MatrixIdentity();
    return options->transform;
}

}  // namespace

bool IsHiddenStyle(const K_SvgStyleProp& style)
{
    const SvgVisibilityAttributes& visibility = style.paint.visibility;
    return visibility.visibility == svgkind::kVisibilityHidden ||
           visibility.visibility == svgkind::kVisibilityCollapse || visibility.display == svgkind::kDisplayNone;
}

SvgRenderingEngine::SvgRenderingEngine(kvdrw::Engine& engine, SvgDocumentHandler& document,
                                       const SvgRenderOptions* options, SvgRenderOptimizedState* optimized,
                                       const KvMatrix* viewMatrix)
    : engine_(engine),
      document_(document),
      options_(options),
      optimized_(optimized),
      viewMatrix_(viewMatrix),
      utils_(&engine, &document, options ? options->renderFlags : 0)
{
    if (options && !RectIsEmpty(options->clipBounds)) {
        clipRect_ = options->clipBounds;
        KvMatrix inverse = OptionsMatrix(options);
        if (MatrixIsInvertible(inverse))
            MatrixInvert(inverse);
        cullRect_ = RectTransform(clipRect_, inverse);
    }
}

SvgRenderingEngine::~SvgRenderingEngine()
{
    for (kvdrw::Disposable* object : std::initializer_list<kvdrw::Disposable*>{
             stringFormat_, solidBrush_, gradientBrush_, pen_, font_}) {
        if (object)
            engine_.DeleteObject(object);
    }
}

int32_t SvgRenderingEngine::DrawBackground()
{
    if (!options_ || !options_->flags || RectIsEmpty(options_->bounds) || options_->bounds.width < 1.0 ||
        options_->bounds.height < 1.0)
        return SUCCESS;
    const KvRectangle& box = options_->bounds;
    kvdrw::Point corners[4] = {
        {box.x, box.y}, {box.x + box.width, box.y}, {box.x + box.width, box.y + box.height}, {box.x, box.y + box.height}};
    MatrixTransformPoints(OptionsMatrix(options_), corners, 4);
    const uint32_t rgb = options_->backColor;
    const kvdrw::Color color{255, static_cast<uint8_t>(rgb), static_cast<uint8_t>(rgb >> 8),
                             static_cast<uint8_t>(rgb >> 16)};
    ScopedObject<kvdrw::SolidBrush> brush(engine_);
    if (int32_t status = engine_.CreateSolidBrush(brush.out(), &color); status != SUCCESS)
        return status;
    SavedState saved(engine_);
    if (!RectIsEmpty(clipRect_))
        engine_.SetClipRect(&clipRect_, kvdrw::kCombineIntersect);
    return engine_.DrawPolygon(nullptr, brush.get(), corners, 4, 0);
}

int32_t SvgRenderingEngine::DrawElements(const SvgElementView& root)
{
    // Containers are walked with a stack of our own: a flat document is
    // shallow, but a caller may hand us any flat-marked tree.
    std::vector<SvgElementView> pending;
    try {
        for (SvgElementView child = root.FirstChild(); child;) {
            const uint32_t kind = child.type();
            if (IsContainer(kind) && child.FirstChild()) {
                pending.push_back(child.NextSibling());
                child = child.FirstChild();
                continue;
            }
            if (int32_t status = DrawElement(child); status != SUCCESS)
                return status;
            child = child.NextSibling();
            while (!child && !pending.empty()) {
                child = pending.back();
                pending.pop_back();
            }
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t SvgRenderingEngine::DrawElement(const SvgElementView& element)
{
    const uint32_t kind = element.type();
    if (!IsDrawable(kind))
        return SUCCESS;
    bool skip = false;
    if (int32_t status = AskFilter(element.node(), kind, &skip); status != SUCCESS || skip)
        return status;
    ScopedAnyRecord record(kind);
    if (int32_t status = element.Read(record); status != SUCCESS)
        return status;
    if (!RectIsEmpty(cullRect_)) {
        KvRectangle bounds{};
        if (int32_t status = utils_.GetRecordBounds(kind, record.data(), viewMatrix_, bounds); status != SUCCESS)
            return status;
        if (!RectIntersects(bounds, cullRect_))
            return SUCCESS;
    }
    return DrawRecord(kind, record.data(), nullptr);
}

int32_t SvgRenderingEngine::AskFilter(pugi::xml_node node, uint32_t kind, bool* skip)
{
    *skip = false;
    if (!document_.HasFilterCallback())
        return SUCCESS;
    // The caller's filter decides per element; it runs under the guard that
    // turns its faults into a status.
    SvgBaseHandler* made = nullptr;
    if (int32_t status = WrapXmlNode(&made, node); status != SUCCESS)
        return status;
    SvgHandlerPtr handler(made);
    AttachOwner(&document_, made);
    int32_t answer = 0;
    if (int32_t status = document_.ApplyFilterCallback(handler.get(), static_cast<int32_t>(kind), &answer);
        status != SUCCESS)
        return status;
    *skip = answer != 0;
    return SUCCESS;
}

int32_t SvgRenderingEngine::DrawOptimized()
{
    const bool cachePaths = optimized_->CanCachePaths(engine_);
    if (cachePaths)
        optimized_->UseEngineKind(engine_.GetEngineKind());
    for (size_t index = 1;; ++index) {
        OptimizedEntry* entry = optimized_->At(index);
        if (!entry)
            break;
        if (!RectIsEmpty(cullRect_) && !RectIntersects(entry->bounds, cullRect_))
            continue;
        if (RectIsEmpty(entry->bounds) && entry->bounds.width == 0.0 && entry->bounds.height == 0.0)
            continue;
        bool skip = false;
        if (int32_t status = AskFilter(entry->node, entry->kind, &skip); status != SUCCESS)
            return status;
        if (skip)
            continue;
        if (int32_t status = DrawRecord(entry->kind, entry->record.get(), cachePaths ? entry : nullptr);
            status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t SvgRenderingEngine::DrawRecord(uint32_t kind, const void* record, OptimizedEntry* entry)
{
    switch (kind) {
    case SVG_ELEMENT_PATH: return DrawPath(*static_cast<const SvgPathElement*>(record), entry);
    case SVG_ELEMENT_RECT: return DrawRect(*static_cast<const SvgRectElement*>(record));
    case SVG_ELEMENT_CIRCLE: return DrawCircle(*static_cast<const SvgCircleElement*>(record));
    case SVG_ELEMENT_ELLIPSE: return DrawEllipse(*static_cast<const SvgEllipseElement*>(record));
    case SVG_ELEMENT_LINE: return DrawLine(*static_cast<const SvgLineElement*>(record));
    case SVG_ELEMENT_POLYLINE: return DrawPoly(*static_cast<const SvgPolyElement*>(record), false);
    case SVG_ELEMENT_POLYGON: return DrawPoly(*static_cast<const SvgPolyElement*>(record), true);
    case SVG_ELEMENT_IMAGE: return DrawImage(*static_cast<const SvgImageElement*>(record), entry);
    case SVG_ELEMENT_TEXT: return DrawText(*static_cast<const SvgTextElement*>(record), entry);
    default: return SUCCESS;
    }
}

// ---- The common frame ------------------------------------------------------------

int32_t SvgRenderingEngine::PrepareBrush(const K_SvgStyleProp& style)
{
    if (style.paint.fill.paint.kind == svgkind::kPaintReference) {
        const KvChar* id = style.paint.fill.paint.color.text;
        const std::u16string_view wanted = id ? std::u16string_view(id) : std::u16string_view();
        if (paintId_.empty() || wanted != paintId_) {
            try {
                paintId_.assign(wanted.substr(0, 259));
            } catch (const std::bad_alloc&) {
                return ERROR_NO_MEMORY;
            }
            int32_t status = SUCCESS;
            if (optimized_) {
                if (gradientBrush_)
                    engine_.DeleteObject(gradientBrush_);
                gradientBrush_ = nullptr;
                for (const OptimizedDefinition& definition : optimized_->definitions()) {
                    const bool radial = definition.kind == SVG_ELEMENT_RADIALGRADIENT && utils_.fullPaint();
                    if ((definition.kind != SVG_ELEMENT_LINEARGRADIENT && !radial) || definition.id != wanted)
                        continue;
                    std::vector<const SvgStopElement*> stops;
                    try {
                        for (const OptimizedDefinitionChild& child : definition.children) {
                            if (child.kind == SVG_ELEMENT_STOP)
                                stops.push_back(&child.record.as<SvgStopElement>());
                        }
                    } catch (const std::bad_alloc&) {
                        return ERROR_NO_MEMORY;
                    }
                    status = radial ? utils_.BuildRadialBrushFromStops(stops.data(), stops.size(), &gradientBrush_)
                                    : utils_.BuildGradientBrushFromStops(
                                          definition.record.as<SvgLinearGradientElement>(), stops.data(), stops.size(),
                                          &gradientBrush_);
                    break;
                }
            } else {
                status = utils_.BuildGradientBrush(style, &gradientBrush_);
            }
            if (status != SUCCESS) {
                paintId_.clear();
                return status;
            }
        }
        brush_ = gradientBrush_;
        return SUCCESS;
    }
    const int32_t status = utils_.PrepareSolidBrush(style, &solidBrush_);
    brush_ = solidBrush_;
    return status;
}

int32_t SvgRenderingEngine::PreparePaint(const K_SvgStyleProp& style, bool wantBrush, bool* skip)
{
    *skip = false;
    if (wantBrush) {
        if (int32_t status = PrepareBrush(style); status != SUCCESS)
            return status;
    } else {
        brush_ = nullptr;
    }
    if (int32_t status = utils_.PrepareStrokePen(style, &pen_); status != SUCCESS)
        return status;
    *skip = !pen_ && !brush_;
    return SUCCESS;
}

int32_t SvgRenderingEngine::ApplyTransform(const SvgTransformList& transform)
{
    KvMatrix matrix = BuildTransformMatrix(&transform);
    if (viewMatrix_)
        matrix = MatrixMultiply(matrix, *viewMatrix_);
    if (options_)
        matrix = MatrixMultiply(matrix, OptionsMatrix(options_));
    if (IsAllZero(matrix))
        return engine_.ResetTransform();
    return engine_.SetTransform(&matrix);
}

int32_t SvgRenderingEngine::ApplyClip(const K_SvgStyleProp& style)
{
    const SvgReference& reference = style.clipPath;
    if (reference.kind != svgkind::kReferenceUrl || !reference.id)
        return SUCCESS;
    if (optimized_) {
        // Every stored clipPath of the id applies, in order. One without
        // children hides the element here, while a plain draw ignores it.
        const std::u16string_view id(reference.id);
        const bool cachePaths = optimized_->CanCachePaths(engine_);
        for (OptimizedDefinition& definition : optimized_->definitions()) {
            if (definition.kind != SVG_ELEMENT_CLIPPATH || definition.id != id)
                continue;
            if (definition.children.empty()) {
                const KvRectangle nothing{0, 0, 0, 0};
                if (int32_t status = engine_.SetClipRect(&nothing, kvdrw::kCombineIntersect); status != SUCCESS)
                    return status;
                continue;
            }
            int32_t mode = kvdrw::kCombineIntersect;
            for (OptimizedDefinitionChild& child : definition.children) {
                if (child.kind == SVG_ELEMENT_PATH) {
                    const auto& path = child.record.as<SvgPathElement>();
                    const int32_t fill = path.style.paint.fill.rule == svgkind::kFillRuleEvenOdd ? kvdrw::kFillEvenOdd
                                                                                               : kvdrw::kFillWinding;
                    ScopedObject<kvdrw::GraphicsPath> built(engine_);
                    kvdrw::GraphicsPath* outline = cachePaths ? child.path : nullptr;
                    if (!outline) {
                        if (int32_t status = utils_.BuildPath(path.d, fill, built.out()); status != SUCCESS)
                            return status;
                        outline = built.get();
                        if (cachePaths) {
                            child.path = outline;
                            *built.out() = nullptr;
                        }
                    }
                    if (int32_t status = engine_.SetClipPath(outline, mode); status != SUCCESS)
                        return status;
                } else if (child.kind == SVG_ELEMENT_RECT) {
                    const auto& rect = child.record.as<SvgRectElement>();
                    const KvRectangle box{OrZero(rect.x.value), OrZero(rect.y.value), OrZero(rect.width.value),
                                          OrZero(rect.height.value)};
                    if (int32_t status = engine_.SetClipRect(&box, mode); status != SUCCESS)
                        return status;
                }
                mode = kvdrw::kCombineUnion;
            }
        }
        return SUCCESS;
    }
    std::string id;
    try {
        id = ToUtf8(reference.id);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    pugi::xml_node clip = document_.tree().find_node([&](pugi::xml_node node) {
        if (node.type() != pugi::node_element)
            return false;
        std::string_view name = node.name();
        if (name.starts_with("svg:"))
            name.remove_prefix(4);
        return name == "clipPath" && id == node.attribute("id").value();
    });
    if (!clip)
        return SUCCESS;
    int32_t mode = kvdrw::kCombineIntersect;
    for (SvgElementView child = SvgElementView(document_, clip).FirstChild(); child; child = child.NextSibling()) {
        if (child.type() == SVG_ELEMENT_PATH) {
            ScopedRecord<SvgPathElement> path(SVG_ELEMENT_PATH);
            if (int32_t status = child.Read(path); status != SUCCESS)
                return status;
            const int32_t fill = path->style.paint.fill.rule == svgkind::kFillRuleEvenOdd ? kvdrw::kFillEvenOdd
                                                                                          : kvdrw::kFillWinding;
            ScopedObject<kvdrw::GraphicsPath> outline(engine_);
            if (int32_t status = utils_.BuildPath(path->d, fill, outline.out()); status != SUCCESS)
                return status;
            if (int32_t status = engine_.SetClipPath(outline.get(), mode); status != SUCCESS)
                return status;
        } else if (child.type() == SVG_ELEMENT_RECT) {
            ScopedRecord<SvgRectElement> rect(SVG_ELEMENT_RECT);
            if (int32_t status = child.Read(rect); status != SUCCESS)
                return status;
            const KvRectangle box{OrZero(rect->x.value), OrZero(rect->y.value), OrZero(rect->width.value),
                                  OrZero(rect->height.value)};
            if (int32_t status = engine_.SetClipRect(&box, mode); status != SUCCESS)
                return status;
        }
        mode = kvdrw::kCombineUnion;
    }
    return SUCCESS;
}

// ---- Shapes ---------------------------------------------------------------------------

int32_t SvgRenderingEngine::DrawPath(const SvgPathElement& path, OptimizedEntry* entry)
{
    if (IsHiddenStyle(path.style) || path.d.count == 0)
        return SUCCESS;
    SavedState saved(engine_);
    bool skip = false;
    if (int32_t status = PreparePaint(path.style, true, &skip); status != SUCCESS || skip)
        return status;
    if (int32_t status = ApplyTransform(path.transform); status != SUCCESS)
        return status;
    if (int32_t status = ApplyClip(path.style); status != SUCCESS)
        return status;
    const int32_t fill =
        path.style.paint.fill.rule == svgkind::kFillRuleEvenOdd ? kvdrw::kFillEvenOdd : kvdrw::kFillWinding;
    ScopedObject<kvdrw::GraphicsPath> built(engine_);
    kvdrw::GraphicsPath* outline = entry ? entry->path : nullptr;
    if (!outline) {
        if (int32_t status = utils_.BuildPath(path.d, fill, built.out()); status != SUCCESS)
            return status;
        outline = built.get();
        if (entry) {
            entry->path = outline;
            *built.out() = nullptr;
        }
    }
    // A path that fails to draw does not stop the document.
    engine_.DrawPath(pen_, brush_, outline);
    return SUCCESS;
}

int32_t SvgRenderingEngine::DrawRect(const SvgRectElement& rect)
{
    if (IsHiddenStyle(rect.style) || IsUnset(rect.width) || IsUnset(rect.height))
        return SUCCESS;
    SavedState saved(engine_);
    bool skip = false;
    if (int32_t status = PreparePaint(rect.style, true, &skip); status != SUCCESS || skip)
        return status;
    if (int32_t status = ApplyTransform(rect.transform); status != SUCCESS)
        return status;
    if (int32_t status = ApplyClip(rect.style); status != SUCCESS)
        return status;
    const double x = OrZero(rect.x.value), y = OrZero(rect.y.value);
    if (!IsUnset(rect.rx) && !IsUnset(rect.ry) && rect.rx.value != 0.0 && rect.ry.value != 0.0)
        return engine_.DrawRoundRectangle(pen_, brush_, x, y, rect.width.value, rect.height.value, rect.rx.value,
                                          rect.ry.value);
    return engine_.DrawRectangle(pen_, brush_, x, y, rect.width.value, rect.height.value);
}

int32_t SvgRenderingEngine::DrawCircle(const SvgCircleElement& circle)
{
    if (IsHiddenStyle(circle.style) || IsUnset(circle.r))
        return SUCCESS;
    SavedState saved(engine_);
    bool skip = false;
    if (int32_t status = PreparePaint(circle.style, true, &skip); status != SUCCESS || skip)
        return status;
    if (int32_t status = ApplyTransform(circle.transform); status != SUCCESS)
        return status;
    if (int32_t status = ApplyClip(circle.style); status != SUCCESS)
        return status;
    const double r = circle.r.value;
    return engine_.DrawEllipse(pen_, brush_, OrZero(circle.cx.value) - r, OrZero(circle.cy.value) - r, 2 * r, 2 * r);
}

int32_t SvgRenderingEngine::DrawEllipse(const SvgEllipseElement& ellipse)
{
    if (IsHiddenStyle(ellipse.style) || IsUnset(ellipse.rx) || IsUnset(ellipse.ry))
        return SUCCESS;
    SavedState saved(engine_);
    bool skip = false;
    if (int32_t status = PreparePaint(ellipse.style, true, &skip); status != SUCCESS || skip)
        return status;
    if (int32_t status = ApplyTransform(ellipse.transform); status != SUCCESS)
        return status;
    if (int32_t status = ApplyClip(ellipse.style); status != SUCCESS)
        return status;
    const double rx = ellipse.rx.value, ry = ellipse.ry.value;
    return engine_.DrawEllipse(pen_, brush_, OrZero(ellipse.cx.value) - rx, OrZero(ellipse.cy.value) - ry, 2 * rx,
                               2 * ry);
}

int32_t SvgRenderingEngine::DrawLine(const SvgLineElement& line)
{
    const double x1 = OrZero(line.x1.value), y1 = OrZero(line.y1.value);
    const double x2 = OrZero(line.x2.value), y2 = OrZero(line.y2.value);
    if (IsHiddenStyle(line.style) || (x1 == 0.0 && y1 == 0.0 && x2 == 0.0 && y2 == 0.0))
        return SUCCESS;
    SavedState saved(engine_);
    bool skip = false;
    if (int32_t status = PreparePaint(line.style, false, &skip); status != SUCCESS || !pen_)
        return status;
    if (int32_t status = ApplyTransform(line.transform); status != SUCCESS)
        return status;
    if (int32_t status = ApplyClip(line.style); status != SUCCESS)
        return status;
    return engine_.DrawLine(pen_, x1, y1, x2, y2);
}

int32_t SvgRenderingEngine::DrawPoly(const SvgPolyElement& poly, bool polygon)
{
    if (IsHiddenStyle(poly.style) || poly.pointCount == 0 || !poly.points)
        return SUCCESS;
    SavedState saved(engine_);
    bool skip = false;
    if (int32_t status = PreparePaint(poly.style, true, &skip); status != SUCCESS || skip)
        return status;
    if (!polygon && poly.style.paint.fill.paint.kind == svgkind::kPaintUnset) {
        // An open polyline without a fill of its own is not filled black.
        if (solidBrush_)
            engine_.DeleteObject(solidBrush_);
        solidBrush_ = nullptr;
        brush_ = nullptr;
        if (!pen_)
            return SUCCESS;
    }
    if (int32_t status = ApplyTransform(poly.transform); status != SUCCESS)
        return status;
    if (int32_t status = ApplyClip(poly.style); status != SUCCESS)
        return status;
    const auto* points = reinterpret_cast<const kvdrw::Point*>(poly.points);
    const int32_t count = static_cast<int32_t>(std::min<uint32_t>(poly.pointCount, INT32_MAX));
    const int32_t fillRule = poly.style.paint.fill.rule != svgkind::kFillRuleEvenOdd ? 1 : 0;
    if (polygon)
        return engine_.DrawPolygon(pen_, brush_, points, count, fillRule);
    if (!brush_ || count < 3) {
        if (!pen_)
            return SUCCESS;
        return engine_.DrawPolyline(pen_, points, count);
    }
    ScopedObject<kvdrw::GraphicsPath> outline(engine_);
    if (int32_t status = engine_.CreatePath(outline.out()); status != SUCCESS)
        return status;
    for (int32_t i = 0; i + 1 < count; ++i) {
        if (int32_t status = outline.get()->AddLine(points[i], points[i + 1]); status != SUCCESS)
            return status;
    }
    return engine_.DrawPath(pen_, brush_, outline.get());
}

// ---- Images ----------------------------------------------------------------------------

int32_t SvgRenderingEngine::DrawImage(const SvgImageElement& image, OptimizedEntry* entry)
{
    if (IsHiddenStyle(image.style) || !image.href || IsUnset(image.width) || IsUnset(image.height))
        return SUCCESS;
    if (entry) {
        if (!entry->image)
            return SUCCESS;
        // The decoded pixels stay with the entry; only the drawing flags are ours.
        KvBitmap view = *entry->image;
        return DrawBitmap(image, view);
    }
    KvBitmap bitmap;
    if (int32_t status = LoadImageReference(image.href, bitmap); status != SUCCESS)
        return status;
    if (!(bitmap.flags & KV_BITMAP_ALLOCATED))
        return SUCCESS;
    struct BitmapOwner {
        KvBitmap& bitmap;
        ~BitmapOwner() { FreeBitmap(bitmap); }
    } owner{bitmap};
    return DrawBitmap(image, bitmap);
}

int32_t SvgRenderingEngine::DrawBitmap(const SvgImageElement& image, KvBitmap& bitmap)
{
    double opacity = image.style.opacity;
    if (IsUnsetDouble(opacity))
        opacity = 1.0;
    if (opacity != 1.0)
        bitmap.flags |= KV_BITMAP_OPACITY;
    KvRectangle source{0.0, 0.0, static_cast<double>(bitmap.width), static_cast<double>(bitmap.height)};
    if (bitmap.viewPerspective >= 5 && bitmap.viewPerspective <= 8)
        std::swap(source.width, source.height);
    KvRectangle destination{OrZero(image.x.value), OrZero(image.y.value), image.width.value, image.height.value};
    SavedState saved(engine_);
    if (int32_t status = ApplyTransform(image.transform); status != SUCCESS)
        return status;
    if (int32_t status = ApplyClip(image.style); status != SUCCESS)
        return status;
    KvMatrix matrix{};
    engine_.GetTransform(&matrix);
    if (IsNearZero(matrix.m12) && IsNearZero(matrix.m21)) {
        // Axis-aligned: draw in device space so the image lands on whole pixels.
        if (matrix.m11 < -0.001) {
            source.x += source.width;
            source.width = -source.width;
        }
        if (matrix.m22 < -0.001) {
            source.y += source.height;
            source.height = -source.height;
        }
        destination = RectTransformAxisAligned(destination, matrix);
        engine_.ResetTransform();
        destination.x = std::floor(destination.x);
        destination.y = std::floor(destination.y);
        destination.width = std::ceil(destination.width - 0.1);
        destination.height = std::ceil(destination.height - 0.1);
    }
    return engine_.DrawImage(&bitmap, &destination, &source, opacity);
}

// ---- Text -------------------------------------------------------------------------------

namespace {

// Letters of the scripts whose letters join (Arabic, Syriac, N'Ko and the
// Arabic presentation forms).
bool IsJoiningLetter(char16_t c)
{
    return (c >= 0x0620 && c <= 0x064A) || (c >= 0x066E && c <= 0x06D3) || (c >= 0x06FA && c <= 0x06FF) ||
           (c >= 0x0710 && c <= 0x074F) || (c >= 0x0750 && c <= 0x077F) || (c >= 0x07CA && c <= 0x07EA) ||
           (c >= 0x08A0 && c <= 0x08C9) || (c >= 0xFB50 && c <= 0xFDFF) || (c >= 0xFE70 && c <= 0xFEFC) ||
           (c >= 0x064B && c <= 0x065F);
}

}  // namespace

int32_t SvgRenderingEngine::RotateCurrentTransform(double angleDegrees, double x, double y)
{
    KvMatrix matrix{};
    if (int32_t status = engine_.GetTransform(&matrix); status != SUCCESS)
        return status;
    // The turn acts in user space, about the character's position.
    KvMatrix turn = MatrixIdentity();
    MatrixRotateAt(turn, angleDegrees, x, y);
    matrix = MatrixMultiply(turn, matrix);
    return engine_.SetTransform(&matrix);
}

int32_t SvgRenderingEngine::DrawText(const SvgTextElement& text, OptimizedEntry* entry)
{
    if (IsHiddenStyle(text.style) || !text.text || text.textCount == 0)
        return SUCCESS;
    const double fontSize = text.style.text.font.fontSize.length.value;
    if (!IsUnsetDouble(fontSize) && fontSize == 0.0)
        return SUCCESS;
    const K_SvgStyleProp& style = text.style;
    const double fillOpacity = style.paint.fill.opacity;
    double opacity = (!IsUnsetDouble(fillOpacity) && fillOpacity == 0.0) ? 0.0
                     : !IsUnsetDouble(style.opacity)                      ? style.opacity
                                                                          : fillOpacity;
    if (style.paint.fill.paint.kind != svgkind::kPaintReference && !IsUnsetDouble(opacity) && opacity == 0.0)
        return SUCCESS;
    SavedState saved(engine_);
    if (int32_t status = utils_.PrepareStringFormat(style, &stringFormat_); status != SUCCESS)
        return status;
    if (int32_t status = PrepareBrush(style); status != SUCCESS || !brush_)
        return status;
    if (int32_t status = utils_.BuildFont(style, &font_); status != SUCCESS || !font_)
        return status;
    if (int32_t status = ApplyTransform(text.transform); status != SUCCESS)
        return status;
    // A clip that cannot be applied leaves the text drawn unclipped.
    ApplyClip(style);
    return DrawTextRun(text, entry && entry->hasMetrics ? &entry->metrics : nullptr);
}

int32_t SvgRenderingEngine::DrawTextRun(const SvgTextElement& text, const kvdrw::FontMetrics* cached)
{
    const int32_t length = static_cast<int32_t>(std::min<uint32_t>(text.textCount, INT32_MAX));
    if (length < 1)
        return SUCCESS;
    KvMatrix saved{};
    engine_.GetTransform(&saved);
    kvdrw::FontMetrics metrics{};
    if (cached) {
        metrics = *cached;
    } else {
        engine_.ResetTransform();
        font_->GetMetrics(&metrics, &engine_, engine_.GetResolution());
        engine_.SetTransform(&saved);
    }
    const int32_t* m = metrics.values;
    double dx = 0.0, dy = 0.0;
    const int32_t lineAlignment = stringFormat_->GetLineAlignment();
    if (!(stringFormat_->GetFormatFlags() & kvdrw::kFormatVertical)) {
        if (lineAlignment == kvdrw::kAlignNear)
            dy = -(m[kvdrw::kMetricAscent] - m[kvdrw::kMetricTopLeading]);
    } else if (lineAlignment == kvdrw::kAlignNear) {
        dx = -(m[kvdrw::kMetricNegativeDescent] != 0 ? -m[kvdrw::kMetricNegativeDescent] : m[kvdrw::kMetricDescent]);
    } else if (lineAlignment == kvdrw::kAlignFar) {
        dx = m[kvdrw::kMetricHeight];
    }
    const SvgTextPositionAttributes& position = text.position;
    if (position.xCount <= 1 && position.yCount <= 1 && position.rotateCount <= 1) {
        const kvdrw::Point origin{(position.xCount ? OrZero(position.x[0].value) : 0.0) + dx,
                                  (position.yCount ? OrZero(position.y[0].value) : 0.0) + dy};
        const double angle = position.rotateCount ? OrZero(position.rotate[0]) : 0.0;
        if (angle != 0.0)
            RotateCurrentTransform(angle, origin.x, origin.y);
        const int32_t status = engine_.DrawString(text.text, length, font_, brush_, &origin, stringFormat_);
        if (angle != 0.0)
            engine_.SetTransform(&saved);
        return status;
    }
    const uint32_t count = std::max({position.xCount, position.yCount, position.rotateCount});
    double angle = 0.0, penX = 0.0, penY = 0.0;
    bool rotated = false;
    int32_t status = SUCCESS;
    for (uint32_t i = 0; i < count && i < static_cast<uint32_t>(length); ++i) {
        if (i < position.rotateCount)
            angle = OrZero(position.rotate[i]);
        if (i < position.xCount) {
            penX = OrZero(position.x[i].value);
        } else if (i > 0) {
            kvdrw::Size previous{0, 0};
            if (engine_.MeasureString(text.text + i - 1, 1, font_, &previous) != SUCCESS)
                break;
            penX += previous.width;
        }
        if (i < position.yCount)
            penY = OrZero(position.y[i].value);
        const kvdrw::Point origin{penX + dx, penY + dy};
        if (angle == 0.0) {
            if (rotated)
                engine_.SetTransform(&saved);
            rotated = false;
        } else {
            engine_.SetTransform(&saved);
            RotateCurrentTransform(angle, origin.x, origin.y);
            rotated = true;
        }
        // Characters beyond the lists run as one string from the last position.
        int32_t run = i + 1 == count ? length - static_cast<int32_t>(i) : 1;
        // A character outside the basic plane is two units with one place:
        // its second half has nothing of its own to draw.
        const char16_t unit = text.text[i];
        if (unit >= 0xDC00 && unit <= 0xDFFF && i > 0)
            continue;
        if (run == 1 && unit >= 0xD800 && unit <= 0xDBFF && i + 1 < static_cast<uint32_t>(length))
            run = 2;
        kvdrw::Point at = origin;
        if (run == 1 && angle == 0.0 && IsJoiningLetter(unit)) {
            // Letters of a joining script connect only when shaped together:
            // a word of them on one line is set as one string from its left
            // end (from its right end when the line runs right to left,
            // which the engine does itself); the layout measured the word
            // shaped, so it fills the room its letters were given.
            uint32_t last = i;
            double left = origin.x;
            while (last + 1 < count && last + 1 < static_cast<uint32_t>(length) &&
                   IsJoiningLetter(text.text[last + 1]) && last + 1 < position.xCount &&
                   (last + 1 >= position.yCount || OrZero(position.y[last + 1].value) == penY) &&
                   (last + 1 >= position.rotateCount || OrZero(position.rotate[last + 1]) == 0.0)) {
                ++last;
                left = std::min(left, OrZero(position.x[last].value) + dx);
            }
            if (last > i) {
                run = static_cast<int32_t>(last - i + 1);
                if (!(stringFormat_->GetFormatFlags() & kvdrw::kFormatRightToLeft))
                    at.x = left;
                status = engine_.DrawString(text.text + i, run, font_, brush_, &at, stringFormat_);
                if (status != SUCCESS)
                    break;
                i = last;
                continue;
            }
        }
        status = engine_.DrawString(text.text + i, run, font_, brush_, &at, stringFormat_);
        if (status != SUCCESS)
            break;
    }
    if (rotated)
        engine_.SetTransform(&saved);
    return status;
}
