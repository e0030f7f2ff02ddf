// The preferences path in one process, from the file's text to the list of alarms, under a
// scripted clock. For any text nothing throws, and each alarm is a duplicate equal to the record
// read from its block, with flag arrays of its own; only a timer has its last ring set, to the
// moment it was read shifted by the ring offset; and such a timer rings at once exactly when its
// length is not positive.

#include <cstddef>
#include <cstdint>
#include <string>

#include "alarm/alarm_item.h"
#include "alarm/ring_offset.h"
#include "app/preferences.h"
#include "fake_env.h"
#include "runtime/numbers.h"
#include "test_support.h"

// An exception escaping aborts the run: no text is a reason for one.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using quellmark::AlarmItem, quellmark::String, quellmark::SettingText, quellmark::Val;
  using quellmark::DoubleToInt32, quellmark::RecordText;
  namespace global = quellmark::GlobalMethods;
  quellmark::FakeEnv env;
  env.now = 3'800'000'000;  // 2024-06-01 on the 1904 scale
  const String text(std::string(reinterpret_cast<const char*>(data), size),
                    quellmark::TextEncoding::kNone);
  const String settings = SettingText(text, "settings");
  global::iRingOffset = DoubleToInt32(Val(SettingText(settings, "iRingOffset")));
  const double shift = static_cast<int32_t>(static_cast<uint32_t>(global::iRingOffset) * 60);
  const String list = SettingText(settings, "new-alarms");
  quellmark::ForEachItemBlock(list, [&](const String& block) {
    const auto item = quellmark::Ref<AlarmItem>::New();
    item->putSaveData(block);
    const quellmark::Ref<AlarmItem> copy = item->DuplicateMe();
    const bool timer = item->dAlarmFormat == "timer";
    // A timer read now rings now exactly when its length is not positive: the offset cancels.
    const int64_t length =
        int64_t{item->dTimerHour} * 3600 + int64_t{item->dTimerMinute} * 60 + item->dTimerSecond;
    if (RecordText(*copy) != RecordText(*item) || copy->dMonthlyWeekday == item->dMonthlyWeekday ||
        copy->dMonthlyWeekNum == item->dMonthlyWeekNum ||
        item->mLastRung != (timer ? static_cast<double>(env.now) + shift : 0) ||
        (timer && item->isRingTime(nullptr, false) !=
                      (static_cast<int32_t>(static_cast<uint32_t>(length)) <= 0))) {
      __builtin_trap();
    }
  });
  global::iRingOffset = 0;
  return 0;
}
