#include "forecast/options.h"

#include <array>
#include <utility>

#include "forecast/report.h"
#include "runtime/calendar.h"

namespace quellmark::forecast {

namespace {

constexpr int64_t kEpochDays = calendar::kWallEpochDays;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The decimal number of text[at, at + width) when those are all digits; the range lies in text.
std::optional<int64_t> Digits(std::string_view text, size_t at, size_t width) {
  int64_t value = 0;
  for (size_t i = at; i < at + width; ++i) {
    if (!IsDigit(text[i])) return std::nullopt;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

bool Within(const std::optional<int64_t>& value, int64_t low, int64_t high) {
  return value && *value >= low && *value <= high;
}

// A whole number of days from 1 to kMaxHorizonDays, digits only.
std::optional<int32_t> ParseHorizon(std::string_view text) {
  if (text.empty() || text.size() > 4) return std::nullopt;
  const std::optional<int64_t> days = Digits(text, 0, text.size());
  if (!Within(days, 1, kMaxHorizonDays)) return std::nullopt;
  return static_cast<int32_t>(*days);
}

std::string Quoted(std::string_view value) {
  std::string quoted(1, '\'');
  quoted += Visible(value);
  return quoted += '\'';
}

class Parser {
 public:
  explicit Parser(const std::vector<std::string>& args) : args_(args) {}

  std::variant<Options, UsageError> Parse() {
    for (next_ = 0; next_ < args_.size() && !error_;) Word(args_[next_++]);
    if (error_) return UsageError{*error_};
    return options_;
  }

 private:
  void Word(std::string_view word) {
    if (!word.starts_with("--") || word == "--") {
      return Fail("unexpected argument " + Quoted(word));
    }
    const size_t equals = word.find('=');
    const std::string_view name = word.substr(0, equals);
    std::optional<std::string_view> value;
    if (equals != std::string_view::npos) value = word.substr(equals + 1);
    if (name == "--json" || name == "--help" || name == "--version") {
      if (value) return Fail(std::string(name) + " takes no value");
      if (!Once(name)) return;
      bool& flag = name == "--json"   ? options_.json
                   : name == "--help" ? options_.help
                                      : options_.version;
      flag = true;
      return;
    }
    if (name != "--at" && name != "--horizon" && name != "--preferences") {
      return Fail("unknown option " + Quoted(name));
    }
    if (!Once(name)) return;
    if (!value) {
      if (next_ == args_.size()) return Fail(std::string(name) + " needs a value");
      value = args_[next_++];
    }
    Value(name, *value);
  }

  void Value(std::string_view name, std::string_view value) {
    if (name == "--at") {
      options_.at_text = value;
      options_.at_wall_seconds = ParseMoment(value);
      if (!options_.at_wall_seconds) {
        Fail("--at: " + Quoted(value) + " is not a moment 'YYYY-MM-DD HH:MM[:SS]'");
      }
    } else if (name == "--horizon") {
      const std::optional<int32_t> days = ParseHorizon(value);
      if (!days) {
        Fail("--horizon: " + Quoted(value) + " is not a whole number of days from 1 to " +
             std::to_string(kMaxHorizonDays));
      }
      options_.horizon_days = days.value_or(kDefaultHorizonDays);
    } else {
      if (value.empty()) Fail("--preferences: the file name is empty");
      options_.preferences_file = std::string(value);
    }
  }

  // Whether name is seen for the first time; a repeat is an error.
  bool Once(std::string_view name) {
    for (const std::string& seen : seen_) {
      if (seen == name) {
        Fail(std::string(name) + " is given twice");
        return false;
      }
    }
    seen_.emplace_back(name);
    return true;
  }

  // Parsing stops at the first error.
  void Fail(std::string message) { error_ = std::move(message); }

  const std::vector<std::string>& args_;
  size_t next_ = 0;
  Options options_;
  std::vector<std::string> seen_;
  std::optional<std::string> error_;
};

}  // namespace

std::variant<Options, UsageError> ParseOptions(const std::vector<std::string>& args) {
  return Parser(args).Parse();
}

std::optional<int64_t> ParseMoment(std::string_view text) {
  if (text.size() != 16 && text.size() != 19) return std::nullopt;
  constexpr std::array<std::pair<size_t, char>, 5> kSeparators = {
      {{4, '-'}, {7, '-'}, {10, ' '}, {13, ':'}, {16, ':'}}};
  for (const auto& [at, separator] : kSeparators) {
    if (at < text.size() && text[at] != separator) return std::nullopt;
  }
  const std::optional<int64_t> year = Digits(text, 0, 4);
  const std::optional<int64_t> month = Digits(text, 5, 2);
  const std::optional<int64_t> day = Digits(text, 8, 2);
  const std::optional<int64_t> hour = Digits(text, 11, 2);
  const std::optional<int64_t> minute = Digits(text, 14, 2);
  const std::optional<int64_t> second = text.size() == 19 ? Digits(text, 17, 2) : 0;
  if (!year || !Within(month, 1, 12) || !Within(hour, 0, 23) || !Within(minute, 0, 59) ||
      !Within(second, 0, 59)) {
    return std::nullopt;
  }
  const auto month_of_year = static_cast<int32_t>(*month);
  if (!Within(day, 1, calendar::DaysInMonth(*year, month_of_year))) return std::nullopt;
  const int64_t days = calendar::DaysFromCivil(*year, month_of_year, *day) - kEpochDays;
  return days * 86400 + *hour * 3600 + *minute * 60 + *second;
}

std::string UsageText() {
  return "usage: quellmark-next [--at 'YYYY-MM-DD HH:MM[:SS]'] [--horizon DAYS]\n"
         "                      [--preferences FILE] [--json]\n"
         "       quellmark-next --help | --version\n"
         "\n"
         "Tells when Quellmark, started now (or at --at, local time), would launch Tolvane,\n"
         "when each alarm would next ring, and why an alarm would not.\n"
         "\n"
         "  --at MOMENT         model a service started at this local time\n"
         "  --horizon DAYS      look this many days ahead, 1 to 3660 (default 366)\n"
         "  --preferences FILE  read this preferences file instead of the user's\n"
         "  --json              one JSON object instead of the report\n"
         "  --help              this text\n"
         "  --version           the program's version\n"
         "\n"
         "Exit status: 0 when the service would watch, 1 when it would quit at start,\n"
         "2 for a usage error, 70 for an unexpected failure.\n";
}

}  // namespace quellmark::forecast
