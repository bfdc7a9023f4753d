// The load diagnosis: for every way a file can fail to load, the load's own
// status stays what it was, and the diagnosis names the cause and the place
// a person would look at.
#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "base/tracked_memory.h"
#include "common/test_files.h"
#include "kvsvg/kvsvg.h"

namespace {

std::string Gzip(std::string_view text)
{
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string out(deflateBound(&stream, text.size()) + 32, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

std::string Utf16Le(std::u16string_view text)
{
    std::string out;
    for (char16_t unit : text) {
        out += static_cast<char>(unit & 0xFF);
        out += static_cast<char>(unit >> 8);
    }
    return out;
}

SvgLoadDiagnosis Diagnose(std::string_view bytes)
{
    SvgLoadDiagnosis diagnosis{};
    diagnosis.size = kSvgLoadDiagnosisSize;
    EXPECT_EQ(K_SvgDiagnoseLoadMemory(bytes.data(), bytes.size(), &diagnosis), SUCCESS);
    return diagnosis;
}

int32_t LoadStatus(std::string_view bytes)
{
    SvgHandle document = nullptr;
    const int32_t status = K_SvgLoadDocumentMemory(bytes.data(), bytes.size(), &document, nullptr);
    K_SvgFreeNode(document);
    return status;
}

struct Case {
    const char* name;
    std::string bytes;
    int32_t loadStatus;  // what the load itself answers, unchanged by the diagnosis
    uint32_t kind;
    uint32_t line, column;
    uint64_t offset;
    const char* detail;
    uint32_t compressed;
};

TEST(LoadDiagnosis, NamesTheCauseAndThePlaceOfEachFailure)
{
    const std::string mismatch = "<svg xmlns=\"http://www.w3.org/2000/svg\">\n  <g>\n    <rect/>\n  </x>\n</svg>\n";
    const std::vector<Case> cases = {
        {"good document", "<svg xmlns=\"http://www.w3.org/2000/svg\"><rect/></svg>", SUCCESS,
         SVG_DIAGNOSIS_PARSES, 0, 0, 0, "", 0},
        {"bad value after a good parse", "<svg version=\"one\"/>", LoadStatus("<svg version=\"one\"/>"),
         SVG_DIAGNOSIS_PARSES, 0, 0, 0, "", 0},
        {"end tag that does not match", mismatch, ERROR_FILE_OPEN, SVG_DIAGNOSIS_NOT_XML, 4, 5, 63,
         "Start-end tags mismatch", 0},
        {"unclosed element at the end", "<svg>\n<g>", ERROR_FILE_OPEN, SVG_DIAGNOSIS_NOT_XML, 2, 3, 8,
         "Start-end tags mismatch", 0},
        {"bad attribute", "<svg a=1/>", ERROR_FILE_OPEN, SVG_DIAGNOSIS_NOT_XML, 1, 8, 7,
         "Error parsing element attribute", 0},
        // Columns count characters, not bytes; a byte order mark is no column.
        {"UTF-8 with a mark and a two-byte name", "\xEF\xBB\xBF<svg><\xC3\xA9></svg>", ERROR_FILE_OPEN,
         SVG_DIAGNOSIS_NOT_XML, 1, 11, 14, "Start-end tags mismatch", 0},
        {"UTF-16 with a mark", Utf16Le(u"\uFEFF<svg>\n<\u00E9></svg>"), ERROR_FILE_OPEN, SVG_DIAGNOSIS_NOT_XML, 2,
         6, 24, "Start-end tags mismatch", 0},
        {"latin-1 by declaration",
         "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<svg>\xE9\xE9<a></svg>", ERROR_FILE_OPEN,
         SVG_DIAGNOSIS_NOT_XML, 2, 13, 56, "Start-end tags mismatch", 0},
        {"root that is not svg", "<html><body/></html>", ERROR_NO_SVG_ROOT, SVG_DIAGNOSIS_NO_ROOT, 0, 0, 0,
         "html", 0},
        {"prefixed root of another name", "<x:svgfoo xmlns:x=\"u\"/>", ERROR_NO_SVG_ROOT, SVG_DIAGNOSIS_NO_ROOT, 0, 0,
         0, "x:svgfoo", 0},
        {"no element at all", "<!-- nothing -->", ERROR_FILE_OPEN, SVG_DIAGNOSIS_NOT_XML, 1, 17, 16,
         "No document element found", 0},
        {"gzip of a good document", Gzip("<svg/>"), SUCCESS, SVG_DIAGNOSIS_PARSES, 0, 0, 0, "", 1},
        {"gzip of bad XML", Gzip(mismatch), ERROR_FILE_OPEN, SVG_DIAGNOSIS_NOT_XML, 4, 5, 63,
         "Start-end tags mismatch", 1},
        {"gzip of another root", Gzip("<?xml version=\"1.0\"?><html/>"), ERROR_NO_SVG_ROOT, SVG_DIAGNOSIS_NO_ROOT, 0,
         0, 0, "html", 1},
        {"gzip whose text starts with a comment", Gzip("<!-- c --><svg/>"), FAILURE, SVG_DIAGNOSIS_NOT_SVG_TEXT, 0,
         0, 0, "", 1},
        {"gzip cut short", Gzip(mismatch).substr(0, 20), FAILURE, SVG_DIAGNOSIS_BAD_GZIP, 0, 0, 0, "", 1},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(LoadStatus(row.bytes), row.loadStatus);
        const SvgLoadDiagnosis diagnosis = Diagnose(row.bytes);
        EXPECT_EQ(diagnosis.size, kSvgLoadDiagnosisSize);
        EXPECT_EQ(diagnosis.kind, row.kind);
        EXPECT_EQ(diagnosis.line, row.line);
        EXPECT_EQ(diagnosis.column, row.column);
        EXPECT_EQ(diagnosis.offset, row.offset);
        EXPECT_STREQ(diagnosis.detail, row.detail);
        EXPECT_EQ(diagnosis.compressed, row.compressed);
        EXPECT_EQ(diagnosis.systemError, 0);
    }
}

TEST(LoadDiagnosis, TellsAMissingFileFromAnUnreadableOneAndFromBadXml)
{
    const std::string bad = kvtest::ScratchPath("bad.svg");
    ASSERT_TRUE(kvtest::WriteFileBytes(bad, "<svg>\n<g></svg>"));
    const std::string empty = kvtest::ScratchPath("empty.svg");
    ASSERT_TRUE(kvtest::WriteFileBytes(empty, ""));
    const std::string folder = bad.substr(0, bad.rfind('/'));
    struct Row {
        const char* name;
        std::string path;
        uint32_t kind;
        int32_t systemError;
        uint32_t line;
    } rows[] = {
        {"missing file", kvtest::ScratchPath("no-such.svg"), SVG_DIAGNOSIS_NO_FILE, ENOENT, 0},
        {"missing folder on the path", kvtest::ScratchPath("no-such/x.svg"), SVG_DIAGNOSIS_NO_FILE, ENOENT, 0},
        {"a file used as a folder", bad + "/x.svg", SVG_DIAGNOSIS_NO_FILE, ENOTDIR, 0},
        {"a folder", folder, SVG_DIAGNOSIS_UNREADABLE, EISDIR, 0},
        {"empty file", empty, SVG_DIAGNOSIS_EMPTY, 0, 0},
        {"bad XML", bad, SVG_DIAGNOSIS_NOT_XML, 0, 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        SvgHandle document = nullptr;
        EXPECT_NE(K_SvgLoadDocument(kvtest::Wide(row.path).c_str(), &document, nullptr), SUCCESS);
        EXPECT_EQ(document, nullptr);
        SvgLoadDiagnosis diagnosis{};
        diagnosis.size = kSvgLoadDiagnosisSize;
        ASSERT_EQ(K_SvgDiagnoseLoad(kvtest::Wide(row.path).c_str(), &diagnosis), SUCCESS);
        EXPECT_EQ(diagnosis.kind, row.kind);
        EXPECT_EQ(diagnosis.systemError, row.systemError);
        EXPECT_EQ(diagnosis.line, row.line);
    }
}

TEST(LoadDiagnosis, RefusesBadArgumentsBeforeTouchingTheRecord)
{
    SvgLoadDiagnosis diagnosis{};
    diagnosis.size = kSvgLoadDiagnosisSize - 1;
    diagnosis.kind = 99;
    EXPECT_EQ(K_SvgDiagnoseLoad(u"x.svg", &diagnosis), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgDiagnoseLoadMemory("<svg/>", 6, &diagnosis), ERROR_RECORD_SIZE);
    EXPECT_EQ(diagnosis.kind, 99u);
    EXPECT_EQ(K_SvgDiagnoseLoad(nullptr, &diagnosis), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgDiagnoseLoad(u"x.svg", nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgDiagnoseLoadMemory("<svg/>", 6, nullptr), ERROR_INV_PARAMETER);
    diagnosis.size = kSvgLoadDiagnosisSize;
    EXPECT_EQ(K_SvgDiagnoseLoadMemory(nullptr, 0, &diagnosis), SUCCESS);
    EXPECT_EQ(diagnosis.kind, SVG_DIAGNOSIS_EMPTY);
}

TEST(LoadDiagnosis, CutsALongParserMessageOnACharacterBoundary)
{
    // The root's name is the detail: a long name of two-byte characters must
    // end on a whole character within the record.
    std::string name;
    for (int i = 0; i < 100; ++i)
        name += "\xC3\xA9";
    const SvgLoadDiagnosis diagnosis = Diagnose("<" + name + "/>");
    EXPECT_EQ(diagnosis.kind, SVG_DIAGNOSIS_NO_ROOT);
    EXPECT_EQ(std::string(diagnosis.detail), name.substr(0, 126));
}

TEST(LoadDiagnosis, RunningOutOfMemorySaysSoInsteadOfBlamingTheData)
{
    // Inflating takes tracked memory; a failure at any point must give
    // ERROR_NO_MEMORY, never a verdict on the file, and leave nothing.
    const std::string packed = Gzip("<svg>\n<g></svg>");
    bool sawNoMemory = false;
    for (long successes = 0; successes < 20; ++successes) {
        SCOPED_TRACE(successes);
        SvgLoadDiagnosis diagnosis{};
        diagnosis.size = kSvgLoadDiagnosisSize;
        TrackedFailAllocationAfter(successes);
        const int32_t status = K_SvgDiagnoseLoadMemory(packed.data(), packed.size(), &diagnosis);
        TrackedFailAllocationAfter(-1);
        if (status == ERROR_NO_MEMORY) {
            sawNoMemory = true;
            continue;
        }
        ASSERT_EQ(status, SUCCESS);
        EXPECT_EQ(diagnosis.kind, SVG_DIAGNOSIS_NOT_XML);
        EXPECT_EQ(diagnosis.line, 2u);
        EXPECT_EQ(diagnosis.column, 6u);
    }
    EXPECT_TRUE(sawNoMemory);
}

TEST(TrackedCounts, RiseWithWhatTheCallerHoldsAndFallBackWhenItIsFreed)
{
    auto counts = [] {
        SvgTrackedCounts counts{kSvgTrackedCountsSize, 0, 0, 0, 0};
        EXPECT_EQ(K_SvgGetTrackedCounts(&counts), SUCCESS);
        return counts;
    };
    const SvgTrackedCounts before = counts();
    SvgHandle document = nullptr;
    ASSERT_EQ(K_SvgLoadDocumentMemory("<svg><rect width=\"1\"/></svg>", 28, &document, nullptr), SUCCESS);
    EXPECT_EQ(counts().objects, before.objects + 1);
    void* text = nullptr;
    size_t size = 0;
    ASSERT_EQ(K_SvgSaveDocumentMemory(document, &text, &size, nullptr), SUCCESS);
    const SvgTrackedCounts holding = counts();
    EXPECT_EQ(holding.blocks, before.blocks + 1);
    EXPECT_GT(holding.bytes, before.bytes + size);
    K_SvgFreeMemory(text);
    K_SvgFreeNode(document);
    const SvgTrackedCounts after = counts();
    EXPECT_EQ(after.objects, before.objects);
    EXPECT_EQ(after.blocks, before.blocks);
    EXPECT_EQ(after.bytes, before.bytes);

    SvgTrackedCounts wrong{kSvgTrackedCountsSize + 8, 0, 0, 0, 0};
    EXPECT_EQ(K_SvgGetTrackedCounts(&wrong), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgGetTrackedCounts(nullptr), ERROR_INV_PARAMETER);
}

TEST(LibraryVersion, IsThreeNumbers)
{
    const std::string version = K_SvgGetLibraryVersion();
    int major = -1, minor = -1, patch = -1;
    char rest = 0;
    EXPECT_EQ(std::sscanf(version.c_str(), "%d.%d.%d%c", &major, &minor, &patch, &rest), 3) << version;
    EXPECT_GE(major, 0);
}

}  // namespace
