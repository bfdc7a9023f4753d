// Clip geometry by id. The first pass collects every clipPath of the source
// into two paths (one per fill rule) on the flattener's measuring engine;
// the second pass makes variants of a clip under other matrices and
// intersections of nested clips, each computed once and named by id, and
// writes each clipPath into the flat document once, ahead of its first user.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kvsvg/kvdrw.h"
#include "values/svg_geometry.h"

class CSvgClipPath {
public:
    explicit CSvgClipPath(kvdrw::Engine& engine) : engine_(engine) {}
    ~CSvgClipPath();
    CSvgClipPath(const CSvgClipPath&) = delete;
    CSvgClipPath& operator=(const CSvgClipPath&) = delete;

    // Makes the two empty paths; ERROR_NO_MEMORY or the engine's status.
    int32_t Create();
    // Adds one more figure path to the paths of its fill rule, uniting it
    // with what is there.
    int32_t AddGeometry(kvdrw::GraphicsPath* figure, bool evenOdd);

    std::string id;
    kvdrw::GraphicsPath* evenOddPath = nullptr;
    kvdrw::GraphicsPath* nonZeroPath = nullptr;
    // Variants under other matrices (their ids) and known intersections
    // (the other clip's id, the result's id).
    std::vector<std::pair<SvgMatrix, std::string>> transformed;
    std::vector<std::pair<std::string, std::string>> intersections;
    uint32_t transformCount = 0;
    uint32_t shapeCount = 0;
    bool derived = false;
    bool emitted = false;
    uint32_t clipPathUnits = 0;

    kvdrw::Engine& engine() { return engine_; }

private:
    kvdrw::Engine& engine_;
};

// Clips by id. Ids compare without regard to ASCII case.
class CSvgClipPathHash {
public:
    CSvgClipPath* Find(const std::string& id) const;
    // Takes the clip under its id; false (and the clip dropped) when the id
    // is taken.
    bool Add(std::unique_ptr<CSvgClipPath> clip);
    // Gives the clip a free id ("kv<id>", then "kv<id>_<n>") and takes it;
    // null when none of ten thousand is free.
    CSvgClipPath* AddWithFreeId(std::unique_ptr<CSvgClipPath> clip);
    bool empty() const { return clips_.empty(); }

private:
    static std::string Key(const std::string& id);
    std::unordered_map<std::string, std::unique_ptr<CSvgClipPath>> clips_;
};
