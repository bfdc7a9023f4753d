#include <gtest/gtest.h>

#include "base/numeric.h"
#include "base/utf.h"
#include "values/value_formatter.h"
#include "values/value_parser.h"

namespace {

std::string Format(double value)
{
    KvChar buffer[kNumberTextCapacity];
    NumberToString(value, buffer);
    return ToUtf8(std::u16string_view(buffer));
}

}  // namespace

TEST(NumberText, PrintsSixDigitsAndTrimsTheEndOfTheWholeText)
{
    const struct {
        double value;
        const char* text;
    } cases[] = {
        {100.0, "100"},          {0.5, "0.5"},          {0.0, "0"},          {-0.0, "-0"},
        {1234567.0, "1.23457e+06"}, {123456.0, "123456"}, {-2.25, "-2.25"},    {3.14159265, "3.14159"},
        {0.000123, "0.000123"},  {1e-5, "1e-05"},        {1e10, "1e+10"},
        // The trim does not stop at the exponent: a zero ending the exponent goes.
        {1.5e10, "1.5e+1"},      {2.5e-20, "2.5e-2"},   {1.25e100, "1.25e+1"}, {1.5e+20, "1.5e+2"},
        {10.0 / 3.0, "3.33333"}, {1.10, "1.1"},          {2.0, "2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(Format(c.value), c.text);
    }
}

TEST(NumberText, AcceptsTheFormatsNumberGrammarOnly)
{
    const struct {
        std::u16string_view text;
        int32_t status;
    } cases[] = {
        {u"12", SUCCESS},     {u"-12.5", SUCCESS},    {u".5", SUCCESS},      {u"5.", SUCCESS},
        {u"1e5", SUCCESS},    {u"1E-5", SUCCESS},     {u"1e+5", SUCCESS},    {u"  7  ", SUCCESS},
        {u"-.5e3", SUCCESS},  {u"1e", SUCCESS},       {u"- 5", SUCCESS},     {u"\u00A05\u00A0", SUCCESS},
        {u"", ERROR_INV_NUMBER},     {u"   ", ERROR_INV_NUMBER},   {u"+5", ERROR_INV_NUMBER},
        {u"--5", ERROR_INV_NUMBER},  {u"1.2.3", ERROR_INV_NUMBER}, {u"1 2", ERROR_INV_NUMBER},
        {u"e5", ERROR_INV_NUMBER},   {u"1e5e", ERROR_INV_NUMBER},  {u".", ERROR_INV_NUMBER},
        {u"-", ERROR_INV_NUMBER},    {u"5-", ERROR_INV_NUMBER},    {u"12px", ERROR_INV_NUMBER},
        {u"0x1A", ERROR_INV_NUMBER}, {u"1e--5", ERROR_INV_NUMBER}, {u"inf", ERROR_INV_NUMBER},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(ToUtf8(c.text));
        EXPECT_EQ(IsNumberText(c.text), c.status);
    }
    EXPECT_EQ(IsNumberText(static_cast<const KvChar*>(nullptr)), ERROR_INV_PARAMETER);
}

TEST(NumberText, ReadsTheLeadingNumberLikeTheRuntime)
{
    EXPECT_EQ(WideToNumber(u"  12.5px"), 12.5);
    EXPECT_EQ(WideToNumber(u"+3"), 3.0);
    EXPECT_EQ(WideToNumber(u"-1e2x"), -100.0);
    EXPECT_EQ(WideToNumber(u"abc"), 0.0);
    EXPECT_EQ(WideToNumber(u"--5"), 0.0);
    EXPECT_EQ(WideToNumber(nullptr), 0.0);
}

TEST(NumberText, ReadsTheVersionAsExactlyOnePointZeroOrOnePointOne)
{
    EXPECT_EQ(ParseVersion(u"1.0"), 1u);
    EXPECT_EQ(ParseVersion(u"1"), 1u);
    EXPECT_EQ(ParseVersion(u"1.1"), 2u);
    EXPECT_EQ(ParseVersion(u" 1.10 "), 2u);
    EXPECT_EQ(ParseVersion(u"1.2"), 0u);
    EXPECT_EQ(ParseVersion(u"one"), 0u);
    EXPECT_EQ(ParseVersion(static_cast<const KvChar*>(nullptr)), 0u);
}
