#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

#include "runtime/numbers.h"
#include "runtime/variant.h"

namespace quellmark {
namespace {

TEST(Numbers, DoubleToInt32TruncatesAndSaturatesAndWrappingArithmeticIsModulo2To32) {
  auto truncated = [](double x) {
    return std::isnan(x) ? 0 : static_cast<int64_t>(std::clamp(std::trunc(x), -0x1p31, 0x1p31 - 1));
  };
  // The odd values first, then random ones of every magnitude up to 2^39.
  const double odd[] = {std::nan(""), -0.99, 0x1p31 - 0.5, -0x1p31 - 0.5, HUGE_VAL, -HUGE_VAL};
  std::mt19937_64 rng(32);
  for (int i = 0; i < 300000; ++i) {
    const double x = i < std::ssize(odd) ? odd[i]
                                         : std::ldexp(static_cast<double>(rng()) / 0x1p63 - 1,
                                                      static_cast<int>(rng() % 40));
    ASSERT_EQ(DoubleToInt32(x), truncated(x)) << x;
    const auto a = static_cast<int32_t>(rng()), b = static_cast<int32_t>(rng());
    ASSERT_EQ((int64_t{a} + b - WrappingAdd(a, b)) % 0x100000000, 0);
    ASSERT_EQ((int64_t{a} * b - WrappingMultiply(a, b)) % 0x100000000, 0);
  }
}

TEST(Variant, ToBooleanIsTrueOnlyForTheWordTrueInAnyLetterCase) {
  for (const char* yes : {"True", "TRUE", "tRuE"}) EXPECT_TRUE(VariantToBoolean(Variant(yes)));
  for (const char* no : {"", " True", "True ", "1"}) EXPECT_FALSE(VariantToBoolean(Variant(no)));
}

}  // namespace
}  // namespace quellmark
