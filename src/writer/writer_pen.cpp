#include "writer/writer_pen.h"

#include <cstring>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "values/value_records.h"

namespace kvdrw::svg {

namespace {

// A plain number in user units.
SvgLength UserLength(double value)
{
    SvgLength length;
    InitLength(&length);
    length.value = value;
    return length;
}

}  // namespace


MyPen::MyPen()
{
    InitStroke(&stroke_);
}

MyPen::~MyPen()
{
    FreeStroke(&stroke_);
    FreeTrackedField(reinterpret_cast<void**>(&dashPattern_));
}

int32_t MyPen::GetColor(KvColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    *color = GetPaintColor(stroke_.paint, stroke_.opacity);
    return SUCCESS;
}

int32_t MyPen::SetColor(const KvColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    SetPaintColor(stroke_.paint, stroke_.opacity, *color);
    return SUCCESS;
}

double MyPen::GetWidth()
{
    return IsUnsetDouble(stroke_.width.value) ? 1.0 : stroke_.width.value;
}

int32_t MyPen::SetWidth(double width)
{
    // The default width writes no attribute.
    InitLength(&stroke_.width);
    if (width != 1.0)
        stroke_.width.value = width;
    return SUCCESS;
}

int32_t MyPen::SetDashStyle(int32_t dashStyle)
{
    FreeDashArray(&stroke_.dashArray);
    InitDashArray(&stroke_.dashArray);
    dashStyle_ = dashStyle;
    // Dash and gap lengths in user units, whatever the width: what a viewer
    // shows for a wide pen is shorter dashes than the engines draw.
    static const double kDash[] = {5, 3};
    static const double kDot[] = {2, 3};
    static const double kDashDot[] = {5, 3, 2, 3};
    static const double kDashDotDot[] = {5, 3, 2, 3, 2, 3};
    const double* list = nullptr;
    uint32_t count = 0;
    switch (dashStyle) {
    case kvdrw::kDashDash: list = kDash; count = 2; break;
    case kvdrw::kDashDot: list = kDot; count = 2; break;
    case kvdrw::kDashDashDot: list = kDashDot; count = 4; break;
    case kvdrw::kDashDashDotDot: list = kDashDotDot; count = 6; break;
    default: return SUCCESS;
    }
    auto* values = static_cast<SvgLength*>(KV_ALLOC(count, sizeof(SvgLength)));
    if (!values)
        return ERROR_NO_MEMORY;
    for (uint32_t i = 0; i < count; ++i)
        values[i] = UserLength(list[i]);
    stroke_.dashArray.values = values;
    stroke_.dashArray.count = count;
    stroke_.dashArray.kind = 2;
    return SUCCESS;
}

int32_t MyPen::SetDashPattern(const double* pattern, int32_t count)
{
    if (!pattern || count < 0)
        return ERROR_INV_PARAMETER;
    SvgLength* values = nullptr;
    if (count > 0) {
        values = static_cast<SvgLength*>(KV_ALLOC(static_cast<size_t>(count), sizeof(SvgLength)));
        if (!values)
            return ERROR_NO_MEMORY;
        for (int32_t i = 0; i < count; ++i)
            values[i] = UserLength(pattern[i]);
    }
    FreeTrackedField(reinterpret_cast<void**>(&dashPattern_));
    dashPattern_ = values;
    dashCount_ = count;
    if (dashStyle_ != kvdrw::kDashCustom || count == 0)
        return SUCCESS;
    // The list reaches the record, but the dash kind stays as the style left
    // it (none for the custom style), so the pattern is never written.
    auto* listCopy = static_cast<SvgLength*>(KV_ALLOC(static_cast<size_t>(count), sizeof(SvgLength)));
    if (!listCopy)
        return ERROR_NO_MEMORY;
    std::memcpy(listCopy, values, sizeof(SvgLength) * static_cast<size_t>(count));
    FreeTrackedField(reinterpret_cast<void**>(&stroke_.dashArray.values));
    stroke_.dashArray.values = listCopy;
    stroke_.dashArray.count = static_cast<uint32_t>(count);
    return SUCCESS;
}

int32_t MyPen::GetLineCap()
{
    switch (stroke_.lineCap) {
    case 3: return kvdrw::kCapSquare;
    case 2: return kvdrw::kCapRound;
    default: return kvdrw::kCapButt;
    }
}

int32_t MyPen::SetLineCap(int32_t lineCap)
{
    stroke_.lineCap = lineCap == kvdrw::kCapSquare ? 3u : lineCap == kvdrw::kCapRound ? 2u : 1u;
    return SUCCESS;
}

int32_t MyPen::GetLineJoin()
{
    switch (stroke_.lineJoin) {
    case 3: return kvdrw::kJoinBevel;
    case 2: return kvdrw::kJoinRound;
    default: return kvdrw::kJoinMiter;
    }
}

int32_t MyPen::SetLineJoin(int32_t lineJoin)
{
    stroke_.lineJoin = lineJoin == kvdrw::kJoinBevel ? 3u : lineJoin == kvdrw::kJoinRound ? 2u : 1u;
    return SUCCESS;
}

}  // namespace kvdrw::svg
