// Int32 conversions and arithmetic with defined results for every input: a double converts by
// truncation toward zero, saturating at the Int32 limits, NaN giving 0; sums and products wrap
// in two's complement as the platform's 32-bit integers do.

#ifndef QUELLMARK_RUNTIME_NUMBERS_H_
#define QUELLMARK_RUNTIME_NUMBERS_H_

#include <cmath>
#include <cstdint>
#include <limits>

namespace quellmark {

inline int32_t DoubleToInt32(double value) {
  if (std::isnan(value)) return 0;
  if (value <= static_cast<double>(std::numeric_limits<int32_t>::min())) {
    return std::numeric_limits<int32_t>::min();
  }
  if (value >= static_cast<double>(std::numeric_limits<int32_t>::max())) {
    return std::numeric_limits<int32_t>::max();
  }
  return static_cast<int32_t>(value);
}

inline int32_t WrappingAdd(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int32_t WrappingMultiply(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_NUMBERS_H_
