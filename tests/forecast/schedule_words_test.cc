// Schedule words and the reason an alarm has no next ring, for every format and the odd fields
// the ring rules accept.

#include "forecast/schedule_words.h"

#include <gtest/gtest.h>

#include <string>

#include "forecast/options.h"

namespace quellmark::forecast {
namespace {

// The schedule fields of an alarm; flags are written one digit per element.
struct Fields {
  std::string format{}, year{}, month{}, day{};
  int32_t hour = 0, minute = 0;
  std::string weekdays = "0000000", weeks = "00000";
  bool to_last = false;
  std::string monthly_month{};
  int32_t hourly_minute = 0, timer_hour = 0, timer_minute = 0, timer_second = 0;
  bool enabled = true;
};

void SetFlags(Array<bool>& flags, const std::string& digits) {
  for (size_t i = 0; i < digits.size(); ++i) flags.Set(static_cast<int32_t>(i), digits[i] == '1');
}

Ref<AlarmItem> MakeAlarm(const Fields& f) {
  Ref<AlarmItem> alarm = Ref<AlarmItem>::New();
  alarm->dAlarmFormat = String(f.format);
  alarm->dYear = String(f.year);
  alarm->dMonth = String(f.month);
  alarm->dDay = String(f.day);
  alarm->dHour = f.hour;
  alarm->dMinute = f.minute;
  SetFlags(*alarm->dMonthlyWeekday, f.weekdays);
  SetFlags(*alarm->dMonthlyWeekNum, f.weeks);
  alarm->dMonthlyToLast = f.to_last;
  alarm->dMonthlyMonth = String(f.monthly_month);
  alarm->dHourlyMinute = f.hourly_minute;
  alarm->dTimerHour = f.timer_hour;
  alarm->dTimerMinute = f.timer_minute;
  alarm->dTimerSecond = f.timer_second;
  alarm->mEnabled = f.enabled;
  return alarm;
}

TEST(ScheduleWordsTest, SaysEveryFormatAndEveryOddFieldPlainly) {
  const struct {
    Fields fields;
    std::string words;
  } rows[] = {
      // Any format other than the three is a calendar date.
      {{.format = "weekly", .year = "2027", .day = "1", .hour = 6, .minute = 5},
       "on the 1st of every month of 2027 at 06:05"},
      {{.day = "22"}, "on the 22nd of every month at 00:00"},
      {{.day = "3"}, "on the 3rd of every month at 00:00"},
      {{.day = "13"}, "on the 13th of every month at 00:00"},
      {{.day = "20"}, "on the 20th of every month at 00:00"},
      {{.day = "21"}, "on the 21st of every month at 00:00"},
      {{.year = "2026", .month = "3"}, "every day of March 2026 at 00:00"},
      {{.year = "2026"}, "every day of 2026 at 00:00"},
      // Out of range: shown as saved, and named.
      {{.hour = -1, .minute = 60}, "every day at -1:60 (out of range: hour -1, minute 60)"},
      {{.hour = 24, .minute = -1}, "every day at 24:-1 (out of range: hour 24, minute -1)"},
      {{.day = "32"}, "on day 32 of every month at 00:00 (out of range: day 32)"},
      {{.month = "13", .day = "x"},
       "on 0 month 13 every year at 00:00 (out of range: month 13, day 0)"},
      // Text is read by Val; only emptiness means "every".
      {{.year = " 2026.7abc", .month = "12.9", .day = "24"}, "on 24 December 2026 at 00:00"},
      // Monthly: weekday k is DayOfWeek k + 1, Sunday first; week n counts from the end with
      // dMonthlyToLast; dMonthlyMonth counts only strictly between 0 and 13, truncated.
      {{.format = "monthly", .hour = 7, .minute = 30, .weekdays = "0100000", .weeks = "10100"},
       "first and third Monday of every month at 07:30"},
      {{.format = "MONTHLY", .weekdays = "0000010", .weeks = "01000", .monthly_month = "3.9"},
       "second Friday of March at 00:00"},
      {{.format = "monthly", .weekdays = "0101010", .weeks = "01011", .to_last = true},
       "second to last, fourth to last and fifth to last Monday, Wednesday and Friday of every "
       "month at 00:00"},
      {{.format = "monthly", .weeks = "10000"}, "first (no weekday) of every month at 00:00"},
      {{.format = "monthly", .weekdays = "0010000"}, "(no week) Tuesday of every month at 00:00"},
      {{.format = "monthly", .weekdays = "0010000", .weeks = "10000", .monthly_month = "13"},
       "first Tuesday of every month at 00:00"},
      {{.format = "monthly", .weekdays = "0010000", .weeks = "10000", .monthly_month = "0.5"},
       "first Tuesday of month 0 at 00:00 (out of range: month 0)"},
      {{.format = "hourly", .hourly_minute = 75}, "every hour at :75 (out of range: minute 75)"},
      // Timers: the duration the rule adds up; a negative one is due at once.
      {{.format = "timer", .timer_hour = 100, .timer_minute = 75, .timer_second = 61},
       "timer 101:16:01 after start"},
      {{.format = "timer", .timer_hour = 596524},  // 596524 * 3600 wraps below zero
       "timer -596522:28:16 after start (negative: due at start)"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(ScheduleWords(*MakeAlarm(row.fields)), row.words);
  }
}

// The start is 2026-11-23 10:00:30 and the horizon 366 days; the first tested minute is the
// start shifted by the ring offset, seconds dropped.
TEST(WhyNotTest, ClaimsACauseOnlyWhenTheFieldsMakeItCertain) {
  const std::string none = "does not ring within 366 days", passed = "its date has passed";
  const std::string guard =
      "held back by the guard: Tolvane was last launched in the minute it rings";
  const struct {
    Fields fields;
    std::string why_not;
    int32_t offset_minutes = 0;
    bool held_by_guard = false;
  } rows[] = {
      {{.enabled = false}, "disabled", 0, true},
      {{.format = "hourly", .hourly_minute = 75}, guard, 0, true},
      {{.year = "2026", .month = "11", .day = "23", .hour = 10, .minute = 4}, passed, 5},
      {{.year = "2026", .month = "11", .day = "23", .hour = 10, .minute = 30}, none, 30},
      {{.year = "2025"}, passed},
      {{.year = "2026", .month = "11"}, none},  // 24 November is still to come
      {{.year = "2026", .hour = -902}, none},   // 31 December -902:00 is now
      {{.year = "2026", .month = "12", .day = "-8", .hour = 34}, none},  // 23 November 10:00
      {{.year = "2026", .month = "12", .day = "-8", .hour = 33, .minute = 59}, passed},
      {{.year = "2027", .month = "-1", .day = "22"}, passed},  // November 2026
      // A day early, the rolled 1 December would ring on 30 November, a day that does not roll.
      {{.year = "2026", .month = "11", .day = "1"}, passed, 1440},
      // A month outside 1 to 12 lands in another year, unless a day or a time brings it back.
      {{.month = "13"}, "month 13 never comes"},
      {{.month = "13", .day = "1"}, "month 13 never comes"},
      {{.month = "12", .day = "24"}, none},
      {{.month = "0", .day = "31", .hour = 23, .minute = 59}, "month 0 never comes"},
      {{.month = "13", .day = "0"}, none},
      {{.month = "13", .hour = -1}, "-1:00 falls outside its day"},
      // Without a day, a time beyond its day never meets the tested day, unless it runs as far
      // as another month might: 28 days ahead, or more than 27 days back.
      {{.hour = 24}, "24:00 falls outside its day"},
      {{.hour = 672}, none},
      {{.hour = -648, .minute = -1}, none},
      {{.format = "monthly", .weeks = "10000", .monthly_month = "0.5"}, "no weekday chosen"},
      {{.format = "monthly", .weekdays = "1111111"}, "no week chosen"},
      {{.format = "monthly", .weekdays = "1000000", .weeks = "10000", .monthly_month = "0.5"},
       "month 0 never comes"},
      {{.format = "monthly", .weekdays = "0000001", .weeks = "00001", .monthly_month = "1"}, none},
      {{.format = "hourly", .hourly_minute = 60}, "minute 60 never comes"},
      {{.format = "hourly", .hourly_minute = -1}, "minute -1 never comes"},
      {{.format = "hourly", .hour = 99, .hourly_minute = 59}, none},
  };
  Forecast forecast;
  forecast.start.wall_seconds = ParseMoment("2026-11-23 10:00:30").value();
  for (const auto& row : rows) {
    forecast.ring_offset_minutes = row.offset_minutes;
    const AlarmForecast alarm{MakeAlarm(row.fields), std::nullopt, row.held_by_guard};
    SCOPED_TRACE(ScheduleWords(*alarm.alarm));
    EXPECT_EQ(WhyNot(alarm, forecast), row.why_not);
  }
  EXPECT_EQ(WhyNot({MakeAlarm({.enabled = false}), Moment{}, true}, forecast), std::nullopt);
  forecast.horizon_days = 1;
  // A timer keeps the date fields it was saved with; they say nothing of when it rings.
  EXPECT_EQ(WhyNot({MakeAlarm({.format = "timer", .year = "2025"}), std::nullopt, false}, forecast),
            "does not ring within 1 day");
  // 31 November rolls to 31 December, which on 15 December is still to come.
  forecast.start.wall_seconds = ParseMoment("2026-12-15 10:00:00").value();
  EXPECT_EQ(WhyNot({MakeAlarm({.year = "2026", .month = "11", .day = "31"}), std::nullopt, false},
                   forecast),
            "does not ring within 1 day");
}

}  // namespace
}  // namespace quellmark::forecast
