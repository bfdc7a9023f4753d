// The render-optimised state of a flat document: every drawable element's
// record read once, its bounds measured once, images decoded once, paths
// built once per engine kind, and the clipPath and linearGradient
// definitions with their children, so that repeated draws of a large
// document re-parse nothing. Kept on the document between
// K_SvgBeginRenderOptimizeDocument and K_SvgEndRenderOptimizeDocument, and
// dropped by the document when its tree changes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "document/svg_document_handler.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvdrw.h"

// One element record of the size its kind needs, freed with its owner.
class HeapRecord {
public:
    HeapRecord() = default;
    ~HeapRecord();
    HeapRecord(HeapRecord&& other) noexcept;
    HeapRecord& operator=(HeapRecord&& other) noexcept;
    HeapRecord(const HeapRecord&) = delete;
    HeapRecord& operator=(const HeapRecord&) = delete;

    // Sets up a record of the kind and reads the node into it.
    int32_t Read(uint32_t kind, pugi::xml_node node, uint32_t version);
    const void* get() const { return data_; }
    template <class Record>
    const Record& as() const { return *static_cast<const Record*>(data_); }

private:
    void Release();
    uint32_t kind_ = 0;
    void* data_ = nullptr;
};

// A decoded image, freed with its owner.
struct BitmapDeleter {
    void operator()(KvBitmap* bitmap) const;
};
using OwnedBitmap = std::unique_ptr<KvBitmap, BitmapDeleter>;

struct OptimizedEntry {
    uint32_t kind = 0;
    KvRectangle bounds{};  // under the root's view matrix
    pugi::xml_node node;
    HeapRecord record;
    kvdrw::GraphicsPath* path = nullptr;  // path entries, built on first draw
    kvdrw::FontMetrics metrics{};         // text entries
    bool hasMetrics = false;
    OwnedBitmap image;                    // image entries; null when undecodable
};

struct OptimizedDefinitionChild {
    uint32_t kind = 0;  // path, rect or stop
    HeapRecord record;
    kvdrw::GraphicsPath* path = nullptr;
};

struct OptimizedDefinition {
    uint32_t kind = 0;  // clipPath or linearGradient
    std::u16string id;
    HeapRecord record;
    std::vector<OptimizedDefinitionChild> children;
};

class SvgRenderOptimizedState : public SvgDerivedState {
public:
    // Entries live in blocks of this many, so that no one allocation has to
    // hold a whole large document.
    static constexpr size_t kBlockSize = 10000;

    ~SvgRenderOptimizedState() override;

    // Reads the flat document; on failure the state is empty and the status
    // says why.
    int32_t Collect(SvgDocumentHandler& document);

    size_t size() const { return count_; }
    size_t blockCount() const { return blocks_.size(); }
    // Null past the end.
    OptimizedEntry* At(size_t index);
    std::vector<OptimizedDefinition>& definitions() { return definitions_; }

    // Cached paths belong to one engine kind; a draw on another kind drops
    // them first. Paths are cached only for the drawing library's own kind,
    // whose objects the state can give back through a measuring engine.
    bool CanCachePaths(kvdrw::Engine& engine);
    void UseEngineKind(int32_t kind);

    int32_t refCount = 0;

private:
    int32_t Append(OptimizedEntry&& entry);
    void ReleasePaths();

    std::vector<std::unique_ptr<OptimizedEntry[]>> blocks_;
    size_t count_ = 0;
    std::vector<OptimizedDefinition> definitions_;
    int32_t engineKind_ = -1;
    int32_t libraryKind_ = -1;
};

// The state of a document, or null when it is not render-optimised.
SvgRenderOptimizedState* OptimizedStateOf(SvgDocumentHandler& document);
