// Blanks between the parts of a text are characters of the text; blanks
// that only indent markup are not. What a caller sees in the saved tree.
#include <string>

#include <gtest/gtest.h>

#include "api/document_fixture.h"

TEST(TextWhiteSpace, BlanksInsideTextStayAndIndentationGoes)
{
    const struct {
        const char* name;
        const char* svg;
        const char* saved;
    } cases[] = {
        {"indentation between shapes goes",
         "<svg>\n  <rect width=\"1\"/>\n  <g>\n    <circle r=\"1\"/>\n  </g>\n</svg>",
         "<svg><rect width=\"1\"/><g><circle r=\"1\"/></g></svg>"},
        {"the blank between two tspans stays, the indentation around the text goes",
         "<svg>\n  <text><tspan>a</tspan> <tspan>b</tspan></text>\n</svg>",
         "<svg><text><tspan>a</tspan> <tspan>b</tspan></text></svg>"},
        {"indentation inside a text is text",
         "<svg><text>\n  <tspan>a</tspan>\n</text></svg>",
         "<svg><text>\n  <tspan>a</tspan>\n</text></svg>"},
        {"a blank that is an element's only child stays, as it always did",
         "<svg>\n<desc> </desc>\n</svg>",
         "<svg><desc> </desc></svg>"},
        {"the same in UTF-16",
         nullptr, "<svg><text><tspan>a</tspan> <tspan>b</tspan></text></svg>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        kvtest::Handle document;
        if (c.svg) {
            ASSERT_EQ(kvtest::LoadText(c.svg, document), SUCCESS);
        } else {
            const std::u16string wide = u"\uFEFF<svg>\n <text><tspan>a</tspan> <tspan>b</tspan></text>\n</svg>";
            ASSERT_EQ(K_SvgLoadDocumentMemory(wide.data(), wide.size() * sizeof(char16_t), document.out(), nullptr),
                      SUCCESS);
        }
        EXPECT_EQ(kvtest::SaveRaw(document), c.saved);
    }
}
