#include "filter/vector_svg_writer.h"

#include <cmath>
#include <cstdio>
#include <string_view>

#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "codecs/codecs.h"
#include "document/svg_data_uri.h"
#include "filter/vector_library.h"
#include "kvsvg/kvsvg.h"

namespace {

constexpr std::string_view kEol = "\r\n";

constexpr std::string_view kProlog =
    "<?xml version=\"1.0\" standalone=\"no\"?>\r\n"
    "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.0//EN\" "
    "\"http://www.w3.org/TR/2001/REC-SVG-20010904/DTD/svg10.dtd\"> \r\n";

struct HatchPattern {
    std::string_view id;
    std::string_view lines;  // each "\t\t<line .../>\r\n"
};

// In the order of the hatch numbers. Black is fixed: the brush colour does
// not reach the pattern.
constexpr HatchPattern kHatchPatterns[] = {
    {"brushHorz", "\t\t<line x1=\"0\" y1=\"10\" x2=\"10\" y2=\"10\" stroke=\"#000000\" stroke-width=\"1\"/>\r\n"},
    {"brushVert", "\t\t<line x1=\"0\" y1=\"0\" x2=\"0\" y2=\"10\" stroke=\"#000000\" stroke-width=\"1\"/>\r\n"},
    {"brushDiagForward", "\t\t<line x1=\"0\" y1=\"0\" x2=\"10\" y2=\"10\" stroke=\"#000000\" stroke-width=\"1\"/>\r\n"},
    {"brushDiagBack", "\t\t<line x1=\"10\" y1=\"0\" x2=\"0\" y2=\"10\" stroke=\"#000000\" stroke-width=\"1\"/>\r\n"},
    {"brushCross",
     "\t\t<line x1=\"0\" y1=\"5\" x2=\"10\" y2=\"5\" stroke=\"#000000\" stroke-width=\"1\"/>\r\n"
     "\t\t<line x1=\"5\" y1=\"0\" x2=\"5\" y2=\"10\" stroke=\"#000000\" stroke-width=\"1\"/>\r\n"},
    {"brushDiagCross",
     "\t\t<line x1=\"0\" y1=\"0\" x2=\"10\" y2=\"10\" stroke=\"#000000\" stroke-width=\"1\"/>\r\n"
     "\t\t<line x1=\"10\" y1=\"0\" x2=\"0\" y2=\"10\" stroke=\"#000000\" stroke-width=\"1\"/>\r\n"},
};
constexpr uint32_t kHatchCount = sizeof(kHatchPatterns) / sizeof(kHatchPatterns[0]);

constexpr char kPathCommands[] = "MLQZ";

// Fixed-point with at most four decimals: world units are coarse enough,
// and the text stays free of exponents. "-0" never appears.
void AppendNumber(std::string& text, double value)
{
    if (!std::isfinite(value))
        value = 0.0;
    char buffer[64];
    int length = std::snprintf(buffer, sizeof buffer, "%.4f", value);
    if (length <= 0 || length >= static_cast<int>(sizeof buffer)) {
        text += '0';
        return;
    }
    while (length > 0 && buffer[length - 1] == '0')
        --length;
    if (length > 0 && buffer[length - 1] == '.')
        --length;
    std::string_view number(buffer, static_cast<size_t>(length));
    if (number == "-0")
        number = "0";
    text += number;
}

void AppendAttribute(std::string& text, std::string_view name, double value)
{
    text += ' ';
    text += name;
    text += "=\"";
    AppendNumber(text, value);
    text += '"';
}

void AppendAttribute(std::string& text, std::string_view name, std::string_view value)
{
    text += ' ';
    text += name;
    text += "=\"";
    text += value;
    text += '"';
}

void AppendColor(std::string& text, std::string_view name, const KvColor& color)
{
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "#%02X%02X%02X", color.red, color.green, color.blue);
    AppendAttribute(text, name, buffer);
}

// Character data and attribute values alike.
void AppendEscaped(std::string& text, const KvChar* wide)
{
    if (!wide)
        return;
    std::string utf8 = ToUtf8(std::u16string_view(wide));
    for (char c : utf8) {
        switch (c) {
        case '&': text += "&amp;"; break;
        case '<': text += "&lt;"; break;
        case '>': text += "&gt;"; break;
        case '"': text += "&quot;"; break;
        default: text += c;
        }
    }
}

const char* UnitSuffix(uint32_t unit)
{
    switch (unit) {
    case KVEC_UNIT_INCH: return "in";
    case KVEC_UNIT_MILLIMETER: return "mm";
    case KVEC_UNIT_CENTIMETER: return "cm";
    case KVEC_UNIT_POINT: return "pt";
    default: return "";
    }
}

// Frees an object read from the library on every way out.
class ReadObject {
public:
    ReadObject(const VectorCalls& calls, void* vector) : calls_(calls), vector_(vector)
    {
        object_.size = kKVecObjectSize;
    }
    ~ReadObject()
    {
        if (read_)
            calls_.freeObject(vector_, &object_);
    }
    ReadObject(const ReadObject&) = delete;
    ReadObject& operator=(const ReadObject&) = delete;
    int32_t Read(uint32_t index)
    {
        int32_t status = calls_.getObject(vector_, index, &object_);
        read_ = status == SUCCESS;
        return status;
    }
    const KVecObject& get() const { return object_; }

private:
    const VectorCalls& calls_;
    void* vector_;
    KVecObject object_{};
    bool read_ = false;
};

class VectorSvgWriter {
public:
    VectorSvgWriter(const VectorCalls& calls, void* vector, std::string& text)
        : calls_(calls), vector_(vector), text_(text)
    {
    }

    int32_t Write()
    {
        if (int32_t status = WriteHeader(); status != SUCCESS)
            return status;
        if (int32_t status = WriteHatchPatterns(); status != SUCCESS)
            return status;
        for (uint32_t index = 0;; ++index) {
            if (index >= kvlimits::kMaxVectorObjects)
                return ERROR_MAX_ELEMENTS;
            ReadObject object(calls_, vector_);
            int32_t status = object.Read(index);
            if (status == FAILURE)
                break;
            if (status != SUCCESS)
                return status;
            if (status = WriteObject(object.get()); status != SUCCESS)
                return status;
        }
        text_ += "</svg>";
        text_ += kEol;
        return SUCCESS;
    }

private:
    int32_t WriteHeader()
    {
        KVecParallelogram frame{};
        frame.size = kKVecParallelogramSize;
        if (int32_t status = calls_.getParallelogram(vector_, &frame); status != SUCCESS)
            return status;
        uint32_t unit = KVEC_UNIT_PIXEL;
        if (int32_t status = calls_.getUnit(vector_, &unit); status != SUCCESS)
            return status;
        const double width = std::hypot(frame.xEnd.x - frame.origin.x, frame.xEnd.y - frame.origin.y);
        const double height = std::hypot(frame.yEnd.x - frame.origin.x, frame.yEnd.y - frame.origin.y);

        text_ += kProlog;
        text_ += "<svg width=\"";
        AppendNumber(text_, width);
        text_ += UnitSuffix(unit);
        text_ += "\" height=\"";
        AppendNumber(text_, height);
        text_ += UnitSuffix(unit);
        text_ += "\" version=\"1.0\" viewBox=\"";
        AppendNumber(text_, frame.origin.x);
        text_ += ' ';
        AppendNumber(text_, frame.origin.y);
        text_ += ' ';
        AppendNumber(text_, width);
        text_ += ' ';
        AppendNumber(text_, height);
        text_ += "\" xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\">";
        text_ += kEol;
        return SUCCESS;
    }

    // The patterns of every hatch style that the brush table holds, once
    // each, in the fixed order; no defs at all without a hatched brush.
    int32_t WriteHatchPatterns()
    {
        bool used[kHatchCount] = {};
        bool any = false;
        for (uint32_t index = 0; index < kvlimits::kMaxVectorObjects; ++index) {
            KVecLogBrush brush{};
            brush.size = kKVecLogBrushSize;
            if (calls_.getLogBrush(vector_, index, &brush) != SUCCESS)
                break;
            if (brush.style == KVEC_BRUSH_HATCHED && brush.hatch < kHatchCount)
                any = used[brush.hatch] = true;
        }
        if (!any)
            return SUCCESS;
        text_ += "<defs>";
        text_ += kEol;
        for (uint32_t hatch = 0; hatch < kHatchCount; ++hatch) {
            if (!used[hatch])
                continue;
            text_ += "\t<pattern id=\"";
            text_ += kHatchPatterns[hatch].id;
            text_ += "\" patternUnits=\"userSpaceOnUse\" x=\"0\" y=\"0\" width=\"10\" height=\"10\" "
                     "viewBox=\"0 0 10 10\">";
            text_ += kEol;
            text_ += kHatchPatterns[hatch].lines;
            text_ += "\t</pattern>";
            text_ += kEol;
        }
        text_ += "</defs>";
        text_ += kEol;
        return SUCCESS;
    }

    int32_t WriteFill(const KVecObject& object, bool withRule)
    {
        KVecLogBrush brush{};
        brush.size = kKVecLogBrushSize;
        brush.style = KVEC_BRUSH_NULL;
        if (object.brush != KVEC_NONE && calls_.getLogBrush(vector_, object.brush, &brush) != SUCCESS)
            return ERROR_VECTOR_OBJECT;
        if (brush.style == KVEC_BRUSH_NULL) {
            AppendAttribute(text_, "fill", "none");
        } else if (brush.style == KVEC_BRUSH_HATCHED && brush.hatch < kHatchCount) {
            text_ += " fill=\"url(#";
            text_ += kHatchPatterns[brush.hatch].id;
            text_ += ")\"";
        } else {
            AppendColor(text_, "fill", brush.color);
            if (brush.color.alpha != 255)
                AppendAttribute(text_, "fill-opacity", brush.color.alpha / 255.0);
        }
        if (withRule) {
            const char* rule = object.fillMode == KVEC_FILL_ALTERNATE ? "evenodd"
                               : object.fillMode == KVEC_FILL_WINDING ? "nonzero"
                                                                      : "none";
            AppendAttribute(text_, "fill-rule", rule);
        }
        return SUCCESS;
    }

    int32_t WriteStroke(const KVecObject& object)
    {
        KVecLogPen pen{};
        pen.size = kKVecLogPenSize;
        pen.style = KVEC_PEN_NULL;
        if (object.pen != KVEC_NONE && calls_.getLogPen(vector_, object.pen, &pen) != SUCCESS)
            return ERROR_VECTOR_OBJECT;
        if (pen.style == KVEC_PEN_NULL) {
            AppendAttribute(text_, "stroke", "none");
            return SUCCESS;
        }
        // A width of 0 is the thinnest line the device draws: one unit here.
        const double width = pen.width > 0.0 && std::isfinite(pen.width) ? pen.width : 1.0;
        AppendColor(text_, "stroke", pen.color);
        static const double kDashes[][6] = {
            {0}, {3, 1}, {1, 1}, {3, 1, 1, 1}, {3, 1, 1, 1, 1, 1},
        };
        static const int kDashCounts[] = {0, 2, 2, 4, 6};
        if (pen.style >= KVEC_PEN_DASH && pen.style <= KVEC_PEN_DASHDOTDOT) {
            text_ += " stroke-dasharray=\"";
            for (int i = 0; i < kDashCounts[pen.style]; ++i) {
                if (i)
                    text_ += ',';
                AppendNumber(text_, kDashes[pen.style][i] * width);
            }
            text_ += '"';
            AppendAttribute(text_, "stroke-dashoffset", 0.0);
        }
        AppendAttribute(text_, "stroke-linecap",
                        pen.cap == KVEC_CAP_SQUARE ? "square" : pen.cap == KVEC_CAP_FLAT ? "butt" : "round");
        AppendAttribute(text_, "stroke-linejoin",
                        pen.join == KVEC_JOIN_BEVEL ? "bevel" : pen.join == KVEC_JOIN_MITER ? "miter" : "round");
        if (pen.join == KVEC_JOIN_MITER && pen.miterLimit >= 1.0)
            AppendAttribute(text_, "stroke-miterlimit", pen.miterLimit);
        if (pen.color.alpha != 255)
            AppendAttribute(text_, "stroke-opacity", pen.color.alpha / 255.0);
        AppendAttribute(text_, "stroke-width", width);
        return SUCCESS;
    }

    int32_t WritePaint(const KVecObject& object, bool fill, bool withRule)
    {
        if (fill) {
            if (int32_t status = WriteFill(object, withRule); status != SUCCESS)
                return status;
        } else {
            AppendAttribute(text_, "fill", "none");
        }
        return WriteStroke(object);
    }

    void EndEmpty()
    {
        text_ += "/>";
        text_ += kEol;
    }

    void AppendPoints(const KVecPolyPoint& points)
    {
        text_ += " points=\"";
        for (uint32_t i = 0; i < points.count; ++i) {
            if (i)
                text_ += ' ';
            AppendNumber(text_, points.points[i].x);
            text_ += ',';
            AppendNumber(text_, points.points[i].y);
        }
        text_ += '"';
    }

    // Move, line and quadratic pieces, closing where a point says so. A
    // curve whose second point is missing is refused as a broken object.
    int32_t AppendPathData(const KVecPolyPoint& points)
    {
        text_ += " d=\"";
        for (uint32_t i = 0; i < points.count; ++i) {
            const uint8_t type = points.types ? points.types[i] : (i == 0 ? KVEC_POINT_MOVE : KVEC_POINT_LINE);
            const uint8_t kind = type & KVEC_POINT_KIND_MASK;
            if (kind > KVEC_POINT_QUAD)
                return ERROR_VECTOR_OBJECT;
            if (i)
                text_ += ' ';
            text_ += kPathCommands[kind];
            AppendNumber(text_, points.points[i].x);
            text_ += ' ';
            AppendNumber(text_, points.points[i].y);
            uint8_t last = type;
            if (kind == KVEC_POINT_QUAD) {
                if (i + 1 >= points.count)
                    return ERROR_VECTOR_OBJECT;
                ++i;
                text_ += ' ';
                AppendNumber(text_, points.points[i].x);
                text_ += ' ';
                AppendNumber(text_, points.points[i].y);
                last = points.types ? points.types[i] : type;
            }
            if (last & KVEC_POINT_CLOSE) {
                text_ += ' ';
                text_ += kPathCommands[3];
            }
        }
        text_ += '"';
        return SUCCESS;
    }

    int32_t WritePoly(const KVecObject& object, const char* element, bool closed, bool created)
    {
        KVecPolyPoint points{};
        points.size = kKVecPolyPointSize;
        const int32_t status = created ? calls_.createPolyPoint(vector_, &object, &points)
                                       : calls_.objectGetPolyPoint(vector_, &object, &points);
        if (status != SUCCESS || (points.count && !points.points))
            return ERROR_VECTOR_OBJECT;
        text_ += "\t<";
        text_ += element;
        if (object.kind == KVEC_OBJECT_PATH) {
            if (int32_t pathStatus = AppendPathData(points); pathStatus != SUCCESS)
                return pathStatus;
        } else {
            AppendPoints(points);
        }
        if (int32_t paintStatus = WritePaint(object, closed, closed); paintStatus != SUCCESS)
            return paintStatus;
        EndEmpty();
        return SUCCESS;
    }

    int32_t WriteText(const KVecObject& object)
    {
        text_ += "\t<text";
        AppendAttribute(text_, "x", object.start.x);
        AppendAttribute(text_, "y", object.start.y);
        if (object.fontName && *object.fontName) {
            text_ += " font-family=\"";
            AppendEscaped(text_, object.fontName);
            text_ += '"';
        }
        AppendAttribute(text_, "font-size", object.fontSize);
        if (int32_t status = WriteFill(object, false); status != SUCCESS)
            return status;
        text_ += " xml:space=\"preserve\">";
        AppendEscaped(text_, object.text);
        text_ += "</text>";
        text_ += kEol;
        return SUCCESS;
    }

    int32_t WriteRaster(const KVecObject& object)
    {
        if (!object.raster)
            return ERROR_VECTOR_OBJECT;
        void* png = nullptr;
        size_t pngSize = 0;
        if (int32_t status = CodecSavePngMemory(*object.raster, 0, &png, &pngSize); status != SUCCESS)
            return status;
        TrackedPtr<void> pngOwner(png);
        std::string base64;
        if (!EncodeBase64(png, pngSize, base64))
            return ERROR_NO_MEMORY;
        text_ += "\t<image";
        AppendAttribute(text_, "x", object.bounds.x);
        AppendAttribute(text_, "y", object.bounds.y);
        AppendAttribute(text_, "width", object.bounds.width);
        AppendAttribute(text_, "height", object.bounds.height);
        text_ += " xlink:href=\"data:image/png;base64,";
        text_ += base64;
        text_ += '"';
        EndEmpty();
        return SUCCESS;
    }

    int32_t WriteObject(const KVecObject& object)
    {
        const KvRectangle& box = object.bounds;
        switch (object.kind) {
        case KVEC_OBJECT_LINE:
            text_ += "\t<line";
            AppendAttribute(text_, "x1", object.start.x);
            AppendAttribute(text_, "y1", object.start.y);
            AppendAttribute(text_, "x2", object.end.x);
            AppendAttribute(text_, "y2", object.end.y);
            if (int32_t status = WriteStroke(object); status != SUCCESS)
                return status;
            EndEmpty();
            return SUCCESS;
        case KVEC_OBJECT_RECT:
            text_ += "\t<rect";
            AppendAttribute(text_, "x", box.x);
            AppendAttribute(text_, "y", box.y);
            AppendAttribute(text_, "width", box.width);
            AppendAttribute(text_, "height", box.height);
            break;
        case KVEC_OBJECT_ELLIPSE:
            if (box.width == box.height) {
                text_ += "\t<circle";
                AppendAttribute(text_, "cx", box.x + box.width / 2);
                AppendAttribute(text_, "cy", box.y + box.height / 2);
                AppendAttribute(text_, "r", box.width / 2);
            } else {
                text_ += "\t<ellipse";
                AppendAttribute(text_, "cx", box.x + box.width / 2);
                AppendAttribute(text_, "cy", box.y + box.height / 2);
                AppendAttribute(text_, "rx", box.width / 2);
                AppendAttribute(text_, "ry", box.height / 2);
            }
            break;
        case KVEC_OBJECT_POLYLINE: return WritePoly(object, "polyline", false, false);
        case KVEC_OBJECT_POLYGON: return WritePoly(object, "polygon", true, false);
        case KVEC_OBJECT_PATH: return WritePoly(object, "path", true, false);
        case KVEC_OBJECT_ARC:
            return WritePoly(object, object.closed ? "polygon" : "polyline", object.closed != 0, true);
        case KVEC_OBJECT_TEXT: return WriteText(object);
        case KVEC_OBJECT_RASTER: return WriteRaster(object);
        default:
            // A kind this writer does not know is left out rather than
            // failing the whole drawing.
            return SUCCESS;
        }
        if (int32_t status = WritePaint(object, true, false); status != SUCCESS)
            return status;
        EndEmpty();
        return SUCCESS;
    }

    const VectorCalls& calls_;
    void* vector_;
    std::string& text_;
};

}  // namespace

int32_t WriteVectorAsSvg(const VectorCalls& calls, void* vector, std::string& text)
{
    try {
        return VectorSvgWriter(calls, vector, text).Write();
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}
