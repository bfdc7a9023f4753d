// The object of one flattening run: takes a source document and writes its
// flat form into a target document (see README.md for what the flat form
// promises). It owns the walk, dispatches each element by type to its
// handler, and routes every finished record to its destination.
//
// The walk keeps one frame per open container on a heap stack instead of
// recursing, so nesting depth costs memory, not machine stack, and ends
// with ERROR_MAX_ELEMENTS at kvlimits::kMaxFlattenDepth. A container
// handler derives its children's context and hands it to FlattenChildren;
// the children run after the handler has returned and before the
// container's next sibling, so output keeps document order.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "flatten/svg_context.h"
#include "kvsvg/kvsvg.h"

class SvgDocumentHandler;
class CSvgFlattener;
class CSvgClipPathHash;
class CSvgFontCache;
namespace kvdrw {
class Engine;
}

// Handles one element: context.sourceNode is the element, context the
// working context of its parent's walk, which the handler must leave as it
// found it. SUCCESS goes on with the walk; any other status ends the run.
using FlattenVisitor = int32_t (*)(CSvgFlattener& flattener, CSvgContext& context);
// Runs when a container's children are done (or the run is abandoned),
// with the context they were flattened in.
using FlattenExit = void (*)(CSvgFlattener& flattener, CSvgContext& context);

// The box of a shape in the coordinates it takes in the flat document,
// stroke not included; paint servers with objectBoundingBox units are
// placed from it.
using CSvgBoundingBox = SvgExtent;

class CSvgFlattener {
public:
    // options may be null: all zero.
    explicit CSvgFlattener(const K_SvgFlatOptions* options);
    virtual ~CSvgFlattener();
    CSvgFlattener(const CSvgFlattener&) = delete;
    CSvgFlattener& operator=(const CSvgFlattener&) = delete;

    // Flattens `source` into the empty document `target`: both passes, the
    // resolution carried over, the flat mark. No svg root: SUCCESS and
    // target left empty and unmarked. On failure target holds partial output
    // that the caller discards.
    int32_t Run(SvgDocumentHandler& source, SvgDocumentHandler& target);

    // The dispatcher: the handler of context.sourceNode's type, or SUCCESS
    // for a type without one.
    int32_t FlattenElement(CSvgContext& context);
    // Visits each element child of context.sourceNode with `visitor`, in a
    // working context moved from `context` whose parentNode is that node.
    // The visits happen after the calling handler returns; `onExit` (may be
    // null) runs once they are over. ERROR_MAX_ELEMENTS past the depth
    // limit, ERROR_NO_MEMORY if the frame cannot be kept.
    int32_t FlattenChildren(std::unique_ptr<CSvgContext> context, FlattenVisitor visitor,
                            FlattenExit onExit = nullptr);
    // Visits the one element `node` (not its siblings) with `visitor`, in
    // the working context `context`, after the calling handler returns:
    // how a use hands over its target without recursing on the machine
    // stack when the target is itself a use.
    int32_t FlattenOne(std::unique_ptr<CSvgContext> context, SvgElementView node, FlattenVisitor visitor);
    // Runs visitor on context and then every walk it started, to the end:
    // the second pass, and the nested walks of clip, pattern and mask
    // content, which must be complete before their caller goes on.
    int32_t RunWalk(CSvgContext& context, FlattenVisitor visitor);

    // Sends a finished record to its destination: the clip being collected,
    // the instance list, or the output after the last child of
    // outputParent. *inserted (optional) gets the new element.
    int32_t InsertFlatElement(CSvgContext& context, void* record, uint32_t type, const CSvgBoundingBox& box,
                              SvgElementView* inserted = nullptr);

    // Every element the walk meets is registered by id, so that references
    // find walked elements without a search.
    void RegisterElementId(SvgElementView element);
    // The element with this id in the source; a null view when none.
    SvgElementView FindElementById(const CSvgContext& context, const KvChar* id);

    const K_SvgFlatOptions& options() const { return options_; }
    bool textOnly() const { return (options_.uFlags & SVG_FLAT_TEXT_ONLY) != 0; }
    // The shared counter of generated ids; never reset within a run.
    uint32_t NextId() { return idCounter_++; }

    // Charges the elements a top-level use will emit, counted through the
    // uses inside its target, against the run's expansion budget
    // (kvlimits::kMaxUseExpansion), and under an element limit the shapes
    // they are sure to draw against the room the flat form has left and
    // the source's bound on shapes its uses copy.
    // ERROR_MAX_ELEMENTS when either would be passed: nothing of that use
    // has been emitted yet.
    // `copies` copies of `target` (pattern tiles) are charged the same way.
    int32_t ChargeExpansion(const CSvgContext& context, SvgElementView target, uint64_t copies = 1);
    // Takes `tiles` copies of `content` from the run's budget of expanded
    // pattern tiles (kvlimits::kMaxPatternTileElements); false, taking
    // nothing, when they do not fit.
    bool TakeTileElements(uint64_t tiles, SvgElementView content, const CSvgContext& context);
    // Patterns whose content is being flattened now.
    std::unordered_set<const void*>& activePatterns() { return activePatterns_; }

    // The uses whose expansion is under way, counted by their links.
    std::unordered_map<pugi::xml_node_struct*, uint32_t>& activeUses() { return activeUses_; }
    bool IsUseActive(pugi::xml_node use) const { return activeUses_.count(use.internal_object()) != 0; }

    // The measuring engine of the run, made when first asked for: clip
    // geometry and text measuring go through it. Null without one.
    kvdrw::Engine* engine();
    // The fonts text layout has made on the engine, shared by every text
    // of the run; null when memory ran out.
    CSvgFontCache* textFonts();
    // The clips of the first pass and every variant made since.
    CSvgClipPathHash& clipPaths() { return *clipPaths_; }
    SvgDocumentHandler* source() const { return source_; }

    // A fresh context on the heap, for FlattenChildren; null when memory ran out.
    static std::unique_ptr<CSvgContext> NewContext();

private:
    struct WalkFrame {
        std::unique_ptr<CSvgContext> context;
        SvgElementView next;
        FlattenVisitor visitor = nullptr;
        FlattenExit onExit = nullptr;
        // Visits `next` alone, not its following siblings.
        bool single = false;
    };

    // Copying `node`: `nodes` counts the elements below it, itself included,
    // each use as its target's count; `drawn` the shapes among them that are
    // drawn (none inside defs, clip paths, masks, patterns, markers, paint
    // servers or display="none"), each of which the flat form holds at least
    // once. Memoised by node; a use met again inside its own count adds
    // nothing. Saturates far above the budget.
    struct ExpandedCount {
        uint64_t nodes = 0;
        uint64_t drawn = 0;
    };
    ExpandedCount ExpandedSize(const CSvgContext& context, SvgElementView node);
    int32_t PushFrame(WalkFrame frame);

    int32_t Walk(size_t baseDepth);
    void PopFramesTo(size_t depth);

    K_SvgFlatOptions options_{};
    uint32_t idCounter_ = 0;
    // Before frames_: the links in the frames' contexts count themselves here.
    std::unordered_map<pugi::xml_node_struct*, uint32_t> activeUses_;
    std::unordered_set<const void*> activePatterns_;
    std::vector<WalkFrame> frames_;
    std::unordered_map<std::string, pugi::xml_node> nodeHash_;
    // Every id of the source as written, for references ahead of the walk.
    std::unordered_map<std::string, pugi::xml_node> exactIndex_;
    bool exactIndexBuilt_ = false;
    SvgDocumentHandler* source_ = nullptr;
    SvgDocumentHandler* target_ = nullptr;
    kvdrw::Engine* engine_ = nullptr;
    bool engineTried_ = false;
    std::unique_ptr<CSvgClipPathHash> clipPaths_;
    std::unordered_map<pugi::xml_node_struct*, ExpandedCount> expandedSizes_;
    uint64_t expansionCharged_ = 0;
    uint64_t useShapesCharged_ = 0;
    uint64_t tileElements_ = 0;
    std::unique_ptr<CSvgFontCache> textFonts_;
};

// The handler table by element type. Structure, paint server and text
// handlers live in their own files and take their places here.
int32_t FlattenSvg(CSvgFlattener& flattener, CSvgContext& context);
// svg with the width and height a use gives it (each may be null or unset).
int32_t FlattenSvgWithOverrides(CSvgFlattener& flattener, CSvgContext& context, const SvgLength* widthOverride,
                                const SvgLength* heightOverride);
// The matrix that maps svg.viewBox onto the viewport svg.x, y, width,
// height as `ratio` asks (unset and non-positive sizes taking 1000).
SvgMatrix ViewBoxMatrix(const SvgPreserveAspectRatio& ratio, const SvgSvgElement& svg);
int32_t FlattenGroup(CSvgFlattener& flattener, CSvgContext& context);
int32_t FlattenDefs(CSvgFlattener& flattener, CSvgContext& context);
int32_t FlattenAnchor(CSvgFlattener& flattener, CSvgContext& context);
int32_t FlattenUse(CSvgFlattener& flattener, CSvgContext& context);
int32_t FlattenImage(CSvgFlattener& flattener, CSvgContext& context);
int32_t FlattenLine(CSvgFlattener& flattener, CSvgContext& context);
int32_t FlattenRect(CSvgFlattener& flattener, CSvgContext& context);
int32_t FlattenCircle(CSvgFlattener& flattener, CSvgContext& context);
int32_t FlattenEllipse(CSvgFlattener& flattener, CSvgContext& context);
int32_t FlattenPoly(CSvgFlattener& flattener, CSvgContext& context);
int32_t FlattenPath(CSvgFlattener& flattener, CSvgContext& context);
