#include "values/wide_text.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <locale.h>

#include "base/tracked_memory.h"

namespace {

// The C locale for strtod_l, made once: a host that switched LC_NUMERIC to a
// comma locale must not change how "1.5" reads.
locale_t ClassicLocale()
{
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return locale;
}

bool IsNumberCharacter(char16_t c)
{
    return (c >= u'0' && c <= u'9') || c == u'.' || c == u'+' || c == u'-' || (c >= u'a' && c <= u'z') ||
           (c >= u'A' && c <= u'Z');
}

}  // namespace

bool IsRuntimeSpace(char16_t c)
{
    if (c == u' ' || (c >= 0x09 && c <= 0x0D))
        return true;
    if (c < 0x85)
        return false;
    return c == 0x85 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 ||
           c == 0x202F || c == 0x205F || c == 0x3000;
}

std::u16string_view TrimRuntimeSpace(std::u16string_view text)
{
    while (!text.empty() && IsRuntimeSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsRuntimeSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

std::u16string_view TrimXmlSpace(std::u16string_view text)
{
    text = SkipXmlSpace(text);
    while (!text.empty() && IsXmlSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

std::u16string_view SkipXmlSpace(std::u16string_view text)
{
    while (!text.empty() && IsXmlSpace(text.front()))
        text.remove_prefix(1);
    return text;
}

bool EqualsIgnoringCase(std::u16string_view a, std::u16string_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (FoldAscii(a[i]) != FoldAscii(b[i]))
            return false;
    }
    return true;
}

bool StartsWithIgnoringCase(std::u16string_view text, std::u16string_view prefix)
{
    return text.size() >= prefix.size() && EqualsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

size_t WideLengthOf(const KvChar* text)
{
    if (!text)
        return 0;
    size_t length = 0;
    while (text[length])
        ++length;
    return length;
}

double WideToDouble(std::u16string_view text)
{
    while (!text.empty() && IsRuntimeSpace(text.front()))
        text.remove_prefix(1);
    // Only ASCII can be part of a number; a longer run than the buffer holds
    // is cut, which changes nothing but absurd digit strings.
    char narrow[512];
    size_t length = 0;
    while (length < text.size() && length + 1 < sizeof(narrow) && IsNumberCharacter(text[length])) {
        narrow[length] = static_cast<char>(text[length]);
        ++length;
    }
    narrow[length] = '\0';
    if (length == 0)
        return 0.0;
    return AsciiToDouble(narrow);
}

double AsciiToDouble(const char* text)
{
    if (locale_t locale = ClassicLocale())
        return strtod_l(text, nullptr, locale);
    return std::strtod(text, nullptr);
}

KvChar* NewWideCopy(std::u16string_view text)
{
    auto* copy = static_cast<KvChar*>(KV_ALLOC(text.size() + 1, sizeof(KvChar)));
    if (!copy)
        return nullptr;
    if (!text.empty())
        std::memcpy(copy, text.data(), text.size() * sizeof(KvChar));
    copy[text.size()] = 0;
    return copy;
}

int32_t ReplaceWideField(KvChar** field, std::u16string_view text)
{
    KvChar* copy = NewWideCopy(text);
    if (!copy)
        return ERROR_NO_MEMORY;
    if (*field)
        KV_FREE(*field);
    *field = copy;
    return SUCCESS;
}

void FreeWideField(KvChar** field)
{
    if (*field)
        KV_FREE(*field);
    *field = nullptr;
}

void FixedWideText::Clear()
{
    length_ = 0;
    if (capacity_ > 0)
        buffer_[0] = 0;
}

void FixedWideText::Append(std::u16string_view text)
{
    if (capacity_ == 0)
        return;
    size_t room = capacity_ - 1 - length_;
    size_t count = text.size() < room ? text.size() : room;
    if (count)
        std::memcpy(buffer_ + length_, text.data(), count * sizeof(KvChar));
    length_ += count;
    buffer_[length_] = 0;
}

void FixedWideText::AppendAscii(std::string_view text)
{
    if (capacity_ == 0)
        return;
    for (char c : text) {
        if (length_ + 1 >= capacity_)
            break;
        buffer_[length_++] = static_cast<unsigned char>(c);
    }
    buffer_[length_] = 0;
}
