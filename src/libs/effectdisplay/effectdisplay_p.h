#pragma once

// Arithmetic shared by the effect sources. Coordinates are single-precision floats truncated
// toward zero at the painter; integer divisions and products happen before the conversion.

namespace effectmath {

constexpr int kIndentFactor = 20;
constexpr int kWindowCount = 20;
constexpr int kDentineCount = 8;
constexpr int kCumulateFactor = 3;
constexpr int kLaserFactor = 30;

inline int T(float x)
{
    return static_cast<int>(x);
}
inline float F(int n)
{
    return static_cast<float>(n);
}

} // namespace effectmath
