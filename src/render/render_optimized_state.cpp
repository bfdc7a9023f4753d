#include "render/render_optimized_state.h"

#include <algorithm>
#include <new>

#include "base/bitmap.h"
#include "base/geometry.h"
#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/svg_element_handlers.h"
#include "document/svg_element_view.h"
#include "drawing/drawing_engines.h"
#include "render/render_document.h"
#include "render/svg_rendering_utils.h"

namespace {

struct EngineDeleter {
    void operator()(kvdrw::Engine* engine) const { DrawingDestroyEngine(engine); }
};
using OwnedEngine = std::unique_ptr<kvdrw::Engine, EngineDeleter>;

bool IsDrawable(uint32_t kind)
{
    return kind == SVG_ELEMENT_IMAGE || (kind >= SVG_ELEMENT_PATH && kind <= SVG_ELEMENT_TEXT);
}

bool IsContainer(uint32_t kind)
{
    return kind == SVG_ELEMENT_SVG || kind == SVG_ELEMENT_G || kind == SVG_ELEMENT_DEFS ||
           kind == SVG_ELEMENT_SWITCH || kind == SVG_ELEMENT_A;
}

}  // namespace

// ---- HeapRecord -----------------------------------------------------------------------

HeapRecord::~HeapRecord()
{
    Release();
}

HeapRecord::HeapRecord(HeapRecord&& other) noexcept : kind_(other.kind_), data_(other.data_)
{
    other.data_ = nullptr;
}

HeapRecord& HeapRecord::operator=(HeapRecord&& other) noexcept
{
    if (this != &other) {
        Release();
        kind_ = other.kind_;
        data_ = other.data_;
        other.data_ = nullptr;
    }
    return *this;
}

void HeapRecord::Release()
{
    if (!data_)
        return;
    FreeElementRecord(kind_, data_);
    KV_FREE(data_);
    data_ = nullptr;
}

int32_t HeapRecord::Read(uint32_t kind, pugi::xml_node node, uint32_t version)
{
    Release();
    const uint32_t size = ElementRecordSize(kind);
    if (size == 0)
        return ERROR_INV_PARAMETER;
    void* data = KV_ALLOC_ZERO(1, size);
    if (!data)
        return ERROR_NO_MEMORY;
    if (int32_t status = InitElementRecord(kind, data, size); status != SUCCESS) {
        KV_FREE(data);
        return status;
    }
    if (int32_t status = ReadElementRecordAt(kind, node, version, data, 0); status != SUCCESS) {
        FreeElementRecord(kind, data);
        KV_FREE(data);
        return status;
    }
    kind_ = kind;
    data_ = data;
    return SUCCESS;
}

// ---- The state ------------------------------------------------------------------------

void BitmapDeleter::operator()(KvBitmap* bitmap) const
{
    FreeBitmap(*bitmap);
    delete bitmap;
}

SvgRenderOptimizedState::~SvgRenderOptimizedState()
{
    ReleasePaths();
}

OptimizedEntry* SvgRenderOptimizedState::At(size_t index)
{
    if (index >= count_)
        return nullptr;
    return &blocks_[index / kBlockSize][index % kBlockSize];
}

int32_t SvgRenderOptimizedState::Append(OptimizedEntry&& entry)
{
    if (count_ == blocks_.size() * kBlockSize) {
        std::unique_ptr<OptimizedEntry[]> block(new (std::nothrow) OptimizedEntry[kBlockSize]);
        if (!block)
            return ERROR_NO_MEMORY;
        try {
            blocks_.push_back(std::move(block));
        } catch (const std::bad_alloc&) {
            return ERROR_NO_MEMORY;
        }
    }
    blocks_[count_ / kBlockSize][count_ % kBlockSize] = std::move(entry);
    ++count_;
    return SUCCESS;
}

void SvgRenderOptimizedState::ReleasePaths()
{
    bool any = false;
    for (size_t i = 0; i < count_ && !any; ++i)
        any = At(i)->path != nullptr;
    for (const OptimizedDefinition& definition : definitions_)
        for (const OptimizedDefinitionChild& child : definition.children)
            any = any || child.path != nullptr;
    if (!any)
        return;
    // The paths were made by an engine of the drawing library's own kind, so
    // a measuring engine can give them back.
    kvdrw::Engine* made = nullptr;
    if (DrawingCreateMeasureEngine(&made) != SUCCESS)
        return;
    OwnedEngine engine(made);
    for (size_t i = 0; i < count_; ++i) {
        OptimizedEntry* entry = At(i);
        if (entry->path)
            engine->DeleteObject(entry->path);
        entry->path = nullptr;
    }
    for (OptimizedDefinition& definition : definitions_) {
        for (OptimizedDefinitionChild& child : definition.children) {
            if (child.path)
                engine->DeleteObject(child.path);
            child.path = nullptr;
        }
    }
}

bool SvgRenderOptimizedState::CanCachePaths(kvdrw::Engine& engine)
{
    return libraryKind_ != -1 && engine.GetEngineKind() == libraryKind_;
}

void SvgRenderOptimizedState::UseEngineKind(int32_t kind)
{
    if (kind == engineKind_)
        return;
    if (engineKind_ != -1)
        ReleasePaths();
    engineKind_ = kind;
}

int32_t SvgRenderOptimizedState::Collect(SvgDocumentHandler& document)
{
    SvgElementView root = RootView(document);
    if (!root || root.type() != SVG_ELEMENT_SVG)
        return FAILURE;
    kvdrw::Engine* made = nullptr;
    if (int32_t status = DrawingCreateMeasureEngine(&made); status != SUCCESS)
        return status;
    OwnedEngine engine(made);
    engine->SetQualityB(2);
    engine->SetQualityA(2);
    libraryKind_ = engine->GetEngineKind();
    KvMatrix view{};
    if (int32_t status = GetRootViewMatrix(document, view); status != SUCCESS)
        return status;
    SvgRenderingUtils utils(engine.get(), &document, 0);
    const uint32_t version = document.getVersion();

    OptimizedEntry rootEntry;
    rootEntry.kind = SVG_ELEMENT_SVG;
    rootEntry.node = root.node();
    if (int32_t status = rootEntry.record.Read(SVG_ELEMENT_SVG, root.node(), version); status != SUCCESS)
        return status;
    if (int32_t status = Append(std::move(rootEntry)); status != SUCCESS)
        return status;

    // Document order with a stack of our own; each frame remembers the kind
    // of the container it walks, since under defs only definitions count.
    struct Frame {
        SvgElementView next;
        uint32_t container;
    };
    std::vector<Frame> stack;
    try {
        stack.push_back({root.FirstChild(), SVG_ELEMENT_SVG});
        while (!stack.empty()) {
            Frame& frame = stack.back();
            SvgElementView element = frame.next;
            if (!element) {
                stack.pop_back();
                continue;
            }
            frame.next = element.NextSibling();
            const uint32_t container = frame.container;
            const uint32_t kind = element.type();
            if (kind == SVG_ELEMENT_CLIPPATH || kind == SVG_ELEMENT_LINEARGRADIENT ||
                kind == SVG_ELEMENT_RADIALGRADIENT) {
                const char* id = element.node().attribute("id").value();
                if (!*id)
                    continue;
                OptimizedDefinition definition;
                definition.kind = kind;
                definition.id = ToUtf16(id);
                if (int32_t status = definition.record.Read(kind, element.node(), version); status != SUCCESS)
                    return status;
                for (SvgElementView child = element.FirstChild(); child; child = child.NextSibling()) {
                    const uint32_t childKind = child.type();
                    if (childKind != SVG_ELEMENT_PATH && childKind != SVG_ELEMENT_RECT && childKind != SVG_ELEMENT_STOP)
                        continue;
                    OptimizedDefinitionChild stored;
                    stored.kind = childKind;
                    if (int32_t status = stored.record.Read(childKind, child.node(), version); status != SUCCESS)
                        return status;
                    definition.children.push_back(std::move(stored));
                }
                definitions_.push_back(std::move(definition));
                continue;
            }
            if (container == SVG_ELEMENT_DEFS)
                continue;
            if (IsContainer(kind)) {
                stack.push_back({element.FirstChild(), kind});
                continue;
            }
            if (!IsDrawable(kind))
                continue;
            OptimizedEntry entry;
            entry.kind = kind;
            entry.node = element.node();
            if (int32_t status = entry.record.Read(kind, element.node(), version); status != SUCCESS)
                return status;
            if (kind == SVG_ELEMENT_PATH && entry.record.as<SvgPathElement>().d.count == 0)
                continue;
            if (kind == SVG_ELEMENT_TEXT) {
                const auto& text = entry.record.as<SvgTextElement>();
                const double size = text.style.text.font.fontSize.length.value;
                if (!text.text || text.textCount == 0 || (!IsUnsetDouble(size) && size <= 0.0))
                    continue;
                kvdrw::Font* font = nullptr;
                if (utils.BuildFont(text.style, &font) == SUCCESS && font) {
                    entry.hasMetrics = font->GetMetrics(&entry.metrics, engine.get(), engine->GetResolution());
                    engine->DeleteObject(font);
                }
            }
            if (int32_t status = utils.GetRecordBounds(kind, entry.record.get(), &view, entry.bounds);
                status == ERROR_NO_MEMORY)
                return status;
            if (kind == SVG_ELEMENT_IMAGE) {
                OwnedBitmap image(new (std::nothrow) KvBitmap{});
                if (!image)
                    return ERROR_NO_MEMORY;
                if (int32_t status = LoadImageReference(entry.record.as<SvgImageElement>().href, *image);
                    status != SUCCESS)
                    return status;
                if (image->flags & KV_BITMAP_ALLOCATED)
                    entry.image = std::move(image);
            }
            if (int32_t status = Append(std::move(entry)); status != SUCCESS)
                return status;
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

SvgRenderOptimizedState* OptimizedStateOf(SvgDocumentHandler& document)
{
    auto* state = dynamic_cast<SvgRenderOptimizedState*>(document.renderState());
    return state && state->refCount > 0 ? state : nullptr;
}
