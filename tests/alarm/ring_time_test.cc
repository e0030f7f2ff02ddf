#include "alarm/alarm_item.h"

#include <gtest/gtest.h>
#include <time.h>

#include <array>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <string>
#include <tuple>

#include "alarm/ring_offset.h"
#include "fake_env.h"

namespace quellmark {
namespace {

constexpr int64_t kDay = 86400, kUnixEpoch = 2082844800;  // 1970-01-01 on the 1904 scale

// The C library's calendar, not the code under test, spells and reads the moments.
int64_t At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  std::tm t{};
  t.tm_year = year - 1900, t.tm_mon = month - 1, t.tm_mday = day;
  t.tm_hour = hour, t.tm_min = minute, t.tm_sec = second;
  return static_cast<int64_t>(timegm(&t)) + kUnixEpoch;
}
std::tm Civil(int64_t seconds) {
  const auto t = static_cast<time_t>(seconds - kUnixEpoch);
  std::tm out{};
  return *gmtime_r(&t, &out);
}

class RingTime : public ::testing::Test {
 protected:
  ~RingTime() override { GlobalMethods::iRingOffset = 0; }

  // The answer at moment with the clock standing there too (or, comparing dates only, at clock
  // when given); asking with nil must agree.
  bool Rings(const AlarmItem& alarm, int64_t moment, bool date_only = false, int64_t clock = -1) {
    env_.now = clock < 0 ? moment : clock;
    const Date given = Date::FromTotalSeconds(static_cast<double>(moment));
    const bool answer = alarm.isRingTime(&given, date_only);
    EXPECT_EQ(alarm.isRingTime(nullptr, date_only), answer) << "nil now at " << moment;
    return answer;
  }

  // Every day of four years (a leap year; Decembers, whose month walk goes through January and
  // back through month 0) against rings_on(day), the C library's answer: on such a day the alarm
  // rings through its minute and not a second either side, and at any time when only the date
  // is compared, whatever the time of day the clock shows.
  void ExpectRingsOnDays(const AlarmItem& alarm, const std::string& what, const auto& rings_on) {
    for (int64_t day = At(2024, 1, 1); day < At(2028, 1, 1); day += kDay) {
      const std::tm t = Civil(day);
      const bool rings = rings_on(t);
      const int64_t at = day + alarm.dHour * 3600 + alarm.dMinute * 60;
      ASSERT_EQ((std::array{Rings(alarm, at + 59), Rings(alarm, at - 1), Rings(alarm, at + 60),
                            Rings(alarm, day, true, day + kDay - 1),
                            Rings(alarm, day + kDay - 1, true, day)}),
                (std::array{rings, false, false, rings, rings}))
          << std::put_time(&t, "%F ") << what;
    }
  }

  FakeEnv env_;
};

// Format names follow the runtime's one case rule, so the capitalised spelling must work as well.
TEST_F(RingTime, MonthlyRingsOnTheChosenOccurrencesOfItsWeekdaysInItsMonths) {
  // dMonthlyMonth as saved, and the one month it restricts the alarm to (0: every month).
  const std::tuple<const char*, int> kMonths[] = {{"", 0}, {"3", 3}, {"12", 12}, {"13", 0}};
  const auto last_moment = static_cast<int64_t>(Date::FromTotalSeconds(1e300).TotalSeconds());
  for (const bool to_last : {false, true}) {
    for (int32_t week = 1; week <= (to_last ? 2 : 5); ++week) {
      for (const auto& [text, month] : kMonths) {
        AlarmItem alarm;
        alarm.dAlarmFormat = week % 2 ? "monthly" : "MONTHLY", alarm.dMonthlyToLast = to_last;
        alarm.dMonthlyMonth = text, alarm.dHour = 4 * week, alarm.dMinute = 59 - week;
        const int32_t one = week % 7, other = (week + 3) % 7;  // Sunday is element 0
        alarm.dMonthlyWeekday->Set(one, true), alarm.dMonthlyWeekday->Set(other, true);
        alarm.dMonthlyWeekNum->Set(week - 1, true);
        const std::string what = "week " + std::to_string(week) + (to_last ? " from the end" : "");
        ExpectRingsOnDays(alarm, what + ", month " + text, [&, only = month](const std::tm& t) {
          const int length = Civil(At(t.tm_year + 1900, t.tm_mon + 2, 0)).tm_mday;
          const int occurrence = (to_last ? length - t.tm_mday : t.tm_mday - 1) / 7 + 1;
          return (t.tm_wday == one || t.tm_wday == other) && occurrence == week &&
                 (only == 0 || only == t.tm_mon + 1);
        });
        // A date stops at the last moment it can hold, so in that December the month walk cannot
        // roll into January and must end after the month's 31 days: returning is the test.
        Rings(alarm, last_moment);
      }
    }
  }
}

TEST_F(RingTime, CalendarRingsOnTheDayItsFieldsSpellAnEmptyFieldMatchingAny) {
  // The fields as saved, and the day they ring on (0 stands for any).
  using Row = std::tuple<const char*, const char*, const char*, const char*, int, int, int>;
  const Row kCases[] = {
      {"", "", "", "", 0, 0, 0},              // every day
      {"weekly", "", "", "15", 0, 0, 15},     // the 15th of every month; any other format is a date
      {"", "2025", "2", "28", 2025, 2, 28},   // once
      {"", "2024", "3", "0", 2024, 2, 29},    // day 0 is the last day of the month before
      {"", "2025", "0", "31", 2024, 12, 31},  // month 0 is December of the year before
      {"", "2025", "x", "1", 2024, 12, 1},    // text that is no number reads as 0
  };
  for (const auto& [format, year, month, day, ring_y, ring_m, ring_d] : kCases) {
    AlarmItem alarm;
    alarm.dAlarmFormat = format, alarm.dYear = year, alarm.dMonth = month, alarm.dDay = day;
    alarm.dHour = 7, alarm.dMinute = 30;
    const std::string what = std::string(year) + "/" + month + "/" + day + " '" + format + "'";
    ExpectRingsOnDays(alarm, what, [y = ring_y, m = ring_m, d = ring_d](const std::tm& t) {
      return (y == 0 || y == t.tm_year + 1900) && (m == 0 || m == t.tm_mon + 1) &&
             (d == 0 || d == t.tm_mday);
    });
  }
}

TEST_F(RingTime, TimerRingsFromTheSecondItsCountdownEndsNotFromAWholeMinute) {
  const int64_t last = At(2025, 3, 9, 12, 0, 17);
  // The countdown's hours, minutes and seconds, and the ring offset in minutes.
  const std::array<int, 4> kRows[] = {{0, 10, 0, 0}, {1, 0, 5, 0}, {0, 0, 0, 0}, {0, 10, 0, 5}};
  AlarmItem alarm;
  alarm.dAlarmFormat = "timer", alarm.mLastRung = static_cast<double>(last);
  for (const auto& [h, m, s, offset] : kRows) {
    alarm.dTimerHour = h, alarm.dTimerMinute = m, alarm.dTimerSecond = s;
    GlobalMethods::iRingOffset = offset;
    const int64_t due = last + h * 3600 + m * 60 + s - offset * 60;
    EXPECT_EQ((std::array{Rings(alarm, due - 1), Rings(alarm, due), Rings(alarm, due + 1, true),
                          Rings(alarm, due + 400 * kDay)}),
              (std::array{false, true, true, true}))
        << h << ":" << m << ":" << s << " offset " << offset;
  }
  alarm.mLastRung = std::numeric_limits<double>::quiet_NaN();  // a due time that never compares
  EXPECT_TRUE(Rings(alarm, last));
}

TEST_F(RingTime, OffsetRingsItsMinutesEarlyButFromThe31stNotIntoTheNextMonth) {
  AlarmItem daily, first_saturday;  // 1 February and 1 March 2025 are Saturdays
  daily.dMinute = first_saturday.dMinute = 3, first_saturday.dAlarmFormat = "monthly";
  first_saturday.dMonthlyWeekday->Set(6, true), first_saturday.dMonthlyWeekNum->Set(0, true);
  AlarmItem hourly, first_wednesday;  // 1 January 2025 is a Wednesday
  hourly.dAlarmFormat = "Hourly", hourly.dHourlyMinute = 3, hourly.dHour = 13;  // not its hour
  first_wednesday.dMinute = 3, first_wednesday.dAlarmFormat = "monthly";
  first_wednesday.dMonthlyWeekday->Set(3, true), first_wednesday.dMonthlyWeekNum->Set(0, true);
  GlobalMethods::iRingOffset = 5;
  // The whole minute five minutes early rings, also when that is the evening before, or the
  // last evening of the year before; an hourly alarm rings in it whatever its hour, and dateOnly
  // changes nothing for it.
  for (int64_t s = -1; s <= 60; ++s) {
    for (const AlarmItem* alarm : {&daily, &hourly}) {
      EXPECT_EQ(Rings(*alarm, At(2025, 6, 17, 23, 58) + s), s >= 0 && s < 60) << s;
    }
    EXPECT_EQ(Rings(hourly, At(2025, 6, 17, 23, 58) + s, true), s >= 0 && s < 60) << s;
    EXPECT_EQ(Rings(first_wednesday, At(2024, 12, 31, 23, 58) + s), s >= 0 && s < 60) << s;
  }
  // The target's month is set while it still holds today's day number, so on 31 January it rolls
  // into March and 1 February 00:03 is never found; alarms have always stayed silent there.
  for (const AlarmItem* alarm : {&daily, &first_saturday}) {
    EXPECT_FALSE(Rings(*alarm, At(2025, 1, 31, 23, 58))) << alarm->dAlarmFormat;
    EXPECT_TRUE(Rings(*alarm, At(2025, 2, 28, 23, 58))) << alarm->dAlarmFormat;  // 28 fits March
  }
}

}  // namespace
}  // namespace quellmark
