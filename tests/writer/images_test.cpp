// Images on the recording engine: the whole bitmap as a PNG data URI that
// decodes back to the same pixels, the bottom images of opacity -1.0, and
// the flag that drops images.
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "writer/writer_test_support.h"

namespace {

using kvtest::Object;
using kvtest::Recording;
using kvtest::Rgb;

struct OwnedBitmap {
    KvBitmap bitmap{};
    ~OwnedBitmap() { K_BitmapFree(&bitmap); }
};

// A small picture whose every pixel differs: w x h at the depth, with a
// grey palette below 16 bits and alpha at 32.
void MakePicture(OwnedBitmap& picture, int w, int h, uint32_t depth, uint32_t flags = 0)
{
    ASSERT_EQ(K_BitmapInit(&picture.bitmap, kKvBitmapSize, w, h, depth, KV_ORDER_BGR), SUCCESS);
    picture.bitmap.flags |= flags;
    ASSERT_EQ(K_BitmapAllocate(&picture.bitmap), SUCCESS);
    for (int y = 0; y < h; ++y) {
        uint8_t* row = picture.bitmap.data + size_t(y) * picture.bitmap.bytesPerLine;
        for (size_t i = 0; i < picture.bitmap.bytesPerLine; ++i)
            row[i] = uint8_t(37 * y + 11 * i + 5);
    }
}

// The href of the first image element.
std::u16string ImageHref(SvgHandle document)
{
    SvgHandle image = nullptr;
    if (K_SvgSelectSingleNode(document, u"//image", &image) != SUCCESS || !image)
        return u"";
    KvChar* href = nullptr;
    K_SvgGetElementAttributeValue(image, u"xlink:href", &href);
    std::u16string text = href ? href : u"";
    K_SvgFreeMemory(href);
    K_SvgFreeNode(image);
    return text;
}

// The pixels of a bitmap at 32 bits, blue first, row by row.
std::vector<uint8_t> Pixels32(const KvBitmap& bitmap)
{
    KvBitmap converted{};
    EXPECT_EQ(K_BitmapConvert(&converted, &bitmap, 32, KV_ORDER_BGR), SUCCESS);
    std::vector<uint8_t> pixels;
    for (int y = 0; y < converted.height; ++y) {
        const uint8_t* row = converted.data + size_t(y) * converted.bytesPerLine;
        pixels.insert(pixels.end(), row, row + size_t(converted.width) * 4);
    }
    K_BitmapFree(&converted);
    return pixels;
}

TEST(WriterImages, DataUriDecodesBackToTheSamePixels)
{
    const struct {
        const char* name;
        uint32_t depth;
        uint32_t flags;
    } cases[] = {
        {"1 bit", 1, 0},   {"4 bits, saved at 8", 4, 0}, {"8 bits", 8, 0},
        {"16 bits 5-6-5, saved at 24", 16, 0},         {"16-bit grey", 16, KV_BITMAP_GREY},
        {"24 bits", 24, 0}, {"32 bits with alpha", 32, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        OwnedBitmap picture;
        MakePicture(picture, 5, 3, c.depth, c.flags);
        Recording recording;
        const KvRectangle destination = {10, 20, 50, 30}, source = {0, 0, 5, 3};
        ASSERT_EQ(recording->DrawImage(&picture.bitmap, &destination, &source, 1.0), SUCCESS);
        const std::u16string href = ImageHref(recording.document());
        ASSERT_EQ(href.rfind(u"data:image/png;base64,", 0), 0u);
        SvgDataUri uri{};
        ASSERT_EQ(K_SvgParseDataUri(href.c_str(), &uri, kSvgDataUriSize), SUCCESS);
        void* png = nullptr;
        size_t pngSize = 0;
        ASSERT_EQ(K_SvgDecodeDataUriToMemory(&uri, &png, &pngSize), SUCCESS);
        OwnedBitmap decoded;
        const int32_t loaded = K_BitmapLoadMemory(png, pngSize, &decoded.bitmap, kKvBitmapSize, 0, KV_ORDER_BGR);
        K_SvgFreeMemory(png);
        ASSERT_EQ(loaded, SUCCESS);
        EXPECT_EQ(decoded.bitmap.width, 5);
        EXPECT_EQ(decoded.bitmap.height, 3);
        EXPECT_EQ(Pixels32(decoded.bitmap), Pixels32(picture.bitmap));
    }
}

TEST(WriterImages, ElementTakesTheDestinationStateAndOpacity)
{
    OwnedBitmap picture;
    MakePicture(picture, 2, 2, 24);
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    const KvMatrix shift = {1, 0, 0, 1, 3, 4, 0};
    ASSERT_EQ(e.SetTransform(&shift), SUCCESS);
    const KvRectangle destination = {10, 20, 50, 30};
    // Only a part of the bitmap was asked for; all of it is embedded.
    const KvRectangle corner = {0, 0, 1, 1};
    ASSERT_EQ(e.DrawImage(&picture.bitmap, &destination, &corner, 0.25), SUCCESS);
    const std::u16string href = ImageHref(recording.document());
    std::string body = recording.Body();
    const size_t start = body.find(" xlink:href=\"");
    ASSERT_NE(start, std::string::npos);
    body.erase(start, body.find('"', start + 13) - start + 1);
    EXPECT_EQ(body,
              R"~(<image id="Image1" transform="matrix(1 0 0 1 3 4)" preserveAspectRatio="none" x="10" y="20" height="30" width="50" opacity="0.25"/>)~");
    EXPECT_GT(href.size(), 30u);
}

TEST(WriterImages, CallsThatDrawNoImage)
{
    OwnedBitmap picture;
    MakePicture(picture, 2, 2, 24);
    const KvRectangle destination = {0, 0, 4, 4}, whole = {0, 0, 2, 2}, empty = {0, 0, 0, 2};
    {
        Recording recording;
        EXPECT_EQ(recording->DrawImage(nullptr, &destination, &whole, 1.0), ERROR_INV_PARAMETER);
        EXPECT_EQ(recording->DrawImage(&picture.bitmap, &destination, &empty, 1.0), SUCCESS);
        EXPECT_EQ(recording.Body(), "");
    }
    SvgFileOptions options{};
    options.size = kSvgFileOptionsSize;
    options.width = options.height = options.dpiX = options.dpiY = -1.0;
    options.flags = SVG_DRAW_DROP_IMAGES;
    Recording dropping(&options);
    EXPECT_EQ(dropping->DrawImage(&picture.bitmap, &destination, &whole, 1.0), SUCCESS);
    EXPECT_EQ(dropping.Body(), "");
}

TEST(WriterImages, BottomImagesStandBeforeEverythingInTheirOrder)
{
    OwnedBitmap picture;
    MakePicture(picture, 1, 1, 24);
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    Object<kvdrw::SolidBrush> brush(e);
    const KvColor red = Rgb(255, 0, 0);
    ASSERT_EQ(e.CreateSolidBrush(brush.out(), &red), SUCCESS);
    const KvRectangle whole = {0, 0, 1, 1};
    const KvRectangle first = {1, 0, 1, 1}, second = {2, 0, 1, 1}, plain = {3, 0, 1, 1}, third = {4, 0, 1, 1};
    ASSERT_EQ(e.DrawRectangle(nullptr, brush.get(), 0, 0, 9, 9), SUCCESS);
    ASSERT_EQ(e.DrawImage(&picture.bitmap, &first, &whole, -1.0), SUCCESS);
    ASSERT_EQ(e.DrawImage(&picture.bitmap, &plain, &whole, 1.0), SUCCESS);
    ASSERT_EQ(e.DrawImage(&picture.bitmap, &second, &whole, -1.0), SUCCESS);
    ASSERT_EQ(e.DrawImage(&picture.bitmap, &third, &whole, -1.0), SUCCESS);
    SvgNodesIterator children{};
    children.size = kSvgNodesIteratorSize;
    ASSERT_EQ(K_SvgSelectNodes(recording.document(), u"/svg/*", &children), SUCCESS);
    std::vector<std::u16string> order;
    for (int32_t i = 0; i < children.count && children.nodes[i]; ++i) {
        KvChar* id = nullptr;
        K_SvgGetElementAttributeValue(children.nodes[i], u"id", &id);
        KvChar* name = nullptr;
        K_SvgGetElementName(children.nodes[i], &name);
        order.push_back(id ? std::u16string(id) : std::u16string(name));
        K_SvgFreeMemory(id);
        K_SvgFreeMemory(name);
    }
    K_SvgFreeIterator(&children);
    // The same bitmap is embedded each time: nothing is shared.
    EXPECT_EQ(order, (std::vector<std::u16string>{u"Image1", u"Image3", u"Image4", u"rect", u"Image2"}));
}

}  // namespace
