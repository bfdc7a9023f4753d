#include <cstring>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <pugixml.hpp>
#include <zlib.h>

#include "base/tracked_memory.h"
#include "common/test_files.h"
#include "document/svg_xml_streams.h"
#include "document/svg_zip.h"
#include "kvsvg/kvsvg.h"

namespace {

// The flags the document saves with: raw, or indented, always with a mark.
constexpr unsigned kRawSave = pugi::format_raw | pugi::format_write_bom;

class StringWriter : public pugi::xml_writer {
public:
    void write(const void* data, size_t size) override { text.append(static_cast<const char*>(data), size); }
    std::string text;
};

std::string SaveText(const pugi::xml_document& document, pugi::xml_encoding encoding = pugi::encoding_utf8)
{
    StringWriter writer;
    document.save(writer, "\t", kRawSave, encoding);
    return writer.text;
}

// Undoes a gzip stream with plain zlib, so the writers are checked against
// something other than the unzip code under test.
std::string Gunzip(std::string_view compressed)
{
    z_stream stream{};
    EXPECT_EQ(inflateInit2(&stream, 31), Z_OK);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    std::string text;
    char buffer[4096];
    int result;
    do {
        stream.next_out = reinterpret_cast<Bytef*>(buffer);
        stream.avail_out = sizeof buffer;
        result = inflate(&stream, Z_NO_FLUSH);
        text.append(buffer, sizeof buffer - stream.avail_out);
    } while (result == Z_OK);
    EXPECT_EQ(result, Z_STREAM_END);
    inflateEnd(&stream);
    return text;
}

// One element, and one large enough that pugixml hands it over in many blocks.
void LoadDrawings(pugi::xml_document& small, pugi::xml_document& large)
{
    small.load_string("<svg/>");
    pugi::xml_node root = large.append_child("svg");
    for (int i = 0; i < 3000; ++i) {
        pugi::xml_node rect = root.append_child("rect");
        rect.append_attribute("id") = ("r" + std::to_string(i)).c_str();
        rect.append_attribute("x") = i * 37 % 1009;
        rect.append_attribute("width") = i % 97;
    }
}

std::string BlockText(const void* block, size_t size)
{
    return block ? std::string(static_cast<const char*>(block), size) : std::string();
}

// The same tree, by the text pugixml makes of it.
std::string Canonical(const uint8_t* bytes, size_t size)
{
    pugi::xml_document document;
    EXPECT_TRUE(document.load_buffer(bytes, size));
    return SaveText(document);
}

}  // namespace

TEST(SvgXmlReaderWriter, LoadFromFileReportsWhyItCannotRead)
{
    std::string empty = kvtest::ScratchPath("empty.svg");
    std::string drawing = kvtest::ScratchPath("drawing.svg");
    kvtest::WriteFileBytes(empty, "");
    kvtest::WriteFileBytes(drawing, "<svg/>");
    std::string folder = kvtest::ScratchPath("");
    const struct {
        const char* label;
        std::string path;
        int32_t status;
        std::string data;
    } cases[] = {
        {"missing file", kvtest::ScratchPath("missing.svg"), ERROR_FILE_OPEN, ""},
        {"empty file", empty, ERROR_FILE_READ, ""},
        {"folder", folder, ERROR_FILE_OPEN, ""},
        {"drawing", drawing, SUCCESS, "<svg/>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        SvgXmlReaderWriter reader;
        EXPECT_EQ(reader.LoadFromFile(c.path.c_str()), c.status);
        EXPECT_EQ(BlockText(reader.data(), reader.dataSize()), c.data);
        EXPECT_EQ(reader.dataSize(), c.data.size());
    }
}

TEST(SvgXmlReaderWriter, LoadFromMemoryKeepsAPrivateCopy)
{
    SvgXmlReaderWriter reader;
    char source[] = "<svg/>";
    EXPECT_EQ(reader.LoadFromMemory(source, 6), SUCCESS);
    source[1] = 'x';
    EXPECT_EQ(BlockText(reader.data(), reader.dataSize()), "<svg/>");

    // A refused load still drops what the reader held before.
    EXPECT_EQ(reader.LoadFromMemory(nullptr, 6), ERROR_INV_PARAMETER);
    EXPECT_EQ(reader.data(), nullptr);
    EXPECT_EQ(reader.LoadFromMemory(source, 0), ERROR_INV_PARAMETER);
    EXPECT_EQ(reader.dataSize(), 0u);
}

TEST(SvgXmlReaderWriter, LoadsWithoutMemoryHoldNothing)
{
    std::string drawing = kvtest::ScratchPath("drawing_no_memory.svg");
    kvtest::WriteFileBytes(drawing, "<svg/>");
    SvgXmlReaderWriter reader;

    TrackedFailAllocationAfter(0);
    EXPECT_EQ(reader.LoadFromFile(drawing.c_str()), ERROR_NO_MEMORY);
    EXPECT_EQ(reader.data(), nullptr);
    TrackedFailAllocationAfter(0);
    EXPECT_EQ(reader.LoadFromMemory("<svg/>", 6), ERROR_NO_MEMORY);
    EXPECT_EQ(reader.data(), nullptr);
    EXPECT_EQ(reader.dataSize(), 0u);
}

TEST(SvgXmlReaderWriter, SavedTreeReadsBackTheSame)
{
    pugi::xml_document document;
    document.load_string("<svg width=\"10\"><rect x=\"1\"/></svg>");
    std::string path = kvtest::ScratchPath("saved.svg");
    {
        SvgXmlReaderWriter writer;
        ASSERT_EQ(writer.open(path.c_str()), SUCCESS);
        document.save(writer, "\t", kRawSave, pugi::encoding_utf8);
        writer.close();
        EXPECT_EQ(writer.getStatus(), SUCCESS);
    }
    EXPECT_EQ(kvtest::ReadFileBytes(path),
              "\xEF\xBB\xBF<?xml version=\"1.0\"?><svg width=\"10\"><rect x=\"1\"/></svg>");

    SvgXmlReaderWriter reader;
    ASSERT_EQ(reader.LoadFromFile(path.c_str()), SUCCESS);
    EXPECT_EQ(Canonical(reader.data(), reader.dataSize()), SaveText(document));
}

TEST(SvgXmlReaderWriter, OpenRefusesAFileItCannotCreate)
{
    SvgXmlReaderWriter writer;
    std::string path = kvtest::ScratchPath("no_such_folder/out.svg");
    EXPECT_EQ(writer.open(path.c_str()), ERROR_FILE_CREATE);
    // Saving on regardless is a lost write, reported after the save.
    pugi::xml_document document;
    document.load_string("<svg/>");
    document.save(writer, "\t", kRawSave);
    EXPECT_EQ(writer.getStatus(), ERROR_FILE_WRITE);
}

TEST(SvgXmlReaderWriter, KeepsTheFirstWriteFailureAndWritesNothingMore)
{
    SvgXmlReaderWriter writer;
    ASSERT_EQ(writer.open("/dev/full"), SUCCESS);
    writer.write("<svg/>", 6);
    EXPECT_EQ(writer.getStatus(), ERROR_FILE_WRITE);

    std::string path = kvtest::ScratchPath("after_failure.svg");
    ASSERT_EQ(writer.open(path.c_str()), SUCCESS);
    writer.write("<svg/>", 6);
    writer.close();
    EXPECT_EQ(writer.getStatus(), ERROR_FILE_WRITE);
    EXPECT_EQ(kvtest::ReadFileBytes(path), "");
}

TEST(SvgZXmlWriter, CompressedSaveUnzipsToTheSameText)
{
    pugi::xml_document small, large;
    LoadDrawings(small, large);
    const struct {
        const char* label;
        const pugi::xml_document& document;
    } cases[] = {{"one svg element", small}, {"three thousand elements", large}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        std::string path = kvtest::ScratchPath("compressed.svgz");
        {
            SvgZXmlWriter writer;
            ASSERT_EQ(writer.open(path.c_str()), SUCCESS);
            c.document.save(writer, "\t", kRawSave, pugi::encoding_utf8);
            writer.close();
            EXPECT_EQ(writer.getStatus(), SUCCESS);
        }
        std::string compressed = kvtest::ReadFileBytes(path);
        EXPECT_TRUE(HasGzipMark(compressed.data(), compressed.size()));
        EXPECT_TRUE(Gunzip(compressed) == SaveText(c.document));

        // And the loader's road back: unzip to a file, read it, parse it.
        std::string unzipped = kvtest::ScratchPath("unzipped.svg");
        ASSERT_EQ(UnzipSvgFile(path.c_str(), unzipped.c_str()), SUCCESS);
        SvgXmlReaderWriter reader;
        ASSERT_EQ(reader.LoadFromFile(unzipped.c_str()), SUCCESS);
        EXPECT_TRUE(Canonical(reader.data(), reader.dataSize()) == SaveText(c.document));
    }
}

TEST(SvgZXmlWriter, TreeThatWritesNothingMakesAnEmptyFile)
{
    std::string path = kvtest::ScratchPath("nothing.svgz");
    kvtest::WriteFileBytes(path, "old content");
    {
        SvgZXmlWriter writer;  // the destructor finishes and closes
        ASSERT_EQ(writer.open(path.c_str()), SUCCESS);
        writer.write("ignored", 0);
    }
    EXPECT_EQ(kvtest::ReadFileBytes(path), "");
}

TEST(SvgZXmlWriter, KeepsTheFirstFailureAndStopsCompressing)
{
    // Incompressible blocks, so that deflate has output for the full device
    // before the stream is finished.
    std::string noise(65536, '\0');
    uint32_t seed = 12345;
    for (char& byte : noise) {
        seed = seed * 1103515245u + 12345u;
        byte = static_cast<char>(seed >> 24);
    }
    SvgZXmlWriter writer;
    ASSERT_EQ(writer.open("/dev/full"), SUCCESS);
    writer.write(noise.data(), noise.size());
    EXPECT_EQ(writer.getStatus(), SUCCESS);  // one block behind: nothing compressed yet
    writer.write(noise.data(), noise.size());
    EXPECT_EQ(writer.getStatus(), ERROR_FILE_WRITE);

    // A larger block would need a new copy; the failed writer asks for none.
    TrackedFailAllocationAfter(0);
    writer.write(noise.data(), noise.size() * 2);
    writer.close();
    EXPECT_EQ(writer.getStatus(), ERROR_FILE_WRITE);
}

TEST(SvgZXmlWriter, RunningOutOfMemoryIsReportedAfterTheSave)
{
    pugi::xml_document small, large;
    LoadDrawings(small, large);
    std::string path = kvtest::ScratchPath("no_memory.svgz");
    for (long successes = 0;; ++successes) {
        SCOPED_TRACE(successes);
        SvgZXmlWriter writer;
        ASSERT_EQ(writer.open(path.c_str()), SUCCESS);
        TrackedFailAllocationAfter(successes);
        large.save(writer, "\t", kRawSave);
        writer.close();
        TrackedFailAllocationAfter(-1);
        if (writer.getStatus() == SUCCESS) {
            EXPECT_TRUE(Gunzip(kvtest::ReadFileBytes(path)) == SaveText(large));
            break;
        }
        EXPECT_EQ(writer.getStatus(), ERROR_NO_MEMORY);
        EXPECT_EQ(TrackedLiveBlocks(), 0u);
        ASSERT_LT(successes, 50);
    }
}

TEST(SvgXmlMemoryWriter2, CountingPassSizesTheFillPassExactly)
{
    pugi::xml_document small, large;
    LoadDrawings(small, large);
    for (const pugi::xml_document* document : {&small, &large}) {
        size_t count = 0;
        SvgXmlMemoryWriter2 counter(nullptr, &count);
        document->save(counter, "\t", kRawSave);
        std::string expected = SaveText(*document);
        ASSERT_EQ(count, expected.size());

        // The document's plain memory save: a zeroed block one byte longer, so
        // the text ends in a zero.
        TrackedPtr<uint8_t> block(static_cast<uint8_t*>(KV_ALLOC_ZERO(count + 1, 1)));
        SvgXmlMemoryWriter2 filler(block.get(), &count);
        document->save(filler, "\t", kRawSave);
        EXPECT_EQ(filler.getStatus(), SUCCESS);
        EXPECT_TRUE(BlockText(block.get(), count) == expected);
        EXPECT_EQ(block.get()[count], 0);

        SvgXmlReaderWriter reader;
        ASSERT_EQ(reader.LoadFromMemory(block.get(), count), SUCCESS);
        EXPECT_TRUE(Canonical(reader.data(), reader.dataSize()) == expected);
    }
}

TEST(SvgXmlMemoryWriter2, FillPassCopiesOnlyWhatFitsAndSaysNothing)
{
    char buffer[12];
    std::memset(buffer, '.', sizeof buffer);
    size_t count = 8;
    SvgXmlMemoryWriter2 filler(reinterpret_cast<uint8_t*>(buffer), &count);
    filler.write("abcde", 5);
    filler.write("fghij", 5);  // would pass the count: dropped
    filler.write("fgh", 3);    // fits exactly where the dropped one would have gone
    filler.write("i", 1);
    EXPECT_EQ(filler.getStatus(), SUCCESS);
    EXPECT_EQ(std::string(buffer, sizeof buffer), "abcdefgh....");
}

TEST(SvgXmlMemoryWriter, AppendsEveryWriteToTheCallersBlock)
{
    pugi::xml_document small, large;
    LoadDrawings(small, large);
    void* block = reinterpret_cast<void*>(1);
    size_t size = 99;
    {
        SvgXmlMemoryWriter writer(&block, &size);
        EXPECT_EQ(block, nullptr);  // cleared at once, so a failure never leaves a stale pointer
        large.save(writer, "\t", kRawSave);
        EXPECT_EQ(writer.finish(), SUCCESS);
    }
    EXPECT_TRUE(BlockText(block, size) == SaveText(large));
    KV_FREE(block);
}

TEST(SvgZXmlMemoryWriter, CompressedSaveUnzipsToTheSameText)
{
    pugi::xml_document small, large;
    LoadDrawings(small, large);
    for (const pugi::xml_document* document : {&small, &large}) {
        void* block = nullptr;
        size_t size = 0;
        {
            SvgZXmlMemoryWriter writer(&block, &size);
            document->save(writer, "\t", kRawSave);
            EXPECT_EQ(writer.finish(), SUCCESS);
        }
        std::string compressed = BlockText(block, size);
        KV_FREE(block);
        EXPECT_TRUE(HasGzipMark(compressed.data(), compressed.size()));
        EXPECT_TRUE(Gunzip(compressed) == SaveText(*document));

        void* text = nullptr;
        size_t textSize = 0;
        ASSERT_EQ(UnzipSvgMemory(compressed.data(), compressed.size(), &text, &textSize), SUCCESS);
        SvgXmlReaderWriter reader;
        ASSERT_EQ(reader.LoadFromMemory(text, textSize), SUCCESS);
        KV_FREE(text);
        EXPECT_TRUE(Canonical(reader.data(), reader.dataSize()) == SaveText(*document));
    }
}

TEST(SvgZXmlMemoryWriter, NothingWrittenGivesNoBlock)
{
    void* block = reinterpret_cast<void*>(1);
    size_t size = 99;
    SvgZXmlMemoryWriter writer(&block, &size);
    EXPECT_EQ(writer.finish(), SUCCESS);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST(SvgZXmlMemoryWriter, CompressedUtf16SaveIsRefusedWhenUnzipped)
{
    // UTF-16 survives compression, but the sniffing on the way back only
    // knows narrow text: such a drawing has to be saved uncompressed.
    pugi::xml_document document;
    document.load_string("<svg/>");
    void* block = nullptr;
    size_t size = 0;
    {
        SvgZXmlMemoryWriter writer(&block, &size);
        document.save(writer, "\t", kRawSave, pugi::encoding_utf16_le);
    }
    std::string compressed = BlockText(block, size);
    KV_FREE(block);
    EXPECT_EQ(Gunzip(compressed).substr(0, 4), std::string("\xFF\xFE<\0", 4));

    void* text = nullptr;
    size_t textSize = 0;
    EXPECT_EQ(UnzipSvgMemory(compressed.data(), compressed.size(), &text, &textSize), FAILURE);
    EXPECT_EQ(text, nullptr);
}

TEST(SvgZXmlMemoryWriter, RunningOutOfMemoryFreesTheBlockAndClearsTheCallers)
{
    pugi::xml_document small, large;
    LoadDrawings(small, large);
    for (long successes = 0;; ++successes) {
        SCOPED_TRACE(successes);
        void* block = nullptr;
        size_t size = 0;
        int32_t status;
        {
            SvgZXmlMemoryWriter writer(&block, &size);
            TrackedFailAllocationAfter(successes);
            large.save(writer, "\t", kRawSave);
            status = writer.finish();
            TrackedFailAllocationAfter(-1);
        }
        if (status == SUCCESS) {
            EXPECT_TRUE(Gunzip(BlockText(block, size)) == SaveText(large));
            KV_FREE(block);
            break;
        }
        EXPECT_EQ(status, ERROR_NO_MEMORY);
        EXPECT_EQ(block, nullptr);
        EXPECT_EQ(size, 0u);
        EXPECT_EQ(TrackedLiveBlocks(), 0u);
        ASSERT_LT(successes, 50);
    }
}
