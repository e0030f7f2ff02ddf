// isRingTime: whether an alarm rings at a moment. Each rule is written as a sequence of field
// sets on two dates, and the order of the sets is part of the behaviour: users' alarms have
// always rung (or not) exactly as this sequence says, including at month ends.

#include "alarm/alarm_item.h"
#include "alarm/ring_offset.h"
#include "runtime/application.h"
#include "runtime/numbers.h"

namespace quellmark {

namespace GlobalMethods {

int32_t iRingOffset = 0;

}  // namespace GlobalMethods

namespace {

void DropTimeOfDay(Date& date) {
  date.SetSecond(0);
  date.SetMinute(0);
  date.SetHour(0);
}

// dateOnly compares whole days; otherwise the target is the alarm's time of day.
void SetTimeOfDay(Date& target, Date& reference, int32_t hour, int32_t minute, bool dateOnly) {
  if (dateOnly) {
    DropTimeOfDay(target);
    DropTimeOfDay(reference);
  } else {
    target.SetHour(hour);
    target.SetMinute(minute);
  }
}

// A date field from text: only emptiness is tested, so "0" or "x" give 0 and the date
// normalises it (day 0 is the last day of the month before).
int32_t FieldOrDefault(const String& text, int32_t default_value) {
  return !text.IsEmpty() ? DoubleToInt32(Val(text)) : default_value;
}

}  // namespace

bool AlarmItem::isRingTime(const Date* now, bool dateOnly) const {
  // The target starts as the current, unshifted time: its day number still matters when its
  // month is set below.
  Date target = Date::Now();
  Date reference = now == nullptr ? Date::Now() : Date::FromTotalSeconds(now->TotalSeconds());
  reference.SetTotalSeconds(reference.TotalSeconds() +
                            static_cast<double>(WrappingMultiply(GlobalMethods::iRingOffset, 60)));

  if (!(dAlarmFormat == "timer")) {
    target.SetSecond(0);
    reference.SetSecond(0);
  }

  if (dAlarmFormat == "monthly") {
    target.SetYear(reference.Year());
    SetTimeOfDay(target, reference, dHour, dMinute, dateOnly);

    // Only today's weekday can be wanted; 0 matches no day.
    const int32_t today = reference.DayOfWeek();
    const int32_t wanted = dMonthlyWeekday->Get(today - 1) ? today : 0;

    // The month is set while the target still holds the current day number, so a 31st rolls
    // into the following month and the alarm then stays silent this month; kept as it always was.
    const double month = Val(dMonthlyMonth);
    target.SetMonth(month > 0 && month < 13 ? DoubleToInt32(month) : reference.Month());

    // The month's length, by walking its days; a month other than the reference's counts 0.
    // No month is longer than 31 days: the bound only matters in the calendar's last month,
    // where the date cannot roll over into a next one.
    target.SetDay(1);
    int32_t count = 0;
    while (target.Month() == reference.Month() && count < 31) {
      ++count;
      target.SetDay(target.Day() + 1);
      YieldPoint();
    }
    // Back into the month walked; December returns from January through month 0.
    target.SetMonth(target.Month() - 1);

    const Array<bool>& week_numbers = *dMonthlyWeekNum;
    const int32_t step = dMonthlyToLast ? -1 : 1;
    target.SetDay(dMonthlyToLast ? count : 1);
    int32_t occurrence = 0;
    for (int32_t i = 1; i <= count; ++i) {
      if (target.DayOfWeek() == wanted) {
        ++occurrence;
        if (week_numbers.Get(occurrence - 1) && target.TotalSeconds() == reference.TotalSeconds()) {
          return true;
        }
      }
      target.SetDay(target.Day() + step);
      YieldPoint();
    }
    return false;
  }

  if (dAlarmFormat == "hourly") return reference.Minute() == dHourlyMinute;

  if (dAlarmFormat == "timer") {
    const int32_t duration = WrappingAdd(
        WrappingAdd(WrappingMultiply(dTimerHour, 3600), WrappingMultiply(dTimerMinute, 60)),
        dTimerSecond);
    const double due = mLastRung + static_cast<double>(duration);
    // Written as "not before" so that a due time that does not compare (NaN) rings.
    return !(reference.TotalSeconds() < due);
  }

  // A calendar date: each empty field stands for the reference's. Year, month and day are set
  // in that order, each normalised at once.
  target.SetYear(FieldOrDefault(dYear, reference.Year()));
  target.SetMonth(FieldOrDefault(dMonth, reference.Month()));
  target.SetDay(FieldOrDefault(dDay, reference.Day()));
  SetTimeOfDay(target, reference, dHour, dMinute, dateOnly);
  return reference.TotalSeconds() == target.TotalSeconds();
}

}  // namespace quellmark
