#include "filter/legacy_vector_builder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/bitmap.h"
#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "codecs/codecs.h"
#include "document/svg_data_uri.h"
#include "document/svg_normalizer.h"
#include "filter/vector_library.h"
#include "flatten/shape_geometry.h"
#include "kvsvg/kvbase.h"
#include "legacy/adv_xml_parser.h"
#include "render/svg_rendering_utils.h"
#include "values/svg_geometry.h"
#include "values/value_parser.h"
#include "values/value_records.h"

namespace {

using AdvXMLParser::Element;

constexpr double kPi = 3.14159265358979323846;
constexpr KvColor kBlack{255, 0, 0, 0};

// What an element draws with, cascaded from its ancestors: presentation
// attributes first, then the style attribute over them.
struct PaintState {
    bool fillNone = false;
    KvColor fill = kBlack;
    bool strokeNone = true;
    KvColor stroke = kBlack;
    double strokeWidth = 1.0;
    double opacity = 1.0;
    double fillOpacity = 1.0;
    double strokeOpacity = 1.0;
    double miterLimit = 4.0;
    uint32_t cap = KVEC_CAP_FLAT;
    uint32_t join = KVEC_JOIN_MITER;
    uint32_t fillMode = KVEC_FILL_WINDING;
    bool dashed = false;
    std::u16string fontFamily;
    double fontSize = 16.0;
    bool preserveSpace = false;
};

std::string_view Trim(std::string_view text)
{
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return {};
    const size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

// The leading number of a value, units and all ignored; fallback when none.
double Number(std::string_view text, double fallback)
{
    std::string copy(Trim(text));
    char* end = nullptr;
    const double value = std::strtod(copy.c_str(), &end);
    return (end == copy.c_str() || !std::isfinite(value)) ? fallback : value;
}

double Clamp01(double value) { return value < 0.0 ? 0.0 : value > 1.0 ? 1.0 : value; }

// A colour by the library's own colour table; false for what is not one.
bool ParseColorValue(std::string_view text, KvColor& color)
{
    SvgColor value;
    InitColor(&value);
    int32_t incomplete = 0;
    const std::u16string wide = ToUtf16(Trim(text));
    bool parsed = ParseColor(std::u16string_view(wide), &value, &incomplete) == SUCCESS && !incomplete;
    KvColor resolved{0, 0, 0, 0};
    if (parsed)
        parsed = ResolveColor(value, 1.0, resolved) == SUCCESS && resolved.alpha != 0;
    FreeColor(&value);
    if (parsed)
        color = KvColor{255, resolved.red, resolved.green, resolved.blue};
    return parsed;
}

// Elements by id, for the paint servers that paints name.
using IdMap = std::map<std::string, const Element*, std::less<>>;

void CollectIds(const Element& element, IdMap& ids)
{
    std::string id;
    if (element.GetAttributeValue("id", &id) && !id.empty())
        ids.emplace(id, &element);
    for (const Element* child : element.GetElements())
        CollectIds(*child, ids);
}

std::string_view LocalName(std::string_view name)
{
    const size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

// The stop-color of a stop, as an attribute or in its style.
bool StopColor(const Element& stop, KvColor& color)
{
    std::string value;
    if (stop.GetAttributeValue("style", &value)) {
        const size_t at = value.find("stop-color");
        if (at != std::string::npos) {
            const size_t colon = value.find(':', at);
            const size_t end = value.find(';', at);
            if (colon != std::string::npos && ParseColorValue(std::string_view(value).substr(colon + 1, end - colon - 1), color))
                return true;
        }
    }
    return stop.GetAttributeValue("stop-color", &value) && ParseColorValue(value, color);
}

// A gradient has no counterpart among vector objects: it paints in the
// colour of its first stop, found through a few href links at most.
bool GradientColor(std::string_view id, const IdMap& ids, KvColor& color)
{
    std::string next;
    for (int link = 0; link < 8; ++link) {
        const auto found = ids.find(id);
        if (found == ids.end())
            return false;
        const Element& server = *found->second;
        const std::string serverName = server.GetName();
        const std::string_view kind = LocalName(serverName);
        if (kind != "linearGradient" && kind != "radialGradient")
            return false;
        for (const Element* stop : server.GetElements()) {
            if (LocalName(stop->GetName()) == "stop")
                return StopColor(*stop, color);
        }
        std::string href;
        if (!server.GetAttributeValue("xlink:href", &href) && !server.GetAttributeValue("href", &href))
            return false;
        if (href.empty() || href[0] != '#')
            return false;
        next = href.substr(1);
        id = next;
    }
    return false;
}

// A paint: "none", a colour, or a paint server reference: a gradient
// paints in its first stop's colour, anything else in the fallback colour
// written after the reference, or not at all.
void ApplyPaint(std::string_view text, const IdMap& ids, bool& none, KvColor& color)
{
    text = Trim(text);
    if (text == "none") {
        none = true;
        return;
    }
    if (text.substr(0, 4) == "url(") {
        const size_t close = text.find(')');
        if (close == std::string_view::npos) {
            none = true;
            return;
        }
        std::string_view id = Trim(text.substr(4, close - 4));
        if (!id.empty() && id.front() == '#')
            id.remove_prefix(1);
        none = !(GradientColor(id, ids, color) || ParseColorValue(text.substr(close + 1), color));
        return;
    }
    if (ParseColorValue(text, color))
        none = false;
}

void ApplyProperty(PaintState& paint, const IdMap& ids, std::string_view name, std::string_view value)
{
    value = Trim(value);
    if (name == "fill") {
        ApplyPaint(value, ids, paint.fillNone, paint.fill);
    } else if (name == "stroke") {
        ApplyPaint(value, ids, paint.strokeNone, paint.stroke);
    } else if (name == "stroke-width") {
        paint.strokeWidth = std::fabs(Number(value, paint.strokeWidth));
    } else if (name == "opacity") {
        paint.opacity *= Clamp01(Number(value, 1.0));
    } else if (name == "fill-opacity") {
        paint.fillOpacity = Clamp01(Number(value, 1.0));
    } else if (name == "stroke-opacity") {
        paint.strokeOpacity = Clamp01(Number(value, 1.0));
    } else if (name == "stroke-miterlimit") {
        paint.miterLimit = Number(value, paint.miterLimit);
    } else if (name == "stroke-linecap") {
        paint.cap = value == "round" ? KVEC_CAP_ROUND : value == "square" ? KVEC_CAP_SQUARE : KVEC_CAP_FLAT;
    } else if (name == "stroke-linejoin") {
        paint.join = value == "round" ? KVEC_JOIN_ROUND : value == "bevel" ? KVEC_JOIN_BEVEL : KVEC_JOIN_MITER;
    } else if (name == "stroke-dasharray") {
        paint.dashed = !value.empty() && value != "none";
    } else if (name == "fill-rule") {
        paint.fillMode = value == "evenodd" ? KVEC_FILL_ALTERNATE : KVEC_FILL_WINDING;
    } else if (name == "font-size") {
        paint.fontSize = Number(value, paint.fontSize);
    } else if (name == "font-family") {
        std::string_view first = Trim(value.substr(0, value.find(',')));
        if (first.size() >= 2 && (first.front() == '\'' || first.front() == '"'))
            first = first.substr(1, first.size() - 2);
        paint.fontFamily = ToUtf16(first);
    } else if (name == "xml:space") {
        paint.preserveSpace = value == "preserve";
    }
}

// Opacity is not inherited as such: a group's multiplies into what is
// inside it, which is what ApplyProperty does with the inherited value.
PaintState CascadePaint(const PaintState& parent, const Element& element, const IdMap& ids)
{
    PaintState paint = parent;
    for (const auto& attribute : element.GetAttributes())
        ApplyProperty(paint, ids, attribute->GetName(), attribute->GetValue());
    std::string style;
    if (element.GetAttributeValue("style", &style)) {
        std::string_view rest(style);
        while (!rest.empty()) {
            const size_t end = rest.find(';');
            const std::string_view declaration = rest.substr(0, end);
            rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
            const size_t colon = declaration.find(':');
            if (colon != std::string_view::npos)
                ApplyProperty(paint, ids, Trim(declaration.substr(0, colon)), declaration.substr(colon + 1));
        }
    }
    return paint;
}

SvgMatrix ElementMatrix(const SvgMatrix& parent, const Element& element)
{
    std::string text;
    if (!element.GetAttributeValue("transform", &text))
        return parent;
    SvgTransformList list{};
    InitTransformList(&list);
    const std::u16string wide = ToUtf16(text);
    SvgMatrix own;
    if (ParseTransformList(std::u16string_view(wide), &list) == SUCCESS)
        own = SvgMatrixFromList(&list);
    FreeTransformList(&list);
    return MultiplySvgMatrix(parent, own);
}

// A viewport side as the length resolver takes it, whole pixels: a viewBox
// may be 1e300 wide, which no int32_t holds, and NaN is no side at all.
int32_t WholeSide(double side)
{
    constexpr double kLargest = 2147483647.0;
    if (std::isnan(side))
        return 0;
    return static_cast<int32_t>(std::clamp(side, -kLargest, kLargest));
}

uint8_t Alpha(double opacity) { return static_cast<uint8_t>(std::lround(Clamp01(opacity) * 255.0)); }

// How the matrix scales lengths that have no direction (stroke widths,
// font sizes): the square root of its area factor.
double UniformScale(const SvgMatrix& m) { return std::sqrt(std::fabs(m.a * m.d - m.b * m.c)); }

bool IsAxisAligned(const SvgMatrix& m) { return IsAxisAlignedSvgMatrix(m); }

KvRectangle MapRectangle(const SvgMatrix& m, double x, double y, double width, double height)
{
    const KvPoint a = m.Apply(x, y), b = m.Apply(x + width, y + height);
    return KvRectangle{std::fmin(a.x, b.x), std::fmin(a.y, b.y), std::fabs(b.x - a.x), std::fabs(b.y - a.y)};
}

// Point list of a figure with point types, as K_VecAddObject takes it.
struct Figure {
    std::vector<KvPoint> points;
    std::vector<uint8_t> types;
    void Add(KvPoint point, uint8_t type)
    {
        points.push_back(point);
        types.push_back(type);
    }
    void Close()
    {
        if (!types.empty())
            types.back() |= KVEC_POINT_CLOSE;
    }
};

// A cubic as two quadratics, split at its middle: close enough for the
// older road's curves, which have no cubic of their own.
void AddCubic(Figure& figure, KvPoint p0, KvPoint p1, KvPoint p2, KvPoint p3)
{
    auto mid = [](KvPoint a, KvPoint b) { return KvPoint{(a.x + b.x) / 2, (a.y + b.y) / 2}; };
    const KvPoint p01 = mid(p0, p1), p12 = mid(p1, p2), p23 = mid(p2, p3);
    const KvPoint p012 = mid(p01, p12), p123 = mid(p12, p23), centre = mid(p012, p123);
    auto control = [](KvPoint a, KvPoint b, KvPoint c, KvPoint d) {
        return KvPoint{(3 * (b.x + c.x) - (a.x + d.x)) / 4, (3 * (b.y + c.y) - (a.y + d.y)) / 4};
    };
    figure.Add(control(p0, p01, p012, centre), KVEC_POINT_QUAD);
    figure.Add(centre, KVEC_POINT_QUAD);
    figure.Add(control(centre, p123, p23, p3), KVEC_POINT_QUAD);
    figure.Add(p3, KVEC_POINT_QUAD);
}

// Path data after baking: absolute, explicit and in root space.
bool FigureFromPathData(const SvgPathData& data, Figure& figure)
{
    KvPoint current{0, 0}, start{0, 0};
    for (uint32_t i = 0; i < data.count; ++i) {
        const SvgPathSegment& segment = data.items[i];
        switch (segment.type) {
        case SVG_SEGMENT_MOVE:
            current = start = KvPoint{segment.payload.move.x, segment.payload.move.y};
            figure.Add(current, KVEC_POINT_MOVE);
            break;
        case SVG_SEGMENT_LINE:
            current = KvPoint{segment.payload.line.x, segment.payload.line.y};
            figure.Add(current, KVEC_POINT_LINE);
            break;
        case SVG_SEGMENT_QUADRATIC: {
            const SvgPathQuadratic& q = segment.payload.quadratic;
            figure.Add(KvPoint{q.x1, q.y1}, KVEC_POINT_QUAD);
            current = KvPoint{q.x, q.y};
            figure.Add(current, KVEC_POINT_QUAD);
            break;
        }
        case SVG_SEGMENT_CUBIC: {
            const SvgPathCubic& c = segment.payload.cubic;
            const KvPoint end{c.x, c.y};
            AddCubic(figure, current, KvPoint{c.x1, c.y1}, KvPoint{c.x2, c.y2}, end);
            current = end;
            break;
        }
        case SVG_SEGMENT_ARC: {
            SvgCubicPiece pieces[kMaxArcPieces];
            const int count = SvgArcToCubicPieces(current, segment.payload.arc, pieces);
            for (int p = 0; p < count; ++p) {
                AddCubic(figure, current, pieces[p].control1, pieces[p].control2, pieces[p].end);
                current = pieces[p].end;
            }
            break;
        }
        case SVG_SEGMENT_CLOSE:
            figure.Close();
            current = start;
            break;
        default: return false;
        }
    }
    // A figure must start with a move for the library.
    return !figure.types.empty() && (figure.types.front() & KVEC_POINT_KIND_MASK) == KVEC_POINT_MOVE;
}

// An ellipse under a turning matrix: eight quadratic pieces through the
// matrix, each control point where the two tangents meet.
Figure EllipseFigure(const SvgMatrix& m, double cx, double cy, double rx, double ry)
{
    Figure figure;
    const double reach = 1.0 / std::cos(kPi / 8);
    figure.Add(m.Apply(cx + rx, cy), KVEC_POINT_MOVE);
    for (int i = 1; i <= 8; ++i) {
        const double middle = (i - 0.5) * kPi / 4, end = i * kPi / 4;
        figure.Add(m.Apply(cx + rx * reach * std::cos(middle), cy + ry * reach * std::sin(middle)), KVEC_POINT_QUAD);
        figure.Add(m.Apply(cx + rx * std::cos(end), cy + ry * std::sin(end)), KVEC_POINT_QUAD);
    }
    figure.Close();
    return figure;
}

std::string CollapseSpace(std::string_view text)
{
    std::string out;
    bool blank = false;
    for (char c : text) {
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
            blank = true;
            continue;
        }
        if (blank && !out.empty())
            out += ' ';
        blank = false;
        out += c;
    }
    return out;
}

class LegacyVectorBuilder {
public:
    LegacyVectorBuilder(const VectorCalls& calls, void* vector) : calls_(calls), vector_(vector) {}

    int32_t Build(const Element& root)
    {
        if (int32_t status = SetFrame(root); status != SUCCESS)
            return status;
        CollectIds(root, ids_);
        PaintState paint;
        return WalkChildren(root, CascadePaint(paint, root, ids_), rootMatrix_);
    }

private:
    double Attribute(const Element& element, std::string_view name, double fallback) const
    {
        std::string text;
        return element.GetAttributeValue(name, &text) ? Number(text, fallback) : fallback;
    }

    // A length of the element in user units; a percentage takes the root
    // viewport's side.
    double Length(const Element& element, std::string_view name, bool vertical, double fallback) const
    {
        std::string text;
        if (!element.GetAttributeValue(name, &text))
            return fallback;
        SvgLength length{};
        InitLength(&length);
        const std::u16string wide = ToUtf16(Trim(text));
        if (ParseLength(std::u16string_view(wide), &length) != SUCCESS || !std::isfinite(length.value))
            return fallback;
        ResolveSvgLength(length, vertical, true, 16, WholeSide(viewportWidth_), WholeSide(viewportHeight_));
        return length.value;
    }

    // The frame is the root's viewBox, else its size from the origin. A
    // physical unit carries over when the viewBox counts in that unit (a
    // width of "210mm" over a viewBox 210 wide); otherwise world units are
    // user units, which is pixels.
    int32_t SetFrame(const Element& root)
    {
        const double width = Length(root, "width", false, 0.0);
        const double height = Length(root, "height", true, 0.0);
        KVecParallelogram frame{kKVecParallelogramSize, {0, 0}, {width, 0}, {0, height}};
        uint32_t unit = KVEC_UNIT_PIXEL;
        std::string viewBoxText;
        if (root.GetAttributeValue("viewBox", &viewBoxText)) {
            SvgViewBox box{};
            InitViewBox(&box);
            const std::u16string wide = ToUtf16(viewBoxText);
            if (ParseViewBox(std::u16string_view(wide), &box) == SUCCESS && box.width > 0 && box.height > 0 &&
                std::isfinite(box.x) && std::isfinite(box.y)) {
                frame = KVecParallelogram{kKVecParallelogramSize, {box.x, box.y}, {box.x + box.width, box.y},
                                          {box.x, box.y + box.height}};
                std::string widthText;
                root.GetAttributeValue("width", &widthText);
                unit = UnitOfWidth(widthText, box.width);
                viewportWidth_ = box.width;
                viewportHeight_ = box.height;
            }
        } else {
            viewportWidth_ = width;
            viewportHeight_ = height;
        }
        if (calls_.setParallelogram(vector_, &frame) != SUCCESS || calls_.setUnit(vector_, unit) != SUCCESS)
            return ERROR_VECTOR_OBJECT;
        return SUCCESS;
    }

    static uint32_t UnitOfWidth(std::string_view text, double viewBoxWidth)
    {
        text = Trim(text);
        if (std::fabs(Number(text, -1.0) - viewBoxWidth) > 1e-9 || text.size() < 2)
            return KVEC_UNIT_PIXEL;
        const std::string_view suffix = text.substr(text.size() - 2);
        return suffix == "mm"   ? KVEC_UNIT_MILLIMETER
               : suffix == "cm" ? KVEC_UNIT_CENTIMETER
               : suffix == "in" ? KVEC_UNIT_INCH
               : suffix == "pt" ? KVEC_UNIT_POINT
                                : KVEC_UNIT_PIXEL;
    }

    int32_t WalkChildren(const Element& parent, const PaintState& paint, const SvgMatrix& matrix)
    {
        for (const auto& child : parent.GetChildren()) {
            if (child->GetType() != AdvXMLParser::NodeType::Element)
                continue;
            if (int32_t status = Visit(static_cast<const Element&>(*child), paint, matrix); status != SUCCESS)
                return status;
        }
        return SUCCESS;
    }

    int32_t Visit(const Element& element, const PaintState& parentPaint, const SvgMatrix& parentMatrix)
    {
        const std::string name = element.GetName();
        const std::string_view local = LocalName(name);
        const PaintState paint = CascadePaint(parentPaint, element, ids_);
        SvgMatrix matrix = ElementMatrix(parentMatrix, element);
        if (local == "g" || local == "a" || local == "switch")
            return WalkChildren(element, paint, matrix);
        if (local == "svg") {
            // A nested viewport keeps its place; its own viewBox is not
            // honoured on this road.
            SvgMatrix place;
            place.e = Length(element, "x", false, 0.0);
            place.f = Length(element, "y", true, 0.0);
            return WalkChildren(element, paint, MultiplySvgMatrix(matrix, place));
        }
        if (local == "rect")
            return AddRect(element, paint, matrix);
        if (local == "circle" || local == "ellipse")
            return AddEllipse(element, local == "circle", paint, matrix);
        if (local == "line")
            return AddLine(element, paint, matrix);
        if (local == "polyline" || local == "polygon")
            return AddPoly(element, local == "polygon", paint, matrix);
        if (local == "path")
            return AddPath(element, paint, matrix);
        if (local == "text")
            return AddText(element, paint, matrix);
        if (local == "image")
            return AddImage(element, matrix);
        if (local == "use")
            return AddUse(element, paint, matrix);
        // Definitions and everything else without a drawing of its
        // own have no counterpart among vector objects.
        return SUCCESS;
    }

    // The referenced element drawn again at the use's place, in the use's
    // paint; a symbol draws its children. A use that reaches itself, or
    // nests deeper than the limit, draws as a missing reference: nothing.
    int32_t AddUse(const Element& use, const PaintState& paint, const SvgMatrix& matrix)
    {
        std::string href;
        if (!use.GetAttributeValue("xlink:href", &href) && !use.GetAttributeValue("href", &href))
            return SUCCESS;
        if (href.empty() || href[0] != '#')
            return SUCCESS;
        const auto found = ids_.find(std::string_view(href).substr(1));
        if (found == ids_.end() || instancing_.size() >= 2 * kvlimits::kMaxLegacyUseNesting)
            return SUCCESS;
        // A use drawn from outside any other is counted through first: uses
        // of uses past the limit end here, before any of their objects
        // are made.
        if (instancing_.empty() &&
            useInstances_ + CountUseInstances(use, 0) > kvlimits::kMaxLegacyUseInstances)
            return ERROR_MAX_ELEMENTS;
        if (++useInstances_ > kvlimits::kMaxLegacyUseInstances)
            return ERROR_MAX_ELEMENTS;
        const Element* target = found->second;
        for (const Element* open : instancing_) {
            if (open == target || open == &use)
                return SUCCESS;
        }
        SvgMatrix place;
        place.e = Length(use, "x", false, 0.0);
        place.f = Length(use, "y", true, 0.0);
        const SvgMatrix placed = MultiplySvgMatrix(matrix, place);
        instancing_.push_back(&use);
        instancing_.push_back(target);
        const std::string targetName = target->GetName();
        int32_t status;
        if (LocalName(targetName) == "symbol")
            status = WalkChildren(*target, CascadePaint(paint, *target, ids_), ElementMatrix(placed, *target));
        else
            status = Visit(*target, paint, placed);
        instancing_.resize(instancing_.size() - 2);
        return status;
    }

    // Use instances drawing `element` makes, walked as Visit and AddUse
    // walk it (`nesting` uses deep); saturates past the limit. Memoised by
    // element, and a cycle adds nothing, as it draws nothing. A count taken
    // near the top and met again past the nesting limit is larger than the
    // walk's there, so only a file nesting uses that deep can be refused
    // although it fits.
    size_t CountUseInstances(const Element& element, size_t nesting)
    {
        const auto known = instanceCounts_.find(&element);
        if (known != instanceCounts_.end())
            return known->second;
        instanceCounts_[&element] = 0;
        const std::string name = element.GetName();
        const std::string_view local = LocalName(name);
        auto children = [&](const Element& parent, size_t depth) {
            size_t sum = 0;
            for (const auto& child : parent.GetChildren()) {
                if (child->GetType() == AdvXMLParser::NodeType::Element)
                    sum = std::min(sum + CountUseInstances(static_cast<const Element&>(*child), depth),
                                   kvlimits::kMaxLegacyUseInstances + 1);
            }
            return sum;
        };
        size_t count = 0;
        if (local == "g" || local == "a" || local == "switch" || local == "svg") {
            count = children(element, nesting);
        } else if (local == "use" && nesting < kvlimits::kMaxLegacyUseNesting) {
            std::string href;
            if (element.GetAttributeValue("xlink:href", &href) || element.GetAttributeValue("href", &href)) {
                const auto found = href.empty() || href[0] != '#' ? ids_.end()
                                                                   : ids_.find(std::string_view(href).substr(1));
                if (found != ids_.end()) {
                    const Element& target = *found->second;
                    const size_t below = LocalName(target.GetName()) == "symbol"
                                             ? children(target, nesting + 1)
                                             : CountUseInstances(target, nesting + 1);
                    count = std::min(1 + below, kvlimits::kMaxLegacyUseInstances + 1);
                }
            }
        }
        instanceCounts_[&element] = count;
        return count;
    }

    int32_t PenFor(const PaintState& paint, const SvgMatrix& matrix, uint32_t& index)
    {
        index = KVEC_NONE;
        if (paint.strokeNone)
            return SUCCESS;
        KvColor color = paint.stroke;
        color.alpha = Alpha(paint.opacity * paint.strokeOpacity);
        const KVecLogPen pen{kKVecLogPenSize,        paint.dashed ? KVEC_PEN_DASH : KVEC_PEN_SOLID,
                             paint.strokeWidth * UniformScale(matrix), color, paint.cap, paint.join,
                             paint.miterLimit};
        return calls_.addPen(vector_, &pen, &index) == SUCCESS ? SUCCESS : ERROR_VECTOR_OBJECT;
    }

    int32_t BrushFor(const PaintState& paint, uint32_t& index)
    {
        index = KVEC_NONE;
        if (paint.fillNone)
            return SUCCESS;
        KvColor color = paint.fill;
        color.alpha = Alpha(paint.opacity * paint.fillOpacity);
        const KVecLogBrush brush{kKVecLogBrushSize, KVEC_BRUSH_SOLID, color, 0};
        return calls_.addBrush(vector_, &brush, &index) == SUCCESS ? SUCCESS : ERROR_VECTOR_OBJECT;
    }

    int32_t AddObject(uint32_t kind, const PaintState& paint, const SvgMatrix& matrix, bool filled,
                      KVecObject object, const Figure* figure)
    {
        if (paint.strokeNone && (paint.fillNone || !filled))
            return SUCCESS;  // draws nothing
        object.size = kKVecObjectSize;
        object.kind = kind;
        if (int32_t status = PenFor(paint, matrix, object.pen); status != SUCCESS)
            return status;
        object.brush = KVEC_NONE;
        if (filled) {
            if (int32_t status = BrushFor(paint, object.brush); status != SUCCESS)
                return status;
            object.fillMode = paint.fillMode;
        }
        KVecPolyPoint points{kKVecPolyPointSize, 0, nullptr, nullptr};
        if (figure) {
            points.count = static_cast<uint32_t>(figure->points.size());
            points.points = figure->points.data();
            points.types = kind == KVEC_OBJECT_PATH ? figure->types.data() : nullptr;
        }
        return calls_.addObject(vector_, &object, figure ? &points : nullptr) == SUCCESS ? SUCCESS
                                                                                         : ERROR_VECTOR_OBJECT;
    }

    int32_t AddRect(const Element& element, const PaintState& paint, const SvgMatrix& matrix)
    {
        const double x = Length(element, "x", false, 0), y = Length(element, "y", true, 0);
        const double width = Length(element, "width", false, 0), height = Length(element, "height", true, 0);
        if (!(width > 0) || !(height > 0))
            return SUCCESS;
        if (IsAxisAligned(matrix)) {
            KVecObject object{};
            object.bounds = MapRectangle(matrix, x, y, width, height);
            return AddObject(KVEC_OBJECT_RECT, paint, matrix, true, object, nullptr);
        }
        Figure figure;
        for (KvPoint corner : {KvPoint{x, y}, KvPoint{x + width, y}, KvPoint{x + width, y + height}, KvPoint{x, y + height}})
            figure.Add(matrix.Apply(corner.x, corner.y), KVEC_POINT_LINE);
        return AddObject(KVEC_OBJECT_POLYGON, paint, matrix, true, KVecObject{}, &figure);
    }

    int32_t AddEllipse(const Element& element, bool circle, const PaintState& paint, const SvgMatrix& matrix)
    {
        const double cx = Length(element, "cx", false, 0), cy = Length(element, "cy", true, 0);
        const double rx = circle ? Length(element, "r", false, 0) : Length(element, "rx", false, 0);
        const double ry = circle ? rx : Length(element, "ry", true, 0);
        if (!(rx > 0) || !(ry > 0))
            return SUCCESS;
        if (IsAxisAligned(matrix)) {
            KVecObject object{};
            object.bounds = MapRectangle(matrix, cx - rx, cy - ry, 2 * rx, 2 * ry);
            return AddObject(KVEC_OBJECT_ELLIPSE, paint, matrix, true, object, nullptr);
        }
        const Figure figure = EllipseFigure(matrix, cx, cy, rx, ry);
        return AddObject(KVEC_OBJECT_PATH, paint, matrix, true, KVecObject{}, &figure);
    }

    int32_t AddLine(const Element& element, const PaintState& paint, const SvgMatrix& matrix)
    {
        KVecObject object{};
        object.start = matrix.Apply(Length(element, "x1", false, 0), Length(element, "y1", true, 0));
        object.end = matrix.Apply(Length(element, "x2", false, 0), Length(element, "y2", true, 0));
        return AddObject(KVEC_OBJECT_LINE, paint, matrix, false, object, nullptr);
    }

    int32_t AddPoly(const Element& element, bool closed, const PaintState& paint, const SvgMatrix& matrix)
    {
        std::string text;
        if (!element.GetAttributeValue("points", &text))
            return SUCCESS;
        SvgPoint* points = nullptr;
        uint32_t count = 0;
        const std::u16string wide = ToUtf16(text);
        const int32_t status = ParsePoints(std::u16string_view(wide), &points, &count);
        TrackedPtr<SvgPoint> owner(points);
        if (status != SUCCESS || count < 2)
            return SUCCESS;  // a broken list draws nothing, as it would on the other road
        Figure figure;
        for (uint32_t i = 0; i < count; ++i)
            figure.Add(matrix.Apply(points[i].x, points[i].y), KVEC_POINT_LINE);
        return AddObject(closed ? KVEC_OBJECT_POLYGON : KVEC_OBJECT_POLYLINE, paint, matrix, closed, KVecObject{},
                         &figure);
    }

    int32_t AddPath(const Element& element, const PaintState& paint, const SvgMatrix& matrix)
    {
        std::string text;
        if (!element.GetAttributeValue("d", &text))
            return SUCCESS;
        std::string rewritten;
        bool changed = false;
        if (!RewritePathData(text.c_str(), rewritten, &changed))
            rewritten = text;
        SvgPathData data{};
        InitPathData(&data);
        const std::u16string wide = ToUtf16(changed ? rewritten : text);
        int32_t status = ParsePathData(std::u16string_view(wide), &data);
        Figure figure;
        SvgExtent box;
        bool usable = status == SUCCESS && BakePathData(data, matrix, false, box) == SUCCESS &&
                      FigureFromPathData(data, figure);
        FreePathData(&data);
        if (!usable)
            return SUCCESS;
        return AddObject(KVEC_OBJECT_PATH, paint, matrix, true, KVecObject{}, &figure);
    }

    int32_t AddText(const Element& element, const PaintState& paint, const SvgMatrix& matrix)
    {
        const std::string raw = element.GetValue();
        const std::string content = paint.preserveSpace ? raw : CollapseSpace(raw);
        if (content.empty() || paint.fillNone)
            return SUCCESS;
        const std::u16string text = ToUtf16(content);
        KVecObject object{};
        object.size = kKVecObjectSize;
        object.kind = KVEC_OBJECT_TEXT;
        object.pen = KVEC_NONE;
        object.start = matrix.Apply(Length(element, "x", false, 0), Length(element, "y", true, 0));
        object.text = text.c_str();
        object.fontName = paint.fontFamily.empty() ? nullptr : paint.fontFamily.c_str();
        object.fontSize = paint.fontSize * UniformScale(matrix);
        if (int32_t status = BrushFor(paint, object.brush); status != SUCCESS)
            return status;
        return calls_.addObject(vector_, &object, nullptr) == SUCCESS ? SUCCESS : ERROR_VECTOR_OBJECT;
    }

    // Only embedded images: the older road reads nothing beside the file.
    int32_t AddImage(const Element& element, const SvgMatrix& matrix)
    {
        std::string href;
        if (!element.GetAttributeValue("xlink:href", &href) && !element.GetAttributeValue("href", &href))
            return SUCCESS;
        const size_t comma = href.find(',');
        if (href.compare(0, 5, "data:") != 0 || comma == std::string::npos ||
            href.substr(0, comma).find(";base64") == std::string::npos)
            return SUCCESS;
        std::string bytes;
        if (!DecodeBase64(ToUtf16(std::string_view(href).substr(comma + 1)), bytes))
            return SUCCESS;
        KvBitmap raster{};
        if (CodecLoadMemory(bytes.data(), bytes.size(), raster, 24, KV_ORDER_BGR) != SUCCESS)
            return SUCCESS;
        BitmapPixelsOwner rasterOwner(raster);
        const double width = Length(element, "width", false, 0), height = Length(element, "height", true, 0);
        if (!(width > 0) || !(height > 0))
            return SUCCESS;
        KVecObject object{};
        object.size = kKVecObjectSize;
        object.kind = KVEC_OBJECT_RASTER;
        object.pen = object.brush = KVEC_NONE;
        object.bounds = MapRectangle(matrix, Length(element, "x", false, 0), Length(element, "y", true, 0), width, height);
        object.raster = &raster;
        return calls_.addObject(vector_, &object, nullptr) == SUCCESS ? SUCCESS : ERROR_VECTOR_OBJECT;
    }

    const VectorCalls& calls_;
    void* vector_;
    SvgMatrix rootMatrix_;
    IdMap ids_;
    // The uses being drawn and their targets, innermost last.
    std::vector<const Element*> instancing_;
    size_t useInstances_ = 0;
    std::map<const Element*, size_t> instanceCounts_;
    double viewportWidth_ = 0.0;
    double viewportHeight_ = 0.0;
};

}  // namespace

int32_t BuildVectorFromLegacyText(const VectorCalls& calls, std::string_view text, void** vector)
{
    *vector = nullptr;
    std::unique_ptr<AdvXMLParser::Document> document;
    if (int32_t status = AdvXMLParser::ParseDocument(text.data(), text.size(), &document); status != SUCCESS)
        return status;
    const Element* root = document->GetRootElement();
    if (!root)
        return ERROR_NO_SVG_ROOT;
    const std::string rootName = root->GetName();
    if (rootName != "svg" && (rootName.size() < 4 || rootName.compare(rootName.size() - 4, 4, ":svg") != 0))
        return ERROR_NO_SVG_ROOT;

    void* made = nullptr;
    if (int32_t status = calls.create(&made); status != SUCCESS)
        return status == FAILURE ? ERROR_VECTOR_OBJECT : status;
    int32_t status;
    try {
        status = LegacyVectorBuilder(calls, made).Build(*root);
    } catch (const std::bad_alloc&) {
        status = ERROR_NO_MEMORY;
    }
    if (status != SUCCESS) {
        calls.free(made);
        return status;
    }
    *vector = made;
    return SUCCESS;
}
