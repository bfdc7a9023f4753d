#include "base/narrow_text.h"

#include <cstring>
#include <new>
#include <string>

#include "base/tracked_memory.h"
#include "base/utf.h"
#include "kvsvg/kvsvg.h"

char16_t* ToWideBytes(const char* text, size_t bytes, size_t* units, int line, const char* file)
{
    if (units)
        *units = 0;
    if (!text)
        return nullptr;
    try {
        std::u16string wide = ToUtf16(std::string_view(text, bytes));
        auto* copy = static_cast<char16_t*>(TrackedAlloc(wide.size() + 1, sizeof(char16_t), line, file));
        if (!copy)
            return nullptr;
        std::memcpy(copy, wide.data(), wide.size() * sizeof(char16_t));
        copy[wide.size()] = 0;
        if (units)
            *units = wide.size();
        return copy;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

char16_t* ToWide(const char* text, int line, const char* file)
{
    return text ? ToWideBytes(text, std::strlen(text), nullptr, line, file) : nullptr;
}

char* ToNarrow(const char16_t* text, size_t* bytes, int line, const char* file)
{
    if (bytes)
        *bytes = 0;
    if (!text)
        return nullptr;
    try {
        std::string narrow = ToUtf8(std::u16string_view(text, WideLength(text)));
        auto* copy = static_cast<char*>(TrackedAlloc(narrow.size() + 1, 1, line, file));
        if (!copy)
            return nullptr;
        std::memcpy(copy, narrow.data(), narrow.size() + 1);
        if (bytes)
            *bytes = narrow.size();
        return copy;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void FreeConverted(void* block)
{
    if (block)
        KV_FREE(block);
}

bool IsWellFormedUtf8(std::string_view text)
{
    size_t i = 0;
    while (i < text.size()) {
        auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
        unsigned char lead = byte(i);
        size_t extra;
        char32_t c;
        char32_t minimum;
        if (lead < 0x80) {
            ++i;
            continue;
        } else if ((lead & 0xE0) == 0xC0) {
            extra = 1, c = lead & 0x1F, minimum = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            extra = 2, c = lead & 0x0F, minimum = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            extra = 3, c = lead & 0x07, minimum = 0x10000;
        } else {
            return false;
        }
        if (i + extra >= text.size())
            return false;
        for (size_t k = 1; k <= extra; ++k) {
            if ((byte(i + k) & 0xC0) != 0x80)
                return false;
            c = (c << 6) | (byte(i + k) & 0x3F);
        }
        if (c < minimum || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
            return false;
        i += extra + 1;
    }
    return true;
}

int32_t NarrowTextOut(int32_t status, char16_t* wide, char** out, size_t* length)
{
    TrackedPtr<char16_t> owned(wide);
    if (out)
        *out = nullptr;
    if (length)
        *length = 0;
    if (status != SUCCESS || !out || !wide || wide[0] == 0)
        return status;
    size_t bytes = 0;
    *out = ToNarrow(wide, &bytes, __LINE__, __FILE__);
    if (!*out)
        return ERROR_NO_MEMORY;
    if (length)
        *length = bytes + 1;
    return SUCCESS;
}
