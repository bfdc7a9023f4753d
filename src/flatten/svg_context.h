// What the flattener knows on one level of the tree: the matrix from the
// element's coordinates to the root's user space, the cascaded style, the
// units that lengths resolve against, and where output goes. Each element
// derives its context from its parent's; a context ends with its element.
//
// The cascade has two sources, both already merged into an element's record
// by the attribute reader (presentation attributes, then the style
// attribute). MergeStyle brings the parent's values down: opacity
// multiplies, clip-path never inherits, everything else fills what the
// child left unset.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "document/svg_element_view.h"
#include "kvsvg/kvsvg.h"
#include "values/svg_geometry.h"

class CSvgClipPath;
struct CSvgInstanceList;

// One use being expanded, linked to the use whose content holds it: the
// chain of uses open above an element. A use that finds itself on the chain
// would expand without end and yields nothing instead.
// The links are counted per use node in `active` (owned by the flattener),
// so that finding a use on its own chain costs one lookup however long the
// chain: a link lives exactly as long as some context of its expansion.
struct CSvgUseLink {
    CSvgUseLink(pugi::xml_node use, std::shared_ptr<const CSvgUseLink> outer,
                std::unordered_map<pugi::xml_node_struct*, uint32_t>* active);
    ~CSvgUseLink();
    CSvgUseLink(const CSvgUseLink&) = delete;
    CSvgUseLink& operator=(const CSvgUseLink&) = delete;

    pugi::xml_node use;
    // Mutable so that the destructor can unwind a long chain.
    mutable std::shared_ptr<const CSvgUseLink> outer;
    std::unordered_map<pugi::xml_node_struct*, uint32_t>* active;
};

// A style record that owns its strings and arrays and frees them.
class CSvgStyleProp : public K_SvgStyleProp {
public:
    CSvgStyleProp();
    ~CSvgStyleProp();
    CSvgStyleProp(const CSvgStyleProp&) = delete;
    CSvgStyleProp& operator=(const CSvgStyleProp&) = delete;

    // Frees what is held and starts empty again.
    void Reset();
    // A deep copy of `source`; ERROR_NO_MEMORY leaves this empty.
    int32_t CopyFrom(const K_SvgStyleProp& source);
    // Hands everything held to `record`, whose own style is freed first,
    // and starts empty again: the record's style becomes the cascaded one.
    void MoveInto(K_SvgStyleProp& record);
};

// Merges `source` into `destination`, field by field: an unset source
// field changes nothing; with force clear a set destination stays;
// otherwise the source's value is copied deeply. With force set, opacity
// multiplies into a set destination. clip-path is copied whether set or not.
// ERROR_NO_MEMORY when a string or array could not be copied; the fields
// merged so far stay merged.
int32_t MergeStyle(K_SvgStyleProp& destination, const K_SvgStyleProp& source, bool force);

// What a subtree is flattened for.
enum class FlattenMode : uint32_t {
    Normal = 0,
    ClipContent = 1,
    PatternContent = 2,
    MaskContent = 3,
    InstanceContent = 4,
};

class CSvgContext {
public:
    // The root's defaults: identity, empty style, -1 for the three sizes.
    CSvgContext() = default;
    virtual ~CSvgContext();
    CSvgContext(const CSvgContext&) = delete;
    CSvgContext& operator=(const CSvgContext&) = delete;

    // Sets this (fresh) context up as a child of `parent`: the matrix is the
    // parent's times the list's (parent on the left), the style a deep copy
    // of the parent's with `style` merged over it by force, the rest copied.
    // ERROR_NO_MEMORY when a copy failed.
    int32_t Derive(const CSvgContext& parent, const SvgTransformList* transform, const K_SvgStyleProp* style);
    // Takes a mask id for this level (a copy). ERROR_NO_MEMORY on failure.
    int32_t SetMaskId(const KvChar* id, bool identityMatrix);

    int32_t fontSize = -1;
    int32_t viewportWidth = -1;
    int32_t viewportHeight = -1;
    // The mask was read on this level rather than brought from above.
    bool hasMask = false;
    bool maskHasIdentityMatrix = false;
    // Id of the active mask. Every context holds its own copy, so that a
    // child whose walk outlives its parent's stack frame never borrows.
    KvChar* maskId = nullptr;
    FlattenMode mode = FlattenMode::Normal;
    SvgElementView sourceRoot;
    SvgElementView outputParent;
    SvgElementView sourceNode;
    // The element whose walk (or use) brought sourceNode; null at the root.
    SvgElementView parentNode;
    SvgMatrix matrix;
    CSvgStyleProp style;
    CSvgClipPath* collectingClip = nullptr;
    CSvgClipPath* activeClip = nullptr;
    CSvgInstanceList* instance = nullptr;
    // The uses being expanded above this level; empty outside use content.
    std::shared_ptr<const CSvgUseLink> useChain;
    // Paint servers whose content is being flattened above this level, so
    // that content painted with its own pattern does not expand again.
    std::shared_ptr<const CSvgUseLink> patternChain;
};

// Resolves, in this order, font-size (a percentage becomes 0; the context's
// fontSize takes the truncated pixels), stroke-width against the viewport's
// diagonal, and letter- and word-spacing given as lengths. Always SUCCESS.
int32_t ResolveContextLengths(CSvgContext& context, K_SvgStyleProp& style);

// Truncation towards zero; a value out of range or not a number gives the
// most negative integer, as the processor's conversion does.
int32_t TruncateToInt32(double value);

// Scales stroke-width by the length of the matrix's first column; an unset
// width counts as 1 first. The identity changes nothing; dashes are left.
void ScaleStrokeWidth(const SvgMatrix& matrix, K_SvgStyleProp& style);
