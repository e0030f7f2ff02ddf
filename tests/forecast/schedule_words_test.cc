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
      {{.hour = 7, .minute = 30}, "every day at 07:30"},
      {{.year = "2026", .month = "12", .day = "24", .hour = 9}, "on 24 December 2026 at 09:00"},
      {{.month = "12", .day = "24", .hour = 9}, "on 24 December every year at 09:00"},
      {{.day = "15", .hour = 8}, "on the 15th of every month at 08:00"},
      {{.year = "2027", .day = "1", .hour = 6, .minute = 5},
       "on the 1st of every month of 2027 at 06:05"},
      {{.day = "22"}, "on the 22nd of every month at 00:00"},
      {{.day = "3"}, "on the 3rd of every month at 00:00"},
      {{.day = "13"}, "on the 13th of every month at 00:00"},
      {{.day = "31"}, "on the 31st of every month at 00:00"},
      {{.month = "2", .hour = 7, .minute = 30}, "every day of February at 07:30"},
      {{.year = "2026", .month = "3", .hour = 23, .minute = 59},
       "every day of March 2026 at 23:59"},
      {{.year = "2026"}, "every day of 2026 at 00:00"},
      // Out of range: shown as saved, and named.
      {{.hour = 25}, "every day at 25:00 (out of range: hour 25)"},
      {{.hour = -1, .minute = 60}, "every day at -1:60 (out of range: hour -1, minute 60)"},
      {{.day = "32"}, "on day 32 of every month at 00:00 (out of range: day 32)"},
      {{.day = "0"}, "on day 0 of every month at 00:00 (out of range: day 0)"},
      {{.month = "13", .day = "x"},
       "on 0 month 13 every year at 00:00 (out of range: month 13, day 0)"},
      {{.year = "2026", .month = "0"},
       "every day of month 0 2026 at 00:00 (out of range: month 0)"},
      // Text is read by Val; only emptiness means "every".
      {{.year = " 2026.7abc", .month = "12.9", .day = "24"}, "on 24 December 2026 at 00:00"},
      {{.format = "weekly", .hour = 7}, "every day at 07:00"},
      // Monthly: weekday k is DayOfWeek k + 1, Sunday first; week n counts from the end with
      // dMonthlyToLast.
      {{.format = "monthly", .hour = 7, .minute = 30, .weekdays = "0100000", .weeks = "10100"},
       "first and third Monday of every month at 07:30"},
      {{.format = "MONTHLY",
        .hour = 18,
        .weekdays = "0000010",
        .weeks = "10000",
        .to_last = true,
        .monthly_month = "3"},
       "last Friday of March at 18:00"},
      {{.format = "monthly", .weekdays = "1000001", .weeks = "11000", .to_last = true},
       "last and second to last Sunday and Saturday of every month at 00:00"},
      {{.format = "monthly", .weekdays = "0101010", .weeks = "01011"},
       "second, fourth and fifth Monday, Wednesday and Friday of every month at 00:00"},
      {{.format = "monthly", .weekdays = "0000001", .weeks = "00111", .to_last = true},
       "third to last, fourth to last and fifth to last Saturday of every month at 00:00"},
      {{.format = "monthly", .hour = 7, .weeks = "10000"},
       "first (no weekday) of every month at 07:00"},
      {{.format = "monthly", .weekdays = "0010000"}, "(no week) Tuesday of every month at 00:00"},
      {{.format = "monthly", .weekdays = "0010000", .weeks = "10000", .monthly_month = "12.9"},
       "first Tuesday of December at 00:00"},
      {{.format = "monthly", .weekdays = "0010000", .weeks = "10000", .monthly_month = "13"},
       "first Tuesday of every month at 00:00"},
      {{.format = "monthly", .weekdays = "0010000", .weeks = "10000", .monthly_month = "0"},
       "first Tuesday of every month at 00:00"},
      {{.format = "monthly", .weekdays = "0010000", .weeks = "10000", .monthly_month = "0.5"},
       "first Tuesday of month 0 at 00:00 (out of range: month 0)"},
      {{.format = "monthly", .hour = 24, .weekdays = "0010000", .weeks = "10000"},
       "first Tuesday of every month at 24:00 (out of range: hour 24)"},
      {{.format = "hourly", .hour = 9, .hourly_minute = 15}, "every hour at :15"},
      {{.format = "hourly", .hourly_minute = 0}, "every hour at :00"},
      {{.format = "hourly", .hourly_minute = 75}, "every hour at :75 (out of range: minute 75)"},
      {{.format = "hourly", .hourly_minute = -1}, "every hour at :-1 (out of range: minute -1)"},
      // Timers: the duration the rule adds up.
      {{.format = "timer", .timer_minute = 10}, "timer 0:10:00 after start"},
      {{.format = "timer", .timer_minute = 75, .timer_second = 61}, "timer 1:16:01 after start"},
      {{.format = "timer", .timer_hour = 100, .timer_second = 5}, "timer 100:00:05 after start"},
      {{.format = "timer", .timer_minute = 1, .timer_second = -361},
       "timer -0:05:01 after start (negative: due at start)"},
      {{.format = "timer", .timer_hour = 596524},  // 596524 * 3600 wraps below zero
       "timer -596522:28:16 after start (negative: due at start)"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(ScheduleWords(*MakeAlarm(row.fields)), row.words);
  }
}

TEST(WhyNotTest, ClaimsACauseOnlyWhenTheFieldsMakeItCertain) {
  const int64_t start = ParseMoment("2026-11-23 10:00:30").value();
  const std::string none = "does not ring within 366 days";
  const struct {
    Fields fields;
    std::string why_not;
    int32_t offset_minutes = 0;
  } rows[] = {
      {{.enabled = false}, "disabled"},
      {{.format = "timer"}, none},
      // A date passes once the first tested minute (the start shifted by the offset) is after it.
      {{.year = "2026", .month = "11", .day = "23", .hour = 9, .minute = 59},
       "its date has passed"},
      {{.year = "2026", .month = "11", .day = "23", .hour = 10}, none},
      {{.year = "2026", .month = "11", .day = "23", .hour = 10, .minute = 4},
       "its date has passed",
       5},
      {{.year = "2026", .month = "11", .day = "23", .hour = 10, .minute = 5}, none, 5},
      {{.year = "2026", .month = "11", .day = "23", .hour = 9, .minute = 55}, none, -5},
      {{.year = "2026", .month = "11", .day = "23", .hour = 9, .minute = 54},
       "its date has passed",
       -5},
      {{.year = "2025"}, "its date has passed"},
      {{.year = "2026"}, none},  // December 2026 is still to come
      {{.year = "2026", .month = "12", .day = "-8", .hour = 34}, none},  // 23 November 10:00
      {{.year = "2026", .month = "12", .day = "-8", .hour = 33, .minute = 59},
       "its date has passed"},
      {{.year = "2027", .month = "-1", .day = "22"}, "its date has passed"},  // November 2026
      {{.year = "2026", .month = "13", .day = "1"}, none},                    // January 2027
      {{.year = "2026", .month = "10", .day = "31"}, "its date has passed"},
      // On a 31st, "30 November" rolls into December: at 24:00 it rings on 31 December; on
      // 30 October, 30 September could only ring after a roll that a 30th does not make.
      {{.year = "2026", .month = "11", .day = "30", .hour = 24}, none},
      {{.year = "2026", .month = "9", .day = "30"}, "its date has passed"},
      // A day early, the rolled 1 December would ring on 30 November, a day that does not roll.
      {{.year = "2026", .month = "11", .day = "1"}, "its date has passed", 1440},
      // A month outside 1 to 12 lands in another year, unless a day or a time brings it back.
      {{.month = "13"}, "month 13 never comes"},
      {{.month = "0", .day = "31", .hour = 23, .minute = 59}, "month 0 never comes"},
      {{.month = "13", .day = "0"}, none},
      {{.month = "0", .day = "32"}, none},
      {{.month = "13", .hour = -1}, "-1:00 falls outside its day"},
      {{.month = "0", .hour = 24}, "24:00 falls outside its day"},
      {{.month = "12"}, none},
      // Without a day, a time beyond its day never meets the tested day.
      {{.hour = 24}, "24:00 falls outside its day"},
      {{.hour = 23, .minute = 59}, none},
      {{.hour = 24, .minute = -60}, none},
      {{.minute = -1}, "00:-1 falls outside its day"},
      {{.hour = 671, .minute = 59}, "671:59 falls outside its day"},
      {{.hour = 672}, none},
      {{.hour = -648}, "-648:00 falls outside its day"},
      {{.hour = -648, .minute = -1}, none},
      {{.day = "5", .hour = 25}, none},
      {{.format = "monthly", .weeks = "11111"}, "no weekday chosen"},
      {{.format = "monthly", .weekdays = "1111111"}, "no week chosen"},
      {{.format = "monthly", .weeks = "10000", .monthly_month = "0.5"}, "no weekday chosen"},
      {{.format = "monthly", .weekdays = "1000000", .weeks = "10000", .monthly_month = "0.5"},
       "month 0 never comes"},
      {{.format = "monthly", .weekdays = "0000001", .weeks = "00001", .monthly_month = "1"}, none},
      {{.format = "hourly", .hourly_minute = 60}, "minute 60 never comes"},
      {{.format = "hourly", .hourly_minute = -1}, "minute -1 never comes"},
      {{.format = "hourly", .hourly_minute = 59}, none},
      {{.format = "hourly", .hour = 99, .hourly_minute = 0}, none},
  };
  for (const auto& row : rows) {
    Forecast forecast;
    forecast.start.wall_seconds = start;
    forecast.ring_offset_minutes = row.offset_minutes;
    const AlarmForecast alarm{MakeAlarm(row.fields), std::nullopt, false};
    SCOPED_TRACE(ScheduleWords(*alarm.alarm));
    EXPECT_EQ(WhyNot(alarm, forecast), row.why_not);
  }
}

TEST(WhyNotTest, NamesNothingForANextRingAndPutsDisabledAndTheGuardFirst) {
  Forecast forecast;
  forecast.horizon_days = 1;
  const Ref<AlarmItem> alarm = MakeAlarm({.format = "hourly", .hourly_minute = 75});
  EXPECT_EQ(WhyNot({alarm, std::nullopt, false}, forecast), "minute 75 never comes");
  EXPECT_EQ(WhyNot({MakeAlarm({.format = "timer"}), std::nullopt, false}, forecast),
            "does not ring within 1 day");
  EXPECT_EQ(WhyNot({alarm, Moment{}, true}, forecast), std::nullopt);
  EXPECT_EQ(WhyNot({alarm, std::nullopt, true}, forecast),
            "held back by the guard: Tolvane was last launched in the minute it rings");
  alarm->mEnabled = false;
  EXPECT_EQ(WhyNot({alarm, std::nullopt, true}, forecast), "disabled");
}

}  // namespace
}  // namespace quellmark::forecast
