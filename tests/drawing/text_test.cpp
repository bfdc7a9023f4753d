#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/utf.h"
#include "drawing_test_support.h"

namespace {

using kvtest::EngineObject;
using kvtest::ScopedEngine;

// 12 points is 16 pixels at the measuring engine's 96 dpi; the renderer
// passes point sizes as negative numbers.
constexpr double kSixteenPixels = -12.0;

std::u16string FamilyOf(kvdrw::Font& font)
{
    char16_t name[64] = {};
    EXPECT_EQ(font.GetFamilyName(name, 64), SUCCESS);
    return name;
}

kvdrw::Size Measure(kvdrw::Engine& engine, kvdrw::Font* font, std::u16string_view text)
{
    kvdrw::Size size{-1, -1};
    EXPECT_EQ(engine.MeasureString(text.data(), static_cast<int32_t>(text.size()), font, &size), SUCCESS);
    return size;
}

TEST(Text, FamiliesResolveThroughSubstitution)
{
    ScopedEngine engine;
    const struct {
        const char16_t* requested;
        int32_t style;
        const char16_t* resolved;
    } cases[] = {
        {u"Arial", 0, u"Liberation Sans"},
        {u"Arial", kvdrw::kFontBold | kvdrw::kFontItalic, u"Liberation Sans"},
        {u"Liberation Sans", 0, u"Liberation Sans"},
        {u"Times New Roman", 0, u"Liberation Serif"},
        {u"Courier New", 0, u"Liberation Mono"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.requested));
        EngineObject<kvdrw::Font> font(*engine);
        ASSERT_EQ(engine->CreateFont(font.out(), 0, c.requested, kSixteenPixels, c.style), SUCCESS);
        EXPECT_EQ(FamilyOf(*font.get()), c.resolved);
        EXPECT_EQ(font->GetStyle(), c.style);
        EXPECT_EQ(font->GetSize(), 12.0);
        EXPECT_EQ(font->GetHeight(96.0), 16.0);
    }
    // A name nobody has still gives a usable font.
    EngineObject<kvdrw::Font> unknown(*engine);
    ASSERT_EQ(engine->CreateFont(unknown.out(), 0, u"No Such Family 123", kSixteenPixels, 0), SUCCESS);
    EXPECT_FALSE(FamilyOf(*unknown.get()).empty());
}

TEST(Text, MetricsAreConsistentWithTheLineHeight)
{
    ScopedEngine engine;
    EngineObject<kvdrw::Font> font(*engine);
    ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Arial", kSixteenPixels, 0), SUCCESS);
    kvdrw::FontMetrics metrics{};
    ASSERT_EQ(font->GetMetrics(&metrics, engine.get(), engine->GetResolution()), &metrics);
    const int32_t* m = metrics.values;
    // Liberation Sans: ascent 1854 and descent 434 of 2048 units.
    EXPECT_EQ(m[kvdrw::kMetricAscent], 14);
    EXPECT_EQ(m[kvdrw::kMetricHeight], 18);
    EXPECT_EQ(m[kvdrw::kMetricDescent], 4);
    EXPECT_EQ(m[kvdrw::kMetricNegativeDescent], -4);
    EXPECT_EQ(m[kvdrw::kMetricTopLeading], 0);
    EXPECT_EQ(m[kvdrw::kMetricInternalLeading], 2);
    EXPECT_EQ(m[kvdrw::kMetricAscent] + m[kvdrw::kMetricDescent], m[kvdrw::kMetricHeight]);
    const kvdrw::Size line = Measure(*engine, font.get(), u"Ag");
    EXPECT_NEAR(line.height, m[kvdrw::kMetricHeight], 1.0);
    // Twice the resolution, twice the pixels.
    kvdrw::FontMetrics doubled{};
    font->GetMetrics(&doubled, engine.get(), 192.0);
    EXPECT_EQ(doubled.values[kvdrw::kMetricHeight], 36);
    EXPECT_EQ(font->GetMetrics(nullptr, engine.get(), 96.0), nullptr);
}

TEST(Text, MetricsOfHugeSizesStayWholeAndConsistent)
{
    // Sizes and resolutions a caller may pass unchecked: the metrics must
    // not overflow into nonsense (or undefined behaviour) on the way.
    const struct {
        const char* name;
        double sizePoints;
        double resolutionDpi;
    } cases[] = {
        {"a million points at 1e300 dpi", 1e6, 1e300},
        {"1e300 points at 96 dpi", 1e300, 96.0},
        {"a large but honest size", 100000.0, 600.0},
    };
    ScopedEngine engine;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EngineObject<kvdrw::Font> font(*engine);
        ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Arial", c.sizePoints, 0), SUCCESS);
        kvdrw::FontMetrics metrics{};
        ASSERT_EQ(font->GetMetrics(&metrics, engine.get(), c.resolutionDpi), &metrics);
        const int32_t* m = metrics.values;
        EXPECT_GT(m[kvdrw::kMetricHeight], 100000);
        EXPECT_GT(m[kvdrw::kMetricAscent], m[kvdrw::kMetricDescent]);
        EXPECT_GE(m[kvdrw::kMetricDescent], 0);
        EXPECT_EQ(m[kvdrw::kMetricAscent] + m[kvdrw::kMetricDescent], m[kvdrw::kMetricHeight]);
        EXPECT_EQ(m[kvdrw::kMetricNegativeDescent], -m[kvdrw::kMetricDescent]);
        EXPECT_GT(m[kvdrw::kMetricMaxAdvance], 0);
    }
}

TEST(Text, StringWidthIsTheSumOfItsAdvances)
{
    ScopedEngine engine;
    EngineObject<kvdrw::Font> font(*engine);
    ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Arial", kSixteenPixels, 0), SUCCESS);
    // H 1479, e 1139, l 455, l 455, o 1139 units of 2048, at 16 pixels an em.
    EXPECT_NEAR(Measure(*engine, font.get(), u"Hello").width, 4667.0 * 16 / 2048, 0.001);
    // Shaping kerns "Wa", "Ty" and "AV", so the string is narrower than its
    // characters measured one by one; the advances of the shaped run add up.
    const struct {
        std::u16string text;
        bool kerned;
    } cases[] = {{u"Hello, world", false}, {u"0123456789", false}, {u"Wavy Type AV", true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        const int32_t length = static_cast<int32_t>(c.text.size());
        double singles = 0, cells = 0;
        for (char16_t ch : c.text) {
            singles += Measure(*engine, font.get(), std::u16string(1, ch)).width;
            int32_t abc[3] = {};
            ASSERT_EQ(font->MeasureCellWidths(engine.get(), ch, ch, abc, 1), SUCCESS);
            cells += abc[0] + abc[1] + abc[2];
        }
        std::vector<double> advances(c.text.size());
        ASSERT_EQ(font->MeasureGlyphRun(engine.get(), c.text.data(), length, advances.data()), SUCCESS);
        double run = 0;
        for (double a : advances)
            run += a;
        const double whole = Measure(*engine, font.get(), c.text).width;
        EXPECT_NEAR(whole, run, 1e-9);
        if (c.kerned) {
            EXPECT_LT(whole, singles - 1.0);
        } else {
            EXPECT_NEAR(whole, singles, 1e-9);
            EXPECT_NEAR(whole, cells, 0.5 * length);
        }
    }
    // A blank alone has its width: text flattening advances by it.
    EXPECT_NEAR(Measure(*engine, font.get(), u" ").width, 569.0 * 16 / 2048, 0.001);
}

TEST(Text, FittedMeasureBreaksWhereAPersonWould)
{
    ScopedEngine engine;
    EngineObject<kvdrw::Font> font(*engine);
    ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Arial", kSixteenPixels, 0), SUCCESS);
    const double oneLine = Measure(*engine, font.get(), u"Ag").height;
    const double upToBrown = Measure(*engine, font.get(), u"The quick brown").width;
    const struct {
        const char* name;
        std::u16string text;
        double width, height;
        int32_t fitted, lines;
    } cases[] = {
        // The blank after "brown" goes with the first line.
        {"break after a word", u"The quick brown fox jumps", upToBrown + 1, oneLine, 16, 1},
        {"two lines fit", u"The quick brown fox jumps", upToBrown + 1, oneLine * 2.5, 25, 2},
        {"no width: one line", u"The quick brown fox jumps", 0, oneLine, 25, 1},
        {"line feed ends a line", u"ab\ncd", 0, oneLine, 3, 1},
        {"carriage return and line feed", u"ab\r\ncd", 0, 0, 6, 2},
        {"a word too long is cut", u"Supercalifragilistic", 40, oneLine, 4, 1},
        {"hyphen breaks", u"well-known words", Measure(*engine, font.get(), u"well-kno").width, oneLine, 5, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const kvdrw::Size layout = {c.width, c.height};
        kvdrw::Size size{};
        int32_t fitted = -1, lines = -1;
        ASSERT_EQ(engine->MeasureStringFitted(c.text.data(), static_cast<int32_t>(c.text.size()), font.get(), &layout,
                                              nullptr, &size, &fitted, &lines),
                  SUCCESS);
        EXPECT_EQ(fitted, c.fitted);
        EXPECT_EQ(lines, c.lines);
        EXPECT_NEAR(size.height, lines * oneLine, 1e-9);
        if (c.width > 0) {
            EXPECT_LE(size.width, c.width);
        }
    }
}

TEST(Text, RightToLeftTextIsMeasuredAndDrawnLeftOfItsOrigin)
{
    const std::u16string hebrew = u"\u05E9\u05DC\u05D5\u05DD";  // shalom
    kvtest::TestBitmap target(80, 24, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    kvdrw::Size measured{};
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::Font> font(*engine);
        ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Arial", kSixteenPixels, 0), SUCCESS);
        EngineObject<kvdrw::StringFormat> rightToLeft(*engine);
        ASSERT_EQ(engine->CreateStringFormat(rightToLeft.out(), kvdrw::kAlignNear, kvdrw::kAlignNear,
                                             kvdrw::kFormatRightToLeft),
                  SUCCESS);
        measured = Measure(*engine, font.get(), hebrew);
        kvdrw::Size inSize{};
        const kvdrw::Size unlimited = {0, 0};
        ASSERT_EQ(engine->MeasureStringInSize(hebrew.data(), 4, font.get(), &unlimited, rightToLeft.get(), &inSize),
                  SUCCESS);
        EXPECT_NEAR(inSize.width, measured.width, 1e-9);
        EngineObject<kvdrw::SolidBrush> brush(*engine);
        ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueBlack), SUCCESS);
        const KvPoint origin = {60, 2};
        ASSERT_EQ(engine->DrawString(hebrew.data(), 4, font.get(), brush.get(), &origin, rightToLeft.get()), SUCCESS);
    }
    EXPECT_GT(measured.width, 20.0);
    EXPECT_LT(measured.width, 40.0);
    int inkLeft = 80, inkRight = -1;
    for (int y = 0; y < 24; ++y) {
        for (int x = 0; x < 80; ++x) {
            if (target.At(x, y) != kvtest::kWhite) {
                inkLeft = std::min(inkLeft, x);
                inkRight = std::max(inkRight, x);
            }
        }
    }
    EXPECT_LT(inkRight, 60);
    EXPECT_GE(inkLeft, 60 - static_cast<int>(std::ceil(measured.width)) - 1);
}

TEST(Text, DrawnBaselineSitsOneAscentBelowATopAlignedOrigin)
{
    kvtest::TestBitmap target(40, 30, 24, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::Font> font(*engine);
        ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Arial", kSixteenPixels, kvdrw::kFontUnderline), SUCCESS);
        EngineObject<kvdrw::SolidBrush> brush(*engine);
        ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueBlack), SUCCESS);
        const KvPoint origin = {2, 5};
        ASSERT_EQ(engine->DrawString(u"H", 1, font.get(), brush.get(), &origin, nullptr), SUCCESS);
    }
    // "H" stands on the baseline at 5 + 14.48 and is 11.01 pixels high, so
    // its top is at 8.47; the underline, 1.17 thick, is centred 1.11 below
    // the baseline and so covers 20.0 to 21.2.
    int top = 30, bottom = -1;
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 40; ++x) {
            if (target.At(x, y) != kvtest::kWhite) {
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
    }
    EXPECT_EQ(top, 8);
    EXPECT_EQ(bottom, 20);
}

TEST(Text, GlyphOutlinesCoverWhatTheFontMeasures)
{
    ScopedEngine engine;
    EngineObject<kvdrw::Font> font(*engine);
    ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Arial", kSixteenPixels, 0), SUCCESS);
    EngineObject<kvdrw::GraphicsPath> path(*engine);
    ASSERT_EQ(engine->CreatePath(path.out()), SUCCESS);
    ASSERT_EQ(path->AddString(engine.get(), u"Hix", 3, font.get(), KvPoint{10, 20}, nullptr), SUCCESS);
    KvRectangle outline{};
    ASSERT_EQ(path->GetBounds(&outline, nullptr, nullptr), SUCCESS);
    KvRectangle ink{};
    ASSERT_EQ(font->MeasureExtents(engine.get(), u"Hix", 3, &ink), SUCCESS);
    // The extents are relative to the baseline, which lies one ascent below the top.
    const double baseline = 20 + 1854.0 * 16 / 2048;
    EXPECT_NEAR(outline.x, 10 + ink.x, 0.05);
    EXPECT_NEAR(outline.y, baseline + ink.y, 0.05);
    EXPECT_NEAR(outline.width, ink.width, 0.1);
    EXPECT_NEAR(outline.height, ink.height, 0.1);
}

}  // namespace
