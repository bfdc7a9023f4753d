// Paint servers for one use: a shape whose fill or stroke names a gradient
// gets its own copy of that gradient, with the href chain merged, lengths
// resolved against the shape's box or the viewport, the whole matrix in one
// gradientTransform and a generated id, inserted ahead of the shape.
#include "flatten/paint_servers.h"

#include <cstdio>
#include <new>
#include <string>
#include <unordered_set>

#include "base/numeric.h"
#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "flatten/svg_flattener.h"
#include "values/value_kinds.h"
#include "values/value_records.h"

namespace {

bool IsGradient(uint32_t type)
{
    return type == SVG_ELEMENT_LINEARGRADIENT || type == SVG_ELEMENT_RADIALGRADIENT;
}

bool HasStop(const SvgElementView& gradient)
{
    for (SvgElementView child = gradient.FirstChild(); child; child = child.NextSibling()) {
        if (child.type() == SVG_ELEMENT_STOP)
            return true;
    }
    return false;
}

bool IsUnset(const SvgLength& length)
{
    return IsUnsetDouble(length.value);
}

// The fields a gradient record of either kind shares, for the chain merge.
struct GradientFields {
    KvChar** href;
    uint32_t* spreadMethod;
    uint32_t* gradientUnits;
    SvgTransformList* gradientTransform;
    K_SvgStyleProp* style;
};

GradientFields FieldsOf(ScopedAnyRecord& record)
{
    if (record.type() == SVG_ELEMENT_LINEARGRADIENT) {
        auto& g = record.as<SvgLinearGradientElement>();
        return {&g.href, &g.spreadMethod, &g.gradientUnits, &g.gradientTransform, &g.style};
    }
    auto& g = record.as<SvgRadialGradientElement>();
    return {&g.href, &g.spreadMethod, &g.gradientUnits, &g.gradientTransform, &g.style};
}

int32_t CopyLength(SvgLength& destination, const SvgLength& source)
{
    if (IsUnset(destination) && !IsUnset(source))
        destination = source;
    return SUCCESS;
}

// Merges the href chain into `record` (already holding the first gradient):
// each next gradient fills only what is still unset. The first gradient of
// the chain with a stop child owns the stops. A chain that comes back to a
// gradient it passed stops there, as a reference to nothing would.
int32_t ResolveGradientChain(CSvgFlattener& flattener, const CSvgContext& context, const SvgElementView& first,
                             ScopedAnyRecord& record, SvgElementView& contentOwner)
{
    contentOwner = HasStop(first) ? first : SvgElementView();
    std::unordered_set<const void*> visited;
    try {
        visited.insert(first.node().internal_object());
        GradientFields fields = FieldsOf(record);
        const KvChar* next = *fields.href;
        for (size_t hops = 0; next && hops < kvlimits::kMaxReferenceChain; ++hops) {
            SvgElementView linked = flattener.FindElementById(context, next);
            if (!linked || !IsGradient(linked.type()) || !visited.insert(linked.node().internal_object()).second)
                break;
            ScopedAnyRecord other(linked.type());
            if (int32_t status = linked.Read(other); status != SUCCESS)
                return status;
            GradientFields from = FieldsOf(other);
            if (record.type() == linked.type()) {
                if (record.type() == SVG_ELEMENT_LINEARGRADIENT) {
                    auto& to = record.as<SvgLinearGradientElement>();
                    const auto& src = other.as<SvgLinearGradientElement>();
                    CopyLength(to.x1, src.x1);
                    CopyLength(to.y1, src.y1);
                    CopyLength(to.x2, src.x2);
                    CopyLength(to.y2, src.y2);
                } else {
                    auto& to = record.as<SvgRadialGradientElement>();
                    const auto& src = other.as<SvgRadialGradientElement>();
                    CopyLength(to.cx, src.cx);
                    CopyLength(to.cy, src.cy);
                    CopyLength(to.r, src.r);
                    CopyLength(to.fx, src.fx);
                    CopyLength(to.fy, src.fy);
                }
            }
            if (*fields.gradientUnits == 0)
                *fields.gradientUnits = *from.gradientUnits;
            if (*fields.spreadMethod == 0)
                *fields.spreadMethod = *from.spreadMethod;
            if (fields.gradientTransform->count == 0 && from.gradientTransform->count != 0) {
                std::swap(*fields.gradientTransform, *from.gradientTransform);
            }
            if (int32_t status = MergeStyle(*fields.style, *from.style, false); status != SUCCESS)
                return status;
            if (!contentOwner && HasStop(linked))
                contentOwner = linked;
            // The next link is read from the gradient just merged.
            std::swap(*fields.href, *from.href);
            next = *fields.href;
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

// "kolv_<name>_<n>" into the paint and the record's id.
int32_t MakePaintId(CSvgFlattener& flattener, const char* name, SvgPaint& paint, KvChar** recordId)
{
    char text[96];
    std::snprintf(text, sizeof text, "kolv_%s_%u", name, flattener.NextId());
    std::u16string wide(text, text + std::char_traits<char>::length(text));
    FreeTrackedField(reinterpret_cast<void**>(&paint.color.text));
    if (int32_t status = CopyTrackedText(&paint.color.text, wide.c_str()); status != SUCCESS)
        return status;
    FreeTrackedField(reinterpret_cast<void**>(recordId));
    return CopyTrackedText(recordId, wide.c_str());
}

// The stops of the gradient that owns them, each with its cascaded style
// and without its id, under the new gradient.
int32_t InsertStops(CSvgFlattener& flattener, const CSvgContext& gradientContext, const SvgElementView& owner,
                    const SvgElementView& inserted, const CSvgBoundingBox& box)
{
    for (SvgElementView child = owner.FirstChild(); child; child = child.NextSibling()) {
        if (child.type() != SVG_ELEMENT_STOP)
            continue;
        ScopedRecord<SvgStopElement> stop(SVG_ELEMENT_STOP);
        if (int32_t status = child.Read(stop); status != SUCCESS)
            return status;
        std::unique_ptr<CSvgContext> own = CSvgFlattener::NewContext();
        if (!own)
            return ERROR_NO_MEMORY;
        if (int32_t status = own->Derive(gradientContext, nullptr, &stop->style); status != SUCCESS)
            return status;
        own->style.MoveInto(stop->style);
        // opacity belongs to shapes; a stop carries its own stop-opacity.
        stop->style.opacity = UnsetDouble();
        FreeTrackedField(reinterpret_cast<void**>(&stop->core.id));
        own->outputParent = inserted;
        own->collectingClip = nullptr;
        if (int32_t status = flattener.InsertFlatElement(*own, &stop.get(), SVG_ELEMENT_STOP, box); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

}  // namespace

int32_t FlattenGradient(CSvgFlattener& flattener, CSvgContext& context, const SvgElementView& gradient,
                        SvgPaint& paint, const CSvgBoundingBox& box)
{
    const uint32_t type = gradient.type();
    ScopedAnyRecord record(type);
    if (int32_t status = gradient.Read(record); status != SUCCESS)
        return status;
    SvgElementView contentOwner;
    if (int32_t status = ResolveGradientChain(flattener, context, gradient, record, contentOwner); status != SUCCESS)
        return status;
    GradientFields fields = FieldsOf(record);

    std::unique_ptr<CSvgContext> own = CSvgFlattener::NewContext();
    if (!own)
        return ERROR_NO_MEMORY;
    if (int32_t status = own->Derive(context, nullptr, fields.style); status != SUCCESS)
        return status;
    if (*fields.gradientUnits != svgkind::kUnitsUserSpaceOnUse) {
        // Fractions and percentages are of the shape's box.
        const double width = box.IsEmpty() ? 0.0 : box.xMax - box.xMin;
        const double height = box.IsEmpty() ? 0.0 : box.yMax - box.yMin;
        const SvgMatrix boxMatrix{width, 0, 0, height, box.IsEmpty() ? 0.0 : box.xMin, box.IsEmpty() ? 0.0 : box.yMin};
        own->matrix = MultiplySvgMatrix(own->matrix, boxMatrix);
        own->viewportWidth = 1;
        own->viewportHeight = 1;
    }
    if (fields.gradientTransform->count > 0)
        own->matrix = MultiplySvgMatrix(own->matrix, SvgMatrixFromList(fields.gradientTransform));
    own->style.MoveInto(*fields.style);
    ResolveContextLengths(*own, *fields.style);
    // A gradient has no opacity of its own in the flat form: the shape carries it.
    fields.style->opacity = UnsetDouble();

    const auto resolve = [&](SvgLength& length, bool vertical) {
        ResolveSvgLength(length, vertical, true, own->fontSize, own->viewportWidth, own->viewportHeight);
    };
    const auto percent = [](SvgLength& length, double value) {
        length = SvgLength{kSvgLengthSize, value, SVG_UNIT_NONE, 1};
    };
    const char* name = nullptr;
    if (type == SVG_ELEMENT_LINEARGRADIENT) {
        auto& linear = record.as<SvgLinearGradientElement>();
        for (SvgLength* length : {&linear.x1, &linear.y1, &linear.y2}) {
            if (IsUnset(*length))
                *length = SvgLength{kSvgLengthSize, 0.0, SVG_UNIT_NONE, 0};
        }
        if (IsUnset(linear.x2))
            percent(linear.x2, 100.0);
        resolve(linear.x1, false);
        resolve(linear.y1, true);
        resolve(linear.x2, false);
        resolve(linear.y2, true);
        name = "linearGradient";
    } else {
        auto& radial = record.as<SvgRadialGradientElement>();
        if (IsUnset(radial.cx))
            percent(radial.cx, 50.0);
        if (IsUnset(radial.cy))
            percent(radial.cy, 50.0);
        if (IsUnset(radial.r))
            percent(radial.r, 50.0);
        if (IsUnset(radial.fx))
            radial.fx = radial.cx;
        if (IsUnset(radial.fy))
            radial.fy = radial.cy;
        resolve(radial.cx, false);
        resolve(radial.cy, true);
        resolve(radial.fx, false);
        resolve(radial.fy, true);
        ResolveSvgLength(radial.r, false, false, own->fontSize, own->viewportWidth, own->viewportHeight);
        name = "radialGradient";
    }
    *fields.gradientUnits = svgkind::kUnitsUserSpaceOnUse;
    FreeTrackedField(reinterpret_cast<void**>(fields.href));
    if (int32_t status = SvgMatrixToList(own->matrix, fields.gradientTransform); status != SUCCESS)
        return status;
    KvChar** recordId = type == SVG_ELEMENT_LINEARGRADIENT ? &record.as<SvgLinearGradientElement>().core.id
                                                           : &record.as<SvgRadialGradientElement>().core.id;
    if (contentOwner) {
        if (int32_t status = MakePaintId(flattener, name, paint, recordId); status != SUCCESS)
            return status;
    }
    own->collectingClip = nullptr;
    own->outputParent = context.outputParent;
    SvgElementView inserted;
    if (int32_t status = flattener.InsertFlatElement(*own, record.data(), type, box, &inserted); status != SUCCESS)
        return status;
    if (!contentOwner || !inserted)
        return SUCCESS;
    return InsertStops(flattener, *own, contentOwner, inserted, box);
}
