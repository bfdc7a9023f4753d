#include "document/load_diagnosis.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <pugixml.hpp>
#include <zlib.h>

#include "base/safety_limits.h"
#include "document/svg_zip.h"

namespace {

// The loader's own parse options: a different set could call a file good
// that the loader refuses, or the other way round.
constexpr unsigned kLoaderParseOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;

void Clear(SvgLoadDiagnosis* out)
{
    const uint32_t size = out->size;
    std::memset(out, 0, sizeof *out);
    out->size = size;
}

void SetDetail(SvgLoadDiagnosis* out, std::string_view text)
{
    // Cut on a character boundary so the detail stays valid UTF-8.
    size_t length = std::min(text.size(), sizeof out->detail - 1);
    while (length > 0 && length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
        --length;
    std::memcpy(out->detail, text.data(), length);
    out->detail[length] = '\0';
}

// Reads one code point of the text as the parser decoded it; returns its
// length in bytes of the source and sets the number of UTF-8 bytes the
// parser's converted buffer holds for it.
size_t NextCodePoint(const uint8_t* bytes, size_t left, pugi::xml_encoding encoding, char32_t& code)
{
    auto fromUnits = [&](unsigned first, unsigned second, bool haveSecond) -> size_t {
        if (first >= 0xD800 && first <= 0xDBFF && haveSecond && second >= 0xDC00 && second <= 0xDFFF) {
            code = 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
            return 4;
        }
        code = first;
        return 2;
    };
    switch (encoding) {
    case pugi::encoding_utf16_le:
    case pugi::encoding_utf16_be: {
        if (left < 2) {
            code = bytes[0];
            return left;
        }
        const bool le = encoding == pugi::encoding_utf16_le;
        auto unit = [&](size_t at) { return le ? bytes[at] | (bytes[at + 1] << 8) : (bytes[at] << 8) | bytes[at + 1]; };
        return fromUnits(unit(0), left >= 4 ? unit(2) : 0, left >= 4);
    }
    case pugi::encoding_utf32_le:
    case pugi::encoding_utf32_be:
        if (left < 4) {
            code = bytes[0];
            return left;
        }
        code = encoding == pugi::encoding_utf32_le
                   ? bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (static_cast<char32_t>(bytes[3]) << 24)
                   : (static_cast<char32_t>(bytes[0]) << 24) | (bytes[1] << 16) | (bytes[2] << 8) | bytes[3];
        return 4;
    case pugi::encoding_latin1:
        code = bytes[0];
        return 1;
    default: {  // UTF-8: a broken sequence counts byte by byte
        const uint8_t lead = bytes[0];
        const size_t length = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 1;
        if (length == 1 || length > left) {
            code = lead < 0x80 ? lead : 0xFFFD;
            return 1;
        }
        code = lead & (0x7F >> length);
        for (size_t k = 1; k < length; ++k)
            code = (code << 6) | (bytes[k] & 0x3F);
        return length;
    }
    }
}

size_t Utf8Length(char32_t code)
{
    return code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
}

// The parser reports a byte offset into its UTF-8 copy of the text; a person
// wants the line and the character on it. Walks the source in its own
// encoding, counting what each character becomes in UTF-8, and also finds
// the source byte of the error.
void LocateError(const uint8_t* bytes, size_t size, pugi::xml_encoding encoding, size_t utf8Offset,
                 SvgLoadDiagnosis* out)
{
    uint32_t line = 1, column = 1;
    size_t source = 0, converted = 0;
    bool first = true;
    while (source < size && converted < utf8Offset) {
        char32_t code = 0;
        const size_t step = NextCodePoint(bytes + source, size - source, encoding, code);
        source += step == 0 ? 1 : step;
        converted += Utf8Length(code);
        if (code == '\n') {
            ++line;
            column = 1;
        } else if (!(first && code == 0xFEFF)) {  // the byte order mark is no character of line 1
            ++column;
        }
        first = false;
    }
    out->line = line;
    out->column = column;
    out->offset = source;
}

// Inflates a gzip block as far as the loader would, to the same limit.
int32_t Inflate(const uint8_t* bytes, size_t size, std::vector<uint8_t>& text, bool& ok)
{
    ok = false;
    z_stream stream{};
    UseTrackedZlibMemory(stream);
    if (inflateInit2(&stream, 15 + 16) != Z_OK)
        return ERROR_NO_MEMORY;
    stream.next_in = const_cast<Bytef*>(bytes);
    stream.avail_in = static_cast<uInt>(std::min<size_t>(size, 0x7FFFFFFF));
    int result = Z_OK;
    try {
        uint8_t slice[64 * 1024];
        while (result == Z_OK) {
            stream.next_out = slice;
            stream.avail_out = sizeof slice;
            result = inflate(&stream, Z_NO_FLUSH);
            text.insert(text.end(), slice, slice + (sizeof slice - stream.avail_out));
            if (text.size() > kvlimits::kMaxDecompressedBytes)
                break;
            if (result == Z_BUF_ERROR && stream.avail_in == 0)
                break;  // cut short
        }
    } catch (const std::bad_alloc&) {
        inflateEnd(&stream);
        return ERROR_NO_MEMORY;
    }
    inflateEnd(&stream);
    if (result == Z_MEM_ERROR)
        return ERROR_NO_MEMORY;  // not the data's fault: no verdict on it
    ok = result == Z_STREAM_END && text.size() <= kvlimits::kMaxDecompressedBytes;
    return SUCCESS;
}

int32_t DiagnoseText(const uint8_t* bytes, size_t size, SvgLoadDiagnosis* out)
{
    pugi::xml_document tree;
    pugi::xml_parse_result result = tree.load_buffer(bytes, size, kLoaderParseOptions, pugi::encoding_auto);
    if (result.status == pugi::status_out_of_memory)
        return ERROR_NO_MEMORY;
    if (!result) {
        out->kind = SVG_DIAGNOSIS_NOT_XML;
        SetDetail(out, result.description());
        LocateError(bytes, size, result.encoding, static_cast<size_t>(std::max<ptrdiff_t>(result.offset, 0)), out);
        return SUCCESS;
    }
    if (tree.child("svg") || tree.child("svg:svg")) {
        out->kind = SVG_DIAGNOSIS_PARSES;
        return SUCCESS;
    }
    out->kind = SVG_DIAGNOSIS_NO_ROOT;
    if (pugi::xml_node element = tree.find_child([](pugi::xml_node node) { return node.type() == pugi::node_element; }))
        SetDetail(out, element.name());
    return SUCCESS;
}

int32_t DiagnoseBytes(const uint8_t* bytes, size_t size, SvgLoadDiagnosis* out)
{
    if (!bytes || size == 0) {
        out->kind = SVG_DIAGNOSIS_EMPTY;
        return SUCCESS;
    }
    // The loader tries the bytes as text first and inflates only when that
    // fails, so a gzip mark on text that parses never matters.
    if (!HasGzipMark(bytes, size))
        return DiagnoseText(bytes, size, out);
    std::vector<uint8_t> text;
    bool inflated = false;
    if (int32_t status = Inflate(bytes, size, text, inflated); status != SUCCESS)
        return status;
    out->compressed = 1;
    if (!inflated) {
        out->kind = SVG_DIAGNOSIS_BAD_GZIP;
        return SUCCESS;
    }
    if (SniffSvgText(text.data(), text.size(), nullptr) != SUCCESS) {
        out->kind = SVG_DIAGNOSIS_NOT_SVG_TEXT;
        return SUCCESS;
    }
    return DiagnoseText(text.data(), text.size(), out);
}

}  // namespace

int32_t DiagnoseLoadBlock(const void* block, size_t size, SvgLoadDiagnosis* out)
{
    Clear(out);
    try {
        return DiagnoseBytes(static_cast<const uint8_t*>(block), size, out);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

int32_t DiagnoseLoadFile(const char* pathUtf8, SvgLoadDiagnosis* out)
{
    Clear(out);
    int file;
    do {
        file = ::open(pathUtf8, O_RDONLY | O_CLOEXEC);
    } while (file < 0 && errno == EINTR);
    if (file < 0) {
        out->systemError = errno;
        out->kind = errno == ENOENT || errno == ENOTDIR ? SVG_DIAGNOSIS_NO_FILE : SVG_DIAGNOSIS_UNREADABLE;
        return SUCCESS;
    }
    struct stat info {};
    if (::fstat(file, &info) != 0 || S_ISDIR(info.st_mode)) {
        out->systemError = S_ISDIR(info.st_mode) ? EISDIR : errno;
        out->kind = SVG_DIAGNOSIS_UNREADABLE;
        ::close(file);
        return SUCCESS;
    }
    std::vector<uint8_t> bytes;
    try {
        uint8_t slice[64 * 1024];
        for (;;) {
            const ssize_t count = ::read(file, slice, sizeof slice);
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0) {
                out->systemError = errno;
                out->kind = SVG_DIAGNOSIS_UNREADABLE;
                ::close(file);
                return SUCCESS;
            }
            if (count == 0)
                break;
            bytes.insert(bytes.end(), slice, slice + count);
        }
    } catch (const std::bad_alloc&) {
        ::close(file);
        return ERROR_NO_MEMORY;
    }
    ::close(file);
    try {
        return DiagnoseBytes(bytes.data(), bytes.size(), out);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}
