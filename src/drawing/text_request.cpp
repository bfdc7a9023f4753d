#include "drawing/text_request.h"

#include <cstring>

#include "base/utf.h"
#include "drawing/native_font.h"

namespace kvdrw::native {

namespace {

// Resolves a request's length and font; SUCCESS with a null font means
// there is nothing to lay out.
int32_t Prepare(const TextRequest& request, NativeFont*& font, int32_t& length)
{
    font = dynamic_cast<NativeFont*>(request.font);
    if (!font)
        return ERROR_INV_PARAMETER;
    length = request.length;
    if (length < 0)
        length = request.text ? static_cast<int32_t>(WideLength(request.text)) : 0;
    if (length > 0 && !request.text)
        return ERROR_INV_PARAMETER;
    return SUCCESS;
}

}  // namespace

int32_t AppendTextOutline(PathGeometry& path, double resolutionDpi, const TextRequest& request,
                          TextPlacement placement, double wrapWidth)
{
    NativeFont* font = nullptr;
    int32_t length = 0;
    if (int32_t status = Prepare(request, font, length); status != SUCCESS)
        return status;
    if (length == 0)
        return SUCCESS;
    if (request.format) {
        placement.alignment = request.format->GetAlignment();
        placement.lineAlignment = request.format->GetLineAlignment();
        placement.flags = request.format->GetFormatFlags();
    }
    TextLayout layout(font->face(), font->EmPixels(resolutionDpi), font->GetStyle(), placement.flags);
    layout.Layout(request.text, length, wrapWidth);
    const bool vertical = (placement.flags & 2) != 0;
    const double maxHeight = vertical ? placement.boxWidth : placement.boxHeight;
    const int32_t lines = layout.LinesWithin(maxHeight);
    layout.AppendOutlines(path, placement, lines);
    return SUCCESS;
}

int32_t MeasureText(double resolutionDpi, const TextRequest& request, double wrapWidth, double maxHeight,
                    kvdrw::Size* size, int32_t* charactersFitted, int32_t* linesFilled)
{
    if (!size)
        return ERROR_INV_PARAMETER;
    NativeFont* font = nullptr;
    int32_t length = 0;
    if (int32_t status = Prepare(request, font, length); status != SUCCESS)
        return status;
    if (length == 0) {
        *size = {0, 0};
        if (charactersFitted)
            *charactersFitted = 0;
        if (linesFilled)
            *linesFilled = 0;
        return SUCCESS;
    }
    const int32_t flags = request.format ? request.format->GetFormatFlags() : 0;
    try {
        TextLayout layout(font->face(), font->EmPixels(resolutionDpi), font->GetStyle(), flags);
        layout.Layout(request.text, length, wrapWidth);
        const int32_t lines = layout.LinesWithin(maxHeight);
        double width = 0, height = 0;
        layout.MeasureLines(lines, width, height);
        // Vertical text measures across as wide as its lines are high.
        if (flags & 2)
            *size = {height, width};
        else
            *size = {width, height};
        if (charactersFitted)
            *charactersFitted = layout.UnitsConsumed(lines);
        if (linesFilled)
            *linesFilled = lines;
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t WidenText(const char* text, int32_t length, std::u16string& wide)
{
    if (!text)
        return length > 0 ? ERROR_INV_PARAMETER : SUCCESS;
    size_t bytes = length < 0 ? std::strlen(text) : static_cast<size_t>(length);
    try {
        wide = ToUtf16(std::string_view(text, bytes));
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

}  // namespace kvdrw::native
