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
    table[SVG_ELEMENT_USE] = FlattenUse;
    table[SVG_ELEMENT_IMAGE] = FlattenImage;
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
    context->parentNode = context->sourceNode;
    return PushFrame(WalkFrame{std::move(context), first, visitor, onExit, false});
}

int32_t CSvgFlattener::FlattenOne(std::unique_ptr<CSvgContext> context, SvgElementView node, FlattenVisitor visitor)
{
    if (!context || !visitor || !node)
        return ERROR_INV_PARAMETER;
    return PushFrame(WalkFrame{std::move(context), node, visitor, nullptr, true});
}

int32_t CSvgFlattener::PushFrame(WalkFrame frame)
{
    int32_t status = SUCCESS;
    if (frames_.size() >= kvlimits::kMaxFlattenDepth) {
        status = ERROR_MAX_ELEMENTS;
    } else {
        try {
            if (frames_.size() == frames_.capacity())
                frames_.reserve(std::max<size_t>(16, frames_.capacity() * 2));
        } catch (const std::bad_alloc&) {
            status = ERROR_NO_MEMORY;
        }
    }
    if (status != SUCCESS) {
        if (frame.onExit)
            frame.onExit(*this, *frame.context);
        return status;
    }
    frames_.push_back(std::move(frame));
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
        top.next = top.single ? SvgElementView{} : child.NextSibling();
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

namespace {

// Shapes a flat form holds at least one element for when they are drawn.
bool IsDrawnShape(const char* name)
{
    static const char* const kShapes[] = {"rect", "circle", "ellipse", "line", "polyline",
                                          "polygon", "path", "text", "image"};
    for (const char* shape : kShapes) {
        if (std::strcmp(name, shape) == 0)
            return true;
    }
    return false;
}

// Containers whose content is drawn only through a reference, if at all.
bool HoldsUndrawnContent(pugi::xml_node node)
{
    static const char* const kContainers[] = {"defs", "clipPath", "mask", "pattern", "marker",
                                              "linearGradient", "radialGradient", "filter", "font"};
    for (const char* container : kContainers) {
        if (std::strcmp(node.name(), container) == 0)
            return true;
    }
    return std::strcmp(node.attribute("display").value(), "none") == 0;
}

}  // namespace

CSvgFlattener::ExpandedCount CSvgFlattener::ExpandedSize(const CSvgContext& context, SvgElementView node)
{
    constexpr uint64_t kSaturated = uint64_t(1) << 62;
    constexpr uint64_t kInProgress = ~uint64_t(0);
    struct Pending {
        pugi::xml_node node;
        pugi::xml_node nextChild;  // element children still to count
        bool targetDone;           // for a use: its target has been counted
        ExpandedCount sum;
    };
    // What a child draws counts for its parent unless only a reference
    // draws the child. A node's own count is what copying it draws.
    auto add = [&](ExpandedCount& to, pugi::xml_node child, const ExpandedCount& more) {
        to.nodes = std::min(kSaturated, to.nodes + more.nodes);
        if (!HoldsUndrawnContent(child))
            to.drawn = std::min(kSaturated, to.drawn + more.drawn);
    };
    auto known = [&](pugi::xml_node n, ExpandedCount& size) {
        auto found = expandedSizes_.find(n.internal_object());
        if (found == expandedSizes_.end())
            return false;
        // A node still being counted is part of a cycle: it adds nothing.
        size = found->second.nodes == kInProgress ? ExpandedCount{} : found->second;
        return true;
    };
    try {
        ExpandedCount result;
        if (known(node.node(), result))
            return result;
        std::vector<Pending> stack;
        auto open = [&](pugi::xml_node n) {
            expandedSizes_[n.internal_object()] = ExpandedCount{kInProgress, 0};
            stack.push_back(Pending{n, n.first_child(), false, ExpandedCount{1, IsDrawnShape(n.name()) ? 1u : 0u}});
        };
        open(node.node());
        while (!stack.empty()) {
            Pending& top = stack.back();
            pugi::xml_node next;
            if (std::strcmp(top.node.name(), "use") == 0) {
                if (!top.targetDone) {
                    top.targetDone = true;
                    const char* href = top.node.attribute("xlink:href").value();
                    if (!*href)
                        href = top.node.attribute("href").value();
                    const std::u16string id = ToUtf16(href);
                    const SvgElementView target = FindElementById(context, id.c_str());
                    next = target.node();
                }
            } else {
                while (top.nextChild && top.nextChild.type() != pugi::node_element)
                    top.nextChild = top.nextChild.next_sibling();
                next = top.nextChild;
                if (next)
                    top.nextChild = next.next_sibling();
            }
            if (next) {
                ExpandedCount size;
                if (known(next, size))
                    add(top.sum, next, size);
                else
                    open(next);
                continue;
            }
            const Pending done = top;
            stack.pop_back();
            expandedSizes_[done.node.internal_object()] = done.sum;
            if (!stack.empty())
                add(stack.back().sum, done.node, done.sum);
            else
                result = done.sum;
        }
        return result;
    } catch (const std::bad_alloc&) {
        return ExpandedCount{kSaturated, kSaturated};
    }
}

int32_t CSvgFlattener::ChargeExpansion(const CSvgContext& context, SvgElementView target, uint64_t copies)
{
    // Under an element limit the copies are bounded by it as well: a use
    // bomb whose copies come out empty (unknown elements, failing records)
    // never meets the limit itself, yet costs a walk per copy. The count
    // takes in the uses and groups on the way, a few times what reaches
    // the flat form, hence the factor.
    const uint64_t limit = target_ ? target_->maximumElements() : 0;
    uint64_t budget = kvlimits::kMaxUseExpansion;
    if (limit != 0)
        budget = std::min<uint64_t>(budget, limit * kvlimits::kUseExpansionPerElement);
    const uint64_t useShapes = source_ ? source_->maximumUseShapes() : 0;
    if (useShapes != 0)
        budget = std::min<uint64_t>(budget, useShapes * kvlimits::kUseExpansionPerElement);
    const ExpandedCount each = ExpandedSize(context, target);
    auto times = [&](uint64_t count, uint64_t cap) { return copies != 0 && count > cap / copies ? cap + 1 : count * copies; };
    const uint64_t size = times(each.nodes, budget);
    if (size > budget - std::min(expansionCharged_, budget))
        return ERROR_MAX_ELEMENTS;
    // Shapes the copies are sure to write: past the room the flat form has
    // left, it would end with the same status after making them all, which
    // for a small file of uses of uses takes seconds. (A count past the
    // limit has wrapped below zero and holds nothing.)
    if (limit != 0) {
        const uint64_t present = target_->elementCount() <= limit ? target_->elementCount() : 0;
        if (times(each.drawn, limit) > limit - present)
            return ERROR_MAX_ELEMENTS;
    }
    if (useShapes != 0) {
        const uint64_t drawn = times(each.drawn, useShapes);
        if (drawn > useShapes - std::min(useShapesCharged_, useShapes))
            return ERROR_MAX_ELEMENTS;
        useShapesCharged_ += drawn;
    }
    expansionCharged_ += size;
    return SUCCESS;
}

namespace {

// Ids enter the hash trimmed of blanks at both ends and are compared
// without regard to case: two ids that differ in case alone are one id
// once either has been hashed.
std::string HashKey(std::string_view id)
{
    const size_t first = id.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return std::string();
    const size_t last = id.find_last_not_of(" \t\r\n");
    std::string key(id.substr(first, last - first + 1));
    for (char& c : key) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return key;
}

}  // namespace

bool CSvgFlattener::TakeTileElements(uint64_t tiles, SvgElementView content, const CSvgContext& context)
{
    const uint64_t each = ExpandedSize(context, content).nodes;
    const uint64_t room = kvlimits::kMaxPatternTileElements - std::min(tileElements_, kvlimits::kMaxPatternTileElements);
    if (tiles != 0 && each > room / tiles)
        return false;
    tileElements_ += each * tiles;
    return true;
}

void CSvgFlattener::RegisterElementId(SvgElementView element)
{
    const pugi::xml_attribute id = element.node().attribute("id");
    if (!id || !*id.value())
        return;
    try {
        std::string key = HashKey(id.value());
        if (!key.empty())
            nodeHash_.emplace(std::move(key), element.node());
    } catch (const std::bad_alloc&) {
        // The hash only saves a search; a missing entry is found the slow way.
    }
}

SvgElementView CSvgFlattener::FindElementById(const CSvgContext& context, const KvChar* id)
{
    if (!id || !source_)
        return {};
    std::string wanted;
    std::string key;
    try {
        wanted = ToUtf8(id);
        const size_t first = wanted.find_first_not_of(" \t\r\n");
        if (first != std::string::npos && wanted[first] == '#')
            wanted.erase(0, first + 1);
        key = HashKey(wanted);
    } catch (const std::bad_alloc&) {
        return {};
    }
    if (key.empty())
        return {};
    if (auto found = nodeHash_.find(key); found != nodeHash_.end())
        return SvgElementView(*source_, found->second);
    // Not walked yet: the document is searched for the id as written, case
    // and all, once; what is found is hashed for the next reference, and an
    // id that found nothing is not searched for again.
    const std::string exact = [&]() {
        const size_t first = wanted.find_first_not_of(" \t\r\n");
        const size_t last = wanted.find_last_not_of(" \t\r\n");
        return wanted.substr(first, last - first + 1);
    }();
    if (!exactIndexBuilt_) {
        // One pass over the whole document, first in document order winning,
        // stands in for a search per id: long chains of forward references
        // would otherwise search the document once per link.
        exactIndexBuilt_ = true;
        pugi::xml_node start = context.sourceRoot ? context.sourceRoot.node() : source_->Root();
        try {
            start.find_node([&](pugi::xml_node candidate) {
                if (candidate.type() == pugi::node_element) {
                    const char* value = candidate.attribute("id").value();
                    if (*value)
                        exactIndex_.emplace(value, candidate);
                }
                return false;
            });
        } catch (const std::bad_alloc&) {
            exactIndex_.clear();
            exactIndexBuilt_ = false;
        }
    }
    pugi::xml_node node;
    if (exactIndexBuilt_) {
        if (auto found = exactIndex_.find(exact); found != exactIndex_.end())
            node = found->second;
    } else {
        pugi::xml_node start = context.sourceRoot ? context.sourceRoot.node() : source_->Root();
        node = start.find_node([&](pugi::xml_node candidate) {
            return candidate.type() == pugi::node_element && exact == candidate.attribute("id").value();
        });
    }
    if (!node)
        return {};
    RegisterElementId(SvgElementView(*source_, node));
    return SvgElementView(*source_, node);
}
