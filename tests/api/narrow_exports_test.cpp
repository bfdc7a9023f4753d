// The narrow-character twins, by pattern: text in, text out, record
// conversion. Each twin must give what its wide export gives, in UTF-8.
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"
#include "common/test_files.h"
#include "document_fixture.h"
#include "kvsvg/kvsvg.h"

using kvtest::Handle;
using kvtest::LoadText;
using kvtest::SaveRaw;

namespace {

// Non-ASCII in every UTF-8 length: two, three and four bytes.
constexpr std::string_view kMixedUtf8 = "Gr\xC3\xBC\xC3\x9F\x65 \xE2\x82\xAC \xF0\x9D\x84\x9E";
constexpr std::u16string_view kMixedWide = u"Gr\u00FC\u00DFe \u20AC \U0001D11E";

std::u16string WideAttribute(SvgHandle node, const char16_t* name)
{
    KvChar* value = nullptr;
    EXPECT_EQ(K_SvgGetElementAttributeValue(node, name, &value), SUCCESS);
    std::u16string text = value ? std::u16string(value) : u"<null>";
    K_SvgFreeMemory(value);
    return text;
}

std::string Taken(char* text)
{
    std::string copy = text ? std::string(text) : "<null>";
    K_SvgFreeMemory(text);
    return copy;
}

// The first element a path selects, through the wide export.
SvgHandle Select(SvgHandle document, const char16_t* xpath)
{
    SvgHandle node = nullptr;
    EXPECT_EQ(K_SvgSelectSingleNode(document, xpath, &node), SUCCESS);
    return node;
}

}  // namespace

// ---- Text in ---------------------------------------------------------------

TEST(NarrowTextIn, Utf8ArgumentsReachTheWideExportsIntact)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><g id=\"\xC3\xB1\">old</g></svg>", document), SUCCESS);
    Handle g(Select(document, u"//g"));
    ASSERT_NE(g.get(), nullptr);
    const std::string mixed(kMixedUtf8);

    ASSERT_EQ(K_SvgSetElementAttributeValueA(g, "data-\xC3\xBC", mixed.c_str()), SUCCESS);
    EXPECT_EQ(WideAttribute(g, u"data-\u00FC"), kMixedWide);

    Handle inserted;
    ASSERT_EQ(K_SvgInsertUserElementA(g, "fa\xC3\xA7" "ade", SVG_INSERT_LAST_CHILD, inserted.out()), SUCCESS);
    KvChar* name = nullptr;
    ASSERT_EQ(K_SvgGetElementName(inserted, &name), SUCCESS);
    EXPECT_EQ(std::u16string(name), u"fa\u00E7ade");
    K_SvgFreeMemory(name);

    ASSERT_EQ(K_SvgSetElementValueA(g, mixed.c_str()), SUCCESS);
    KvChar* value = nullptr;
    ASSERT_EQ(K_SvgGetElementValue(g, &value), SUCCESS);
    EXPECT_EQ(std::u16string(value), kMixedWide);
    K_SvgFreeMemory(value);

    Handle found;
    ASSERT_EQ(K_SvgSelectSingleNodeA(document, "//g[@id='\xC3\xB1']/fa\xC3\xA7" "ade", found.out()), SUCCESS);
    EXPECT_NE(found.get(), nullptr);
    SvgNodesIterator nodes{kSvgNodesIteratorSize, 0, nullptr};
    ASSERT_EQ(K_SvgSelectNodesA(document, "//*[@data-\xC3\xBC]", &nodes), SUCCESS);
    EXPECT_EQ(nodes.count, 1);
    K_SvgFreeIterator(&nodes);

    ASSERT_EQ(K_SvgRemoveElementAttributeA(g, "data-\xC3\xBC"), SUCCESS);
    EXPECT_EQ(SaveRaw(document), "<svg><g id=\"\xC3\xB1\">" + mixed + "<fa\xC3\xA7" "ade/></g></svg>");
}

TEST(NarrowTextIn, BytesThatAreNotUtf8ReadAsReplacementCharacters)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg/>", document), SUCCESS);
    Handle root(Select(document, u"svg"));
    const struct {
        const char* bytes;
        std::u16string_view wide;
    } rows[] = {
        {"a\xFFz", u"a\uFFFDz"},               // never a UTF-8 byte
        {"a\xC3", u"a\uFFFD"},                 // cut short at the end
        {"\xC0\xAF", u"\uFFFD"},               // overlong "/", one sequence
        {"\xED\xA0\x80!", u"\uFFFD!"},         // a surrogate
        {"\xE2\x82\xAC", u"\u20AC"},            // and a good one
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes);
        ASSERT_EQ(K_SvgSetElementAttributeValueA(root, "v", row.bytes), SUCCESS);
        EXPECT_EQ(WideAttribute(root, u"v"), row.wide);
    }
}

TEST(NarrowTextIn, PathsWithNonAsciiNamesOpenTheSameFiles)
{
    const std::string path = kvtest::ScratchPath("b\xC3\xBCro \xE2\x82\xAC.svg");
    ASSERT_TRUE(kvtest::WriteFileBytes(path, "<svg><rect width=\"3\"/></svg>"));
    Handle document;
    ASSERT_EQ(K_SvgLoadDocumentA(path.c_str(), document.out(), nullptr), SUCCESS);
    EXPECT_EQ(SaveRaw(document), "<svg><rect width=\"3\"/></svg>");

    const std::string copy = kvtest::ScratchPath("k\xC3\xB6pie.svg");
    ASSERT_EQ(K_SvgSaveDocumentA(copy.c_str(), document, nullptr), SUCCESS);
    EXPECT_NE(kvtest::ReadFileBytes(copy).find("<rect width=\"3\""), std::string::npos);

    const std::string png = kvtest::ScratchPath("p\xC3\xAF.png");
    SvgDataUriA uri{};
    ASSERT_EQ(K_SvgParseDataUriA("data:image/png;base64,iVBORw0KGgo=", &uri, kSvgDataUriASize), SUCCESS);
    ASSERT_EQ(K_SvgDecodeDataUriToFileA(&uri, png.c_str()), SUCCESS);
    EXPECT_EQ(kvtest::ReadFileBytes(png), std::string("\x89PNG\r\n\x1A\n", 8));

    char* text = nullptr;
    size_t length = 0;
    ASSERT_EQ(K_SvgEncodeDataUriFromFileA(png.c_str(), &text, &length), SUCCESS);
    EXPECT_EQ(Taken(text), "data:image/png;base64,iVBORw0KGgo=");
    EXPECT_EQ(length, 35u);
}

// A null text is passed on as null, and every status of the wide export
// comes out unchanged: each row calls both sides with the same arguments.
TEST(NarrowTextIn, NullTextsAndStatusesPassThrough)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><g a=\"1\"/></svg>", document), SUCCESS);
    Handle g(Select(document, u"//g"));
    SvgHandle none = nullptr;
    const struct {
        const char* name;
        std::function<int32_t()> narrow;
        std::function<int32_t()> wide;
    } rows[] = {
        {"load, null path", [&] { return K_SvgLoadDocumentA(nullptr, &none, nullptr); },
         [&] { return K_SvgLoadDocument(nullptr, &none, nullptr); }},
        {"load, missing file", [&] { return K_SvgLoadDocumentA("/nonexistent/\xC3\xA9.svg", &none, nullptr); },
         [&] { return K_SvgLoadDocument(u"/nonexistent/\u00E9.svg", &none, nullptr); }},
        {"insert, null name", [&] { return K_SvgInsertUserElementA(g, nullptr, 2, nullptr); },
         [&] { return K_SvgInsertUserElement(g, nullptr, 2, nullptr); }},
        {"insert, null parent", [&] { return K_SvgInsertUserElementA(nullptr, "g", 2, nullptr); },
         [&] { return K_SvgInsertUserElement(nullptr, u"g", 2, nullptr); }},
        {"select, null path", [&] { return K_SvgSelectSingleNodeA(document, nullptr, &none); },
         [&] { return K_SvgSelectSingleNode(document, nullptr, &none); }},
        {"select, bad path", [&] { return K_SvgSelectSingleNodeA(document, "//[", &none); },
         [&] { return K_SvgSelectSingleNode(document, u"//[", &none); }},
        {"select nodes, null iterator", [&] { return K_SvgSelectNodesA(document, "//g", nullptr); },
         [&] { return K_SvgSelectNodes(document, u"//g", nullptr); }},
        {"set value, null text", [&] { return K_SvgSetElementValueA(g, nullptr); },
         [&] { return K_SvgSetElementValue(g, nullptr); }},
        {"set attribute, null value", [&] { return K_SvgSetElementAttributeValueA(g, "b", nullptr); },
         [&] { return K_SvgSetElementAttributeValue(g, u"b", nullptr); }},
        {"set attribute, null name", [&] { return K_SvgSetElementAttributeValueA(g, nullptr, "x"); },
         [&] { return K_SvgSetElementAttributeValue(g, nullptr, u"x"); }},
        {"remove attribute, null node", [&] { return K_SvgRemoveElementAttributeA(nullptr, "a"); },
         [&] { return K_SvgRemoveElementAttribute(nullptr, u"a"); }},
        {"remove attribute, absent", [&] { return K_SvgRemoveElementAttributeA(g, "zz"); },
         [&] { return K_SvgRemoveElementAttribute(g, u"zz"); }},
        {"decode to file, null record", [&] { return K_SvgDecodeDataUriToFileA(nullptr, "x"); },
         [&] { return K_SvgDecodeDataUriToFile(nullptr, u"x"); }},
        {"decode to file, null path", [&] { return K_SvgDecodeDataUriToFileA(nullptr, nullptr); },
         [&] { return K_SvgDecodeDataUriToFile(nullptr, nullptr); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string before = SaveRaw(document);
        const int32_t wide = row.wide();
        EXPECT_EQ(SaveRaw(document), before) << "the wide call changed the document; the row is no test";
        EXPECT_EQ(row.narrow(), wide);
        EXPECT_EQ(SaveRaw(document), before);
        EXPECT_EQ(none, nullptr);
    }
}

// ---- Text out --------------------------------------------------------------

TEST(NarrowTextOut, GivesUtf8OfTheUtf8LengthOrNull)
{
    Handle document;
    const std::string mixed(kMixedUtf8);
    ASSERT_EQ(LoadText("<svg><text id=\"t\" lang=\"\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\">" + mixed +
                           "</text><g/></svg>",
                       document),
              SUCCESS);
    Handle text(Select(document, u"//text"));
    Handle g(Select(document, u"//g"));
    char* out = reinterpret_cast<char*>(0x1);

    // Three wide characters take nine bytes: the copy is sized by UTF-8.
    ASSERT_EQ(K_SvgGetElementAttributeValueA(text, "lang", &out), SUCCESS);
    EXPECT_EQ(Taken(out), "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC");
    ASSERT_EQ(K_SvgGetElementValueA(text, &out), SUCCESS);
    EXPECT_EQ(Taken(out), mixed);
    // The narrow name entry gives the value, as it always has.
    ASSERT_EQ(K_SvgGetElementNameA(text, &out), SUCCESS);
    EXPECT_EQ(Taken(out), mixed);

    // No text, or an empty one, is a null out with SUCCESS.
    out = reinterpret_cast<char*>(0x1);
    EXPECT_EQ(K_SvgGetElementAttributeValueA(text, "missing", &out), SUCCESS);
    EXPECT_EQ(out, nullptr);
    out = reinterpret_cast<char*>(0x1);
    EXPECT_EQ(K_SvgGetElementValueA(g, &out), SUCCESS);
    EXPECT_EQ(out, nullptr);
    out = reinterpret_cast<char*>(0x1);
    EXPECT_EQ(K_SvgGetElementNameA(g, &out), SUCCESS);
    EXPECT_EQ(out, nullptr);

    const unsigned char gif[] = {'G', 'I', 'F', '8', '9', 'a'};
    size_t length = 0;
    ASSERT_EQ(K_SvgEncodeDataUriFromMemoryA(gif, sizeof gif, &out, &length), SUCCESS);
    EXPECT_EQ(Taken(out), "data:image/gif;base64,R0lGODlh");
    EXPECT_EQ(length, 31u);  // the zero counts
}

TEST(NarrowTextOut, StatusesPassThroughWithANullOut)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg/>", document), SUCCESS);
    Handle root(Select(document, u"svg"));
    const struct {
        const char* name;
        std::function<int32_t(char**)> narrow;
        std::function<int32_t(KvChar**)> wide;
    } rows[] = {
        {"value, null node", [&](char** o) { return K_SvgGetElementValueA(nullptr, o); },
         [&](KvChar** o) { return K_SvgGetElementValue(nullptr, o); }},
        {"name, null node", [&](char** o) { return K_SvgGetElementNameA(nullptr, o); },
         [&](KvChar** o) { return K_SvgGetElementName(nullptr, o); }},
        {"attribute, null name", [&](char** o) { return K_SvgGetElementAttributeValueA(root, nullptr, o); },
         [&](KvChar** o) { return K_SvgGetElementAttributeValue(root, nullptr, o); }},
        {"encode, null block", [&](char** o) { return K_SvgEncodeDataUriFromMemoryA(nullptr, 3, o, nullptr); },
         [&](KvChar** o) { return K_SvgEncodeDataUriFromMemory(nullptr, 3, o, nullptr); }},
        {"encode, missing file", [&](char** o) { return K_SvgEncodeDataUriFromFileA("/nonexistent/f", o, nullptr); },
         [&](KvChar** o) { return K_SvgEncodeDataUriFromFile(u"/nonexistent/f", o, nullptr); }},
        {"encode, null path", [&](char** o) { return K_SvgEncodeDataUriFromFileA(nullptr, o, nullptr); },
         [&](KvChar** o) { return K_SvgEncodeDataUriFromFile(nullptr, o, nullptr); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        KvChar* wideOut = nullptr;
        const int32_t wide = row.wide(&wideOut);
        K_SvgFreeMemory(wideOut);
        EXPECT_NE(wide, SUCCESS);
        char* out = reinterpret_cast<char*>(0x1);
        EXPECT_EQ(row.narrow(&out), wide);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(row.narrow(nullptr), row.wide(nullptr));
    }
}

// ---- Record conversion -----------------------------------------------------

namespace {

// A text element whose record holds a string in every group: its own
// character data, core, conditional and the style's font, paints, clip,
// markers and colour profile.
constexpr std::string_view kRichText =
    "<svg><text id=\"t\xC3\xAB\" xml:base=\"b\xC3\xA4se\" systemLanguage=\"fr-\xC3\xA7\" "
    "font-family=\"Frakt\xC3\xBCr\" fill=\"url(#gr\xC3\xA4\x64)\" stroke=\"url(#str\xC3\xB6k)\" "
    "clip-path=\"url(#cl\xC3\xAEp)\" marker-start=\"url(#m\xC3\xA1rk)\" color-profile=\"pr\xC3\xB3\">"
    "Gr\xC3\xBC\xC3\x9F\x65 \xE2\x82\xAC \xF0\x9D\x84\x9E</text><g/></svg>";

}  // namespace

TEST(NarrowRecords, ReadsEveryStringOfARecordAsUtf8)
{
    Handle document;
    ASSERT_EQ(LoadText(kRichText, document), SUCCESS);
    Handle text(Select(document, u"//text"));
    SvgTextElementA record;
    ASSERT_EQ(K_SvgGetElementA(text, &record, kSvgTextElementASize), SUCCESS);
    auto field = [](const char* value) { return value ? std::string(value) : std::string("<null>"); };
    EXPECT_EQ(field(record.text), kMixedUtf8);
    EXPECT_EQ(record.textCount, kMixedUtf8.size());  // bytes, not wide units
    EXPECT_EQ(field(record.core.id), "t\xC3\xAB");
    EXPECT_EQ(field(record.core.xmlBase), "b\xC3\xA4se");
    EXPECT_EQ(field(record.conditional.systemLanguage), "fr-\xC3\xA7");
    EXPECT_EQ(field(record.style.text.font.fontFamily), "Frakt\xC3\xBCr");
    EXPECT_EQ(field(record.style.paint.fill.paint.color.text), "gr\xC3\xA4\x64");
    EXPECT_EQ(record.style.paint.fill.paint.kind, SVG_PAINT_REFERENCE);
    EXPECT_EQ(field(record.style.paint.stroke.paint.color.text), "str\xC3\xB6k");
    EXPECT_EQ(field(record.style.clipPath.id), "cl\xC3\xAEp");
    EXPECT_EQ(field(record.style.paint.markers.markerStart.id), "m\xC3\xA1rk");
    EXPECT_EQ(field(record.style.colorValue.colorProfile.text), "pr\xC3\xB3");
    EXPECT_EQ(record.style.paint.markers.markerEnd.id, nullptr);

    // Written back onto a bare element, the record makes the same element.
    Handle g(Select(document, u"//g"));
    Handle copy;
    ASSERT_EQ(K_SvgInsertElementA(g, &record, SVG_ELEMENT_TEXT, SVG_INSERT_LAST_CHILD, copy.out()), SUCCESS);
    SvgTextElement wideOriginal;
    SvgTextElement wideCopy;
    ASSERT_EQ(K_SvgInitElement(&wideOriginal, SVG_ELEMENT_TEXT, kSvgTextElementSize), SUCCESS);
    ASSERT_EQ(K_SvgInitElement(&wideCopy, SVG_ELEMENT_TEXT, kSvgTextElementSize), SUCCESS);
    ASSERT_EQ(K_SvgGetElement(text, &wideOriginal, kSvgTextElementSize), SUCCESS);
    ASSERT_EQ(K_SvgGetElement(copy, &wideCopy, kSvgTextElementSize), SUCCESS);
    EXPECT_EQ(std::u16string(wideCopy.text, wideCopy.textCount), kMixedWide);
    EXPECT_EQ(std::u16string(wideCopy.core.id), u"t\u00EB");
    EXPECT_EQ(std::u16string(wideCopy.style.paint.markers.markerStart.id), u"m\u00E1rk");
    EXPECT_EQ(std::u16string(wideCopy.style.colorValue.colorProfile.text), u"pr\u00F3");
    K_SvgFreeElement(&wideOriginal, SVG_ELEMENT_TEXT);
    K_SvgFreeElement(&wideCopy, SVG_ELEMENT_TEXT);
    // A narrow record is given back like a wide one.
    EXPECT_EQ(K_SvgFreeElement(&record, SVG_ELEMENT_TEXT), SUCCESS);
}

TEST(NarrowRecords, WritesCountedTextAndEveryElementTypeRoundTrips)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg/>", document), SUCCESS);
    Handle root(Select(document, u"svg"));

    // Character data is counted in bytes and need not end in a zero.
    SvgTextElementA text;
    ASSERT_EQ(K_SvgInitElement(&text, SVG_ELEMENT_TEXT, kSvgTextElementASize), SUCCESS);
    char buffer[] = "Gr\xC3\xBC\xC3\x9F\x65NOT THIS";
    text.text = buffer;
    text.textCount = 7;
    char id[] = "\xC3\xA9t\xC3\xA9";
    text.core.id = id;
    ASSERT_EQ(K_SvgInsertElementA(root, &text, SVG_ELEMENT_TEXT, SVG_INSERT_LAST_CHILD, nullptr), SUCCESS);
    EXPECT_EQ(SaveRaw(document), "<svg><text id=\"\xC3\xA9t\xC3\xA9\">Gr\xC3\xBC\xC3\x9F\x65</text></svg>");

    // Every type with a record: an element with a non-ASCII id is read
    // into a narrow record and written onto a new element, which then has
    // the same id. The narrow size is the one K_SvgInitElement accepts.
    for (uint32_t type = SVG_ELEMENT_SVG; type <= SVG_ELEMENT_MASK; ++type) {
        SCOPED_TRACE(type);
        alignas(16) unsigned char narrow[4096];
        uint32_t size = 0;
        for (uint32_t candidate = 8; candidate < sizeof narrow && !size; candidate += 4) {
            if (K_SvgInitElement(narrow, type, candidate) == SUCCESS)
                size = candidate;
        }
        ASSERT_NE(size, 0u);
        Handle element;
        ASSERT_EQ(K_SvgInsertElementA(root, narrow, type, SVG_INSERT_LAST_CHILD, element.out()), SUCCESS);
        ASSERT_EQ(K_SvgSetElementAttributeValueA(element, "id", "\xC3\xBC-id"), SUCCESS);
        ASSERT_EQ(K_SvgGetElementA(element, narrow, size), SUCCESS);
        Handle second;
        ASSERT_EQ(K_SvgInsertElementA(root, narrow, type, SVG_INSERT_LAST_CHILD, second.out()), SUCCESS);
        EXPECT_EQ(WideAttribute(second, u"id"), u"\u00FC-id");
        EXPECT_EQ(K_SvgFreeElement(narrow, type), SUCCESS);
        K_SvgRemoveElement(element);
        K_SvgRemoveElement(second);
    }
}

TEST(NarrowRecords, CheckSizesInTheWideOrder)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><rect/></svg>", document), SUCCESS);
    Handle rect(Select(document, u"//rect"));
    SvgRectElementA record;
    ASSERT_EQ(K_SvgInitElement(&record, SVG_ELEMENT_RECT, kSvgRectElementASize), SUCCESS);
    EXPECT_EQ(K_SvgGetElementA(rect, &record, kSvgRectElementASize - 8), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgGetElementA(nullptr, &record, kSvgRectElementASize - 8), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetElementA(document, &record, kSvgRectElementASize), ERROR_INV_PARAMETER);  // a document
    record.size = kSvgCircleElementASize;
    EXPECT_EQ(K_SvgSetElementA(rect, &record), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgSetElementA(rect, nullptr), ERROR_INV_PARAMETER);
    SvgHandle node = reinterpret_cast<SvgHandle>(0x1);
    EXPECT_EQ(K_SvgInsertElementA(rect, &record, SVG_ELEMENT_RECT, SVG_INSERT_AFTER, &node), ERROR_RECORD_SIZE);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(SaveRaw(document), "<svg><rect/></svg>");
}

TEST(NarrowRecords, AFailedReadGivesTheWideStatusAndAnEmptyRecord)
{
    Handle document;
    // Version 1.1 refuses an extended link: the read fails after the core
    // and conditional strings were taken.
    ASSERT_EQ(LoadText("<svg version=\"1.1\"><use id=\"u\xC3\xA9\" systemLanguage=\"fr\" "
                       "xlink:type=\"extended\" xlink:href=\"#a\"/></svg>",
                       document),
              SUCCESS);
    Handle use(Select(document, u"//use"));
    SvgUseElement wide;
    ASSERT_EQ(K_SvgInitElement(&wide, SVG_ELEMENT_USE, kSvgUseElementSize), SUCCESS);
    const int32_t wideStatus = K_SvgGetElement(use, &wide, kSvgUseElementSize);
    K_SvgFreeElement(&wide, SVG_ELEMENT_USE);
    ASSERT_NE(wideStatus, SUCCESS);

    SvgUseElementA record;
    std::memset(&record, 0x5A, sizeof record);
    EXPECT_EQ(K_SvgGetElementA(use, &record, kSvgUseElementASize), wideStatus);
    EXPECT_EQ(record.size, kSvgUseElementASize);
    EXPECT_EQ(record.core.id, nullptr);
    EXPECT_EQ(record.conditional.systemLanguage, nullptr);
    EXPECT_EQ(record.href, nullptr);
    EXPECT_EQ(K_SvgFreeElement(&record, SVG_ELEMENT_USE), SUCCESS);
}

TEST(NarrowRecords, SaveOptionsArePackedAndTheirIndentConverted)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><g><rect/></g></svg>", document), SUCCESS);
    auto save = [&](const SvgSaveOptionsA* options, std::string* text) {
        void* block = nullptr;
        size_t size = 0;
        int32_t status = K_SvgSaveDocumentMemoryA(document, &block, &size, options);
        if (text)
            *text = block ? std::string(static_cast<const char*>(block), size) : std::string();
        K_SvgFreeMemory(block);
        return status;
    };
    EXPECT_EQ(sizeof(SvgSaveOptionsA), 26u);

    SvgSaveOptionsA options{};
    options.size = kSvgSaveOptionsASize;
    options.formatted = 1;
    std::memcpy(options.indent, "\xC2\xB7\xC2\xB7", 5);  // two middle dots
    std::string text;
    ASSERT_EQ(save(&options, &text), SUCCESS);
    EXPECT_NE(text.find("\n\xC2\xB7\xC2\xB7<g>\n\xC2\xB7\xC2\xB7\xC2\xB7\xC2\xB7<rect />"), std::string::npos) << text;

    const struct {
        const char* name;
        uint32_t size;
        const char* indent;  // ten bytes
        int32_t status;
    } rows[] = {
        {"wide size", kSvgSaveOptionsSize, "  \0\0\0\0\0\0\0\0", ERROR_RECORD_SIZE},
        {"padded size", 28, "  \0\0\0\0\0\0\0\0", ERROR_RECORD_SIZE},
        {"no room for the zero", 26, "0123456789", ERROR_BUFFER_TOO_SMALL},
        {"nine bytes fit", 26, "012345678\0", SUCCESS},
        {"cut sequence", 26, "\xC3\0\0\0\0\0\0\0\0\0", ERROR_NO_TRANSLATION},
        {"surrogate", 26, "\xED\xA0\x80\0\0\0\0\0\0\0", ERROR_NO_TRANSLATION},
        {"four-byte character", 26, "\xF0\x9D\x84\x9E\0\0\0\0\0\0", SUCCESS},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        options.size = row.size;
        std::memcpy(options.indent, row.indent, 10);
        EXPECT_EQ(save(&options, nullptr), row.status);
        const std::string path = kvtest::ScratchPath("indent.svg");
        EXPECT_EQ(K_SvgSaveDocumentA(path.c_str(), document, &options), row.status);
    }
    // Null arguments win over a bad record, as in the wide export.
    options.size = 1;
    EXPECT_EQ(K_SvgSaveDocumentA(nullptr, document, &options), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgSaveDocumentMemoryA(document, nullptr, nullptr, &options), ERROR_INV_PARAMETER);
    EXPECT_EQ(save(nullptr, &text), SUCCESS);
}

TEST(NarrowRecords, DataUrisKeepTheCallersTextAndWideOffsets)
{
    // "é" is two bytes but one wide unit: offsets count wide units.
    const char* text = "data:image/png;charset=\xC3\xA9;base64,iVBORw0KGgo=";
    SvgDataUriA uri;
    std::memset(&uri, 0x5A, sizeof uri);
    ASSERT_EQ(K_SvgParseDataUriA(text, &uri, kSvgDataUriASize), SUCCESS);
    EXPECT_EQ(uri.size, kSvgDataUriASize);
    EXPECT_EQ(uri.uri, text);
    EXPECT_EQ(uri.isDataUri, 1u);
    EXPECT_EQ(uri.isBase64, 1u);
    EXPECT_EQ(uri.mediaOffset, 5u);
    EXPECT_EQ(uri.mediaLength, 9u);
    EXPECT_EQ(uri.charsetOffset, 23u);
    EXPECT_EQ(uri.charsetLength, 1u);
    EXPECT_EQ(uri.valueOffset, 32u);
    EXPECT_EQ(uri.valueLength, 12u);
    EXPECT_EQ(uri.imageFormat, SVG_DATA_URI_FORMAT_PNG);
    EXPECT_STREQ(uri.extension, "png");

    void* block = nullptr;
    size_t size = 0;
    ASSERT_EQ(K_SvgDecodeDataUriToMemoryA(&uri, &block, &size), SUCCESS);
    EXPECT_EQ(std::string(static_cast<const char*>(block), size), std::string("\x89PNG\r\n\x1A\n", 8));
    K_SvgFreeMemory(block);

    // Offsets that reach past the text are refused, not read.
    uri.valueLength = 100;
    block = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(K_SvgDecodeDataUriToMemoryA(&uri, &block, &size), ERROR_INV_PARAMETER);
    EXPECT_EQ(block, nullptr);

    // A broken data URI keeps what was read; sizes are checked after nulls.
    EXPECT_EQ(K_SvgParseDataUriA("data:image/png", &uri, kSvgDataUriASize), ERROR_FILE_FORMAT);
    EXPECT_EQ(uri.mediaLength, 9u);
    EXPECT_EQ(K_SvgParseDataUriA(text, &uri, kSvgDataUriSize), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgParseDataUriA(text, nullptr, 1), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgParseDataUriA(nullptr, &uri, kSvgDataUriASize), SUCCESS);
    EXPECT_EQ(uri.isDataUri, 0u);
    EXPECT_EQ(uri.uri, nullptr);
}

// Failing each allocation in turn: every twin gives SUCCESS or
// ERROR_NO_MEMORY, leaves the document as it was on failure, and leaves
// no block behind (the listener checks the end of the test as well).
TEST(NarrowRecords, AllocationFailuresLeaveNothingBehind)
{
    Handle document;
    ASSERT_EQ(LoadText(kRichText, document), SUCCESS);
    Handle text(Select(document, u"//text"));
    Handle g(Select(document, u"//g"));
    SvgTextElementA source;
    ASSERT_EQ(K_SvgGetElementA(text, &source, kSvgTextElementASize), SUCCESS);
    SvgSaveOptionsA options{kSvgSaveOptionsASize, 1, "\xC2\xB7", 0, 0};

    const struct {
        const char* name;
        std::function<int32_t()> call;
    } rows[] = {
        {"get element", [&] {
             SvgTextElementA record;
             int32_t status = K_SvgGetElementA(text, &record, kSvgTextElementASize);
             K_SvgFreeElement(&record, SVG_ELEMENT_TEXT);
             return status;
         }},
        {"insert element", [&] {
             Handle node;
             int32_t status = K_SvgInsertElementA(g, &source, SVG_ELEMENT_TEXT, SVG_INSERT_LAST_CHILD, node.out());
             if (status == SUCCESS)
                 K_SvgRemoveElement(node);
             return status;
         }},
        {"set element", [&] {
             // Same values as it has: success changes nothing either.
             return K_SvgSetElementA(text, &source);
         }},
        {"attribute value", [&] {
             char* out = nullptr;
             int32_t status = K_SvgGetElementAttributeValueA(text, "font-family", &out);
             K_SvgFreeMemory(out);
             return status;
         }},
        {"set attribute", [&] { return K_SvgSetElementAttributeValueA(text, "id", "t\xC3\xAB"); }},
        {"insert user element", [&] {
             Handle node;
             int32_t status = K_SvgInsertUserElementA(g, "\xC3\xA9l", SVG_INSERT_LAST_CHILD, node.out());
             if (status == SUCCESS)
                 K_SvgRemoveElement(node);
             return status;
         }},
        {"select nodes", [&] {
             SvgNodesIterator nodes{kSvgNodesIteratorSize, 0, nullptr};
             int32_t status = K_SvgSelectNodesA(document, "//*[@id='t\xC3\xAB']", &nodes);
             K_SvgFreeIterator(&nodes);
             return status;
         }},
        {"decode data uri", [&] {
             SvgDataUriA uri;
             const char* gif = "data:image/gif;base64,R0lGODlh";
             if (K_SvgParseDataUriA(gif, &uri, kSvgDataUriASize) != SUCCESS)
                 return ERROR_NO_MEMORY;
             void* block = nullptr;
             size_t size = 0;
             int32_t status = K_SvgDecodeDataUriToMemoryA(&uri, &block, &size);
             K_SvgFreeMemory(block);
             // The wide decoder reports a block it cannot have as no bytes.
             return status == SUCCESS && size == 0 ? ERROR_NO_MEMORY : status;
         }},
        {"save", [&] {
             void* block = nullptr;
             size_t size = 0;
             int32_t status = K_SvgSaveDocumentMemoryA(document, &block, &size, &options);
             K_SvgFreeMemory(block);
             return status;
         }},
        {"parse data uri", [&] {
             SvgDataUriA uri;
             return K_SvgParseDataUriA("data:image/gif;base64,R0lGODlh", &uri, kSvgDataUriASize);
         }},
        {"encode", [&] {
             char* out = nullptr;
             int32_t status = K_SvgEncodeDataUriFromMemoryA("GIF89a", 6, &out, nullptr);
             K_SvgFreeMemory(out);
             return status;
         }},
    };
    const std::string before = SaveRaw(document);
    const size_t blocksBefore = TrackedLiveBlocks();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        bool succeeded = false;
        for (long n = 0; n < 400 && !succeeded; ++n) {
            SCOPED_TRACE(n);
            TrackedFailAllocationAfter(n);
            const int32_t status = row.call();
            TrackedFailAllocationAfter(-1);
            ASSERT_TRUE(status == SUCCESS || status == ERROR_NO_MEMORY) << status;
            EXPECT_EQ(TrackedLiveBlocks(), blocksBefore);
            EXPECT_EQ(SaveRaw(document), before);
            succeeded = status == SUCCESS;
        }
        EXPECT_TRUE(succeeded);
    }
    K_SvgFreeElement(&source, SVG_ELEMENT_TEXT);
}
