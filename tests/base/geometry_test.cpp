#include "base/geometry.h"

#include <gtest/gtest.h>

namespace {

void ExpectMatrix(const KvMatrix& actual, const KvMatrix& expected)
{
    EXPECT_NEAR(actual.m11, expected.m11, 1e-12);
    EXPECT_NEAR(actual.m12, expected.m12, 1e-12);
    EXPECT_NEAR(actual.m21, expected.m21, 1e-12);
    EXPECT_NEAR(actual.m22, expected.m22, 1e-12);
    EXPECT_NEAR(actual.dx, expected.dx, 1e-12);
    EXPECT_NEAR(actual.dy, expected.dy, 1e-12);
}

void ExpectRect(const KvRectangle& actual, const KvRectangle& expected)
{
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
    EXPECT_NEAR(actual.width, expected.width, 1e-9);
    EXPECT_NEAR(actual.height, expected.height, 1e-9);
}

}  // namespace

TEST(Geometry, RectangleIsEmptyUnlessBothSidesArePositive)
{
    const struct { KvRectangle rect; bool empty; } cases[] = {
        {{0, 0, 1, 1}, false}, {{-5, -5, 0.001, 3}, false}, {{0, 0, 0, 1}, true},
        {{0, 0, 1, 0}, true},  {{0, 0, -1, 5}, true},        {{0, 0, 5, __builtin_nan("")}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.rect.x << "," << c.rect.y << "," << c.rect.width << "," << c.rect.height);
        EXPECT_EQ(RectIsEmpty(c.rect), c.empty);
    }
    KvRectangle rect{1, 2, 3, 4};
    RectSetEmpty(rect);
    ExpectRect(rect, {0, 0, 0, 0});
}

TEST(Geometry, IntersectsAndUnionsRectangles)
{
    const struct {
        const char* name;
        KvRectangle a, b;
        bool overlaps;
        KvRectangle intersection, unionRect;
    } cases[] = {
        {"overlap", {0, 0, 10, 10}, {5, 6, 10, 10}, true, {5, 6, 5, 4}, {0, 0, 15, 16}},
        {"inside", {0, 0, 10, 10}, {2, 3, 4, 5}, true, {2, 3, 4, 5}, {0, 0, 10, 10}},
        {"touching edges", {0, 0, 10, 10}, {10, 0, 5, 5}, false, {0, 0, 0, 0}, {0, 0, 15, 10}},
        {"apart", {0, 0, 1, 1}, {5, 5, 1, 1}, false, {0, 0, 0, 0}, {0, 0, 6, 6}},
        {"one empty", {0, 0, 0, 10}, {5, 5, 2, 2}, false, {0, 0, 0, 0}, {5, 5, 2, 2}},
        {"both empty", {3, 3, 0, 0}, {5, 5, -2, 2}, false, {0, 0, 0, 0}, {0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        KvRectangle intersection{9, 9, 9, 9};
        EXPECT_EQ(RectIntersects(c.a, c.b, &intersection), c.overlaps);
        ExpectRect(intersection, c.intersection);
        EXPECT_EQ(RectIntersects(c.b, c.a), c.overlaps);
        ExpectRect(RectUnion(c.a, c.b), c.unionRect);
        ExpectRect(RectUnion(c.b, c.a), c.unionRect);
    }
}

TEST(Geometry, RectangleEdgesAndCornersKeepTheirOrder)
{
    ExpectRect(RectFromEdges(1, 2, 11, 22), {1, 2, 10, 20});
    // Edges given the wrong way round make an empty rectangle, not a turned one.
    KvRectangle backwards = RectFromEdges(10, 10, 0, 0);
    ExpectRect(backwards, {10, 10, -10, -10});
    EXPECT_TRUE(RectIsEmpty(backwards));
    KvPoint topLeft = RectTopLeft({1, 2, 3, 4});
    KvPoint bottomRight = RectBottomRight({1, 2, 3, 4});
    EXPECT_EQ(topLeft.x, 1.0);
    EXPECT_EQ(topLeft.y, 2.0);
    EXPECT_EQ(bottomRight.x, 4.0);
    EXPECT_EQ(bottomRight.y, 6.0);
}

TEST(Geometry, StepsActAfterWhatTheMatrixAlreadyDoes)
{
    KvMatrix matrix = MatrixIdentity();
    MatrixTranslate(matrix, 10, 0);
    MatrixScale(matrix, 2, 3);
    ExpectMatrix(matrix, {2, 0, 0, 3, 20, 0, 0});
    KvPoint point{1, 1};
    MatrixTransformPoints(matrix, &point, 1);
    EXPECT_EQ(point.x, 22.0);
    EXPECT_EQ(point.y, 3.0);

    // The first factor of a product acts first.
    KvMatrix product = MatrixMultiply(MatrixSet(1, 0, 0, 1, 5, 0), MatrixSet(0, 1, -1, 0, 0, 0));
    ExpectMatrix(product, {0, 1, -1, 0, 0, 5, 0});

    KvMatrix prepended = MatrixSet(1, 0, 0, 1, 5, 0);
    MatrixPrepend(prepended, MatrixSet(2, 0, 0, 2, 1, 1));
    ExpectMatrix(prepended, {2, 0, 0, 2, 11, 1, 0});
}

TEST(Geometry, RotatesAndScalesAboutAPoint)
{
    KvMatrix rotate = MatrixIdentity();
    MatrixRotateAt(rotate, 90, 10, 20);
    ExpectMatrix(rotate, {0, 1, -1, 0, 30, 10, 0});
    // Quarter turns come out exact, not 6e-17 off.
    EXPECT_EQ(rotate.m11, 0.0);
    EXPECT_EQ(rotate.m22, 0.0);
    KvPoint points[2] = {{10, 20}, {11, 20}};
    MatrixTransformPoints(rotate, points, 2);
    EXPECT_EQ(points[0].x, 10.0);
    EXPECT_EQ(points[0].y, 20.0);
    EXPECT_EQ(points[1].x, 10.0);
    EXPECT_EQ(points[1].y, 21.0);

    KvMatrix turn = MatrixIdentity();
    MatrixRotate(turn, -270);
    ExpectMatrix(turn, {0, 1, -1, 0, 0, 0, 0});
    MatrixRotate(turn, 30);
    ExpectMatrix(turn, {-0.5, 0.8660254037844387, -0.8660254037844387, -0.5, 0, 0, 0});

    // A mirror about the middle of a 40 x 30 page.
    KvMatrix mirror = MatrixIdentity();
    MatrixScaleAt(mirror, 1, -1, 20, 15);
    ExpectMatrix(mirror, {1, 0, 0, -1, 0, 30, 0});

    KvMatrix skew = MatrixIdentity();
    MatrixSkew(skew, 45, 0);
    KvPoint skewed{0, 10};
    MatrixTransformPoints(skew, &skewed, 1);
    EXPECT_NEAR(skewed.x, 10.0, 1e-12);
    EXPECT_NEAR(skewed.y, 10.0, 1e-12);
}

TEST(Geometry, InvertsOnlyInvertibleMatrices)
{
    const struct { const char* name; KvMatrix matrix; bool invertible; KvMatrix inverse; } cases[] = {
        {"scale and shift", {2, 0, 0, 4, 10, 20, 0}, true, {0.5, 0, 0, 0.25, -5, -5, 0}},
        {"general", {1, 2, 3, 4, 5, 6, 0}, true, {-2, 1, 1.5, -0.5, 1, -2, 0}},
        {"singular", {1, 2, 2, 4, 7, 8, 0}, false, {1, 2, 2, 4, 7, 8, 0}},
        {"all zero", {0, 0, 0, 0, 0, 0, 0}, false, {0, 0, 0, 0, 0, 0, 0}},
        {"overflowing inverse", {1e-300, 0, 0, 1e-300, 0, 0, 0}, false, {1e-300, 0, 0, 1e-300, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(MatrixIsInvertible(c.matrix), c.invertible);
        KvMatrix matrix = c.matrix;
        EXPECT_EQ(MatrixInvert(matrix), c.invertible);
        ExpectMatrix(matrix, c.inverse);
        if (c.invertible)
            ExpectMatrix(MatrixMultiply(c.matrix, matrix), {1, 0, 0, 1, 0, 0, 0});
    }
}

TEST(Geometry, TransformsRectanglesToTheirBounds)
{
    KvMatrix rotate = MatrixIdentity();
    MatrixRotate(rotate, 45);
    // The corners (10, 0), (0, 20) and (10, 20) swing to x 7.07, -14.14 and -7.07.
    ExpectRect(RectTransform({0, 0, 10, 20}, rotate),
               {-14.142135623730951, 0, 21.213203435596427, 21.213203435596427});

    // Mirrored on x: the axis-aligned form keeps width and height positive.
    KvMatrix mirror = MatrixSet(-2, 0, 0, 3, 100, 10);
    ExpectRect(RectTransformAxisAligned({10, 20, 5, 4}, mirror), {70, 70, 10, 12});
    ExpectRect(RectTransform({10, 20, 5, 4}, mirror), {70, 70, 10, 12});
}

TEST(Geometry, MeasuresScaleAndClassifiesKind)
{
    KvMatrix matrix = MatrixIdentity();
    MatrixScale(matrix, 2, 3);
    MatrixRotate(matrix, 30);
    double scaleX = 0, scaleY = 0;
    MatrixGetScale(matrix, scaleX, scaleY);
    EXPECT_NEAR(scaleX, 2.0, 1e-12);
    EXPECT_NEAR(scaleY, 3.0, 1e-12);

    const struct { const char* name; KvMatrix matrix; uint64_t kind; } cases[] = {
        {"identity", MatrixIdentity(), KV_MATRIX_CLASSIFIED},
        {"translate", MatrixSet(1, 0, 0, 1, 3, 0), KV_MATRIX_CLASSIFIED | KV_MATRIX_TRANSLATES},
        {"mirror", MatrixSet(-1, 0, 0, 1, 0, 0), KV_MATRIX_CLASSIFIED | KV_MATRIX_SCALES},
        {"rotate", matrix, KV_MATRIX_CLASSIFIED | KV_MATRIX_SCALES | KV_MATRIX_SHEARS},
        {"quarter turn", MatrixSet(0, 1, -1, 0, 0, 0), KV_MATRIX_CLASSIFIED | KV_MATRIX_SCALES | KV_MATRIX_SHEARS},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.matrix.kind, c.kind);
    }
    KvMatrix byHand{1, 0, 0, 1, 0, 4, 0};
    MatrixClassify(byHand);
    EXPECT_EQ(byHand.kind, KV_MATRIX_CLASSIFIED | KV_MATRIX_TRANSLATES);
}

TEST(Geometry, DecodesEveryViewPerspective)
{
    const struct { uint32_t perspective; bool valid; int32_t rotation; bool flip; } cases[] = {
        {0, false, -1, true}, {1, true, 0, false},   {2, true, 180, true}, {3, true, 180, false},
        {4, true, 0, true},   {5, true, 90, true},   {6, true, 90, false}, {7, true, 270, true},
        {8, true, 270, false}, {9, false, -1, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.perspective);
        int32_t rotation = -1;
        bool flip = true;
        EXPECT_EQ(DecodeViewPerspective(c.perspective, rotation, flip), c.valid);
        EXPECT_EQ(rotation, c.rotation);
        EXPECT_EQ(flip, c.flip);
    }
}
