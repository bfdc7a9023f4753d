#include <gtest/gtest.h>

#include "drawing_test_support.h"

namespace {

using kvtest::EngineObject;
using kvtest::ScopedEngine;

bool SameMatrix(const KvMatrix& a, const KvMatrix& b)
{
    return a.m11 == b.m11 && a.m12 == b.m12 && a.m21 == b.m21 && a.m22 == b.m22 && a.dx == b.dx && a.dy == b.dy;
}

TEST(EngineContract, DocumentAndPageCallsFollowTheirOrder)
{
    ScopedEngine engine;
    int32_t pageState = 7;
    const struct {
        const char* call;
        int32_t status;
        int32_t pages;
    } steps[] = {
        {"EndPage", ERROR_INV_PARAMETER, 0},  {"BeginPage", ERROR_INV_PARAMETER, 0},
        {"BeginDocument", SUCCESS, 0},        {"BeginDocument", ERROR_INV_PARAMETER, 0},
        {"BeginPage", SUCCESS, 1},            {"BeginPage", ERROR_INV_PARAMETER, 1},
        {"EndDocument", ERROR_INV_PARAMETER, 1}, {"EndPage", SUCCESS, 1},
        {"BeginPage", SUCCESS, 2},            {"EndPage", SUCCESS, 2},
        {"EndDocument", SUCCESS, 2},          {"EndDocument", ERROR_INV_PARAMETER, 2},
        {"BeginPageWithState", SUCCESS, 3},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.call);
        const std::string call = step.call;
        int32_t status = call == "BeginDocument" ? engine->BeginDocument()
                         : call == "EndDocument" ? engine->EndDocument()
                         : call == "BeginPage"   ? engine->BeginPage(100, 100, nullptr)
                         : call == "EndPage"     ? engine->EndPage()
                                                 : engine->BeginPage(100, 100, &pageState);
        EXPECT_EQ(status, step.status);
        EXPECT_EQ(engine->GetPageCount(), step.pages);
    }
    EXPECT_EQ(pageState, 0);
    EXPECT_EQ(engine->IsPageOpen(), 1);
    EXPECT_EQ(engine->IsDocumentOpen(), 0);
}

TEST(EngineContract, RestoringAStateForgetsNewerOnes)
{
    ScopedEngine engine;
    const KvMatrix shifted = {1, 0, 0, 1, 5, 6, 0};
    const KvMatrix scaled = {2, 0, 0, 2, 0, 0, 0};
    const KvMatrix identity = {1, 0, 0, 1, 0, 0, 0};
    KvMatrix now{};
    EXPECT_EQ(engine->SaveState(), 0);
    ASSERT_EQ(engine->SetTransform(&shifted), SUCCESS);
    ASSERT_EQ(engine->SetQualityA(2), SUCCESS);
    EXPECT_EQ(engine->SaveState(), 1);
    ASSERT_EQ(engine->SetTransform(&scaled), SUCCESS);
    ASSERT_EQ(engine->SetQualityB(1), SUCCESS);
    EXPECT_EQ(engine->RestoreState(5), SUCCESS);   // above the depth: nothing
    EXPECT_EQ(engine->RestoreState(-1), SUCCESS);  // negative: nothing
    ASSERT_EQ(engine->GetTransform(&now), SUCCESS);
    EXPECT_TRUE(SameMatrix(now, scaled));
    EXPECT_EQ(engine->RestoreState(0), SUCCESS);
    ASSERT_EQ(engine->GetTransform(&now), SUCCESS);
    EXPECT_TRUE(SameMatrix(now, identity));
    EXPECT_EQ(engine->GetQualityA(), 0);
    EXPECT_EQ(engine->GetQualityB(), 0);
    // Token 1 went with the restore of token 0.
    ASSERT_EQ(engine->SetTransform(&scaled), SUCCESS);
    EXPECT_EQ(engine->RestoreState(1), SUCCESS);
    ASSERT_EQ(engine->GetTransform(&now), SUCCESS);
    EXPECT_TRUE(SameMatrix(now, scaled));
}

TEST(EngineContract, TransformsComposeOnTheirSides)
{
    ScopedEngine engine;
    const KvMatrix shift = {1, 0, 0, 1, 10, 0, 0};
    const KvMatrix scale = {2, 0, 0, 2, 0, 0, 0};
    KvMatrix now{};
    ASSERT_EQ(engine->SetTransform(&shift), SUCCESS);
    ASSERT_EQ(engine->AppendTransform(&scale), SUCCESS);  // shift, then scale the page
    ASSERT_EQ(engine->GetTransform(&now), SUCCESS);
    EXPECT_TRUE(SameMatrix(now, {2, 0, 0, 2, 20, 0, 0}));
    ASSERT_EQ(engine->SetTransform(&shift), SUCCESS);
    ASSERT_EQ(engine->PrependTransform(&scale), SUCCESS);  // scale user space, then shift
    ASSERT_EQ(engine->GetTransform(&now), SUCCESS);
    EXPECT_TRUE(SameMatrix(now, {2, 0, 0, 2, 10, 0, 0}));
    const KvMatrix none{};
    ASSERT_EQ(engine->SetTransform(&none), SUCCESS);  // all zero: no matrix
    ASSERT_EQ(engine->GetTransform(&now), SUCCESS);
    EXPECT_TRUE(SameMatrix(now, {1, 0, 0, 1, 0, 0, 0}));
    EXPECT_EQ(engine->SetTransform(nullptr), ERROR_INV_PARAMETER);
}

TEST(EngineContract, StatusesOfTheSmallCalls)
{
    ScopedEngine engine;
    EngineObject<kvdrw::Pen> pen(*engine);
    ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueBlack, 1.0, 0), SUCCESS);
    EngineObject<kvdrw::Font> font(*engine);
    ASSERT_EQ(engine->CreateFont(font.out(), 0, u"Arial", -12, 0), SUCCESS);
    EngineObject<kvdrw::SolidBrush> brush(*engine);
    ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueBlack), SUCCESS);
    const KvPoint points[4] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}};
    const KvPoint origin = {0, 0};
    const struct {
        const char* call;
        int32_t actual;
        int32_t expected;
    } cases[] = {
        {"Reserved1", engine->Reserved1(), 0},
        {"Reserved2", engine->Reserved2(nullptr, nullptr, nullptr, nullptr), ERROR_NOT_SUPPORTED},
        {"Reserved3", engine->Reserved3(nullptr, nullptr, nullptr, nullptr, nullptr), ERROR_NOT_SUPPORTED},
        {"Reserved4", engine->Reserved4(nullptr, nullptr, nullptr, nullptr, nullptr), ERROR_NOT_SUPPORTED},
        {"Reserved5", engine->Reserved5(nullptr, nullptr, nullptr), 0},
        {"Reserved6", engine->Reserved6(), 0},
        {"DeleteObject null", engine->DeleteObject(nullptr), ERROR_INV_PARAMETER},
        {"DrawLine no pen", engine->DrawLine(nullptr, 0, 0, 1, 1), ERROR_INV_PARAMETER},
        {"DrawPath nothing to paint", engine->DrawPath(nullptr, nullptr, nullptr), SUCCESS},
        {"DrawRectangle nothing to paint", engine->DrawRectangle(nullptr, nullptr, 0, 0, 1, 1), SUCCESS},
        {"DrawPolyline no pen", engine->DrawPolyline(nullptr, points, 4), SUCCESS},
        {"DrawPolyline no points", engine->DrawPolyline(pen.get(), points, 0), SUCCESS},
        {"DrawBeziers one point", engine->DrawBeziers(pen.get(), points, 1), SUCCESS},
        {"DrawBeziers two points", engine->DrawBeziers(pen.get(), points, 2), FAILURE},
        {"DrawBeziers four points", engine->DrawBeziers(pen.get(), points, 4), SUCCESS},
        {"DrawPathData none", engine->DrawPathData(pen.get(), nullptr, points, nullptr, 0, 0), SUCCESS},
        {"DrawString no font", engine->DrawString(u"a", 1, nullptr, brush.get(), &origin, nullptr),
         ERROR_INV_PARAMETER},
        {"DrawString no brush", engine->DrawString(u"a", 1, font.get(), nullptr, &origin, nullptr),
         ERROR_INV_PARAMETER},
        {"DrawString empty", engine->DrawString(u"", 0, font.get(), brush.get(), &origin, nullptr), SUCCESS},
        {"SetResolution negative", engine->SetResolution(-1.0), ERROR_INV_PARAMETER},
        {"SetQualityA 3", engine->SetQualityA(3), ERROR_INV_PARAMETER},
        {"SetClipRect null", engine->SetClipRect(nullptr, 1), ERROR_INV_PARAMETER},
        {"CreateStringFormat no out", engine->CreateStringFormat(nullptr, 0, 0, 0), ERROR_INV_PARAMETER},
        {"IsMeasureOnly", engine->IsMeasureOnly(), 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.call);
        EXPECT_EQ(c.actual, c.expected);
    }
    EXPECT_EQ(engine->SetResolution(0.5), SUCCESS);
    EXPECT_EQ(engine->GetResolution(), 96.0);
    EXPECT_EQ(engine->ConvertFontUnits(12.5), 12.5);
}

TEST(EngineContract, ObjectsPassBetweenEnginesOfOneKind)
{
    kvtest::TestBitmap target(4, 4, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    ScopedEngine measure;
    ScopedEngine bitmap(target.bitmap);
    EXPECT_EQ(measure->GetEngineKind(), bitmap->GetEngineKind());
    EXPECT_EQ(bitmap->IsMeasureOnly(), 0);
    kvdrw::GraphicsPath* path = nullptr;
    ASSERT_EQ(bitmap->CreatePath(&path), SUCCESS);
    // A cached path made by the drawing engine is given back through a measuring one.
    EXPECT_EQ(measure->DeleteObject(path), SUCCESS);
    path = nullptr;
    kvdrw::StringFormat* format = nullptr;
    ASSERT_EQ(measure->CreateStringFormat(&format, 1, 4, 64), SUCCESS);
    EXPECT_EQ(format->GetAlignment(), 1);
    EXPECT_EQ(format->GetLineAlignment(), 4);
    EXPECT_EQ(format->GetFormatFlags(), 64);
    format->SetUserValue(42);
    EXPECT_EQ(format->GetUserValue(), 42);
    EXPECT_EQ(bitmap->DeleteObject(format), SUCCESS);
}

TEST(EngineContract, PenKeepsWhatItIsGiven)
{
    ScopedEngine engine;
    EngineObject<kvdrw::Pen> pen(*engine);
    ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueRed, 3.0, kvdrw::kDashDot), SUCCESS);
    EXPECT_EQ(pen->GetWidth(), 3.0);
    EXPECT_EQ(pen->GetDashStyle(), kvdrw::kDashDot);
    const double pattern[] = {1, 2};
    EXPECT_EQ(pen->SetDashPattern(nullptr, 2), ERROR_INV_PARAMETER);
    EXPECT_EQ(pen->SetDashPattern(pattern, 2), SUCCESS);
    EXPECT_EQ(pen->GetDashStyle(), kvdrw::kDashCustom);
    EXPECT_EQ(pen->SetLineCap(kvdrw::kCapRound), SUCCESS);
    EXPECT_EQ(pen->SetLineJoin(kvdrw::kJoinBevel), SUCCESS);
    EXPECT_EQ(pen->GetLineCap(), kvdrw::kCapRound);
    EXPECT_EQ(pen->GetLineJoin(), kvdrw::kJoinBevel);
    KvColor colour{};
    ASSERT_EQ(pen->GetColor(&colour), SUCCESS);
    EXPECT_EQ(colour.red, 255);
    EXPECT_EQ(colour.alpha, 255);
}

}  // namespace
