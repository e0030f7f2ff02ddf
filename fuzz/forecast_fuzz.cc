// The forecast against the service run second by second: random alarms aimed at a window of up
// to two hours near a daylight-saving change of one of three zones (or anywhere in 2020 to 2030,
// or in UTC), and Predict's answer, which must agree wherever the window decides it.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "forecast/agreement.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using quellmark::agreement::kChanges, quellmark::agreement::kZones;
  FuzzedDataProvider in(data, size);
  const quellmark::agreement::Draw draw = [&in](int64_t low, int64_t high) {
    return in.ConsumeIntegralInRange(low, high);
  };
  const auto zone = static_cast<size_t>(draw(0, std::size(kZones)));
  const int64_t around = zone < std::size(kZones) && draw(0, 3) > 0
                             ? kChanges[zone][draw(0, 1)] + draw(-7200, 3600)
                             : draw(1577836800, 1893456000);
  const int64_t window = draw(60, 7200);
  const std::string differences = quellmark::agreement::Disagreement(
      zone < std::size(kZones) ? kZones[zone] : "UTC", around, window, draw);
  if (!differences.empty()) {
    std::fprintf(stderr, "%s\n", differences.c_str());
    __builtin_trap();
  }
  return 0;
}
