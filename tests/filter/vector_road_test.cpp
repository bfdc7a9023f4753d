// The vector road: fltInfo and fltLoad reading a file with the older reader
// into a vector object of the stand-in library, chosen by vectorRoute or by
// the load options; what the host gets is the object, and fltSave of it
// gives the older SVG text back.
#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "api/document_fixture.h"
#include "filter/filter_test_support.h"
#include "filter/vector_library.h"
#include "filter/vector_road.h"
#include "kvsvg/kvsvg.h"

namespace {

using kvtest::ScratchFile;
using kvtest::VectorDouble;

constexpr std::string_view kDrawing =
    "<?xml version=\"1.0\"?>\n"
    "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"210mm\" height=\"100mm\" viewBox=\"0 0 210 100\">\n"
    " <g fill=\"#ff0000\" stroke=\"blue\" stroke-width=\"2\" transform=\"translate(10 5)\">\n"
    "  <rect x=\"0\" y=\"0\" width=\"20\" height=\"10\"/>\n"
    "  <circle cx=\"50\" cy=\"20\" r=\"5\" fill=\"none\"/>\n"
    "  <defs><rect width=\"99\" height=\"99\"/></defs>\n"
    " </g>\n"
    " <path d=\"M10 50 L30 50 Q40 60 50 50 Z\" fill=\"green\" fill-rule=\"evenodd\"/>\n"
    " <text x=\"5\" y=\"90\" font-family=\"'Sans', serif\" font-size=\"12\" style=\"fill:#123456\">Hello \n"
    "  world</text>\n"
    "</svg>\n";

// Every object of a vector, read and given back.
std::vector<KVecObject> Objects(const VectorCalls& calls, void* vector)
{
    std::vector<KVecObject> objects;
    for (uint32_t index = 0;; ++index) {
        KVecObject object{};
        object.size = kKVecObjectSize;
        if (calls.getObject(vector, index, &object) != SUCCESS)
            break;
        objects.push_back(object);
        calls.freeObject(vector, &object);
    }
    return objects;
}

std::string SaveText(void* vector)
{
    const std::string path = kvtest::ScratchPath("round.svg");
    const std::u16string wide = kvtest::Wide(path);
    KvFilterSaveRequest request{kKvFilterSaveRequestSize, wide.c_str(), -1, 1, vector};
    EXPECT_EQ(fltSave(&request), SUCCESS);
    return kvtest::ReadFileBytes(path);
}

}  // namespace

TEST(VectorRoad, InfoKeepsTheObjectAndLoadHandsItToTheHostOnce)
{
    VectorDouble library;
    ScratchFile file("drawing.svg", kDrawing);
    KvFilterCache cache{kKvFilterCacheSize, nullptr};
    KvFilterFileInfo info{};
    KvFilterInfoRequest infoRequest = kvtest::InfoRequest(file.wide, info, &cache);
    infoRequest.vectorRoute = 1;
    ASSERT_EQ(fltInfo(&infoRequest), SUCCESS);
    ASSERT_NE(cache.filterData, nullptr);
    EXPECT_EQ(cache.filterData->document, nullptr);
    EXPECT_NE(cache.filterData->vectorObject, nullptr);
    EXPECT_EQ(cache.filterData->vectorOwned, 1);
    // 100 mm at 96 dpi; the drawing's own width in the vector block.
    EXPECT_EQ(info.format, 247);
    EXPECT_EQ(info.width, 640);
    EXPECT_EQ(info.height, 377);
    EXPECT_EQ(info.vector.width, 793);
    EXPECT_EQ(library.LiveVectors(), 1);

    KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, nullptr, nullptr, &cache);
    load.vectorRoute = 1;
    ASSERT_EQ(fltLoad(&load), SUCCESS);
    EXPECT_EQ(load.vectorObject, cache.filterData->vectorObject);
    EXPECT_EQ(cache.filterData->vectorOwned, 0);
    // The host owns it now: another fltInfo on the same cache reads the
    // file afresh rather than lean on it, and fltFreeData leaves it alone.
    ASSERT_EQ(fltInfo(&infoRequest), SUCCESS);
    EXPECT_NE(cache.filterData->vectorObject, load.vectorObject);
    EXPECT_EQ(cache.filterData->vectorOwned, 1);
    EXPECT_EQ(library.LiveVectors(), 2);
    EXPECT_EQ(fltFreeData(cache.filterData, 0), SUCCESS);
    EXPECT_EQ(library.LiveVectors(), 1);
    EXPECT_EQ(Objects(library.calls(), load.vectorObject).size(), 4u);
    library.calls().free(load.vectorObject);

    // A drawing without a size is described as on the raster road.
    ScratchFile sizeless("sizeless.svg", "<svg xmlns=\"http://www.w3.org/2000/svg\"><rect width=\"5\" height=\"5\"/></svg>");
    KvFilterInfoRequest noCache = kvtest::InfoRequest(sizeless.wide, info, nullptr);
    noCache.vectorRoute = 1;
    ASSERT_EQ(fltInfo(&noCache), SUCCESS);
    EXPECT_EQ(info.width, 640);
    EXPECT_EQ(info.height, 480);
    EXPECT_EQ(info.vector.width, 0);

    // Freed with the cache when no load took it.
    cache.filterData = nullptr;
    ASSERT_EQ(fltInfo(&infoRequest), SUCCESS);
    EXPECT_EQ(fltFreeData(cache.filterData, 0), SUCCESS);
    EXPECT_EQ(library.LiveVectors(), 0);
}

TEST(VectorRoad, IsChosenByVectorRouteOrByTheOptionsFlag)
{
    VectorDouble library;
    ScratchFile file("choice.svg", kDrawing);
    const KvFilterLoadOptions vectorFlag{kKvFilterLoadOptionsSize, KV_FILTER_LOAD_VECTOR, 0};
    const KvFilterLoadOptions otherFlags{kKvFilterLoadOptionsSize, ~KV_FILTER_LOAD_VECTOR, 0};
    const struct {
        const char* name;
        int32_t vectorRoute;
        const KvFilterLoadOptions* options;
        bool vector;
    } cases[] = {
        {"vectorRoute 1", 1, nullptr, true},
        {"option bit 3", 0, &vectorFlag, true},
        {"both", 1, &vectorFlag, true},
        {"neither", 0, nullptr, false},
        {"other option bits", 0, &otherFlags, false},
        {"vectorRoute 2 is not 1", 2, nullptr, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        KvBitmap target = kvtest::Target(4, 2, 24, KV_ORDER_BGR);
        kvtest::Rows rows;
        KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, &target, &rows, nullptr);
        load.vectorRoute = c.vectorRoute;
        load.options = c.options;
        ASSERT_EQ(fltLoad(&load), SUCCESS);
        EXPECT_EQ(load.vectorObject != nullptr, c.vector);
        EXPECT_EQ(rows.bytes.size(), c.vector ? 0u : 2u);
        if (load.vectorObject)
            library.calls().free(load.vectorObject);
    }
}

TEST(VectorRoad, SavingTheLoadedObjectGivesTheOlderText)
{
    VectorDouble library;
    ScratchFile file("round.svg", kDrawing);
    KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, nullptr, nullptr, nullptr);
    load.vectorRoute = 1;
    ASSERT_EQ(fltLoad(&load), SUCCESS);
    const std::string expected =
        "<?xml version=\"1.0\" standalone=\"no\"?>\r\n"
        "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.0//EN\" "
        "\"http://www.w3.org/TR/2001/REC-SVG-20010904/DTD/svg10.dtd\"> \r\n"
        "<svg width=\"210mm\" height=\"100mm\" version=\"1.0\" viewBox=\"0 0 210 100\" "
        "xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\">\r\n"
        "\t<rect x=\"10\" y=\"5\" width=\"20\" height=\"10\" fill=\"#FF0000\" stroke=\"#0000FF\" "
        "stroke-linecap=\"butt\" stroke-linejoin=\"miter\" stroke-miterlimit=\"4\" stroke-width=\"2\"/>\r\n"
        "\t<circle cx=\"60\" cy=\"25\" r=\"5\" fill=\"none\" stroke=\"#0000FF\" stroke-linecap=\"butt\" "
        "stroke-linejoin=\"miter\" stroke-miterlimit=\"4\" stroke-width=\"2\"/>\r\n"
        "\t<path d=\"M10 50 L30 50 Q40 60 50 50 Z\" fill=\"#008000\" fill-rule=\"evenodd\" stroke=\"none\"/>\r\n"
        "\t<text x=\"5\" y=\"90\" font-family=\"Sans\" font-size=\"12\" fill=\"#123456\" "
        "xml:space=\"preserve\">Hello world</text>\r\n"
        "</svg>\r\n";
    EXPECT_EQ(SaveText(load.vectorObject), expected);
    library.calls().free(load.vectorObject);
}

TEST(VectorRoad, BakesTransformsIntoTheObjects)
{
    VectorDouble library;
    ScratchFile file("turned.svg",
                     "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"100\" height=\"100\">"
                     "<g transform=\"rotate(90)\" fill=\"#000000\">"
                     "<rect width=\"10\" height=\"20\"/>"
                     "<ellipse cx=\"0\" cy=\"0\" rx=\"4\" ry=\"2\"/>"
                     "<path d=\"M0 0 C10 0 10 10 0 10 A5 5 0 0 1 0 0\"/>"
                     "</g>"
                     "<g transform=\"scale(2 -1)\"><line x1=\"1\" y1=\"1\" x2=\"3\" y2=\"4\" stroke=\"#000\"/>"
                     "<rect x=\"1\" y=\"1\" width=\"2\" height=\"3\" fill=\"#000\"/></g>"
                     "</svg>");
    KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, nullptr, nullptr, nullptr);
    load.vectorRoute = 1;
    ASSERT_EQ(fltLoad(&load), SUCCESS);
    const std::vector<KVecObject> objects = Objects(library.calls(), load.vectorObject);
    ASSERT_EQ(objects.size(), 5u);
    // Turned: the rectangle becomes a polygon, the ellipse and the path
    // curves of quadratic pieces.
    EXPECT_EQ(objects[0].kind, KVEC_OBJECT_POLYGON);
    EXPECT_EQ(objects[1].kind, KVEC_OBJECT_PATH);
    EXPECT_EQ(objects[2].kind, KVEC_OBJECT_PATH);
    // Scaled and mirrored: still a line and an upright rectangle.
    EXPECT_EQ(objects[3].kind, KVEC_OBJECT_LINE);
    EXPECT_DOUBLE_EQ(objects[3].start.x, 2);
    EXPECT_DOUBLE_EQ(objects[3].start.y, -1);
    EXPECT_DOUBLE_EQ(objects[3].end.x, 6);
    EXPECT_DOUBLE_EQ(objects[3].end.y, -4);
    EXPECT_EQ(objects[4].kind, KVEC_OBJECT_RECT);
    EXPECT_DOUBLE_EQ(objects[4].bounds.x, 2);
    EXPECT_DOUBLE_EQ(objects[4].bounds.y, -4);
    EXPECT_DOUBLE_EQ(objects[4].bounds.width, 4);
    EXPECT_DOUBLE_EQ(objects[4].bounds.height, 3);

    // The turned rectangle's corners went through the matrix.
    const std::string saved = SaveText(load.vectorObject);
    EXPECT_NE(saved.find("\t<polygon points=\"0,0 0,10 -20,10 -20,0\" fill=\"#000000\""), std::string::npos)
        << saved;
    library.calls().free(load.vectorObject);
}

TEST(VectorRoad, PercentagesOfAViewportPastTheIntegerRangeStayPositive)
{
    // A viewBox 1e300 wide: its side is held to the largest whole number a
    // length resolves against, so half of it is a large positive width.
    VectorDouble library;
    ScratchFile file("wide.svg",
                     "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 1e300 100\">"
                     "<rect width=\"50%\" height=\"10\" fill=\"#000\"/></svg>");
    KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, nullptr, nullptr, nullptr);
    load.vectorRoute = 1;
    ASSERT_EQ(fltLoad(&load), SUCCESS);
    const std::vector<KVecObject> objects = Objects(library.calls(), load.vectorObject);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0].kind, KVEC_OBJECT_RECT);
    EXPECT_DOUBLE_EQ(objects[0].bounds.width, 2147483647.0 / 2);
    library.calls().free(load.vectorObject);
}

TEST(VectorRoad, SniffsTheFirstBytesBeforeReading)
{
    const KvFilterLoadOptions named{kKvFilterLoadOptionsSize, KV_FILTER_LOAD_FORMAT_KNOWN, KV_FILTER_FORMAT_SVG};
    const KvFilterLoadOptions otherFormat{kKvFilterLoadOptionsSize, KV_FILTER_LOAD_FORMAT_KNOWN, 75};
    const std::string utf16 = std::string("\xFF\xFE<\0?\0x\0m\0l\0 \0<\0h\0t\0m\0l\0>\0", 26);
    const struct {
        const char* name;
        std::string bytes;
        const KvFilterLoadOptions* options;
        int32_t status;
        size_t offset;
        bool compressed;
    } cases[] = {
        {"declaration", "<?xml version=\"1.0\"?><svg/>", nullptr, SUCCESS, 0, false},
        {"utf-8 mark", "\xEF\xBB\xBF<?xml version=\"1.0\"?><svg/>", nullptr, SUCCESS, 3, false},
        {"doctype", "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.0//EN\" \"x\"><svg/>", nullptr, SUCCESS, 0, false},
        {"bare root after blanks", "\n  <svg/>", nullptr, SUCCESS, 0, false},
        {"html", "<?xml version=\"1.0\"?><html><body/></html>", nullptr, ERROR_FILE_FORMAT, 0, false},
        {"html behind a mark", "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<html>", nullptr, ERROR_FILE_FORMAT, 0, false},
        {"annotations", "<?xml version=\"1.0\"?><Annotations></Annotations>", nullptr, ERROR_FILE_FORMAT, 0, false},
        {"annotation file", "<!-- KOLV XML Annotation File --><svg/>", nullptr, ERROR_FILE_FORMAT, 0, false},
        {"utf-16 html", utf16, nullptr, ERROR_FILE_FORMAT, 0, false},
        {"gzip", "\x1F\x8B\x08\x00rest", nullptr, SUCCESS, 0, true},
        {"not xml", "GIF89a", nullptr, ERROR_FILE_FORMAT, 0, false},
        {"empty", "", nullptr, ERROR_FILE_FORMAT, 0, false},
        {"named format skips the look", "GIF89a", &named, SUCCESS, 0, false},
        {"another named format does not", "GIF89a", &otherFormat, ERROR_FILE_FORMAT, 0, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        size_t offset = 99;
        bool compressed = true;
        EXPECT_EQ(SniffVectorFile(reinterpret_cast<const uint8_t*>(c.bytes.data()), c.bytes.size(), c.options, &offset,
                                  &compressed),
                  c.status);
        if (c.status == SUCCESS) {
            EXPECT_EQ(offset, c.offset);
            EXPECT_EQ(compressed, c.compressed);
        }
    }
}

TEST(VectorRoad, BadFilesGiveAStatusAndNoObject)
{
    VectorDouble library;
    kvtest::Handle document;
    ASSERT_EQ(kvtest::LoadText("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"5\" height=\"5\"/>", document),
              SUCCESS);
    const std::string packedPath = kvtest::ScratchPath("packed.svgz");
    SvgSaveOptions compress{kSvgSaveOptionsSize, 0, {0}, 0, 1};
    ASSERT_EQ(K_SvgSaveDocument(kvtest::Wide(packedPath).c_str(), document, &compress), SUCCESS);
    const std::string packed = kvtest::ReadFileBytes(packedPath);
    const std::string cutDrawing(kDrawing.substr(0, kDrawing.size() / 2));

    const struct {
        const char* name;
        std::string bytes;
        int32_t status;
    } cases[] = {
        {"cut in the middle", cutDrawing, ERROR_FILE_FORMAT},
        {"another root", "<?xml version=\"1.0\"?><drawing/>", ERROR_NO_SVG_ROOT},
        {"html", "<?xml version=\"1.0\"?><html></html>", ERROR_FILE_FORMAT},
        {"empty file", "", ERROR_FILE_READ},
        {"compressed and cut", packed.substr(0, packed.size() / 2), ERROR_FILE_FORMAT},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScratchFile file("bad.svg", c.bytes);
        KvFilterCache cache{kKvFilterCacheSize, nullptr};
        KvFilterFileInfo info{};
        KvFilterInfoRequest infoRequest = kvtest::InfoRequest(file.wide, info, &cache);
        infoRequest.vectorRoute = 1;
        EXPECT_EQ(fltInfo(&infoRequest), c.status);
        EXPECT_EQ(cache.filterData, nullptr);
        KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, nullptr, nullptr, &cache);
        load.vectorRoute = 1;
        EXPECT_EQ(fltLoad(&load), c.status);
        EXPECT_EQ(load.vectorObject, nullptr);
        EXPECT_EQ(library.LiveVectors(), 0);
    }

    // The packed file whole reads like the plain one.
    ScratchFile whole("whole.svgz", packed);
    KvFilterLoadRequest load = kvtest::LoadRequest(whole.wide, nullptr, nullptr, nullptr);
    load.vectorRoute = 1;
    ASSERT_EQ(fltLoad(&load), SUCCESS);
    KVecParallelogram frame{kKVecParallelogramSize, {}, {}, {}};
    EXPECT_EQ(library.calls().getParallelogram(load.vectorObject, &frame), SUCCESS);
    EXPECT_EQ(frame.xEnd.x, 5);
    library.calls().free(load.vectorObject);
}

TEST(VectorRoad, PaintServersPaintInTheirFirstStopOrTheirFallback)
{
    VectorDouble library;
    const struct {
        const char* name;
        const char* fill;
        bool drawn;
        KvColor color;
    } cases[] = {
        {"gradient", "url(#sky)", true, {255, 0x11, 0x22, 0x33}},
        {"gradient through href", "url(#linked)", true, {255, 0x11, 0x22, 0x33}},
        {"stop colour in style", "url(#styled)", true, {255, 0x44, 0x55, 0x66}},
        {"pattern with fallback", "url(#dots) #00ff00", true, {255, 0, 255, 0}},
        {"pattern without fallback", "url(#dots)", false, {}},
        {"missing with fallback", "url(#nowhere) blue", true, {255, 0, 0, 255}},
        {"missing", "url(#nowhere)", false, {}},
        {"href cycle", "url(#loopA)", false, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string text =
            std::string("<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
                        "width=\"10\" height=\"10\"><defs>"
                        "<linearGradient id=\"sky\"><stop offset=\"0\" stop-color=\"#112233\"/>"
                        "<stop offset=\"1\" stop-color=\"#ffffff\"/></linearGradient>"
                        "<radialGradient id=\"linked\" xlink:href=\"#sky\"/>"
                        "<linearGradient id=\"styled\"><stop style=\"stop-color:#445566\"/></linearGradient>"
                        "<linearGradient id=\"loopA\" xlink:href=\"#loopB\"/>"
                        "<linearGradient id=\"loopB\" xlink:href=\"#loopA\"/>"
                        "<pattern id=\"dots\" width=\"2\" height=\"2\"/></defs>"
                        "<rect width=\"10\" height=\"10\" fill=\"") +
            c.fill + "\"/></svg>";
        ScratchFile file("paint.svg", text);
        KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, nullptr, nullptr, nullptr);
        load.vectorRoute = 1;
        ASSERT_EQ(fltLoad(&load), SUCCESS);
        const std::vector<KVecObject> objects = Objects(library.calls(), load.vectorObject);
        ASSERT_EQ(objects.size(), c.drawn ? 1u : 0u);
        if (c.drawn) {
            KVecLogBrush brush{kKVecLogBrushSize, 0, {}, 0};
            ASSERT_EQ(library.calls().getLogBrush(load.vectorObject, objects[0].brush, &brush), SUCCESS);
            EXPECT_EQ(brush.style, KVEC_BRUSH_SOLID);
            EXPECT_EQ(brush.color.alpha, c.color.alpha);
            EXPECT_EQ(brush.color.red, c.color.red);
            EXPECT_EQ(brush.color.green, c.color.green);
            EXPECT_EQ(brush.color.blue, c.color.blue);
        }
        library.calls().free(load.vectorObject);
    }
}

TEST(VectorRoad, ReadsWideTextAndOpenDescriptorsToo)
{
    VectorDouble library;
    // UTF-16 with its mark, little-endian: the reader thins it to bytes.
    std::string wide = "\xFF\xFE";
    for (char c : std::string_view(kDrawing)) {
        wide += c;
        wide += '\0';
    }
    ScratchFile file("wide.svg", wide);
    const int fd = ::open(file.path.c_str(), O_RDONLY);
    ASSERT_GE(fd, 0);
    // The host's open file wins over the name, which may then be missing.
    KvFilterLoadRequest load = kvtest::LoadRequest(u"", nullptr, nullptr, nullptr);
    load.fileName = nullptr;
    load.fileHandle = fd;
    load.vectorRoute = 1;
    ASSERT_EQ(fltLoad(&load), SUCCESS);
    ::close(fd);
    const std::vector<KVecObject> objects = Objects(library.calls(), load.vectorObject);
    ASSERT_EQ(objects.size(), 4u);
    EXPECT_EQ(objects[0].kind, KVEC_OBJECT_RECT);
    EXPECT_EQ(objects[3].kind, KVEC_OBJECT_TEXT);
    library.calls().free(load.vectorObject);
}

TEST(VectorRoad, UsesDrawTheirTargetAgainAndCyclesDrawNothing)
{
    VectorDouble library;
    ScratchFile file("uses.svg",
                     "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
                     "width=\"100\" height=\"100\"><defs>"
                     "<rect id=\"box\" width=\"10\" height=\"5\"/>"
                     "<symbol id=\"pair\"><use xlink:href=\"#box\"/><use xlink:href=\"#box\" y=\"20\"/></symbol>"
                     "<g id=\"self\"><use xlink:href=\"#self\"/><rect width=\"1\" height=\"1\"/></g>"
                     "<use id=\"ping\" xlink:href=\"#pong\"/><use id=\"pong\" xlink:href=\"#ping\"/></defs>"
                     "<use xlink:href=\"#box\" x=\"30\" y=\"40\" fill=\"#00ff00\"/>"
                     "<use href=\"#pair\" transform=\"translate(50 0)\"/>"
                     "<use xlink:href=\"#self\"/>"
                     "<use xlink:href=\"#ping\"/>"
                     "<use xlink:href=\"#nowhere\"/>"
                     "</svg>");
    KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, nullptr, nullptr, nullptr);
    load.vectorRoute = 1;
    ASSERT_EQ(fltLoad(&load), SUCCESS);
    const std::vector<KVecObject> objects = Objects(library.calls(), load.vectorObject);
    // The box once by itself, twice through the symbol, and the one
    // rectangle of the group that uses itself.
    ASSERT_EQ(objects.size(), 4u);
    const double expected[][4] = {{30, 40, 10, 5}, {50, 0, 10, 5}, {50, 20, 10, 5}, {0, 0, 1, 1}};
    for (size_t i = 0; i < objects.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(objects[i].kind, KVEC_OBJECT_RECT);
        EXPECT_DOUBLE_EQ(objects[i].bounds.x, expected[i][0]);
        EXPECT_DOUBLE_EQ(objects[i].bounds.y, expected[i][1]);
        EXPECT_DOUBLE_EQ(objects[i].bounds.width, expected[i][2]);
        EXPECT_DOUBLE_EQ(objects[i].bounds.height, expected[i][3]);
    }
    // The use's paint reaches the copy.
    KVecLogBrush brush{kKVecLogBrushSize, 0, {}, 0};
    ASSERT_EQ(library.calls().getLogBrush(load.vectorObject, objects[0].brush, &brush), SUCCESS);
    EXPECT_EQ(brush.color.green, 255);
    EXPECT_EQ(brush.color.red, 0);
    library.calls().free(load.vectorObject);
}

TEST(VectorRoad, UsesThatMultiplyBeyondTheLimitAreRefused)
{
    VectorDouble library;
    // Ten uses of ten uses, six deep: a million rectangles from a kilobyte.
    std::string text = "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
                       "width=\"10\" height=\"10\"><defs><rect id=\"l0\" width=\"1\" height=\"1\"/>";
    for (int level = 1; level <= 6; ++level) {
        text += "<g id=\"l" + std::to_string(level) + "\">";
        for (int copy = 0; copy < 10; ++copy)
            text += "<use xlink:href=\"#l" + std::to_string(level - 1) + "\"/>";
        text += "</g>";
    }
    text += "</defs><use xlink:href=\"#l6\"/></svg>";
    ScratchFile file("bomb.svg", text);
    KvFilterLoadRequest load = kvtest::LoadRequest(file.wide, nullptr, nullptr, nullptr);
    load.vectorRoute = 1;
    const int64_t before = library.ObjectsAdded();
    EXPECT_EQ(fltLoad(&load), ERROR_MAX_ELEMENTS);
    EXPECT_EQ(load.vectorObject, nullptr);
    EXPECT_EQ(library.LiveVectors(), 0);
    // Refused before the copies were made, not after thousands.
    EXPECT_EQ(library.ObjectsAdded(), before);

    // Four deep is refused too (11,111 uses); three deep fits: 1,111 uses,
    // 1,000 rectangles.
    const size_t fifth = text.find("<g id=\"l5\">");
    text.erase(fifth, text.find("</defs>") - fifth);
    text.replace(text.find("#l6"), 3, "#l4");
    {
        ScratchFile deep("deep.svg", text);
        load = kvtest::LoadRequest(deep.wide, nullptr, nullptr, nullptr);
        load.vectorRoute = 1;
        EXPECT_EQ(fltLoad(&load), ERROR_MAX_ELEMENTS);
        EXPECT_EQ(library.ObjectsAdded(), before);
    }
    text.replace(text.find("#l4"), 3, "#l3");
    ScratchFile fits("fits.svg", text);
    load = kvtest::LoadRequest(fits.wide, nullptr, nullptr, nullptr);
    load.vectorRoute = 1;
    EXPECT_EQ(fltLoad(&load), SUCCESS);
    EXPECT_EQ(library.ObjectsAdded(), before + 1000);
    library.calls().free(load.vectorObject);
}
