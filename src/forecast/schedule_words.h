// An alarm's schedule in plain words ("every day at 07:30", "last Friday of March at 18:00"), and
// the reason an alarm has no next ring, read from its fields exactly as the ring rules read them.
//
// Fields outside their range are shown as they stand and named in a closing note, never folded
// into a normalised moment: the user should see what Tolvane saved.

#ifndef QUELLMARK_FORECAST_SCHEDULE_WORDS_H_
#define QUELLMARK_FORECAST_SCHEDULE_WORDS_H_

#include <optional>
#include <string>

#include "alarm/alarm_item.h"
#include "forecast/forecast.h"

namespace quellmark::forecast {

std::string ScheduleWords(const AlarmItem& alarm);

// Why the alarm has no next ring in forecast (nullopt when it has one): "disabled", the guard,
// or a cause its fields make certain (a date passed, no weekday or week chosen, a month or a
// minute that never comes); otherwise "does not ring within N days".
std::optional<std::string> WhyNot(const AlarmForecast& alarm, const Forecast& forecast);

}  // namespace quellmark::forecast

#endif  // QUELLMARK_FORECAST_SCHEDULE_WORDS_H_
