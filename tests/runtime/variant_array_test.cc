#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

#include <vector>

#include "runtime/array.h"
#include "runtime/numbers.h"
#include "runtime/variant.h"

namespace quellmark {
namespace {

TEST(Numbers, DoubleToInt32TruncatesAndSaturatesAndWrappingArithmeticIsModulo2To32) {
  auto truncated = [](double x) {
    return std::isnan(x) ? 0 : static_cast<int64_t>(std::clamp(std::trunc(x), -0x1p31, 0x1p31 - 1));
  };
  // The odd values first, then random ones of every magnitude up to 2^39.
  const double odd[] = {std::nan(""), 0x1p31 - 0.5, -0x1p31 + 0.5, HUGE_VAL, -HUGE_VAL};
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

// Random appends, inserts, removals (at the head, which is compacted lazily, and elsewhere) and
// sets against a vector; an index outside 0 to UBound throws, naming it and the bound.
TEST(Array, EditsAgreeWithAVectorAndIndicesOutsideTheBoundsThrow) {
  std::mt19937 rng(7);
  Array<int32_t> array(-3);
  std::vector<int32_t> oracle;
  for (int32_t step = 0; step < 20000; ++step) {
    const auto size = static_cast<int32_t>(oracle.size());
    const int32_t at = size == 0 ? 0 : static_cast<int32_t>(rng() % static_cast<uint32_t>(size));
    const auto edit = size == 0 ? 0 : rng() % 5;
    const int32_t removed = edit == 2 ? 0 : at;  // one in five edits removes the head
    if (edit < 2) {
      array.Insert(at, step), oracle.insert(oracle.begin() + at, step);
    } else if (edit < 4) {
      array.Remove(removed), oracle.erase(oracle.begin() + removed);
    } else {
      array.Set(at, -step), oracle[static_cast<size_t>(at)] = -step;
    }
    ASSERT_EQ(array.UBound(), std::ssize(oracle) - 1);
    for (int32_t i = 0; i < std::ssize(oracle); ++i) ASSERT_EQ(array.Get(i), oracle[size_t(i)]);
  }
  for (const int32_t outside : {-1, array.UBound() + 1}) {
    try {
      array.Get(outside);
      ADD_FAILURE() << outside;
    } catch (const OutOfBoundsException& e) {
      EXPECT_STREQ(e.Name(), "OutOfBoundsException");
      EXPECT_EQ(e.what(), "index " + std::to_string(outside) + " is outside 0 to " +
                              std::to_string(array.UBound()));
    }
  }
}

TEST(Variant, ToBooleanIsTrueOnlyForTheWordTrueInAnyLetterCase) {
  for (const char* yes : {"True", "TRUE", "tRuE"}) EXPECT_TRUE(VariantToBoolean(Variant(yes)));
  for (const char* no : {"", " True", "True ", "1"}) EXPECT_FALSE(VariantToBoolean(Variant(no)));
  const Variant kept = StringToVariant(String("True"));
  EXPECT_EQ(VariantToString(kept).Bytes(), "True");
}

}  // namespace
}  // namespace quellmark
