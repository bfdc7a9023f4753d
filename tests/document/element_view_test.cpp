#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/numeric.h"
#include "document/svg_base_handler.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_handlers.h"
#include "document/svg_element_view.h"

namespace {

struct Document {
    SvgDocumentHandler* handler = nullptr;
    explicit Document(const char* text)
    {
        SvgBaseHandler* made = nullptr;
        EXPECT_EQ(CreateSvgHandler(SVG_ELEMENT_DOCUMENT, &made), SUCCESS);
        handler = static_cast<SvgDocumentHandler*>(made);
        EXPECT_EQ(handler->LoadFromMemory(text, std::char_traits<char>::length(text), nullptr), SUCCESS);
    }
    ~Document() { DestroySvgHandler(handler); }
    std::string Saved()
    {
        std::ostringstream out;
        handler->tree().save(out, "", pugi::format_raw | pugi::format_no_declaration);
        return out.str();
    }
};

}  // namespace

TEST(ElementView, WalksElementChildrenOnlyAndKnowsEachType)
{
    Document document(R"(<svg xmlns="http://www.w3.org/2000/svg">text<!-- c --><g><rect/></g><?pi x?><blob/><svg:circle xmlns:svg="http://www.w3.org/2000/svg"/></svg>)");
    SvgElementView root = RootView(*document.handler);
    ASSERT_TRUE(root);
    EXPECT_EQ(root.type(), static_cast<uint32_t>(SVG_ELEMENT_SVG));
    std::vector<uint32_t> types;
    for (SvgElementView child = root.FirstChild(); child; child = child.NextSibling())
        types.push_back(child.type());
    EXPECT_EQ(types, (std::vector<uint32_t>{SVG_ELEMENT_G, SVG_ELEMENT_UNKNOWN, SVG_ELEMENT_CIRCLE}));
    SvgElementView rect = root.FirstChild().FirstChild();
    EXPECT_EQ(rect.type(), static_cast<uint32_t>(SVG_ELEMENT_RECT));
    EXPECT_EQ(rect.Parent().Parent().node(), root.node());
    EXPECT_FALSE(root.Parent());
    EXPECT_FALSE(rect.FirstChild());
}

TEST(ElementView, ReadsTheSameRecordAsTheHandlerAndRefusesAnotherLayout)
{
    Document document(R"(<svg xmlns="http://www.w3.org/2000/svg"><rect x="1" y="2" width="30" height="40" fill="red"/><defs/></svg>)");
    SvgElementView rect = RootView(*document.handler).FirstChild();
    ScopedRecord<SvgRectElement> record(SVG_ELEMENT_RECT);
    ASSERT_EQ(rect.Read(record), SUCCESS);
    EXPECT_EQ(record->x.value, 1.0);
    EXPECT_EQ(record->height.value, 40.0);
    EXPECT_EQ(record->style.paint.fill.paint.kind, static_cast<uint32_t>(SVG_PAINT_COLOR));

    ScopedRecord<SvgCircleElement> circle(SVG_ELEMENT_CIRCLE);
    EXPECT_EQ(rect.Read(circle), ERROR_RECORD_SIZE);
    // defs shares the g layout.
    ScopedRecord<SvgGElement> group(SVG_ELEMENT_G);
    EXPECT_EQ(rect.NextSibling().Read(group), SUCCESS);
}

TEST(ElementView, AFailedReadLeavesARecordThatFreesOnce)
{
    Document document(R"(<svg xmlns="http://www.w3.org/2000/svg"><path id="p" d="M0 0 L10-20"/></svg>)");
    SvgElementView path = RootView(*document.handler).FirstChild();
    ScopedRecord<SvgPathElement> record(SVG_ELEMENT_PATH);
    EXPECT_NE(path.Read(record), SUCCESS);
    EXPECT_EQ(record->core.id, nullptr);
    // The listener of the test main fails the test if anything stays allocated.
}

TEST(ElementView, ReadsStyleFromAttributesAndTheStyleAttribute)
{
    Document document(R"(<svg xmlns="http://www.w3.org/2000/svg"><g opacity="0.5" style="fill:blue"/></svg>)");
    ScopedStyle style;
    ASSERT_EQ(RootView(*document.handler).FirstChild().ReadStyle(style), SUCCESS);
    EXPECT_EQ(style->opacity, 0.5);
    EXPECT_EQ(style->paint.fill.paint.kind, static_cast<uint32_t>(SVG_PAINT_COLOR));
}

TEST(ElementView, InsertsThroughTheChangeNoticeLikeTheExport)
{
    Document document(R"(<svg xmlns="http://www.w3.org/2000/svg" IsFlat="true"><g/></svg>)");
    document.handler->SetMaximumElements(1);
    SvgElementView group = RootView(*document.handler).FirstChild();
    ScopedRecord<SvgRectElement> rect(SVG_ELEMENT_RECT);
    rect->width.value = 5.0;
    SvgElementView inserted;
    ASSERT_EQ(group.Insert(SVG_ELEMENT_RECT, &rect.get(), SVG_INSERT_LAST_CHILD, &inserted), SUCCESS);
    EXPECT_EQ(inserted.type(), static_cast<uint32_t>(SVG_ELEMENT_RECT));
    EXPECT_EQ(document.Saved(), R"(<svg xmlns="http://www.w3.org/2000/svg"><g><rect width="5"/></g></svg>)");
    // The limit counts the elements inserted since it was set.
    EXPECT_EQ(group.Insert(SVG_ELEMENT_RECT, &rect.get(), SVG_INSERT_LAST_CHILD), ERROR_MAX_ELEMENTS);
}
