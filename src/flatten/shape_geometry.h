// Path geometry of shape baking: building command arrays, baking a matrix
// into a path's commands (arcs that the matrix would distort become
// cubics), and recognising a path that is an upright rectangle.
#pragma once

#include <cstdint>

#include "kvsvg/kvsvg.h"
#include "values/svg_geometry.h"

// Builds a tracked command array; frees it unless handed to a record.
class PathBuilder {
public:
    PathBuilder() = default;
    ~PathBuilder();
    PathBuilder(const PathBuilder&) = delete;
    PathBuilder& operator=(const PathBuilder&) = delete;

    // Room for `count` commands in all; false when memory ran out.
    bool Reserve(uint32_t count);
    // Each appends one absolute command; the room must have been reserved.
    void Move(KvPoint point);
    void Line(KvPoint point);
    void Cubic(KvPoint control1, KvPoint control2, KvPoint end);
    void Close();
    // Appends a copy of any command.
    void Append(const SvgPathSegment& segment);
    uint32_t count() const { return count_; }
    // Replaces the commands of `data` with these.
    void MoveInto(SvgPathData& data);

private:
    SvgPathSegment& Next(uint32_t type, uint32_t payloadSize);

    SvgPathSegment* items_ = nullptr;
    uint32_t count_ = 0;
    uint32_t capacity_ = 0;
};

// Walks the commands once: relative become absolute, horizontal and
// vertical lines and smooth curves become explicit, points go through the
// matrix (not in instance content) and into `box`. An arc stays an arc with
// scaled radii under an axis-aligned matrix; otherwise (and always in
// instance content) it becomes cubics. Commands of an unknown type stay as
// they are. ERROR_NO_MEMORY leaves `data` as it was.
int32_t BakePathData(SvgPathData& data, const SvgMatrix& matrix, bool instanceContent, SvgExtent& box);

// One move, then lines, then at most a close, 4 to 6 commands, whose four
// corners make an upright rectangle (within 0.05), under a matrix that does
// not turn it.
bool IsRectanglePath(const SvgMatrix& matrix, const SvgPathData& data);
// The rect spanning the path's points, with the path's style and core
// attributes copied. ERROR_NO_MEMORY when a copy failed.
int32_t RectFromPath(const SvgPathElement& path, SvgRectElement& rect);
