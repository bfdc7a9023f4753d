#include "document/svg_data_uri.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>

#include "base/base_file.h"
#include "base/tracked_memory.h"
#include "base/utf.h"

namespace {

constexpr char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

using namespace std::string_view_literals;

// Row order decides ties: a media stretch of "image/" names PNG.
const SvgMediaKind kMediaTable[] = {
    {{u"image/png", nullptr}, {"\x89PNG\r\n\x1A\n"sv, "\x89PNG\r\n\r\x05"sv}, SVG_DATA_URI_FORMAT_PNG, u"png"},
    {{u"image/jpeg", u"image/jpg"}, {"\xFF\xD8\xFF"sv, {}}, SVG_DATA_URI_FORMAT_JPEG, u"jpg"},
    {{u"image/gif", nullptr}, {"GIF"sv, {}}, SVG_DATA_URI_FORMAT_GIF, u"gif"},
};

// The C library's isspace over the ASCII range; wider code units are never
// blanks (passing them to isspace would be undefined).
bool IsBlank(char16_t c)
{
    return c < 0x80 && std::isspace(static_cast<unsigned char>(c));
}

// Base64 value of c, or -1 outside the alphabet.
int SextetOf(char16_t c)
{
    if (c >= u'A' && c <= u'Z')
        return c - u'A';
    if (c >= u'a' && c <= u'z')
        return c - u'a' + 26;
    if (c >= u'0' && c <= u'9')
        return c - u'0' + 52;
    if (c == u'+')
        return 62;
    if (c == u'/')
        return 63;
    return -1;
}

// Narrows [start, start + length) to its non-blank middle. A stretch of
// blanks gives 0, 0 rather than an offset into it.
void Trim(const char16_t* text, size_t start, size_t length, uint32_t& offset, uint32_t& trimmedLength)
{
    size_t end = start + length;
    while (start < end && IsBlank(text[start]))
        ++start;
    while (end > start && IsBlank(text[end - 1]))
        --end;
    if (start == end) {
        offset = 0;
        trimmedLength = 0;
        return;
    }
    offset = static_cast<uint32_t>(start);
    trimmedLength = static_cast<uint32_t>(end - start);
}

bool StartsWith(std::u16string_view text, size_t position, std::u16string_view prefix)
{
    return text.size() - position >= prefix.size() && text.compare(position, prefix.size(), prefix) == 0;
}

void SkipBlanks(std::u16string_view text, size_t& position)
{
    while (position < text.size() && IsBlank(text[position]))
        ++position;
}

void SkipToDelimiter(std::u16string_view text, size_t& position)
{
    while (position < text.size() && text[position] != u';' && text[position] != u',')
        ++position;
}

void StoreMedia(SvgDataUri& dataUri)
{
    std::u16string_view media(dataUri.uri ? dataUri.uri + dataUri.mediaOffset : u"", dataUri.mediaLength);
    const SvgMediaKind* kind = FindMediaByName(media);
    if (!kind)
        return;
    dataUri.imageFormat = kind->imageFormat;
    std::u16string_view extension(kind->extension);
    extension.copy(dataUri.extension, std::size(dataUri.extension) - 1);
}

// The scan behind ParseDataUri, once the record is emptied and the text is
// known to begin with "data:".
int32_t ParseDataUriParts(std::u16string_view text, SvgDataUri& dataUri)
{
    constexpr std::u16string_view kCharset = u"charset=";
    constexpr std::u16string_view kBase64 = u"base64";
    const char16_t* base = text.data();
    size_t position = 5;

    // A bare "data:" has nothing more to read; anything else must reach a ','
    // after an optional media type and ";charset=..." and ";base64".
    if (position < text.size()) {
        if (text[position] != u';' && text[position] != u',') {
            SkipBlanks(text, position);
            if (position == text.size())
                return ERROR_FILE_FORMAT;
            size_t start = position;
            SkipToDelimiter(text, position);
            Trim(base, start, position - start, dataUri.mediaOffset, dataUri.mediaLength);
        }
        while (position == text.size() || text[position] != u',') {
            if (position + 1 >= text.size() || text[position] != u';')
                return ERROR_FILE_FORMAT;
            ++position;
            SkipBlanks(text, position);
            bool isCharset = StartsWith(text, position, kCharset);
            if (!isCharset && !StartsWith(text, position, kBase64))
                return ERROR_FILE_FORMAT;
            position += isCharset ? kCharset.size() : kBase64.size();
            SkipBlanks(text, position);
            if (position == text.size())
                return ERROR_FILE_FORMAT;
            size_t start = position;
            SkipToDelimiter(text, position);
            if (isCharset)
                Trim(base, start, position - start, dataUri.charsetOffset, dataUri.charsetLength);
            else
                dataUri.isBase64 = 1;  // "base64xyz" counts too: the tail is not read
        }
        ++position;
        SkipBlanks(text, position);
    }

    if (position < text.size())
        Trim(base, position, text.size() - position, dataUri.valueOffset, dataUri.valueLength);
    StoreMedia(dataUri);
    return SUCCESS;
}

// Closes a descriptor on every path.
class OpenFile {
public:
    explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
    ~OpenFile()
    {
        if (descriptor_ >= 0)
            BaseFileClose(descriptor_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    int get() const { return descriptor_; }
    bool IsOpen() const { return descriptor_ >= 0; }

private:
    int descriptor_;
};

// Converts a boundary path for the file layer; false when memory runs out.
bool PathToUtf8(const char16_t* path, std::string& pathUtf8)
{
    try {
        pathUtf8 = ToUtf8(std::u16string_view(path, WideLength(path)));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

bool EncodeBase64(const void* bytes, size_t size, std::string& text)
{
    const auto* in = static_cast<const unsigned char*>(bytes);
    text.clear();
    try {
        text.reserve((size + 2) / 3 * 4);
        size_t i = 0;
        for (; i + 3 <= size; i += 3) {
            uint32_t group = (uint32_t{in[i]} << 16) | (uint32_t{in[i + 1]} << 8) | in[i + 2];
            text.push_back(kBase64Alphabet[(group >> 18) & 63]);
            text.push_back(kBase64Alphabet[(group >> 12) & 63]);
            text.push_back(kBase64Alphabet[(group >> 6) & 63]);
            text.push_back(kBase64Alphabet[group & 63]);
        }
        if (size - i == 1) {
            uint32_t group = uint32_t{in[i]} << 16;
            text.push_back(kBase64Alphabet[(group >> 18) & 63]);
            text.push_back(kBase64Alphabet[(group >> 12) & 63]);
            text.append("==");
        } else if (size - i == 2) {
            uint32_t group = (uint32_t{in[i]} << 16) | (uint32_t{in[i + 1]} << 8);
            text.push_back(kBase64Alphabet[(group >> 18) & 63]);
            text.push_back(kBase64Alphabet[(group >> 12) & 63]);
            text.push_back(kBase64Alphabet[(group >> 6) & 63]);
            text.push_back('=');
        }
        return true;
    } catch (const std::bad_alloc&) {
        text.clear();
        return false;
    }
}

bool DecodeBase64(std::u16string_view text, std::string& bytes)
{
    bytes.clear();
    try {
        bytes.reserve(text.size() / 4 * 3 + 2);
        uint32_t group = 0;
        size_t sextets = 0;  // held in `group`, 0 to 3
        size_t padding = 0;  // '=' seen
        for (char16_t c : text) {
            if (IsBlank(c))
                continue;
            if (c == u'=') {
                // Padding completes a quantum of two or three characters, and
                // nothing but the rest of that padding may follow.
                if (sextets < 2 || padding >= 4 - sextets) {
                    bytes.clear();
                    return false;
                }
                ++padding;
                continue;
            }
            int sextet = SextetOf(c);
            if (sextet < 0 || padding > 0) {
                bytes.clear();
                return false;
            }
            group = (group << 6) | static_cast<uint32_t>(sextet);
            if (++sextets == 4) {
                bytes.push_back(static_cast<char>(group >> 16));
                bytes.push_back(static_cast<char>(group >> 8));
                bytes.push_back(static_cast<char>(group));
                group = 0;
                sextets = 0;
            }
        }
        if (sextets == 1 || (padding > 0 && padding != 4 - sextets)) {
            bytes.clear();
            return false;
        }
        if (sextets == 2) {
            bytes.push_back(static_cast<char>(group >> 4));
        } else if (sextets == 3) {
            bytes.push_back(static_cast<char>(group >> 10));
            bytes.push_back(static_cast<char>(group >> 2));
        }
        return true;
    } catch (const std::bad_alloc&) {
        bytes.clear();
        return false;
    }
}

const SvgMediaKind* FindMediaByName(std::u16string_view media)
{
    if (media.empty())
        return nullptr;
    for (const SvgMediaKind& kind : kMediaTable) {
        for (const char16_t* name : kind.names) {
            if (name && std::u16string_view(name).starts_with(media))
                return &kind;
        }
    }
    return nullptr;
}

const SvgMediaKind* FindMediaBySignature(const void* bytes, size_t size)
{
    std::string_view head(static_cast<const char*>(bytes), bytes ? size : 0);
    for (const SvgMediaKind& kind : kMediaTable) {
        for (std::string_view signature : kind.signatures) {
            if (!signature.empty() && head.starts_with(signature))
                return &kind;
        }
    }
    return nullptr;
}

int32_t ParseDataUri(const char16_t* text, SvgDataUri* dataUri, uint32_t size)
{
    if (!dataUri)
        return ERROR_INV_PARAMETER;
    if (size != kSvgDataUriSize)
        return ERROR_RECORD_SIZE;
    *dataUri = SvgDataUri{};
    dataUri->size = size;
    dataUri->uri = text;

    std::u16string_view whole(text ? text : u"", WideLength(text));
    if (whole.empty())
        return SUCCESS;
    // Offsets are 32-bit in the record; a longer text cannot be described.
    if (whole.size() > UINT32_MAX)
        return ERROR_INV_PARAMETER;
    if (!whole.starts_with(u"data:")) {
        Trim(text, 0, whole.size(), dataUri->valueOffset, dataUri->valueLength);
        return SUCCESS;
    }
    dataUri->isDataUri = 1;
    return ParseDataUriParts(whole, *dataUri);
}

int32_t DecodeDataUriToMemory(const SvgDataUri* dataUri, void** block, size_t* size)
{
    if (!dataUri || !block || !size)
        return ERROR_INV_PARAMETER;
    *block = nullptr;
    *size = 0;
    if (!dataUri->isDataUri)
        return ERROR_INV_PARAMETER;
    if (dataUri->valueLength == 0)
        return SUCCESS;
    if (!dataUri->uri)
        return ERROR_INV_PARAMETER;

    // Base64 never decodes to more bytes than it has characters, so the value
    // length is room enough. A block that cannot be had is not reported: the
    // caller sees SUCCESS with nothing, as callers of this family always have.
    TrackedPtr<unsigned char> decoded(static_cast<unsigned char*>(KV_ALLOC(dataUri->valueLength, 1)));
    if (!decoded)
        return SUCCESS;
    std::string bytes;
    std::u16string_view value(dataUri->uri + dataUri->valueOffset, dataUri->valueLength);
    // Undecodable text, too, is SUCCESS with an empty result; the block goes
    // back so that nothing stale reaches the caller.
    if (!DecodeBase64(value, bytes) || bytes.empty())
        return SUCCESS;
    std::memcpy(decoded.get(), bytes.data(), bytes.size());
    *size = bytes.size();
    *block = decoded.release();
    return SUCCESS;
}

int32_t DecodeDataUriToFile(const SvgDataUri* dataUri, const char16_t* path)
{
    if (!path)
        return ERROR_INV_PARAMETER;
    void* block = nullptr;
    size_t size = 0;
    if (int32_t status = DecodeDataUriToMemory(dataUri, &block, &size); status != SUCCESS)
        return status;
    TrackedPtr<void> decoded(block);

    std::string pathUtf8;
    if (!PathToUtf8(path, pathUtf8))
        return ERROR_NO_MEMORY;
    OpenFile file(BaseFileOpen(pathUtf8.c_str(), BaseFileMode::WriteTruncate));
    if (!file.IsOpen())
        return ERROR_FILE_CREATE;
    if (size > 0 && BaseFileWrite(file.get(), decoded.get(), size) != static_cast<int64_t>(size))
        return ERROR_FILE_WRITE;
    return SUCCESS;
}

int32_t EncodeDataUriFromMemory(const void* block, size_t size, char16_t** text, size_t* length)
{
    if (!text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    if (length)
        *length = 0;
    if (!block && size > 0)
        return ERROR_INV_PARAMETER;

    const SvgMediaKind* kind = FindMediaBySignature(block, size);
    std::u16string_view media = kind ? kind->names[0] : u"";
    constexpr std::u16string_view kScheme = u"data:";
    constexpr std::u16string_view kEncoding = u";base64,";
    size_t prefixLength = kScheme.size() + media.size() + kEncoding.size();

    // Room for the text, generous by a third of the input: four characters
    // per three bytes need only (size * 8 + 16) / 6.
    if (size > (SIZE_MAX - 16) / 8)
        return ERROR_NO_MEMORY;
    size_t room = size == 0 ? 0 : (size * 8 + 16) / 6;
    if (room > SIZE_MAX - size - 2 - prefixLength)
        return ERROR_NO_MEMORY;
    room += size;
    size_t capacity = room + 2 + prefixLength;
    TrackedPtr<char16_t> uri(static_cast<char16_t*>(KV_ALLOC_ZERO(capacity, sizeof(char16_t))));
    if (!uri)
        return ERROR_NO_MEMORY;

    char16_t* end = uri.get();
    end += kScheme.copy(end, kScheme.size());
    end += media.copy(end, media.size());
    end += kEncoding.copy(end, kEncoding.size());
    // An encoder that runs out of memory leaves the prefix alone in the text,
    // and the call still succeeds.
    std::string encoded;
    if (EncodeBase64(block, size, encoded) && encoded.size() <= room) {
        for (char c : encoded)
            *end++ = static_cast<char16_t>(c);
    }
    if (length)
        *length = static_cast<size_t>(end - uri.get()) + 1;
    *text = uri.release();
    return SUCCESS;
}

int32_t EncodeDataUriFromFile(const char16_t* path, char16_t** text, size_t* length)
{
    if (!path || !text)
        return ERROR_INV_PARAMETER;
    *text = nullptr;
    if (length)
        *length = 0;

    std::string pathUtf8;
    if (!PathToUtf8(path, pathUtf8))
        return ERROR_NO_MEMORY;
    OpenFile file(BaseFileOpen(pathUtf8.c_str(), BaseFileMode::Read));
    if (!file.IsOpen())
        return ERROR_FILE_OPEN;
    int64_t fileSize = BaseFileSeek(file.get(), 0, SEEK_END);
    if (fileSize <= 0 || BaseFileSeek(file.get(), 0, SEEK_SET) != 0)
        return ERROR_FILE_SEEK;
    if (fileSize >= (int64_t{1} << 32))
        return ERROR_FILE_READ;

    size_t size = static_cast<size_t>(fileSize);
    TrackedPtr<void> contents(KV_ALLOC(size, 1));
    if (!contents)
        return ERROR_NO_MEMORY;
    if (BaseFileRead(file.get(), contents.get(), size) != fileSize)
        return ERROR_FILE_READ;
    return EncodeDataUriFromMemory(contents.get(), size, text, length);
}
