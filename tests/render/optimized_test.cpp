// The render-optimised state as a caller sees it: the same pixels as a plain
// draw, nesting of Begin and End, large documents over several blocks, and
// the state dropped when the tree changes.
#include <string>

#include <gtest/gtest.h>

#include "api/document_fixture.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg.h"

namespace {

using kvtest::Handle;

class Canvas {
public:
    Canvas(int width, int height)
    {
        EXPECT_EQ(K_BitmapInit(&bitmap_, kKvBitmapSize, width, height, 32, KV_ORDER_BGR), SUCCESS);
        EXPECT_EQ(K_BitmapAllocate(&bitmap_), SUCCESS);
    }
    ~Canvas() { K_BitmapFree(&bitmap_); }
    KvBitmap* get() { return &bitmap_; }
    std::string Pixels() const { return std::string(reinterpret_cast<const char*>(bitmap_.data), bitmap_.dataSize); }
    uint32_t At(int x, int y) const
    {
        const uint8_t* p = bitmap_.data + static_cast<size_t>(y) * bitmap_.bytesPerLine + static_cast<size_t>(x) * 4;
        return (uint32_t(p[3]) << 24) | (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | p[0];
    }

private:
    KvBitmap bitmap_{};
};

constexpr uint32_t kOpaqueRed = 0xFFFF0000u;

const char kScene[] = R"~(<svg xmlns="http://www.w3.org/2000/svg" width="60" height="40" viewBox="0 0 30 20" IsFlat="true">)~"
                      R"~(<linearGradient id="g" x1="0" y1="0" x2="30" y2="0"><stop offset="0" stop-color="#00f"/>)~"
                      R"~(<stop offset="1" stop-color="#0f0"/></linearGradient>)~"
                      R"~(<clipPath id="c"><rect x="0" y="0" width="20" height="20"/></clipPath>)~"
                      R"~(<rect width="30" height="10" fill="url(#g)"/>)~"
                      R"~(<path d="M0 10 L30 10 L30 20 Z" fill="red" clip-path="url(#c)"/>)~"
                      R"~(<circle cx="5" cy="15" r="4" stroke="black" stroke-width="2" fill="yellow"/>)~"
                      R"~(<text x="2" y="8" font-family="Liberation Sans" font-size="6">Ab</text></svg>)~";

}  // namespace

TEST(RenderOptimized, DrawsTheSamePixelsAsAPlainDraw)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(kScene, document), SUCCESS);
    Canvas plain(60, 40), optimized(60, 40);
    ASSERT_EQ(K_SvgRasterizeDocument(plain.get(), document, nullptr), SUCCESS);
    ASSERT_EQ(K_SvgBeginRenderOptimizeDocument(document), SUCCESS);
    EXPECT_EQ(K_SvgIsRenderOptimizedDocument(document), 1);
    ASSERT_EQ(K_SvgRasterizeDocument(optimized.get(), document, nullptr), SUCCESS);
    EXPECT_TRUE(plain.Pixels() == optimized.Pixels());
    // A second draw reuses the cached paths.
    Canvas again(60, 40);
    ASSERT_EQ(K_SvgRasterizeDocument(again.get(), document, nullptr), SUCCESS);
    EXPECT_TRUE(plain.Pixels() == again.Pixels());
    EXPECT_EQ(K_SvgEndRenderOptimizeDocument(document), SUCCESS);
}

TEST(RenderOptimized, BeginNestsAndEndWithoutBeginIsRefused)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(kScene, document), SUCCESS);
    EXPECT_EQ(K_SvgEndRenderOptimizeDocument(document), ERROR_INV_PARAMETER);
    ASSERT_EQ(K_SvgBeginRenderOptimizeDocument(document), SUCCESS);
    ASSERT_EQ(K_SvgBeginRenderOptimizeDocument(document), SUCCESS);
    EXPECT_EQ(K_SvgEndRenderOptimizeDocument(document), SUCCESS);
    EXPECT_EQ(K_SvgIsRenderOptimizedDocument(document), 1);
    EXPECT_EQ(K_SvgEndRenderOptimizeDocument(document), SUCCESS);
    EXPECT_EQ(K_SvgIsRenderOptimizedDocument(document), 0);
    EXPECT_EQ(K_SvgEndRenderOptimizeDocument(document), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgIsRenderOptimizedDocument(nullptr), 0);
}

TEST(RenderOptimized, RefusesADocumentThatIsNotFlat)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(R"(<svg xmlns="http://www.w3.org/2000/svg"><rect width="1" height="1"/></svg>)", document),
              SUCCESS);
    EXPECT_EQ(K_SvgBeginRenderOptimizeDocument(document), ERROR_NOT_FLAT);
    EXPECT_EQ(K_SvgIsRenderOptimizedDocument(document), 0);
    Handle rect;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"//rect", rect.out()), SUCCESS);
    EXPECT_EQ(K_SvgBeginRenderOptimizeDocument(rect), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgIsRenderOptimizedDocument(rect), 0);
}

TEST(RenderOptimized, AnEmptyClipPathHidesWhatItClips)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(R"~(<svg xmlns="http://www.w3.org/2000/svg" width="10" height="10" IsFlat="true">)~"
                               R"~(<clipPath id="c"/><rect width="10" height="10" fill="red" clip-path="url(#c)"/></svg>)~",
                               document),
              SUCCESS);
    Canvas plain(10, 10), optimized(10, 10);
    ASSERT_EQ(K_SvgRasterizeDocument(plain.get(), document, nullptr), SUCCESS);
    EXPECT_EQ(plain.At(5, 5), kOpaqueRed);
    ASSERT_EQ(K_SvgBeginRenderOptimizeDocument(document), SUCCESS);
    ASSERT_EQ(K_SvgRasterizeDocument(optimized.get(), document, nullptr), SUCCESS);
    EXPECT_EQ(optimized.At(5, 5), 0u);  // no bounds on the root, so no background either
    K_SvgEndRenderOptimizeDocument(document);
}

TEST(RenderOptimized, ALargeDocumentDrawsItsLastElementFromASecondBlock)
{
    // 10,001 shapes: the last lands past the first block of entries.
    std::string text = R"(<svg xmlns="http://www.w3.org/2000/svg" width="100" height="100" IsFlat="true">)";
    for (int i = 0; i < 10000; ++i)
        text += R"(<rect x="0" y="0" width="1" height="1" fill="#00ff00"/>)";
    text += R"(<rect x="90" y="90" width="10" height="10" fill="#ff0000"/></svg>)";
    Handle document;
    ASSERT_EQ(kvtest::LoadText(text, document), SUCCESS);
    ASSERT_EQ(K_SvgBeginRenderOptimizeDocument(document), SUCCESS);
    Canvas canvas(100, 100);
    ASSERT_EQ(K_SvgRasterizeDocument(canvas.get(), document, nullptr), SUCCESS);
    EXPECT_EQ(canvas.At(95, 95), kOpaqueRed);
    K_SvgEndRenderOptimizeDocument(document);
}

TEST(RenderOptimized, AnEditDropsTheStateUnlessInsideAnUpdate)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(kScene, document), SUCCESS);
    Handle circle;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"//circle", circle.out()), SUCCESS);

    ASSERT_EQ(K_SvgBeginRenderOptimizeDocument(document), SUCCESS);
    ASSERT_EQ(K_SvgBeginUpdateDocument(document), SUCCESS);
    ASSERT_EQ(K_SvgSetElementAttributeValue(circle, u"fill", u"blue"), SUCCESS);
    ASSERT_EQ(K_SvgEndUpdateDocument(document), SUCCESS);
    EXPECT_EQ(K_SvgIsRenderOptimizedDocument(document), 1);

    ASSERT_EQ(K_SvgSetElementAttributeValue(circle, u"fill", u"green"), SUCCESS);
    EXPECT_EQ(K_SvgIsRenderOptimizedDocument(document), 0);
    EXPECT_EQ(K_SvgEndRenderOptimizeDocument(document), ERROR_INV_PARAMETER);
}

TEST(RenderOptimized, BoundsComeFromTheStoredRectangles)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(kScene, document), SUCCESS);
    ASSERT_EQ(K_SvgCalculateBounds(document, 1), SUCCESS);
    SvgBounds plain{};
    ASSERT_EQ(K_SvgGetBounds(document, &plain, kSvgBoundsSize), SUCCESS);
    ASSERT_EQ(K_SvgBeginRenderOptimizeDocument(document), SUCCESS);
    ASSERT_EQ(K_SvgCalculateBounds(document, 1), SUCCESS);
    SvgBounds optimized{};
    ASSERT_EQ(K_SvgGetBounds(document, &optimized, kSvgBoundsSize), SUCCESS);
    EXPECT_DOUBLE_EQ(plain.x, optimized.x);
    EXPECT_DOUBLE_EQ(plain.width, optimized.width);
    EXPECT_DOUBLE_EQ(plain.height, optimized.height);
    K_SvgEndRenderOptimizeDocument(document);
}
