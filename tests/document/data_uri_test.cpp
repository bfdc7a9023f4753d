#include <cstdio>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"
#include "base/utf.h"
#include "common/test_files.h"
#include "document/svg_data_uri.h"

namespace {

using namespace std::string_view_literals;

// One line per record, so that a table row states every field at once.
std::string Describe(const SvgDataUri& d)
{
    char line[200];
    std::snprintf(line, sizeof line, "data=%u media=%u+%u charset=%u+%u base64=%u value=%u+%u format=%u ext=%s",
                  d.isDataUri, d.mediaOffset, d.mediaLength, d.charsetOffset, d.charsetLength, d.isBase64,
                  d.valueOffset, d.valueLength, d.imageFormat, ToUtf8(d.extension).c_str());
    return line;
}

SvgDataUri Parsed(const char16_t* text)
{
    SvgDataUri dataUri{};
    EXPECT_EQ(ParseDataUri(text, &dataUri, kSvgDataUriSize), SUCCESS);
    return dataUri;
}

std::string DecodedBytes(const SvgDataUri& dataUri)
{
    void* block = reinterpret_cast<void*>(0x1);
    size_t size = 99;
    EXPECT_EQ(DecodeDataUriToMemory(&dataUri, &block, &size), SUCCESS);
    TrackedPtr<char> owned(static_cast<char*>(block));
    EXPECT_EQ(block == nullptr, size == 0);
    return std::string(owned.get() ? owned.get() : "", size);
}

struct EncodedUri {
    int32_t status;
    std::u16string text;
    size_t length;
};

EncodedUri EncodeFromMemory(std::string_view bytes)
{
    char16_t* text = nullptr;
    size_t length = 99;
    int32_t status = EncodeDataUriFromMemory(bytes.data(), bytes.size(), &text, &length);
    TrackedPtr<char16_t> owned(text);
    return {status, owned ? std::u16string(owned.get()) : std::u16string(), length};
}

EncodedUri EncodeFromFile(const std::string& path)
{
    char16_t* text = reinterpret_cast<char16_t*>(0x1);
    size_t length = 99;
    int32_t status = EncodeDataUriFromFile(kvtest::Wide(path).c_str(), &text, &length);
    TrackedPtr<char16_t> owned(text);
    return {status, owned ? std::u16string(owned.get()) : std::u16string(), length};
}

}  // namespace

TEST(DataUri, Base64MatchesTheStandardVectors)
{
    const struct { std::string_view bytes, text; } cases[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xFB\xFF"sv, "+/8="}, {"\xFF\xFE"sv, "//4="}, {"\0\0\0"sv, "AAAA"},  // both extra characters, and zeros
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::string text, bytes;
        EXPECT_TRUE(EncodeBase64(c.bytes.data(), c.bytes.size(), text));
        EXPECT_EQ(text, c.text);
        EXPECT_TRUE(DecodeBase64(kvtest::Wide(c.text), bytes));
        EXPECT_EQ(bytes, c.bytes);
    }
}

TEST(DataUri, Base64DecodingSkipsBlanksAndAcceptsMissingPadding)
{
    const struct { std::u16string_view text; std::string_view bytes; } cases[] = {
        {u"Zm9v\r\nYmFy", "foobar"}, {u" Zm 9v\t", "foo"}, {u"Zg", "f"}, {u"Zm8", "fo"},
        {u"Zg= =", "f"}, {u"Zm8= ", "fo"}, {u"  ", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        std::string bytes;
        EXPECT_TRUE(DecodeBase64(c.text, bytes));
        EXPECT_EQ(bytes, c.bytes);
    }
}

TEST(DataUri, Base64DecodingRefusesBrokenText)
{
    const std::u16string_view cases[] = {
        u"Z", u"Zm9vY",              // a lone last character carries no whole byte
        u"=", u"Z===", u"Zg=", u"Zg===", u"Zm8==", u"Zm9v=",  // padding that completes nothing
        u"Zg==Zg==", u"Zg=x",        // data after padding
        u"Zm9v!", u"Zm-_", u"Zm\u00E99v",  // outside the standard alphabet
    };
    for (std::u16string_view text : cases) {
        SCOPED_TRACE(ToUtf8(text));
        std::string bytes = "stale";
        EXPECT_FALSE(DecodeBase64(text, bytes));
        EXPECT_EQ(bytes, "");
    }
}

TEST(DataUri, ParsesEachPartIntoItsStretch)
{
    const struct { std::u16string_view text; std::string_view record; } cases[] = {
        {u"", "data=0 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"a.png", "data=0 media=0+0 charset=0+0 base64=0 value=0+5 format=0 ext="},
        {u"  a.png \t", "data=0 media=0+0 charset=0+0 base64=0 value=2+5 format=0 ext="},
        {u"   ", "data=0 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"Data:image/png;base64,QUJD", "data=0 media=0+0 charset=0+0 base64=0 value=0+26 format=0 ext="},
        {u"data:", "data=1 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"data:,", "data=1 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"data:,  ", "data=1 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"data:image/png;base64,QUJD", "data=1 media=5+9 charset=0+0 base64=1 value=22+4 format=75 ext=png"},
        {u"data:image/jpeg;base64,QQ==", "data=1 media=5+10 charset=0+0 base64=1 value=23+4 format=10 ext=jpg"},
        {u"data:image/jpg;base64,QQ==", "data=1 media=5+9 charset=0+0 base64=1 value=22+4 format=10 ext=jpg"},
        // The media stretch is compared as a prefix of the table's names.
        {u"data:image/jp;base64,QQ==", "data=1 media=5+8 charset=0+0 base64=1 value=21+4 format=10 ext=jpg"},
        {u"data:image/;base64,QQ==", "data=1 media=5+6 charset=0+0 base64=1 value=19+4 format=75 ext=png"},
        {u"data:image/pngx;base64,QQ==", "data=1 media=5+10 charset=0+0 base64=1 value=23+4 format=0 ext="},
        {u"data:IMAGE/PNG;base64,QQ==", "data=1 media=5+9 charset=0+0 base64=1 value=22+4 format=0 ext="},
        {u"data:image/gif,R0lG", "data=1 media=5+9 charset=0+0 base64=0 value=15+4 format=2 ext=gif"},
        {u"data:image/svg+xml,<svg/>", "data=1 media=5+13 charset=0+0 base64=0 value=19+6 format=0 ext="},
        {u"data: image/png ;base64,QQ==", "data=1 media=6+9 charset=0+0 base64=1 value=24+4 format=75 ext=png"},
        {u"data:text/plain;charset=utf-8,hi", "data=1 media=5+10 charset=24+5 base64=0 value=30+2 format=0 ext="},
        {u"data:;charset= us-ascii ;base64, QUJD ",
         "data=1 media=0+0 charset=15+8 base64=1 value=33+4 format=0 ext="},
        {u"data:;charset=,x", "data=1 media=0+0 charset=0+0 base64=0 value=15+1 format=0 ext="},
        {u"data:;base64xyz,QQ==", "data=1 media=0+0 charset=0+0 base64=1 value=16+4 format=0 ext="},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        std::u16string text(c.text);
        SvgDataUri dataUri = Parsed(text.c_str());
        EXPECT_EQ(Describe(dataUri), c.record);
        EXPECT_EQ(dataUri.size, kSvgDataUriSize);
        EXPECT_EQ(dataUri.uri, text.c_str());
    }
}

TEST(DataUri, RefusesBrokenGrammarKeepingWhatWasRead)
{
    const struct { std::u16string_view text; std::string_view record; } cases[] = {
        {u"data:text/plain;foo=bar,x", "data=1 media=5+10 charset=0+0 base64=0 value=0+0 format=0 ext="},
        // Never reaching ',' is an error, and the media table is not consulted.
        {u"data:image/png", "data=1 media=5+9 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"data:   ", "data=1 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"data:;", "data=1 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"data:;base64", "data=1 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"data:;base64  ", "data=1 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"data:;BASE64,QQ==", "data=1 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext="},
        {u"data:;charset=utf-8", "data=1 media=0+0 charset=14+5 base64=0 value=0+0 format=0 ext="},
        {u"data:image/png;base64;charset=x", "data=1 media=5+9 charset=30+1 base64=1 value=0+0 format=0 ext="},
        {u"data:image/png;base64;", "data=1 media=5+9 charset=0+0 base64=1 value=0+0 format=0 ext="},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        std::u16string text(c.text);
        SvgDataUri dataUri{};
        EXPECT_EQ(ParseDataUri(text.c_str(), &dataUri, kSvgDataUriSize), ERROR_FILE_FORMAT);
        EXPECT_EQ(Describe(dataUri), c.record);
    }
}

TEST(DataUri, ParseChecksTheRecordBeforeTheText)
{
    // The record's layout on a 64-bit build; callers size it with the constant.
    EXPECT_EQ(kSvgDataUriSize, 64u);

    EXPECT_EQ(ParseDataUri(u"data:,", nullptr, 0), ERROR_INV_PARAMETER);
    const uint32_t wrongSizes[] = {0, 60, kSvgDataUriSize - 1, kSvgDataUriSize + 1};
    for (uint32_t size : wrongSizes) {
        SCOPED_TRACE(size);
        SvgDataUri dataUri{};
        dataUri.valueLength = 7;
        EXPECT_EQ(ParseDataUri(u"data:,", &dataUri, size), ERROR_RECORD_SIZE);
        EXPECT_EQ(dataUri.valueLength, 7u);  // untouched
        EXPECT_EQ(dataUri.size, 0u);
    }

    SvgDataUri dataUri{};
    dataUri.isDataUri = 1;
    dataUri.extension[0] = u'x';
    EXPECT_EQ(ParseDataUri(nullptr, &dataUri, kSvgDataUriSize), SUCCESS);
    EXPECT_EQ(Describe(dataUri), "data=0 media=0+0 charset=0+0 base64=0 value=0+0 format=0 ext=");
    EXPECT_EQ(dataUri.uri, nullptr);
    EXPECT_EQ(dataUri.size, kSvgDataUriSize);
}

TEST(DataUri, DecodesEveryValueAsBase64)
{
    const struct { std::u16string_view text; std::string_view bytes; } cases[] = {
        {u"data:image/png;base64,QUJD", "ABC"},
        {u"data:,QUJD", "ABC"},  // the base64 flag is not looked at
        {u"data:;base64,QQ", "A"},
        {u"data:;base64,Zm9v\r\n YmFy", "foobar"},
        {u"data:;base64,iVBORw0KGgo=", "\x89PNG\r\n\x1A\n"},
        {u"data:,", ""},
        // Text that is not base64 decodes to nothing, and still succeeds.
        {u"data:text/plain,hello", ""},
        {u"data:;base64,Q", ""},
        {u"data:;base64,QQ==QQ==", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        std::u16string text(c.text);
        EXPECT_EQ(DecodedBytes(Parsed(text.c_str())), c.bytes);
    }
}

TEST(DataUri, DecodeToMemoryChecksPointersThenClearsThenNeedsADataUri)
{
    SvgDataUri dataUri = Parsed(u"data:,QUJD");
    void* block = reinterpret_cast<void*>(0x1);
    size_t size = 99;
    EXPECT_EQ(DecodeDataUriToMemory(nullptr, &block, &size), ERROR_INV_PARAMETER);
    EXPECT_EQ(DecodeDataUriToMemory(&dataUri, nullptr, &size), ERROR_INV_PARAMETER);
    EXPECT_EQ(DecodeDataUriToMemory(&dataUri, &block, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(block, reinterpret_cast<void*>(0x1));  // null checks come before clearing
    EXPECT_EQ(size, 99u);

    SvgDataUri plain = Parsed(u"QUJD");
    EXPECT_EQ(DecodeDataUriToMemory(&plain, &block, &size), ERROR_INV_PARAMETER);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(size, 0u);

    // A record whose text went away cannot be decoded, but must not crash.
    SvgDataUri orphan = dataUri;
    orphan.uri = nullptr;
    EXPECT_EQ(DecodeDataUriToMemory(&orphan, &block, &size), ERROR_INV_PARAMETER);
}

TEST(DataUri, DecodeWithoutMemoryStillSucceedsWithNothing)
{
    SvgDataUri dataUri = Parsed(u"data:;base64,QUJD");
    void* block = reinterpret_cast<void*>(0x1);
    size_t size = 99;
    TrackedFailAllocationAfter(0);
    EXPECT_EQ(DecodeDataUriToMemory(&dataUri, &block, &size), SUCCESS);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(TrackedLiveBlocks(), 0u);
}

TEST(DataUri, EncodesWithTheMediaTypeOfTheLeadingBytes)
{
    const struct { std::string_view bytes; std::u16string_view text; } cases[] = {
        {"", u"data:;base64,"},
        {"\x89PNG\r\n\x1A\n"sv, u"data:image/png;base64,iVBORw0KGgo="},
        {"\x89PNG\r\n\r\x05"sv, u"data:image/png;base64,iVBORw0KDQU="},
        {"\x89PNG"sv, u"data:;base64,iVBORw=="},  // shorter than the signature
        {"\xFF\xD8\xFF\xE0"sv, u"data:image/jpeg;base64,/9j/4A=="},
        {"\xFF\xD8"sv, u"data:;base64,/9g="},
        {"GIF89a", u"data:image/gif;base64,R0lGODlh"},
        {"gif89a", u"data:;base64,Z2lmODlh"},
        {"foobar", u"data:;base64,Zm9vYmFy"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        EncodedUri encoded = EncodeFromMemory(c.bytes);
        EXPECT_EQ(encoded.status, SUCCESS);
        EXPECT_EQ(encoded.text, c.text);
        EXPECT_EQ(encoded.length, c.text.size() + 1);  // counts the terminator
    }
}

TEST(DataUri, EncodeChecksItsArguments)
{
    size_t length = 99;
    EXPECT_EQ(EncodeDataUriFromMemory("abc", 3, nullptr, &length), ERROR_INV_PARAMETER);
    EXPECT_EQ(length, 99u);

    char16_t* text = reinterpret_cast<char16_t*>(0x1);
    EXPECT_EQ(EncodeDataUriFromMemory(nullptr, 3, &text, &length), ERROR_INV_PARAMETER);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(length, 0u);

    // No block and no bytes is the empty block; the length is optional.
    EXPECT_EQ(EncodeDataUriFromMemory(nullptr, 0, &text, nullptr), SUCCESS);
    TrackedPtr<char16_t> owned(text);
    EXPECT_EQ(std::u16string_view(text), u"data:;base64,");

    // Sizes whose text would not fit in memory fail before anything is read.
    const char bytes[16] = {};
    text = reinterpret_cast<char16_t*>(0x1);
    EXPECT_EQ(EncodeDataUriFromMemory(bytes, SIZE_MAX / 2, &text, &length), ERROR_NO_MEMORY);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(length, 0u);
}

TEST(DataUri, EncodeWithoutMemoryFailsAndKeepsNothing)
{
    char16_t* text = reinterpret_cast<char16_t*>(0x1);
    size_t length = 99;
    TrackedFailAllocationAfter(0);
    EXPECT_EQ(EncodeDataUriFromMemory("GIF89a", 6, &text, &length), ERROR_NO_MEMORY);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(TrackedLiveBlocks(), 0u);
}

TEST(DataUri, FileRoundTripKeepsEveryByte)
{
    std::string bytes("\x89PNG\r\n\x1A\n", 8);
    for (int i = 0; i < 256; ++i)
        bytes.push_back(static_cast<char>(i));
    std::string source = kvtest::ScratchPath("source-\xC3\xA9.png");  // the path crosses as UTF-16
    std::string target = kvtest::ScratchPath("target-\xC3\xA9.png");
    ASSERT_TRUE(kvtest::WriteFileBytes(source, bytes));
    ASSERT_TRUE(kvtest::WriteFileBytes(target, "old contents"));

    EncodedUri encoded = EncodeFromFile(source);
    ASSERT_EQ(encoded.status, SUCCESS);
    EXPECT_EQ(encoded.text.substr(0, 22), u"data:image/png;base64,");
    EXPECT_EQ(encoded.text.size(), 22u + 352u);  // 264 bytes, 88 groups of four
    EXPECT_EQ(encoded.length, encoded.text.size() + 1);

    SvgDataUri dataUri = Parsed(encoded.text.c_str());
    EXPECT_EQ(dataUri.imageFormat, SVG_DATA_URI_FORMAT_PNG);
    EXPECT_EQ(DecodeDataUriToFile(&dataUri, kvtest::Wide(target).c_str()), SUCCESS);
    EXPECT_EQ(kvtest::ReadFileBytes(target), bytes);
}

TEST(DataUri, DecodeToFileWritesAnEmptyFileForNoBytes)
{
    const std::u16string_view cases[] = {u"data:,", u"data:;base64,Q"};
    for (std::u16string_view text : cases) {
        SCOPED_TRACE(ToUtf8(text));
        std::string target = kvtest::ScratchPath("empty.bin");
        ASSERT_TRUE(kvtest::WriteFileBytes(target, "old contents"));
        std::u16string uri(text);
        SvgDataUri dataUri = Parsed(uri.c_str());
        EXPECT_EQ(DecodeDataUriToFile(&dataUri, kvtest::Wide(target).c_str()), SUCCESS);
        EXPECT_EQ(::access(target.c_str(), F_OK), 0);
        EXPECT_EQ(kvtest::ReadFileBytes(target), "");
    }
}

TEST(DataUri, DecodeToFileReportsEachFailure)
{
    SvgDataUri dataUri = Parsed(u"data:,QUJD");
    SvgDataUri plain = Parsed(u"QUJD");
    std::string target = kvtest::ScratchPath("never.bin");
    std::u16string wideTarget = kvtest::Wide(target);

    EXPECT_EQ(DecodeDataUriToFile(&dataUri, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(DecodeDataUriToFile(nullptr, wideTarget.c_str()), ERROR_INV_PARAMETER);
    EXPECT_EQ(DecodeDataUriToFile(&plain, wideTarget.c_str()), ERROR_INV_PARAMETER);
    EXPECT_NE(::access(target.c_str(), F_OK), 0);  // refused before the file is made

    std::string missingFolder = kvtest::ScratchPath("no-such-folder/out.bin");
    EXPECT_EQ(DecodeDataUriToFile(&dataUri, kvtest::Wide(missingFolder).c_str()), ERROR_FILE_CREATE);

    if (::access("/dev/full", W_OK) == 0) {  // every write there fails: the disk is full
        EXPECT_EQ(DecodeDataUriToFile(&dataUri, u"/dev/full"), ERROR_FILE_WRITE);
    }
}

TEST(DataUri, EncodeFromFileReportsEachFailure)
{
    std::string empty = kvtest::ScratchPath("empty.png");
    ASSERT_TRUE(kvtest::WriteFileBytes(empty, ""));
    std::string folder = kvtest::ScratchPath("folder");
    ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);

    const struct { std::string path; int32_t status; } cases[] = {
        {empty, ERROR_FILE_SEEK},  // nothing to encode
        {kvtest::ScratchPath("missing.png"), ERROR_FILE_OPEN},
        {folder, ERROR_FILE_OPEN},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        EncodedUri encoded = EncodeFromFile(c.path);
        EXPECT_EQ(encoded.status, c.status);
        EXPECT_EQ(encoded.text, u"");
        EXPECT_EQ(encoded.length, 0u);
    }

    char16_t* text = nullptr;
    EXPECT_EQ(EncodeDataUriFromFile(nullptr, &text, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(EncodeDataUriFromFile(kvtest::Wide(empty).c_str(), nullptr, nullptr), ERROR_INV_PARAMETER);
}

TEST(DataUri, EncodeFromFileRefusesFilesOf4GiBAndMore)
{
    // A sparse file: the length is all that is read before refusing.
    std::string huge = kvtest::ScratchPath("huge.bin");
    ASSERT_TRUE(kvtest::WriteFileBytes(huge, ""));
    if (::truncate(huge.c_str(), int64_t{1} << 32) != 0)
        GTEST_SKIP() << "no sparse files here";
    EXPECT_EQ(EncodeFromFile(huge).status, ERROR_FILE_READ);
    ::unlink(huge.c_str());
}

TEST(DataUri, EncodeFromFileFailsCleanlyAtEachAllocation)
{
    std::string source = kvtest::ScratchPath("alloc.gif");
    ASSERT_TRUE(kvtest::WriteFileBytes(source, "GIF89a"));
    long failures = 0;
    for (long successes = 0;; ++successes) {
        SCOPED_TRACE(successes);
        TrackedFailAllocationAfter(successes);
        EncodedUri encoded = EncodeFromFile(source);
        TrackedFailAllocationAfter(-1);
        if (encoded.status == SUCCESS) {
            EXPECT_EQ(encoded.text, u"data:image/gif;base64,R0lGODlh");
            break;
        }
        ++failures;
        EXPECT_EQ(encoded.status, ERROR_NO_MEMORY);
        EXPECT_EQ(encoded.text, u"");
        EXPECT_EQ(TrackedLiveBlocks(), 0u);
    }
    EXPECT_EQ(failures, 2);  // the file's bytes, then the text
}
