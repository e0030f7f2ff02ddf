// The preferences path in one process, from the file's text to the list of alarms, under a
// scripted clock. For any text: nothing throws; there is one alarm per "<item>"; each alarm is a
// duplicate equal to the record read from its block, with flag arrays of its own and the folder
// items shared; a few properties agree with a direct lookup of their tag; and a timer read now
// rings now exactly when its length is not positive, the ring offset cancelling out.

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "alarm/alarm_item.h"
#include "alarm/ring_offset.h"
#include "app/preferences.h"
#include "fake_env.h"
#include "runtime/numbers.h"
#include "runtime/variant.h"
#include "test_support.h"
#include "text/url_decoding.h"
#include "text/xml_value.h"

namespace {

using quellmark::AlarmItem;
using quellmark::String;

// A saved flag is on when it reads "true" in any letter case, and only then.
bool IsOn(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text == "true";
}

int32_t Wrapped(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); }

}  // namespace

// An exception escaping aborts the run: no text is a reason for one.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  namespace global = quellmark::GlobalMethods;
  using quellmark::SettingText, quellmark::Val, quellmark::DoubleToInt32;
  quellmark::FakeEnv env;
  env.now = 3'800'000'000;  // 2024-06-01 on the 1904 scale
  const String text(std::string(reinterpret_cast<const char*>(data), size),
                    quellmark::TextEncoding::kNone);
  const String settings = SettingText(text, "settings");
  global::iRingOffset = DoubleToInt32(Val(SettingText(settings, "iRingOffset")));
  const double shift = Wrapped(int64_t{global::iRingOffset} * 60);
  quellmark::Date::Now().SetTotalSeconds(Val(SettingText(settings, "LastLaunch")));
  global::DecodingFromURLVelmora(SettingText(settings, "LastApplicationLocation"));
  const String list = SettingText(settings, "new-alarms");
  std::vector<quellmark::Ref<AlarmItem>> alarms;
  quellmark::ForEachItemBlock(list, [&](const String& block) {
    const auto item = quellmark::Ref<AlarmItem>::New();
    item->putSaveData(block);
    alarms.push_back(item->DuplicateMe());
    const AlarmItem& copy = *alarms.back();
    const auto tag = [&](const char* key) {
      return quellmark::VariantToString(global::GetXMLValue(block, key));
    };
    const String name = global::DecodingFromURLVelmora(tag("dAlarmName"));
    if (&copy == &*item || quellmark::RecordText(copy) != quellmark::RecordText(*item) ||
        copy.dMonthlyWeekday == item->dMonthlyWeekday ||
        copy.dMonthlyWeekNum == item->dMonthlyWeekNum ||
        item->dHour != DoubleToInt32(Val(tag("dHour"))) ||
        item->mEnabled != IsOn(tag("mEnabled").Bytes()) ||
        item->dAlarmName.Bytes() != name.Bytes() ||
        item->dAlarmName.Encoding() != name.Encoding() ||
        item->mLastRung !=
            (item->dAlarmFormat == "timer" ? static_cast<double>(env.now) + shift : 0)) {
      __builtin_trap();
    }
  });
  if (alarms.size() + 1 != static_cast<size_t>(quellmark::CountFields(list, "<item>"))) {
    __builtin_trap();
  }
  for (const quellmark::Ref<AlarmItem>& alarm : alarms) {
    const bool rings = alarm->isRingTime(nullptr, false);
    alarm->isRingTime(nullptr, true);
    const int64_t length =
        int64_t{alarm->dTimerHour} * 3600 + int64_t{alarm->dTimerMinute} * 60 + alarm->dTimerSecond;
    if (alarm->dAlarmFormat == "timer" && rings != (Wrapped(length) <= 0)) __builtin_trap();
  }
  global::iRingOffset = 0;
  return 0;
}
