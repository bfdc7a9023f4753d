// Inserting elements from records, and the document operations that go
// through records: version, resize and file options.
#include <string>

#include <gtest/gtest.h>

#include "api/document_fixture.h"

using kvtest::Handle;
using kvtest::LoadText;
using kvtest::SaveRaw;

namespace {

struct RecordBuffer {
    alignas(8) unsigned char bytes[4096];
    void* get() { return bytes; }
    template <class T>
    T& as() { return *reinterpret_cast<T*>(bytes); }
};

std::string Attribute(SvgHandle node, const KvChar* name)
{
    KvChar* value = nullptr;
    EXPECT_EQ(K_SvgGetElementAttributeValue(node, name, &value), SUCCESS);
    std::string text = value ? "" : "(none)";
    for (const KvChar* c = value; c && *c; ++c)
        text += static_cast<char>(*c);
    K_SvgFreeMemory(value);
    return text;
}

// A rect record with a width, set up and owning nothing.
void MakeRect(RecordBuffer& record, double width)
{
    ASSERT_EQ(K_SvgInitElement(record.get(), SVG_ELEMENT_RECT, kSvgRectElementSize), SUCCESS);
    record.as<SvgRectElement>().width = SvgLength{kSvgLengthSize, width, SVG_UNIT_NONE, 0};
}

}  // namespace

TEST(InsertElement, AFailedInsertionLeavesTheTreeAsItWas)
{
    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg><g id="a"/></svg>)~", document), SUCCESS);
    Handle root, group;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg", root.out()), SUCCESS);
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg/g", group.out()), SUCCESS);
    const std::string before = SaveRaw(document);

    RecordBuffer spoiled;
    MakeRect(spoiled, 5);
    spoiled.as<SvgRectElement>().transform.size = 3;
    RecordBuffer good;
    MakeRect(good, 5);
    const struct {
        const char* what;
        SvgHandle parent;
        const void* record;
        uint32_t type;
        uint32_t position;
        int32_t status;
    } cases[] = {
        {"record the writer refuses", root, spoiled.get(), SVG_ELEMENT_RECT, SVG_INSERT_LAST_CHILD, ERROR_RECORD_SIZE},
        {"record of another kind", root, good.get(), SVG_ELEMENT_CIRCLE, SVG_INSERT_LAST_CHILD, ERROR_RECORD_SIZE},
        {"no such position", group, good.get(), SVG_ELEMENT_RECT, 3, ERROR_INV_PARAMETER},
        {"type without a name", root, good.get(), 47, SVG_INSERT_LAST_CHILD, FAILURE},
        {"a g straight into the document", document, good.get(), SVG_ELEMENT_G, SVG_INSERT_LAST_CHILD,
         ERROR_INV_PARAMETER},
        {"no parent", nullptr, good.get(), SVG_ELEMENT_RECT, SVG_INSERT_LAST_CHILD, ERROR_INV_PARAMETER},
        {"no record", root, nullptr, SVG_ELEMENT_RECT, SVG_INSERT_LAST_CHILD, ERROR_INV_PARAMETER},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SvgHandle made = reinterpret_cast<SvgHandle>(&made);
        EXPECT_EQ(K_SvgInsertElement(c.parent, c.record, c.type, c.position, &made), c.status);
        // A missing argument is refused before the out handle is cleared.
        if (c.parent && c.record)
            EXPECT_EQ(made, nullptr);
        else
            EXPECT_EQ(made, reinterpret_cast<SvgHandle>(&made));
        EXPECT_EQ(SaveRaw(document), before);
    }

    Handle before1, after1;
    ASSERT_EQ(K_SvgInsertElement(group, good.get(), SVG_ELEMENT_RECT, SVG_INSERT_BEFORE, before1.out()), SUCCESS);
    ASSERT_EQ(K_SvgInsertElement(group, good.get(), SVG_ELEMENT_RECT, SVG_INSERT_AFTER, after1.out()), SUCCESS);
    uint32_t type = 0;
    EXPECT_EQ(K_SvgGetElementType(after1, &type), SUCCESS);
    EXPECT_EQ(type, static_cast<uint32_t>(SVG_ELEMENT_RECT));
    EXPECT_EQ(SaveRaw(document), R"~(<svg><rect width="5"/><g id="a"/><rect width="5"/></svg>)~");
}

TEST(InsertElement, HonoursTheElementLimit)
{
    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg><g/><g/><g/></svg>)~", document), SUCCESS);
    Handle root;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg", root.out()), SUCCESS);
    ASSERT_EQ(K_SvgSetMaximumElements(document, 2), SUCCESS);
    RecordBuffer rect, spoiled;
    MakeRect(rect, 1);
    MakeRect(spoiled, 1);
    spoiled.as<SvgRectElement>().core.size = 1;

    // A write that fails takes its element out again, and the count with it.
    EXPECT_EQ(K_SvgInsertElement(root, spoiled.get(), SVG_ELEMENT_RECT, SVG_INSERT_LAST_CHILD, nullptr),
              ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgInsertElement(root, rect.get(), SVG_ELEMENT_RECT, SVG_INSERT_LAST_CHILD, nullptr), SUCCESS);
    EXPECT_EQ(K_SvgInsertElement(root, rect.get(), SVG_ELEMENT_RECT, SVG_INSERT_LAST_CHILD, nullptr), SUCCESS);
    const std::string full = SaveRaw(document);
    Handle refused;
    EXPECT_EQ(K_SvgInsertElement(root, rect.get(), SVG_ELEMENT_RECT, SVG_INSERT_LAST_CHILD, refused.out()),
              ERROR_MAX_ELEMENTS);
    EXPECT_EQ(refused.get(), nullptr);
    EXPECT_EQ(SaveRaw(document), full);
    EXPECT_EQ(full, R"~(<svg><g/><g/><g/><rect width="1"/><rect width="1"/></svg>)~");
}

TEST(DocumentVersion, EveryElementWritesItselfForTheNewVersion)
{
    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink"><a xlink:type="extended" xlink:href="#x"><rect x="1.50"/></a></svg>)~",
                       document),
              SUCCESS);
    ASSERT_EQ(K_SvgSetDocumentVersion(document, 2), SUCCESS);
    // 1.1 knows only simple links; the extended one is dropped on the way.
    EXPECT_EQ(SaveRaw(document),
              R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" version="1.1"><a xlink:href="#x"><rect x="1.5"/></a></svg>)~");
    ASSERT_EQ(K_SvgSetDocumentVersion(document, 1), SUCCESS);
    EXPECT_EQ(SaveRaw(document),
              R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" version="1.0"><a xlink:href="#x"><rect x="1.5"/></a></svg>)~");
    ASSERT_EQ(K_SvgSetDocumentVersion(document, 0), SUCCESS);
    EXPECT_EQ(SaveRaw(document),
              R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink"><a xlink:href="#x"><rect x="1.5"/></a></svg>)~");

    // An unknown version stops the walk at the root, and stays stored.
    EXPECT_EQ(K_SvgSetDocumentVersion(document, 5), FAILURE);
    uint32_t version = 0;
    EXPECT_EQ(K_SvgGetDocumentVersion(document, &version), SUCCESS);
    EXPECT_EQ(version, 5u);

    Handle root;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg", root.out()), SUCCESS);
    EXPECT_EQ(K_SvgSetDocumentVersion(root, 1), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgSetDocumentVersion(nullptr, 1), ERROR_INV_PARAMETER);
}

TEST(DocumentVersion, AValueTheNewVersionCannotDropStopsTheWalk)
{
    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg><g><a xlink:actuate="onRequest"/></g><rect x="1.50"/></svg>)~", document), SUCCESS);
    EXPECT_EQ(K_SvgSetDocumentVersion(document, 2), ERROR_INV_NUMBER);
    // Children first: the rect after the failing link was never reached.
    EXPECT_EQ(SaveRaw(document), R"~(<svg><g><a xlink:actuate="onRequest"/></g><rect x="1.50"/></svg>)~");
}

TEST(DocumentVersion, WalksFiftyThousandLevelsWithoutRecursion)
{
    constexpr int kDepth = 50000;
    std::string text = "<svg>";
    for (int i = 0; i < kDepth; ++i)
        text += "<g>";
    text += "<rect x=\"2.0\"/>";
    for (int i = 0; i < kDepth; ++i)
        text += "</g>";
    text += "</svg>";
    Handle document;
    ASSERT_EQ(LoadText(text, document), SUCCESS);
    ASSERT_EQ(K_SvgSetDocumentVersion(document, 1), SUCCESS);
    Handle root, rect;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg", root.out()), SUCCESS);
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"//rect", rect.out()), SUCCESS);
    EXPECT_EQ(Attribute(root, u"version"), "1.0");
    EXPECT_EQ(Attribute(rect, u"x"), "2");
}

TEST(ResizeDocument, ScalesAFlatRootAndItsBoundsThroughTheViewBox)
{
    Handle plain;
    ASSERT_EQ(LoadText(R"~(<svg width="100" height="50"/>)~", plain), SUCCESS);
    EXPECT_EQ(K_SvgResizeDocument(plain, 2.0), ERROR_NOT_FLAT);

    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg IsFlat="true" x="3" width="100" height="50mm" DpiX="96" DpiY="96" Bounds="0, 0, 100, 50" IsTrimmed="false"><rect/></svg>)~",
                       document),
              SUCCESS);
    Handle root;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg", root.out()), SUCCESS);
    EXPECT_EQ(K_SvgResizeDocument(root, 2.0), ERROR_INV_PARAMETER);
    ASSERT_EQ(K_SvgResizeDocument(document, 2.0), SUCCESS);
    // Writing the root drops the flat mark and the bounds, which come back
    // at the end of the attributes.
    EXPECT_EQ(SaveRaw(document),
              R"~(<svg x="3" width="200" height="100mm" DpiX="96" DpiY="96" IsTrimmed="false" viewBox="3 0 100 50" Bounds="0, 0, 200, 100" IsFlat="true"><rect/></svg>)~");
    int32_t flat = 0;
    EXPECT_EQ(K_SvgIsFlatDocument(document, &flat), SUCCESS);
    EXPECT_EQ(flat, 1);

    // The view box made once stays; a second resize only scales the size.
    ASSERT_EQ(K_SvgResizeDocument(document, 0.5), SUCCESS);
    EXPECT_EQ(Attribute(root, u"viewBox"), "3 0 100 50");
    EXPECT_EQ(Attribute(root, u"width"), "100");
}

TEST(FileOptions, TakePlainSizesAndResolutionsInPairs)
{
    const struct {
        const char* markup;
        double width, height, dpiX, dpiY;
    } cases[] = {
        {R"~(<svg width="100" height="50" DpiX="300" DpiY="150"/>)~", 100, 50, 300, 150},
        {R"~(<svg width="100px" height="50%" DpiX="300"/>)~", -1, -1, -1, -1},
        {R"~(<svg height="7.5" DpiY="72"/>)~", -1, 7.5, -1, -1},
        {R"~(<svg:svg width="100"/>)~", -1, -1, -1, -1},  // only a plain svg root is asked
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.markup);
        Handle document;
        ASSERT_EQ(LoadText(c.markup, document), SUCCESS);
        SvgFileOptions options{};
        ASSERT_EQ(K_SvgGetFileOptions(document, &options, kSvgFileOptionsSize), SUCCESS);
        EXPECT_EQ(options.size, kSvgFileOptionsSize);
        EXPECT_EQ(options.width, c.width);
        EXPECT_EQ(options.height, c.height);
        EXPECT_EQ(options.dpiX, c.dpiX);
        EXPECT_EQ(options.dpiY, c.dpiY);
    }
}

TEST(FileOptions, CheckArgumentsInOrder)
{
    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg width="10"><rect/></svg>)~", document), SUCCESS);
    Handle root, rect;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg", root.out()), SUCCESS);
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg/rect", rect.out()), SUCCESS);
    SvgFileOptions options{};
    EXPECT_EQ(K_SvgGetFileOptions(nullptr, &options, 1), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetFileOptions(document, nullptr, 1), ERROR_INV_PARAMETER);
    // The size is tested before the kind of handle.
    EXPECT_EQ(K_SvgGetFileOptions(root, &options, kSvgFileOptionsSize - 1), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgGetFileOptions(root, &options, kSvgFileOptionsSize), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetSvgNodeFileOptions(document, &options, kSvgFileOptionsSize), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetSvgNodeFileOptions(rect, &options, kSvgFileOptionsSize), ERROR_RECORD_SIZE);
    ASSERT_EQ(K_SvgGetSvgNodeFileOptions(root, &options, kSvgFileOptionsSize), SUCCESS);
    EXPECT_EQ(options.width, 10.0);
    EXPECT_EQ(options.height, -1.0);
}
