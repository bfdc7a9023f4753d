// Pictures in the flat form: images from data URIs and files under the file
// policy, fitted to their box, and masks turning a rect or an image into a
// picture whose alpha is the mask's luminance.
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "common/test_files.h"
#include "flatten/flat_promises.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg.h"

using kvtest::FlatContent;
using kvtest::Handle;

namespace {

// 2 x 1 pixels, red then blue.
const char kRedBlue[] =
    "iVBORw0KGgoAAAANSUhEUgAAAAIAAAABCAYAAAD0In+KAAAADklEQVR4nGP4z8AAQv8BD/kD/YURmXYAAAAASUVORK5CYII=";
// 4 x 4 pixels, the left half white, the right half black, all opaque.
const char kHalfWhite[] =
    "iVBORw0KGgoAAAANSUhEUgAAAAQAAAAECAYAAACp8Z5+AAAAEklEQVR4nGP4DwUMDAwQTLoAAJ7rJ9lpDMuLAAAAAElFTkSuQmCC";

std::string DataUri(const char* base64) { return std::string("data:image/png;base64,") + base64; }

std::string Decoded(const char* base64)
{
    static const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    uint32_t buffer = 0;
    int bits = 0;
    for (const char* c = base64; *c && *c != '='; ++c) {
        buffer = buffer << 6 | static_cast<uint32_t>(alphabet.find(*c));
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out += static_cast<char>(buffer >> bits & 0xff);
        }
    }
    return out;
}

// The flat document's single image rasterised as it stands in its href:
// the pixels of the data URI, 32 bits.
struct Picture {
    int32_t width = 0, height = 0;
    std::string bgra;
};

Picture HrefPicture(const std::string& flat)
{
    Picture picture;
    const std::string marker = "xlink:href=\"";
    const size_t at = flat.find(marker);
    if (at == std::string::npos)
        return picture;
    const size_t end = flat.find('"', at + marker.size());
    const std::u16string href = kvtest::Wide(flat.substr(at + marker.size(), end - at - marker.size()));
    SvgDataUri uri{};
    if (K_SvgParseDataUri(reinterpret_cast<const KvChar*>(href.c_str()), &uri, kSvgDataUriSize) != SUCCESS)
        return picture;
    void* block = nullptr;
    size_t size = 0;
    if (K_SvgDecodeDataUriToMemory(&uri, &block, &size) != SUCCESS)
        return picture;
    KvBitmap bitmap{};
    if (K_BitmapLoadMemory(block, size, &bitmap, kKvBitmapSize, 32, KV_ORDER_BGR) == SUCCESS) {
        picture.width = bitmap.width;
        picture.height = bitmap.height;
        for (int32_t row = 0; row < bitmap.height; ++row)
            picture.bgra.append(reinterpret_cast<const char*>(bitmap.data) + row * bitmap.bytesPerLine,
                                4 * static_cast<size_t>(bitmap.width));
        K_BitmapFree(&bitmap);
    }
    K_SvgFreeMemory(block);
    return picture;
}

}  // namespace

TEST(Images, DataUrisAreFittedAndPlaced)
{
    const std::string red = DataUri(kRedBlue);
    const struct {
        const char* name;
        std::string svg;
        std::string flat;
    } cases[] = {
        {"a square box around a 2:1 picture is shrunk on its centre",
         "<svg width=\"100\" height=\"100\"><image x=\"10\" y=\"10\" width=\"80\" height=\"80\" xlink:href=\"" + red +
             "\"/></svg>",
         "<image xlink:href=\"" + red + "\" x=\"10\" y=\"30\" height=\"40\" width=\"80\"/>"},
        {"a placement bakes into the box",
         "<svg width=\"100\" height=\"100\"><g transform=\"translate(5 5) scale(2)\"><image width=\"4\" height=\"2\" "
         "xlink:href=\"" + red + "\"/></g></svg>",
         "<image xlink:href=\"" + red + "\" x=\"5\" y=\"5\" height=\"4\" width=\"8\"/>"},
        {"a turn stays as the image's transform",
         "<svg width=\"100\" height=\"100\"><image width=\"2\" height=\"1\" transform=\"rotate(90)\" xlink:href=\"" +
             red + "\"/></svg>",
         "<image xlink:href=\"" + red +
             "\" transform=\"matrix(0 1 -1 0 0 0)\" x=\"0\" y=\"0\" height=\"1\" width=\"2\"/>"},
        {"an undecodable data URI drops the image",
         R"~(<svg width="100" height="100"><image width="2" height="1" xlink:href="data:image/png;base64,AAAA"/></svg>)~",
         ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(FlatContent(c.svg), c.flat);
    }
}

TEST(Images, FilesFollowThePolicy)
{
    const std::string folderPath = kvtest::ScratchPath("images");
    std::filesystem::create_directories(folderPath + "/inner");
    ASSERT_TRUE(kvtest::WriteFileBytes(folderPath + "/inner/pic.png", Decoded(kRedBlue)));
    const std::string outside = kvtest::ScratchPath("outside.png");
    ASSERT_TRUE(kvtest::WriteFileBytes(outside, Decoded(kRedBlue)));
    std::filesystem::create_symlink(outside, folderPath + "/inner/link.png");

    auto flatten = [&](const std::string& href, uint32_t flags, bool setBase) {
        Handle source;
        const std::string svg =
            "<svg width=\"10\" height=\"10\"><image width=\"2\" height=\"1\" xlink:href=\"" + href + "\"/></svg>";
        EXPECT_EQ(kvtest::LoadText(svg, source), SUCCESS);
        if (setBase) {
            const std::u16string base = kvtest::Wide(folderPath);
            EXPECT_EQ(K_SvgSetBaseFolder(source, reinterpret_cast<const KvChar*>(base.c_str())), SUCCESS);
        }
        K_SvgFlatOptions options{kSvgFlatOptionsSize, 0, 0, flags};
        Handle flat;
        EXPECT_EQ(K_SvgFlatDocument(source, flat.out(), &options), SUCCESS);
        const std::string text = kvtest::SaveRaw(flat);
        return text.find("<image xlink:href=\"data:image/png;base64,") != std::string::npos;
    };
    const struct {
        const char* name;
        std::string href;
        uint32_t flags;
        bool setBase;
        bool shown;
    } cases[] = {
        {"an absolute path opens by default", folderPath + "/inner/pic.png", 0, false, true},
        {"a relative path opens against the base folder", "inner/pic.png", 0, true, true},
        {"inside the base folder is allowed", "inner/pic.png", SVG_FLAT_FILES_IN_BASE_FOLDER, true, true},
        {"a way out of the base folder is refused", "../outside.png", SVG_FLAT_FILES_IN_BASE_FOLDER, true, false},
        {"a link leading out of it is refused", "inner/link.png", SVG_FLAT_FILES_IN_BASE_FOLDER, true, false},
        {"the same link opens without the flag", "inner/link.png", 0, true, true},
        {"no file at all with the strict flag", folderPath + "/inner/pic.png", SVG_FLAT_NO_EXTERNAL_FILES, false,
         false},
        {"a data URI is not a file", DataUri(kRedBlue), SVG_FLAT_NO_EXTERNAL_FILES, false, true},
        {"a missing file drops the image", folderPath + "/none.png", 0, false, false},
        {"a folder drops the image", folderPath, 0, false, false},
        {"a device drops the image", "/dev/zero", 0, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(flatten(c.href, c.flags, c.setBase), c.shown);
    }
}

TEST(Masks, RectsAndImagesTakeTheMaskPicture)
{
    const std::string half = DataUri(kHalfWhite);
    const std::string mask = "<mask id=\"m\"><g><image x=\"10\" y=\"10\" width=\"4\" height=\"4\" xlink:href=\"" +
                             half + "\"/></g></mask>";
    {
        SCOPED_TRACE("a masked rect becomes its fill with the mask as alpha");
        const std::string flat = FlatContent("<svg width=\"100\" height=\"100\">" + mask +
                                             "<rect x=\"10\" y=\"10\" width=\"4\" height=\"4\" fill=\"#00ff00\" "
                                             "mask=\"url(#m)\"/></svg>");
        ASSERT_EQ(flat.rfind("<image xlink:href=\"data:image/png;base64,", 0), 0u) << flat;
        EXPECT_NE(flat.find("x=\"10\" y=\"10\" height=\"4\" width=\"4\""), std::string::npos) << flat;
        const Picture picture = HrefPicture(flat);
        ASSERT_EQ(picture.width, 4);
        ASSERT_EQ(picture.height, 4);
        // Left column green and opaque, right column clear.
        EXPECT_EQ(picture.bgra.substr(0, 4), std::string("\x00\xff\x00\xff", 4));
        EXPECT_EQ(static_cast<uint8_t>(picture.bgra[4 * 3 + 3]), 0);
    }
    {
        SCOPED_TRACE("a masked image keeps its colours under the mask");
        const std::string flat = FlatContent("<svg width=\"100\" height=\"100\">" + mask +
                                             "<image x=\"10\" y=\"10\" width=\"4\" height=\"2\" mask=\"url(#m)\" "
                                             "xlink:href=\"" + DataUri(kRedBlue) + "\"/></svg>");
        const Picture picture = HrefPicture(flat);
        ASSERT_EQ(picture.width, 4);
        ASSERT_EQ(picture.height, 2);
        EXPECT_EQ(picture.bgra.substr(0, 4), std::string("\x00\x00\xff\xff", 4));  // red, shown
        EXPECT_EQ(static_cast<uint8_t>(picture.bgra[4 * 3 + 3]), 0);               // blue, hidden
    }
    const struct {
        const char* name;
        std::string svg;
        std::string flat;
    } cases[] = {
        {"a mask without a picture drops the rect",
         R"~(<svg width="100" height="100"><mask id="m"><rect width="5" height="5" fill="white"/></mask>)~"
         R"~(<rect width="4" height="4" mask="url(#m)"/></svg>)~",
         ""},
        {"a mask that names nothing drops the rect",
         R"~(<svg width="100" height="100"><rect width="4" height="4" mask="url(#none)"/></svg>)~", ""},
        {"a circle ignores its mask",
         "<svg width=\"100\" height=\"100\">" + mask + "<circle r=\"2\" mask=\"url(#m)\"/></svg>",
         R"~(<circle cx="0" cy="0" r="2"/>)~"},
        {"a path that is no rectangle keeps its outline",
         "<svg width=\"100\" height=\"100\">" + mask + "<path d=\"M0 0 L4 0 L2 3 Z\" mask=\"url(#m)\"/></svg>",
         R"~(<path d="M0 0 L4 0 L2 3 Z"/>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(FlatContent(c.svg), c.flat);
    }
}
