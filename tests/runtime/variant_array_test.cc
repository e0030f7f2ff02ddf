#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <random>
#include <string>

#include "runtime/array.h"
#include "runtime/date.h"
#include "runtime/numbers.h"
#include "runtime/ref.h"
#include "runtime/variant.h"

namespace quellmark {
namespace {

TEST(Numbers, DoubleToInt32TruncatesAndSaturatesAndWrappingArithmeticIsModulo2To32) {
  auto truncated = [](double x) {
    return std::isnan(x) ? 0 : static_cast<int64_t>(std::clamp(std::trunc(x), -0x1p31, 0x1p31 - 1));
  };
  std::mt19937_64 rng(32);
  for (int i = 0; i < 300000; ++i) {
    const double x =
        std::ldexp(static_cast<double>(rng()) / 0x1p63 - 1, static_cast<int>(rng() % 40));
    ASSERT_EQ(DoubleToInt32(x), truncated(x)) << x;
    const auto a = static_cast<int32_t>(rng()), b = static_cast<int32_t>(rng());
    ASSERT_EQ((int64_t{a} + b - WrappingAdd(a, b)) % 0x100000000, 0);
    ASSERT_EQ((int64_t{a} * b - WrappingMultiply(a, b)) % 0x100000000, 0);
  }
  for (double x : {std::nan(""), -0.99, 0x1p31 - 0.5, -0x1p31 - 0.5, HUGE_VAL, -HUGE_VAL}) {
    EXPECT_EQ(DoubleToInt32(x), truncated(x)) << x;
  }
}

// Over blanks, signs, digits and the like, VariantToInt32 reads what strtoll reads, clamped.
TEST(Variant, ToInt32ReadsTheLeadingWholeNumberAndSaturates) {
  std::mt19937 rng(3);
  const std::string alphabet = " \t+-.e01234567899999";
  for (int i = 0; i < 300000; ++i) {
    std::string s(rng() % 24, ' ');
    for (char& c : s) c = alphabet[rng() % alphabet.size()];
    const int64_t read =
        std::clamp<int64_t>(std::strtoll(s.c_str(), nullptr, 10), INT32_MIN, INT32_MAX);
    ASSERT_EQ(VariantToInt32(StringToVariant(String(s))), read) << s;
  }
}

TEST(Variant, ToBooleanIsTrueOnlyForTheWordTrueInAnyLetterCase) {
  for (const char* yes : {"True", "TRUE", "true", "tRuE"})
    EXPECT_TRUE(VariantToBoolean(Variant(yes)));
  for (const char* no : {"", " True", "True ", "Trve", "1", "yes"})
    EXPECT_FALSE(VariantToBoolean(Variant(no)));
}

// A first-in, first-out queue, as the folder search uses the array, against a deque; appends go
// through Insert at the upper bound + 1 half of the time, the one place the service inserts.
TEST(Array, QueuesLikeADequeAndRejectsEveryIndexOutsideZeroToTheUpperBound) {
  const Array<String> blanks(2);
  EXPECT_TRUE(Array<int32_t>(-7).UBound() == -1 && blanks.UBound() == 2 && blanks.Get(2).IsEmpty());
  std::mt19937 rng(5);
  Array<int32_t> array;
  std::deque<int32_t> reference;
  for (int32_t i = 0; i < 100000; ++i) {
    const auto op = rng() % 8;  // appending a little more often than removing, so the queue grows
    if (op < 2) array.Append(i), reference.push_back(i);
    if (op >= 2 && op < 4) array.Insert(array.UBound() + 1, i), reference.push_back(i);
    if (op >= 4 && op < 7 && !reference.empty()) array.Remove(0), reference.pop_front();
    if (op == 7 && !reference.empty()) array.Set(0, -i), reference.front() = -i;
    ASSERT_EQ(array.UBound(), static_cast<int32_t>(reference.size()) - 1);
    ASSERT_TRUE(reference.empty() || (array.Get(0) == reference.front() &&
                                      array.Get(array.UBound()) == reference.back()));
    ASSERT_THROW(array.Get(array.UBound() + 1), OutOfBoundsException);
    ASSERT_THROW(array.Set(-1, 0), OutOfBoundsException);
  }
  for (size_t k = 0; k < reference.size(); ++k) {
    ASSERT_EQ(array.Get(static_cast<int32_t>(k)), reference[k]);
  }
}

TEST(Ref, UsingAMemberOfNilThrowsNilObjectException) {
  const Ref<Date> nil;
  EXPECT_THROW(nil->Year(), NilObjectException);
  EXPECT_THROW((*nil).SetDay(1), NilObjectException);
}

}  // namespace
}  // namespace quellmark
