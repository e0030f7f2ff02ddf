// The service's hot paths: one check pass over a realistic mix of alarms (paid every second all
// day), the cutting of a large alarm list into blocks, and the search of an Applications tree.

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "app/app.h"
#include "app/preferences.h"
#include "app/tolvane_search.h"

namespace quellmark {
namespace {

// One of four kinds in turn, none due while the benchmark runs: a dated alarm in the past, a
// monthly one (the longest walk), an hourly one and a timer counting towards next year.
Ref<AlarmItem> MixedAlarm(int64_t i) {
  Ref<AlarmItem> alarm = Ref<AlarmItem>::New();
  alarm->mEnabled = true;
  alarm->dHour = static_cast<int32_t>(i % 24);
  alarm->dMinute = static_cast<int32_t>(i % 60);
  switch (i % 4) {
    case 0:
      alarm->dYear = "2001";
      alarm->dMonth = "5";
      alarm->dDay = "17";
      break;
    case 1:
      alarm->dAlarmFormat = "monthly";
      alarm->dMonthlyWeekday->Set(static_cast<int32_t>(i % 7), true);
      alarm->dMonthlyWeekNum->Set(static_cast<int32_t>(i % 5), true);
      alarm->dMonthlyToLast = i % 3 == 0;
      break;
    case 2:
      alarm->dAlarmFormat = "hourly";
      alarm->dHourlyMinute = static_cast<int32_t>(i % 60);
      break;
    default:
      alarm->dAlarmFormat = "timer";
      alarm->mLastRung = 1e12;
      alarm->dTimerHour = 1;
      break;
  }
  return alarm;
}

// FTolvaneItem stays nil, so even an alarm that happened to ring could not launch anything.
void BM_CheckPassMixedAlarms(benchmark::State& state) {
  App app;
  app.dLastLaunch = Ref<Date>::New(Date::Now());
  for (int64_t i = 0; i < state.range(0); ++i) app.alarmArray.Append(MixedAlarm(i));
  for (auto _ : state) app.checkAlarms();
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_CheckPassMixedAlarms)->Arg(50)->Arg(10000);

void BM_ForEachItemBlock(benchmark::State& state) {
  std::string list;
  for (int64_t i = 0; i < state.range(0); ++i) {
    list += "<item><dAlarmFormat>monthly</dAlarmFormat><dHour>7</dHour></item>\n";
  }
  const String items(std::move(list));
  for (auto _ : state) {
    int64_t blocks = 0;
    ForEachItemBlock(items, [&blocks](const String& block) { blocks += LenB(block); });
    benchmark::DoNotOptimize(blocks);
  }
  state.SetBytesProcessed(state.iterations() * LenB(items));
}
BENCHMARK(BM_ForEachItemBlock)->Arg(1000)->Arg(10000);

// A tree of plain folders, bundles and files with no match, built once in a scratch folder.
class ApplicationsTree {
 public:
  explicit ApplicationsTree(int folders) {
    char pattern[] = "/tmp/quellmark-bench-XXXXXX";
    root_ = mkdtemp(pattern);
    for (int i = 0; i < folders; ++i) {
      const std::filesystem::path folder = root_ + "/Folder " + std::to_string(i);
      for (const char* name : {"Tool.app", "Notes", "Plug.bundle"}) {
        std::filesystem::create_directories(folder / name);
      }
      for (int f = 0; f < 6; ++f) std::ofstream(folder / ("Readme " + std::to_string(f) + ".txt"));
    }
  }
  ApplicationsTree(const ApplicationsTree&) = delete;
  ApplicationsTree& operator=(const ApplicationsTree&) = delete;
  ~ApplicationsTree() { std::filesystem::remove_all(root_); }

  const std::string& root() const { return root_; }

 private:
  std::string root_;
};

void BM_SearchForTolvaneNoMatch(benchmark::State& state) {
  const ApplicationsTree tree(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(SearchForTolvane(GetFolderItem(String(tree.root()), 0)));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0) * 10);
}
BENCHMARK(BM_SearchForTolvaneNoMatch)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quellmark
