#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "base/tracked_memory.h"
#include "common/test_files.h"
#include "document/svg_document_handler.h"
#include "document/svg_zip.h"
#include "api/document_fixture.h"

using kvtest::Handle;
using kvtest::LoadText;
using kvtest::SaveRaw;

namespace {

std::string Gzip(std::string_view text)
{
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&stream, text.size()) + 32, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

std::u16string WritePath(std::string_view name, std::string_view bytes)
{
    std::string path = kvtest::ScratchPath(name);
    kvtest::WriteFileBytes(path, bytes);
    return kvtest::Wide(path);
}

// A node handle for the root element, made as navigation will make it.
SvgHandle RootOf(SvgHandle document)
{
    SvgDocumentHandler* owner = AsDocument(document);
    SvgBaseHandler* root = nullptr;
    EXPECT_EQ(WrapXmlNode(&root, owner->Root()), SUCCESS);
    AttachOwner(owner, root);
    return ToHandle(root);
}

SvgBounds MakeBounds(double x, double y, double width, double height)
{
    SvgBounds bounds{};
    bounds.size = kSvgBoundsSize;
    bounds.hasBounds = 1;
    bounds.dpiX = 300;
    bounds.dpiY = 150;
    bounds.x = x, bounds.y = y, bounds.width = width, bounds.height = height;
    return bounds;
}

constexpr std::string_view kFlatWithBounds =
    R"(<svg IsFlat="true" Bounds="1, 2, 30, 40" IsTrimmed="false"><rect id="r"/></svg>)";

}  // namespace

TEST(DocumentExports, NullAndSizeChecksComeBeforeTheKindTest)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><g/></svg>", document), SUCCESS);
    Handle root(RootOf(document));
    SvgBounds bounds{};

    EXPECT_EQ(K_SvgGetBounds(nullptr, &bounds, 59), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetBounds(root, nullptr, 59), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetBounds(root, &bounds, 59), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgGetBounds(root, &bounds, kSvgBoundsSize), ERROR_INV_PARAMETER);
    bounds.size = kSvgBoundsSize - 1;
    EXPECT_EQ(K_SvgSetBounds(root, &bounds), ERROR_RECORD_SIZE);

    EXPECT_EQ(K_SvgSetMaximumElements(root, 5), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetMaximumElements(root), 0u);
    EXPECT_EQ(K_SvgGetMaximumElements(nullptr), 0u);
    EXPECT_EQ(K_SvgFreeNode(nullptr), SUCCESS);
    EXPECT_EQ(K_SvgFreeMemory(nullptr), SUCCESS);

    uint32_t type = 99;
    EXPECT_EQ(K_SvgGetElementType(document, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetElementType(document, &type), SUCCESS);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(K_SvgGetElementType(root, &type), SUCCESS);
    EXPECT_EQ(type, 2u);
}

TEST(DocumentExports, CreatorsClearTheirOutExceptCopy)
{
    SvgHandle stale = reinterpret_cast<SvgHandle>(0x1234);
    SvgHandle out = stale;
    EXPECT_EQ(K_SvgLoadDocument(u"/no/such/file.svg", &out, nullptr), ERROR_FILE_OPEN);
    EXPECT_EQ(out, nullptr);
    out = stale;
    EXPECT_EQ(K_SvgLoadDocumentMemory("x", 1, &out, nullptr), ERROR_FILE_OPEN);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(K_SvgCreateDocument(nullptr, 0), ERROR_INV_PARAMETER);

    // A copy from something that is not a document fails and keeps the stale out.
    Handle document;
    ASSERT_EQ(LoadText("<svg/>", document), SUCCESS);
    Handle root(RootOf(document));
    out = stale;
    EXPECT_EQ(K_SvgCopyDocument(root, &out), ERROR_INV_PARAMETER);
    EXPECT_EQ(out, stale);
}

TEST(DocumentLoad, FailuresGiveTheirExactStatus)
{
    std::string html = "<?xml version=\"1.0\"?><html><body>not a picture</body></html>";
    std::string gzipped = Gzip("<svg xmlns=\"http://www.w3.org/2000/svg\"><rect width=\"1\"/></svg>");
    const struct { const char* name; std::string bytes; int32_t status; } cases[] = {
        {"empty file", "", ERROR_FILE_READ},
        {"not xml", "this is plain text", ERROR_FILE_OPEN},
        {"unclosed root", "<svg><g></svg>", ERROR_FILE_OPEN},
        {"gzip cut short", gzipped.substr(0, gzipped.size() / 2), FAILURE},
        {"gzip of html", Gzip(html), FAILURE},
        {"gzip of garbage after the mark", std::string("\x1F\x8B\x08\x00garbage-garbage", 19), FAILURE},
        {"no svg root", "<html/>", ERROR_NO_SVG_ROOT},
        {"version not a number", "<svg version=\"one\"/>", ERROR_INV_NUMBER},
        {"bounds with three numbers", "<svg Bounds=\"1, 2, 3\"/>", ERROR_INV_PARAMETER},
        {"truncated file", "<svg width=\"1", ERROR_FILE_OPEN},
        {"attribute repeated on the root", "<svg Bounds=\"5 0 10 10\" Bounds=\"false\"/>", ERROR_FILE_OPEN},
        {"attribute repeated deep down", "<svg><g><rect x=\"1\" y=\"2\" x=\"3\"/></g></svg>", ERROR_FILE_OPEN},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Handle fromFile;
        EXPECT_EQ(K_SvgLoadDocument(WritePath("load.svg", c.bytes).c_str(), fromFile.out(), nullptr), c.status);
        EXPECT_EQ(fromFile.get(), nullptr);
        if (!c.bytes.empty()) {
            Handle fromMemory;
            EXPECT_EQ(LoadText(c.bytes, fromMemory), c.status);
            EXPECT_EQ(fromMemory.get(), nullptr);
        }
    }
    Handle missing;
    EXPECT_EQ(K_SvgLoadDocument(u"/no/such/dir/x.svg", missing.out(), nullptr), ERROR_FILE_OPEN);
}

TEST(DocumentLoad, ReadsVersionFlatnessAndBounds)
{
    const struct { const char* text; uint32_t version; } versions[] = {
        {"<svg/>", 0}, {"<svg version=\"1.0\"/>", 1}, {"<svg version=\"1\"/>", 1},
        {"<svg version=\" 1.1 \"/>", 2}, {"<svg version=\"1.2\"/>", 0}, {"<svg:svg version=\"1.1\"/>", 2},
    };
    for (const auto& c : versions) {
        SCOPED_TRACE(c.text);
        Handle document;
        ASSERT_EQ(LoadText(c.text, document), SUCCESS);
        uint32_t version = 99;
        EXPECT_EQ(K_SvgGetDocumentVersion(document, &version), SUCCESS);
        EXPECT_EQ(version, c.version);
    }

    Handle flat;
    ASSERT_EQ(LoadText(kFlatWithBounds, flat), SUCCESS);
    int32_t isFlat = -1;
    EXPECT_EQ(K_SvgIsFlatDocument(flat, &isFlat), SUCCESS);
    EXPECT_EQ(isFlat, 1);
    SvgBounds bounds{};
    ASSERT_EQ(K_SvgGetBounds(flat, &bounds, kSvgBoundsSize), SUCCESS);
    EXPECT_EQ(bounds.size, kSvgBoundsSize);
    EXPECT_EQ(bounds.hasBounds, 1u);
    EXPECT_EQ(bounds.isTrimmed, 0u);
    EXPECT_DOUBLE_EQ(bounds.x, 1);
    EXPECT_DOUBLE_EQ(bounds.height, 40);
}

TEST(DocumentLoad, ToleratedXmlErrorsKeepWhatWasParsed)
{
    std::string_view cut = "<svg><rect width=\"5\"/><g><circle r=\"2\"/>";
    Handle strict;
    EXPECT_EQ(LoadText(cut, strict), ERROR_FILE_OPEN);
    SvgLoadOptions tolerate{kSvgLoadOptionsSize, SVG_LOAD_TOLERATE_XML_ERRORS, 0};
    Handle lenient;
    ASSERT_EQ(LoadText(cut, lenient, &tolerate), SUCCESS);
    EXPECT_EQ(SaveRaw(lenient), "<svg><rect width=\"5\"/><g><circle r=\"2\"/></g></svg>");
}

// Readers see the first of a repeated name; the tolerant load keeps only
// that one, so that removing it cannot bring a second, unchecked value to
// light (a repeated Bounds used to make a saved document unloadable).
TEST(DocumentLoad, ToleratedRepeatedAttributesKeepTheFirst)
{
    SvgLoadOptions tolerate{kSvgLoadOptionsSize, SVG_LOAD_TOLERATE_XML_ERRORS, 0};
    Handle document;
    ASSERT_EQ(LoadText("<svg Bounds=\"5 0 10 10\" a=\"1\" Bounds=\"false\" a=\"2\" b=\"3\" a=\"4\">"
                       "<rect x=\"1\" x=\"2\"/></svg>",
                       document, &tolerate),
              SUCCESS);
    EXPECT_EQ(SaveRaw(document), "<svg Bounds=\"5 0 10 10\" a=\"1\" b=\"3\"><rect x=\"1\"/></svg>");
}

TEST(DocumentLoad, DropFlagsRemoveOnlyWhatTheyName)
{
    constexpr std::string_view source =
        "<svg>"
        "<rect/><path id=\"kolv_text_path1\"/><path/><image/>"
        "<g><text>t</text><text id=\"kolv_text_path_2\">p</text><a/></g>"
        "<switch><circle/><use xlink:href=\"#kolv_text_path3\"/><use xlink:href=\"#other\"/></switch>"
        "<symbol id=\"kolv_text_path4\"/>"
        "<defs><rect/><text/></defs>"
        "</svg>";
    const struct { uint32_t flags; const char* expected; } cases[] = {
        {SVG_LOAD_DROP_SHAPES,
         "<svg><image/><g><text>t</text><text id=\"kolv_text_path_2\">p</text><a/></g><switch>"
         "<use xlink:href=\"#kolv_text_path3\"/><use xlink:href=\"#other\"/></switch>"
         "<symbol id=\"kolv_text_path4\"/><defs><rect/><text/></defs></svg>"},
        {SVG_LOAD_DROP_IMAGES,
         "<svg><rect/><path id=\"kolv_text_path1\"/><path/><g><text>t</text><text id=\"kolv_text_path_2\">p</text>"
         "<a/></g><switch><circle/><use xlink:href=\"#kolv_text_path3\"/><use xlink:href=\"#other\"/></switch>"
         "<symbol id=\"kolv_text_path4\"/><defs><rect/><text/></defs></svg>"},
        {SVG_LOAD_DROP_TEXT,
         "<svg><rect/><path id=\"kolv_text_path1\"/><path/><image/><g/><switch><circle/>"
         "<use xlink:href=\"#other\"/></switch><defs><rect/><text/></defs></svg>"},
        {SVG_LOAD_DROP_TEXT_PATH_TEXT | SVG_LOAD_DROP_TEXT_PATH_PATHS,
         "<svg><rect/><path/><image/><g><text>t</text><a/></g><switch><circle/>"
         "<use xlink:href=\"#kolv_text_path3\"/><use xlink:href=\"#other\"/></switch>"
         "<symbol id=\"kolv_text_path4\"/><defs><rect/><text/></defs></svg>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.flags);
        SvgLoadOptions options{0, c.flags, 0};
        Handle document;
        ASSERT_EQ(LoadText(source, document, &options), SUCCESS);
        EXPECT_EQ(SaveRaw(document), c.expected);
    }
}

TEST(DocumentLoad, DroppingFromAFlatFileKeepsItFlat)
{
    SvgLoadOptions options{0, SVG_LOAD_DROP_SHAPES, 0};
    Handle document;
    ASSERT_EQ(LoadText(kFlatWithBounds, document, &options), SUCCESS);
    int32_t flat = 0;
    EXPECT_EQ(K_SvgIsFlatDocument(document, &flat), SUCCESS);
    EXPECT_EQ(flat, 1);
    // The removal dropped the bounds as any change does.
    EXPECT_EQ(SaveRaw(document), "<svg IsTrimmed=\"false\" IsFlat=\"true\"/>");
}

TEST(DocumentLoad, ElementLimitCountsTheRootAndWalkedContainersOnly)
{
    constexpr std::string_view three = "<svg><rect/><rect/><rect/></svg>";
    const struct { int32_t limit; int32_t status; } cases[] = {{3, ERROR_MAX_ELEMENTS}, {4, SUCCESS}, {0, SUCCESS},
                                                                 {-1, SUCCESS}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.limit);
        SvgLoadOptions options{0, 0, c.limit};
        Handle document;
        EXPECT_EQ(LoadText(three, document, &options), c.status);
    }
    // Children of defs are neither filtered nor counted.
    SvgLoadOptions options{0, 0, 2};
    Handle document;
    EXPECT_EQ(LoadText("<svg><defs><rect/><rect/><rect/></defs></svg>", document, &options), SUCCESS);
}

TEST(DocumentSave, RoundTripsInEveryMode)
{
    constexpr std::string_view source =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\"><g id=\"a\"><rect width=\"10\" height=\"5\"/>"
        "<text x=\"1\">caf\xC3\xA9 \xE2\x82\xAC</text></g></svg>";
    Handle original;
    ASSERT_EQ(LoadText(source, original), SUCCESS);
    const std::string expected = SaveRaw(original);

    const struct { const char* name; uint32_t size; uint32_t formatted; const char16_t* indent; uint32_t encoding;
                   uint32_t compressed; } modes[] = {
        {"indented utf-8", kSvgSaveOptionsSize, 1, u"  ", 0, 0},
        {"raw utf-8", kSvgSaveOptionsSize, 0, u"", 0, 0},
        {"utf-16", kSvgSaveOptionsSize, 1, u"\t", 1, 0},
        {"compressed", kSvgSaveOptionsSize, 1, u"\t", 0, 1},
        {"compressed utf-16", kSvgSaveOptionsSize, 0, u"", 1, 1},
        {"compression needs the full size", kSvgSaveOptionsSize - 1, 0, u"", 0, 1},
    };
    for (const auto& m : modes) {
        SCOPED_TRACE(m.name);
        SvgSaveOptions options{m.size, m.formatted, {0}, m.encoding, m.compressed};
        std::char_traits<char16_t>::copy(options.indent, m.indent, std::char_traits<char16_t>::length(m.indent));

        void* block = nullptr;
        size_t size = 0;
        ASSERT_EQ(K_SvgSaveDocumentMemory(original, &block, &size, &options), SUCCESS);
        std::string bytes(static_cast<const char*>(block), size);
        K_SvgFreeMemory(block);
        bool gzip = m.compressed && m.size == kSvgSaveOptionsSize;
        EXPECT_EQ(bytes.rfind("\x1F\x8B", 0) == 0, gzip);
        if (!gzip && m.encoding == 1) {
            EXPECT_EQ(bytes.substr(0, 4), std::string("\xFF\xFE<\0", 4));
        }
        if (!gzip && m.encoding != 1) {
            EXPECT_EQ(bytes.rfind("\xEF\xBB\xBF<?xml version=\"1.0\"?>", 0), 0u);
        }

        Handle fromMemory;
        if (gzip && m.encoding == 1) {
            // Compressed UTF-16 is written but not read back: the sniffing of
            // the first decompressed bytes refuses it.
            EXPECT_EQ(K_SvgLoadDocumentMemory(bytes.data(), bytes.size(), fromMemory.out(), nullptr), FAILURE);
            continue;
        }
        ASSERT_EQ(K_SvgLoadDocumentMemory(bytes.data(), bytes.size(), fromMemory.out(), nullptr), SUCCESS);
        EXPECT_EQ(SaveRaw(fromMemory), expected);

        std::u16string path = kvtest::Wide(kvtest::ScratchPath("roundtrip.svg"));
        ASSERT_EQ(K_SvgSaveDocument(path.c_str(), original, &options), SUCCESS);
        EXPECT_EQ(kvtest::ReadFileBytes(kvtest::ScratchPath("roundtrip.svg")), bytes);
        Handle fromFile;
        ASSERT_EQ(K_SvgLoadDocument(path.c_str(), fromFile.out(), nullptr), SUCCESS);
        EXPECT_EQ(SaveRaw(fromFile), expected);
    }
}

TEST(DocumentSave, DefaultsAndTheEmptyDocument)
{
    Handle empty;
    ASSERT_EQ(K_SvgCreateDocument(empty.out(), 2), SUCCESS);
    uint32_t version = 0;
    EXPECT_EQ(K_SvgGetDocumentVersion(empty, &version), SUCCESS);
    EXPECT_EQ(version, 2u);
    int32_t flat = -1;
    EXPECT_EQ(K_SvgIsFlatDocument(empty, &flat), SUCCESS);
    EXPECT_EQ(flat, 0);

    std::string path = kvtest::ScratchPath("empty.svg");
    ASSERT_EQ(K_SvgSaveDocument(kvtest::Wide(path).c_str(), empty, nullptr), SUCCESS);
    EXPECT_EQ(kvtest::ReadFileBytes(path), "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n");

    // Without options: one tab of indentation.
    Handle document;
    ASSERT_EQ(LoadText("<svg><g><rect/></g></svg>", document), SUCCESS);
    void* block = nullptr;
    size_t size = 0;
    ASSERT_EQ(K_SvgSaveDocumentMemory(document, &block, &size, nullptr), SUCCESS);
    EXPECT_EQ(std::string(static_cast<const char*>(block), size),
              "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<svg>\n\t<g>\n\t\t<rect />\n\t</g>\n</svg>\n");
    EXPECT_EQ(static_cast<const char*>(block)[size], '\0');  // zero-terminated one past the size
    K_SvgFreeMemory(block);

    EXPECT_EQ(K_SvgSaveDocument(u"/no/such/dir/out.svg", document, nullptr), ERROR_FILE_CREATE);
    EXPECT_EQ(K_SvgSaveDocumentMemory(document, &block, nullptr, nullptr), ERROR_INV_PARAMETER);
}

TEST(DocumentSave, MemorySaveFailsCleanlyWhenMemoryRunsOut)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><rect/></svg>", document), SUCCESS);
    const std::string before = SaveRaw(document);
    void* block = reinterpret_cast<void*>(0x1);
    size_t size = 7;
    TrackedFailAllocationAfter(0);
    EXPECT_EQ(K_SvgSaveDocumentMemory(document, &block, &size, nullptr), ERROR_NO_MEMORY);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(SaveRaw(document), before);
}

TEST(DocumentCopy, CopiesTreeVersionAndBoundsButNotTheLimit)
{
    Handle source;
    ASSERT_EQ(LoadText("<svg version=\"1.0\" IsFlat=\"true\" Bounds=\"0, 0, 5, 6\"><rect/></svg>", source), SUCCESS);
    ASSERT_EQ(K_SvgSetMaximumElements(source, 7), SUCCESS);
    Handle copy;
    ASSERT_EQ(K_SvgCopyDocument(source, copy.out()), SUCCESS);
    // Writing the cached bounds into the copy also states IsTrimmed.
    EXPECT_EQ(SaveRaw(copy), "<svg version=\"1.0\" IsFlat=\"true\" Bounds=\"0, 0, 5, 6\" IsTrimmed=\"false\"><rect/></svg>");
    uint32_t version = 0;
    EXPECT_EQ(K_SvgGetDocumentVersion(copy, &version), SUCCESS);
    EXPECT_EQ(version, 1u);
    EXPECT_EQ(K_SvgGetMaximumElements(copy), 0u);

    // Until someone asks, the copy does not know it is flat, so its first
    // change leaves IsFlat standing (while dropping the bounds it does know).
    Handle root(RootOf(copy));
    ASSERT_EQ(AsHandler(root)->SetAttribute(u"width", u"9"), SUCCESS);
    EXPECT_EQ(SaveRaw(copy), "<svg version=\"1.0\" IsFlat=\"true\" IsTrimmed=\"false\" width=\"9\"><rect/></svg>");
}

TEST(DocumentNotify, ChangesDropFlatnessAndBoundsUnlessInsideAnUpdate)
{
    const struct { const char* name; int (*change)(SvgBaseHandler* root); } changes[] = {
        {"attribute", [](SvgBaseHandler* root) { return root->SetAttribute(u"width", u"3"); }},
        {"removed attribute", [](SvgBaseHandler* root) { return root->RemoveAttribute(u"IsTrimmed"); }},
        {"insertion",
         [](SvgBaseHandler* root) {
             SvgBaseHandler* made = nullptr;
             CreateSvgHandler(SVG_ELEMENT_G, &made);
             int status = root->insertTyped(SVG_ELEMENT_G, kSvgInsertLastChild, made);
             DestroySvgHandler(made);
             return status;
         }},
        {"removal",
         [](SvgBaseHandler* root) {
             SvgBaseHandler* child = nullptr;
             WrapXmlNode(&child, root->node().first_child());
             AttachOwner(root, child);
             int status = child->remove();
             DestroySvgHandler(child);
             return status;
         }},
    };
    for (bool inUpdate : {false, true}) {
        for (const auto& c : changes) {
            SCOPED_TRACE(std::string(c.name) + (inUpdate ? " in update" : ""));
            Handle document;
            ASSERT_EQ(LoadText(kFlatWithBounds, document), SUCCESS);
            if (inUpdate) {
                ASSERT_EQ(K_SvgBeginUpdateDocument(document), SUCCESS);
            }
            Handle root(RootOf(document));
            ASSERT_EQ(c.change(AsHandler(root)), SUCCESS);
            std::string saved = SaveRaw(document);
            EXPECT_EQ(saved.find("IsFlat") != std::string::npos, inUpdate) << saved;
            EXPECT_EQ(saved.find("Bounds") != std::string::npos, inUpdate) << saved;
            if (inUpdate) {
                EXPECT_EQ(K_SvgEndUpdateDocument(document), SUCCESS);
                EXPECT_EQ(K_SvgEndUpdateDocument(document), FAILURE);  // depth stays at 0
                EXPECT_NE(SaveRaw(document).find("IsFlat"), std::string::npos);  // nothing dropped at the end
            }
        }
    }
}

TEST(DocumentNotify, ElementLimitCountsInsertionsSinceItWasSet)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><g/><g/><g/><g/><g/><g/><g/><g/><g/></svg>", document), SUCCESS);
    ASSERT_EQ(K_SvgSetMaximumElements(document, 2), SUCCESS);
    EXPECT_EQ(K_SvgGetMaximumElements(document), 2u);
    Handle root(RootOf(document));
    SvgBaseHandler* parent = AsHandler(root);
    auto insert = [&] {
        SvgBaseHandler* made = nullptr;
        CreateSvgHandler(SVG_ELEMENT_RECT, &made);
        int32_t status = parent->insertTyped(SVG_ELEMENT_RECT, kSvgInsertLastChild, made);
        DestroySvgHandler(made);
        return status;
    };
    auto removeFirst = [&] {
        SvgBaseHandler* child = nullptr;
        WrapXmlNode(&child, parent->node().first_child());
        AttachOwner(parent, child);
        int32_t status = child->remove();
        DestroySvgHandler(child);
        return status;
    };
    EXPECT_EQ(insert(), SUCCESS);
    EXPECT_EQ(insert(), SUCCESS);
    const std::string full = SaveRaw(document);
    EXPECT_EQ(insert(), ERROR_MAX_ELEMENTS);
    EXPECT_EQ(SaveRaw(document), full);  // refused before the tree changed
    EXPECT_EQ(removeFirst(), SUCCESS);
    EXPECT_EQ(insert(), SUCCESS);
    EXPECT_EQ(insert(), ERROR_MAX_ELEMENTS);

    // Resetting the limit zeroes the count; a removal then wraps it below
    // zero, and the wrapped count lets insertions through.
    ASSERT_EQ(K_SvgSetMaximumElements(document, 2), SUCCESS);
    EXPECT_EQ(removeFirst(), SUCCESS);
    EXPECT_EQ(AsDocument(document)->elementCount(), UINT32_MAX);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(insert(), SUCCESS);
}

TEST(DocumentFlags, FlatFlagAndBoundsOnlyOnFlatDocuments)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><rect/></svg>", document), SUCCESS);
    SvgBounds bounds = MakeBounds(1, 2, 3.5, 4);
    EXPECT_EQ(K_SvgSetBounds(document, &bounds), ERROR_NOT_FLAT);
    SvgBounds read{};
    EXPECT_EQ(K_SvgGetBounds(document, &read, kSvgBoundsSize), ERROR_NOT_FLAT);

    ASSERT_EQ(K_SvgSetFlatDocument(document, 1), SUCCESS);
    ASSERT_EQ(K_SvgSetBounds(document, &bounds), SUCCESS);
    EXPECT_EQ(SaveRaw(document),
              "<svg IsFlat=\"true\" DpiX=\"300\" DpiY=\"150\" Bounds=\"1, 2, 3.5, 4\" IsTrimmed=\"false\"><rect/></svg>");
    ASSERT_EQ(K_SvgGetBounds(document, &read, kSvgBoundsSize), SUCCESS);
    EXPECT_DOUBLE_EQ(read.width, 3.5);
    EXPECT_DOUBLE_EQ(read.dpiX, 300);

    SvgBounds empty = MakeBounds(0, 0, 0, 10);
    empty.dpiX = -1.0;
    empty.isTrimmed = 1;
    ASSERT_EQ(K_SvgSetBounds(document, &empty), SUCCESS);
    EXPECT_EQ(SaveRaw(document), "<svg IsFlat=\"true\" DpiY=\"150\" Bounds=\"Empty\" IsTrimmed=\"true\"><rect/></svg>");

    ASSERT_EQ(K_SvgSetFlatDocument(document, 0), SUCCESS);
    EXPECT_EQ(SaveRaw(document), "<svg DpiY=\"150\" IsTrimmed=\"true\"><rect/></svg>");
    int32_t flat = 1;
    EXPECT_EQ(K_SvgIsFlatDocument(document, &flat), SUCCESS);
    EXPECT_EQ(flat, 0);
}

TEST(DocumentIds, AddsPostOrderIdsAndSkipsTakenOnes)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><g><rect/><circle id=\"ID2\"/></g><text>x</text><g id=\"keep\"/></svg>", document),
              SUCCESS);
    ASSERT_EQ(K_SvgAddElementIDs(document), SUCCESS);
    EXPECT_EQ(SaveRaw(document),
              "<svg id=\"ID5\"><g id=\"ID3\"><rect id=\"ID1\"/><circle id=\"ID2\"/></g>"
              "<text id=\"ID4\">x</text><g id=\"keep\"/></svg>");
    EXPECT_EQ(K_SvgAddElementIDs(nullptr), ERROR_INV_PARAMETER);
}

TEST(DocumentFilter, ApplyFilterCallbackAsksTheCallerAboutEachElement)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><g/></svg>", document), SUCCESS);
    SvgDocumentHandler* owner = AsDocument(document);
    int32_t skip = 5;
    EXPECT_EQ(owner->ApplyFilterCallback(nullptr, -1, &skip), ERROR_INV_PARAMETER);
    EXPECT_EQ(owner->ApplyFilterCallback(nullptr, 3, &skip), SUCCESS);
    EXPECT_EQ(skip, 0);

    struct Seen { uint32_t type = 0; int calls = 0; } seen;
    auto callback = [](const SvgFilterElementInfo* info, int32_t* skipIt, void* user) -> int32_t {
        auto* s = static_cast<Seen*>(user);
        s->type = info->type;
        ++s->calls;
        *skipIt = info->type == 3;
        return info->type == 13 ? ERROR_FILE_FORMAT : SUCCESS;
    };
    ASSERT_EQ(K_SvgSetFilterElementsCallback(document, callback, &seen), SUCCESS);
    Handle root(RootOf(document));
    EXPECT_EQ(owner->ApplyFilterCallback(AsHandler(root), 3, &skip), SUCCESS);
    EXPECT_EQ(skip, 1);
    EXPECT_EQ(owner->ApplyFilterCallback(AsHandler(root), 13, &skip), ERROR_FILE_FORMAT);
    EXPECT_EQ(seen.calls, 2);
    ASSERT_EQ(K_SvgSetFilterElementsCallback(document, nullptr, nullptr), SUCCESS);
    EXPECT_EQ(owner->ApplyFilterCallback(AsHandler(root), 13, &skip), SUCCESS);
    EXPECT_EQ(seen.calls, 2);
}

TEST(DocumentHostileInput, DeepNestingLoadsSavesAndWalksWithoutExhaustingTheStack)
{
    constexpr int kDepth = 50000;
    std::string text = "<svg>";
    for (int i = 0; i < kDepth; ++i)
        text += "<g>";
    text += "<rect/>";
    for (int i = 0; i < kDepth; ++i)
        text += "</g>";
    text += "</svg>";

    SvgLoadOptions options{0, SVG_LOAD_DROP_SHAPES, kDepth + 5};
    Handle document;
    ASSERT_EQ(LoadText(text, document, &options), SUCCESS);
    ASSERT_EQ(K_SvgAddElementIDs(document), SUCCESS);
    Handle copy;
    ASSERT_EQ(K_SvgCopyDocument(document, copy.out()), SUCCESS);
    std::string saved = SaveRaw(copy);
    EXPECT_EQ(saved.find("<rect"), std::string::npos);
    EXPECT_NE(saved.find("<g id=\"ID1\"/>"), std::string::npos);  // the innermost g is first in post-order
    EXPECT_NE(saved.find("<svg id=\"ID50001\">"), std::string::npos);

    SvgLoadOptions tight{0, 0, kDepth};
    Handle refused;
    EXPECT_EQ(LoadText(text, refused, &tight), ERROR_MAX_ELEMENTS);
}

TEST(DocumentHostileInput, DecompressionBombIsRefused)
{
    const size_t previous = svg_zip_internal::SetMaxDecompressedBytesForTesting(1 << 20);
    std::string bomb = "<svg>" + std::string(8 << 20, ' ') + "</svg>";
    std::string packed = Gzip(bomb);
    ASSERT_LT(packed.size(), 64u << 10);
    Handle fromMemory;
    EXPECT_EQ(LoadText(packed, fromMemory), ERROR_FILE_OPEN);
    Handle fromFile;
    EXPECT_EQ(K_SvgLoadDocument(WritePath("bomb.svgz", packed).c_str(), fromFile.out(), nullptr), ERROR_FILE_OPEN);
    svg_zip_internal::SetMaxDecompressedBytesForTesting(previous);

    Handle allowed;
    EXPECT_EQ(LoadText(packed, allowed), SUCCESS);
}

TEST(DocumentHostileInput, EveryFailedAllocationGivesNoMemoryAndLeavesNothing)
{
    const std::string plain = "<svg version=\"1.1\" IsFlat=\"true\"><g><rect width=\"3\"/></g></svg>";
    const std::string packed = Gzip(plain);
    for (const std::string* bytes : {&plain, &packed}) {
        bool succeeded = false;
        for (long n = 0; n < 200 && !succeeded; ++n) {
            SCOPED_TRACE(n);
            TrackedFailAllocationAfter(n);
            Handle document;
            int32_t status = LoadText(*bytes, document);
            TrackedFailAllocationAfter(-1);
            ASSERT_TRUE(status == SUCCESS || status == ERROR_NO_MEMORY || status == FAILURE) << status;
            EXPECT_EQ(status == SUCCESS, document.get() != nullptr);
            if (status != SUCCESS) {
                EXPECT_EQ(TrackedLiveBlocks(), 0u);
                EXPECT_EQ(TrackedLiveResources(), 0u);
            }
            succeeded = status == SUCCESS;
        }
        EXPECT_TRUE(succeeded);
    }

    Handle original;
    ASSERT_EQ(LoadText(plain, original), SUCCESS);
    const std::string before = SaveRaw(original);
    SvgSaveOptions compressed{kSvgSaveOptionsSize, 0, {0}, 0, 1};
    for (long n = 0; n < 50; ++n) {
        SCOPED_TRACE(n);
        size_t blocksBefore = TrackedLiveBlocks();
        TrackedFailAllocationAfter(n);
        Handle copy;
        int32_t copied = K_SvgCopyDocument(original, copy.out());
        void* block = nullptr;
        size_t size = 0;
        int32_t saved = K_SvgSaveDocumentMemory(original, &block, &size, &compressed);
        TrackedFailAllocationAfter(-1);
        EXPECT_TRUE(copied == SUCCESS || copied == ERROR_NO_MEMORY) << copied;
        EXPECT_TRUE(saved == SUCCESS || saved == ERROR_NO_MEMORY) << saved;
        EXPECT_EQ(saved == SUCCESS, block != nullptr);
        K_SvgFreeMemory(block);
        EXPECT_EQ(SaveRaw(original), before);
        EXPECT_EQ(TrackedLiveBlocks(), blocksBefore);
    }
}
