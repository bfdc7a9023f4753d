#include "writer/writer_object.h"

#include <cmath>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "values/value_records.h"

namespace kvdrw::svg {

namespace {

void SetNumber(SvgPercentage& percentage, double value)
{
    InitPercentage(&percentage);
    percentage.value = value;
    percentage.type = SVG_PERCENTAGE_NUMBER;
}

uint8_t ToByte(const SvgPercentage& percentage)
{
    if (IsUnsetDouble(percentage.value))
        return 0;
    double value = percentage.type == SVG_PERCENTAGE_PERCENT ? percentage.value * 2.55 : percentage.value;
    value = std::fmin(255.0, std::fmax(0.0, std::round(value)));
    return static_cast<uint8_t>(value);
}

}  // namespace

void TrackWriterObject(MyDisposable* object)
{
    KV_TRACK(object);
}

void ReleaseWriterObject(MyDisposable* object, kvdrw::Engine* owner)
{
    if (!object)
        return;
    if (owner)
        object->SetOwner(owner);
    object->MarkReleasing();
    KV_UNTRACK(object);
    delete object;
}

void SetPaintColor(SvgPaint& paint, double& opacity, const KvColor& color)
{
    FreePaint(&paint);
    InitPaint(&paint);
    paint.kind = SVG_PAINT_COLOR;
    paint.color.kind = SVG_COLOR_RGB;
    SetNumber(paint.color.red, color.red);
    SetNumber(paint.color.green, color.green);
    SetNumber(paint.color.blue, color.blue);
    // Single precision, as the stored opacity has always been computed.
    opacity = color.alpha < 255 ? static_cast<double>(static_cast<float>(color.alpha) / 255.0f) : UnsetDouble();
}

KvColor GetPaintColor(const SvgPaint& paint, double opacity)
{
    KvColor color{255, 0, 0, 0};
    if (!IsUnsetDouble(opacity))
        color.alpha = static_cast<uint8_t>(std::lround(std::fmin(1.0, std::fmax(0.0, opacity)) * 255.0));
    if (paint.kind == SVG_PAINT_COLOR && paint.color.kind == SVG_COLOR_RGB) {
        color.red = ToByte(paint.color.red);
        color.green = ToByte(paint.color.green);
        color.blue = ToByte(paint.color.blue);
    }
    return color;
}

}  // namespace kvdrw::svg
