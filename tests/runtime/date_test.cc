#include "runtime/date.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

namespace quellmark {
namespace {

constexpr int64_t kDay = 86400;

int64_t FloorDivide(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }
bool IsLeap(int64_t y) { return y % 4 == 0 && (y % 100 != 0 || y % 400 == 0); }

// Days from 1904-01-01 counted the long way: whole 400-year cycles of 146097 days, then year by
// year, then a cumulative month table. Month and day may be any value.
int64_t DaysSince1904(int64_t year, int64_t month, int64_t day) {
  constexpr int64_t kMonthStart[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
  const int64_t months = year * 12 + month - 1, y = FloorDivide(months, 12), m = months - y * 12;
  const int64_t cycles = FloorDivide(y - 1904, 400);
  int64_t days = cycles * 146097 + kMonthStart[m] + (m >= 2 && IsLeap(y)) + day - 1;
  for (int64_t k = 1904 + cycles * 400; k < y; ++k) days += IsLeap(k) ? 366 : 365;
  return days;
}

// The moment that the fields of d spell, or INT64_MIN, beyond every date, when a field is outside
// its calendar range or the weekday disagrees with a count from 1904-01-01, a Friday (6).
int64_t SecondsSpelledBy(const Date& d) {
  const int64_t first = DaysSince1904(d.Year(), d.Month(), 1), days = first + d.Day() - 1;
  const bool valid = d.Month() >= 1 && d.Month() <= 12 && d.Day() >= 1 &&
                     d.Day() <= DaysSince1904(d.Year(), d.Month() + 1, 1) - first &&
                     d.Hour() >= 0 && d.Hour() < 24 && d.Minute() >= 0 && d.Minute() < 60 &&
                     d.Second() >= 0 && d.Second() < 60 &&
                     d.DayOfWeek() == days + 5 - FloorDivide(days + 5, 7) * 7 + 1;
  return valid ? days * kDay + d.Hour() * 3600 + d.Minute() * 60 + d.Second() : INT64_MIN;
}

// Random setters with values of every magnitude, each checked against the oracle; along the way
// LongDate + ShortTime of each date and the one before must match exactly when the minute does.
TEST(Date, SettersNormaliseAnyInt32LikeACalendarAndSaturateAtTheYearLimits) {
  // An anchor for oracle and date alike: 2000-01-01 began 3029529600 s after the epoch.
  EXPECT_EQ(Date::FromTotalSeconds(3029529600.0).LongDate().Bytes(), "Saturday, January 1, 2000");
  const int64_t lowest = DaysSince1904(INT32_MIN, 1, 1) * kDay;
  const int64_t highest = DaysSince1904(int64_t{INT32_MAX} + 1, 1, 1) * kDay - 1;
  void (Date::*const kSetters[])(int32_t) = {&Date::SetYear, &Date::SetMonth,  &Date::SetDay,
                                             &Date::SetHour, &Date::SetMinute, &Date::SetSecond};
  std::mt19937_64 rng(1904);
  Date d = Date::FromTotalSeconds(0);
  for (int i = 0; i < 200000; ++i) {
    const Date before = d;
    const int32_t v = static_cast<int32_t>(rng()) >> (rng() % 32);
    int64_t f[] = {d.Year(), d.Month(), d.Day(), d.Hour(), d.Minute(), d.Second()};
    int64_t expected = 0;
    if (const auto which = static_cast<size_t>(rng() % 7); which < 6) {
      (d.*kSetters[which])(v);
      f[which] = v;
      expected = DaysSince1904(f[0], f[1], f[2]) * kDay + f[3] * 3600 + f[4] * 60 + f[5];
    } else {  // any magnitude, with a quarter to floor away; NaN is the epoch
      const double fraction = rng() % 8 ? static_cast<double>(rng() % 4) / 4 : std::nan("");
      const double x = std::ldexp(v, static_cast<int>(rng() % 64)) + fraction;
      d.SetTotalSeconds(x);
      expected = std::isnan(x) ? 0 : static_cast<int64_t>(std::clamp(std::floor(x), -1e18, 1e18));
    }
    const int64_t now = SecondsSpelledBy(d);
    ASSERT_EQ(now, std::clamp(expected, lowest, highest)) << "step " << i;
    ASSERT_EQ(d.LongDate() + d.ShortTime() == before.LongDate() + before.ShortTime(),
              FloorDivide(now, 60) == FloorDivide(SecondsSpelledBy(before), 60));
  }
  // Then every day from 1900 to 2100, stepping the day and keeping the time of day.
  d = Date::FromTotalSeconds(static_cast<double>(DaysSince1904(1900, 1, 1) * kDay + 49530));
  for (int64_t day = DaysSince1904(1900, 1, 1); d.Year() <= 2100; ++day, d.SetDay(d.Day() + 1)) {
    ASSERT_EQ(SecondsSpelledBy(d), day * kDay + 49530) << d.LongDate();
  }
}

}  // namespace
}  // namespace quellmark
