// The round trip: the tool's fixed scene drawn once on the bitmap engine
// and once on the recording engine, the recorded document rasterised at the
// same size, and the two pictures compared pixel by pixel. The recorded
// document is flat as it is written, so it is drawn as it stands; its
// flattened copy is drawn as well and its share reported, since the
// flattener does not carry text and images across yet.
//
// They cannot agree everywhere: the recorded form drops what the drawing
// contract does not carry into SVG (clips other than replace and union,
// custom dash patterns, dashes scaled by the pen, text outlines added to a
// path, path algebra, hairline pens, the part of a bitmap asked for), and
// patterns are not drawn by the renderer. Text differs by a pixel or two:
// lines are placed on whole-pixel metrics and keep their trailing blanks,
// and vertical text takes the horizontal baseline offset. The share of matching pixels is
// held above what those account for, so a regression anywhere else shows.
// KVSVG_WRITER_PICTURES=DIR keeps direct.png, recorded.png and diff.png.
#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "common/test_files.h"
#include "selftest_scene.h"
#include "writer/writer_test_support.h"

namespace {

struct Canvas {
    KvBitmap bitmap{};
    Canvas()
    {
        EXPECT_EQ(K_BitmapInit(&bitmap, kKvBitmapSize, kSelftestSceneWidth, kSelftestSceneHeight, 32, KV_ORDER_BGR),
                  SUCCESS);
        EXPECT_EQ(K_BitmapAllocate(&bitmap), SUCCESS);
    }
    ~Canvas() { K_BitmapFree(&bitmap); }
    const uint8_t* At(int x, int y) const { return bitmap.data + size_t(y) * bitmap.bytesPerLine + size_t(x) * 4; }
};

// The share of pixels whose channels all lie within 8/255; `diff` (optional)
// gets white where they agree and darker grey the more they differ.
double MatchingShare(const Canvas& one, const Canvas& other, Canvas* diff)
{
    size_t matching = 0;
    for (int y = 0; y < kSelftestSceneHeight; ++y) {
        for (int x = 0; x < kSelftestSceneWidth; ++x) {
            const uint8_t* a = one.At(x, y);
            const uint8_t* b = other.At(x, y);
            int worst = 0;
            for (int channel = 0; channel < 3; ++channel)
                worst = std::max(worst, std::abs(a[channel] - b[channel]));
            if (worst <= 8)
                ++matching;
            if (diff) {
                uint8_t* d = diff->bitmap.data + size_t(y) * diff->bitmap.bytesPerLine + size_t(x) * 4;
                d[0] = d[1] = d[2] = uint8_t(255 - std::min(255, worst * 4));
                d[3] = 255;
            }
        }
    }
    return double(matching) / (double(kSelftestSceneWidth) * kSelftestSceneHeight);
}

void SavePicture(const KvBitmap& bitmap, const std::string& name)
{
    const char* folder = std::getenv("KVSVG_WRITER_PICTURES");
    const std::string path = folder ? std::string(folder) + "/" + name : kvtest::ScratchPath(name);
    void* png = nullptr;
    size_t size = 0;
    ASSERT_EQ(K_BitmapSavePng(&bitmap, 24, &png, &size), SUCCESS);
    EXPECT_TRUE(kvtest::WriteFileBytes(path, std::string_view(static_cast<const char*>(png), size)));
    K_SvgFreeMemory(png);
}

TEST(WriterRoundTrip, RecordedSceneRastersLikeTheDirectDrawing)
{
    Canvas direct;
    {
        void* engine = nullptr;
        ASSERT_EQ(K_DrawingCreateBitmapEngine(&direct.bitmap, &engine), SUCCESS);
        const bool drawn = DrawSelftestScene(*static_cast<kvdrw::Engine*>(engine));
        K_DrawingDestroyEngine(engine);
        ASSERT_TRUE(drawn);
    }

    kvtest::Recording recording;
    ASSERT_EQ(recording.status(), SUCCESS);
    ASSERT_TRUE(DrawSelftestScene(recording.engine()));
    recording.DestroyEngine();
    SvgRenderOptions options{};
    options.structSize = kSvgRenderOptionsSize;
    options.renderFlags = SVG_RENDER_FULL_PAINT;
    Canvas recorded;
    ASSERT_EQ(K_SvgRasterizeDocument(&recorded.bitmap, recording.document(), &options), SUCCESS);
    Canvas flattened;
    {
        SvgHandle flat = nullptr;
        ASSERT_EQ(K_SvgFlatDocument(recording.document(), &flat, nullptr), SUCCESS);
        const int32_t rasterised = K_SvgRasterizeDocument(&flattened.bitmap, flat, &options);
        K_SvgFreeNode(flat);
        ASSERT_EQ(rasterised, SUCCESS);
    }
    std::printf("round trip through the flattener: %.2f%% of pixels within 8/255 per channel\n",
                MatchingShare(direct, flattened, nullptr) * 100.0);

    Canvas diff;
    const double share = MatchingShare(direct, recorded, &diff);
    std::printf("round trip: %.2f%% of pixels within 8/255 per channel\n", share * 100.0);
    SavePicture(direct.bitmap, "direct.png");
    SavePicture(recorded.bitmap, "recorded.png");
    SavePicture(diff.bitmap, "diff.png");
    // 89.9% when this was written; what is left is accounted for above.
    EXPECT_GT(share, 0.88);
}

// The renderer runs unchanged against the recording engine: the recorded
// scene drawn onto a second recording engine records nearly the same
// picture. What differs is what the renderer hands over in calls that the
// SVG form does not carry: dashes come as custom patterns, a clip that has
// several shapes comes as an intersection, and vertical text is offset by
// its baseline once more.
TEST(WriterRoundTrip, RendererRecordsARecordedDocumentAgain)
{
    kvtest::Recording first;
    ASSERT_TRUE(DrawSelftestScene(first.engine()));
    first.DestroyEngine();
    SvgFileOptions sized{};
    sized.size = kSvgFileOptionsSize;
    sized.width = kSelftestSceneWidth;
    sized.height = kSelftestSceneHeight;
    sized.dpiX = sized.dpiY = -1.0;
    kvtest::Recording second(&sized);
    SvgRenderOptions options{};
    options.structSize = kSvgRenderOptionsSize;
    options.renderFlags = SVG_RENDER_FULL_PAINT;
    ASSERT_EQ(K_SvgDrawDocument(&second.engine(), first.document(), &options), SUCCESS);
    second.DestroyEngine();

    Canvas once, twice, diff;
    ASSERT_EQ(K_SvgRasterizeDocument(&once.bitmap, first.document(), &options), SUCCESS);
    ASSERT_EQ(K_SvgRasterizeDocument(&twice.bitmap, second.document(), &options), SUCCESS);
    const double share = MatchingShare(once, twice, &diff);
    std::printf("recorded again: %.2f%% of pixels within 8/255 per channel\n", share * 100.0);
    SavePicture(twice.bitmap, "recorded-again.png");
    SavePicture(diff.bitmap, "recorded-again-diff.png");
    // 99.0% when this was written.
    EXPECT_GT(share, 0.98);
}

}  // namespace
