#include "values/file_option_attributes.h"

#include <string>

#include "base/numeric.h"
#include "values/keyword_table.h"
#include "values/svg_attribute_reader.h"
#include "values/svg_attribute_writer.h"
#include "values/value_formatter.h"
#include "values/wide_text.h"

namespace {

double UnsetIfUnknown(double resolution)
{
    return resolution == -1.0 ? UnsetDouble() : resolution;
}

}  // namespace

bool ReadIsFlatAttribute(pugi::xml_node root)
{
    int32_t flat = -1;
    SvgAttributeReader reader(root, 0);
    return reader.ReadBooleanAttribute("IsFlat", &flat) == SUCCESS && flat == 1;
}

int32_t WriteIsFlatAttribute(pugi::xml_node root, bool flat)
{
    SvgAttributeWriter writer(root, 0);
    return writer.SetAttribute("IsFlat", flat ? u"true" : u"", false);
}

int32_t ReadFileOptionAttributes(pugi::xml_node root, SvgBounds* bounds)
{
    if (!bounds)
        return ERROR_INV_PARAMETER;
    SvgAttributeReader reader(root, 0);
    bounds->hasBounds = 0;
    bounds->isTrimmed = 0;
    bounds->x = bounds->y = bounds->width = bounds->height = 0.0;
    if (reader.ReadNumberAttribute("DpiX", &bounds->dpiX) != SUCCESS)
        bounds->dpiX = UnsetDouble();
    if (reader.ReadNumberAttribute("DpiY", &bounds->dpiY) != SUCCESS)
        bounds->dpiY = UnsetDouble();

    std::u16string text;
    bool present = false;
    if (int32_t status = reader.GetText("Bounds", &text, &present); status != SUCCESS)
        return status;
    if (present) {
        double numbers[4] = {};
        int count = 0;
        bool empty = false;
        WideTokenizer pieces(std::u16string_view(text), IsListDelimiter);
        std::u16string_view piece;
        while (pieces.Next(piece)) {
            if (piece == u"Empty") {
                empty = true;
                break;
            }
            if (count < 4)
                numbers[count] = WideToDouble(piece);
            ++count;
        }
        if (!empty && count < 4)
            return ERROR_INV_PARAMETER;
        if (!empty) {
            bounds->x = numbers[0];
            bounds->y = numbers[1];
            bounds->width = numbers[2];
            bounds->height = numbers[3];
        }
        bounds->hasBounds = 1;
    }

    int32_t trimmed = -1;
    if (reader.ReadBooleanAttribute("IsTrimmed", &trimmed) == SUCCESS && trimmed == 1)
        bounds->isTrimmed = 1;
    return SUCCESS;
}

int32_t WriteResolutionAttributes(pugi::xml_node root, double dpiX, double dpiY)
{
    SvgAttributeWriter writer(root, 0);
    int32_t status = writer.SetNumberAttribute("DpiX", UnsetIfUnknown(dpiX));
    if (status == SUCCESS)
        status = writer.SetNumberAttribute("DpiY", UnsetIfUnknown(dpiY));
    return status;
}

int32_t WriteFileOptionAttributes(pugi::xml_node root, const SvgBounds* bounds)
{
    SvgAttributeWriter writer(root, 0);
    if (!bounds || bounds->hasBounds == 0)
        return writer.SetAttribute("Bounds", std::u16string_view(), false);
    int32_t status = WriteResolutionAttributes(root, bounds->dpiX, bounds->dpiY);
    if (status != SUCCESS)
        return status;
    // A rectangle without area is "Empty", as the base library would say.
    bool empty = !(bounds->width > 0.0) || !(bounds->height > 0.0);
    KvChar text[4 * kNumberTextCapacity + 8];
    FixedWideText out(text, std::size(text));
    if (empty) {
        out.Append(u"Empty");
    } else {
        const double numbers[4] = {bounds->x, bounds->y, bounds->width, bounds->height};
        for (int i = 0; i < 4; ++i) {
            KvChar number[kNumberTextCapacity];
            NumberToString(numbers[i], number);
            if (i)
                out.Append(u", ");
            out.Append(number);
        }
    }
    status = writer.SetAttribute("Bounds", out.view(), false);
    if (status == SUCCESS)
        status = writer.SetBooleanAttribute("IsTrimmed", bounds->isTrimmed ? 1 : 0);
    return status;
}
