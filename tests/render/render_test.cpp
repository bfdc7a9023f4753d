// Drawing flat documents: pixels a caller sees on a bitmap, and the bounds
// family. Documents are written by hand in the flat form (root space, full
// style, IsFlat="true") unless a test flattens on purpose.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "api/document_fixture.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"

namespace {

using kvtest::Handle;

struct Pixel {
    int r, g, b, a;
    bool operator==(const Pixel&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Pixel& p)
{
    return out << "rgba(" << p.r << "," << p.g << "," << p.b << "," << p.a << ")";
}

// A 32-bit bitmap cleared to transparent black, freed with the test.
class Canvas {
public:
    Canvas(int width, int height)
    {
        EXPECT_EQ(K_BitmapInit(&bitmap_, kKvBitmapSize, width, height, 32, KV_ORDER_BGR), SUCCESS);
        EXPECT_EQ(K_BitmapAllocate(&bitmap_), SUCCESS);
    }
    ~Canvas() { K_BitmapFree(&bitmap_); }
    KvBitmap* get() { return &bitmap_; }
    Pixel At(int x, int y) const
    {
        const uint8_t* p = bitmap_.data + static_cast<size_t>(y) * bitmap_.bytesPerLine + static_cast<size_t>(x) * 4;
        return Pixel{p[2], p[1], p[0], p[3]};
    }

private:
    KvBitmap bitmap_{};
};

bool Near(const Pixel& actual, const Pixel& expected, int tolerance = 2)
{
    return std::abs(actual.r - expected.r) <= tolerance && std::abs(actual.g - expected.g) <= tolerance &&
           std::abs(actual.b - expected.b) <= tolerance && std::abs(actual.a - expected.a) <= tolerance;
}

#define EXPECT_PIXEL(canvas, x, y, ...)                                                          \
    do {                                                                                         \
        const Pixel expected_{__VA_ARGS__};                                                      \
        const Pixel actual_ = (canvas).At((x), (y));                                             \
        EXPECT_TRUE(Near(actual_, expected_)) << "at " << (x) << "," << (y) << ": " << actual_   \
                                              << " expected " << expected_;                     \
    } while (0)

constexpr Pixel kClear{0, 0, 0, 0};
constexpr Pixel kRed{255, 0, 0, 255};
constexpr Pixel kWhite{255, 255, 255, 255};

std::string Flat(std::string_view body, std::string_view rootAttributes = R"~(width="20" height="20")~")
{
    return std::string(R"~(<svg xmlns="http://www.w3.org/2000/svg" )~") + std::string(rootAttributes) +
           R"~( IsFlat="true">)~" + std::string(body) + "</svg>";
}

// No background unless a test asks: options of the right size and nothing else.
SvgRenderOptions PlainOptions()
{
    SvgRenderOptions options{};
    options.structSize = kSvgRenderOptionsSize;
    return options;
}

void Draw(std::string_view text, Canvas& canvas, const SvgRenderOptions* options)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(text, document), SUCCESS);
    EXPECT_EQ(K_SvgRasterizeDocument(canvas.get(), document, options), SUCCESS);
}

}  // namespace

TEST(Draw, FillsExactlyTheRectangleAndLeavesTheRestAlone)
{
    Canvas canvas(20, 20);
    const SvgRenderOptions options = PlainOptions();
    Draw(Flat(R"~(<rect x="5" y="5" width="10" height="10" fill="#ff0000"/>)~"), canvas, &options);
    EXPECT_PIXEL(canvas, 5, 5, kRed);
    EXPECT_PIXEL(canvas, 14, 14, kRed);
    EXPECT_PIXEL(canvas, 4, 5, kClear);
    EXPECT_PIXEL(canvas, 15, 10, kClear);
    EXPECT_PIXEL(canvas, 10, 15, kClear);
}

TEST(Draw, PaintsThatDecideColourAndCoverage)
{
    const struct {
        const char* name;
        const char* body;
        int x, y;
        Pixel expected;
    } cases[] = {
        // fill-opacity over the white background of the options.
        {"fill-opacity", R"~(<rect width="20" height="20" fill="#0000ff" fill-opacity="0.5"/>)~", 10, 10,
         {127, 127, 255, 255}},
        {"opacity wins over fill-opacity", R"~(<rect width="20" height="20" fill="#0000ff" fill-opacity="0.2" opacity="0.5"/>)~",
         10, 10, {127, 127, 255, 255}},
        {"unset fill is black", R"~(<rect width="20" height="20"/>)~", 10, 10, {0, 0, 0, 255}},
        {"currentColor takes color", R"~(<rect width="20" height="20" color="#00ff00" fill="currentColor"/>)~", 10, 10,
         {0, 255, 0, 255}},
        {"named colour", R"~(<rect width="20" height="20" fill="darkseagreen"/>)~", 10, 10, {143, 188, 143, 255}},
        {"three-digit hex", R"~(<rect width="20" height="20" fill="#0f0"/>)~", 10, 10, {0, 255, 0, 255}},
        {"display none", R"~(<rect width="20" height="20" fill="red" display="none"/>)~", 10, 10, kWhite},
        {"visibility hidden", R"~(<rect width="20" height="20" fill="red" visibility="hidden"/>)~", 10, 10, kWhite},
        {"fill none and no stroke", R"~(<rect width="20" height="20" fill="none"/>)~", 10, 10, kWhite},
        {"rect without width", R"~(<rect height="20" fill="red"/>)~", 10, 10, kWhite},
        {"even-odd hole", R"~(<path d="M0 0 L20 0 L20 20 L0 20 Z M5 5 L15 5 L15 15 L5 15 Z" fill="red" fill-rule="evenodd"/>)~",
         10, 10, kWhite},
        {"non-zero keeps the hole filled", R"~(<path d="M0 0 L20 0 L20 20 L0 20 Z M5 5 L15 5 L15 15 L5 15 Z" fill="red"/>)~",
         10, 10, kRed},
        {"circle centre", R"~(<circle cx="10" cy="10" r="5" fill="red"/>)~", 10, 10, kRed},
        {"circle outside", R"~(<circle cx="10" cy="10" r="5" fill="red"/>)~", 2, 2, kWhite},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Canvas canvas(20, 20);
        SvgRenderOptions options = PlainOptions();
        options.flags = 1;
        options.backColor = 0xFFFFFF;
        options.bounds = KvRectangle{0, 0, 20, 20};
        Draw(Flat(c.body), canvas, &options);
        EXPECT_PIXEL(canvas, c.x, c.y, c.expected);
    }
}

// An arc's rotation counts modulo a turn, also where a turn is below the
// rounding of the number (stepping by turns never ended there).
TEST(Draw, AnArcRotatedByAGoogolDrawsAsItsRemainder)
{
    const double huge = 1e100;
    char remainder[64];
    std::snprintf(remainder, sizeof(remainder), "%.17g", std::fmod(huge, 360.0));
    auto arc = [](const std::string& rotation) {
        return Flat(R"~(<path d="M2 10 A8 3 )~" + rotation + R"~( 1 0 18 10 Z" fill="#ff0000"/>)~");
    };
    Canvas far(20, 20), near(20, 20);
    const SvgRenderOptions options = PlainOptions();
    Draw(arc("1e100"), far, &options);
    Draw(arc(remainder), near, &options);
    int red = 0;
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 20; ++x) {
            EXPECT_TRUE(Near(far.At(x, y), near.At(x, y))) << x << "," << y;
            red += near.At(x, y).r > 128 ? 1 : 0;
        }
    }
    EXPECT_GT(red, 20);
}

TEST(Draw, StrokesAtTheirWidthAndDropsAZeroStroke)
{
    Canvas canvas(20, 20);
    const SvgRenderOptions options = PlainOptions();
    Draw(Flat(R"~(<line x1="0" y1="10" x2="20" y2="10" stroke="#ff0000" stroke-width="4"/>)~"), canvas, &options);
    EXPECT_PIXEL(canvas, 10, 8, kRed);
    EXPECT_PIXEL(canvas, 10, 11, kRed);
    EXPECT_PIXEL(canvas, 10, 6, kClear);
    EXPECT_PIXEL(canvas, 10, 13, kClear);

    Canvas zero(20, 20);
    Draw(Flat(R"~(<line x1="0" y1="10" x2="20" y2="10" stroke="#ff0000" stroke-width="0"/>)~"), zero, &options);
    EXPECT_PIXEL(zero, 10, 10, kClear);
}

TEST(Draw, LinearGradientRunsFromItsFirstToItsSecondStop)
{
    Canvas canvas(100, 10);
    const SvgRenderOptions options = PlainOptions();
    Draw(Flat(R"~(<linearGradient id="g" x1="0" y1="0" x2="100" y2="0" gradientUnits="userSpaceOnUse">)~"
              R"~(<stop offset="0" stop-color="#ff0000"/><stop offset="1" stop-color="#0000ff"/></linearGradient>)~"
              R"~(<rect width="100" height="10" fill="url(#g)"/>)~",
              R"~(width="100" height="10")~"),
         canvas, &options);
    const Pixel left = canvas.At(0, 5), right = canvas.At(99, 5), middle = canvas.At(50, 5);
    EXPECT_GT(left.r, 245);
    EXPECT_LT(left.b, 10);
    EXPECT_GT(right.b, 245);
    EXPECT_LT(right.r, 10);
    EXPECT_NEAR(middle.r, 127, 6);
    EXPECT_NEAR(middle.b, 127, 6);
}

TEST(Draw, ClipPathLimitsTheFill)
{
    Canvas canvas(20, 20);
    const SvgRenderOptions options = PlainOptions();
    Draw(Flat(R"~(<clipPath id="c"><rect x="0" y="0" width="10" height="20"/></clipPath>)~"
              R"~(<rect width="20" height="20" fill="red" clip-path="url(#c)"/>)~"),
         canvas, &options);
    EXPECT_PIXEL(canvas, 5, 10, kRed);
    EXPECT_PIXEL(canvas, 15, 10, kClear);

    // A clipPath with no children clips nothing in a plain draw.
    Canvas empty(20, 20);
    Draw(Flat(R"~(<clipPath id="c"/><rect width="20" height="20" fill="red" clip-path="url(#c)"/>)~"), empty, &options);
    EXPECT_PIXEL(empty, 15, 10, kRed);
}

TEST(Draw, RootViewBoxScalesIntoTheRootSize)
{
    Canvas canvas(20, 20);
    const SvgRenderOptions options = PlainOptions();
    Draw(Flat(R"~(<rect x="0" y="0" width="5" height="5" fill="red"/>)~", R"~(width="20" height="20" viewBox="0 0 10 10")~"),
         canvas, &options);
    EXPECT_PIXEL(canvas, 9, 9, kRed);
    EXPECT_PIXEL(canvas, 11, 11, kClear);
}

TEST(Draw, OptionsPaintBackgroundClipAndMove)
{
    const std::string document = Flat(R"~(<rect width="10" height="10" fill="red"/>)~");
    {
        SCOPED_TRACE("background 0x00BBGGRR over the bounds");
        Canvas canvas(20, 20);
        SvgRenderOptions options = PlainOptions();
        options.flags = 1;
        options.backColor = 0xFF0000;  // blue
        options.bounds = KvRectangle{0, 0, 20, 20};
        Draw(document, canvas, &options);
        EXPECT_PIXEL(canvas, 15, 15, Pixel{0, 0, 255, 255});
        EXPECT_PIXEL(canvas, 5, 5, kRed);
    }
    {
        SCOPED_TRACE("clip rectangle");
        Canvas canvas(20, 20);
        SvgRenderOptions options = PlainOptions();
        options.clipBounds = KvRectangle{0, 0, 5, 20};
        Draw(document, canvas, &options);
        EXPECT_PIXEL(canvas, 2, 2, kRed);
        EXPECT_PIXEL(canvas, 7, 2, kClear);
    }
    {
        SCOPED_TRACE("transform after the view");
        Canvas canvas(20, 20);
        SvgRenderOptions options = PlainOptions();
        options.transform = KvMatrix{1, 0, 0, 1, 10, 10, 0};
        Draw(document, canvas, &options);
        EXPECT_PIXEL(canvas, 5, 5, kClear);
        EXPECT_PIXEL(canvas, 15, 15, kRed);
    }
    {
        SCOPED_TRACE("a wrong structSize draws nothing and succeeds");
        Canvas canvas(20, 20);
        SvgRenderOptions options = PlainOptions();
        options.structSize = 12;
        Draw(document, canvas, &options);
        EXPECT_PIXEL(canvas, 5, 5, kClear);
    }
}

TEST(Draw, RefusesWhatIsNotFlatAndWrongArguments)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(R"~(<svg xmlns="http://www.w3.org/2000/svg"><rect width="5" height="5"/></svg>)~", document),
              SUCCESS);
    Canvas canvas(10, 10);
    EXPECT_EQ(K_SvgRasterizeDocument(canvas.get(), document, nullptr), ERROR_NOT_FLAT);
    EXPECT_EQ(K_SvgCalculateBounds(document, 0), ERROR_NOT_FLAT);
    EXPECT_PIXEL(canvas, 2, 2, kClear);
    EXPECT_EQ(K_SvgRasterizeDocument(nullptr, document, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgRasterizeDocument(canvas.get(), nullptr, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgDrawDocument(nullptr, document, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgCalculateBounds(nullptr, 0), ERROR_INV_PARAMETER);
    KvRectangle box{1, 1, 1, 1};
    EXPECT_EQ(K_SvgGetElementBounds(document, &box), ERROR_INV_PARAMETER);
    Handle rect;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"//rect", rect.out()), SUCCESS);
    // The node is checked before the bitmap record's size.
    KvBitmap wrongSize{};
    EXPECT_EQ(K_SvgRasterizeDocument(&wrongSize, rect, nullptr), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgRasterizeDocument(canvas.get(), rect, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetElementBounds(rect, &box), ERROR_NOT_FLAT);
}

TEST(Draw, FlattenedGroupsDrawWhereTheirTransformsPutThem)
{
    Handle source, flat;
    ASSERT_EQ(kvtest::LoadText(R"~(<svg xmlns="http://www.w3.org/2000/svg" width="20" height="20">)~"
                               R"~(<g transform="translate(10 0)" fill="red"><rect width="10" height="10"/></g></svg>)~",
                               source),
              SUCCESS);
    ASSERT_EQ(K_SvgFlatDocument(source, flat.out(), nullptr), SUCCESS);
    Canvas canvas(20, 20);
    const SvgRenderOptions options = PlainOptions();
    EXPECT_EQ(K_SvgRasterizeDocument(canvas.get(), flat, &options), SUCCESS);
    EXPECT_PIXEL(canvas, 15, 5, kRed);
    EXPECT_PIXEL(canvas, 5, 5, kClear);
}

TEST(Draw, TextDrawsInkAroundItsBaseline)
{
    Canvas canvas(100, 40);
    const SvgRenderOptions options = PlainOptions();
    Draw(Flat(R"~(<text x="5" y="30" font-family="Liberation Sans" font-size="24" fill="#000000">HH</text>)~",
              R"~(width="100" height="40")~"),
         canvas, &options);
    int inked = 0, above = 0;
    for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < 100; ++x) {
            if (canvas.At(x, y).a > 128) {
                ++inked;
                above += y < 30 ? 1 : 0;
            }
        }
    }
    EXPECT_GT(inked, 100);
    EXPECT_EQ(above, inked);  // capital letters sit on the baseline
}

// ---- Bounds -----------------------------------------------------------------------

TEST(Bounds, UntrimmedTakesTheRootSizeAndTrimmedTheElements)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(Flat(R"~(<rect x="5" y="6" width="4" height="3" fill="red"/>)~",
                                    R"~(width="50" height="40")~"),
                               document),
              SUCCESS);
    SvgBounds bounds{};
    ASSERT_EQ(K_SvgCalculateBounds(document, 0), SUCCESS);
    ASSERT_EQ(K_SvgGetBounds(document, &bounds, kSvgBoundsSize), SUCCESS);
    EXPECT_EQ(bounds.hasBounds, 1u);
    EXPECT_EQ(bounds.x, 0.0);
    EXPECT_EQ(bounds.width, 50.0);
    EXPECT_EQ(bounds.height, 40.0);
    EXPECT_EQ(bounds.dpiX, 96.0);

    ASSERT_EQ(K_SvgCalculateBounds(document, 1), SUCCESS);
    ASSERT_EQ(K_SvgGetBounds(document, &bounds, kSvgBoundsSize), SUCCESS);
    EXPECT_EQ(bounds.isTrimmed, 1u);
    EXPECT_NEAR(bounds.x, 5.0, 1e-9);
    EXPECT_NEAR(bounds.y, 6.0, 1e-9);
    EXPECT_NEAR(bounds.width, 4.0, 1e-9);
    EXPECT_NEAR(bounds.height, 3.0, 1e-9);
    // Writing the bounds keeps the document flat.
    int32_t flat = 0;
    EXPECT_EQ(K_SvgIsFlatDocument(document, &flat), SUCCESS);
    EXPECT_EQ(flat, 1);
    EXPECT_NE(kvtest::SaveRaw(document).find(R"~(Bounds="5, 6, 4, 3")~"), std::string::npos) << kvtest::SaveRaw(document);
}

TEST(Bounds, ElementBoundsFollowTransformsAndStrokes)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(Flat(R"~(<path d="M0 0 L10 0 L10 10 L0 10 Z" transform="rotate(45)" fill="red"/>)~"
                                    R"~(<rect x="20" y="20" width="10" height="10" stroke="black" stroke-width="4"/>)~"
                                    R"~(<g/>)~",
                                    R"~(width="50" height="50")~"),
                               document),
              SUCCESS);
    const struct {
        const char16_t* query;
        KvRectangle expected;
    } cases[] = {
        {u"//path", {-7.0710678, 0.0, 14.1421356, 14.1421356}},
        {u"//rect", {18.0, 18.0, 14.0, 14.0}},
        {u"//g", {0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.query, c.query + std::char_traits<char16_t>::length(c.query)));
        Handle node;
        ASSERT_EQ(K_SvgSelectSingleNode(document, c.query, node.out()), SUCCESS);
        KvRectangle box{};
        ASSERT_EQ(K_SvgGetElementBounds(node, &box), SUCCESS);
        EXPECT_NEAR(box.x, c.expected.x, 1e-3);
        EXPECT_NEAR(box.y, c.expected.y, 1e-3);
        EXPECT_NEAR(box.width, c.expected.width, 1e-3);
        EXPECT_NEAR(box.height, c.expected.height, 1e-3);
    }
}

TEST(Bounds, TextCoversItsMeasuredRun)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(Flat(R"~(<text x="10" y="30" font-family="Liberation Sans" font-size="20">Hello</text>)~",
                                    R"~(width="100" height="50")~"),
                               document),
              SUCCESS);
    Handle text;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"//text", text.out()), SUCCESS);
    KvRectangle box{};
    ASSERT_EQ(K_SvgGetElementBounds(text, &box), SUCCESS);
    EXPECT_NEAR(box.x, 10.0, 0.5);
    // "Hello" in Liberation Sans at 20 px is about 46 px wide and one line high.
    EXPECT_NEAR(box.width, 46.7, 3.0);
    // The box hangs from the baseline less the top leading, one em high.
    EXPECT_NEAR(box.y, 30.0, 3.0);
    EXPECT_GT(box.height, 12.0);
}

TEST(Bounds, RecalculateReframesTheRootOnARectangle)
{
    Handle document;
    ASSERT_EQ(kvtest::LoadText(Flat("", R"~(width="100" height="80")~"), document), SUCCESS);
    const KvRectangle frame{10, 20, 30, 40};
    const double resolution[2] = {150.0, 150.0};
    ASSERT_EQ(K_SvgRecalculateBounds(document, &frame, resolution), SUCCESS);
    const std::string saved = kvtest::SaveRaw(document);
    // No viewBox: one is made from the old size, then shifted by the frame's origin.
    EXPECT_NE(saved.find(R"~(viewBox="-10 -20 100 80")~"), std::string::npos) << saved;
    EXPECT_NE(saved.find(R"~(width="30")~"), std::string::npos) << saved;
    EXPECT_NE(saved.find(R"~(height="40")~"), std::string::npos) << saved;
    EXPECT_NE(saved.find(R"~(preserveAspectRatio="none")~"), std::string::npos) << saved;
    EXPECT_NE(saved.find(R"~(DpiX="150")~"), std::string::npos) << saved;
    int32_t flat = 0;
    K_SvgIsFlatDocument(document, &flat);
    EXPECT_EQ(flat, 1);
}

TEST(Draw, FullPaintTakesEveryStopAndTheWholeGradientMatrix)
{
    // A flattened bounding-box gradient: its coordinates are fractions, its
    // matrix the box. Top to bottom, red, then green at the middle, then blue.
    const std::string document = Flat(
        R"~(<linearGradient id="g" gradientTransform="matrix(20 0 0 40 0 0)" x1="0" y1="0" x2="0" y2="1">)~"
        R"~(<stop offset="0" stop-color="#ff0000"/><stop offset="50%" stop-color="#00ff00"/>)~"
        R"~(<stop offset="1" stop-color="#0000ff"/></linearGradient>)~"
        R"~(<radialGradient id="r"><stop offset="0" stop-color="#ff0000"/><stop offset="1" stop-color="#0000ff"/></radialGradient>)~"
        R"~(<rect width="20" height="40" fill="url(#g)"/><rect x="20" width="20" height="40" fill="url(#r)"/>)~",
        R"~(width="40" height="40")~");
    Canvas canvas(40, 40);
    SvgRenderOptions options = PlainOptions();
    options.renderFlags = SVG_RENDER_FULL_PAINT;
    Draw(document, canvas, &options);
    EXPECT_PIXEL(canvas, 10, 0, Pixel{250, 4, 0, 255});
    EXPECT_PIXEL(canvas, 10, 20, Pixel{0, 249, 6, 255});
    EXPECT_PIXEL(canvas, 10, 39, Pixel{0, 4, 250, 255});
    EXPECT_PIXEL(canvas, 30, 20, Pixel{128, 0, 128, 255});  // a radial gradient as the mean of its stops

    // Without the flag the same gradient runs between its own numbers (one
    // pixel here) with its first two stops, and the radial one paints nothing.
    Canvas literal(40, 40);
    Draw(document, literal, nullptr);
    EXPECT_PIXEL(literal, 10, 20, Pixel{0, 255, 0, 255});
    EXPECT_PIXEL(literal, 30, 20, kClear);
}
