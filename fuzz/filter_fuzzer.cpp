// The codec plug-in entries driven the way an imaging host drives them. The
// first four bytes are the host's choices (target depth 8, 24 or 32 and
// colour order, target size, with or without a cache, where the row
// callback stops, whether the vector road is tried); the rest is the file,
// handed over as an open descriptor. The host's promises are checked: the
// information record is the fixed 640-pixel 24-bit description, rows come
// once each from the top with the right flags, a stopping callback's status
// ends the load, and fltFreeData gives everything back.
#include <sys/mman.h>
#include <unistd.h>

#include "filter/vector_library.h"
#include "fuzz_support.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg_filter.h"

namespace {

using kvfuzz::ByteReader;

// Small targets: the drawing is stretched to fill them, so a few dozen
// pixels reach every path of the feed without paying for big pictures.
constexpr int32_t kMaxSide = 48;
// The status a stopping callback gives: one the library never makes itself.
constexpr int32_t kStopStatus = -4242;

// An anonymous file holding the input, as the host's open descriptor.
class MemoryFile {
public:
    MemoryFile(const uint8_t* data, size_t size) : fd_(memfd_create("kvsvg-filter-fuzz", MFD_CLOEXEC))
    {
        if (fd_ < 0)
            kvfuzz::Fail("no memory file");
        for (size_t done = 0; done < size;) {
            ssize_t written = write(fd_, data + done, size - done);
            if (written <= 0)
                kvfuzz::Fail("the memory file took no bytes");
            done += static_cast<size_t>(written);
        }
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    int32_t fd() const { return fd_; }

private:
    int32_t fd_;
};

// What the row callback saw.
struct Feed {
    uint32_t bitsPerPixel = 0;
    uint32_t bytesPerLine = 0;
    int32_t height = 0;
    int32_t rows = 0;
    int32_t stopAt = -1;  // row at which the callback says stop; -1 never
};

int32_t CheckRow(const KvBitmap* info, const uint8_t* row, uint32_t flags, int32_t rowIndex, int32_t rowCount,
                 void* userData)
{
    Feed& feed = *static_cast<Feed*>(userData);
    if (!info || !row || rowIndex != feed.rows || rowCount != 1)
        kvfuzz::Fail("rows out of order", rowIndex);
    if (info->bitsPerPixel != feed.bitsPerPixel || info->bytesPerLine != feed.bytesPerLine)
        kvfuzz::Fail("a row not in the target's depth", info->bitsPerPixel);
    uint32_t expected = KV_FILTER_ROW_DATA | (rowIndex == 0 ? KV_FILTER_ROW_FIRST : 0) |
                        (rowIndex == feed.height - 1 ? KV_FILTER_ROW_LAST : 0);
    if (flags != expected)
        kvfuzz::Fail("a row with the wrong flags", flags);
    // Every byte of the row is read, so that a short row is the sanitizer's.
    volatile uint8_t sum = 0;
    for (uint32_t i = 0; i < info->bytesPerLine; ++i)
        sum = sum + row[i];
    ++feed.rows;
    return rowIndex == feed.stopAt ? kStopStatus : SUCCESS;
}

void CheckInformation(const KvFilterFileInfo& info)
{
    if (info.size != kKvFilterFileInfoSize || info.format != KV_FILTER_FORMAT_SVG || info.width != 640 ||
        info.bitsPerPixel != 24 || info.planes != 1 || info.vector.present != 1)
        kvfuzz::Fail("the information record is not the fixed description", info.width);
    if (info.height < 0 || info.vector.width < 0)
        kvfuzz::Fail("a negative size in the information record", info.height);
}

// The vector road without its library: refused, never a crash, nothing kept.
void TryVectorRoad(int32_t fd, KvFilterCache* cache)
{
    const VectorCalls* calls = nullptr;
    if (GetVectorCalls(&calls) == SUCCESS)
        return;  // a machine that has the library: the legacy target covers this road
    KvFilterFileInfo info{};
    info.size = kKvFilterFileInfoSize;
    KvFilterInfoRequest infoRequest{kKvFilterInfoRequestSize, nullptr, fd, &info, cache, 1, nullptr, 0};
    int32_t status = fltInfo(&infoRequest);
    if (status != ERROR_NOT_SUPPORTED)
        kvfuzz::Fail("the vector road without its library", status);
    KvFilterLoadRequest loadRequest{};
    loadRequest.size = kKvFilterLoadRequestSize;
    loadRequest.fileHandle = fd;
    loadRequest.cache = cache;
    loadRequest.vectorRoute = 1;
    status = fltLoad(&loadRequest);
    if (status != ERROR_NOT_SUPPORTED || loadRequest.vectorObject)
        kvfuzz::Fail("the vector road without its library", status);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kvfuzz::LeakCheck leakCheck;
    ByteReader in(data, size);
    uint8_t choices = in.Byte();
    constexpr uint32_t kDepths[] = {8, 24, 32, 32};
    const uint32_t depth = kDepths[choices & 3];
    const uint32_t order = choices & 4 ? KV_ORDER_RGB : KV_ORDER_BGR;
    const bool withCache = (choices & 8) != 0;
    const bool formatKnown = (choices & 16) != 0;
    const bool tryVector = (choices & 32) != 0;
    const int32_t width = 1 + in.Byte() % kMaxSide;
    const int32_t height = 1 + in.Byte() % kMaxSide;
    const uint8_t stopByte = in.Byte();
    const int32_t stopAt = (choices & 64) ? stopByte % kMaxSide : -1;
    std::string_view file = in.Take(in.remaining());

    MemoryFile memory(reinterpret_cast<const uint8_t*>(file.data()), file.size());
    KvFilterCache cache{kKvFilterCacheSize, nullptr};
    KvFilterCache* cacheUsed = withCache ? &cache : nullptr;
    KvFilterLoadOptions options{kKvFilterLoadOptionsSize, formatKnown ? KV_FILTER_LOAD_FORMAT_KNOWN : 0u,
                                KV_FILTER_FORMAT_SVG};

    if (tryVector)
        TryVectorRoad(memory.fd(), cacheUsed);

    // The host sizes the record it hands over; fltInfo checks it.
    KvFilterFileInfo info{};
    info.size = kKvFilterFileInfoSize;
    KvFilterInfoRequest infoRequest{kKvFilterInfoRequestSize, nullptr, memory.fd(), &info, cacheUsed, 0, &options, 0};
    if (fltInfo(&infoRequest) == SUCCESS) {
        CheckInformation(info);
        if (withCache && (!cache.filterData || cache.filterData->size != kKvFilterDataSize))
            kvfuzz::Fail("fltInfo kept nothing in the cache");
    }

    // The host loads whatever fltInfo said: a failed information call does
    // not stop it from trying, so the load reads the file on its own.
    KvBitmap target{};
    if (K_BitmapInit(&target, kKvBitmapSize, width, height, depth, order) != SUCCESS)
        kvfuzz::Fail("no target description", depth);
    Feed feed{target.bitsPerPixel, target.bytesPerLine, height, 0, stopAt};
    KvFilterLoadRequest loadRequest{};
    loadRequest.size = kKvFilterLoadRequestSize;
    loadRequest.fileHandle = memory.fd();
    loadRequest.bitmap = &target;
    loadRequest.callback = CheckRow;
    loadRequest.userData = &feed;
    loadRequest.cache = cacheUsed;
    loadRequest.options = &options;
    int32_t status = fltLoad(&loadRequest);
    if (status == SUCCESS && feed.rows != height)
        kvfuzz::Fail("a load that succeeded without every row", feed.rows);
    if (feed.stopAt >= 0 && feed.stopAt < height && feed.rows == feed.stopAt + 1 && status != kStopStatus)
        kvfuzz::Fail("a stopping callback's status was not the load's", status);

    fltFreeData(cache.filterData, 0);
    return 0;
}
