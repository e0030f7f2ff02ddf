// Date: a moment of local wall-clock time, held as whole seconds since 1904-01-01 00:00:00 on a
// pure calendar scale (no daylight-saving jumps: every day has 86,400 seconds).
//
// Any field may be set to any Int32 value; the date normalises at once, as a calendar does:
// day 32 of January is 1 February, month 0 is December of the year before, day 0 is the last
// day of the month before, hour 24 is the next day. Each set costs constant time. The moment is
// kept within years Int32-min to Int32-max; anything beyond saturates at those ends.
//
// Only Date::Now consults the clock (through Env); everything else is arithmetic.

#ifndef QUELLMARK_RUNTIME_DATE_H_
#define QUELLMARK_RUNTIME_DATE_H_

#include <cstdint>

#include "runtime/string_value.h"

namespace quellmark {

class Date {
 public:
  static constexpr const char* kClassName = "Date";

  // The current local date and time.
  static Date Now();
  // NaN gives the epoch; fractions of a second are dropped (floor).
  static Date FromTotalSeconds(double seconds);

  int32_t Year() const { return year_; }
  int32_t Month() const { return month_; }
  int32_t Day() const { return day_; }
  int32_t Hour() const { return second_of_day_ / 3600; }
  int32_t Minute() const { return second_of_day_ / 60 % 60; }
  int32_t Second() const { return second_of_day_ % 60; }
  // 1 = Sunday ... 7 = Saturday.
  int32_t DayOfWeek() const;
  double TotalSeconds() const { return static_cast<double>(seconds_); }

  void SetYear(int32_t year);
  void SetMonth(int32_t month);
  void SetDay(int32_t day);
  void SetHour(int32_t hour);
  void SetMinute(int32_t minute);
  void SetSecond(int32_t second);
  void SetTotalSeconds(double seconds);

  // "Friday, January 1, 1904" and "00:00". ShortTime has a fixed width, so LongDate + ShortTime
  // of two dates are equal exactly when they share day, hour and minute.
  String LongDate() const;
  String ShortTime() const;

 private:
  explicit Date(int64_t seconds) { SetSeconds(seconds); }

  void SetSeconds(int64_t seconds);                         // clamps, then derives the fields
  void SetCivil(int64_t year, int32_t month, int64_t day);  // keeps the time of day
  void SetTimeOfDay(int64_t hour, int64_t minute, int64_t second);  // any values; normalises

  int64_t seconds_ = 0;  // since the epoch, on the local wall-clock scale
  int32_t year_ = 1904;
  int32_t month_ = 1;
  int32_t day_ = 1;
  int32_t second_of_day_ = 0;
};

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_DATE_H_
