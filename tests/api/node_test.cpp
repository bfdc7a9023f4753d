#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "api/document_fixture.h"
#include "base/tracked_memory.h"

using kvtest::Handle;
using kvtest::LoadText;
using kvtest::SaveRaw;

namespace {

std::string NameOf(SvgHandle node)
{
    KvChar* name = nullptr;
    EXPECT_EQ(K_SvgGetElementName(node, &name), SUCCESS);
    std::string text;
    for (const KvChar* c = name; c && *c; ++c)
        text += static_cast<char>(*c);
    K_SvgFreeMemory(name);
    return text;
}

struct Visits {
    std::vector<std::string> names;
    std::string removeName;  // removed when visited
};

int32_t Record(SvgHandle element, void* user)
{
    auto* visits = static_cast<Visits*>(user);
    visits->names.push_back(NameOf(element));
    if (!visits->removeName.empty() && visits->names.back() == visits->removeName)
        return K_SvgRemoveElement(element);
    return SUCCESS;
}

std::string Joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

__attribute__((no_sanitize("address", "undefined"))) int32_t WriteThroughNull(SvgHandle, void*)
{
    volatile int* nowhere = nullptr;
    *nowhere = 1;
    return SUCCESS;
}

__attribute__((no_sanitize("undefined"))) int32_t DivideByZero(SvgHandle, void* user)
{
    volatile int zero = *static_cast<int*>(user);
    volatile int result = 7 / zero;
    return result ? SUCCESS : FAILURE;
}

constexpr std::string_view kTree = "<svg><g><rect/><circle/></g><text>t<tspan>s</tspan></text><line/></svg>";

}  // namespace

TEST(Navigation, StepsToRelativesAndRefusesTextNodes)
{
    Handle document;
    ASSERT_EQ(LoadText(kTree, document), SUCCESS);
    Handle root, g, last, text, first, previous;
    ASSERT_EQ(K_SvgGetFirstChildNode(document, root.out()), SUCCESS);
    EXPECT_EQ(NameOf(root), "svg");
    ASSERT_EQ(K_SvgGetFirstChildNode(root, g.out()), SUCCESS);
    EXPECT_EQ(NameOf(g), "g");
    ASSERT_EQ(K_SvgGetLastChildNode(root, last.out()), SUCCESS);
    EXPECT_EQ(NameOf(last), "line");
    ASSERT_EQ(K_SvgGetPreviousSiblingNode(last, text.out()), SUCCESS);
    EXPECT_EQ(NameOf(text), "text");

    SvgHandle out = reinterpret_cast<SvgHandle>(0x1);
    EXPECT_EQ(K_SvgGetFirstChildNode(text, &out), ERROR_INV_PARAMETER);  // character data comes first
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(K_SvgGetNextSiblingNode(last, &out), SUCCESS);  // the end of a walk
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(K_SvgGetNextSiblingNode(nullptr, &out), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetNextSiblingNode(last, nullptr), ERROR_INV_PARAMETER);

    // The parent of the root is a new document-kind handle, not the caller's.
    Handle wrapper;
    ASSERT_EQ(K_SvgGetParentNode(root, wrapper.out()), SUCCESS);
    uint32_t type = 0;
    EXPECT_EQ(K_SvgGetElementType(wrapper, &type), SUCCESS);
    EXPECT_EQ(type, 1u);
    EXPECT_NE(wrapper.get(), document.get());
    EXPECT_EQ(K_SvgGetParentNode(wrapper, &out), SUCCESS);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(K_SvgGetMaximumElements(wrapper), 0u);
}

TEST(Selection, SingleAndManyMatches)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><g id=\"a\"/><g id=\"b\"><rect id=\"c\"/></g></svg>", document), SUCCESS);
    Handle single;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"//g[@id='b']", single.out()), SUCCESS);
    EXPECT_EQ(NameOf(single), "g");
    SvgHandle none = reinterpret_cast<SvgHandle>(0x1);
    EXPECT_EQ(K_SvgSelectSingleNode(document, u"//g/@id", &none), SUCCESS);  // an attribute is no node
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(K_SvgSelectSingleNode(document, u"//[[[", &none), SUCCESS);  // malformed finds nothing
    EXPECT_EQ(none, nullptr);

    SvgNodesIterator iterator{kSvgNodesIteratorSize - 1, 77, nullptr};
    EXPECT_EQ(K_SvgSelectNodes(document, u"//g", &iterator), ERROR_RECORD_SIZE);
    EXPECT_EQ(iterator.count, 77);  // left as it was

    iterator.size = kSvgNodesIteratorSize;
    ASSERT_EQ(K_SvgSelectNodes(document, u"//nothing", &iterator), SUCCESS);
    EXPECT_EQ(iterator.count, 0);
    EXPECT_EQ(iterator.nodes, nullptr);
    EXPECT_EQ(K_SvgFreeIterator(&iterator), SUCCESS);

    // Attributes count but leave null slots, which gather at the end.
    ASSERT_EQ(K_SvgSelectNodes(document, u"//g/@id | //rect", &iterator), SUCCESS);
    ASSERT_EQ(iterator.count, 3);
    EXPECT_EQ(NameOf(iterator.nodes[0]), "rect");
    EXPECT_EQ(iterator.nodes[1], nullptr);
    EXPECT_EQ(iterator.nodes[2], nullptr);
    EXPECT_EQ(K_SvgFreeIterator(&iterator), SUCCESS);
    EXPECT_EQ(iterator.count, 0);

    ASSERT_EQ(K_SvgSelectNodes(document, u"//g | //rect", &iterator), SUCCESS);
    ASSERT_EQ(iterator.count, 3);
    EXPECT_EQ(NameOf(iterator.nodes[0]) + NameOf(iterator.nodes[1]) + NameOf(iterator.nodes[2]), "ggrect");
    iterator.size = 11;
    EXPECT_EQ(K_SvgFreeIterator(&iterator), ERROR_RECORD_SIZE);
    iterator.size = kSvgNodesIteratorSize;
    EXPECT_EQ(K_SvgFreeIterator(&iterator), SUCCESS);
}

TEST(Enumeration, ModesVisitInTheirOrder)
{
    Handle document;
    ASSERT_EQ(LoadText(kTree, document), SUCCESS);
    Handle root;
    ASSERT_EQ(K_SvgGetFirstChildNode(document, root.out()), SUCCESS);
    const struct { uint32_t mode; const char* expected; } cases[] = {
        {SVG_ENUM_CHILDREN, "g text line"},
        {SVG_ENUM_PREORDER, "g rect circle text tspan line"},
        {SVG_ENUM_POSTORDER, "rect circle g tspan text line"},
        {3, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        Visits visits;
        EXPECT_EQ(K_SvgEnumerateElements(root, c.mode, Record, &visits), SUCCESS);
        EXPECT_EQ(Joined(visits.names), c.expected);
    }
    Visits fromDocument;
    EXPECT_EQ(K_SvgEnumerateElements(document, SVG_ENUM_PREORDER, Record, &fromDocument), SUCCESS);
    EXPECT_EQ(Joined(fromDocument.names), "svg g rect circle text tspan line");
    EXPECT_EQ(K_SvgEnumerateElements(nullptr, SVG_ENUM_PREORDER, Record, &fromDocument), ERROR_INV_PARAMETER);
}

TEST(Enumeration, CallbackMayRemoveTheElementItIsGiven)
{
    const struct { uint32_t mode; const char* remove; const char* visited; const char* left; } cases[] = {
        {SVG_ENUM_CHILDREN, "g", "g text line", "<svg><text>t<tspan>s</tspan></text><line/></svg>"},
        {SVG_ENUM_POSTORDER, "g", "rect circle g tspan text line",
         "<svg><text>t<tspan>s</tspan></text><line/></svg>"},
        {SVG_ENUM_POSTORDER, "rect", "rect circle g tspan text line",
         "<svg><g><circle/></g><text>t<tspan>s</tspan></text><line/></svg>"},
        // In pre-order the removed element's children are no longer walked.
        {SVG_ENUM_PREORDER, "g", "g text tspan line", "<svg><text>t<tspan>s</tspan></text><line/></svg>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.remove) + " in mode " + std::to_string(c.mode));
        Handle document;
        ASSERT_EQ(LoadText(kTree, document), SUCCESS);
        Handle root;
        ASSERT_EQ(K_SvgGetFirstChildNode(document, root.out()), SUCCESS);
        Visits visits;
        visits.removeName = c.remove;
        EXPECT_EQ(K_SvgEnumerateElements(root, c.mode, Record, &visits), SUCCESS);
        EXPECT_EQ(Joined(visits.names), c.visited);
        EXPECT_EQ(SaveRaw(document), c.left);
    }
}

TEST(Enumeration, CallbackRemovingItsNextSiblingEndsThatLevelSafely)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><a/><b/><c/></svg>", document), SUCCESS);
    auto removeNext = [](SvgHandle element, void* user) -> int32_t {
        static_cast<Visits*>(user)->names.push_back(NameOf(element));
        Handle next;
        if (K_SvgGetNextSiblingNode(element, next.out()) == SUCCESS && next.get())
            return K_SvgRemoveElement(next);
        return SUCCESS;
    };
    Handle root;
    ASSERT_EQ(K_SvgGetFirstChildNode(document, root.out()), SUCCESS);
    Visits visits;
    EXPECT_EQ(K_SvgEnumerateElements(root, SVG_ENUM_CHILDREN, removeNext, &visits), SUCCESS);
    EXPECT_EQ(Joined(visits.names), "a");
    EXPECT_EQ(SaveRaw(document), "<svg><a/><c/></svg>");
}

TEST(Enumeration, FilterHidesWholeSubtreesAndStopsOnItsStatus)
{
    Handle document;
    ASSERT_EQ(LoadText(kTree, document), SUCCESS);
    auto skipGroups = [](const SvgFilterElementInfo* info, int32_t* skip, void*) -> int32_t {
        *skip = info->type == SVG_ELEMENT_G || info->type == SVG_ELEMENT_TEXT;
        return SUCCESS;
    };
    ASSERT_EQ(K_SvgSetFilterElementsCallback(document, skipGroups, nullptr), SUCCESS);
    for (uint32_t mode : {SVG_ENUM_CHILDREN, SVG_ENUM_PREORDER, SVG_ENUM_POSTORDER}) {
        Visits visits;
        EXPECT_EQ(K_SvgEnumerateElements(document, mode, Record, &visits), SUCCESS);
        EXPECT_EQ(Joined(visits.names), mode == SVG_ENUM_CHILDREN ? "svg" : mode == SVG_ENUM_PREORDER ? "svg line" : "line svg");
    }
    auto stopAtLine = [](const SvgFilterElementInfo* info, int32_t*, void*) -> int32_t {
        return info->type == SVG_ELEMENT_LINE ? ERROR_FILE_FORMAT : SUCCESS;
    };
    ASSERT_EQ(K_SvgSetFilterElementsCallback(document, stopAtLine, nullptr), SUCCESS);
    Visits visits;
    EXPECT_EQ(K_SvgEnumerateElements(document, SVG_ENUM_PREORDER, Record, &visits), ERROR_FILE_FORMAT);
    EXPECT_EQ(Joined(visits.names), "svg g rect circle text tspan");
}

TEST(Enumeration, FaultsInsideCallbacksBecomeCallbackFault)
{
    Handle document;
    ASSERT_EQ(LoadText(kTree, document), SUCCESS);
    int zero = 0;
    const struct { const char* name; SvgElementCallback callback; void* user; } faults[] = {
        {"exception", [](SvgHandle, void*) -> int32_t { throw std::runtime_error("callback failed"); }, nullptr},
        {"null write", WriteThroughNull, nullptr},
        {"divide by zero", DivideByZero, &zero},
    };
    for (const auto& f : faults) {
        SCOPED_TRACE(f.name);
        for (uint32_t mode : {SVG_ENUM_CHILDREN, SVG_ENUM_POSTORDER})
            EXPECT_EQ(K_SvgEnumerateElements(document, mode, f.callback, f.user), ERROR_CALLBACK_FAULT);
        // The tree and the guard stay usable.
        Visits visits;
        EXPECT_EQ(K_SvgEnumerateElements(document, SVG_ENUM_PREORDER, Record, &visits), SUCCESS);
        EXPECT_EQ(visits.names.size(), 7u);
    }
    auto stop = [](SvgHandle, void*) -> int32_t { return ERROR_NO_SVG_ROOT; };
    EXPECT_EQ(K_SvgEnumerateElements(document, SVG_ENUM_POSTORDER, stop, nullptr), ERROR_NO_SVG_ROOT);
}

TEST(Enumeration, DeepTreesWalkInEveryMode)
{
    constexpr int kDepth = 50000;
    std::string text = "<svg>";
    for (int i = 0; i < kDepth; ++i)
        text += "<g>";
    for (int i = 0; i < kDepth; ++i)
        text += "</g>";
    text += "</svg>";
    Handle document;
    ASSERT_EQ(LoadText(text, document), SUCCESS);
    auto count = [](SvgHandle, void* user) -> int32_t {
        ++*static_cast<int*>(user);
        return SUCCESS;
    };
    for (uint32_t mode : {SVG_ENUM_PREORDER, SVG_ENUM_POSTORDER}) {
        int visited = 0;
        EXPECT_EQ(K_SvgEnumerateElements(document, mode, count, &visited), SUCCESS);
        EXPECT_EQ(visited, kDepth + 1);
    }
}

TEST(Editing, UserElementsTextAndAttributes)
{
    Handle document;
    ASSERT_EQ(K_SvgCreateDocument(document.out(), 0), SUCCESS);
    SvgHandle refused = reinterpret_cast<SvgHandle>(0x1);
    EXPECT_EQ(K_SvgInsertUserElement(document, u"g", SVG_INSERT_LAST_CHILD, &refused), ERROR_INV_PARAMETER);
    EXPECT_EQ(refused, nullptr);
    Handle root, custom, prefixed;
    ASSERT_EQ(K_SvgInsertUserElement(document, u"svg", SVG_INSERT_LAST_CHILD, root.out()), SUCCESS);
    ASSERT_EQ(K_SvgInsertUserElement(root, u"my:thing", SVG_INSERT_LAST_CHILD, custom.out()), SUCCESS);
    ASSERT_EQ(K_SvgInsertUserElement(root, u"svg:rect", SVG_INSERT_LAST_CHILD, prefixed.out()), SUCCESS);
    EXPECT_EQ(K_SvgInsertUserElement(root, u"desc", SVG_INSERT_BEFORE, nullptr), SUCCESS);
    uint32_t type = 0;
    EXPECT_EQ(K_SvgGetElementType(custom, &type), SUCCESS);
    EXPECT_EQ(type, 0u);
    EXPECT_EQ(K_SvgGetElementType(prefixed, &type), SUCCESS);
    EXPECT_EQ(type, 13u);

    EXPECT_EQ(K_SvgSetElementAttributeValue(prefixed, u"width", u"10"), SUCCESS);
    EXPECT_EQ(K_SvgSetElementAttributeValue(custom, u"note", u"caf\u00E9"), SUCCESS);
    EXPECT_EQ(K_SvgRemoveElementAttribute(custom, u"none"), ERROR_ATTRIBUTE_NOT_FOUND);
    EXPECT_EQ(K_SvgRemoveElementAttribute(nullptr, u"none"), ERROR_INV_PARAMETER);
    KvChar* value = nullptr;
    EXPECT_EQ(K_SvgGetElementAttributeValue(prefixed, u"width", &value), SUCCESS);
    EXPECT_EQ(std::u16string(value), u"10");
    K_SvgFreeMemory(value);
    EXPECT_EQ(SaveRaw(document), "<desc/><svg><my:thing note=\"caf\xC3\xA9\"/><svg:rect width=\"10\"/></svg>");
    ASSERT_EQ(K_SvgSetElementAttributeValue(prefixed, u"height", u"4"), SUCCESS);
    std::u16string names;
    for (uint32_t index = 0;; ++index) {
        KvChar* name = nullptr;
        ASSERT_EQ(K_SvgGetElementAttributeNameAt(prefixed, index, &name), SUCCESS);
        if (!name)
            break;
        names += std::u16string(name) + u";";
        K_SvgFreeMemory(name);
    }
    EXPECT_EQ(names, u"width;height;");
    EXPECT_EQ(K_SvgRemoveElement(custom), SUCCESS);
    EXPECT_EQ(K_SvgRemoveElement(nullptr), ERROR_INV_PARAMETER);
}

TEST(Editing, ElementLimitHoldsThroughInsertion)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg/>", document), SUCCESS);
    Handle root;
    ASSERT_EQ(K_SvgGetFirstChildNode(document, root.out()), SUCCESS);
    ASSERT_EQ(K_SvgSetMaximumElements(document, 1), SUCCESS);
    EXPECT_EQ(K_SvgInsertUserElement(root, u"g", SVG_INSERT_LAST_CHILD, nullptr), SUCCESS);
    SvgHandle refused = reinterpret_cast<SvgHandle>(0x1);
    EXPECT_EQ(K_SvgInsertUserElement(root, u"g", SVG_INSERT_LAST_CHILD, &refused), ERROR_MAX_ELEMENTS);
    EXPECT_EQ(refused, nullptr);
    EXPECT_EQ(SaveRaw(document), "<svg><g/></svg>");
}
