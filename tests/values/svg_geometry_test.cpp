#include "values/svg_geometry.h"

#include <gtest/gtest.h>

#include <cmath>

#include "base/numeric.h"
#include "values/value_records.h"

namespace {

SvgTransform Entry(uint32_t type, double a, double b = UnsetDouble(), double c = UnsetDouble())
{
    SvgTransform t{};
    t.size = kSvgTransformSize;
    t.type = type;
    t.a = a;
    t.b = b;
    t.c = c;
    t.d = t.e = t.f = UnsetDouble();
    return t;
}

void ExpectMatrix(const SvgMatrix& m, double a, double b, double c, double d, double e, double f)
{
    EXPECT_NEAR(m.a, a, 1e-12);
    EXPECT_NEAR(m.b, b, 1e-12);
    EXPECT_NEAR(m.c, c, 1e-12);
    EXPECT_NEAR(m.d, d, 1e-12);
    EXPECT_NEAR(m.e, e, 1e-12);
    EXPECT_NEAR(m.f, f, 1e-12);
}

SvgLength Length(double value, uint32_t unit, uint32_t percent = 0)
{
    return SvgLength{kSvgLengthSize, value, unit, percent};
}

}  // namespace

TEST(SvgGeometry, TransformEntriesBecomeMatrices)
{
    const double unset = UnsetDouble();
    const struct {
        const char* name;
        SvgTransform entry;
        double a, b, c, d, e, f;
    } cases[] = {
        {"translate(7)", Entry(SVG_TRANSFORM_TRANSLATE, 7), 1, 0, 0, 1, 7, 0},
        {"scale(2)", Entry(SVG_TRANSFORM_SCALE, 2), 2, 0, 0, 2, 0, 0},
        {"scale(2 3)", Entry(SVG_TRANSFORM_SCALE, 2, 3), 2, 0, 0, 3, 0, 0},
        {"rotate(90) is exact", Entry(SVG_TRANSFORM_ROTATE, 90), 0, 1, -1, 0, 0, 0},
        {"rotate(0 50 50) is the identity", Entry(SVG_TRANSFORM_ROTATE, 0, 50, 50), 1, 0, 0, 1, 0, 0},
        {"rotate(unset) is the identity", Entry(SVG_TRANSFORM_ROTATE, unset), 1, 0, 0, 1, 0, 0},
        {"rotate(90 10 0) turns about the centre", Entry(SVG_TRANSFORM_ROTATE, 90, 10, 0), 0, 1, -1, 0, 10, -10},
        {"skewX(45)", Entry(SVG_TRANSFORM_SKEWX, 45), 1, 0, 1, 1, 0, 0},
        {"skewY(45)", Entry(SVG_TRANSFORM_SKEWY, 45), 1, 1, 0, 1, 0, 0},
        {"unknown kind", Entry(9, 5, 5, 5), 1, 0, 0, 1, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ExpectMatrix(SvgMatrixFromTransform(c.entry), c.a, c.b, c.c, c.d, c.e, c.f);
    }

    SvgTransform matrix = Entry(SVG_TRANSFORM_MATRIX, 1, 4e-6, -3e-6);
    matrix.d = 1;
    matrix.e = 5;
    matrix.f = 6;
    const SvgMatrix snapped = SvgMatrixFromTransform(matrix);
    EXPECT_EQ(snapped.b, 0.0);
    EXPECT_EQ(snapped.c, 0.0);
    EXPECT_EQ(snapped.e, 5.0);
}

TEST(SvgGeometry, ListsFoldFirstToLastAndRoundTrip)
{
    SvgTransform items[2] = {Entry(SVG_TRANSFORM_TRANSLATE, 10, 20), Entry(SVG_TRANSFORM_SCALE, 2)};
    SvgTransformList list{kSvgTransformListSize, 2, items};
    const SvgMatrix m = SvgMatrixFromList(&list);
    // The translate is outermost: (1, 1) scales to (2, 2), then moves.
    const KvPoint p = m.Apply(1, 1);
    EXPECT_DOUBLE_EQ(p.x, 12);
    EXPECT_DOUBLE_EQ(p.y, 22);
    EXPECT_TRUE(IsIdentitySvgMatrix(SvgMatrixFromList(nullptr)));

    SvgTransformList out;
    InitTransformList(&out);
    ASSERT_EQ(SvgMatrixToList(m, &out), SUCCESS);
    ASSERT_EQ(out.count, 1u);
    EXPECT_EQ(out.items[0].type, SVG_TRANSFORM_MATRIX);
    ExpectMatrix(SvgMatrixFromList(&out), 2, 0, 0, 2, 10, 20);
    ASSERT_EQ(SvgMatrixToList(SvgMatrix{}, &out), SUCCESS);
    EXPECT_EQ(out.count, 0u);
    EXPECT_EQ(out.items, nullptr);
    FreeTransformList(&out);
}

TEST(SvgGeometry, ProductsSnapResiduesAndNaNToZero)
{
    const SvgMatrix tiny{1, 4e-6, 0, 1, 0, std::nan("")};
    const SvgMatrix product = MultiplySvgMatrix(SvgMatrix{}, tiny);
    EXPECT_EQ(product.b, 0.0);
    EXPECT_EQ(product.f, 0.0);
    EXPECT_TRUE(IsRotationSvgMatrix(SvgMatrix{2, 0, 0, 2, 5, 5}));
    EXPECT_FALSE(IsRotationSvgMatrix(SvgMatrix{2, 0, 0, 3, 0, 0}));
    EXPECT_TRUE(IsAxisAlignedSvgMatrix(SvgMatrix{2, 0, 0, 3, 0, 0}));
    EXPECT_FALSE(IsAxisAlignedSvgMatrix(SvgMatrix{0, 1, -1, 0, 0, 0}));
}

TEST(SvgGeometry, LengthsResolveToPixels)
{
    const struct {
        const char* name;
        SvgLength length;
        bool vertical, useAxis;
        int32_t fontSize, width, height;
        double expected;
    } cases[] = {
        {"plain", Length(12, SVG_UNIT_NONE), false, true, 10, 100, 50, 12},
        {"px", Length(12, SVG_UNIT_PX), false, true, 10, 100, 50, 12},
        {"in", Length(1, SVG_UNIT_IN), false, true, 10, 100, 50, 96},
        {"pt", Length(72, SVG_UNIT_PT), false, true, 10, 100, 50, 96},
        {"pc", Length(1, SVG_UNIT_PC), false, true, 10, 100, 50, 16},
        {"cm", Length(2.54, SVG_UNIT_CM), false, true, 10, 100, 50, 96},
        {"mm", Length(25.4, SVG_UNIT_MM), false, true, 10, 100, 50, 96},
        {"em", Length(2, SVG_UNIT_EM), false, true, 10, 100, 50, 20},
        {"em without a font size uses dpi / 6", Length(2, SVG_UNIT_EM), false, true, 0, 100, 50, 32},
        {"ex", Length(2, SVG_UNIT_EX), false, true, 10, 100, 50, 10},
        {"ex with font size -1 goes negative", Length(2, SVG_UNIT_EX), false, true, -1, 100, 50, -1},
        {"percent of width", Length(50, SVG_UNIT_NONE, 1), false, true, 10, 100, 50, 50},
        {"percent of height", Length(50, SVG_UNIT_NONE, 1), true, true, 10, 100, 50, 25},
        {"percent of the diagonal", Length(100, SVG_UNIT_NONE, 1), false, false, 10, 30, 40, 50 / std::sqrt(2.0)},
        {"percent without a viewport", Length(150, SVG_UNIT_NONE, 1), true, false, 0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SvgLength length = c.length;
        ResolveSvgLength(length, c.vertical, c.useAxis, c.fontSize, c.width, c.height);
        EXPECT_NEAR(length.value, c.expected, 1e-9);
        EXPECT_EQ(length.unit, SVG_UNIT_NONE);
        EXPECT_EQ(length.percent, 0u);
    }
}

TEST(SvgGeometry, ArcsBecomeCubicPiecesOnTheEllipse)
{
    const struct {
        const char* name;
        KvPoint start;
        SvgPathArc arc;
        int pieces;
    } cases[] = {
        {"quarter", {10, 0}, {1, 0, 0, 10, 10, 10, 0}, 1},
        {"half", {10, 0}, {1, 0, -10, 0, 10, 10, 0}, 2},
        {"three quarters", {10, 0}, {1, 1, 0, -10, 10, 10, 0}, 3},
        {"radii too small grow", {0, 0}, {1, 0, 20, 0, 1, 1, 0}, 2},
        {"rotated ellipse", {0, 0}, {1, 0, 20, 0, 20, 5, 30}, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SvgCubicPiece pieces[kMaxArcPieces];
        ASSERT_EQ(SvgArcToCubicPieces(c.start, c.arc, pieces), c.pieces);
        EXPECT_DOUBLE_EQ(pieces[c.pieces - 1].end.x, c.arc.x);
        EXPECT_DOUBLE_EQ(pieces[c.pieces - 1].end.y, c.arc.y);
    }

    // A quarter of the circle of radius 10 about the origin, clockwise on a
    // y-down page from (10, 0) to (0, 10): handles along the tangents at
    // atan(pi / 8) * 4 / 3 of the radius.
    SvgCubicPiece quarter[kMaxArcPieces];
    ASSERT_EQ(SvgArcToCubicPieces({10, 0}, {1, 0, 0, 10, 10, 10, 0}, quarter), 1);
    const double handle = 10 * std::atan(3.141592653589793 / 8) * 4 / 3;
    EXPECT_NEAR(quarter[0].control1.x, 10, 1e-9);
    EXPECT_NEAR(quarter[0].control1.y, handle, 1e-9);
    EXPECT_NEAR(quarter[0].control2.x, handle, 1e-9);
    EXPECT_NEAR(quarter[0].control2.y, 10, 1e-9);

    // Without an ellipse the arc is a straight piece to its end.
    SvgCubicPiece line[kMaxArcPieces];
    ASSERT_EQ(SvgArcToCubicPieces({0, 0}, {1, 0, 5, 5, 0, 3, 0}, line), 1);
    EXPECT_DOUBLE_EQ(line[0].control1.x, 0);
    EXPECT_DOUBLE_EQ(line[0].control2.x, 5);
    EXPECT_DOUBLE_EQ(line[0].end.y, 5);
}

TEST(SvgGeometry, ExtentsTakeTheCurvesExtremes)
{
    SvgExtent fresh;
    EXPECT_TRUE(fresh.IsEmpty());

    SvgExtent cubic;
    // A symmetric bump from (0, 0) to (4, 0) peaking at y = -3 at t = 0.5.
    ExpandCubicExtent(cubic, {0, 0}, {0, -4}, {4, -4}, {4, 0});
    EXPECT_DOUBLE_EQ(cubic.xMin, 0);
    EXPECT_DOUBLE_EQ(cubic.xMax, 4);
    EXPECT_DOUBLE_EQ(cubic.yMin, -3);
    EXPECT_DOUBLE_EQ(cubic.yMax, 0);

    SvgExtent straight;  // A = 0 and B = 0: only the end points count.
    ExpandCubicExtent(straight, {0, 0}, {1, 1}, {2, 2}, {3, 3});
    EXPECT_DOUBLE_EQ(straight.xMax, 3);
    EXPECT_DOUBLE_EQ(straight.yMin, 0);

    SvgExtent half;  // The half of the circle of radius 10 about (10, 0) above the x axis.
    ExpandArcExtent(half, {0, 0}, {1, 0, 20, 0, 10, 10, 0});
    EXPECT_NEAR(half.yMin, -10, 0.1);
    EXPECT_NEAR(half.yMax, 0, 1e-9);
    EXPECT_NEAR(half.xMin, 0, 1e-9);
    EXPECT_NEAR(half.xMax, 20, 1e-9);
}
