// Proleptic Gregorian calendar arithmetic in closed form (after Howard Hinnant's algorithms):
// constant time for any year an int64 day count can hold, no loops, no time-zone code.

#ifndef QUELLMARK_RUNTIME_CALENDAR_H_
#define QUELLMARK_RUNTIME_CALENDAR_H_

#include <cstdint>

namespace quellmark::calendar {

struct CivilDate {
  int64_t year;
  int32_t month;  // 1 to 12
  int32_t day;    // 1 to 31
};

constexpr int64_t FloorDiv(int64_t a, int64_t b) {
  return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}
constexpr int64_t FloorMod(int64_t a, int64_t b) { return a - FloorDiv(a, b) * b; }

// Days from 1970-01-01 to year-month-day; month must be 1 to 12, day may be any value (it counts
// on from the first of the month).
constexpr int64_t DaysFromCivil(int64_t year, int32_t month, int64_t day) {
  year -= month <= 2;
  const int64_t era = FloorDiv(year, 400);
  const int64_t year_of_era = year - era * 400;                     // [0, 399]
  const int64_t shifted_month = month > 2 ? month - 3 : month + 9;  // March = 0
  const int64_t day_of_year = (153 * shifted_month + 2) / 5;        // of the 1st
  const int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468 + (day - 1);
}

constexpr CivilDate CivilFromDays(int64_t days) {
  days += 719468;
  const int64_t era = FloorDiv(days, 146097);
  const int64_t day_of_era = days - era * 146097;  // [0, 146096]
  const int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int64_t shifted_month = (5 * day_of_year + 2) / 153;  // March = 0
  const auto day = static_cast<int32_t>(day_of_year - (153 * shifted_month + 2) / 5 + 1);
  const auto month =
      static_cast<int32_t>(shifted_month < 10 ? shifted_month + 3 : shifted_month - 9);
  return {year_of_era + era * 400 + (month <= 2), month, day};
}

// 0 = Sunday ... 6 = Saturday; 1970-01-01 was a Thursday.
constexpr int32_t WeekdayFromDays(int64_t days) {
  return static_cast<int32_t>(FloorMod(days + 4, 7));
}

// 1904-01-01, where the wall clock's scale of seconds starts, in days from 1970-01-01.
inline constexpr int64_t kWallEpochDays = DaysFromCivil(1904, 1, 1);

constexpr bool IsLeapYear(int64_t year) {
  return FloorMod(year, 4) == 0 && (FloorMod(year, 100) != 0 || FloorMod(year, 400) == 0);
}

constexpr int32_t DaysInMonth(int64_t year, int32_t month) {
  constexpr int32_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

}  // namespace quellmark::calendar

#endif  // QUELLMARK_RUNTIME_CALENDAR_H_
