// fltSave: vector objects of the stand-in library written as SVG text. The
// fixed parts (prologue, hatch patterns, element and paint vocabulary, CR LF)
// are compared byte for byte.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "document/svg_data_uri.h"
#include "filter/filter_test_support.h"
#include "filter/vector_library.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg.h"

namespace {

using kvtest::OwnedVectorObject;
using kvtest::VectorDouble;
using kvtest::VectorShape;

constexpr KvColor kRed{255, 255, 0, 0};
constexpr KvColor kGreen{255, 0, 255, 0};
constexpr KvColor kHalfBlue{128, 0, 0, 255};

KVecLogPen Pen(uint32_t style, double width, KvColor color, uint32_t cap, uint32_t join, double miterLimit = 0)
{
    return KVecLogPen{kKVecLogPenSize, style, width, color, cap, join, miterLimit};
}

KVecLogBrush Brush(uint32_t style, KvColor color, uint32_t hatch = 0)
{
    return KVecLogBrush{kKVecLogBrushSize, style, color, hatch};
}

KvFilterSaveRequest SaveRequest(const std::u16string& fileName, void* vector)
{
    KvFilterSaveRequest request{};
    request.size = kKvFilterSaveRequestSize;
    request.fileName = fileName.c_str();
    request.fileHandle = -1;
    request.vectorRoute = 1;
    request.vectorObject = vector;
    return request;
}

// Saves through the entry and reads the file back.
std::string Save(void* vector, int32_t expectedStatus = SUCCESS)
{
    const std::string path = kvtest::ScratchPath("saved.svg");
    std::remove(path.c_str());
    const std::u16string wide = kvtest::Wide(path);
    KvFilterSaveRequest request = SaveRequest(wide, vector);
    EXPECT_EQ(fltSave(&request), expectedStatus);
    return kvtest::ReadFileBytes(path);
}

constexpr std::string_view kProlog =
    "<?xml version=\"1.0\" standalone=\"no\"?>\r\n"
    "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.0//EN\" "
    "\"http://www.w3.org/TR/2001/REC-SVG-20010904/DTD/svg10.dtd\"> \r\n";

}  // namespace

TEST(VectorWriter, WritesTheFixedPrologueHatchPatternsAndElements)
{
    VectorDouble library;
    OwnedVectorObject vector(library);
    vector.SetFrame(200, 100, KVEC_UNIT_MILLIMETER);
    const uint32_t red = vector.AddPen(Pen(KVEC_PEN_SOLID, 2, kRed, KVEC_CAP_ROUND, KVEC_JOIN_ROUND));
    const uint32_t dashed = vector.AddPen(Pen(KVEC_PEN_DASH, 0, kHalfBlue, KVEC_CAP_FLAT, KVEC_JOIN_MITER, 4));
    const uint32_t green = vector.AddBrush(Brush(KVEC_BRUSH_SOLID, kGreen));
    const uint32_t cross = vector.AddBrush(Brush(KVEC_BRUSH_HATCHED, kGreen, KVEC_HATCH_CROSS));
    const uint32_t hollow = vector.AddBrush(Brush(KVEC_BRUSH_NULL, kGreen));
    const uint32_t faint = vector.AddBrush(Brush(KVEC_BRUSH_SOLID, KvColor{128, 0x33, 0x66, 0x99}));

    KVecObject line = VectorShape(KVEC_OBJECT_LINE, red, KVEC_NONE);
    line.start = {10, 10};
    line.end = {190, 10};
    vector.Add(line);
    KVecObject rect = VectorShape(KVEC_OBJECT_RECT, red, green);
    rect.bounds = {10, 20, 50, 30};
    vector.Add(rect);
    KVecObject circle = VectorShape(KVEC_OBJECT_ELLIPSE, KVEC_NONE, cross);
    circle.bounds = {70, 20, 30, 30};
    vector.Add(circle);
    KVecObject ellipse = VectorShape(KVEC_OBJECT_ELLIPSE, dashed, hollow);
    ellipse.bounds = {110, 20, 60, 30};
    vector.Add(ellipse);
    vector.Add(VectorShape(KVEC_OBJECT_POLYLINE, red, green), {{10, 60}, {30, 80}, {50, 60}});
    KVecObject polygon = VectorShape(KVEC_OBJECT_POLYGON, KVEC_NONE, faint);
    polygon.fillMode = KVEC_FILL_ALTERNATE;
    vector.Add(polygon, {{60, 60}, {80, 90.5}, {100, 60}});
    KVecObject path = VectorShape(KVEC_OBJECT_PATH, red, green);
    path.fillMode = KVEC_FILL_WINDING;
    vector.Add(path, {{110, 60}, {130, 60}, {150, 60}, {150, 80}},
               {KVEC_POINT_MOVE, KVEC_POINT_LINE, KVEC_POINT_QUAD, KVEC_POINT_QUAD | KVEC_POINT_CLOSE});
    KVecObject text = VectorShape(KVEC_OBJECT_TEXT, KVEC_NONE, green);
    text.start = {10, 95};
    text.text = u"a < b & \"c\"";
    text.fontName = u"Sans";
    text.fontSize = 8;
    vector.Add(text);

    const std::string expected =
        std::string(kProlog) +
        "<svg width=\"200mm\" height=\"100mm\" version=\"1.0\" viewBox=\"0 0 200 100\" "
        "xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\">\r\n"
        "<defs>\r\n"
        "\t<pattern id=\"brushCross\" patternUnits=\"userSpaceOnUse\" x=\"0\" y=\"0\" width=\"10\" height=\"10\" "
        "viewBox=\"0 0 10 10\">\r\n"
        "\t\t<line x1=\"0\" y1=\"5\" x2=\"10\" y2=\"5\" stroke=\"#000000\" stroke-width=\"1\"/>\r\n"
        "\t\t<line x1=\"5\" y1=\"0\" x2=\"5\" y2=\"10\" stroke=\"#000000\" stroke-width=\"1\"/>\r\n"
        "\t</pattern>\r\n"
        "</defs>\r\n"
        "\t<line x1=\"10\" y1=\"10\" x2=\"190\" y2=\"10\" stroke=\"#FF0000\" stroke-linecap=\"round\" "
        "stroke-linejoin=\"round\" stroke-width=\"2\"/>\r\n"
        "\t<rect x=\"10\" y=\"20\" width=\"50\" height=\"30\" fill=\"#00FF00\" stroke=\"#FF0000\" "
        "stroke-linecap=\"round\" stroke-linejoin=\"round\" stroke-width=\"2\"/>\r\n"
        "\t<circle cx=\"85\" cy=\"35\" r=\"15\" fill=\"url(#brushCross)\" stroke=\"none\"/>\r\n"
        "\t<ellipse cx=\"140\" cy=\"35\" rx=\"30\" ry=\"15\" fill=\"none\" stroke=\"#0000FF\" "
        "stroke-dasharray=\"3,1\" stroke-dashoffset=\"0\" stroke-linecap=\"butt\" stroke-linejoin=\"miter\" "
        "stroke-miterlimit=\"4\" stroke-opacity=\"0.502\" stroke-width=\"1\"/>\r\n"
        "\t<polyline points=\"10,60 30,80 50,60\" fill=\"none\" stroke=\"#FF0000\" stroke-linecap=\"round\" "
        "stroke-linejoin=\"round\" stroke-width=\"2\"/>\r\n"
        "\t<polygon points=\"60,60 80,90.5 100,60\" fill=\"#336699\" fill-opacity=\"0.502\" fill-rule=\"evenodd\" "
        "stroke=\"none\"/>\r\n"
        "\t<path d=\"M110 60 L130 60 Q150 60 150 80 Z\" fill=\"#00FF00\" fill-rule=\"nonzero\" stroke=\"#FF0000\" "
        "stroke-linecap=\"round\" stroke-linejoin=\"round\" stroke-width=\"2\"/>\r\n"
        "\t<text x=\"10\" y=\"95\" font-family=\"Sans\" font-size=\"8\" fill=\"#00FF00\" "
        "xml:space=\"preserve\">a &lt; b &amp; &quot;c&quot;</text>\r\n"
        "</svg>\r\n";
    EXPECT_EQ(Save(vector.get()), expected);
}

TEST(VectorWriter, WritesEachHatchPatternOnceInItsFixedForm)
{
    const struct {
        uint32_t hatch;
        const char* pattern;
    } cases[] = {
        {KVEC_HATCH_HORIZONTAL, "\t<pattern id=\"brushHorz\" patternUnits=\"userSpaceOnUse\" x=\"0\" y=\"0\" "
                                "width=\"10\" height=\"10\" viewBox=\"0 0 10 10\">\r\n"
                                "\t\t<line x1=\"0\" y1=\"10\" x2=\"10\" y2=\"10\" stroke=\"#000000\" "
                                "stroke-width=\"1\"/>\r\n\t</pattern>\r\n"},
        {KVEC_HATCH_VERTICAL, "\t<pattern id=\"brushVert\" patternUnits=\"userSpaceOnUse\" x=\"0\" y=\"0\" "
                              "width=\"10\" height=\"10\" viewBox=\"0 0 10 10\">\r\n"
                              "\t\t<line x1=\"0\" y1=\"0\" x2=\"0\" y2=\"10\" stroke=\"#000000\" "
                              "stroke-width=\"1\"/>\r\n\t</pattern>\r\n"},
        {KVEC_HATCH_FDIAGONAL, "\t<pattern id=\"brushDiagForward\" patternUnits=\"userSpaceOnUse\" x=\"0\" y=\"0\" "
                               "width=\"10\" height=\"10\" viewBox=\"0 0 10 10\">\r\n"
                               "\t\t<line x1=\"0\" y1=\"0\" x2=\"10\" y2=\"10\" stroke=\"#000000\" "
                               "stroke-width=\"1\"/>\r\n\t</pattern>\r\n"},
        {KVEC_HATCH_BDIAGONAL, "\t<pattern id=\"brushDiagBack\" patternUnits=\"userSpaceOnUse\" x=\"0\" y=\"0\" "
                               "width=\"10\" height=\"10\" viewBox=\"0 0 10 10\">\r\n"
                               "\t\t<line x1=\"10\" y1=\"0\" x2=\"0\" y2=\"10\" stroke=\"#000000\" "
                               "stroke-width=\"1\"/>\r\n\t</pattern>\r\n"},
        {KVEC_HATCH_DIAGCROSS, "\t<pattern id=\"brushDiagCross\" patternUnits=\"userSpaceOnUse\" x=\"0\" y=\"0\" "
                               "width=\"10\" height=\"10\" viewBox=\"0 0 10 10\">\r\n"
                               "\t\t<line x1=\"0\" y1=\"0\" x2=\"10\" y2=\"10\" stroke=\"#000000\" "
                               "stroke-width=\"1\"/>\r\n"
                               "\t\t<line x1=\"10\" y1=\"0\" x2=\"0\" y2=\"10\" stroke=\"#000000\" "
                               "stroke-width=\"1\"/>\r\n\t</pattern>\r\n"},
    };
    VectorDouble library;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hatch);
        OwnedVectorObject vector(library);
        vector.SetFrame(10, 10, KVEC_UNIT_PIXEL);
        // Two brushes of one hatch in different colours: one black pattern.
        const uint32_t brush = vector.AddBrush(Brush(KVEC_BRUSH_HATCHED, kRed, c.hatch));
        vector.AddBrush(Brush(KVEC_BRUSH_HATCHED, kGreen, c.hatch));
        KVecObject rect = VectorShape(KVEC_OBJECT_RECT, KVEC_NONE, brush);
        rect.bounds = {0, 0, 10, 10};
        vector.Add(rect);
        const std::string saved = Save(vector.get());
        EXPECT_NE(saved.find("<defs>\r\n" + std::string(c.pattern) + "</defs>\r\n"), std::string::npos) << saved;
    }
}

TEST(VectorWriter, WritesTextAsUtf8WithMarkupEscaped)
{
    VectorDouble library;
    OwnedVectorObject vector(library);
    vector.SetFrame(10, 10, KVEC_UNIT_PIXEL);
    const uint32_t brush = vector.AddBrush(Brush(KVEC_BRUSH_SOLID, kRed));
    KVecObject text = VectorShape(KVEC_OBJECT_TEXT, KVEC_NONE, brush);
    text.start = {1.5, -2.25};
    text.text = u"caf\u00e9 \u20ac \U0001D11E <b>";
    text.fontName = u"A&B \"Sans\"";
    text.fontSize = 0.125;
    vector.Add(text);
    const std::string saved = Save(vector.get());
    EXPECT_NE(saved.find("\t<text x=\"1.5\" y=\"-2.25\" font-family=\"A&amp;B &quot;Sans&quot;\" font-size=\"0.125\" "
                         "fill=\"#FF0000\" xml:space=\"preserve\">caf\xC3\xA9 \xE2\x82\xAC \xF0\x9D\x84\x9E "
                         "&lt;b&gt;</text>\r\n"),
              std::string::npos)
        << saved;
}

TEST(VectorWriter, WritesTheFrameInTheVectorsUnit)
{
    const struct {
        uint32_t unit;
        const char* root;
    } cases[] = {
        {KVEC_UNIT_PIXEL, "<svg width=\"640\" height=\"480.25\" version=\"1.0\" viewBox=\"0 0 640 480.25\""},
        {KVEC_UNIT_INCH, "<svg width=\"640in\" height=\"480.25in\" version=\"1.0\" viewBox=\"0 0 640 480.25\""},
        {KVEC_UNIT_CENTIMETER, "<svg width=\"640cm\" height=\"480.25cm\" version=\"1.0\" viewBox=\"0 0 640 480.25\""},
        {KVEC_UNIT_POINT, "<svg width=\"640pt\" height=\"480.25pt\" version=\"1.0\" viewBox=\"0 0 640 480.25\""},
    };
    VectorDouble library;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.unit);
        OwnedVectorObject vector(library);
        vector.SetFrame(640, 480.25, c.unit);
        const std::string saved = Save(vector.get());
        EXPECT_EQ(saved.substr(kProlog.size(), std::string_view(c.root).size()), c.root);
        EXPECT_EQ(saved.find("<defs>"), std::string::npos);
        EXPECT_EQ(saved.substr(saved.size() - 8), "</svg>\r\n");
    }
}

TEST(VectorWriter, ArcsBecomePointListsOfTheLibrary)
{
    VectorDouble library;
    OwnedVectorObject vector(library);
    vector.SetFrame(100, 100, KVEC_UNIT_PIXEL);
    const uint32_t pen = vector.AddPen(Pen(KVEC_PEN_SOLID, 1, kRed, KVEC_CAP_ROUND, KVEC_JOIN_ROUND));
    const uint32_t brush = vector.AddBrush(Brush(KVEC_BRUSH_SOLID, kGreen));
    KVecObject arc = VectorShape(KVEC_OBJECT_ARC, pen, brush);
    arc.bounds = {0, 0, 100, 100};
    arc.startAngle = 0;
    arc.sweepAngle = 90;
    vector.Add(arc);
    arc.closed = 1;
    vector.Add(arc);
    const std::string saved = Save(vector.get());
    // The open arc: nine points from (100,50) to (50,100), no fill.
    EXPECT_NE(saved.find("\t<polyline points=\"100,50 "), std::string::npos) << saved;
    EXPECT_NE(saved.find(" 50,100\" fill=\"none\" stroke=\"#FF0000\""), std::string::npos) << saved;
    // The pie: the centre first, then the same nine, filled.
    EXPECT_NE(saved.find("\t<polygon points=\"50,50 100,50 "), std::string::npos) << saved;
    EXPECT_NE(saved.find(" 50,100\" fill=\"#00FF00\" fill-rule=\"none\" stroke=\"#FF0000\""), std::string::npos)
        << saved;
}

TEST(VectorWriter, EmbedsRastersAsPngDataUris)
{
    VectorDouble library;
    OwnedVectorObject vector(library);
    vector.SetFrame(10, 10, KVEC_UNIT_PIXEL);
    KvBitmap raster{};
    ASSERT_EQ(K_BitmapInit(&raster, kKvBitmapSize, 2, 1, 24, KV_ORDER_RGB), SUCCESS);
    ASSERT_EQ(K_BitmapAllocate(&raster), SUCCESS);
    const uint8_t pixels[] = {255, 0, 0, 0, 0, 255};
    std::copy(std::begin(pixels), std::end(pixels), raster.data);
    KVecObject image = VectorShape(KVEC_OBJECT_RASTER, KVEC_NONE, KVEC_NONE);
    image.bounds = {1, 2, 4, 2};
    image.raster = &raster;
    vector.Add(image);
    K_BitmapFree(&raster);

    const std::string saved = Save(vector.get());
    const std::string head = "\t<image x=\"1\" y=\"2\" width=\"4\" height=\"2\" xlink:href=\"data:image/png;base64,";
    const size_t start = saved.find(head);
    ASSERT_NE(start, std::string::npos) << saved;
    const size_t dataStart = start + head.size();
    const size_t dataEnd = saved.find("\"/>\r\n", dataStart);
    ASSERT_NE(dataEnd, std::string::npos);
    std::string png;
    ASSERT_TRUE(DecodeBase64(kvtest::Wide(saved.substr(dataStart, dataEnd - dataStart)), png));
    KvBitmap decoded{};
    ASSERT_EQ(K_BitmapLoadMemory(png.data(), png.size(), &decoded, kKvBitmapSize, 24, KV_ORDER_RGB), SUCCESS);
    EXPECT_EQ(decoded.width, 2);
    EXPECT_EQ(decoded.height, 1);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(decoded.data), 6), std::string(reinterpret_cast<const char*>(pixels), 6));
    K_BitmapFree(&decoded);
}

TEST(VectorWriter, RefusedObjectsFailTheSaveWithoutAFile)
{
    VectorDouble library;
    const struct {
        const char* name;
        KVecObject object;
        std::vector<KvPoint> points;
        std::vector<uint8_t> types;
    } cases[] = {
        {"pen the table lacks", VectorShape(KVEC_OBJECT_RECT, 7, KVEC_NONE), {}, {}},
        {"brush the table lacks", VectorShape(KVEC_OBJECT_RECT, KVEC_NONE, 3), {}, {}},
        {"raster without pixels", VectorShape(KVEC_OBJECT_RASTER, KVEC_NONE, KVEC_NONE), {}, {}},
        {"curve without its end", VectorShape(KVEC_OBJECT_PATH, KVEC_NONE, KVEC_NONE), {{0, 0}, {5, 5}},
         {KVEC_POINT_MOVE, KVEC_POINT_QUAD}},
        {"unknown point type", VectorShape(KVEC_OBJECT_PATH, KVEC_NONE, KVEC_NONE), {{0, 0}, {5, 5}},
         {KVEC_POINT_MOVE, 3}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        OwnedVectorObject vector(library);
        vector.SetFrame(10, 10, KVEC_UNIT_PIXEL);
        KVecObject good = VectorShape(KVEC_OBJECT_LINE, KVEC_NONE, KVEC_NONE);
        vector.Add(good);
        vector.Add(c.object, c.points, c.types);
        EXPECT_EQ(Save(vector.get(), ERROR_VECTOR_OBJECT), "");
        // Every object read on the way was given back.
        EXPECT_EQ(library.LiveReadings(), 0);
    }
}

TEST(VectorWriter, SavesOnlyVectorRequestsAndChecksThemInOrder)
{
    VectorDouble library;
    OwnedVectorObject vector(library);
    vector.SetFrame(10, 10, KVEC_UNIT_PIXEL);
    const std::u16string file = kvtest::Wide(kvtest::ScratchPath("order.svg"));

    EXPECT_EQ(fltSave(nullptr), ERROR_INV_PARAMETER);
    KvFilterSaveRequest request = SaveRequest(file, nullptr);
    request.size = 4;
    request.vectorRoute = 0;
    EXPECT_EQ(fltSave(&request), ERROR_RECORD_SIZE);
    request.size = kKvFilterSaveRequestSize;
    EXPECT_EQ(fltSave(&request), ERROR_FILE_FORMAT);  // a raster request, even without an object
    request.vectorRoute = 1;
    EXPECT_EQ(fltSave(&request), ERROR_INV_PARAMETER);
    request.vectorObject = vector.get();
    request.fileName = nullptr;
    EXPECT_EQ(fltSave(&request), ERROR_INV_PARAMETER);
    request.fileName = u"/no/such/folder/out.svg";
    EXPECT_EQ(fltSave(&request), ERROR_FILE_CREATE);

    // An open descriptor takes the text as it is.
    const std::string path = kvtest::ScratchPath("handle.svg");
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(fd, 0);
    request.fileName = nullptr;
    request.fileHandle = fd;
    EXPECT_EQ(fltSave(&request), SUCCESS);
    ::close(fd);
    EXPECT_EQ(kvtest::ReadFileBytes(path).substr(0, kProlog.size()), kProlog);
}

TEST(VectorWriter, AMissingLibraryIsNotSupportedAndTheRasterRoadCarriesOn)
{
    SetVectorLibraryName("/no/such/folder/libkvvec.so.1");
    int dummy = 0;
    const std::u16string file = kvtest::Wide(kvtest::ScratchPath("missing.svg"));
    KvFilterSaveRequest save = SaveRequest(file, &dummy);
    EXPECT_EQ(fltSave(&save), ERROR_NOT_SUPPORTED);

    kvtest::ScratchFile svg("plain.svg", R"~(<svg xmlns="http://www.w3.org/2000/svg" width="4" height="4"/>)~");
    KvFilterFileInfo info{};
    KvFilterInfoRequest infoRequest = kvtest::InfoRequest(svg.wide, info, nullptr);
    infoRequest.vectorRoute = 1;
    EXPECT_EQ(fltInfo(&infoRequest), ERROR_NOT_SUPPORTED);
    KvBitmap target = kvtest::Target(4, 4, 24, KV_ORDER_BGR);
    kvtest::Rows rows;
    KvFilterLoadRequest load = kvtest::LoadRequest(svg.wide, &target, &rows, nullptr);
    load.vectorRoute = 1;
    load.vectorObject = &dummy;
    EXPECT_EQ(fltLoad(&load), ERROR_NOT_SUPPORTED);
    EXPECT_EQ(load.vectorObject, nullptr);
    load.vectorRoute = 0;
    EXPECT_EQ(fltLoad(&load), SUCCESS);
    EXPECT_EQ(rows.bytes.size(), 4u);

    // A library without every call the plug-in uses counts as missing.
    SetVectorLibraryName("libz.so.1");
    EXPECT_EQ(fltSave(&save), ERROR_NOT_SUPPORTED);
    SetVectorLibraryName(nullptr);
}
