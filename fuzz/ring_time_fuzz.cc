// isRingTime on any alarm, moment and clock: it never throws, leaves the alarm and the ring offset
// as they were, and where a closed form is cheap agrees with it (hourly, timer, monthly, and a
// calendar alarm without date fields). The closed forms hold for a clock on days 1 to 28, whose
// day number cannot carry the target date into another month.

#include <fuzzer/FuzzedDataProvider.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

#include "alarm/alarm_item.h"
#include "alarm/ring_offset.h"
#include "fake_env.h"
#include "test_support.h"

namespace {

int32_t DaysInMonth(int64_t year, int32_t month) {
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return month == 2 ? 28 + leap : 30 + (month + month / 8) % 2;
}

int32_t Wrapped(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); }

}  // namespace

// An exception escaping isRingTime aborts the run: the code indexes its flags only within bounds.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using quellmark::AlarmItem, quellmark::Date, quellmark::String;
  FuzzedDataProvider in(data, size);
  quellmark::FakeEnv env;
  AlarmItem a;
  const auto format = in.PickValueInArray<std::string>({"monthly", "hourly", "timer", "", "?"});
  a.dAlarmFormat = String(format == "?" ? in.ConsumeRandomLengthString(9) : format);
  for (auto* field : {&a.dHour, &a.dMinute, &a.dHourlyMinute, &a.dTimerHour, &a.dTimerMinute,
                      &a.dTimerSecond, &quellmark::GlobalMethods::iRingOffset}) {
    *field = in.ConsumeBool() ? in.ConsumeIntegralInRange(-1, 60) : in.ConsumeIntegral<int32_t>();
  }
  for (auto* text : {&a.dYear, &a.dMonth, &a.dDay, &a.dMonthlyMonth}) {
    *text = String(in.ConsumeRandomLengthString(12));
  }
  for (int32_t i = 0; i < 12; ++i)
    (i < 7 ? *a.dMonthlyWeekday : *a.dMonthlyWeekNum).Set(i % 7, in.ConsumeBool());
  a.dMonthlyToLast = in.ConsumeBool();
  a.mLastRung = std::bit_cast<double>(in.ConsumeIntegral<uint64_t>());  // NaN, inf included
  // The clock and the moment (if any) are both sane, about years -10000 to 10000 on the 1904
  // scale, or anything at all.
  constexpr int64_t kSane = 375'000'000'000;
  const bool sane = in.ConsumeBool(), given = in.ConsumeBool(), dateOnly = in.ConsumeBool();
  const auto clock = in.ConsumeIntegral<int64_t>();
  env.now = sane ? clock % kSane : clock;
  const double any = std::bit_cast<double>(in.ConsumeIntegral<uint64_t>());
  const Date moment = Date::FromTotalSeconds(sane ? std::fmod(any, kSane) : any);

  const int32_t offset = quellmark::GlobalMethods::iRingOffset;
  const std::string before = quellmark::RecordText(a);
  const bool rings = a.isRingTime(given ? &moment : nullptr, dateOnly);
  if (quellmark::RecordText(a) != before || quellmark::GlobalMethods::iRingOffset != offset)
    __builtin_trap();
  quellmark::GlobalMethods::iRingOffset = 0;
  if (!sane || Date::Now().Day() > 28) return 0;

  const int64_t at = (given ? static_cast<int64_t>(moment.TotalSeconds()) : env.now) +
                     Wrapped(int64_t{offset} * 60);
  const Date reference = Date::FromTotalSeconds(static_cast<double>(at));
  const int32_t day = reference.Day(), last = DaysInMonth(reference.Year(), reference.Month());
  const bool at_time = dateOnly || (reference.Hour() == a.dHour && reference.Minute() == a.dMinute);
  const double month = quellmark::Val(a.dMonthlyMonth);
  bool expected = rings;
  if (a.dAlarmFormat == "hourly") {
    expected = (at % 3600 + 3600) % 3600 / 60 == a.dHourlyMinute;
  } else if (a.dAlarmFormat == "timer") {
    const int64_t length =
        int64_t{a.dTimerHour} * 3600 + int64_t{a.dTimerMinute} * 60 + a.dTimerSecond;
    expected = !(static_cast<double>(at) < a.mLastRung + Wrapped(length));
  } else if (!dateOnly && (a.dHour < 0 || a.dHour > 23 || a.dMinute < 0 || a.dMinute > 59)) {
    return 0;  // the target's time rolls into another day
  } else if (a.dAlarmFormat == "monthly") {
    expected = (month > 0 && month < 13 ? static_cast<int32_t>(month) : reference.Month()) ==
                   reference.Month() &&
               a.dMonthlyWeekday->Get(reference.DayOfWeek() - 1) &&
               a.dMonthlyWeekNum->Get((a.dMonthlyToLast ? last - day : day - 1) / 7) && at_time;
  } else if (a.dYear.IsEmpty() && a.dMonth.IsEmpty() && a.dDay.IsEmpty()) {
    expected = at_time;  // a calendar alarm without date fields rings daily
  }
  if (rings != expected) __builtin_trap();
  return 0;
}
