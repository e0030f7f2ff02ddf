// Costs of the runtime's hot operations: date steps and the caseless searches under the tag
// lookups and the item splitting.

#include <benchmark/benchmark.h>

#include <string>

#include "runtime/date.h"
#include "runtime/string_value.h"

namespace quellmark {
namespace {

void BM_DateDayStep(benchmark::State& state) {
  Date date = Date::FromTotalSeconds(3.8e9);
  for (auto _ : state) {
    date.SetDay(date.Day() + 1);
    benchmark::DoNotOptimize(date.DayOfWeek());
  }
}
BENCHMARK(BM_DateDayStep);

void BM_DateFarMonth(benchmark::State& state) {
  Date date = Date::FromTotalSeconds(3.8e9);
  int32_t month = 2000000000;
  for (auto _ : state) {
    date.SetMonth(month);
    month = -month;
    benchmark::DoNotOptimize(date.TotalSeconds());
  }
}
BENCHMARK(BM_DateFarMonth);

void BM_DateLongDateShortTime(benchmark::State& state) {
  const Date date = Date::FromTotalSeconds(3.8e9);
  for (auto _ : state) benchmark::DoNotOptimize(date.LongDate() + date.ShortTime());
}
BENCHMARK(BM_DateLongDateShortTime);

String ItemList(int64_t items) {
  std::string list;
  for (int64_t i = 0; i < items; ++i) list += "<item><dHour>7</dHour><dMinute>30</dMinute></item>";
  return String(std::move(list));
}

void BM_CountFieldsItems(benchmark::State& state) {
  const String list = ItemList(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(CountFields(list, "<item>"));
  state.SetBytesProcessed(state.iterations() * LenB(list));
}
BENCHMARK(BM_CountFieldsItems)->Arg(1000)->Arg(10000);

void BM_InStrPathological(benchmark::State& state) {
  // A needle that matches almost everywhere: a quadratic search would show here.
  const String text(std::string(static_cast<size_t>(state.range(0)), 'a'));
  const String find(std::string(1000, 'a') + "b");
  for (auto _ : state) benchmark::DoNotOptimize(InStr(0, text, find));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_InStrPathological)->Arg(1 << 16)->Arg(1 << 20);

}  // namespace
}  // namespace quellmark
