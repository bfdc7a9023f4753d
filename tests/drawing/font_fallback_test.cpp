// Characters that the requested family lacks: the engine sets them in an
// installed face that has them, for measuring and drawing alike, instead of
// the missing-glyph box.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/utf.h"
#include "drawing_test_support.h"

namespace {

using kvtest::EngineObject;
using kvtest::ScopedEngine;

constexpr double kSixteenPixels = -12.0;

std::vector<uint32_t> GlyphsOf(kvdrw::Engine& engine, kvdrw::Font* font, std::u16string_view text)
{
    std::vector<uint32_t> glyphs(text.size() * 4 + 8);
    int32_t count = 0;
    EXPECT_EQ(font->MeasureGlyphs(&engine, text.data(), static_cast<int32_t>(text.size()), glyphs.data(),
                                  static_cast<int32_t>(glyphs.size()), &count),
              SUCCESS);
    glyphs.resize(static_cast<size_t>(count));
    return glyphs;
}

TEST(FontFallback, EveryScriptGetsRealGlyphsInALatinFamily)
{
    ScopedEngine engine;
    EngineObject<kvdrw::Font> font(*engine);
    ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Liberation Sans", kSixteenPixels, 0), SUCCESS);
    const struct {
        const char* name;
        std::u16string text;
    } cases[] = {
        {"Latin", u"Hello, world"},
        {"Cyrillic", u"Привет, мир"},
        {"Greek", u"Καλημέρα"},
        {"Hebrew", u"שלום עולם"},
        {"Arabic", u"مرحبا بالعالم"},
        {"Chinese", u"中文字体测试"},
        {"Japanese", u"日本語のテキスト"},
        {"Korean", u"한국어 텍스트"},
        {"all in one line", u"Abc Привет שלום مرحبا 中文 かな 한국"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::vector<uint32_t> glyphs = GlyphsOf(*engine, font.get(), c.text);
        EXPECT_FALSE(glyphs.empty());
        size_t boxes = 0;
        for (uint32_t glyph : glyphs)
            boxes += glyph == 0;
        EXPECT_EQ(boxes, 0u);
        KvRectangle ink{};
        ASSERT_EQ(font->MeasureExtents(engine.get(), c.text.data(), static_cast<int32_t>(c.text.size()), &ink),
                  SUCCESS);
        EXPECT_GT(ink.width, 10.0);
    }
    // The family the caller asked for is still the one the font reports.
    char16_t family[64] = {};
    ASSERT_EQ(font->GetFamilyName(family, 64), SUCCESS);
    EXPECT_EQ(std::u16string(family), u"Liberation Sans");
}

TEST(FontFallback, ARightToLeftWordInsideLatinIsShapedAsItWouldBeAlone)
{
    ScopedEngine engine;
    EngineObject<kvdrw::Font> font(*engine);
    ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Liberation Sans", kSixteenPixels, 0), SUCCESS);
    for (const std::u16string& word : {std::u16string(u"שלום"), std::u16string(u"مرحبا")}) {
        SCOPED_TRACE(ToUtf8(word));
        const std::vector<uint32_t> alone = GlyphsOf(*engine, font.get(), word);
        const std::vector<uint32_t> inside = GlyphsOf(*engine, font.get(), u"ab " + word);
        ASSERT_GE(inside.size(), alone.size());
        // Same face, same joining, same right-to-left order, after the Latin.
        EXPECT_EQ(std::vector<uint32_t>(inside.end() - static_cast<ptrdiff_t>(alone.size()), inside.end()), alone);
        // The width of the line is the width of its parts.
        kvdrw::Size whole{0, 0}, latin{0, 0}, rtl{0, 0};
        const std::u16string line = u"ab " + word;
        ASSERT_EQ(engine->MeasureString(line.data(), static_cast<int32_t>(line.size()), font.get(), &whole), SUCCESS);
        ASSERT_EQ(engine->MeasureString(u"ab ", 3, font.get(), &latin), SUCCESS);
        ASSERT_EQ(engine->MeasureString(word.data(), static_cast<int32_t>(word.size()), font.get(), &rtl), SUCCESS);
        EXPECT_NEAR(whole.width, latin.width + rtl.width, 1e-6);
    }
}

TEST(FontFallback, ACharacterNoFaceHasStaysWithTheRequestedFace)
{
    ScopedEngine engine;
    EngineObject<kvdrw::Font> font(*engine);
    ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Liberation Sans", kSixteenPixels, 0), SUCCESS);
    // A private-use character: no installed face maps it, so it measures
    // as the requested face's missing glyph and nothing fails.
    const std::u16string text = u"a\uE000b";
    const std::vector<uint32_t> glyphs = GlyphsOf(*engine, font.get(), text);
    ASSERT_EQ(glyphs.size(), 3u);
    EXPECT_NE(glyphs[0], 0u);
    EXPECT_EQ(glyphs[1], 0u);
    kvdrw::Size size{0, 0};
    EXPECT_EQ(engine->MeasureString(text.data(), 3, font.get(), &size), SUCCESS);
    EXPECT_GT(size.width, 0.0);
}

}  // namespace
