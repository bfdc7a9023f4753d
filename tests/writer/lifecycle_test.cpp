// K_Draw_ToSvg and the engine's life: the document it makes, the options
// record, the element limit, the order of destruction, and what lack of
// memory at any allocation leaves behind.
#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"
#include "document/svg_document_handler.h"
#include "writer/svg_writer_engine.h"
#include "writer/writer_test_support.h"

namespace {

using kvtest::Object;
using kvtest::Recording;
using kvtest::Rgb;

SvgFileOptions Options(double width, double height, double dpiX, double dpiY)
{
    SvgFileOptions options{};
    options.size = kSvgFileOptionsSize;
    options.width = width;
    options.height = height;
    options.dpiX = dpiX;
    options.dpiY = dpiY;
    return options;
}

TEST(WriterLifecycle, NewDocumentHasAFlatSvgRootShapedByTheOptions)
{
    const SvgFileOptions sized = Options(800, 600, -1, -1);
    const SvgFileOptions resolved = Options(-1, -1, 300, 150);
    const SvgFileOptions oneSide = Options(800, -1, 72, -1);
    const SvgFileOptions empty = Options(0, 600, -1, -1);
    const struct {
        const char* name;
        const SvgFileOptions* options;
        std::string root;
        double resolution;
    } cases[] = {
        {"no options", nullptr, R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" xmlns="http://www.w3.org/2000/svg" IsFlat="true"/>)~", 96},
        {"size", &sized, R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" height="600" width="800" xmlns="http://www.w3.org/2000/svg" IsFlat="true"/>)~",
         96},
        {"resolution", &resolved,
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" xmlns="http://www.w3.org/2000/svg" IsFlat="true" DpiX="300" DpiY="150"/>)~", 150},
        // Sizes and resolutions come in pairs.
        {"one side only", &oneSide, R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" xmlns="http://www.w3.org/2000/svg" IsFlat="true"/>)~", 96},
        {"an empty size", &empty, R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" xmlns="http://www.w3.org/2000/svg" IsFlat="true"/>)~", 96},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording(c.options);
        ASSERT_EQ(recording.status(), SUCCESS);
        EXPECT_EQ(recording->GetResolution(), c.resolution);
        recording.DestroyEngine();
        EXPECT_EQ(kvtest::SavedText(recording.document()), c.root);
        int32_t flat = 0;
        ASSERT_EQ(K_SvgIsFlatDocument(recording.document(), &flat), SUCCESS);
        EXPECT_EQ(flat, 1);
    }
}

TEST(WriterLifecycle, ChecksArgumentsAndLeavesOutsAloneOnFailure)
{
    void* engine = reinterpret_cast<void*>(0x1);
    SvgHandle document = reinterpret_cast<SvgHandle>(0x2);
    EXPECT_EQ(K_Draw_ToSvg(nullptr, &document, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_Draw_ToSvg(&engine, nullptr, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(engine, reinterpret_cast<void*>(0x1));
    EXPECT_EQ(document, reinterpret_cast<SvgHandle>(0x2));
    EXPECT_EQ(K_Draw_DestroySvgEngine(nullptr), ERROR_INV_PARAMETER);
    // The engine is not an object it can delete.
    Recording recording;
    EXPECT_EQ(recording->DeleteObject(&recording.engine()), ERROR_INV_PARAMETER);
}

TEST(WriterLifecycle, FieldsCountOnlyWhereTheRecordHoldsThem)
{
    struct Bitmap {
        KvBitmap bitmap{};
        ~Bitmap() { K_BitmapFree(&bitmap); }
    } picture;
    ASSERT_EQ(K_BitmapInit(&picture.bitmap, kKvBitmapSize, 1, 1, 24, KV_ORDER_BGR), SUCCESS);
    ASSERT_EQ(K_BitmapAllocate(&picture.bitmap), SUCCESS);
    const KvRectangle whole = {0, 0, 1, 1};
    const struct {
        const char* name;
        uint32_t size;
        bool readsFlags;
        uint32_t limit;
    } cases[] = {
        {"whole record", kSvgFileOptionsSize, true, 7},
        {"up to the flags", offsetof(SvgFileOptions, maximumElements), true, 0},
        {"the short record before the flags", offsetof(SvgFileOptions, flags), false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SvgFileOptions options = Options(-1, -1, -1, -1);
        options.size = c.size;
        options.flags = SVG_DRAW_DROP_IMAGES | SVG_DRAW_RECORD_ONLY;
        options.maximumElements = 7;
        Recording recording(&options);
        ASSERT_EQ(recording.status(), SUCCESS);
        EXPECT_EQ(K_SvgGetMaximumElements(recording.document()), c.limit);
        EXPECT_EQ(recording->IsMeasureOnly(), c.readsFlags ? 1 : 0);
        ASSERT_EQ(recording->DrawImage(&picture.bitmap, &whole, &whole, 1.0), SUCCESS);
        EXPECT_EQ(recording.Body().empty(), c.readsFlags);
    }
}

TEST(WriterLifecycle, ElementLimitRefusesAndCountersRunOn)
{
    SvgFileOptions options = Options(-1, -1, -1, -1);
    options.maximumElements = 3;  // the root and two more
    Recording recording(&options);
    ASSERT_EQ(recording.status(), SUCCESS);
    EXPECT_EQ(K_SvgGetMaximumElements(recording.document()), 3u);
    kvdrw::Engine& e = recording.engine();
    Object<kvdrw::Font> font(e);
    Object<kvdrw::SolidBrush> ink(e);
    const KvColor black = Rgb(0, 0, 0);
    ASSERT_EQ(e.CreateFont(font.out(), 0, u"Arial", 12, 0), SUCCESS);
    ASSERT_EQ(e.CreateSolidBrush(ink.out(), &black), SUCCESS);
    const KvPoint at = {0, 0};
    EXPECT_EQ(e.DrawString(u"a", 1, font.get(), ink.get(), &at, nullptr), SUCCESS);
    EXPECT_EQ(e.DrawRectangle(nullptr, ink.get(), 0, 0, 1, 1), SUCCESS);
    EXPECT_EQ(e.DrawString(u"b", 1, font.get(), ink.get(), &at, nullptr), ERROR_MAX_ELEMENTS);
    EXPECT_EQ(e.DrawRectangle(nullptr, ink.get(), 0, 0, 1, 1), ERROR_MAX_ELEMENTS);
    K_SvgSetMaximumElements(recording.document(), 0);
    EXPECT_EQ(e.DrawString(u"c", 1, font.get(), ink.get(), &at, nullptr), SUCCESS);
    const std::string body = recording.Body();
    // The refused text used Text2; it is not given again.
    EXPECT_NE(body.find(R"~(id="Text1")~"), std::string::npos);
    EXPECT_EQ(body.find(R"~(id="Text2")~"), std::string::npos);
    EXPECT_NE(body.find(R"~(id="Text3")~"), std::string::npos);
}

TEST(WriterLifecycle, CountersRunOnAcrossPages)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    Object<kvdrw::Font> font(e);
    Object<kvdrw::SolidBrush> ink(e);
    const KvColor black = Rgb(0, 0, 0);
    ASSERT_EQ(e.CreateFont(font.out(), 0, u"Arial", 12, 0), SUCCESS);
    ASSERT_EQ(e.CreateSolidBrush(ink.out(), &black), SUCCESS);
    const KvPoint at = {0, 0};
    ASSERT_EQ(e.BeginDocument(), SUCCESS);
    for (int page = 0; page < 2; ++page) {
        ASSERT_EQ(e.BeginPage(10, 10, nullptr), SUCCESS);
        ASSERT_EQ(e.DrawString(u"a", 1, font.get(), ink.get(), &at, nullptr), SUCCESS);
        ASSERT_EQ(e.DrawLinkedString(u"a", u"#x", 1, font.get(), ink.get(), &at, nullptr), SUCCESS);
        ASSERT_EQ(e.EndPage(), SUCCESS);
    }
    ASSERT_EQ(e.EndDocument(), SUCCESS);
    const std::string body = recording.Body();
    for (const char* id : {"Text4", "Anchor2"})
        EXPECT_NE(body.find(id), std::string::npos) << id;
}

TEST(WriterLifecycle, EngineGoesFirstThenTheDocumentAndNothingIsLeft)
{
    const size_t blocks = TrackedLiveBlocks();
    const size_t resources = TrackedLiveResources();
    void* engine = nullptr;
    SvgHandle document = nullptr;
    ASSERT_EQ(K_Draw_ToSvg(&engine, &document, nullptr), SUCCESS);
    auto& e = *static_cast<kvdrw::Engine*>(engine);
    kvdrw::Pen* pen = nullptr;
    const KvColor black = Rgb(0, 0, 0);
    ASSERT_EQ(e.CreatePen(&pen, &black, 2, 1), SUCCESS);
    ASSERT_EQ(e.DrawLine(pen, 0, 0, 5, 5), SUCCESS);
    ASSERT_EQ(e.SaveState(), 1);
    const KvRectangle box = {0, 0, 3, 3};
    ASSERT_EQ(e.SetClipRect(&box, 0), SUCCESS);
    ASSERT_EQ(e.DeleteObject(pen), SUCCESS);
    ASSERT_EQ(K_Draw_DestroySvgEngine(engine), SUCCESS);
    // The document stands on its own: still flat and still editable.
    int32_t flat = 0;
    ASSERT_EQ(K_SvgIsFlatDocument(document, &flat), SUCCESS);
    EXPECT_EQ(flat, 1);
    EXPECT_EQ(K_SvgFreeNode(document), SUCCESS);
    EXPECT_EQ(TrackedLiveBlocks(), blocks);
    EXPECT_EQ(TrackedLiveResources(), resources);
}

TEST(WriterLifecycle, LackOfMemoryInToSvgLeavesNothingBehind)
{
    const SvgFileOptions options = Options(100, 100, 96, 96);
    bool succeeded = false;
    int failures = 0;
    for (long failAfter = 0; failAfter < 2000 && !succeeded; ++failAfter) {
        SCOPED_TRACE(failAfter);
        void* engine = reinterpret_cast<void*>(0x1);
        SvgHandle document = reinterpret_cast<SvgHandle>(0x2);
        TrackedFailAllocationAfter(failAfter);
        const int32_t status = K_Draw_ToSvg(&engine, &document, &options);
        TrackedFailAllocationAfter(-1);
        if (status == SUCCESS) {
            succeeded = true;
            EXPECT_EQ(K_Draw_DestroySvgEngine(engine), SUCCESS);
            K_SvgFreeNode(document);
            break;
        }
        ++failures;
        EXPECT_EQ(status, ERROR_NO_MEMORY);
        EXPECT_EQ(engine, reinterpret_cast<void*>(0x1));
        EXPECT_EQ(document, reinterpret_cast<SvgHandle>(0x2));
        ASSERT_EQ(TrackedLiveBlocks(), 0u) << DescribeLiveTracked(5);
        ASSERT_EQ(TrackedLiveResources(), 0u) << DescribeLiveTracked(5);
    }
    EXPECT_TRUE(succeeded);
    std::printf("K_Draw_ToSvg failed cleanly at each of its first %d allocations\n", failures);
    EXPECT_GE(failures, 2);
}

// Every call of a small scene, with each of its allocations failing in
// turn: the status is lack of memory, and the document holds what it held
// before (text keeps the lines written before the failure, as it may).
TEST(WriterLifecycle, LackOfMemoryInDrawCallsLeavesTheDocumentWhole)
{
    struct Picture {
        KvBitmap bitmap{};
        ~Picture() { K_BitmapFree(&bitmap); }
    } picture;
    ASSERT_EQ(K_BitmapInit(&picture.bitmap, kKvBitmapSize, 4, 4, 32, KV_ORDER_BGR), SUCCESS);
    ASSERT_EQ(K_BitmapAllocate(&picture.bitmap), SUCCESS);
    using Call = std::function<int32_t(kvdrw::Engine&)>;
    const KvPoint star[] = {{0, 0}, {10, 0}, {5, 8}, {2, 9}};
    const KvPoint figure[] = {{0, 0}, {10, 0}, {10, 5}, {5, 10}, {0, 10}};
    const int32_t types[] = {kvdrw::kPathMoveTo, kvdrw::kPathLineTo, kvdrw::kPathBezierTo, kvdrw::kPathBezierTo,
                             kvdrw::kPathBezierToClose};
    const KvPoint curve[] = {{0, 0}, {3, 3}, {6, 3}, {9, 0}};
    const KvRectangle box = {0, 0, 40, 100}, whole = {0, 0, 4, 4};
    const KvMatrix turn = {0, 1, -1, 0, 5, 5, 0};
    const struct {
        const char* name;
        Call call;
        bool keepsEarlierLines;
    } calls[] = {
        {"pen", [](auto& e) {
             kvdrw::Pen* pen = nullptr;
             const KvColor c = Rgb(1, 2, 3);
             int32_t status = e.CreatePen(&pen, &c, 3, kvdrw::kDashDashDotDot);
             if (status == SUCCESS)
                 e.DeleteObject(pen);
             return status;
         }, false},
        {"polygon", [&](auto& e) {
             kvdrw::SolidBrush* brush = nullptr;
             const KvColor c = Rgb(1, 2, 3);
             int32_t status = e.CreateSolidBrush(&brush, &c);
             if (status == SUCCESS) {
                 status = e.DrawPolygon(nullptr, brush, star, 4, 0);
                 e.DeleteObject(brush);
             }
             return status;
         }, false},
        {"path data", [&](auto& e) {
             kvdrw::Pen* pen = nullptr;
             const KvColor c = Rgb(1, 2, 3);
             int32_t status = e.CreatePen(&pen, &c, 1, 0);
             if (status == SUCCESS) {
                 status = e.DrawPathData(pen, nullptr, figure, types, 5, 1);
                 e.DeleteObject(pen);
             }
             return status;
         }, false},
        {"gradient", [&](auto& e) {
             kvdrw::LinearGradientBrush* brush = nullptr;
             const KvColor a = Rgb(1, 2, 3), b = Rgb(4, 5, 6);
             int32_t status = e.CreateGradientBrushFromRect(&brush, &box, &a, &b, 30);
             if (status == SUCCESS)
                 e.DeleteObject(brush);
             return status;
         }, false},
        {"clip", [&](auto& e) {
             kvdrw::GraphicsPath* path = nullptr;
             int32_t status = e.CreatePath(&path);
             if (status != SUCCESS)
                 return status;
             status = path->AddEllipse(0, 0, 9, 9);
             if (status == SUCCESS)
                 status = e.SetClipPath(path, kvdrw::kCombineReplace);
             if (status == SUCCESS)
                 status = e.SetClipRect(&box, kvdrw::kCombineUnion);
             e.DeleteObject(path);
             return status;
         }, false},
        {"hatch", [&](auto& e) {
             kvdrw::HatchBrush* brush = nullptr;
             const KvColor a = Rgb(1, 2, 3), b = Rgb(4, 5, 6);
             int32_t status = e.CreateHatchBrush(&brush, 1, &a, &b);
             if (status == SUCCESS)
                 e.DeleteObject(brush);
             return status;
         }, false},
        {"transform and bezier", [&](auto& e) {
             kvdrw::Pen* pen = nullptr;
             const KvColor c = Rgb(1, 2, 3);
             int32_t status = e.CreatePen(&pen, &c, 1, 0);
             if (status != SUCCESS)
                 return status;
             const int32_t token = e.SaveState();
             status = token < 0 ? token : e.SetTransform(&turn);
             if (status == SUCCESS)
                 status = e.DrawBeziers(pen, curve, 4);
             e.RestoreState(token);
             e.DeleteObject(pen);
             return status;
         }, false},
        {"image", [&](auto& e) { return e.DrawImage(&picture.bitmap, &whole, &whole, -1.0); }, false},
        {"text in a box", [&](auto& e) {
             kvdrw::Font* font = nullptr;
             kvdrw::SolidBrush* brush = nullptr;
             const KvColor c = Rgb(1, 2, 3);
             int32_t status = e.CreateFont(&font, 0, u"Arial", 12, kvdrw::kFontBold);
             if (status == SUCCESS)
                 status = e.CreateSolidBrush(&brush, &c);
             if (status == SUCCESS)
                 status = e.DrawStringInRect(u"aaa bbb ccc", -1, font, brush, &box, nullptr);
             if (brush)
                 e.DeleteObject(brush);
             if (font)
                 e.DeleteObject(font);
             return status;
         }, true},
    };
    const size_t blocks = TrackedLiveBlocks();
    for (const auto& call : calls) {
        SCOPED_TRACE(call.name);
        bool succeeded = false;
        for (long failAfter = 0; failAfter < 5000 && !succeeded; ++failAfter) {
            SCOPED_TRACE(failAfter);
            {
                Recording recording;
                ASSERT_EQ(recording.status(), SUCCESS);
                const std::string before = recording.Body();
                TrackedFailAllocationAfter(failAfter);
                const int32_t status = call.call(recording.engine());
                TrackedFailAllocationAfter(-1);
                if (status == SUCCESS) {
                    succeeded = true;
                    continue;
                }
                EXPECT_EQ(status, ERROR_NO_MEMORY);
                const std::string after = recording.Body();
                if (call.keepsEarlierLines)
                    EXPECT_EQ(after.substr(0, before.size()), before);
                else
                    EXPECT_EQ(after, before);
            }
            ASSERT_EQ(TrackedLiveBlocks(), blocks) << DescribeLiveTracked(5);
            ASSERT_EQ(TrackedLiveResources(), 0u) << DescribeLiveTracked(5);
        }
        EXPECT_TRUE(succeeded);
    }
}

}  // namespace

namespace {

// The internal form for whole-document operations: an engine on a document
// the caller owns, drawing after what the root already holds, and giving
// the update bracket back when it goes.
TEST(WriterLifecycle, EngineOnAnExistingDocumentDrawsAfterItsContent)
{
    const char text[] = R"~(<svg width="20" height="10"><circle cx="1" cy="1" r="1"/></svg>)~";
    SvgHandle document = nullptr;
    ASSERT_EQ(K_SvgLoadDocumentMemory(text, sizeof text - 1, &document, nullptr), SUCCESS);
    kvdrw::svg::SvgWriterEngine* engine = nullptr;
    ASSERT_EQ(kvdrw::svg::CreateSvgWriterForDocument(&engine, *AsDocument(document), nullptr), SUCCESS);
    {
        Object<kvdrw::SolidBrush> brush(*engine);
        const KvColor red = Rgb(255, 0, 0);
        ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &red), SUCCESS);
        ASSERT_EQ(engine->DrawRectangle(nullptr, brush.get(), 0, 0, 2, 2), SUCCESS);
    }
    kvdrw::svg::SvgWriterEngine::Destroy(engine);
    // The engine's update bracket went with it: none is left open.
    EXPECT_EQ(K_SvgEndUpdateDocument(document), FAILURE);
    EXPECT_EQ(kvtest::BodyText(document),
              R"~(<circle cx="1" cy="1" r="1"/><rect x="0" y="0" width="2" height="2" fill="rgb(255,0,0)"/>)~");
    K_SvgFreeNode(document);
}

}  // namespace
