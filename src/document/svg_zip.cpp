#include "document/svg_zip.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/base_file.h"
#include "base/tracked_memory.h"
#include "kvsvg/kvsvg.h"

namespace {

size_t maxDecompressedBytes = kMaxDecompressedBytes;

constexpr size_t kSliceBytes = 4096;
// The first round of output is small: it is all the sniffing looks at, and a
// file that is not SVG should cost no more than that to refuse.
constexpr size_t kFirstOutputBytes = 256;
constexpr size_t kMaxCompressedInput = 0x7FFFFFFF;

voidpf TrackedZlibAlloc(voidpf, uInt items, uInt size)
{
    return KV_ALLOC(items, size);
}

void TrackedZlibFree(voidpf, voidpf address)
{
    KV_FREE(address);
}

// Ends an inflate stream on every path out of the loop.
class InflateStream {
public:
    InflateStream()
    {
        UseTrackedZlibMemory(stream_);
        ready_ = inflateInit2(&stream_, 31) == Z_OK;  // 31: gzip wrapper only
    }
    ~InflateStream()
    {
        if (ready_)
            inflateEnd(&stream_);
    }
    InflateStream(const InflateStream&) = delete;
    InflateStream& operator=(const InflateStream&) = delete;

    bool ready() const { return ready_; }
    z_stream& get() { return stream_; }

private:
    z_stream stream_{};
    bool ready_ = false;
};

// The loop both forms share. fetch(bytes, got) supplies the next slice of input
// (0 bytes at the end, which is no error by itself: inflate then says whether
// the stream was complete); take(bytes, count) stores output.
template <class Fetch, class Take>
int32_t InflateSvg(Fetch&& fetch, Take&& take)
{
    InflateStream inflater;
    if (!inflater.ready())
        return FAILURE;
    z_stream& stream = inflater.get();

    uint8_t output[kSliceBytes];
    size_t areaBytes = kFirstOutputBytes;
    bool sniffed = false;
    size_t produced = 0;
    stream.next_out = output;
    stream.avail_out = static_cast<uInt>(areaBytes);
    for (;;) {
        if (stream.avail_in == 0) {
            const uint8_t* slice = nullptr;
            size_t got = 0;
            if (int32_t status = fetch(slice, got); status != SUCCESS)
                return status;
            stream.next_in = const_cast<Bytef*>(slice);
            stream.avail_in = static_cast<uInt>(got);
        }
        int result = inflate(&stream, Z_NO_FLUSH);
        if (stream.avail_out == 0 || result == Z_STREAM_END) {
            size_t count = areaBytes - stream.avail_out;
            if (count > maxDecompressedBytes - produced)
                return ERROR_FILE_OPEN;
            produced += count;
            if (int32_t status = take(output, count); status != SUCCESS)
                return status;
            if (!sniffed) {
                sniffed = true;
                if (SniffSvgText(output, count, nullptr) != SUCCESS)
                    return FAILURE;  // not SVG: nothing more is decompressed
                areaBytes = kSliceBytes;
            }
            stream.next_out = output;
            stream.avail_out = static_cast<uInt>(areaBytes);
        }
        if (result == Z_STREAM_END)
            return SUCCESS;
        // A stream cut short ends here too: its last fetch gives 0 bytes and
        // inflate answers Z_BUF_ERROR.
        if (result != Z_OK)
            return FAILURE;
    }
}

bool StartsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

// The bytes up to the first zero, as a C string would see them.
std::string_view AsCString(const char* text, size_t length)
{
    const void* zero = std::memchr(text, 0, length);
    return {text, zero ? static_cast<size_t>(static_cast<const char*>(zero) - text) : length};
}

}  // namespace

void UseTrackedZlibMemory(z_stream& stream)
{
    stream.zalloc = &TrackedZlibAlloc;
    stream.zfree = &TrackedZlibFree;
    stream.opaque = Z_NULL;
}

namespace svg_zip_internal {
size_t SetMaxDecompressedBytesForTesting(size_t limit)
{
    size_t previous = maxDecompressedBytes;
    maxDecompressedBytes = limit;
    return previous;
}
}  // namespace svg_zip_internal

bool HasGzipMark(const void* bytes, size_t size)
{
    const auto* mark = static_cast<const uint8_t*>(bytes);
    return bytes && size >= 4 && mark[0] == 0x1F && mark[1] == 0x8B && mark[2] == 8;
}

int32_t SniffSvgText(const void* text, size_t length, uint32_t* kind)
{
    if (!text)
        return 0;
    if (kind)
        *kind = 0;
    const auto* bytes = static_cast<const uint8_t*>(text);

    // 70 characters are enough to see the declaration and what it announces.
    char narrow[70];
    size_t narrowLength = 0;
    unsigned firstUnit = length >= 2 ? bytes[0] | (bytes[1] << 8) : 0;
    if (firstUnit == 0xFEFF || firstUnit == 0xFFFE) {
        // UTF-16: keep the low byte of each unit. The mark's own byte stays in
        // front, so none of the tests below can match such a text.
        size_t taken = std::min<size_t>(length, 140);
        for (size_t i = firstUnit == 0xFFFE ? 1 : 0; i < taken && narrowLength < sizeof narrow; i += 2)
            narrow[narrowLength++] = static_cast<char>(bytes[i]);
    } else {
        narrowLength = std::min(length, sizeof narrow);
        std::memcpy(narrow, bytes, narrowLength);
    }
    std::string_view start = AsCString(narrow, narrowLength);
    auto announcesOther = [&] {
        return start.find("<html>") != std::string_view::npos ||
               start.find("<Annotations>") != std::string_view::npos;
    };

    int32_t answer = ERROR_FILE_FORMAT;
    if (StartsWith(start, "<?xml") && !announcesOther()) {
        answer = SUCCESS;
    } else if (start.size() >= 3 && StartsWith(start.substr(3), "<?xml") && !announcesOther()) {
        answer = SUCCESS;
        if (kind)
            *kind = 3;
    } else if (StartsWith(start, "<!DOCTYPE svg PUBLIC") || StartsWith(start, "<svg")) {
        answer = SUCCESS;
    }

    // Annotation files are XML of our own family and must never load as drawings.
    std::string_view head = AsCString(reinterpret_cast<const char*>(bytes), std::min<size_t>(length, 256));
    if (head.find("KOLV XML Annotation File") != std::string_view::npos)
        answer = ERROR_FILE_FORMAT;
    return answer;
}

int32_t UnzipSvgMemory(const void* block, size_t size, void** outBlock, size_t* outSize)
{
    if (!outBlock || !outSize)
        return ERROR_INV_PARAMETER;
    *outBlock = nullptr;
    *outSize = 0;
    if (!block && size)
        return ERROR_INV_PARAMETER;
    if (size > kMaxCompressedInput)
        return ERROR_FILE_OPEN;

    // The output starts at the input's size and is never trimmed, so the size
    // handed out is the larger of the two; the tail past a short text is zero.
    size_t capacity = std::max<size_t>(size, 1);
    TrackedPtr<uint8_t> text(static_cast<uint8_t*>(KV_ALLOC_ZERO(capacity, 1)));
    if (!text)
        return ERROR_NO_MEMORY;
    size_t textSize = 0;

    const auto* input = static_cast<const uint8_t*>(block);
    size_t consumed = 0;
    auto fetch = [&](const uint8_t*& slice, size_t& got) {
        got = std::min(kSliceBytes, size - consumed);
        slice = input + consumed;
        consumed += got;
        return SUCCESS;
    };
    auto take = [&](const uint8_t* bytes, size_t count) {
        if (count > capacity - textSize) {
            // Grows geometrically, but never past the output limit, which the
            // loop has already checked this piece against.
            size_t needed = textSize + count;
            size_t wanted = std::max(needed, std::min(capacity * 2, std::max(maxDecompressedBytes, needed)));
            void* grown = KV_REALLOC(text.get(), wanted);
            if (!grown)
                return ERROR_NO_MEMORY;
            text.release();
            text.reset(static_cast<uint8_t*>(grown));
            std::memset(text.get() + capacity, 0, wanted - capacity);
            capacity = wanted;
        }
        std::memcpy(text.get() + textSize, bytes, count);
        textSize += count;
        return SUCCESS;
    };
    if (int32_t status = InflateSvg(fetch, take); status != SUCCESS)
        return status;

    *outSize = std::max(size, textSize);
    *outBlock = text.release();
    return SUCCESS;
}

int32_t UnzipSvgFile(const char* sourcePathUtf8, const char* targetPathUtf8)
{
    // Each descriptor is closed on every path out.
    struct File {
        int descriptor;
        ~File() { BaseFileClose(descriptor); }
    };
    File source{BaseFileOpen(sourcePathUtf8, BaseFileMode::Read)};
    if (source.descriptor < 0)
        return ERROR_FILE_OPEN;
    File target{BaseFileOpen(targetPathUtf8, BaseFileMode::WriteTruncate)};
    if (target.descriptor < 0)
        return ERROR_FILE_OPEN;
    int64_t length = BaseFileSeek(source.descriptor, 0, SEEK_END);
    if (length < 0 || BaseFileSeek(source.descriptor, 0, SEEK_SET) < 0)
        return ERROR_FILE_OPEN;

    uint8_t input[kSliceBytes];
    size_t remaining = static_cast<size_t>(length);
    auto fetch = [&](const uint8_t*& slice, size_t& got) {
        size_t want = std::min(kSliceBytes, remaining);
        if (BaseFileRead(source.descriptor, input, want) != static_cast<int64_t>(want))
            return ERROR_FILE_READ;
        remaining -= want;
        slice = input;
        got = want;
        return SUCCESS;
    };
    auto take = [&](const uint8_t* bytes, size_t count) {
        if (BaseFileWrite(target.descriptor, bytes, count) != static_cast<int64_t>(count))
            return ERROR_FILE_WRITE;
        return SUCCESS;
    };
    return InflateSvg(fetch, take);
}
