#include "document/file_options.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "base/numeric.h"

namespace {

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view Trimmed(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool EqualsNoCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i] >= 'a' && a[i] <= 'z' ? a[i] - 32 : a[i];
        char y = b[i] >= 'a' && b[i] <= 'z' ? b[i] - 32 : b[i];
        if (x != y)
            return false;
    }
    return true;
}

// A number as attribute values have them: optional leading '-', digits with
// one '.', an optional exponent; no '+' in front.
bool ParsePlainNumber(std::string_view text, double& value)
{
    text = Trimmed(text);
    bool digit = false, started = false, dot = false, exponent = false;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c >= '0' && c <= '9') {
            digit = started = true;
        } else if (c == '.' && !dot && !exponent) {
            dot = started = true;
        } else if (c == '-' && !started) {
            started = true;
        } else if ((c == 'e' || c == 'E') && digit && !exponent) {
            exponent = true;
            if (i + 1 < text.size() && (text[i + 1] == '+' || text[i + 1] == '-'))
                ++i;
        } else {
            return false;
        }
    }
    if (!digit)
        return false;
    value = std::strtod(std::string(text).c_str(), nullptr);
    return true;
}

std::string FormatNumber(double value)
{
    char buffer[50];
    std::snprintf(buffer, sizeof buffer, "%g", value);
    std::string text(buffer);
    if (size_t dot = text.find('.'); dot != std::string::npos) {
        while (text.size() > dot && text.back() == '0')
            text.pop_back();
        if (text.back() == '.')
            text.pop_back();
    }
    return text;
}

void SetOrRemove(pugi::xml_node root, const char* name, const std::string& value)
{
    if (value.empty()) {
        root.remove_attribute(name);
        return;
    }
    pugi::xml_attribute attribute = root.attribute(name);
    if (!attribute)
        attribute = root.append_attribute(name);
    attribute.set_value(value.c_str());
}

void WriteResolution(pugi::xml_node root, const char* name, double value)
{
    if (value == -1.0 || IsUnsetDouble(value))
        root.remove_attribute(name);
    else
        SetOrRemove(root, name, FormatNumber(value));
}

double ReadNumberOrUnset(pugi::xml_node root, const char* name)
{
    double value;
    pugi::xml_attribute attribute = root.attribute(name);
    if (attribute && ParsePlainNumber(attribute.value(), value))
        return value;
    return UnsetDouble();
}

bool ReadTrue(pugi::xml_node root, const char* name)
{
    pugi::xml_attribute attribute = root.attribute(name);
    return attribute && EqualsNoCase(Trimmed(attribute.value()), "true");
}

}  // namespace

int32_t ReadRootVersion(pugi::xml_node root, uint32_t& version)
{
    version = 0;
    pugi::xml_attribute attribute = root.attribute("version");
    if (!attribute)
        return SUCCESS;
    double value;
    if (!ParsePlainNumber(attribute.value(), value))
        return ERROR_INV_NUMBER;
    version = value == 1.0 ? 1 : value == 1.1 ? 2 : 0;
    return SUCCESS;
}

bool ReadFlatAttribute(pugi::xml_node root)
{
    return ReadTrue(root, "IsFlat");
}

int32_t WriteFlatAttribute(pugi::xml_node root, bool flat)
{
    if (!root)
        return FAILURE;
    if (!flat) {
        root.remove_attribute("IsFlat");
        return SUCCESS;
    }
    SetOrRemove(root, "IsFlat", "true");
    return SUCCESS;
}

int32_t ReadBoundsAttributes(pugi::xml_node root, SvgBounds& bounds)
{
    uint32_t size = bounds.size;
    bounds = SvgBounds{};
    bounds.size = size;
    bounds.dpiX = ReadNumberOrUnset(root, "DpiX");
    bounds.dpiY = ReadNumberOrUnset(root, "DpiY");
    bounds.isTrimmed = ReadTrue(root, "IsTrimmed") ? 1 : 0;
    pugi::xml_attribute attribute = root.attribute("Bounds");
    if (!attribute)
        return SUCCESS;
    std::string_view text = attribute.value();
    if (EqualsNoCase(Trimmed(text), "Empty")) {
        bounds.hasBounds = 1;
        return SUCCESS;
    }
    double numbers[4];
    int count = 0;
    size_t i = 0;
    auto separator = [](char c) { return IsBlank(c) || c == ','; };
    while (i < text.size() && count < 4) {
        while (i < text.size() && separator(text[i]))
            ++i;
        size_t start = i;
        while (i < text.size() && !separator(text[i]))
            ++i;
        if (i > start && ParsePlainNumber(text.substr(start, i - start), numbers[count]))
            ++count;
    }
    if (count < 4)
        return ERROR_INV_PARAMETER;
    bounds.hasBounds = 1;
    bounds.x = numbers[0];
    bounds.y = numbers[1];
    bounds.width = numbers[2];
    bounds.height = numbers[3];
    return SUCCESS;
}

int32_t WriteBoundsAttributes(pugi::xml_node root, const SvgBounds* bounds)
{
    if (!root)
        return FAILURE;
    if (!bounds || !bounds->hasBounds) {
        root.remove_attribute("Bounds");
        return SUCCESS;
    }
    WriteResolution(root, "DpiX", bounds->dpiX);
    WriteResolution(root, "DpiY", bounds->dpiY);
    bool empty = !(bounds->width > 0.0) || !(bounds->height > 0.0);
    SetOrRemove(root, "Bounds",
                empty ? std::string("Empty")
                      : FormatNumber(bounds->x) + ", " + FormatNumber(bounds->y) + ", " +
                            FormatNumber(bounds->width) + ", " + FormatNumber(bounds->height));
    SetOrRemove(root, "IsTrimmed", bounds->isTrimmed ? "true" : "false");
    return SUCCESS;
}

void RemoveBoundsAttribute(pugi::xml_node root)
{
    root.remove_attribute("Bounds");
}
