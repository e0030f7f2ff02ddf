// The forecast against brute force: random alarms aimed at a window of real seconds, written as a
// preferences file; the service itself run second by second over the window (its Run, with a
// clock that reads each instant's wall time) and every alarm asked isRingTime and the minute
// guard at every second; and Predict's answer, which must agree wherever the window decides it.
// Shared by the unit test (short windows) and the fuzz target (longer ones).

#ifndef QUELLMARK_TESTS_FORECAST_AGREEMENT_H_
#define QUELLMARK_TESTS_FORECAST_AGREEMENT_H_

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "alarm/ring_offset.h"
#include "app/app.h"
#include "app/preferences.h"
#include "fake_env.h"
#include "forecast/forecast.h"
#include "runtime/numbers.h"
#include "test_support.h"

namespace quellmark::agreement {

inline constexpr const char* kZones[] = {"America/New_York", "Europe/Berlin",
                                         "Australia/Lord_Howe"};
// The instants of each zone's two changes in 2026 (spring forward, fall back; Lord Howe's by half
// an hour).
inline constexpr int64_t kChanges[][2] = {
    {1772953200, 1793512800}, {1774746000, 1792890000}, {1791041400, 1775314800}};

// A whole number in [low, high].
using Draw = std::function<int64_t(int64_t low, int64_t high)>;

// TZ set to zone for the holder's lifetime.
struct ZoneSet {
  explicit ZoneSet(const char* zone) { setenv("TZ", zone, 1), tzset(); }
  ~ZoneSet() { kept ? setenv("TZ", kept->c_str(), 1) : unsetenv("TZ"), tzset(); }
  const std::optional<std::string> kept =
      std::getenv("TZ") ? std::optional<std::string>(std::getenv("TZ")) : std::nullopt;
};

// The scripted Env whose every second of sleep is one real second: the clock reads the wall time
// of the next instant, and the walk ends (WindowOver) at the window's end.
struct WindowOver {};
struct InstantEnv : FakeEnv {
  InstantEnv(int64_t start, int64_t window_end) : instant(start), end(window_end) {
    now = forecast::WallSecondsAt(start);
  }
  void SleepForMilliseconds(int32_t /*milliseconds*/) override {
    if (++instant >= end) throw WindowOver{};
    now = forecast::WallSecondsAt(instant);
  }
  int64_t instant, end;
};

// One alarm's saved form, its fields aimed near the reference minute at wall (shifted by offset
// minutes) with out-of-range spellings, neighbours and strays; the time of day as it is or
// carried into the hour or the day before or after; timers of odd lengths, a few negative.
inline std::string RandomAlarm(const Draw& draw, int64_t wall, int32_t offset) {
  const Date at = Date::FromTotalSeconds(static_cast<double>(wall + WrappingMultiply(offset, 60) +
                                                             draw(-3, 3) * 60 * (draw(0, 3) == 0)));
  const auto text = [](int64_t n) { return std::to_string(n); };
  const int64_t carry = draw(-1, 1) * draw(0, 1);
  const int64_t hour = at.Hour() + 24 * carry * draw(0, 1) - draw(0, 1) * draw(0, 1);
  const std::string year = text(at.Year()), month = text(at.Month()), day = text(at.Day() - carry);
  const std::pair<std::string, std::vector<std::string>> fields[] = {
      {"dHour", {text(hour)}},
      {"dMinute", {text(at.Hour() * 60 + at.Minute() + carry * 1440 - hour * 60)}},
      {"dAlarmFormat", {"", "timer", "hourly", "monthly", "Monthly", "date", "x"}},
      {"dYear", {"", "", year, year, text(at.Year() + draw(-1, 1)), "0"}},
      {"dMonth", {"", "", month, month, text(at.Month() + 12 * draw(-1, 1)), "0", "13"}},
      {"dDay", {"", "", day, day, text(at.Day()), "0", "29", "30", "31", "x"}},
      {"dMonthlyMonth", {"", month, text(at.Month() + draw(-1, 1)), "0", "13"}},
      {"dMonthlyToLast", {"True", "False"}},
      {"dHourlyMinute", {text(at.Minute()), text(draw(-1, 60))}},
      {"dTimerHour", {"0", text(draw(0, 3))}},
      {"dTimerMinute", {text(draw(-5, 130))}},
      {"dTimerSecond", {text(draw(-70, 4000))}},
      {"mEnabled", {"True", "True", "True", "True", "True", "True", "False"}}};
  std::string block;
  for (const auto& [name, choices] : fields) {
    block += Tag(name, choices[static_cast<size_t>(draw(0, std::ssize(choices) - 1))]);
  }
  for (int32_t i = 0; i < 7; ++i) {
    const bool on = (i == at.DayOfWeek() - 1 && draw(0, 4) > 0) || draw(0, 3) == 0;
    block += Tag("dMonthlyWeekday-" + text(i), on ? "True" : "False");
  }
  for (int32_t i = 0; i < 5; ++i)
    block += Tag("dMonthlyWeekNum-" + text(i), draw(0, 1) ? "True" : "");
  return "<item>" + block + "</item>";
}

// A preferences file aimed at [start, end): ring offset, last launch (often in the minute of an
// alarm's aim, to the second or with a fraction) and up to six alarms.
inline std::string RandomPreferences(const Draw& draw, int64_t start, int64_t end,
                                     const std::string& tolvane) {
  const int32_t offset = static_cast<int32_t>(
      draw(0, 3) == 0 ? 0 : (draw(0, 5) == 0 ? draw(-50'000'000, 50'000'000) : draw(-3000, 3000)));
  std::vector<int64_t> aims(static_cast<size_t>(draw(draw(0, 9) == 0 ? 0 : 1, 6)));
  for (int64_t& aim : aims) aim = forecast::WallSecondsAt(draw(start - 120, end - 1));
  std::string last, alarms;
  if (!aims.empty() && draw(0, 2) > 0) {
    const int64_t aim = aims[static_cast<size_t>(draw(0, std::ssize(aims) - 1))];
    last = std::to_string(aim + draw(-40, 40) * draw(0, 1)) + (draw(0, 1) ? ".5" : "");
  } else if (draw(0, 1)) {
    last = std::to_string(forecast::WallSecondsAt(start) - draw(0, 86400));
  }
  for (const int64_t aim : aims) alarms += RandomAlarm(draw, aim, offset);
  return "<settings>" + Tag("iRingOffset", std::to_string(offset)) + Tag("LastLaunch", last) +
         Tag("LastApplicationLocation", tolvane) + Tag("new-alarms", alarms) + "</settings>";
}

struct Oracle {
  std::string quit_message;                   // "" when it watched
  std::optional<int64_t> launch;              // the instant Run launched Tolvane
  std::vector<std::optional<int64_t>> nexts;  // per alarm, within the window
  std::vector<bool> held;                     // per alarm, before its next or the window's end
};

// Brute force over [start, end), with the preferences in folder: Run, then each alarm's seconds.
inline Oracle RunOracle(const std::string& folder, int64_t start, int64_t end) {
  Oracle oracle;
  for (const bool run : {true, false}) {
    InstantEnv env(start, end);
    env.preferences_folder = folder;
    GlobalMethods::iRingOffset = 0;
    App app;
    if (run) {
      try {
        app.Run({});
        oracle.quit_message = env.log.at(0).substr(std::string("1007 ").size());
        return oracle;
      } catch (const FakeExit&) {
        oracle.launch = env.instant;
      } catch (const WindowOver&) {
      }
      continue;
    }
    app.Load();
    for (int32_t i = 0; i <= app.alarmArray.UBound(); ++i) {
      const AlarmItem& alarm = *app.alarmArray.Get(i);
      oracle.nexts.emplace_back(), oracle.held.push_back(false);
      for (int64_t t = start; t < end && alarm.mEnabled && !oracle.nexts.back(); ++t) {
        env.now = forecast::WallSecondsAt(t);
        if (!alarm.isRingTime(nullptr, false)) continue;
        if (LaunchedThisMinute(Date::Now(), *app.dLastLaunch)) {
          oracle.held.back() = true;
        } else {
          oracle.nexts.back() = t;
        }
      }
    }
  }
  return oracle;
}

// "" when Predict agrees with brute force over [start, start + window) in zone; else what
// differs, with the preferences that show it.
inline std::string Disagreement(const char* zone, int64_t start, int64_t window, const Draw& draw) {
  const ZoneSet zone_set(zone);
  const int64_t end = start + window;
  TempFolder folder;
  std::filesystem::create_directory(folder / "Tolvane.app");
  const std::string preferences = RandomPreferences(draw, start, end, folder / "Tolvane.app");
  std::ofstream(folder / kPreferencesFileName) << preferences;
  const forecast::Forecast predicted =
      forecast::Predict({.start_unix_seconds = start,
                         .horizon_days = static_cast<int32_t>((window + 86399) / 86400),
                         .preferences_file = folder / kPreferencesFileName});
  const Oracle oracle = RunOracle(folder.path, start, end);

  std::string differences;
  const auto expect = [&](bool agrees, const std::string& what) {
    if (!agrees) differences += what + "; ";
  };
  const auto within = [&](const std::optional<forecast::Moment>& moment) {
    return moment && moment->unix_seconds < end ? std::optional(moment->unix_seconds)
                                                : std::nullopt;
  };
  expect(predicted.quit_message.value_or("") == oracle.quit_message, "quit message");
  expect(within(predicted.launch) == oracle.launch, "launch moment");
  expect(predicted.alarms.size() == oracle.nexts.size(), "alarm count");
  for (size_t i = 0; i < predicted.alarms.size() && i < oracle.nexts.size(); ++i) {
    const forecast::AlarmForecast& alarm = predicted.alarms[i];
    const std::string which = "alarm " + std::to_string(i) + " ";
    expect(within(alarm.next) == oracle.nexts[i], which + "next");
    expect(!alarm.next ||
               alarm.next->wall_seconds == forecast::WallSecondsAt(alarm.next->unix_seconds),
           which + "wall clock");
    // Past the window the brute force knows only what it saw; a disabled alarm is never held.
    expect(within(alarm.next) || !alarm.alarm->mEnabled ? alarm.held_by_guard == oracle.held[i]
                                                        : alarm.held_by_guard || !oracle.held[i],
           which + "held by the guard");
  }
  // On a tie the first alarm in array order launches.
  if (predicted.launch_alarm) {
    const size_t first = *predicted.launch_alarm;
    expect(predicted.launch == predicted.alarms[first].next, "launch's alarm");
    for (size_t i = 0; i < first; ++i)
      expect(predicted.alarms[i].next != predicted.launch, "launching alarm");
  }
  if (differences.empty()) return "";
  return std::string(zone) + " from " + std::to_string(start) + " for " + std::to_string(window) +
         " s: " + differences + "\n" + preferences;
}

}  // namespace quellmark::agreement

#endif  // QUELLMARK_TESTS_FORECAST_AGREEMENT_H_
