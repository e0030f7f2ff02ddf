// The forecast over the default horizon of 366 days, the preferences read included, for 50 and
// 1,000 alarms: a realistic mix (most ring soon), and alarms that never ring within the horizon
// but whose every candidate day must still be asked (the worst case: a date in the past, a
// fifth-week monthly alarm for a February that has no fifth week, a disabled daily alarm).

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

#include "app/preferences.h"
#include "forecast/forecast.h"

namespace quellmark {
namespace {

constexpr int64_t kStart = 1'795'000'000;  // 2026-11-18, in Berlin

std::string Tag(const std::string& name, const std::string& value) {
  return "<" + name + ">" + value + "</" + name + ">";
}

std::string EveryFlag(const std::string& name, int count, const std::string& value) {
  std::string tags;
  for (int i = 0; i < count; ++i) tags += Tag(name + "-" + std::to_string(i), value);
  return tags;
}

std::string MixedAlarm(int i) {
  const std::string time = Tag("dHour", std::to_string(i % 24)) + Tag("dMinute", "30");
  switch (i % 5) {
    case 0:
      return time;  // daily
    case 1:
      return time + Tag("dYear", "2027") + Tag("dMonth", "3") + Tag("dDay", "31");
    case 2:
      return time + Tag("dAlarmFormat", "monthly") + EveryFlag("dMonthlyWeekday", 7, "True") +
             Tag("dMonthlyWeekNum-2", "True") + Tag("dMonthlyMonth", std::to_string(i % 12 + 1));
    case 3:
      return Tag("dAlarmFormat", "hourly") + Tag("dHourlyMinute", std::to_string(i % 60));
    default:
      return Tag("dAlarmFormat", "timer") + Tag("dTimerHour", std::to_string(i % 900));
  }
}

std::string SilentAlarm(int i) {
  const std::string time = Tag("dHour", std::to_string(i % 24)) + Tag("dMinute", "30");
  switch (i % 3) {
    case 0:
      return time + Tag("dYear", "2020");
    case 1:
      return time + Tag("dAlarmFormat", "monthly") + EveryFlag("dMonthlyWeekday", 7, "True") +
             Tag("dMonthlyWeekNum-4", "True") + Tag("dMonthlyMonth", "2");
    default:
      return Tag("mEnabled", "False") + time;  // the first tag of a name is the one read
  }
}

// A preferences file of count alarms made by alarm, and a Tolvane beside it.
class Preferences {
 public:
  Preferences(int count, std::string (*alarm)(int))
      : folder_(std::filesystem::temp_directory_path() / "quellmark-forecast-bench") {
    std::filesystem::create_directories(folder_ / "Tolvane.app");
    std::string alarms;
    for (int i = 0; i < count; ++i) {
      alarms += "<item>" + alarm(i) + Tag("mEnabled", "True") + "</item>";
    }
    std::ofstream(file()) << "<settings>"
                          << Tag("LastApplicationLocation", (folder_ / "Tolvane.app").string())
                          << Tag("new-alarms", alarms) << "</settings>";
  }
  Preferences(const Preferences&) = delete;
  Preferences& operator=(const Preferences&) = delete;
  ~Preferences() { std::filesystem::remove_all(folder_); }

  std::string file() const { return (folder_ / kPreferencesFileName).string(); }

 private:
  std::filesystem::path folder_;
};

void RunForecast(benchmark::State& state, std::string (*alarm)(int)) {
  setenv("TZ", "Europe/Berlin", 1);
  const Preferences preferences(static_cast<int>(state.range(0)), alarm);
  forecast::Request request;
  request.start_unix_seconds = kStart;
  request.preferences_file = preferences.file();
  for (auto _ : state) benchmark::DoNotOptimize(forecast::Predict(request));
}

void BM_ForecastMixedAlarms(benchmark::State& state) { RunForecast(state, MixedAlarm); }
void BM_ForecastAlarmsThatNeverRing(benchmark::State& state) { RunForecast(state, SilentAlarm); }

BENCHMARK(BM_ForecastMixedAlarms)->Arg(50)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ForecastAlarmsThatNeverRing)->Arg(50)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quellmark
