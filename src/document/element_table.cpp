#include "document/element_table.h"

#include "values/keyword_table.h"

std::u16string_view SvgElementNameWide(uint32_t type)
{
    if (type < kSvgFirstElementType || type > kSvgLastElementType)
        return {};
    return kElementKeywords[type - kSvgFirstElementType];
}

uint32_t LookupElementType(std::string_view name)
{
    // Every element name is short ASCII, so a longer or non-ASCII name can
    // match nothing; it is widened on the stack without an allocation.
    constexpr size_t kLongestUseful = 64;
    char16_t wide[kLongestUseful];
    if (name.size() > kLongestUseful)
        return kSvgTypeUnknown;
    for (size_t i = 0; i < name.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(name[i]);
        if (c >= 0x80)
            return kSvgTypeUnknown;
        wide[i] = c;
    }
    return LookupElementType(std::u16string_view(wide, name.size()));
}
