// Date setters driven by the input, five bytes an operation: a setter number, then an Int32
// value. After every set the fields must form a calendar date, and the moment must survive a
// round trip through TotalSeconds wherever a double holds it exactly.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "runtime/date.h"

namespace {

int32_t DaysInMonth(int64_t year, int32_t month) {
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  // 31 days in odd months up to July and in even ones from August on.
  return month == 2 ? 28 + leap : 30 + (month + month / 8) % 2;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using quellmark::Date;
  void (Date::*const kSetters[])(int32_t) = {&Date::SetYear, &Date::SetMonth,  &Date::SetDay,
                                             &Date::SetHour, &Date::SetMinute, &Date::SetSecond};
  Date d = Date::FromTotalSeconds(0);
  for (size_t i = 0; i + 5 <= size; i += 5) {
    int32_t value = 0;
    std::memcpy(&value, data + i + 1, sizeof value);
    if (data[i] % 7 < 6) {
      (d.*kSetters[data[i] % 7])(value);
    } else {  // fractions of a second up to moments of 2^59 s, far past either end
      d.SetTotalSeconds(std::ldexp(value, data[i] / 7 - 8));
    }
    if (d.Month() < 1 || d.Month() > 12 || d.Day() < 1 ||
        d.Day() > DaysInMonth(d.Year(), d.Month()) || d.Hour() < 0 || d.Hour() > 23 ||
        d.Minute() < 0 || d.Minute() > 59 || d.Second() < 0 || d.Second() > 59 ||
        d.DayOfWeek() < 1 || d.DayOfWeek() > 7 || quellmark::LenB(d.ShortTime()) != 5) {
      __builtin_trap();
    }
    const double seconds = d.TotalSeconds();
    if (std::fabs(seconds) >= 0x1p53) continue;
    const Date back = Date::FromTotalSeconds(seconds);
    if (back.Year() != d.Year() || back.Month() != d.Month() || back.Day() != d.Day() ||
        back.Hour() != d.Hour() || back.Minute() != d.Minute() || back.Second() != d.Second()) {
      __builtin_trap();
    }
  }
  return 0;
}
