#include "forecast/report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "app/app.h"
#include "forecast/schedule_words.h"
#include "runtime/calendar.h"
#include "runtime/date.h"

namespace quellmark::forecast {

namespace {

using calendar::FloorDiv;
using calendar::FloorMod;

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kEpochDays = calendar::kWallEpochDays;

// The length of the well-formed UTF-8 sequence at bytes[i], or 0 when there is none; skip is
// then the length of its maximal ill-formed part, which reads as one U+FFFD.
struct Utf8Sequence {
  size_t length = 0;
  size_t skip = 1;
};

Utf8Sequence SequenceAt(std::string_view bytes, size_t i) {
  const auto lead = static_cast<unsigned char>(bytes[i]);
  if (lead < 0x80) return {1, 1};
  size_t length = 0;
  unsigned char low = 0x80;  // the second byte's range; the later ones are 80 to BF
  unsigned char high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // no overlong forms
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;  // nothing beyond U+10FFFF
  } else {
    return {0, 1};
  }
  for (size_t k = 1; k < length; ++k) {
    const auto byte = i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0;
    const bool fits = k == 1 ? byte >= low && byte <= high : byte >= 0x80 && byte <= 0xBF;
    if (!fits) return {0, k};
  }
  return {length, length};
}

// U+0080 to U+009F: control characters that terminals act on like the C0 ones.
bool IsC1Control(std::string_view bytes, size_t i, size_t length) {
  return length == 2 && static_cast<unsigned char>(bytes[i]) == 0xC2 &&
         static_cast<unsigned char>(bytes[i + 1]) < 0xA0;
}

// prefix, then value in lowercase hexadecimal, digits wide: \x01, \u0085.
std::string Hex(std::string_view prefix, unsigned value, int digits) {
  std::string text(prefix);
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
    text += "0123456789abcdef"[(value >> shift) & 15];
  }
  return text;
}

std::string_view ShortEscape(char c) {
  switch (c) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    case '\\':
      return "\\\\";
    default:
      return "";
  }
}

bool IsC0OrDelete(unsigned char c) { return c < 0x20 || c == 0x7F; }

// Display width of text made by Visible: one column per character.
size_t Width(std::string_view text) {
  return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string PaddedTo(const std::string& text, size_t width) {
  return text + std::string(width - std::min(width, Width(text)), ' ');
}

int64_t LastLaunchWallSeconds(const Forecast& forecast) {
  // Read through Date, which saturates and floors the saved value as the service's clock does.
  return static_cast<int64_t>(Date::FromTotalSeconds(forecast.last_launch_seconds).TotalSeconds());
}

const char* FoundByWords(FoundBy found_by) {
  return found_by == FoundBy::kSavedLocation ? "saved location" : "search";
}

// Whether the service got as far as reading the settings before it quit or watched.
bool SettingsRead(const Forecast& forecast) {
  return forecast.outcome != Outcome::kQuit ||
         (forecast.quit_message != kNoPreferencesMessage &&
          forecast.quit_message != kUnreadablePreferencesMessage);
}

std::string AlarmName(const AlarmForecast& alarm) { return alarm.alarm->dAlarmName.Bytes(); }

std::string NextWords(const AlarmForecast& alarm, const Forecast& forecast) {
  if (!alarm.next) return WhyNot(alarm, forecast).value_or("");
  std::string words = LocalDateTime(alarm.next->wall_seconds, ' ');
  if (alarm.held_by_guard) words += " (an earlier ring held back by the guard)";
  return words;
}

std::string AlarmTable(const Forecast& forecast) {
  // GCOVR_EXCL_BR_START: g++'s cleanup of a half-built row, run only when a copy throws
  std::vector<std::array<std::string, 5>> rows = {{"#", "name", "enabled", "schedule", "next"}};
  // GCOVR_EXCL_BR_STOP
  for (size_t i = 0; i < forecast.alarms.size(); ++i) {
    const AlarmForecast& alarm = forecast.alarms[i];
    rows.push_back({std::to_string(i), Visible(AlarmName(alarm)),
                    alarm.alarm->mEnabled ? "yes" : "no", ScheduleWords(*alarm.alarm),
                    Visible(NextWords(alarm, forecast))});
  }
  std::array<size_t, 5> widths{};
  for (const auto& row : rows) {
    for (size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], Width(row[column]));
    }
  }
  std::string table;
  for (const auto& row : rows) {
    std::string line;
    for (size_t column = 0; column + 1 < row.size(); ++column) {
      line += PaddedTo(row[column], widths[column]) + "  ";
    }
    table += line + row.back() + "\n";
  }
  return table;
}

std::string ClosingSentence(const Forecast& forecast) {
  switch (forecast.outcome) {  // GCOVR_EXCL_BR_LINE: a case per outcome
    case Outcome::kQuit:
      return forecast.quit_message.value_or("");
    case Outcome::kWatch:
      return "Quellmark would watch without launching Tolvane within " +
             std::to_string(forecast.horizon_days) +
             (forecast.horizon_days == 1 ? " day." : " days.");
    case Outcome::kLaunch:
      break;
  }
  // A launch always names the alarm it is for.
  const size_t index = *forecast.launch_alarm;
  const std::string name = Visible(AlarmName(forecast.alarms.at(index)));
  const Moment launch = *forecast.launch;
  return "Quellmark would launch Tolvane at " + LocalDateTime(launch.wall_seconds, ' ') + ", " +
         DurationWords(launch.unix_seconds - forecast.start.unix_seconds) + ", for alarm " +
         std::to_string(index) + " \"" + name + "\".";
}

// {"key":value,...}, fields in the order added; values are JSON already.
class JsonObject {
 public:
  JsonObject& Add(std::string_view key, const std::string& value) {
    text_ += text_.empty() ? '{' : ',';
    text_ += JsonString(key) + ':' + value;
    return *this;
  }
  std::string Text() const { return text_ + '}'; }  // every object has a field

 private:
  std::string text_;
};

std::string JsonBool(bool value) { return value ? "true" : "false"; }

JsonObject JsonMoment(const Moment& moment) {
  JsonObject object;
  object.Add("local", JsonString(LocalDateTime(moment.wall_seconds, 'T')))
      .Add("unix", std::to_string(moment.unix_seconds));
  return object;
}

// The JSON of the value, or null without one.
std::string JsonOrNull(const std::optional<Moment>& moment) {
  if (!moment) return "null";
  return JsonMoment(*moment).Text();
}

std::string JsonOrNull(const std::optional<std::string>& text) {
  if (!text) return "null";
  return JsonString(*text);
}

std::string JsonAlarm(const AlarmForecast& alarm, size_t index, const Forecast& forecast) {
  return JsonObject()  // GCOVR_EXCL_LINE: g++ counts the temporary on a line of its own
      .Add("index", std::to_string(index))
      .Add("name", JsonString(AlarmName(alarm)))
      .Add("format", JsonString(alarm.alarm->dAlarmFormat.Bytes()))
      .Add("schedule", JsonString(ScheduleWords(*alarm.alarm)))
      .Add("enabled", JsonBool(alarm.alarm->mEnabled))
      .Add("next", JsonOrNull(alarm.next))
      .Add("held_by_guard", JsonBool(alarm.held_by_guard))
      .Add("why_not", JsonOrNull(WhyNot(alarm, forecast)))
      .Text();
}

std::string JsonTolvane(const Forecast& forecast) {
  if (forecast.tolvane == nullptr) return "null";
  return JsonObject()
      .Add("path", JsonString(forecast.tolvane->Path()))
      .Add("found_by", JsonString(FoundByWords(forecast.found_by)))
      .Text();
}

std::string JsonLaunch(const Forecast& forecast) {
  if (!forecast.launch) return "null";  // a launch always names its alarm
  JsonObject launch;
  launch.Add("alarm", std::to_string(*forecast.launch_alarm))
      .Add("local", JsonString(LocalDateTime(forecast.launch->wall_seconds, 'T')))
      .Add("unix", std::to_string(forecast.launch->unix_seconds));
  return launch.Text();
}

}  // namespace

std::string LocalDateTime(int64_t wall_seconds, char separator) {
  const calendar::CivilDate date =
      calendar::CivilFromDays(FloorDiv(wall_seconds, kSecondsPerDay) + kEpochDays);
  const int64_t second_of_day = FloorMod(wall_seconds, kSecondsPerDay);
  char text[64];
  std::snprintf(text, sizeof text, "%04lld-%02d-%02d%c%02lld:%02lld:%02lld",
                static_cast<long long>(date.year), date.month, date.day, separator,
                static_cast<long long>(second_of_day / 3600),
                static_cast<long long>(second_of_day / 60 % 60),
                static_cast<long long>(second_of_day % 60));
  return text;
}

std::string DurationWords(int64_t seconds) {
  if (seconds <= 0) return "now";
  const int64_t days = seconds / kSecondsPerDay;
  const int64_t hours = seconds / 3600 % 24;
  const int64_t minutes = seconds / 60 % 60;
  const int64_t rest = seconds % 60;
  auto part = [](int64_t value, const char* unit) { return std::to_string(value) + " " + unit; };
  if (days > 0) {
    std::string words = "in " + part(days, days == 1 ? "day" : "days");
    if (hours > 0) words += ' ' + part(hours, "h");
    return words;
  }
  if (hours > 0) return "in " + part(hours, "h") + " " + part(minutes, "min");
  if (minutes == 0) return "in " + part(rest, "s");
  std::string words = "in " + part(minutes, "min");
  if (rest > 0) words += ' ' + part(rest, "s");
  return words;
}

std::string RingOffsetWords(int32_t minutes) {
  if (minutes == 0) return "no ring offset";
  const int64_t size = minutes < 0 ? -int64_t{minutes} : minutes;
  return "alarms ring " + std::to_string(size) + (size == 1 ? " minute " : " minutes ") +
         (minutes > 0 ? "early" : "late");
}

std::string JsonString(std::string_view bytes) {
  std::string json = "\"";
  for (size_t i = 0; i < bytes.size();) {
    const Utf8Sequence sequence = SequenceAt(bytes, i);
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (sequence.length == 0) {
      json += "\xEF\xBF\xBD";  // U+FFFD
    } else if (byte == '"') {
      json += "\\\"";
    } else if (!ShortEscape(bytes[i]).empty()) {
      json += ShortEscape(bytes[i]);
    } else if (IsC0OrDelete(byte)) {
      json += Hex("\\u", byte, 4);
    } else {
      json += bytes.substr(i, sequence.length);
    }
    i += sequence.skip;
  }
  return json + "\"";
}

std::string Visible(std::string_view bytes) {
  std::string text;
  for (size_t i = 0; i < bytes.size();) {
    const Utf8Sequence sequence = SequenceAt(bytes, i);
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (sequence.length == 0) {
      for (size_t k = 0; k < sequence.skip; ++k) {
        text += Hex("\\x", static_cast<unsigned char>(bytes[i + k]), 2);
      }
    } else if (!ShortEscape(bytes[i]).empty()) {
      text += ShortEscape(bytes[i]);
    } else if (IsC0OrDelete(byte)) {
      text += Hex("\\x", byte, 2);
    } else if (IsC1Control(bytes, i, sequence.length)) {
      text += Hex("\\u", static_cast<unsigned char>(bytes[i + 1]), 4);
    } else {
      text += bytes.substr(i, sequence.length);
    }
    i += sequence.skip;
  }
  return text;
}

std::string HumanReport(const Forecast& forecast) {
  std::string header = "preferences  " + Visible(forecast.preferences_path) + "\n";
  header += "start        " + LocalDateTime(forecast.start.wall_seconds, ' ') + "\n";
  if (SettingsRead(forecast)) {
    header += "Tolvane      ";
    if (forecast.tolvane == nullptr) {
      header += "not found\n";
    } else {
      header += Visible(forecast.tolvane->Path()) + " (found by " +
                FoundByWords(forecast.found_by) + ")\n";
    }
    header += "ring offset  " + RingOffsetWords(forecast.ring_offset_minutes) + "\n";
    header += "last launch  " + LocalDateTime(LastLaunchWallSeconds(forecast), ' ') + "\n";
  }
  if (!forecast.alarms.empty()) header += '\n' + AlarmTable(forecast);
  return header += '\n' + ClosingSentence(forecast) + '\n';
}

std::string JsonReport(const Forecast& forecast) {
  constexpr std::array<const char*, 3> kOutcomes = {"launch", "watch", "quit"};
  std::string alarms;
  for (size_t i = 0; i < forecast.alarms.size(); ++i) {
    if (i > 0) alarms += ',';
    alarms += JsonAlarm(forecast.alarms[i], i, forecast);
  }
  return JsonObject()  // GCOVR_EXCL_LINE: g++ counts the temporary on a line of its own
             .Add("preferences", JsonString(forecast.preferences_path))
             .Add("start", JsonMoment(forecast.start).Text())
             .Add("ring_offset_minutes", std::to_string(forecast.ring_offset_minutes))
             .Add("last_launch", JsonString(LocalDateTime(LastLaunchWallSeconds(forecast), 'T')))
             .Add("tolvane", JsonTolvane(forecast))
             .Add("outcome", JsonString(kOutcomes[static_cast<size_t>(forecast.outcome)]))
             // Only a quit has a message.
             .Add("message", JsonOrNull(forecast.quit_message))
             .Add("launch", JsonLaunch(forecast))
             .Add("alarms", "[" + alarms + "]")
             .Text() +
         "\n";
}

int ExitStatus(const Forecast& forecast) { return forecast.outcome == Outcome::kQuit ? 1 : 0; }

}  // namespace quellmark::forecast
