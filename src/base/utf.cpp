#include "base/utf.h"

#include <cstring>

#include "base/tracked_memory.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void PutUtf8(std::string& out, char32_t c)
{
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

void PutUtf16(std::u16string& out, char32_t c)
{
    if (c < 0x10000) {
        out.push_back(static_cast<char16_t>(c));
    } else {
        c -= 0x10000;
        out.push_back(static_cast<char16_t>(0xD800 | (c >> 10)));
        out.push_back(static_cast<char16_t>(0xDC00 | (c & 0x3FF)));
    }
}

// Decodes one code point at `i`, advancing it; overlong forms, surrogates and
// values past U+10FFFF are broken sequences.
char32_t NextFromUtf8(std::string_view s, size_t& i)
{
    auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
    unsigned char lead = byte(i);
    if (lead < 0x80) {
        ++i;
        return lead;
    }
    size_t extra;
    char32_t c;
    char32_t minimum;
    if ((lead & 0xE0) == 0xC0) {
        extra = 1, c = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2, c = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3, c = lead & 0x07, minimum = 0x10000;
    } else {
        ++i;
        return kReplacement;
    }
    size_t k = i + 1;
    for (size_t n = 0; n < extra; ++n, ++k) {
        if (k >= s.size() || (byte(k) & 0xC0) != 0x80) {
            i = k;
            return kReplacement;
        }
        c = (c << 6) | (byte(k) & 0x3F);
    }
    i = k;
    if (c < minimum || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
        return kReplacement;
    return c;
}

}  // namespace

void AppendUtf8(std::string& out, std::u16string_view wide)
{
    out.reserve(out.size() + wide.size());
    for (size_t i = 0; i < wide.size(); ++i) {
        char32_t c = wide[i];
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
            continue;
        }
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < wide.size() && wide[i + 1] >= 0xDC00 && wide[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (wide[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = kReplacement;
        }
        PutUtf8(out, c);
    }
}

void AppendUtf16(std::u16string& out, std::string_view utf8)
{
    out.reserve(out.size() + utf8.size());
    size_t i = 0;
    while (i < utf8.size()) {
        unsigned char lead = static_cast<unsigned char>(utf8[i]);
        if (lead < 0x80) {
            out.push_back(lead);
            ++i;
            continue;
        }
        PutUtf16(out, NextFromUtf8(utf8, i));
    }
}

std::string ToUtf8(std::u16string_view wide)
{
    std::string out;
    AppendUtf8(out, wide);
    return out;
}

std::u16string ToUtf16(std::string_view utf8)
{
    std::u16string out;
    AppendUtf16(out, utf8);
    return out;
}

size_t WideLength(const char16_t* text)
{
    if (!text)
        return 0;
    size_t n = 0;
    while (text[n])
        ++n;
    return n;
}

char16_t* TrackedWideCopy(std::u16string_view wide, int line, const char* file)
{
    auto* copy = static_cast<char16_t*>(TrackedAllocZero(wide.size() + 1, sizeof(char16_t), line, file));
    if (copy && !wide.empty())
        std::memcpy(copy, wide.data(), wide.size() * sizeof(char16_t));
    return copy;
}

char16_t* TrackedWideCopy(std::string_view utf8, int line, const char* file)
{
    try {
        return TrackedWideCopy(std::u16string_view(ToUtf16(utf8)), line, file);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
