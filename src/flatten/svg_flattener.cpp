#include "flatten/svg_flattener.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/safety_limits.h"
#include "base/utf.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_handlers.h"
#include "drawing/drawing_engines.h"
#include "flatten/clip_paths.h"
#include "flatten/paint_and_clip.h"
#include "flatten/text_flatten.h"
#include "values/file_option_attributes.h"

namespace {

// The handlers of ordinary content, by element type; a type without one
// yields nothing. Structure, paint servers, masks and text take their
// places here as they are built.
constexpr std::array<FlattenVisitor, kSvgLastElementType + 1> MakeHandlerTable()
{
    std::array<FlattenVisitor, kSvgLastElementType + 1> table{};
    table[SVG_ELEMENT_SVG] = FlattenSvg;
    table[SVG_ELEMENT_G] = FlattenGroup;
    table[SVG_ELEMENT_DEFS] = FlattenDefs;
    table[SVG_ELEMENT_PATH] = FlattenPath;
    table[SVG_ELEMENT_RECT] = FlattenRect;
    table[SVG_ELEMENT_CIRCLE] = FlattenCircle;
    table[SVG_ELEMENT_ELLIPSE] = FlattenEllipse;
    table[SVG_ELEMENT_LINE] = FlattenLine;
    table[SVG_ELEMENT_POLYLINE] = FlattenPoly;
    table[SVG_ELEMENT_POLYGON] = FlattenPoly;
    table[SVG_ELEMENT_A] = FlattenAnchor;
    table[SVG_ELEMENT_TEXT] = FlattenText;
    return table;
}

constexpr auto kHandlers = MakeHandlerTable();

// Mask content is drawn into a mask bitmap later; only what can carry an
// image into it is flattened.
bool IsMaskContentType(uint32_t type)
{
    return type == SVG_ELEMENT_G || type == SVG_ELEMENT_USE || type == SVG_ELEMENT_IMAGE;
}

int32_t DispatchVisitor(CSvgFlattener& flattener, CSvgContext& context)
{
    return flattener.FlattenElement(context);
}

const char* kTablesElementName = "KOLVSUITE_Tables";

// The tables element that OCR documents carry is appended, copied, below
// the source's own root; the flat document never receives one.
int32_t CopyTablesElement(SvgDocumentHandler& source)
{
    pugi::xml_node root = source.Root();
    pugi::xml_node tables =
        source.tree().find_node([](pugi::xml_node node) { return std::strcmp(node.name(), kTablesElementName) == 0; });
    if (!root || !tables)
        return SUCCESS;
    SvgBaseHandler* made = nullptr;
    if (int32_t status = WrapXmlNode(&made, root); status != SUCCESS)
        return status;
    const SvgHandlerPtr parent(made);
    AttachOwner(&source, parent.get());
    if (int32_t status = WrapXmlNode(&made, tables); status != SUCCESS)
        return status;
    const SvgHandlerPtr original(made);
    pugi::xml_node copy;
    return parent->insertCopy(original.get(), kSvgInsertLastChild, &copy);
}

}  // namespace

CSvgFlattener::CSvgFlattener(const K_SvgFlatOptions* options)
    : clipPaths_(new (std::nothrow) CSvgClipPathHash)
{
    if (options)
        std::memcpy(&options_, options, sizeof options_);
}

CSvgFlattener::~CSvgFlattener()
{
    PopFramesTo(0);
    // The clips' paths go back to the engine before the engine goes.
    clipPaths_.reset();
    textFonts_.reset();
    if (engine_)
        DrawingDestroyEngine(engine_);
}

kvdrw::Engine* CSvgFlattener::engine()
{
    if (!engineTried_) {
        engineTried_ = true;
        if (DrawingCreateMeasureEngine(&engine_) != SUCCESS)
            engine_ = nullptr;
    }
    return engine_;
}

std::unique_ptr<CSvgContext> CSvgFlattener::NewContext()
{
    return std::unique_ptr<CSvgContext>(new (std::nothrow) CSvgContext());
}

int32_t CSvgFlattener::Run(SvgDocumentHandler& source, SvgDocumentHandler& target)
{
    if (!clipPaths_)
        return ERROR_NO_MEMORY;
    source_ = &source;
    target_ = &target;
    const SvgElementView root = RootView(source);
    if (!root)
        return SUCCESS;
    CSvgContext context;
    context.outputParent = SvgElementView(target, target.tree());
    context.sourceRoot = root;
    context.sourceNode = root;
    context.mode = FlattenMode::Normal;

    // Clip paths first, so that the second pass finds each by id.
    if (int32_t status = FlattenClipPaths(*this, context); status != SUCCESS)
        return status;
    if (int32_t status = RunWalk(context, DispatchVisitor); status != SUCCESS)
        return status;

    SvgFileOptions fileOptions{};
    if (int32_t status = source.GetFileOptions(fileOptions); status != SUCCESS)
        return status;
    if (fileOptions.dpiX != -1.0 && fileOptions.dpiY != -1.0) {
        if (int32_t status = WriteResolutionAttributes(target.Root(), fileOptions.dpiX, fileOptions.dpiY);
            status != SUCCESS)
            return status;
    }
    if (int32_t status = CopyTablesElement(source); status != SUCCESS)
        return status;
    return target.SetFlat(1);
}

int32_t CSvgFlattener::FlattenElement(CSvgContext& context)
{
    if (!context.sourceNode)
        return ERROR_INV_PARAMETER;
    const uint32_t type = context.sourceNode.type();
    if (type >= kHandlers.size())
        return SUCCESS;
    if (context.mode == FlattenMode::MaskContent && !IsMaskContentType(type))
        return SUCCESS;
    FlattenVisitor handler = kHandlers[type];
    return handler ? handler(*this, context) : SUCCESS;
}

int32_t CSvgFlattener::FlattenChildren(std::unique_ptr<CSvgContext> context, FlattenVisitor visitor,
                                       FlattenExit onExit)
{
    if (!context || !visitor)
        return ERROR_INV_PARAMETER;
    const SvgElementView first = context->sourceNode.FirstChild();
    if (!first) {
        if (onExit)
            onExit(*this, *context);
        return SUCCESS;
    }
    if (frames_.size() >= kvlimits::kMaxFlattenDepth) {
        if (onExit)
            onExit(*this, *context);
        return ERROR_MAX_ELEMENTS;
    }
    context->parentNode = context->sourceNode;
    try {
        if (frames_.size() == frames_.capacity())
            frames_.reserve(std::max<size_t>(16, frames_.capacity() * 2));
    } catch (const std::bad_alloc&) {
        if (onExit)
            onExit(*this, *context);
        return ERROR_NO_MEMORY;
    }
    frames_.push_back(WalkFrame{std::move(context), first, visitor, onExit});
    return SUCCESS;
}

int32_t CSvgFlattener::RunWalk(CSvgContext& context, FlattenVisitor visitor)
{
    const size_t base = frames_.size();
    int32_t status = visitor(*this, context);
    if (status == SUCCESS)
        status = Walk(base);
    PopFramesTo(base);
    return status;
}

int32_t CSvgFlattener::Walk(size_t baseDepth)
{
    while (frames_.size() > baseDepth) {
        WalkFrame& top = frames_.back();
        if (!top.next) {
            PopFramesTo(frames_.size() - 1);
            continue;
        }
        const SvgElementView child = top.next;
        top.next = child.NextSibling();
        // The context lives on the heap, so frames pushed by the visitor
        // leave it where it is.
        CSvgContext& working = *top.context;
        const FlattenVisitor visitor = top.visitor;
        working.sourceNode = child;
        RegisterElementId(child);
        if (int32_t status = visitor(*this, working); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

void CSvgFlattener::PopFramesTo(size_t depth)
{
    while (frames_.size() > depth) {
        WalkFrame frame = std::move(frames_.back());
        frames_.pop_back();
        if (frame.onExit)
            frame.onExit(*this, *frame.context);
    }
}

int32_t CSvgFlattener::InsertFlatElement(CSvgContext& context, void* record, uint32_t type, const CSvgBoundingBox& box,
                                         SvgElementView* inserted)
{
    if (inserted)
        *inserted = {};
    if (context.collectingClip)
        return AddClipGeometry(*this, context, record, type, box);
    if (context.mode == FlattenMode::InstanceContent) {
        // No flow fills an instance list; without one the element goes
        // nowhere, as the list's absence says.
        return SUCCESS;
    }
    return context.outputParent.Insert(type, record, kSvgInsertLastChild, inserted);
}

void CSvgFlattener::RegisterElementId(SvgElementView element)
{
    const pugi::xml_attribute id = element.node().attribute("id");
    if (!id || !*id.value())
        return;
    try {
        nodeHash_.emplace(id.value(), element.node());
    } catch (const std::bad_alloc&) {
        // The hash only saves a search; a missing entry is found the slow way.
    }
}

SvgElementView CSvgFlattener::FindElementById(const CSvgContext& context, const KvChar* id)
{
    if (!id || !source_)
        return {};
    if (*id == u'#')
        ++id;
    std::string key;
    try {
        key = ToUtf8(id);
    } catch (const std::bad_alloc&) {
        return {};
    }
    if (auto found = nodeHash_.find(key); found != nodeHash_.end())
        return SvgElementView(*source_, found->second);
    pugi::xml_node start = context.sourceRoot ? context.sourceRoot.node() : source_->Root();
    pugi::xml_node node = start.find_node([&](pugi::xml_node candidate) {
        return candidate.type() == pugi::node_element && key == candidate.attribute("id").value();
    });
    if (!node)
        return {};
    RegisterElementId(SvgElementView(*source_, node));
    return SvgElementView(*source_, node);
}
