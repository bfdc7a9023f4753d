// Walks a flat document and turns each drawable element into calls on a
// drawing engine. Knows only what a flat document holds: every shape carries
// its style and root-space geometry, so nothing is inherited, looked up in a
// sheet or instantiated here. Pens, brushes and the string format are reused
// from element to element, and a gradient brush while its id stays the same.
// Lives for one draw.
#pragma once

#include <cstdint>
#include <string>

#include <pugixml.hpp>

#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"
#include "kvsvg/kvsvg_render.h"
#include "render/svg_rendering_utils.h"

class SvgDocumentHandler;
class SvgElementView;
class SvgRenderOptimizedState;
struct OptimizedEntry;

class SvgRenderingEngine {
public:
    // options, optimized and viewMatrix may be null; with `optimized` the
    // walk and every look-up use the state instead of the tree.
    SvgRenderingEngine(kvdrw::Engine& engine, SvgDocumentHandler& document, const SvgRenderOptions* options,
                       SvgRenderOptimizedState* optimized, const KvMatrix* viewMatrix);
    virtual ~SvgRenderingEngine();
    SvgRenderingEngine(const SvgRenderingEngine&) = delete;
    SvgRenderingEngine& operator=(const SvgRenderingEngine&) = delete;

    int32_t DrawBackground();
    // The children of the root svg, containers walked into, in document order.
    int32_t DrawElements(const SvgElementView& root);
    // The entries of the render-optimised state, from entry 1 on.
    int32_t DrawOptimized();
    // One drawable element; other kinds give SUCCESS and draw nothing.
    int32_t DrawElement(const SvgElementView& element);

private:
    // entry: the element's render-optimised entry, or null in a plain walk.
    int32_t DrawRecord(uint32_t kind, const void* record, OptimizedEntry* entry);
    int32_t AskFilter(pugi::xml_node node, uint32_t kind, bool* skip);
    int32_t DrawPath(const SvgPathElement& path, OptimizedEntry* entry);
    int32_t DrawRect(const SvgRectElement& rect);
    int32_t DrawCircle(const SvgCircleElement& circle);
    int32_t DrawEllipse(const SvgEllipseElement& ellipse);
    int32_t DrawLine(const SvgLineElement& line);
    int32_t DrawPoly(const SvgPolyElement& poly, bool polygon);
    int32_t DrawImage(const SvgImageElement& image, OptimizedEntry* entry);
    int32_t DrawBitmap(const SvgImageElement& image, KvBitmap& bitmap);
    int32_t DrawText(const SvgTextElement& text, OptimizedEntry* entry);
    int32_t DrawTextRun(const SvgTextElement& text, const kvdrw::FontMetrics* cached);

    // The common frame of a shape: visibility, brush and pen. *skip tells
    // the caller to draw nothing (and return SUCCESS).
    int32_t PreparePaint(const K_SvgStyleProp& style, bool wantBrush, bool* skip);
    int32_t PrepareBrush(const K_SvgStyleProp& style);
    int32_t ApplyTransform(const SvgTransformList& transform);
    int32_t ApplyClip(const K_SvgStyleProp& style);
    int32_t RotateCurrentTransform(double angleDegrees, double x, double y);

    kvdrw::Engine& engine_;
    SvgDocumentHandler& document_;
    const SvgRenderOptions* options_;
    SvgRenderOptimizedState* optimized_;
    const KvMatrix* viewMatrix_;
    KvRectangle clipRect_{};
    KvRectangle cullRect_{};
    SvgRenderingUtils utils_;
    std::u16string paintId_;
    kvdrw::StringFormat* stringFormat_ = nullptr;
    kvdrw::SolidBrush* solidBrush_ = nullptr;
    kvdrw::LinearGradientBrush* gradientBrush_ = nullptr;
    kvdrw::Pen* pen_ = nullptr;
    kvdrw::Brush* brush_ = nullptr;  // solidBrush_, gradientBrush_ or null; not owned
    kvdrw::Font* font_ = nullptr;
};

// Hidden by visibility (hidden, collapse) or display (none).
bool IsHiddenStyle(const K_SvgStyleProp& style);
