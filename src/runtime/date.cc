#include "runtime/date.h"

#include <cmath>
#include <cstdio>
#include <limits>

#include "runtime/calendar.h"
#include "runtime/env.h"

namespace quellmark {

namespace {

using calendar::DaysFromCivil;
using calendar::FloorDiv;
using calendar::FloorMod;

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kEpochDays = calendar::kWallEpochDays;
constexpr int64_t kMinSeconds =
    (DaysFromCivil(std::numeric_limits<int32_t>::min(), 1, 1) - kEpochDays) * kSecondsPerDay;
constexpr int64_t kMaxSeconds =
    (DaysFromCivil(std::numeric_limits<int32_t>::max(), 12, 31) - kEpochDays + 1) * kSecondsPerDay -
    1;

constexpr const char* kWeekdayNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                         "Thursday", "Friday", "Saturday"};
constexpr const char* kMonthNames[] = {"January",   "February", "March",    "April",
                                       "May",       "June",     "July",     "August",
                                       "September", "October",  "November", "December"};

}  // namespace

Date Date::Now() {
  // Every alarm of a pass asks for the same second: its fields are worked out once (the
  // service has one thread).
  static int64_t last_seconds = 0;
  static Date last(0);  // GCOVR_EXCL_BR_LINE: a local static's guard
  const int64_t seconds = Env::Current().LocalWallClockSeconds();
  if (seconds != last_seconds) {
    last = Date(seconds);
    last_seconds = seconds;
  }
  return last;
}

Date Date::FromTotalSeconds(double seconds) {
  Date date(0);
  date.SetTotalSeconds(seconds);
  return date;
}

int32_t Date::DayOfWeek() const {
  return calendar::WeekdayFromDays(FloorDiv(seconds_, kSecondsPerDay) + kEpochDays) + 1;
}

void Date::SetSeconds(int64_t seconds) {
  seconds_ = seconds < kMinSeconds ? kMinSeconds : (seconds > kMaxSeconds ? kMaxSeconds : seconds);
  const int64_t days = FloorDiv(seconds_, kSecondsPerDay);
  second_of_day_ = static_cast<int32_t>(seconds_ - days * kSecondsPerDay);
  const calendar::CivilDate civil = calendar::CivilFromDays(days + kEpochDays);
  year_ = static_cast<int32_t>(civil.year);
  month_ = civil.month;
  day_ = civil.day;
}

void Date::SetCivil(int64_t year, int32_t month, int64_t day) {
  const int64_t days = DaysFromCivil(year, month, day) - kEpochDays;
  // A date that is already valid needs no normalising: keep its fields as given.
  if (year >= std::numeric_limits<int32_t>::min() && year <= std::numeric_limits<int32_t>::max() &&
      day >= 1 && day <= calendar::DaysInMonth(year, month)) {
    seconds_ = days * kSecondsPerDay + second_of_day_;
    year_ = static_cast<int32_t>(year);
    month_ = month;
    day_ = static_cast<int32_t>(day);
    return;
  }
  SetSeconds(days * kSecondsPerDay + second_of_day_);
}

void Date::SetTimeOfDay(int64_t hour, int64_t minute, int64_t second) {
  const int64_t time = hour * 3600 + minute * 60 + second;
  // Within the day only the time changes, and the moment stays within the day's bounds.
  if (time >= 0 && time < kSecondsPerDay) {
    seconds_ += time - second_of_day_;
    second_of_day_ = static_cast<int32_t>(time);
    return;
  }
  SetSeconds(seconds_ - second_of_day_ + time);
}

void Date::SetYear(int32_t year) { SetCivil(year, month_, day_); }

void Date::SetMonth(int32_t month) {
  const int64_t zero_based = int64_t{month} - 1;
  SetCivil(year_ + FloorDiv(zero_based, 12), static_cast<int32_t>(FloorMod(zero_based, 12)) + 1,
           day_);
}

void Date::SetDay(int32_t day) {
  // Within the month only the day changes: the usual step of a walk over a month, kept cheap.
  if (day >= 1 && day <= calendar::DaysInMonth(year_, month_)) {
    seconds_ += (int64_t{day} - day_) * kSecondsPerDay;
    day_ = day;
    return;
  }
  SetCivil(year_, month_, day);
}

void Date::SetHour(int32_t hour) { SetTimeOfDay(hour, Minute(), Second()); }

void Date::SetMinute(int32_t minute) { SetTimeOfDay(Hour(), minute, Second()); }

void Date::SetSecond(int32_t second) { SetTimeOfDay(Hour(), Minute(), second); }

void Date::SetTotalSeconds(double seconds) {
  if (std::isnan(seconds)) return SetSeconds(0);
  const double whole = std::floor(seconds);
  if (whole <= static_cast<double>(kMinSeconds)) return SetSeconds(kMinSeconds);
  if (whole >= static_cast<double>(kMaxSeconds)) return SetSeconds(kMaxSeconds);
  const auto target = static_cast<int64_t>(whole);
  if (target != seconds_) SetSeconds(target);  // a shift by nothing costs nothing
}

String Date::LongDate() const {
  char text[64];
  std::snprintf(text, sizeof text, "%s, %s %d, %d", kWeekdayNames[DayOfWeek() - 1],
                kMonthNames[month_ - 1], day_, year_);
  return String(text);
}

String Date::ShortTime() const {
  char text[16];
  std::snprintf(text, sizeof text, "%02d:%02d", Hour(), Minute());
  return String(text);
}

}  // namespace quellmark
