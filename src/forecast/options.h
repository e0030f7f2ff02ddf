// The command line of quellmark-next:
//   quellmark-next [--at MOMENT] [--horizon DAYS] [--preferences FILE] [--json]
//   quellmark-next --help | --version
// Each option may also be written --name=value. Parsing is strict: a bad option, a missing or
// malformed value, a repeated option or a stray word is a usage error with a one-line message.

#ifndef QUELLMARK_FORECAST_OPTIONS_H_
#define QUELLMARK_FORECAST_OPTIONS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "forecast/forecast.h"

namespace quellmark::forecast {

struct Options {
  std::optional<int64_t> at_wall_seconds;  // --at, on the 1904 wall-clock scale
  std::string at_text;                     // --at as given, for messages
  int32_t horizon_days = kDefaultHorizonDays;
  std::optional<std::string> preferences_file;
  bool json = false;
  bool help = false;
  bool version = false;
};

struct UsageError {
  std::string message;  // one line, naming the option or value
};

// args without the program's name.
std::variant<Options, UsageError> ParseOptions(const std::vector<std::string>& args);

// "YYYY-MM-DD HH:MM" or "YYYY-MM-DD HH:MM:SS", every field in its range, as wall-clock seconds
// since 1904; nullopt for anything else.
std::optional<int64_t> ParseMoment(std::string_view text);

// The text of --help.
std::string UsageText();

}  // namespace quellmark::forecast

#endif  // QUELLMARK_FORECAST_OPTIONS_H_
