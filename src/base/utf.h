// Converts text between the UTF-16 of the boundary and the UTF-8 of the tree.
// Validates nothing beyond encoding: a broken sequence becomes U+FFFD and
// callers decide what a bad name means.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

std::string ToUtf8(std::u16string_view wide);
std::u16string ToUtf16(std::string_view utf8);
void AppendUtf8(std::string& out, std::u16string_view wide);
void AppendUtf16(std::u16string& out, std::string_view utf8);

// Length of a zero-terminated wide string; 0 for null.
size_t WideLength(const char16_t* text);

// A zero-terminated UTF-16 copy in a tracked block, for handing to a caller
// who frees it with K_SvgFreeMemory. Null when memory runs out.
char16_t* TrackedWideCopy(std::string_view utf8, int line, const char* file);
char16_t* TrackedWideCopy(std::u16string_view wide, int line, const char* file);
#define KV_WIDE_COPY(text) TrackedWideCopy((text), __LINE__, __FILE__)
