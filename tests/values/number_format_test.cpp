// Numbers in attributes are "%g" with six significant digits and trailing
// zeros trimmed; the fast road for everyday magnitudes must write exactly
// what the general conversion writes, for every value.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "values/value_formatter.h"

namespace {

// "%g", then trailing zeros trimmed from the whole text when it has a point,
// exponent included: "1.5e-10" loses its last zero, as files have it.
std::string Reference(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    std::string out = text;
    if (out.find('.') != std::string::npos) {
        while (!out.empty() && out.back() == '0')
            out.pop_back();
        if (!out.empty() && out.back() == '.')
            out.pop_back();
    }
    return out;
}

std::string Written(double value)
{
    KvChar buffer[64];
    NumberToString(value, buffer);
    std::string text;
    for (const KvChar* c = buffer; *c; ++c)
        text += static_cast<char>(*c);
    return text;
}

}  // namespace

TEST(NumberFormat, EveryMagnitudeMatchesTheGeneralConversion)
{
    const double edges[] = {0.0, -0.0, 1.0, -1.0, 0.0001, 0.00009999995, 0.000099999, 999999.0, 999999.4, 999999.5,
                            1e6, 123456.5, 0.1, 0.15, 0.25, 2.5, 1.0000005, 9.9999996, 9.999995, 99999.95,
                            0.707107, -35.3553, 1.7976931348623157e308, 5e-324, 1e-5, 12345678.0};
    for (double value : edges) {
        SCOPED_TRACE(value);
        EXPECT_EQ(Written(value), Reference(value));
    }
    std::mt19937_64 random(20261122);
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    std::uniform_int_distribution<int> exponent(-6, 7);
    for (int i = 0; i < 200000; ++i) {
        const double value = mantissa(random) * std::pow(10.0, exponent(random));
        ASSERT_EQ(Written(value), Reference(value)) << std::to_string(value);
    }
    // Values with few decimals, as coordinates usually are.
    for (int i = 0; i < 200000; ++i) {
        const double value = std::round(mantissa(random) * 1e5) / std::pow(10.0, exponent(random) + 3);
        ASSERT_EQ(Written(value), Reference(value)) << std::to_string(value);
    }
}
