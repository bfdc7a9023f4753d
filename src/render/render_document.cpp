#include "render/render_document.h"

#include <memory>
#include <new>
#include <vector>

#include "base/geometry.h"
#include "base/numeric.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_handlers.h"
#include "document/svg_element_view.h"
#include "drawing/drawing_engines.h"
#include "render/render_optimized_state.h"
#include "render/svg_rendering_engine.h"
#include "render/svg_rendering_utils.h"
#include "values/file_option_attributes.h"
#include "values/value_kinds.h"

namespace {

// An engine of the drawing library, destroyed with its owner.
struct EngineDeleter {
    void operator()(kvdrw::Engine* engine) const { DrawingDestroyEngine(engine); }
};
using OwnedEngine = std::unique_ptr<kvdrw::Engine, EngineDeleter>;

// A measuring engine set to the quality a bitmap draw uses, so that what it
// measures is what a draw shows.
int32_t MakeMeasuringEngine(OwnedEngine& engine)
{
    kvdrw::Engine* made = nullptr;
    if (int32_t status = DrawingCreateMeasureEngine(&made); status != SUCCESS)
        return status;
    engine.reset(made);
    if (int32_t status = engine->SetQualityB(2); status != SUCCESS)
        return status;
    return engine->SetQualityA(2);
}

bool IsFlat(SvgDocumentHandler& document)
{
    int32_t flat = 0;
    document.ReadFlat(&flat);
    return flat != 0;
}

bool IsContainer(uint32_t kind)
{
    return kind == SVG_ELEMENT_SVG || kind == SVG_ELEMENT_G || kind == SVG_ELEMENT_SWITCH || kind == SVG_ELEMENT_A;
}

// The union of what the element covers, a container through its children;
// an element whose own bounds fail is passed over.
int32_t UnionBounds(SvgRenderingUtils& utils, const SvgElementView& start, const KvMatrix* view, KvRectangle& bounds)
{
    std::vector<SvgElementView> pending;
    try {
        pending.push_back(start);
        while (!pending.empty()) {
            SvgElementView element = pending.back();
            pending.pop_back();
            if (IsContainer(element.type())) {
                for (SvgElementView child = element.FirstChild(); child; child = child.NextSibling())
                    pending.push_back(child);
                continue;
            }
            KvRectangle own{};
            if (utils.GetElementBoundsByKind(element, view, own) != SUCCESS || RectIsEmpty(own))
                continue;
            bounds = RectIsEmpty(bounds) ? own : RectUnion(bounds, own);
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

}  // namespace

int32_t GetRootViewMatrix(SvgDocumentHandler& document, KvMatrix& matrix)
{
    matrix = MatrixIdentity();
    const auto viewOf = [](const SvgSvgElement& svg) {
        const KvMatrix view = BuildViewBoxMatrix(svg.width, svg.height, svg.viewBox, svg.preserveAspectRatio);
        return MatrixMultiply(view, BuildTransformMatrix(&svg.transform));
    };
    if (SvgRenderOptimizedState* state = OptimizedStateOf(document)) {
        matrix = viewOf(state->At(0)->record.as<SvgSvgElement>());
        return SUCCESS;
    }
    SvgElementView root = RootView(document);
    if (!root)
        return SUCCESS;
    ScopedRecord<SvgSvgElement> svg(SVG_ELEMENT_SVG);
    if (int32_t status = root.Read(svg); status != SUCCESS)
        return status;
    matrix = viewOf(svg.get());
    return SUCCESS;
}

int32_t BeginRenderOptimize(SvgDocumentHandler& document)
{
    if (!IsFlat(document))
        return ERROR_NOT_FLAT;
    if (SvgRenderOptimizedState* state = OptimizedStateOf(document)) {
        ++state->refCount;
        return SUCCESS;
    }
    std::unique_ptr<SvgRenderOptimizedState> state(new (std::nothrow) SvgRenderOptimizedState);
    if (!state)
        return ERROR_NO_MEMORY;
    if (int32_t status = state->Collect(document); status != SUCCESS)
        return status;
    state->refCount = 1;
    document.SetRenderState(std::move(state));
    return SUCCESS;
}

int32_t EndRenderOptimize(SvgDocumentHandler& document)
{
    SvgRenderOptimizedState* state = OptimizedStateOf(document);
    if (!state)
        return ERROR_INV_PARAMETER;
    if (--state->refCount == 0)
        document.DropRenderState();
    return SUCCESS;
}

bool IsRenderOptimized(SvgDocumentHandler& document)
{
    return IsFlat(document) && OptimizedStateOf(document) != nullptr;
}

int32_t DrawDocument(kvdrw::Engine& engine, SvgDocumentHandler& document, const SvgRenderOptions* options)
{
    struct DrawingMode {
        kvdrw::Engine& engine;
        int32_t mode;
        ~DrawingMode() { engine.SetDrawingMode(mode); }
    } drawingMode{engine, engine.GetDrawingMode()};
    engine.SetDrawingMode(1);
    if (!IsFlat(document))
        return ERROR_NOT_FLAT;
    struct State {
        kvdrw::Engine& engine;
        int32_t token;
        ~State() { engine.RestoreState(token); }
    } savedState{engine, engine.SaveState()};

    SvgRenderOptions copy{};
    if (options) {
        if (options->structSize != kSvgRenderOptionsSize)
            return SUCCESS;
        copy = *options;
    } else {
        copy.structSize = kSvgRenderOptionsSize;
        copy.flags = 1;
        copy.backColor = 0xFFFFFF;
        copy.transform = MatrixIdentity();
        SvgBounds bounds{};
        bounds.size = kSvgBoundsSize;
        if (document.GetBounds(bounds) == SUCCESS && bounds.hasBounds)
            copy.bounds = KvRectangle{bounds.x, bounds.y, bounds.width, bounds.height};
    }
    if (!RectIsEmpty(copy.clipBounds))
        engine.SetClipRect(&copy.clipBounds, kvdrw::kCombineIntersect);
    engine.SetQualityB(2);
    engine.SetQualityA(2);

    SvgBounds bounds{};
    bounds.size = kSvgBoundsSize;
    if (document.GetBounds(bounds) == SUCCESS && bounds.hasBounds && bounds.width > 0.0 && bounds.height > 0.0) {
        // Nothing is drawn outside the document's own bounds.
        kvdrw::Point corners[4] = {{bounds.x, bounds.y},
                                   {bounds.x + bounds.width, bounds.y},
                                   {bounds.x + bounds.width, bounds.y + bounds.height},
                                   {bounds.x, bounds.y + bounds.height}};
        const KvMatrix matrix = (copy.transform.m11 == 0.0 && copy.transform.m12 == 0.0 && copy.transform.m21 == 0.0 &&
                                 copy.transform.m22 == 0.0 && copy.transform.dx == 0.0 && copy.transform.dy == 0.0)
                                    ? MatrixIdentity()
                                    : copy.transform;
        MatrixTransformPoints(matrix, corners, 4);
        kvdrw::GraphicsPath* path = nullptr;
        if (int32_t status = engine.CreatePath(&path); status != SUCCESS)
            return status;
        int32_t status = path->AddPolygon(corners, 4);
        if (status == SUCCESS)
            status = engine.SetClipPath(path, kvdrw::kCombineIntersect);
        engine.DeleteObject(path);
        if (status != SUCCESS)
            return status;
    }
    KvMatrix view{};
    if (int32_t status = GetRootViewMatrix(document, view); status != SUCCESS)
        return status;
    SvgRenderOptimizedState* state = OptimizedStateOf(document);
    SvgRenderingEngine renderer(engine, document, &copy, state, &view);
    if (int32_t status = renderer.DrawBackground(); status != SUCCESS)
        return status;
    if (state)
        return renderer.DrawOptimized();
    SvgElementView root = RootView(document);
    if (!root)
        return SUCCESS;
    return renderer.DrawElements(root);
}

int32_t RasterizeDocument(KvBitmap& bitmap, SvgDocumentHandler& document, const SvgRenderOptions* options)
{
    kvdrw::Engine* made = nullptr;
    if (int32_t status = DrawingCreateBitmapEngine(bitmap, &made); status != SUCCESS)
        return status;
    OwnedEngine engine(made);
    return DrawDocument(*engine, document, options);
}

int32_t CalculateBounds(SvgDocumentHandler& document, int32_t trimmed)
{
    SvgElementView root = RootView(document);
    if (!root)
        return ERROR_NO_SVG_ROOT;
    if (!IsFlat(document))
        return ERROR_NOT_FLAT;
    SvgBounds result{};
    result.size = kSvgBoundsSize;
    SvgFileOptions file{};
    SvgBaseHandler* made = nullptr;
    if (int32_t status = WrapXmlNode(&made, root.node()); status != SUCCESS)
        return status;
    SvgHandlerPtr rootHandler(made);
    AttachOwner(&document, made);
    if (int32_t status = GetSvgNodeFileOptions(*rootHandler, file); status != SUCCESS)
        return status;
    result.dpiX = file.dpiX;
    result.dpiY = file.dpiY;
    if (file.dpiX == -1.0 || file.dpiY == -1.0)
        result.dpiX = result.dpiY = 96.0;
    result.isTrimmed = trimmed ? 1 : 0;
    KvRectangle box{};
    if (!trimmed && file.width >= 0.0 && file.height >= 0.0) {
        box = KvRectangle{0.0, 0.0, file.width, file.height};
    } else if (SvgRenderOptimizedState* state = OptimizedStateOf(document)) {
        // The stored rectangles: nothing is measured again.
        for (size_t index = 1; OptimizedEntry* entry = state->At(index); ++index) {
            if (!RectIsEmpty(entry->bounds))
                box = RectIsEmpty(box) ? entry->bounds : RectUnion(box, entry->bounds);
        }
        if (!trimmed) {
            box.x = 0.0;
            box.y = 0.0;
        }
    } else {
        OwnedEngine engine;
        if (int32_t status = MakeMeasuringEngine(engine); status != SUCCESS)
            return status;
        KvMatrix view{};
        if (int32_t status = GetRootViewMatrix(document, view); status != SUCCESS)
            return status;
        SvgRenderingUtils utils(engine.get(), &document, 0);
        for (SvgElementView child = root.FirstChild(); child; child = child.NextSibling()) {
            if (int32_t status = UnionBounds(utils, child, &view, box); status != SUCCESS)
                return status;
        }
        if (!trimmed) {
            box.x = 0.0;
            box.y = 0.0;
        }
    }
    result.hasBounds = 1;
    result.x = box.x;
    result.y = box.y;
    result.width = box.width;
    result.height = box.height;
    return document.SetBounds(result);
}

int32_t GetElementBounds(const SvgElementView& element, KvRectangle& bounds)
{
    RectSetEmpty(bounds);
    SvgDocumentHandler& document = *element.document();
    if (!IsFlat(document))
        return ERROR_NOT_FLAT;
    KvMatrix view{};
    if (int32_t status = GetRootViewMatrix(document, view); status != SUCCESS)
        return status;
    OwnedEngine engine;
    if (int32_t status = MakeMeasuringEngine(engine); status != SUCCESS)
        return status;
    SvgRenderingUtils utils(engine.get(), &document, 0);
    return UnionBounds(utils, element, &view, bounds);
}

int32_t RecalculateBounds(SvgDocumentHandler& document, const KvRectangle& rectangle, const double* resolution)
{
    SvgElementView root = RootView(document);
    if (!root)
        return SUCCESS;
    const bool wasFlat = IsFlat(document);
    SvgBaseHandler* made = nullptr;
    if (int32_t status = WrapXmlNode(&made, root.node()); status != SUCCESS)
        return status;
    SvgHandlerPtr rootHandler(made);
    AttachOwner(&document, made);
    if (resolution) {
        if (int32_t status = WriteResolutionAttributes(root.node(), resolution[0], resolution[1]); status != SUCCESS)
            return status;
    }
    ScopedRecord<SvgSvgElement> svg(SVG_ELEMENT_SVG);
    if (int32_t status = root.Read(svg); status != SUCCESS)
        return status;
    SvgSvgElement& record = svg.get();
    if (IsUnsetDouble(record.viewBox.x)) {
        record.viewBox.x = 0.0;
        record.viewBox.y = 0.0;
        record.viewBox.width = IsUnsetDouble(record.width.value) ? 0.0 : record.width.value;
        record.viewBox.height = IsUnsetDouble(record.height.value) ? 0.0 : record.height.value;
    }
    record.preserveAspectRatio.align = svgkind::kAlignNone;
    record.preserveAspectRatio.meetOrSlice = 0;
    record.viewBox.x -= rectangle.x;
    record.viewBox.y -= rectangle.y;
    record.width.value = rectangle.width;
    record.width.unit = SVG_UNIT_NONE;
    record.width.percent = 0;
    record.height.value = rectangle.height;
    record.height.unit = SVG_UNIT_NONE;
    record.height.percent = 0;
    if (int32_t status = rootHandler->setElement(&record); status != SUCCESS)
        return status;
    if (wasFlat)
        document.SetFlat(1);
    return SUCCESS;
}
