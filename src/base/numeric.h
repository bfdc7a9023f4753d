// The unset number of every record and the tolerance tests shared by the
// flattener and the renderer.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

constexpr uint64_t kUnsetDoubleBits = 0x7FFFFFFFFFFFFFFFull;

inline double UnsetDouble() { return std::bit_cast<double>(kUnsetDoubleBits); }
// Only the exact pattern counts: an ordinary NaN from arithmetic is a value.
inline bool IsUnsetDouble(double value) { return std::bit_cast<uint64_t>(value) == kUnsetDoubleBits; }

constexpr double kNearZeroTolerance = 1e-5;
inline bool IsNearZero(double value) { return std::fabs(value) < kNearZeroTolerance; }
