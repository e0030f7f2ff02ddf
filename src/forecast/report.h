// The answer of quellmark-next as text, a pure function of a Forecast: the human report (a
// header, one aligned row per alarm, a closing sentence) and one JSON object for scripts.
//
// Names and paths may hold any bytes. The human report keeps one line per row by escaping
// control characters and bytes that are not UTF-8 visibly; the JSON is always valid, with bytes
// that are not UTF-8 read as U+FFFD.

#ifndef QUELLMARK_FORECAST_REPORT_H_
#define QUELLMARK_FORECAST_REPORT_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "forecast/forecast.h"

namespace quellmark::forecast {

std::string HumanReport(const Forecast& forecast);
std::string JsonReport(const Forecast& forecast);

// The program's exit status for forecast: 1 when the service would quit at start, else 0.
int ExitStatus(const Forecast& forecast);

// "YYYY-MM-DD HH:MM:SS" of wall-clock seconds since 1904, separator between date and time.
std::string LocalDateTime(int64_t wall_seconds, char separator);
// A span of real time ahead: "now", "in 42 s", "in 10 min", "in 9 h 12 min", "in 3 days 4 h".
std::string DurationWords(int64_t seconds);
// "alarms ring 5 minutes early", "... late", or "no ring offset".
std::string RingOffsetWords(int32_t minutes);
// bytes as a JSON string, quotes included.
std::string JsonString(std::string_view bytes);
// bytes on one line: backslash, control characters and bytes that are not UTF-8 as escapes
// ("\n", "\x01", "\u0085"), everything else as it stands.
std::string Visible(std::string_view bytes);

}  // namespace quellmark::forecast

#endif  // QUELLMARK_FORECAST_REPORT_H_
