// The alarm model's hot paths: isRingTime by rule (the monthly rule is the worst case, a
// month-length walk and a day walk), and putSaveData of a full block against one pass over the
// same bytes that only counts "<".

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>

#include "alarm/alarm_item.h"
#include "text/xml_value.h"

namespace quellmark {
namespace {

// 2026-11-21 07:30 on the 1904 local scale.
constexpr double kSaturdayMorning = 3'878'091'000.0;

// A block holding all 149 tags of the saved form, with values of the kinds Tolvane writes.
String FullAlarmBlock() {
  std::string block;
  auto add = [&block](std::string_view tag, std::string_view value) {
    block.append("<").append(tag).append(">").append(value);
    block.append("</").append(tag).append(">\n");
  };
  for (const PropertyInfo& property : kAlarmItemProperties) {
    const std::string name(property.name);
    if (name == "uIndex" || name == "mSleepSeconds" || name == "mLastRung") continue;
    switch (property.type) {
      case PropertyType::kString:
        add(name, name == "dAlarmFormat" ? "monthly" : "Good%20morning%2C%20it%27s%20time");
        break;
      case PropertyType::kInt32:
        add(name, "30");
        break;
      case PropertyType::kBoolean:
        add(name, "True");
        break;
      case PropertyType::kFolderItem:
        add(name, "%2FUsers%2Fsam%2FMusic%2FMorning%20Song.m4a");
        break;
      case PropertyType::kBooleanArray:
        for (int i = 0; i < (name == "dMonthlyWeekday" ? 7 : 5); ++i) {
          add(name + "-" + std::to_string(i), i % 2 == 0 ? "True" : "False");
        }
        break;
      case PropertyType::kDouble:
        break;
    }
  }
  return String(std::move(block));
}

void BM_CountAngleBracketsInFullBlock(benchmark::State& state) {
  const String block = FullAlarmBlock();
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::count(block.Bytes().begin(), block.Bytes().end(), '<'));
  }
  state.SetBytesProcessed(state.iterations() * LenB(block));
}
BENCHMARK(BM_CountAngleBracketsInFullBlock);

void BM_PutSaveDataFullBlock(benchmark::State& state) {
  const String block = FullAlarmBlock();
  for (auto _ : state) {
    AlarmItem item;
    item.putSaveData(block);
    benchmark::DoNotOptimize(item.dHour);
  }
  state.SetBytesProcessed(state.iterations() * LenB(block));
}
BENCHMARK(BM_PutSaveDataFullBlock);

// The same 149 values looked up one scan at a time, for comparison with the index.
void BM_GetXMLValueEveryTagOfFullBlock(benchmark::State& state) {
  const String block = FullAlarmBlock();
  for (auto _ : state) {
    for (const PropertyInfo& property : kAlarmItemProperties) {
      benchmark::DoNotOptimize(
          GlobalMethods::GetXMLValue(block, String(std::string(property.name))));
    }
  }
}
BENCHMARK(BM_GetXMLValueEveryTagOfFullBlock);

void RingTimeLoop(benchmark::State& state, const AlarmItem& item) {
  const Date now = Date::FromTotalSeconds(kSaturdayMorning);
  for (auto _ : state) benchmark::DoNotOptimize(item.isRingTime(&now, false));
}

void BM_IsRingTimeMonthly(benchmark::State& state) {
  AlarmItem item;
  item.dAlarmFormat = "monthly";
  item.dHour = 7;
  item.dMinute = 30;
  item.dMonthlyWeekday->Set(6, true);  // Saturday, so the day walk runs its full length
  item.dMonthlyToLast = true;
  RingTimeLoop(state, item);
}
BENCHMARK(BM_IsRingTimeMonthly);

void BM_IsRingTimeCalendar(benchmark::State& state) {
  AlarmItem item;
  item.dHour = 7;
  item.dMinute = 30;
  item.dDay = "21";
  RingTimeLoop(state, item);
}
BENCHMARK(BM_IsRingTimeCalendar);

void BM_IsRingTimeHourly(benchmark::State& state) {
  AlarmItem item;
  item.dAlarmFormat = "hourly";
  RingTimeLoop(state, item);
}
BENCHMARK(BM_IsRingTimeHourly);

void BM_IsRingTimeTimer(benchmark::State& state) {
  AlarmItem item;
  item.dAlarmFormat = "timer";
  item.mLastRung = kSaturdayMorning;
  item.dTimerMinute = 10;
  RingTimeLoop(state, item);
}
BENCHMARK(BM_IsRingTimeTimer);

}  // namespace
}  // namespace quellmark
