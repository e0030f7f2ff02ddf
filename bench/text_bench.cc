// Tag extraction over an alarm-sized block, against one pass that only counts "<".

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>

#include "text/url_decoding.h"
#include "text/xml_value.h"

namespace quellmark {
namespace {

String AlarmBlock() {
  std::string block;
  for (int i = 0; i < 149; ++i) {
    block += "<vProperty" + std::to_string(i) + ">Wake%20up%20" + std::to_string(i) +
             "</vProperty" + std::to_string(i) + ">";
  }
  return String(std::move(block));
}

void BM_CountAngleBrackets(benchmark::State& state) {
  const String block = AlarmBlock();
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::count(block.Bytes().begin(), block.Bytes().end(), '<'));
  }
  state.SetBytesProcessed(state.iterations() * LenB(block));
}
BENCHMARK(BM_CountAngleBrackets);

void BM_GetXMLValueLastTag(benchmark::State& state) {
  const String block = AlarmBlock();
  for (auto _ : state) {
    benchmark::DoNotOptimize(GlobalMethods::GetXMLValue(block, "vProperty148"));
  }
  state.SetBytesProcessed(state.iterations() * LenB(block));
}
BENCHMARK(BM_GetXMLValueLastTag);

void BM_DecodingFromURL(benchmark::State& state) {
  const String text("Wake%20up%2C%20it%27s%20caf%C3%A9%20time");
  for (auto _ : state) benchmark::DoNotOptimize(GlobalMethods::DecodingFromURLVelmora(text));
}
BENCHMARK(BM_DecodingFromURL);

}  // namespace
}  // namespace quellmark
