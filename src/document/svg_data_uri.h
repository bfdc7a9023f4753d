// Takes data URIs apart and makes them: the parse that records where each part
// lies in the caller's string, the media table, and base64 both ways. Each
// entry makes its own argument checks in the order callers see at the
// boundary, so the exports only forward. Touches no document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "kvsvg/kvsvg_datauri.h"

// Base64 of RFC 4648 (standard alphabet, '=' padding, no line breaks). False
// when memory runs out; `text` then holds nothing.
bool EncodeBase64(const void* bytes, size_t size, std::string& text);

// Inverse of EncodeBase64. Blanks between characters are skipped, since
// hand-wrapped URIs carry line breaks, and missing padding is accepted. Any
// other character outside the alphabet, '=' before the end, or a lone final
// character is refused: false, `bytes` empty. False too when memory runs out.
bool DecodeBase64(std::u16string_view text, std::string& bytes);

// The media table, by a stretch of a media type compared as a prefix of each
// name, and by a block's leading bytes. Null when nothing matches.
struct SvgMediaKind {
    const char16_t* names[2];  // second may be null
    std::string_view signatures[2];  // second may be empty
    uint32_t imageFormat;
    const char16_t* extension;
};
const SvgMediaKind* FindMediaByName(std::u16string_view media);
const SvgMediaKind* FindMediaBySignature(const void* bytes, size_t size);

int32_t ParseDataUri(const char16_t* text, SvgDataUri* dataUri, uint32_t size);
int32_t DecodeDataUriToMemory(const SvgDataUri* dataUri, void** block, size_t* size);
int32_t DecodeDataUriToFile(const SvgDataUri* dataUri, const char16_t* path);
int32_t EncodeDataUriFromMemory(const void* block, size_t size, char16_t** text, size_t* length);
int32_t EncodeDataUriFromFile(const char16_t* path, char16_t** text, size_t* length);
