#include "document/svg_markers.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/safety_limits.h"
#include "document/svg_normalizer.h"
#include "kvsvg/kvsvg.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

struct Point {
    double x = 0, y = 0;
};

// A vertex and the directions (radians) of the segments that arrive at it
// and leave it; NaN where there is none.
struct Vertex {
    Point at;
    double in = NAN;
    double out = NAN;
};

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view LocalName(const char* name)
{
    std::string_view view(name);
    const size_t colon = view.find(':');
    return colon == std::string_view::npos ? view : view.substr(colon + 1);
}

// A number in user units, with or without "px" (or "deg" for angles).
bool PlainNumber(std::string_view text, double& value)
{
    text = Trim(text);
    if (text.ends_with("px") || text.ends_with("deg"))
        text.remove_suffix(text.ends_with("px") ? 2 : 3);
    if (text.empty())
        return false;
    const std::string copy(text);
    char* end = nullptr;
    value = std::strtod(copy.c_str(), &end);
    return end == copy.c_str() + copy.size() && std::isfinite(value);
}

// An element's own value of a property: its style declaration over its
// attribute, without "!important".
std::string OwnProperty(pugi::xml_node element, std::string_view name)
{
    std::string value = element.attribute(std::string(name).c_str()).value();
    const std::string_view style = element.attribute("style").value();
    for (size_t start = 0; start < style.size();) {
        size_t end = style.find(';', start);
        if (end == std::string_view::npos)
            end = style.size();
        const std::string_view declaration = style.substr(start, end - start);
        const size_t colon = declaration.find(':');
        if (colon != std::string_view::npos && Trim(declaration.substr(0, colon)) == name)
            value = std::string(Trim(declaration.substr(colon + 1)));
        start = end + 1;
    }
    if (const size_t bang = value.find('!'); bang != std::string::npos)
        value = std::string(Trim(std::string_view(value).substr(0, bang)));
    return value;
}

// The value that reaches the element: its own, else its nearest ancestor's.
std::string InheritedProperty(pugi::xml_node element, std::string_view name)
{
    for (pugi::xml_node node = element; node && node.type() == pugi::node_element; node = node.parent()) {
        std::string value = OwnProperty(node, name);
        if (!value.empty() && value != "inherit")
            return value;
    }
    return {};
}

// The id of "url(#id)", quoted or not; empty for anything else.
std::string UrlId(std::string_view value)
{
    value = Trim(value);
    if (!value.starts_with("url(") || value.find(')') == std::string_view::npos)
        return {};
    std::string_view inner = Trim(value.substr(4, value.find(')') - 4));
    if (inner.size() >= 2 && (inner.front() == '"' || inner.front() == '\'') && inner.back() == inner.front())
        inner = inner.substr(1, inner.size() - 2);
    return inner.starts_with('#') ? std::string(inner.substr(1)) : std::string();
}

double Direction(Point from, Point to)
{
    const double dx = to.x - from.x, dy = to.y - from.y;
    return dx == 0 && dy == 0 ? NAN : std::atan2(dy, dx);
}

// The first direction that is not NaN.
double FirstOf(double a, double b, double c)
{
    return !std::isnan(a) ? a : !std::isnan(b) ? b : c;
}

class VertexList {
public:
    std::vector<Vertex> vertices;

    void MoveTo(Point at) { vertices.push_back({at, NAN, NAN}); }
    void Segment(Point to, double leaving, double arriving)
    {
        if (vertices.empty())
            vertices.push_back({});
        if (std::isnan(vertices.back().out))
            vertices.back().out = leaving;
        vertices.push_back({to, arriving, NAN});
    }
};

// Vertices of path data, read by the full grammar.
std::vector<Vertex> PathVertices(const char* data)
{
    std::string text;
    RewritePathData(data, text, nullptr);
    std::vector<std::string_view> tokens;
    for (size_t start = 0; start < text.size();) {
        size_t end = text.find(' ', start);
        if (end == std::string::npos)
            end = text.size();
        if (end > start)
            tokens.emplace_back(text.data() + start, end - start);
        start = end + 1;
    }
    VertexList list;
    Point current, subpathStart, lastControl;
    char previous = 0;
    size_t at = 0;
    auto number = [&](double& value) {
        return at < tokens.size() && PlainNumber(tokens[at], value) ? (++at, true) : false;
    };
    while (at < tokens.size()) {
        const char command = tokens[at][0];
        ++at;
        const bool relative = command >= 'a' && command <= 'z';
        const char upper = static_cast<char>(relative ? command - 32 : command);
        auto point = [&](Point& p) {
            if (!number(p.x) || !number(p.y))
                return false;
            if (relative) {
                p.x += current.x;
                p.y += current.y;
            }
            return true;
        };
        bool ok = true;
        Point p, c1, c2;
        double values[5] = {};
        switch (upper) {
        case 'M':
            if ((ok = point(p))) {
                list.MoveTo(p);
                current = subpathStart = p;
            }
            break;
        case 'L':
            if ((ok = point(p))) {
                const double direction = Direction(current, p);
                list.Segment(p, direction, direction);
                current = p;
            }
            break;
        case 'H':
        case 'V':
            if ((ok = number(values[0]))) {
                p = current;
                (upper == 'H' ? p.x : p.y) = values[0] + (relative ? (upper == 'H' ? current.x : current.y) : 0);
                const double direction = Direction(current, p);
                list.Segment(p, direction, direction);
                current = p;
            }
            break;
        case 'C':
        case 'S':
            if (upper == 'C')
                ok = point(c1);
            else if (previous == 'C' || previous == 'S')
                c1 = {2 * current.x - lastControl.x, 2 * current.y - lastControl.y};
            else
                c1 = current;
            if (ok && (ok = point(c2) && point(p))) {
                list.Segment(p, FirstOf(Direction(current, c1), Direction(current, c2), Direction(current, p)),
                             FirstOf(Direction(c2, p), Direction(c1, p), Direction(current, p)));
                lastControl = c2;
                current = p;
            }
            break;
        case 'Q':
        case 'T':
            if (upper == 'Q')
                ok = point(c1);
            else if (previous == 'Q' || previous == 'T')
                c1 = {2 * current.x - lastControl.x, 2 * current.y - lastControl.y};
            else
                c1 = current;
            if (ok && (ok = point(p))) {
                list.Segment(p, FirstOf(Direction(current, c1), Direction(current, p), NAN),
                             FirstOf(Direction(c1, p), Direction(current, p), NAN));
                lastControl = c1;
                current = p;
            }
            break;
        case 'A':
            ok = number(values[0]) && number(values[1]) && number(values[2]) && number(values[3]) &&
                 number(values[4]) && point(p);
            if (ok) {
                const double direction = Direction(current, p);
                list.Segment(p, direction, direction);
                current = p;
            }
            break;
        case 'Z': {
            const double direction = Direction(current, subpathStart);
            list.Segment(subpathStart, direction, direction);
            current = subpathStart;
            break;
        }
        default:
            ok = false;
        }
        if (!ok)
            break;
        previous = upper;
    }
    return std::move(list.vertices);
}

std::vector<Vertex> PointVertices(pugi::xml_node element, bool closed)
{
    std::vector<double> numbers;
    const char* text = element.attribute("points").value();
    for (char* end = nullptr;; text = end) {
        while (*text == ',' || IsBlank(*text))
            ++text;
        if (!*text)
            break;
        const double value = std::strtod(text, &end);
        if (end == text || !std::isfinite(value))
            break;
        numbers.push_back(value);
    }
    VertexList list;
    for (size_t i = 0; i + 1 < numbers.size(); i += 2) {
        const Point p{numbers[i], numbers[i + 1]};
        if (list.vertices.empty()) {
            list.MoveTo(p);
        } else {
            const double direction = Direction(list.vertices.back().at, p);
            list.Segment(p, direction, direction);
        }
    }
    if (closed && list.vertices.size() > 1) {
        const Point first = list.vertices.front().at;
        const double direction = Direction(list.vertices.back().at, first);
        list.Segment(first, direction, direction);
    }
    return std::move(list.vertices);
}

std::vector<Vertex> ElementVertices(pugi::xml_node element, std::string_view name)
{
    if (name == "path")
        return PathVertices(element.attribute("d").value());
    if (name == "polyline" || name == "polygon")
        return PointVertices(element, name == "polygon");
    Point from, to;
    const char* names[4] = {"x1", "y1", "x2", "y2"};
    double* fields[4] = {&from.x, &from.y, &to.x, &to.y};
    for (int i = 0; i < 4; ++i) {
        const pugi::xml_attribute value = element.attribute(names[i]);
        if (value && !PlainNumber(value.value(), *fields[i]))
            return {};  // units or percentages: no place to put a marker
    }
    VertexList list;
    list.MoveTo(from);
    const double direction = Direction(from, to);
    list.Segment(to, direction, direction);
    return std::move(list.vertices);
}

double VertexAngle(const Vertex& vertex)
{
    if (std::isnan(vertex.in) && std::isnan(vertex.out))
        return 0;
    if (std::isnan(vertex.in))
        return vertex.out;
    if (std::isnan(vertex.out))
        return vertex.in;
    const double x = std::cos(vertex.in) + std::cos(vertex.out), y = std::sin(vertex.in) + std::sin(vertex.out);
    return x == 0 && y == 0 ? vertex.in : std::atan2(y, x);
}

void AppendNumber(std::string& out, double value)
{
    if (std::abs(value) < 1e-12)
        value = 0;
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
}

// What one marker element says about its placement.
struct MarkerGeometry {
    pugi::xml_node node;
    double refX = 0, refY = 0, scaleX = 1, scaleY = 1;
    bool strokeUnits = true;
    enum class Orient { Angle, Auto, AutoStartReverse } orient = Orient::Angle;
    double angle = 0;  // radians, for Orient::Angle
    size_t elements = 0;  // element nodes in its content
};

MarkerGeometry ReadMarker(pugi::xml_node marker)
{
    MarkerGeometry geometry;
    geometry.node = marker;
    double width = 3, height = 3;
    PlainNumber(marker.attribute("markerWidth").as_string("3"), width);
    PlainNumber(marker.attribute("markerHeight").as_string("3"), height);
    PlainNumber(marker.attribute("refX").as_string("0"), geometry.refX);
    PlainNumber(marker.attribute("refY").as_string("0"), geometry.refY);
    geometry.strokeUnits = std::string_view(marker.attribute("markerUnits").value()) != "userSpaceOnUse";
    const std::string_view orient = Trim(marker.attribute("orient").value());
    if (orient == "auto")
        geometry.orient = MarkerGeometry::Orient::Auto;
    else if (orient == "auto-start-reverse")
        geometry.orient = MarkerGeometry::Orient::AutoStartReverse;
    else if (PlainNumber(orient, geometry.angle))
        geometry.angle *= kPi / 180;
    double box[4] = {};
    int count = 0;
    const char* text = marker.attribute("viewBox").value();
    for (char* end = nullptr; count < 4; text = end) {
        while (*text == ',' || IsBlank(*text))
            ++text;
        box[count] = std::strtod(text, &end);
        if (end == text || !std::isfinite(box[count]))
            break;
        ++count;
    }
    if (count == 4 && box[2] > 0 && box[3] > 0) {
        geometry.scaleX = width / box[2];
        geometry.scaleY = height / box[3];
        const std::string_view aspect = Trim(marker.attribute("preserveAspectRatio").value());
        if (!aspect.starts_with("none")) {
            const bool slice = aspect.find("slice") != std::string_view::npos;
            geometry.scaleX = geometry.scaleY = slice ? std::max(geometry.scaleX, geometry.scaleY)
                                                      : std::min(geometry.scaleX, geometry.scaleY);
        }
    }
    std::vector<pugi::xml_node> pending(1, marker);
    while (!pending.empty()) {
        pugi::xml_node node = pending.back();
        pending.pop_back();
        for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
            if (child.type() == pugi::node_element) {
                ++geometry.elements;
                pending.push_back(child);
            }
        }
    }
    return geometry;
}

bool ReplaceAll(std::string& text, std::string_view what, std::string_view with)
{
    bool changed = false;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
        changed = true;
    }
    return changed;
}

// Copies lose their ids (the marker's content stays where it was, ids and
// all) and take the element's paint for context-fill and context-stroke.
bool AdjustCopy(pugi::xml_node copy, const std::string& fill, const std::string& stroke)
{
    std::vector<pugi::xml_node> pending(1, copy);
    std::string value;
    while (!pending.empty()) {
        pugi::xml_node node = pending.back();
        pending.pop_back();
        node.remove_attribute("id");
        for (pugi::xml_attribute attribute = node.first_attribute(); attribute; attribute = attribute.next_attribute()) {
            value = attribute.value();
            const bool changed = ReplaceAll(value, "context-fill", fill) | ReplaceAll(value, "context-stroke", stroke);
            if (changed && !attribute.set_value(value.c_str()))
                return false;
        }
        for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
            if (child.type() == pugi::node_element)
                pending.push_back(child);
        }
    }
    return true;
}

// The group of one element's markers, after it.
int32_t PlaceMarkers(pugi::xml_node element, std::string_view name,
                     std::unordered_map<std::string, MarkerGeometry>& markers, uint64_t& copied)
{
    std::string ids[3];
    const std::string shorthand = InheritedProperty(element, "marker");
    const char* properties[3] = {"marker-start", "marker-mid", "marker-end"};
    bool any = false;
    for (int i = 0; i < 3; ++i) {
        std::string value = InheritedProperty(element, properties[i]);
        ids[i] = UrlId(value.empty() ? shorthand : value);
        if (!ids[i].empty() && markers.count(ids[i]) == 0)
            ids[i].clear();
        any = any || !ids[i].empty();
    }
    if (!any)
        return SUCCESS;
    const std::vector<Vertex> vertices = ElementVertices(element, name);
    if (vertices.empty())
        return SUCCESS;
    double strokeWidth = 1;
    if (!PlainNumber(InheritedProperty(element, "stroke-width"), strokeWidth) || strokeWidth < 0)
        strokeWidth = 1;
    std::string fill = InheritedProperty(element, "fill"), stroke = InheritedProperty(element, "stroke");
    if (fill.empty())
        fill = "black";
    if (stroke.empty())
        stroke = "none";

    pugi::xml_node group = element.parent().insert_child_after(pugi::node_element, element);
    if (!group || !group.set_name("g"))
        return ERROR_NO_MEMORY;
    if (pugi::xml_attribute transform = element.attribute("transform")) {
        if (!group.append_attribute("transform").set_value(transform.value()))
            return ERROR_NO_MEMORY;
    }
    std::string matrix;
    for (size_t index = 0; index < vertices.size(); ++index) {
        const int kind = index == 0 ? 0 : index + 1 == vertices.size() ? 2 : 1;
        // A single vertex is the start and the end at once.
        for (int which : vertices.size() == 1 ? std::vector<int>{0, 2} : std::vector<int>{kind}) {
            if (ids[which].empty())
                continue;
            const MarkerGeometry& marker = markers[ids[which]];
            if (copied + marker.elements + 1 > kvlimits::kMaxMarkerCopies)
                return SUCCESS;
            copied += marker.elements + 1;
            double angle = marker.angle;
            if (marker.orient != MarkerGeometry::Orient::Angle) {
                angle = VertexAngle(vertices[index]);
                if (marker.orient == MarkerGeometry::Orient::AutoStartReverse && which == 0)
                    angle += kPi;
            }
            const double units = marker.strokeUnits ? strokeWidth : 1;
            const double cosine = std::cos(angle), sine = std::sin(angle);
            const double a = units * marker.scaleX * cosine, b = units * marker.scaleX * sine;
            const double c = -units * marker.scaleY * sine, d = units * marker.scaleY * cosine;
            const double values[6] = {a, b, c, d, vertices[index].at.x - a * marker.refX - c * marker.refY,
                                      vertices[index].at.y - b * marker.refX - d * marker.refY};
            matrix = "matrix(";
            for (int i = 0; i < 6; ++i) {
                if (i)
                    matrix += ' ';
                AppendNumber(matrix, values[i]);
            }
            matrix += ')';
            pugi::xml_node placed = group.append_child("g");
            if (!placed || !placed.append_attribute("transform").set_value(matrix.c_str()))
                return ERROR_NO_MEMORY;
            for (pugi::xml_node child = marker.node.first_child(); child; child = child.next_sibling()) {
                if (child.type() != pugi::node_element)
                    continue;
                pugi::xml_node copy = placed.append_copy(child);
                if (!copy || !AdjustCopy(copy, fill, stroke))
                    return ERROR_NO_MEMORY;
            }
        }
    }
    return SUCCESS;
}

}  // namespace

int32_t ExpandMarkers(pugi::xml_document& tree)
{
    try {
        // One walk in document order finds the markers by id (the first of
        // an id wins) and the elements that may carry markers; the copies
        // are made afterwards, so nothing copied is visited again.
        std::unordered_map<std::string, MarkerGeometry> markers;
        std::vector<std::pair<pugi::xml_node, std::string_view>> candidates;
        struct Pending {
            pugi::xml_node node;
            bool placeless;  // inside clipPath or marker
        };
        std::vector<Pending> pending;
        for (pugi::xml_node child = tree.last_child(); child; child = child.previous_sibling())
            pending.push_back({child, false});
        while (!pending.empty()) {
            const Pending item = pending.back();
            pending.pop_back();
            if (item.node.type() != pugi::node_element)
                continue;
            const std::string_view name = LocalName(item.node.name());
            if (name == "marker") {
                if (const char* id = item.node.attribute("id").value(); *id && markers.count(id) == 0)
                    markers.emplace(id, ReadMarker(item.node));
            } else if (!item.placeless &&
                       (name == "path" || name == "line" || name == "polyline" || name == "polygon")) {
                candidates.emplace_back(item.node, name);
            }
            const bool placeless = item.placeless || name == "marker" || name == "clipPath";
            for (pugi::xml_node child = item.node.last_child(); child; child = child.previous_sibling())
                pending.push_back({child, placeless});
        }
        uint64_t copied = 0;
        for (const auto& [element, name] : candidates) {
            if (markers.empty())
                break;
            if (int32_t status = PlaceMarkers(element, name, markers, copied); status != SUCCESS)
                return status;
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}
