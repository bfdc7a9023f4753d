#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/element_table.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_handlers.h"

namespace {

// A document with a tree and handles made the way navigation makes them.
struct Fixture {
    SvgDocumentHandler* document = nullptr;
    explicit Fixture(const char* text)
    {
        SvgBaseHandler* made = nullptr;
        EXPECT_EQ(CreateSvgHandler(SVG_ELEMENT_DOCUMENT, &made), SUCCESS);
        document = static_cast<SvgDocumentHandler*>(made);
        EXPECT_EQ(document->LoadFromMemory(text, std::char_traits<char>::length(text), nullptr), SUCCESS);
    }
    ~Fixture() { DestroySvgHandler(document); }
    SvgBaseHandler* Wrap(pugi::xml_node node)
    {
        SvgBaseHandler* handler = nullptr;
        EXPECT_EQ(WrapXmlNode(&handler, node), SUCCESS);
        AttachOwner(document, handler);
        return handler;
    }
    std::string Saved()
    {
        std::ostringstream out;
        document->tree().save(out, "", pugi::format_raw | pugi::format_no_declaration);
        return out.str();
    }
};

std::u16string Take(char16_t* text)
{
    std::u16string copy = text ? std::u16string(text) : u"<null>";
    KV_FREE(text);
    return copy;
}

}  // namespace

TEST(ElementTable, LooksUpNamesExactlyWithTheSvgPrefixDropped)
{
    const struct { const char* name; uint32_t type; } cases[] = {
        {"svg", 2}, {"g", 3}, {"rect", 13}, {"svg:rect", 13}, {"textPath", 22}, {"color-profile", 28},
        {"font-face-name", 43}, {"a", 45}, {"mask", 46}, {"RECT", 0}, {"textpath", 0}, {"", 0},
        {"svg:", 0}, {"xsvg:rect", 0}, {"blob", 0}, {"svg:svg", 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(LookupElementType(c.name), c.type);
    }
    for (uint32_t type = 2; type <= 46; ++type)
        EXPECT_EQ(LookupElementType(ToUtf8(SvgElementNameWide(type))), type);
    EXPECT_TRUE(SvgElementNameWide(1).empty());
    EXPECT_TRUE(SvgElementNameWide(47).empty());
    EXPECT_EQ(LookupElementType(std::string(70, 'g')), 0u);
    EXPECT_EQ(LookupElementType("r\xC3\xA9" "ct"), 0u);
}

TEST(Handlers, WrapGivesTypeByNameAndRefusesUnnamedNodes)
{
    Fixture f("<svg><svg:rect/><RECT/><text>hello</text></svg>");
    pugi::xml_node root = f.document->Root();
    SvgBaseHandler* prefixed = f.Wrap(root.first_child());
    SvgBaseHandler* upper = f.Wrap(root.first_child().next_sibling());
    EXPECT_EQ(prefixed->type(), 13u);
    EXPECT_NE(dynamic_cast<SvgRectElementHandler*>(prefixed), nullptr);
    EXPECT_EQ(upper->type(), 0u);

    SvgBaseHandler* refused = reinterpret_cast<SvgBaseHandler*>(0x1);
    EXPECT_EQ(WrapXmlNode(&refused, root.last_child().first_child()), ERROR_INV_PARAMETER);
    EXPECT_EQ(refused, nullptr);

    // The document node wraps as a fresh, separate document.
    SvgBaseHandler* wrapper = f.Wrap(f.document->tree());
    EXPECT_EQ(wrapper->type(), 1u);
    EXPECT_NE(wrapper, f.document);
    EXPECT_EQ(wrapper->ResolveDocument(), wrapper);
    EXPECT_EQ(prefixed->ResolveDocument(), f.document);

    EXPECT_EQ(prefixed->bind(root), FAILURE);  // bound once only
    EXPECT_EQ(prefixed->node(), root.first_child());
    char16_t* record[8];
    EXPECT_EQ(upper->getElement(record, sizeof record, 0), ERROR_INV_PARAMETER);
    EXPECT_EQ(wrapper->getElement(record, sizeof record, 0), ERROR_INV_PARAMETER);
    for (SvgBaseHandler* h : {prefixed, upper, wrapper})
        DestroySvgHandler(h);
}

TEST(Handlers, DocumentTakesOnlyAnSvgRootAsLastChild)
{
    Fixture f("<svg/>");
    SvgBaseHandler* made = nullptr;
    ASSERT_EQ(CreateSvgHandler(SVG_ELEMENT_G, &made), SUCCESS);
    EXPECT_EQ(f.document->insertTyped(SVG_ELEMENT_G, kSvgInsertLastChild, made), ERROR_INV_PARAMETER);
    EXPECT_EQ(f.document->insertTyped(SVG_ELEMENT_SVG, kSvgInsertBefore, made), ERROR_INV_PARAMETER);
    EXPECT_EQ(f.document->insertNamed(u"svg:svg", kSvgInsertLastChild, made), ERROR_INV_PARAMETER);
    EXPECT_EQ(f.document->insertTyped(SVG_ELEMENT_SVG, kSvgInsertLastChild, made), SUCCESS);
    EXPECT_EQ(made->type(), 2u);
    EXPECT_EQ(f.Saved(), "<svg/><svg/>");
    DestroySvgHandler(made);
}

TEST(Handlers, InsertionPositionsAroundAnElement)
{
    Fixture f("<svg><g/></svg>");
    SvgBaseHandler* g = f.Wrap(f.document->Root().first_child());
    SvgBaseHandler* root = f.Wrap(f.document->Root());
    const struct { SvgBaseHandler* at; uint32_t position; uint32_t type; int32_t status; } steps[] = {
        {g, kSvgInsertBefore, SVG_ELEMENT_RECT, SUCCESS},
        {g, kSvgInsertAfter, SVG_ELEMENT_CIRCLE, SUCCESS},
        {g, kSvgInsertLastChild, SVG_ELEMENT_TEXT, SUCCESS},
        {root, kSvgInsertBefore, SVG_ELEMENT_DESC, SUCCESS},  // a sibling of the root, unchecked
        {g, 3, SVG_ELEMENT_RECT, ERROR_INV_PARAMETER},
        {g, kSvgInsertLastChild, 1, FAILURE},
        {g, kSvgInsertLastChild, 47, FAILURE},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.type);
        SvgBaseHandler* made = nullptr;
        ASSERT_EQ(CreateSvgHandler(s.type, &made), SUCCESS);
        EXPECT_EQ(s.at->insertTyped(s.type, s.position, made), s.status);
        DestroySvgHandler(made);
    }
    EXPECT_EQ(f.Saved(), "<desc/><svg><rect/><g><text/></g><circle/></svg>");

    // A copy goes where a new element would.
    pugi::xml_node copied;
    EXPECT_EQ(g->insertCopy(root, kSvgInsertLastChild, &copied), SUCCESS);
    EXPECT_STREQ(copied.parent().name(), "g");
    EXPECT_EQ(f.Saved(), "<desc/><svg><rect/><g><text/><svg><rect/><g><text/></g><circle/></svg></g><circle/></svg>");
    DestroySvgHandler(g);
    DestroySvgHandler(root);
}

TEST(Handlers, RemovingTheRootLeavesADocumentWithoutOne)
{
    Fixture f("<svg><g/></svg>");
    SvgBaseHandler* root = f.Wrap(f.document->Root());
    EXPECT_EQ(root->remove(), SUCCESS);
    EXPECT_FALSE(f.document->Root());
    DestroySvgHandler(root);

    SvgBaseHandler* unbound = nullptr;
    ASSERT_EQ(CreateSvgHandler(SVG_ELEMENT_G, &unbound), SUCCESS);
    EXPECT_EQ(unbound->remove(), ERROR_NODE_UNBOUND);
    EXPECT_EQ(unbound->SetAttribute(u"x", u"1"), ERROR_NODE_UNBOUND);
    EXPECT_EQ(unbound->RemoveAttribute(u"x"), ERROR_NODE_UNBOUND);
    DestroySvgHandler(unbound);
}

TEST(Handlers, AttributeAndTextOperations)
{
    Fixture f("<svg><text x=\"1\">hello</text><g/></svg>");
    SvgBaseHandler* text = f.Wrap(f.document->Root().first_child());
    SvgBaseHandler* g = f.Wrap(f.document->Root().last_child());
    char16_t* out = nullptr;

    EXPECT_EQ(text->GetName(&out), SUCCESS);
    EXPECT_EQ(Take(out), u"text");
    EXPECT_EQ(text->GetValue(&out), SUCCESS);
    EXPECT_EQ(Take(out), u"hello");
    EXPECT_EQ(g->GetValue(&out), SUCCESS);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(g->SetValue(u"x"), FAILURE);  // no character data to replace
    EXPECT_EQ(text->SetValue(u"caf\u00E9"), SUCCESS);
    EXPECT_EQ(text->SetValue(nullptr), SUCCESS);

    EXPECT_EQ(text->GetAttribute(u"x", &out), SUCCESS);
    EXPECT_EQ(Take(out), u"1");
    EXPECT_EQ(text->GetAttribute(u"missing", &out), SUCCESS);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(text->GetAttribute(nullptr, &out), ERROR_INV_PARAMETER);

    EXPECT_EQ(text->SetAttribute(u"fill", u"red"), SUCCESS);
    EXPECT_EQ(text->SetAttribute(u"x", u"2"), SUCCESS);
    EXPECT_EQ(text->SetAttribute(u"fill", u""), SUCCESS);  // empty means remove
    EXPECT_EQ(text->SetAttribute(u"fill", nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(text->RemoveAttribute(u"nothing"), ERROR_ATTRIBUTE_NOT_FOUND);
    EXPECT_EQ(text->PrefixStylePreserveSpace(), SUCCESS);
    EXPECT_EQ(g->SetAttribute(u"style", u"fill:red"), SUCCESS);
    EXPECT_EQ(g->PrefixStylePreserveSpace(), SUCCESS);
    EXPECT_EQ(f.Saved(), "<svg><text x=\"2\" style=\"white-space:pre;\"></text>"
                         "<g style=\"white-space:pre;fill:red\"/></svg>");
    DestroySvgHandler(text);
    DestroySvgHandler(g);
}

TEST(Handlers, UnknownTypeNumbersMakeTheBaseElementClass)
{
    SvgBaseHandler* made = reinterpret_cast<SvgBaseHandler*>(0x1);
    EXPECT_EQ(CreateSvgHandler(SVG_ELEMENT_RECT, nullptr), ERROR_INV_PARAMETER);
    ASSERT_EQ(CreateSvgHandler(99, &made), SUCCESS);
    EXPECT_EQ(made->type(), 0u);
    EXPECT_EQ(TrackedLiveResources(), 1u);
    DestroySvgHandler(made);
    EXPECT_EQ(TrackedLiveResources(), 0u);
}
