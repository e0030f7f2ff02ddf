#include "forecast/forecast.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <tuple>

#include "forecast/agreement.h"

namespace quellmark {
namespace {

using agreement::kChanges;
using agreement::kZones;
using agreement::ZoneSet;
using forecast::Predict;

// 2026-11-01 00:00:00 on the wall clock, in seconds since 1904: the day New York falls back.
constexpr int64_t kNovember1 = 3'876'336'000;

forecast::Forecast PredictFrom(const TempFolder& folder, const std::string& settings,
                               int64_t start) {
  std::ofstream(folder / kPreferencesFileName) << "<settings>" << settings << "</settings>";
  return Predict({.start_unix_seconds = start, .preferences_file = folder / kPreferencesFileName});
}

TEST(ForecastTest, DaylightSavingDaysAndTheGuardInNewYork) {
  const ZoneSet zone("America/New_York");
  TempFolder folder;
  std::filesystem::create_directory(folder / "Tolvane.app");
  const std::string tolvane = Tag("LastApplicationLocation", folder / "Tolvane.app");
  const auto daily = [](const char* hour, const char* minute) {
    return Tag("dHour", hour) + Tag("dMinute", minute);
  };
  // What, the alarm, the start, the last launch (wall seconds), the next launch, and whether the
  // guard held a ring back.
  const std::tuple<const char*, std::string, int64_t, int64_t, int64_t, bool> rows[] = {
      {"02:00 on the spring-forward day never comes: the next day's", daily("2", "0"), 1772946000,
       0, 1773036000, false},
      {"a launch at 01:30 holds back both occurrences", daily("1", "30"), 1793505600,
       kNovember1 + 90 * 60 + 20, 1793601000, true},
      {"inside a minute that rang before the start: the start", daily("0", "0"), 1793505600 + 59, 0,
       1793505600 + 59, false},
      {"the fifth week: Sunday 29 November",
       Tag("dAlarmFormat", "monthly") + daily("7", "30") + Tag("dMonthlyWeekday-0", "True") +
           Tag("dMonthlyWeekNum-4", "True"),
       1793505600, 0, 1795955400, false},
      {"a weekday but no week: never",
       Tag("dAlarmFormat", "monthly") + daily("7", "30") + Tag("dMonthlyWeekday-0", "True"),
       1793505600, 0, 0, false},
      {"the guard holds back the first minute of a timer due at once", Tag("dAlarmFormat", "timer"),
       1793505610, kNovember1 + 59, 1793505660, true}};
  for (const auto& [what, fields, start, last, next, held] : rows) {
    // Twice: on a tie the first in array order launches.
    const std::string alarm =
        "<item>" + Tag("mEnabled", "True") + fields + "<item>" + fields + Tag("mEnabled", "True");
    const forecast::Forecast predicted = PredictFrom(
        folder, tolvane + Tag("LastLaunch", std::to_string(last)) + Tag("new-alarms", alarm),
        start);
    ASSERT_EQ(predicted.alarms.size(), 2U) << what;
    EXPECT_EQ(std::tuple(predicted.alarms[0].next.value_or(forecast::Moment{}).unix_seconds,
                         predicted.alarms[0].held_by_guard, predicted.launch_alarm,
                         predicted.alarms[1].next == predicted.alarms[0].next),
              std::tuple(next, held, next != 0 ? std::optional<size_t>(0) : std::nullopt, true))
        << what;
  }
}

TEST(ForecastTest, StartUpAsTheServiceReadsIt) {
  const ZoneSet zone("UTC");
  TempFolder folder;
  FakeEnv env;  // Tolvane found by the search looks in this Applications folder
  env.applications_folder = folder.path;
  std::filesystem::create_directory(folder / "Tolvane.app");
  const std::string saved = Tag("LastApplicationLocation", folder / "Tolvane.app");
  const std::string alarm = Tag("new-alarms", "<item><dAlarmFormat>hourly</dAlarmFormat></item>");
  const std::string offset = Tag("iRingOffset", "-7") + Tag("LastLaunch", "123.5");
  // Settings, the message, the offset and last launch read, where Tolvane was found.
  using forecast::FoundBy;
  const std::tuple<std::string, const char*, int32_t, double, FoundBy> rows[] = {
      {saved + offset + alarm, nullptr, -7, 123, FoundBy::kSavedLocation},
      {offset + alarm, nullptr, -7, 123, FoundBy::kSearch},
      {offset, kNoAlarmsMessage, -7, 123, FoundBy::kSearch}};
  GlobalMethods::iRingOffset = 99;
  for (const auto& [settings, message, minutes, last, found_by] : rows) {
    const forecast::Forecast predicted = PredictFrom(folder, settings, 1'800'000'000);
    EXPECT_EQ(std::tuple(predicted.quit_message.value_or("-"), predicted.ring_offset_minutes,
                         predicted.last_launch_seconds, predicted.found_by,
                         predicted.tolvane->Path(), predicted.preferences_path, predicted.outcome),
              std::tuple(message ? message : "-", minutes, last, found_by, folder / "Tolvane.app",
                         folder / kPreferencesFileName,
                         message ? forecast::Outcome::kQuit : forecast::Outcome::kWatch))
        << settings;
  }
  // A quit for want of Tolvane has read the settings; one for want of the file has not.
  std::filesystem::remove(folder / "Tolvane.app");
  const forecast::Forecast no_tolvane = PredictFrom(folder, offset + alarm, 1'800'000'000);
  EXPECT_EQ(std::tuple(no_tolvane.quit_message, no_tolvane.ring_offset_minutes,
                       no_tolvane.tolvane == nullptr),
            std::tuple(kNoApplicationMessage, -7, true));
  // A file that is missing, or a folder that cannot be read as one.
  for (const auto& [path, message] : {std::pair(folder / "missing.xml", kNoPreferencesMessage),
                                      std::pair(folder.path, kUnreadablePreferencesMessage)}) {
    // The start is not the last launch the service starts with.
    const forecast::Forecast quit =
        Predict({.start_unix_seconds = 1'800'000'000, .preferences_file = path});
    EXPECT_EQ(std::tuple(quit.quit_message, quit.ring_offset_minutes, quit.last_launch_seconds),
              std::tuple(message, 0, 0.0))
        << path;
  }
  // No preferences folder: the service's exception, and the test's world left as it was.
  EXPECT_THROW(Predict({}), NilObjectException);
  EXPECT_EQ(&Env::Current(), &env);
  EXPECT_EQ(GlobalMethods::iRingOffset, 99);
  GlobalMethods::iRingOffset = 0;
}

TEST(ForecastTest, UnixSecondsForWallIsTheFirstInstantShowingItOrNone) {
  for (size_t z = 0; z < std::size(kZones); ++z) {
    const ZoneSet zone(kZones[z]);
    for (const int64_t change : kChanges[z]) {
      // Every instant of five hours around the change, by the wall time it shows first.
      std::map<int64_t, int64_t> first;
      for (int64_t t = change + 9000; t >= change - 9000; --t) {
        first[forecast::WallSecondsAt(t)] = t;
      }
      const int64_t low = first.begin()->first + 3600, high = first.rbegin()->first - 3600;
      // Second by second around both edges of the gap or the repeated hour.
      const auto near_edge = [&](int64_t wall) {
        return std::abs(wall - forecast::WallSecondsAt(change)) < 200 ||
               std::abs(wall - forecast::WallSecondsAt(change - 1)) < 200;
      };
      for (int64_t wall = low; wall < high; wall += near_edge(wall) ? 1 : 97) {
        const auto found = first.find(wall);
        EXPECT_EQ(forecast::UnixSecondsForWall(wall),
                  found == first.end() ? std::nullopt : std::optional(found->second))
            << kZones[z] << " " << wall;
      }
    }
  }
}

TEST(ForecastTest, AgreesWithTheServiceSecondBySecond) {
  std::mt19937_64 random(12);
  const agreement::Draw draw = [&](int64_t low, int64_t high) {
    return std::uniform_int_distribution<int64_t>(low, high)(random);
  };
  for (size_t z = 0; z < std::size(kZones); ++z) {
    for (const int64_t change : kChanges[z]) {
      for (int i = 0; i < 6; ++i) {
        const int64_t start = change + draw(-5400, 1800);
        EXPECT_EQ(agreement::Disagreement(kZones[z], start, 7200, draw), "");
      }
    }
    // Ordinary days, anywhere in the year.
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(agreement::Disagreement(kZones[z], draw(1767225600, 1798761600), 3600, draw), "");
    }
  }
}

}  // namespace
}  // namespace quellmark
