#include <cstring>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <zlib.h>

#include "base/tracked_memory.h"
#include "common/test_files.h"
#include "document/svg_zip.h"
#include "kvsvg/kvsvg.h"

namespace {

// Compresses with plain zlib, so the tests do not depend on the writers under test.
std::string Deflate(std::string_view text, int windowBits = 31)
{
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, 6, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string out(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

std::string Gzip(std::string_view text)
{
    return Deflate(text, 31);
}

// A text of exactly `size` bytes that the sniffing takes for SVG.
std::string SvgOfSize(size_t size)
{
    std::string text = "<svg>";
    text.resize(size - 6, ' ');
    return text + "</svg>";
}

std::string Utf16Le(std::string_view ascii)
{
    std::string out = "\xFF\xFE";
    for (char c : ascii) {
        out += c;
        out += '\0';
    }
    return out;
}

std::string Utf16Be(std::string_view ascii)
{
    std::string out = "\xFE\xFF";
    for (char c : ascii) {
        out += '\0';
        out += c;
    }
    return out;
}

// Lowers the output limit for one test and puts it back afterwards.
class OutputLimit {
public:
    explicit OutputLimit(size_t limit) : previous_(svg_zip_internal::SetMaxDecompressedBytesForTesting(limit)) {}
    ~OutputLimit() { svg_zip_internal::SetMaxDecompressedBytesForTesting(previous_); }

private:
    size_t previous_;
};

struct Unzipped {
    int32_t status;
    std::string text;  // the whole out block, *outSize bytes
    bool outsCleared;
};

Unzipped UnzipMemory(std::string_view compressed)
{
    void* block = reinterpret_cast<void*>(1);
    size_t size = 99;
    Unzipped result{UnzipSvgMemory(compressed.data(), compressed.size(), &block, &size), {}, !block && !size};
    if (block)
        result.text.assign(static_cast<const char*>(block), size);
    KV_FREE(block);
    return result;
}

Unzipped UnzipFile(std::string_view compressed)
{
    std::string source = kvtest::ScratchPath("unzip_source.svgz");
    std::string target = kvtest::ScratchPath("unzip_target.svg");
    kvtest::WriteFileBytes(source, compressed);
    Unzipped result{UnzipSvgFile(source.c_str(), target.c_str()), kvtest::ReadFileBytes(target), true};
    return result;
}

const std::string kDrawing =
    "<?xml version=\"1.0\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"100\" height=\"50\">\n"
    "  <rect x=\"1\" y=\"2\" width=\"30\" height=\"40\" fill=\"red\"/>\n"
    "  <rect x=\"1\" y=\"2\" width=\"30\" height=\"40\" fill=\"red\"/>\n"
    "  <rect x=\"1\" y=\"2\" width=\"30\" height=\"40\" fill=\"red\"/>\n</svg>\n";

}  // namespace

TEST(SniffSvgText, TellsSvgFromOtherTextByItsFirstBytes)
{
    const std::string padding(70, ' ');
    const struct {
        const char* label;
        std::string text;
        int32_t answer;
        uint32_t kind;
    } cases[] = {
        {"declaration", "<?xml version=\"1.0\"?><svg/>", SUCCESS, 0},
        {"utf-8 mark, then declaration", "\xEF\xBB\xBF<?xml version=\"1.0\"?><svg/>", SUCCESS, 3},
        {"any three bytes before the declaration", "abc<?xml version=\"1.0\"?>", SUCCESS, 3},
        {"doctype", "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\">", SUCCESS, 0},
        {"bare root", "<svg xmlns=\"http://www.w3.org/2000/svg\"/>", SUCCESS, 0},
        {"root shorter than 11 bytes", "<svg/>", SUCCESS, 0},
        {"html page with a declaration", "<?xml version=\"1.0\"?><html><body/></html>", ERROR_FILE_FORMAT, 0},
        {"annotations with a declaration", "<?xml version=\"1.0\"?><Annotations><Page/></Annotations>",
         ERROR_FILE_FORMAT, 0},
        {"html page after a utf-8 mark", "\xEF\xBB\xBF<?xml version=\"1.0\"?><html>", ERROR_FILE_FORMAT, 0},
        {"html beyond the first 70 bytes", "<?xml version=\"1.0\"?>" + padding + "<html>", SUCCESS, 0},
        {"plain html", "<html><body>no drawing</body></html>", ERROR_FILE_FORMAT, 0},
        {"other doctype", "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0//EN\">", ERROR_FILE_FORMAT, 0},
        {"space before the root", " <svg/>", ERROR_FILE_FORMAT, 0},
        {"upper-case root", "<SVG/>", ERROR_FILE_FORMAT, 0},
        {"empty", "", ERROR_FILE_FORMAT, 0},
        {"annotation file", "<?xml version=\"1.0\"?><!-- KOLV XML Annotation File --><svg/>", ERROR_FILE_FORMAT,
         0},
        {"annotation mark at byte 200", "<svg>" + std::string(195, ' ') + "KOLV XML Annotation File",
         ERROR_FILE_FORMAT, 0},
        {"annotation mark past byte 256", "<svg>" + std::string(260, ' ') + "KOLV XML Annotation File", SUCCESS, 0},
        {"annotation mark after a utf-8 mark", "\xEF\xBB\xBF<?xml?>KOLV XML Annotation File", ERROR_FILE_FORMAT, 3},
        {"utf-16 little-endian declaration", Utf16Le("<?xml version=\"1.0\"?><svg/>"), ERROR_FILE_FORMAT, 0},
        {"utf-16 big-endian declaration", Utf16Be("<?xml version=\"1.0\"?><svg/>"), ERROR_FILE_FORMAT, 0},
        {"utf-16 little-endian root", Utf16Le("<svg/>"), ERROR_FILE_FORMAT, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        uint32_t kind = 7;
        EXPECT_EQ(SniffSvgText(c.text.data(), c.text.size(), &kind), c.answer);
        EXPECT_EQ(kind, c.kind);
        EXPECT_EQ(SniffSvgText(c.text.data(), c.text.size(), nullptr), c.answer);
    }
}

TEST(SniffSvgText, NullTextIsNotSvgAndLeavesTheKind)
{
    uint32_t kind = 7;
    EXPECT_EQ(SniffSvgText(nullptr, 5, &kind), FAILURE);
    EXPECT_EQ(SniffSvgText(nullptr, 500, &kind), FAILURE);
    EXPECT_EQ(kind, 7u);
}

TEST(HasGzipMark, NeedsTheMarkTheMethodAndFourBytes)
{
    const struct {
        std::string bytes;
        bool marked;
    } cases[] = {
        {std::string("\x1F\x8B\x08\x00", 4), true},
        {std::string("\x1F\x8B\x08", 3), false},
        {std::string("\x1F\x8B\x07\x00", 4), false},
        {std::string("\x8B\x1F\x08\x00", 4), false},
        {"<svg/>", false},
        {Gzip("<svg/>"), true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.bytes));
        EXPECT_EQ(HasGzipMark(c.bytes.data(), c.bytes.size()), c.marked);
    }
    EXPECT_FALSE(HasGzipMark(nullptr, 10));
}

TEST(UnzipSvg, GivesBackTheTextFromMemoryAndFromAFile)
{
    std::string compressed = Gzip(kDrawing);
    ASSERT_LT(compressed.size(), kDrawing.size());

    Unzipped memory = UnzipMemory(compressed);
    EXPECT_EQ(memory.status, SUCCESS);
    EXPECT_EQ(memory.text, kDrawing);

    Unzipped file = UnzipFile(compressed);
    EXPECT_EQ(file.status, SUCCESS);
    EXPECT_EQ(file.text, kDrawing);
}

TEST(UnzipSvg, TextShorterThanItsGzipComesOutAtTheGzipSizeWithAZeroTail)
{
    // The block starts at the input's size and is never trimmed: the parser
    // sees the text followed by zeros.
    std::string compressed = Gzip("<svg/>");
    ASSERT_EQ(compressed.size(), 26u);

    Unzipped memory = UnzipMemory(compressed);
    EXPECT_EQ(memory.status, SUCCESS);
    EXPECT_EQ(memory.text, std::string("<svg/>") + std::string(20, '\0'));

    Unzipped file = UnzipFile(compressed);
    EXPECT_EQ(file.status, SUCCESS);
    EXPECT_EQ(file.text, "<svg/>");
}

TEST(UnzipSvg, LongTextSpanningManySlicesComesBackWhole)
{
    std::string text = "<svg>";
    for (int i = 0; text.size() < 300000; ++i)
        text += "<rect id=\"r" + std::to_string(i * 7919 % 100003) + "\"/>";
    text += "</svg>";

    Unzipped memory = UnzipMemory(Gzip(text));
    EXPECT_EQ(memory.status, SUCCESS);
    EXPECT_TRUE(memory.text == text);

    Unzipped file = UnzipFile(Gzip(text));
    EXPECT_EQ(file.status, SUCCESS);
    EXPECT_TRUE(file.text == text);
}

TEST(UnzipSvg, RefusesStreamsThatAreBrokenOrNotSvg)
{
    std::string whole = Gzip(kDrawing);
    std::string htmlPage = "<?xml version=\"1.0\"?>\n<html xmlns=\"http://www.w3.org/1999/xhtml\">" + kDrawing;
    ASSERT_NE(htmlPage.find("<html"), std::string::npos);
    const struct {
        const char* label;
        std::string input;
    } cases[] = {
        {"gzip cut short", whole.substr(0, whole.size() - 12)},
        {"gzip cut inside the header", whole.substr(0, 6)},
        {"corrupt deflate data", whole.substr(0, 12) + std::string(40, '\xAA') + whole.substr(52)},
        {"html page starting with a declaration", Gzip("<?xml version=\"1.0\"?><html><body/></html>" + kDrawing)},
        {"utf-16 text", Gzip(Utf16Le(kDrawing))},
        {"zlib wrapper instead of gzip", Deflate(kDrawing, 15)},
        {"raw deflate", Deflate(kDrawing, -15)},
        {"not compressed", kDrawing},
        {"empty", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        Unzipped memory = UnzipMemory(c.input);
        EXPECT_EQ(memory.status, FAILURE);
        EXPECT_TRUE(memory.outsCleared);
        EXPECT_EQ(UnzipFile(c.input).status, FAILURE);
    }
}

TEST(UnzipSvg, SniffingStopsANonSvgTextAfterItsFirst256Bytes)
{
    std::string page = "<html>" + std::string(100000, 'x') + "</html>";
    Unzipped file = UnzipFile(Gzip(page));
    EXPECT_EQ(file.status, FAILURE);
    EXPECT_EQ(file.text, page.substr(0, 256));
}

TEST(UnzipSvg, ChecksArgumentsAndOversizedInputFirst)
{
    void* block = nullptr;
    size_t size = 0;
    const char bytes[4] = {};
    EXPECT_EQ(UnzipSvgMemory(bytes, 4, nullptr, &size), ERROR_INV_PARAMETER);
    EXPECT_EQ(UnzipSvgMemory(bytes, 4, &block, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(UnzipSvgMemory(nullptr, 4, &block, &size), ERROR_INV_PARAMETER);
    // Refused by size alone: the bytes past the first four are never read.
    EXPECT_EQ(UnzipSvgMemory(bytes, size_t(0x80000000), &block, &size), ERROR_FILE_OPEN);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST(UnzipSvg, FileFormNamesWhichFileFailed)
{
    std::string source = kvtest::ScratchPath("unzip_names.svgz");
    std::string target = kvtest::ScratchPath("unzip_names.svg");
    std::string missing = kvtest::ScratchPath("no_such.svgz");
    std::string uncreatable = kvtest::ScratchPath("no_such_folder/out.svg");
    kvtest::WriteFileBytes(source, Gzip(kDrawing));

    EXPECT_EQ(UnzipSvgFile(missing.c_str(), target.c_str()), ERROR_FILE_OPEN);
    EXPECT_EQ(UnzipSvgFile(source.c_str(), uncreatable.c_str()), ERROR_FILE_OPEN);
    EXPECT_EQ(UnzipSvgFile(nullptr, target.c_str()), ERROR_FILE_OPEN);
    EXPECT_EQ(UnzipSvgFile(source.c_str(), "/dev/full"), ERROR_FILE_WRITE);
    EXPECT_EQ(UnzipSvgFile(source.c_str(), target.c_str()), SUCCESS);
}

TEST(UnzipSvg, RefusesOutputBeyondTheLimit)
{
    const size_t limit = 1 << 20;
    OutputLimit lowered(limit);
    const struct {
        const char* label;
        size_t textSize;
        int32_t status;
    } cases[] = {
        {"exactly at the limit", limit, SUCCESS},
        {"one byte over", limit + 1, ERROR_FILE_OPEN},
        {"ten megabyte bomb", 10 << 20, ERROR_FILE_OPEN},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        std::string compressed = Gzip(SvgOfSize(c.textSize));
        ASSERT_LT(compressed.size(), 20000u);

        Unzipped memory = UnzipMemory(compressed);
        EXPECT_EQ(memory.status, c.status);
        EXPECT_EQ(memory.text.size(), c.status == SUCCESS ? c.textSize : 0u);
        EXPECT_EQ(memory.outsCleared, c.status != SUCCESS);

        // The file form stops writing at the limit rather than filling the disk.
        Unzipped file = UnzipFile(compressed);
        EXPECT_EQ(file.status, c.status);
        EXPECT_LE(file.text.size(), limit);
    }
}

TEST(UnzipSvg, RunningOutOfMemoryAnywhereLeavesNothingBehind)
{
    std::string compressed = Gzip(kDrawing + std::string(20000, ' '));
    for (long successes = 0;; ++successes) {
        SCOPED_TRACE(successes);
        TrackedFailAllocationAfter(successes);
        void* block = nullptr;
        size_t size = 0;
        int32_t status = UnzipSvgMemory(compressed.data(), compressed.size(), &block, &size);
        TrackedFailAllocationAfter(-1);
        if (status == SUCCESS) {
            EXPECT_EQ(size, kDrawing.size() + 20000);
            KV_FREE(block);
            EXPECT_GE(successes, 3);  // the out block, the inflate state and its window
            break;
        }
        // zlib's own allocations surface as its refusal, the block's as no memory.
        EXPECT_TRUE(status == ERROR_NO_MEMORY || status == FAILURE) << status;
        EXPECT_EQ(block, nullptr);
        EXPECT_EQ(size, 0u);
        EXPECT_EQ(TrackedLiveBlocks(), 0u);
        ASSERT_LT(successes, 50);
    }
}
