#include "forecast/schedule_words.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "runtime/calendar.h"
#include "runtime/numbers.h"
#include "runtime/string_value.h"

namespace quellmark::forecast {

namespace {

using calendar::DaysFromCivil;
using calendar::FloorDiv;
using calendar::FloorMod;

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kMinutesPerDay = 1440;
constexpr int64_t kEpochDays = calendar::kWallEpochDays;

constexpr std::array<const char*, 12> kMonthNames = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
// Element k of dMonthlyWeekday is the weekday whose DayOfWeek is k + 1, Sunday first.
constexpr std::array<const char*, 7> kWeekdayNames = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                      "Thursday", "Friday", "Saturday"};
constexpr std::array<const char*, 5> kFromStart = {"first", "second", "third", "fourth", "fifth"};
constexpr std::array<const char*, 5> kFromEnd = {"last", "second to last", "third to last",
                                                 "fourth to last", "fifth to last"};

// A date field as the ring rules read it: only emptiness is tested, then Val as an Int32.
std::optional<int32_t> DateField(const String& text) {
  if (text.IsEmpty()) return std::nullopt;
  return DoubleToInt32(Val(text));
}

// dMonthlyMonth restricts the alarm only when its value lies strictly between 0 and 13; the
// month is then the whole part, so a fraction below 1 names month 0.
std::optional<int32_t> MonthlyMonth(const String& text) {
  const double month = Val(text);
  if (!(month > 0 && month < 13)) return std::nullopt;
  return DoubleToInt32(month);
}

int32_t TimerSeconds(const AlarmItem& alarm) {
  return WrappingAdd(WrappingAdd(WrappingMultiply(alarm.dTimerHour, 3600),
                                 WrappingMultiply(alarm.dTimerMinute, 60)),
                     alarm.dTimerSecond);
}

// Minutes from the start of the target's day to its time; out-of-range fields simply add up.
int64_t MinuteOfDay(const AlarmItem& alarm) { return int64_t{alarm.dHour} * 60 + alarm.dMinute; }

bool InRange(int64_t value, int64_t low, int64_t high) { return value >= low && value <= high; }

std::string Padded(int64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "%02lld", static_cast<long long>(value));
  return text;
}

std::string Number(int64_t value) { return std::to_string(value); }

// "a", "a and b", "a, b and c"; none when there are no items.
std::string ListWords(const std::vector<std::string>& items, const char* none) {
  if (items.empty()) return none;
  std::string words;
  for (size_t i = 0; i < items.size(); ++i) {
    if (i > 0) words += i + 1 == items.size() ? " and " : ", ";
    words += items[i];
  }
  return words;
}

// Collects the fields shown outside their range, for one note at the end of the words.
class OutOfRange {
 public:
  void Check(int64_t value, int64_t low, int64_t high, const std::string& field) {
    if (!InRange(value, low, high)) fields_.push_back(field + " " + Number(value));
  }
  std::string NoteAfter(const std::string& words) const {
    if (fields_.empty()) return words;
    std::string note;
    for (const std::string& field : fields_) note += (note.empty() ? "" : ", ") + field;
    return words + " (out of range: " + note + ")";
  }

 private:
  std::vector<std::string> fields_;
};

std::string TimeWords(int32_t hour, int32_t minute, OutOfRange& out_of_range) {
  out_of_range.Check(hour, 0, 23, "hour");
  out_of_range.Check(minute, 0, 59, "minute");
  return Padded(hour) + ":" + Padded(minute);
}

std::string MonthWords(int32_t month, OutOfRange& out_of_range) {
  out_of_range.Check(month, 1, 12, "month");
  if (!InRange(month, 1, 12)) return "month " + Number(month);
  return kMonthNames[static_cast<size_t>(month - 1)];
}

// "the 1st", "the 22nd"; a day outside 1 to 31 is "day 40".
std::string OrdinalDay(int32_t day) {
  if (!InRange(day, 1, 31)) return "day " + Number(day);
  const int32_t last_digit = day % 10;
  const bool teen = day / 10 == 1;
  const char* suffix = teen || last_digit == 0 || last_digit > 3 ? "th"
                       : last_digit == 1                         ? "st"
                       : last_digit == 2                         ? "nd"
                                                                 : "rd";
  return "the " + Number(day) + suffix;
}

std::string CalendarWords(const AlarmItem& alarm) {
  OutOfRange out_of_range;
  const std::optional<int32_t> year = DateField(alarm.dYear);
  const std::optional<int32_t> month = DateField(alarm.dMonth);
  const std::optional<int32_t> day = DateField(alarm.dDay);
  std::string month_words;
  if (month) month_words = MonthWords(*month, out_of_range);
  if (day) out_of_range.Check(*day, 1, 31, "day");
  std::string when;
  if (day && month) {
    when = "on " + Number(*day) + " " + month_words + (year ? "" : " every year");
  } else if (day) {
    when = "on " + OrdinalDay(*day) + " of every month" + (year ? " of" : "");
  } else if (month) {
    when = "every day of " + month_words;
  } else {
    when = year ? "every day of" : "every day";
  }
  if (year) when += ' ' + Number(*year);
  return out_of_range.NoteAfter(when + " at " +
                                TimeWords(alarm.dHour, alarm.dMinute, out_of_range));
}

static_assert(kWeekdayNames.size() == AlarmItem::kWeekdayUpperBound + 1);
static_assert(kFromStart.size() == AlarmItem::kWeekNumUpperBound + 1);
static_assert(kFromEnd.size() == kFromStart.size());

// The names of the flags that are on; the record makes each flag array as long as its names.
std::vector<std::string> ChosenNames(const Array<bool>& flags, const auto& names) {
  std::vector<std::string> chosen;
  for (size_t i = 0; i < names.size(); ++i) {
    if (flags.Get(static_cast<int32_t>(i))) chosen.emplace_back(names[i]);
  }
  return chosen;
}

std::string MonthlyWords(const AlarmItem& alarm) {
  OutOfRange out_of_range;
  const std::vector<std::string> weeks =
      ChosenNames(*alarm.dMonthlyWeekNum, alarm.dMonthlyToLast ? kFromEnd : kFromStart);
  const std::vector<std::string> weekdays = ChosenNames(*alarm.dMonthlyWeekday, kWeekdayNames);
  const std::optional<int32_t> month = MonthlyMonth(alarm.dMonthlyMonth);
  std::string month_words = "every month";
  if (month) month_words = MonthWords(*month, out_of_range);
  const std::string words = ListWords(weeks, "(no week)") + " " +
                            ListWords(weekdays, "(no weekday)") + " of " + month_words + " at " +
                            TimeWords(alarm.dHour, alarm.dMinute, out_of_range);
  return out_of_range.NoteAfter(words);
}

std::string HourlyWords(const AlarmItem& alarm) {
  OutOfRange out_of_range;
  out_of_range.Check(alarm.dHourlyMinute, 0, 59, "minute");
  return out_of_range.NoteAfter("every hour at :" + Padded(alarm.dHourlyMinute));
}

// The duration the rule adds up, as H:MM:SS; a negative one is due as soon as the alarms load.
std::string TimerWords(const AlarmItem& alarm) {
  const int64_t seconds = TimerSeconds(alarm);
  const int64_t length = std::llabs(seconds);
  const std::string words = "timer " + std::string(seconds < 0 ? "-" : "") + Number(length / 3600) +
                            ":" + Padded(length / 60 % 60) + ":" + Padded(length % 60) +
                            " after start";
  return seconds < 0 ? words + " (negative: due at start)" : words;
}

int64_t ShiftInSeconds(const Forecast& forecast) {
  return WrappingMultiply(forecast.ring_offset_minutes, 60);
}

int32_t DayOfMonth(int64_t wall_seconds) {
  return calendar::CivilFromDays(FloorDiv(wall_seconds, kSecondsPerDay) + kEpochDays).day;
}

// The latest wall-clock minute at which a calendar alarm with a year can be due. An empty
// month is the tested one, at most December. A given month keeps the current day number while
// it is set, so when that number does not fit the month the target rolls into the next one;
// that later target counts only when the moment it would ring at has such a day number.
std::optional<int64_t> LatestDueWallSeconds(const AlarmItem& alarm, const Forecast& forecast) {
  const std::optional<int32_t> year = DateField(alarm.dYear);
  if (!year) return std::nullopt;
  const std::optional<int32_t> month = DateField(alarm.dMonth);
  const int64_t day = DateField(alarm.dDay).value_or(31);
  const auto due = [&](int64_t first_day) {
    return (first_day + day - 1 - kEpochDays) * kSecondsPerDay + MinuteOfDay(alarm) * 60;
  };
  if (!month) return due(DaysFromCivil(*year, 12, 1));
  const int64_t month_year = *year + FloorDiv(*month - int64_t{1}, 12);
  const auto month_of_year = static_cast<int32_t>(FloorMod(*month - int64_t{1}, 12) + 1);
  const int64_t first_day = DaysFromCivil(month_year, month_of_year, 1);
  const int32_t length = calendar::DaysInMonth(month_year, month_of_year);
  const int64_t rolled = due(first_day + length);
  const bool can_roll = DayOfMonth(rolled - ShiftInSeconds(forecast)) > length;
  return can_roll ? rolled : due(first_day);
}

// The minute the first pass tests: the start shifted by the ring offset, seconds dropped.
int64_t FirstTestedMinute(const Forecast& forecast) {
  return FloorDiv(forecast.start.wall_seconds + ShiftInSeconds(forecast), 60) * 60;
}

std::optional<std::string> CalendarCause(const AlarmItem& alarm, const Forecast& forecast) {
  const std::optional<int64_t> latest = LatestDueWallSeconds(alarm, forecast);
  if (latest && *latest < FirstTestedMinute(forecast)) return "its date has passed";

  const std::optional<int32_t> month = DateField(alarm.dMonth);
  const std::optional<int32_t> day = DateField(alarm.dDay);
  const int64_t minute_of_day = MinuteOfDay(alarm);
  const bool within_its_day = InRange(minute_of_day, 0, kMinutesPerDay - 1);
  // Without a year the target stays in the tested year; a month outside 1 to 12 moves it to
  // another year, and a day of 1 to 31 and a time within the day cannot bring it back.
  const bool month_of_another_year = alarm.dYear.IsEmpty() && month && !InRange(*month, 1, 12);
  if (month_of_another_year && (!day || InRange(*day, 1, 31)) && within_its_day) {
    return "month " + Number(*month) + " never comes";
  }
  // Without a day the target keeps the tested day's number; a time running into another day
  // (by less than any month's length) can never land on the tested day.
  if (!day && !within_its_day &&
      InRange(minute_of_day, -27 * kMinutesPerDay, 28 * kMinutesPerDay - 1)) {
    return Padded(alarm.dHour) + ":" + Padded(alarm.dMinute) + " falls outside its day";
  }
  return std::nullopt;
}

std::optional<std::string> MonthlyCause(const AlarmItem& alarm) {
  if (ChosenNames(*alarm.dMonthlyWeekday, kWeekdayNames).empty()) return "no weekday chosen";
  if (ChosenNames(*alarm.dMonthlyWeekNum, kFromStart).empty()) return "no week chosen";
  // Month 0 is December of the year before, a month the tested moment is never in.
  if (MonthlyMonth(alarm.dMonthlyMonth) == 0) return "month 0 never comes";
  return std::nullopt;
}

std::optional<std::string> CertainCause(const AlarmItem& alarm, const Forecast& forecast) {
  if (alarm.dAlarmFormat == "monthly") return MonthlyCause(alarm);
  if (alarm.dAlarmFormat == "hourly") {
    if (InRange(alarm.dHourlyMinute, 0, 59)) return std::nullopt;
    return "minute " + Number(alarm.dHourlyMinute) + " never comes";
  }
  if (alarm.dAlarmFormat == "timer") return std::nullopt;
  return CalendarCause(alarm, forecast);
}

}  // namespace

std::string ScheduleWords(const AlarmItem& alarm) {
  // The rules are tried in the ring rules' order; any other format is a calendar date.
  if (alarm.dAlarmFormat == "monthly") return MonthlyWords(alarm);
  if (alarm.dAlarmFormat == "hourly") return HourlyWords(alarm);
  if (alarm.dAlarmFormat == "timer") return TimerWords(alarm);
  return CalendarWords(alarm);
}

std::optional<std::string> WhyNot(const AlarmForecast& alarm, const Forecast& forecast) {
  if (alarm.next) return std::nullopt;
  if (!alarm.alarm->mEnabled) return "disabled";
  if (alarm.held_by_guard) {
    return "held back by the guard: Tolvane was last launched in the minute it rings";
  }
  if (std::optional<std::string> cause = CertainCause(*alarm.alarm, forecast)) return cause;
  const int32_t days = forecast.horizon_days;
  return "does not ring within " + Number(days) + (days == 1 ? " day" : " days");
}

}  // namespace quellmark::forecast
