// Small wide-text tools shared by the value parsers and formatters: the two
// notions of white space, case-blind comparison, the runtime's number reading
// and tracked copies. Knows nothing of attributes or records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kvsvg/kvsvg.h"

// The four characters that the value grammar calls white space.
constexpr bool IsXmlSpace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; }

// White space as the C runtime's wide classification sees it: the ASCII
// controls 9 to 13, the blank and the Unicode space separators. Used where
// copies are trimmed and keywords looked up.
bool IsRuntimeSpace(char16_t c);

constexpr bool IsAsciiDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
constexpr char16_t FoldAscii(char16_t c) { return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c; }

std::u16string_view TrimRuntimeSpace(std::u16string_view text);
std::u16string_view TrimXmlSpace(std::u16string_view text);
std::u16string_view SkipXmlSpace(std::u16string_view text);

bool EqualsIgnoringCase(std::u16string_view a, std::u16string_view b);
bool StartsWithIgnoringCase(std::u16string_view text, std::u16string_view prefix);

// Length of a zero-terminated wide string, 0 for null.
size_t WideLengthOf(const KvChar* text);
inline std::u16string_view WideView(const KvChar* text) { return text ? std::u16string_view(text, WideLengthOf(text)) : std::u16string_view(); }

// Reads a number the way the runtime's wide atof does: leading white space,
// an optional sign, the longest prefix that is a number, 0 when there is none.
// Independent of the process locale.
double WideToDouble(std::u16string_view text);
// The same on ASCII text already cut out (no white space skipped).
double AsciiToDouble(const char* text);

// Zero-terminated copy in a tracked block; null when memory runs out.
KvChar* NewWideCopy(std::u16string_view text);

// Replaces an owned string field, freeing the old text only once the new one
// exists. Returns ERROR_NO_MEMORY with the field unchanged when the copy fails.
int32_t ReplaceWideField(KvChar** field, std::u16string_view text);
void FreeWideField(KvChar** field);

// Walks the pieces of a text between delimiters; runs of delimiters give no
// empty pieces.
template <class IsDelimiter>
class WideTokenizer {
public:
    WideTokenizer(std::u16string_view text, IsDelimiter isDelimiter) : text_(text), isDelimiter_(isDelimiter) {}

    bool Next(std::u16string_view& piece)
    {
        while (position_ < text_.size() && isDelimiter_(text_[position_]))
            ++position_;
        if (position_ >= text_.size())
            return false;
        size_t start = position_;
        while (position_ < text_.size() && !isDelimiter_(text_[position_]))
            ++position_;
        piece = text_.substr(start, position_ - start);
        return true;
    }

private:
    std::u16string_view text_;
    IsDelimiter isDelimiter_;
    size_t position_ = 0;
};

// Delimiters of the lists: the four white-space characters and the comma.
constexpr bool IsListDelimiter(char16_t c) { return IsXmlSpace(c) || c == u','; }

// Fixed-capacity wide text for the formatters' stack buffers: appends never
// run past the capacity, they cut the text instead.
class FixedWideText {
public:
    FixedWideText(KvChar* buffer, size_t capacity) : buffer_(buffer), capacity_(capacity) { Clear(); }
    void Clear();
    void Append(std::u16string_view text);
    void AppendAscii(std::string_view text);
    size_t size() const { return length_; }
    std::u16string_view view() const { return {buffer_, length_}; }

private:
    KvChar* buffer_;
    size_t capacity_;
    size_t length_ = 0;
};
