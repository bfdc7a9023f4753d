#include <gtest/gtest.h>

#include "base/tracked_memory.h"
#include "base/utf.h"

TEST(Utf, ConvertsEveryEncodedLengthBothWays)
{
    const struct { std::u16string_view wide; std::string_view utf8; } cases[] = {
        {u"", ""}, {u"A", "A"}, {u"\u00E9", "\xC3\xA9"}, {u"\u20AC", "\xE2\x82\xAC"},
        {u"\U0001D11E", "\xF0\x9D\x84\x9E"},  // needs a surrogate pair
        {u"a\u00E9\u20AC\U0001F600z", "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.utf8);
        EXPECT_EQ(ToUtf8(c.wide), c.utf8);
        EXPECT_EQ(ToUtf16(c.utf8), c.wide);
    }
}

TEST(Utf, ReplacesBrokenSequencesInsteadOfFailing)
{
    const struct { std::string_view utf8; std::u16string_view wide; } cases[] = {
        {"\xC3", u"\uFFFD"},                 // cut short at the end
        {"\xC3" "A", u"\uFFFDA"},            // continuation missing
        {"\xC0\xAF", u"\uFFFD"},             // overlong slash
        {"\xED\xA0\x80", u"\uFFFD"},         // encoded surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD"},     // past U+10FFFF
        {"\xFF" "b", u"\uFFFDb"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.utf8));
        EXPECT_EQ(ToUtf16(c.utf8), c.wide);
    }
    const char16_t lone[] = {u'x', 0xD800, u'y', 0xDC00, 0};
    EXPECT_EQ(ToUtf8(lone), "x\xEF\xBF\xBDy\xEF\xBF\xBD");
}

TEST(Utf, WideCopyIsTrackedAndTerminated)
{
    char16_t* copy = KV_WIDE_COPY(std::string_view("h\xC3\xA9"));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(std::u16string_view(copy), u"h\u00E9");
    EXPECT_EQ(WideLength(copy), 2u);
    EXPECT_EQ(TrackedLiveBlocks(), 1u);
    KV_FREE(copy);
    EXPECT_EQ(WideLength(nullptr), 0u);
}
