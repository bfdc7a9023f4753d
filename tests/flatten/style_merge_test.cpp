// The merge rule on its own, with force clear as a referencing gradient or
// pattern uses it, beside force set as the walk down the tree does.
#include <string>

#include <gtest/gtest.h>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "flatten/svg_context.h"

namespace {

KvChar* Text(const char16_t* text)
{
    size_t length = 0;
    while (text[length])
        ++length;
    auto* copy = static_cast<KvChar*>(KV_ALLOC(length + 1, sizeof(KvChar)));
    for (size_t i = 0; i <= length; ++i)
        copy[i] = text[i];
    return copy;
}

}  // namespace

TEST(StyleMerge, ForceDecidesWhetherASetDestinationStays)
{
    const struct {
        bool force;
        double destinationOpacity, sourceOpacity, expectedOpacity;
        const char16_t* expectedFamily;
    } cases[] = {
        {true, 0.5, 0.5, 0.25, u"Source"},
        {false, 0.5, 0.2, 0.5, u"Destination"},
        {true, UnsetDouble(), 0.2, 0.2, u"Source"},
        {false, UnsetDouble(), 0.2, 0.2, u"Destination"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.force ? "force" : "no force");
        CSvgStyleProp destination, source;
        destination.opacity = c.destinationOpacity;
        source.opacity = c.sourceOpacity;
        destination.text.font.fontFamily = Text(u"Destination");
        source.text.font.fontFamily = Text(u"Source");
        source.paint.fill.rule = 2;
        source.clipPath.kind = 2;
        source.clipPath.id = Text(u"clip");
        destination.paint.stroke.dashArray.kind = 1;

        ASSERT_EQ(MergeStyle(destination, source, c.force), SUCCESS);
        EXPECT_DOUBLE_EQ(destination.opacity, c.expectedOpacity);
        EXPECT_EQ(std::u16string(destination.text.font.fontFamily), c.expectedFamily);
        EXPECT_NE(destination.text.font.fontFamily, source.text.font.fontFamily);  // a copy, not shared
        EXPECT_EQ(destination.paint.fill.rule, 2u);
        EXPECT_EQ(destination.paint.stroke.dashArray.kind, 1u);  // unset in the source: untouched
        ASSERT_NE(destination.clipPath.id, nullptr);
        EXPECT_EQ(std::u16string(destination.clipPath.id), u"clip");
    }
}

TEST(StyleMerge, ClipPathIsCopiedEvenWhenUnset)
{
    CSvgStyleProp destination, source;
    destination.clipPath.kind = 2;
    destination.clipPath.id = Text(u"inherited");
    ASSERT_EQ(MergeStyle(destination, source, true), SUCCESS);
    EXPECT_EQ(destination.clipPath.kind, 0u);
    EXPECT_EQ(destination.clipPath.id, nullptr);
}
