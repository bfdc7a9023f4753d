// The raster road as a host's codec layer drives it: fltInfo, fltLoad with
// a row callback, fltFreeData; what the host sees is the information
// record, the rows and their flags, and the statuses.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "api/document_fixture.h"
#include "base/bitmap.h"
#include "base/tracked_memory.h"
#include "filter/filter_test_support.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg.h"

namespace {

using kvtest::Rows;
using kvtest::ScratchFile;

// Red over blue on the left, green along the bottom: each colour covers
// whole pixels at 8 by 4, so every pixel has one exact colour.
constexpr std::string_view kQuadrants =
    R"~(<svg xmlns="http://www.w3.org/2000/svg" width="40" height="20">)~"
    R"~(<g transform="translate(20 0)"><rect width="20" height="10" fill="#0000ff"/></g>)~"
    R"~(<rect width="20" height="10" fill="#ff0000"/>)~"
    R"~(<rect y="10" width="40" height="10" fill="#00ff00"/></svg>)~";

struct Rgb {
    int r, g, b;
};

// The colour of pixel x of a delivered row, read in the target's layout.
Rgb PixelOf(const Rows& rows, int x, int y)
{
    const KvBitmap& info = *rows.info;
    const auto* row = reinterpret_cast<const uint8_t*>(rows.bytes.at(y).data());
    if (info.bitsPerPixel <= 8) {
        const KvPaletteEntry& entry = info.palette[row[x]];
        return {entry.red, entry.green, entry.blue};
    }
    const uint8_t* p = row + x * (info.bitsPerPixel / 8);
    return info.order == KV_ORDER_RGB ? Rgb{p[0], p[1], p[2]} : Rgb{p[2], p[1], p[0]};
}

void ExpectColour(const Rows& rows, int x, int y, Rgb expected)
{
    const Rgb actual = PixelOf(rows, x, y);
    EXPECT_TRUE(std::abs(actual.r - expected.r) <= 2 && std::abs(actual.g - expected.g) <= 2 &&
                std::abs(actual.b - expected.b) <= 2)
        << "at " << x << "," << y << ": " << actual.r << " " << actual.g << " " << actual.b;
}

std::string Compressed(std::string_view text)
{
    kvtest::Handle document;
    EXPECT_EQ(kvtest::LoadText(text, document), SUCCESS);
    const std::string path = kvtest::ScratchPath("packed.svgz");
    SvgSaveOptions options{kSvgSaveOptionsSize, 0, {0}, 0, 1};
    EXPECT_EQ(K_SvgSaveDocument(kvtest::Wide(path).c_str(), document, &options), SUCCESS);
    return kvtest::ReadFileBytes(path);
}

// Restores the base library's default load resolution after a test moved it.
class DefaultResolution {
public:
    DefaultResolution(int32_t x, int32_t y)
        : oldX_(GetDefaultLoadXResolution()), oldY_(GetDefaultLoadYResolution())
    {
        SetDefaultLoadResolution(x, y);
    }
    ~DefaultResolution() { SetDefaultLoadResolution(oldX_, oldY_); }

private:
    int32_t oldX_, oldY_;
};

// One whole host cycle: info into a cache, load, free.
int32_t InfoLoadFree(const std::u16string& file, KvBitmap& target, Rows& rows, KvFilterFileInfo* infoOut = nullptr)
{
    KvFilterCache cache{kKvFilterCacheSize, nullptr};
    KvFilterFileInfo info{};
    KvFilterInfoRequest infoRequest = kvtest::InfoRequest(file, info, &cache);
    int32_t status = fltInfo(&infoRequest);
    if (status == SUCCESS) {
        KvFilterLoadRequest load = kvtest::LoadRequest(file, &target, &rows, &cache);
        status = fltLoad(&load);
    }
    EXPECT_EQ(fltFreeData(cache.filterData, 0), SUCCESS);
    if (infoOut)
        *infoOut = info;
    return status;
}

__attribute__((no_sanitize("address", "undefined"))) int32_t WriteThroughNull(const KvBitmap*, const uint8_t*, uint32_t,
                                                                             int32_t, int32_t, void*)
{
    volatile int* nowhere = nullptr;
    *nowhere = 1;
    return SUCCESS;
}

int32_t Throws(const KvBitmap*, const uint8_t*, uint32_t, int32_t, int32_t, void*)
{
    throw std::runtime_error("host failed");
}

}  // namespace

TEST(FilterInfo, DescribesTheDrawingAtTheResolution)
{
    const struct {
        const char* name;
        const char* root;
        int32_t xResolution;
        int32_t height;
        int32_t vectorWidth;
        int32_t xDpi;
    } cases[] = {
        {"pixels", R"~(width="300" height="150")~", 0, 150, 300, 96},
        {"no size", "", 0, 480, 0, 96},
        {"width only", R"~(width="300")~", 0, 480, 0, 96},
        {"height only", R"~(height="200")~", 0, 200, 0, 96},
        {"inches at the default", R"~(width="2in" height="1in")~", 0, 96, 192, 96},
        {"inches at the request's x", R"~(width="2in" height="1in")~", 200, 96, 400, 200},
        {"millimetres", R"~(width="254mm" height="25.4mm")~", 0, 96, 960, 96},
        {"percentages are not known", R"~(width="100%" height="50%")~", 0, 480, 0, 96},
        {"zero height keeps zero", R"~(width="300" height="0")~", 0, 0, 0, 96},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScratchFile file("info.svg", std::string(R"~(<svg xmlns="http://www.w3.org/2000/svg" )~") + c.root + "/>");
        KvFilterFileInfo info{};
        KvFilterInfoRequest request = kvtest::InfoRequest(file.wide, info, nullptr);
        request.xResolution = c.xResolution;
        ASSERT_EQ(fltInfo(&request), SUCCESS);
        EXPECT_EQ(info.size, kKvFilterFileInfoSize);
        EXPECT_EQ(info.format, 247);
        EXPECT_EQ(info.width, 640);
        EXPECT_EQ(info.height, c.height);
        EXPECT_EQ(info.bitsPerPixel, 24u);
        EXPECT_EQ(info.bytesPerLine, 1920u);
        EXPECT_EQ(info.sizeInBytes, 1920u * static_cast<uint64_t>(c.height));
        EXPECT_EQ(info.xResolution, c.xDpi);
        EXPECT_EQ(info.yResolution, 96);
        EXPECT_EQ(info.viewPerspective, KV_TOP_LEFT);
        EXPECT_EQ(info.codecOrder, 4);
        EXPECT_EQ(info.planes, 1);
        EXPECT_EQ(info.pageCount, -1);
        EXPECT_EQ(info.vector.present, 1);
        EXPECT_EQ(info.vector.width, c.vectorWidth);
        EXPECT_EQ(info.vector.unitWidth, -640.0);
        EXPECT_DOUBLE_EQ(info.vector.heightOverWidth, c.height / 640.0);
        EXPECT_EQ(info.vector.parallelValid, 1);
    }
}

TEST(FilterInfo, ADefaultResolutionBelowOneIsNinetySix)
{
    ScratchFile file("dpi.svg", R"~(<svg xmlns="http://www.w3.org/2000/svg" width="1in" height="2in"/>)~");
    for (int32_t dpi : {0, -5}) {
        SCOPED_TRACE(dpi);
        DefaultResolution base(dpi, dpi);
        KvFilterFileInfo info{};
        KvFilterInfoRequest request = kvtest::InfoRequest(file.wide, info, nullptr);
        ASSERT_EQ(fltInfo(&request), SUCCESS);
        EXPECT_EQ(info.xResolution, 96);
        EXPECT_EQ(info.yResolution, 96);
        EXPECT_EQ(info.height, 192);
        EXPECT_EQ(info.vector.width, 96);
    }
    DefaultResolution base(150, 300);
    KvFilterFileInfo info{};
    KvFilterInfoRequest request = kvtest::InfoRequest(file.wide, info, nullptr);
    ASSERT_EQ(fltInfo(&request), SUCCESS);
    EXPECT_EQ(info.xResolution, 150);
    EXPECT_EQ(info.yResolution, 300);
    EXPECT_EQ(info.height, 600);
    EXPECT_EQ(info.vector.width, 150);
}

TEST(FilterInfo, KeepsTheDocumentInTheCacheSoTheLoadParsesNothing)
{
    ScratchFile file("kept.svg", kQuadrants);
    KvFilterCache cache{kKvFilterCacheSize, nullptr};
    KvFilterFileInfo info{};
    KvFilterInfoRequest infoRequest = kvtest::InfoRequest(file.wide, info, &cache);
    ASSERT_EQ(fltInfo(&infoRequest), SUCCESS);
    ASSERT_NE(cache.filterData, nullptr);
    EXPECT_EQ(cache.filterData->size, kKvFilterDataSize);
    EXPECT_NE(cache.filterData->document, nullptr);
    EXPECT_EQ(cache.filterData->vectorObject, nullptr);

    // With the file gone, only the kept document can feed the load, twice.
    std::remove(file.path.c_str());
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        KvBitmap target = kvtest::Target(8, 4, 24, KV_ORDER_BGR);
        Rows rows;
        KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, &target, &rows, &cache);
        ASSERT_EQ(fltLoad(&load), SUCCESS);
        ASSERT_EQ(rows.bytes.size(), 4u);
        ExpectColour(rows, 0, 0, {255, 0, 0});
        // Flattened once for the first load; the flat form is what is kept.
        int32_t flat = 0;
        EXPECT_EQ(K_SvgIsFlatDocument(cache.filterData->document, &flat), SUCCESS);
        EXPECT_EQ(flat, 1);
        EXPECT_NE(K_SvgIsRenderOptimizedDocument(cache.filterData->document), 0);
    }
    EXPECT_EQ(fltFreeData(cache.filterData, 0), SUCCESS);

    // Without a cache nothing is kept, and a missing file is the load's status.
    KvFilterInfoRequest gone = kvtest::InfoRequest(file.wide, info, nullptr);
    EXPECT_EQ(fltInfo(&gone), ERROR_FILE_OPEN);
}

TEST(FilterLoad, DeliversTheRowsTopFirstInTheHostsDepthAndOrder)
{
    const struct {
        uint32_t bitsPerPixel;
        uint32_t order;
    } cases[] = {{24, KV_ORDER_BGR}, {24, KV_ORDER_RGB}, {32, KV_ORDER_BGR}, {32, KV_ORDER_RGB}, {8, KV_ORDER_BGR}};
    for (const char* flatMark : {"", " IsFlat=\"true\""}) {
        std::string text(kQuadrants);
        if (*flatMark) {
            // The same picture already flat: no group, root-space rectangles.
            text = std::string(R"~(<svg xmlns="http://www.w3.org/2000/svg" width="40" height="20")~") + flatMark +
                   R"~(><rect x="20" width="20" height="10" fill="#0000ff"/>)~"
                   R"~(<rect width="20" height="10" fill="#ff0000"/>)~"
                   R"~(<rect y="10" width="40" height="10" fill="#00ff00"/></svg>)~";
        }
        ScratchFile file("quadrants.svg", text);
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(*flatMark ? "flat " : "not flat ") + std::to_string(c.bitsPerPixel) +
                         (c.order == KV_ORDER_RGB ? " rgb" : " bgr"));
            KvBitmap target = kvtest::Target(8, 4, c.bitsPerPixel, c.order);
            Rows rows;
            ASSERT_EQ(InfoLoadFree(file.wide, target, rows), SUCCESS);
            ASSERT_EQ(rows.bytes.size(), 4u);
            EXPECT_EQ(rows.indices, (std::vector<int32_t>{0, 1, 2, 3}));
            EXPECT_EQ(rows.flags, (std::vector<uint32_t>{7, 3, 3, 11}));
            EXPECT_EQ(rows.counts, (std::vector<int32_t>{1, 1, 1, 1}));
            EXPECT_EQ(rows.info, &target);
            EXPECT_EQ(rows.bytes[0].size(), target.bytesPerLine);
            for (int y = 0; y < 4; ++y) {
                for (int x = 0; x < 8; ++x) {
                    const Rgb expected = y >= 2 ? Rgb{0, 255, 0} : x < 4 ? Rgb{255, 0, 0} : Rgb{0, 0, 255};
                    ExpectColour(rows, x, y, expected);
                }
            }
            if (c.bitsPerPixel == 32) {
                EXPECT_EQ(static_cast<uint8_t>(rows.bytes[0][3]), 255);
            }
            EXPECT_EQ(target.xResolution, 96);
            EXPECT_EQ(target.yResolution, 96);
            EXPECT_EQ(target.data, nullptr);
        }
    }
}

TEST(FilterLoad, StretchesTheDrawingToTheTargetAndTakesTheRequestsResolution)
{
    // A square drawing, left half red, into a wide target: the left half of
    // every row is red, with no letterbox.
    ScratchFile file("square.svg", R"~(<svg xmlns="http://www.w3.org/2000/svg" width="100" height="100">)~"
                                   R"~(<rect width="50" height="100" fill="#ff0000"/></svg>)~");
    KvBitmap target = kvtest::Target(64, 16, 24, KV_ORDER_BGR);
    Rows rows;
    KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, &target, &rows, nullptr);
    load.xResolution = 300;
    load.yResolution = 150;
    ASSERT_EQ(fltLoad(&load), SUCCESS);
    ASSERT_EQ(rows.bytes.size(), 16u);
    for (int y : {0, 8, 15}) {
        ExpectColour(rows, 0, y, {255, 0, 0});
        ExpectColour(rows, 31, y, {255, 0, 0});
        ExpectColour(rows, 32, y, {255, 255, 255});
        ExpectColour(rows, 63, y, {255, 255, 255});
    }
    EXPECT_EQ(target.xResolution, 300);
    EXPECT_EQ(target.yResolution, 150);
}

// The host cannot bound what a file's uses expand to, so the road does:
// a symbol of 100 shapes stamped 50 times draws; once more is refused.
TEST(FilterLoad, UsesMayCopyFiveThousandShapes)
{
    for (int stamps : {50, 51}) {
        SCOPED_TRACE(stamps);
        std::string text = R"~(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" )~"
                           R"~(width="100" height="100"><defs><g id="symbol">)~";
        for (int i = 0; i < 100; ++i)
            text += "<rect x=\"" + std::to_string(i) + "\" width=\"1\" height=\"2\" fill=\"#ff0000\"/>";
        // Shapes only a reference draws are not copies that count.
        text += "<clipPath id=\"unused\"><rect width=\"1\" height=\"1\"/></clipPath></g></defs>";
        for (int i = 0; i < stamps; ++i)
            text += "<use xlink:href=\"#symbol\" y=\"" + std::to_string(2 * i) + "\"/>";
        text += "</svg>";
        ScratchFile file("stamps.svg", text);
        KvBitmap target = kvtest::Target(16, 16, 24, KV_ORDER_BGR);
        Rows rows;
        KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, &target, &rows, nullptr);
        EXPECT_EQ(fltLoad(&load), stamps == 50 ? SUCCESS : ERROR_MAX_ELEMENTS);
        if (stamps == 50) {
            // Red, with the seams of abutting squares shrunk into each pixel.
            const Rgb middle = PixelOf(rows, 8, 8);
            EXPECT_GT(middle.r, 250);
            EXPECT_LT(middle.g, 128);
        }
    }
}

// Copies that come out empty draw nothing, but each costs a walk: four
// levels of ten uses of an empty group are refused as well.
TEST(FilterLoad, UsesOfEmptyGroupsAreBoundedToo)
{
    std::string text = R"~(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" )~"
                       R"~(width="10" height="10"><defs><g id="l0"/>)~";
    for (int level = 1; level <= 4; ++level) {
        text += "<g id=\"l" + std::to_string(level) + "\">";
        for (int i = 0; i < 10; ++i)
            text += "<use xlink:href=\"#l" + std::to_string(level - 1) + "\"/>";
        text += "</g>";
    }
    text += R"~(</defs><use xlink:href="#l4"/></svg>)~";
    ScratchFile file("empty-uses.svg", text);
    KvBitmap target = kvtest::Target(8, 8, 24, KV_ORDER_BGR);
    Rows rows;
    KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, &target, &rows, nullptr);
    EXPECT_EQ(fltLoad(&load), ERROR_MAX_ELEMENTS);
}

TEST(FilterLoad, ReadsCompressedFilesLikePlainOnes)
{
    ScratchFile file("quadrants.svgz", Compressed(kQuadrants));
    ASSERT_EQ(file.path.empty(), false);
    KvBitmap target = kvtest::Target(8, 4, 24, KV_ORDER_RGB);
    Rows rows;
    KvFilterFileInfo info{};
    ASSERT_EQ(InfoLoadFree(file.wide, target, rows, &info), SUCCESS);
    EXPECT_EQ(info.height, 20);
    EXPECT_EQ(info.vector.width, 40);
    ASSERT_EQ(rows.bytes.size(), 4u);
    ExpectColour(rows, 7, 0, {0, 0, 255});
    ExpectColour(rows, 0, 3, {0, 255, 0});
}

TEST(FilterLoad, AnEightBitTargetGetsItsPaletteFromTheConversion)
{
    ScratchFile file("palette.svg", kQuadrants);
    KvBitmap target = kvtest::Target(8, 4, 8, KV_ORDER_BGR);
    Rows rows;
    KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, &target, &rows, nullptr);
    ASSERT_EQ(fltLoad(&load), SUCCESS);
    // Three colours and white fit exactly, so the palette holds them.
    EXPECT_GE(target.paletteCount, 3u);
    EXPECT_LE(target.paletteCount, 256u);
    ExpectColour(rows, 0, 0, {255, 0, 0});
    ExpectColour(rows, 7, 1, {0, 0, 255});
    ExpectColour(rows, 3, 3, {0, 255, 0});
}

TEST(FilterLoad, ACallbackStatusStopsTheFeedAndIsTheLoadsStatus)
{
    ScratchFile file("stop.svg", kQuadrants);
    for (int32_t stopAt : {0, 2, 3}) {
        SCOPED_TRACE(stopAt);
        KvBitmap target = kvtest::Target(8, 4, 24, KV_ORDER_BGR);
        Rows rows;
        rows.stopAt = stopAt;
        rows.stopStatus = ERROR_FILE_WRITE;
        // The cache holds the document that fltInfo kept, and fltFreeData
        // after the failed load gives everything back.
        EXPECT_EQ(InfoLoadFree(file.wide, target, rows), ERROR_FILE_WRITE);
        EXPECT_EQ(rows.bytes.size(), static_cast<size_t>(stopAt + 1));
    }
    // FAILURE is a status other than SUCCESS too.
    KvBitmap target = kvtest::Target(8, 4, 24, KV_ORDER_BGR);
    Rows rows;
    rows.stopAt = 1;
    rows.stopStatus = FAILURE;
    EXPECT_EQ(InfoLoadFree(file.wide, target, rows), FAILURE);
    EXPECT_EQ(rows.bytes.size(), 2u);
}

TEST(FilterLoad, AFaultInsideTheCallbackBecomesCallbackFault)
{
    ScratchFile file("fault.svg", kQuadrants);
    const struct {
        const char* name;
        KvFilterRowCallback callback;
    } faults[] = {{"null write", WriteThroughNull}, {"exception", Throws}};
    for (const auto& f : faults) {
        SCOPED_TRACE(f.name);
        KvFilterCache cache{kKvFilterCacheSize, nullptr};
        KvFilterFileInfo info{};
        KvFilterInfoRequest infoRequest = kvtest::InfoRequest(file.wide, info, &cache);
        ASSERT_EQ(fltInfo(&infoRequest), SUCCESS);
        KvBitmap target = kvtest::Target(8, 4, 24, KV_ORDER_BGR);
        KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, &target, nullptr, &cache);
        load.callback = f.callback;
        EXPECT_EQ(fltLoad(&load), ERROR_CALLBACK_FAULT);
        // The kept document is still whole: a well-behaved load follows.
        Rows rows;
        load = kvtest::LoadRequest(file.wide, &target, &rows, &cache);
        EXPECT_EQ(fltLoad(&load), SUCCESS);
        EXPECT_EQ(rows.bytes.size(), 4u);
        EXPECT_EQ(fltFreeData(cache.filterData, 0), SUCCESS);
    }
}

TEST(FilterLoad, BadFilesGiveTheirStatusAndLeaveNothingBehind)
{
    const std::string packed = Compressed(kQuadrants);
    const struct {
        const char* name;
        std::string bytes;
        int32_t status;
    } cases[] = {
        {"cut in the middle", std::string(kQuadrants.substr(0, kQuadrants.size() / 2)), ERROR_FILE_OPEN},
        {"not xml", "\x01\x02garbage\xff\xfe", ERROR_FILE_OPEN},
        {"no svg root", "<html><body/></html>", ERROR_NO_SVG_ROOT},
        {"empty", "", ERROR_FILE_READ},
        {"compressed and cut", packed.substr(0, packed.size() / 2), FAILURE},
        {"compressed and corrupt", packed.substr(0, 12) + std::string(64, '\x55'), FAILURE},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScratchFile file("bad.svg", c.bytes);
        KvBitmap target = kvtest::Target(8, 4, 24, KV_ORDER_BGR);
        Rows rows;
        KvFilterCache cache{kKvFilterCacheSize, nullptr};
        KvFilterFileInfo info{};
        KvFilterInfoRequest infoRequest = kvtest::InfoRequest(file.wide, info, &cache);
        EXPECT_EQ(fltInfo(&infoRequest), c.status);
        EXPECT_EQ(cache.filterData, nullptr);
        KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, &target, &rows, &cache);
        EXPECT_EQ(fltLoad(&load), c.status);
        EXPECT_TRUE(rows.bytes.empty());
    }
}

TEST(FilterEntries, CheckTheRequestBeforeTouchingTheFile)
{
    ScratchFile file("checks.svg", kQuadrants);
    KvFilterFileInfo info{};
    KvFilterCache badCache{kKvFilterCacheSize - 1, nullptr};
    KvFilterLoadOptions badOptions{kKvFilterLoadOptionsSize + 1, 0, 0};

    EXPECT_EQ(fltInfo(nullptr), ERROR_INV_PARAMETER);
    KvFilterInfoRequest request = kvtest::InfoRequest(file.wide, info, &badCache);
    request.size = 0;
    request.info = nullptr;
    EXPECT_EQ(fltInfo(&request), ERROR_RECORD_SIZE);  // the request's size comes first
    request.size = kKvFilterInfoRequestSize;
    EXPECT_EQ(fltInfo(&request), ERROR_INV_PARAMETER);  // then a missing info
    request.info = &info;
    EXPECT_EQ(fltInfo(&request), ERROR_RECORD_SIZE);  // then the cache's size
    request.cache = nullptr;
    request.options = &badOptions;
    EXPECT_EQ(fltInfo(&request), ERROR_RECORD_SIZE);
    request.options = nullptr;
    info.size = 3;
    EXPECT_EQ(fltInfo(&request), ERROR_RECORD_SIZE);

    KvBitmap target = kvtest::Target(8, 4, 24, KV_ORDER_BGR);
    Rows rows;
    EXPECT_EQ(fltLoad(nullptr), ERROR_INV_PARAMETER);
    KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, &target, &rows, &badCache);
    load.callback = nullptr;
    EXPECT_EQ(fltLoad(&load), ERROR_RECORD_SIZE);  // sizes before the missing callback
    load.cache = nullptr;
    EXPECT_EQ(fltLoad(&load), ERROR_INV_PARAMETER);
    load.callback = kvtest::CollectRow;
    target.size = 12;
    EXPECT_EQ(fltLoad(&load), ERROR_RECORD_SIZE);
    target = kvtest::Target(8, 4, 24, KV_ORDER_BGR);
    for (auto spoil : {+[](KvBitmap& t) { t.width = 0; }, +[](KvBitmap& t) { t.height = -4; },
                       +[](KvBitmap& t) { t.bitsPerPixel = 7; }, +[](KvBitmap& t) { t.order = 9; }}) {
        KvBitmap spoilt = target;
        spoil(spoilt);
        load.bitmap = &spoilt;
        EXPECT_EQ(fltLoad(&load), ERROR_INV_PARAMETER);
    }
    load.bitmap = &target;
    load.fileName = nullptr;
    EXPECT_EQ(fltLoad(&load), ERROR_INV_PARAMETER);
    EXPECT_TRUE(rows.bytes.empty());

    // fltFreeData: anything but flag 0 keeps the data; null is fine.
    EXPECT_EQ(fltFreeData(nullptr, 0), SUCCESS);
    KvFilterData kept{kKvFilterDataSize, nullptr, 0, nullptr};
    EXPECT_EQ(fltFreeData(&kept, 1), SUCCESS);
}

TEST(FilterLoad, RunningOutOfMemoryAnywhereGivesNoMemoryAndLeaksNothing)
{
    ScratchFile file("memory.svg", kQuadrants);
    int failures = 0;
    for (long successes = 0; successes < 100000; ++successes) {
        KvBitmap target = kvtest::Target(8, 4, 8, KV_ORDER_BGR);
        Rows rows;
        KvFilterCache cache{kKvFilterCacheSize, nullptr};
        KvFilterFileInfo info{};
        KvFilterInfoRequest infoRequest = kvtest::InfoRequest(file.wide, info, &cache);
        TrackedFailAllocationAfter(successes);
        int32_t status = fltInfo(&infoRequest);
        if (status == SUCCESS) {
            KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, &target, &rows, &cache);
            status = fltLoad(&load);
        }
        TrackedFailAllocationAfter(-1);
        EXPECT_EQ(fltFreeData(cache.filterData, 0), SUCCESS);
        ASSERT_EQ(TrackedLiveBlocks(), 0u) << "after " << successes << " allocations";
        ASSERT_EQ(TrackedLiveResources(), 0u) << "after " << successes << " allocations";
        if (status == SUCCESS) {
            // The run no longer reaches the failing allocation: every one was tried.
            EXPECT_EQ(rows.bytes.size(), 4u);
            break;
        }
        ++failures;
        EXPECT_EQ(status, ERROR_NO_MEMORY) << "after " << successes << " allocations";
    }
    EXPECT_GT(failures, 10);
}

TEST(FilterLoad, AHostsOpenDescriptorServesWhenThereIsNoName)
{
    for (bool packed : {false, true}) {
        SCOPED_TRACE(packed ? "svgz" : "svg");
        ScratchFile file("by_handle.svg", packed ? Compressed(kQuadrants) : std::string(kQuadrants));
        const int fd = ::open(file.path.c_str(), O_RDONLY);
        ASSERT_GE(fd, 0);
        ::lseek(fd, 7, SEEK_SET);  // wherever the host left it, the file is read from its start
        KvFilterCache cache{kKvFilterCacheSize, nullptr};
        KvFilterFileInfo info{};
        KvFilterInfoRequest infoRequest = kvtest::InfoRequest(u"", info, &cache);
        infoRequest.fileName = nullptr;
        infoRequest.fileHandle = fd;
        EXPECT_EQ(fltInfo(&infoRequest), SUCCESS);
        EXPECT_EQ(info.height, 20);
        EXPECT_EQ(fltFreeData(cache.filterData, 0), SUCCESS);

        KvBitmap target = kvtest::Target(8, 4, 24, KV_ORDER_BGR);
        Rows rows;
        KvFilterLoadRequest load = kvtest::LoadRequest(u"", &target, &rows, nullptr);
        load.fileName = nullptr;
        load.fileHandle = fd;
        EXPECT_EQ(fltLoad(&load), SUCCESS);
        ::close(fd);
        ASSERT_EQ(rows.bytes.size(), 4u);
        ExpectColour(rows, 7, 0, {0, 0, 255});
    }
}
