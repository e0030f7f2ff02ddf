// The reports of a forecast: dates against the C library's calendar, durations and offsets in
// words, JSON strings and the whole JSON object read back by Python's json module, and the
// human report's one row per alarm whatever the names hold.

#include "forecast/report.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "app/app.h"
#include "test_support.h"

namespace quellmark::forecast {
namespace {

constexpr int64_t kUnixToWall = 2082844800;  // 1904-01-01 to 1970-01-01, in seconds

// What python3 prints for script run on input; nullopt when there is no python3.
std::optional<std::string> Python(const std::string& script, const std::string& input) {
  if (std::system("python3 -c '' 2>/dev/null") != 0) return std::nullopt;
  const TempFolder folder;
  std::ofstream(folder / "script.py") << script;
  std::ofstream(folder / "input", std::ios::binary) << input;
  const std::string command = "python3 " + (folder / "script.py") + " < " + (folder / "input");
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  for (int c = 0; pipe != nullptr && (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
  if (pipe != nullptr) pclose(pipe);
  return output;
}

TEST(ReportTest, LocalDateTimeAgreesWithGmtimeOverFourCenturies) {
  for (int64_t unix = -2208988800; unix < 4102444800; unix += 86400 * 13 + 3607) {
    const time_t t = unix;
    std::tm fields{};
    gmtime_r(&t, &fields);
    char expected[32];
    std::strftime(expected, sizeof expected, "%Y-%m-%dT%H:%M:%S", &fields);
    ASSERT_EQ(LocalDateTime(unix + kUnixToWall, 'T'), expected) << unix;
  }
  EXPECT_EQ(LocalDateTime(0, ' '), "1904-01-01 00:00:00");
  EXPECT_EQ(LocalDateTime(-1, ' '), "1903-12-31 23:59:59");
}

TEST(ReportTest, SaysDurationsAndRingOffsetsInWords) {
  const std::pair<int64_t, std::string> durations[] = {
      {-5, "now"},
      {0, "now"},
      {1, "in 1 s"},
      {59, "in 59 s"},
      {60, "in 1 min"},
      {601, "in 10 min 1 s"},
      {3599, "in 59 min 59 s"},
      {3600, "in 1 h 0 min"},
      {9 * 3600 + 12 * 60 + 59, "in 9 h 12 min"},
      {86399, "in 23 h 59 min"},
      {86400, "in 1 day"},
      {86400 + 3600, "in 1 day 1 h"},
      {3 * 86400 + 4 * 3600 + 59 * 60, "in 3 days 4 h"},
      {366 * 86400, "in 366 days"},
  };
  for (const auto& [seconds, words] : durations) EXPECT_EQ(DurationWords(seconds), words);
  const std::pair<int32_t, std::string> offsets[] = {
      {0, "no ring offset"},
      {1, "alarms ring 1 minute early"},
      {5, "alarms ring 5 minutes early"},
      {-1, "alarms ring 1 minute late"},
      {-1440, "alarms ring 1440 minutes late"},
      {INT32_MIN, "alarms ring 2147483648 minutes late"},
  };
  for (const auto& [minutes, words] : offsets) EXPECT_EQ(RingOffsetWords(minutes), words);
}

TEST(ReportTest, EscapesControlCharactersAndBytesThatAreNotUtf8) {
  const struct {
    std::string bytes, json, visible;
  } rows[] = {
      {"Wake up", "\"Wake up\"", "Wake up"},
      {"a\"b\\c", "\"a\\\"b\\\\c\"", "a\"b\\\\c"},
      {"1\n2\r3\t4", "\"1\\n2\\r3\\t4\"", "1\\n2\\r3\\t4"},
      {std::string("\0\x01\x1f\x7f", 4), "\"\\u0000\\u0001\\u001f\\u007f\"",
       "\\x00\\x01\\x1f\\x7f"},
      {"\x1b[2J", "\"\\u001b[2J\"", "\\x1b[2J"},
      {"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80", "\"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80\"",
       "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80"},
      // C1 controls are well formed but act on terminals.
      {"\xc2\x85\xc2\x9b\xc2\xa0", "\"\xc2\x85\xc2\x9b\xc2\xa0\"", "\\u0085\\u009b\xc2\xa0"},
      // One U+FFFD per maximal ill-formed part: a stray continuation, a truncated sequence, an
      // overlong form, a surrogate, beyond U+10FFFF.
      {"a\x80z", "\"a\xef\xbf\xbdz\"", "a\\x80z"},
      {"\xe2\x82z", "\"\xef\xbf\xbdz\"", "\\xe2\\x82z"},
      {"\xc0\xaf", "\"\xef\xbf\xbd\xef\xbf\xbd\"", "\\xc0\\xaf"},
      {"\xed\xa0\x80", "\"\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\"", "\\xed\\xa0\\x80"},
      {"\xf4\x90\x80\x80", "\"\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\"",
       "\\xf4\\x90\\x80\\x80"},
      {"\xf0\x9f\x98", "\"\xef\xbf\xbd\"", "\\xf0\\x9f\\x98"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(JsonString(row.bytes), row.json) << row.visible;
    EXPECT_EQ(Visible(row.bytes), row.visible);
  }
}

// Random byte strings, weighted towards the bytes of UTF-8 sequences: Python reads each JSON
// string back as the bytes decoded with U+FFFD replacement, and each visible text as strict
// UTF-8 without a control character.
TEST(ReportTest, JsonAndVisibleTextAgreeWithPythonOnRandomBytes) {
  std::mt19937 random(12);
  const std::string alphabet =
      std::string("\0\x01\n\x1f\x7f\"\\ aZ\x80\x8f\x9f\xa0\xbf\xc0\xc2", 17) +
      "\xdf\xe0\xe1\xed\xee\xef\xf0\xf1\xf4\xf5\xff";
  std::vector<std::string> samples(400);
  std::string input;
  for (std::string& bytes : samples) {
    const size_t length = random() % 12;
    for (size_t i = 0; i < length; ++i) bytes += alphabet[random() % alphabet.size()];
    input += JsonString(bytes) + "\t" + JsonString(Visible(bytes)) + "\t";
    for (const char c : bytes) input += std::to_string(static_cast<unsigned char>(c)) + " ";
    input += "\n";
  }
  const auto verdicts = Python(R"(
import json, sys
lines = sys.stdin.buffer.read().split(b"\n")[:-1]
for line in lines:
    json_text, visible_json, codes = line.split(b"\t")
    raw = bytes(int(c) for c in codes.split())
    visible = json.loads(visible_json)
    visible.encode("utf-8", "strict")
    if (json.loads(json_text) != raw.decode("utf-8", "replace")
            or any(ord(c) < 32 or 127 <= ord(c) < 160 for c in visible)):
        print("wrong for", raw)
print("checked", len(lines))
)",
                               input);
  if (!verdicts) GTEST_SKIP() << "no python3";
  EXPECT_EQ(*verdicts, "checked " + std::to_string(samples.size()) + "\n");
}

Ref<AlarmItem> Alarm(const std::string& name, const std::string& format, bool enabled) {
  Ref<AlarmItem> alarm = Ref<AlarmItem>::New();
  alarm->dAlarmName = String(name);
  alarm->dAlarmFormat = String(format);
  alarm->mEnabled = enabled;
  alarm->dHourlyMinute = 15;
  return alarm;
}

// 2026-11-23 10:00:00 UTC.
constexpr int64_t kStartUnix = 1795428000;

Forecast Sample() {
  Forecast forecast;
  forecast.preferences_path = "/home/u/.config/com.velmora.Tolvane.xml";
  forecast.start = {kStartUnix, kStartUnix + kUnixToWall};
  forecast.outcome = Outcome::kLaunch;
  forecast.ring_offset_minutes = -5;
  forecast.last_launch_seconds = static_cast<double>(kStartUnix + kUnixToWall - 86400);
  forecast.tolvane = Ref<FolderItem>::New("/Applications/Tol\nvane.app");
  forecast.found_by = FoundBy::kSavedLocation;
  const Moment ring = {kStartUnix + 20 * 60, kStartUnix + kUnixToWall + 20 * 60};
  forecast.alarms = {{Alarm("Wake\nup \x1b[31m\xff", "hourly", true), ring, true},
                     {Alarm("Off", "", false), std::nullopt, false},
                     {Alarm("\xc3\xa9t\xc3\xa9", "timer", true), std::nullopt, false}};
  forecast.launch_alarm = 0;
  forecast.launch = ring;
  return forecast;
}

TEST(ReportTest, JsonReportHoldsTheWholeForecastAsOneObject) {
  const auto fields = Python(R"(
import json, sys
text = sys.stdin.buffer.read()
assert text.endswith(b"}\n") and text.count(b"\n") == 1
o = json.loads(text)
print(list(o))
print(o["preferences"], o["start"], o["ring_offset_minutes"], o["last_launch"])
print(o["tolvane"], o["outcome"], o["message"], o["launch"])
for a in o["alarms"]:
    print(list(a))
    print([a[k] for k in a])
)",
                             JsonReport(Sample()));
  if (!fields) GTEST_SKIP() << "no python3";
  const std::string alarm_keys =
      "['index', 'name', 'format', 'schedule', 'enabled', 'next', 'held_by_guard', 'why_not']\n";
  EXPECT_EQ(
      *fields,
      "['preferences', 'start', 'ring_offset_minutes', 'last_launch', 'tolvane', 'outcome', "
      "'message', 'launch', 'alarms']\n"
      "/home/u/.config/com.velmora.Tolvane.xml {'local': '2026-11-23T10:00:00', 'unix': "
      "1795428000} -5 2026-11-22T10:00:00\n"
      "{'path': '/Applications/Tol\\nvane.app', 'found_by': 'saved location'} launch None "
      "{'alarm': 0, 'local': '2026-11-23T10:20:00', 'unix': 1795429200}\n" +
          alarm_keys +
          "[0, 'Wake\\nup \\x1b[31m\xef\xbf\xbd', 'hourly', 'every hour at :15', True, {'local': "
          "'2026-11-23T10:20:00', 'unix': 1795429200}, True, None]\n" +
          alarm_keys + "[1, 'Off', '', 'every day at 00:00', False, None, False, 'disabled']\n" +
          alarm_keys +
          "[2, 'été', 'timer', 'timer 0:00:00 after start', True, None, False, 'does not "
          "ring within 366 days']\n");

  Forecast quit;
  quit.outcome = Outcome::kQuit;
  quit.quit_message = kNoAlarmsMessage;
  const auto quit_fields = Python(R"(
import json, sys
o = json.loads(sys.stdin.read())
print(o["outcome"], o["message"], o["tolvane"], o["launch"], o["alarms"])
)",
                                  JsonReport(quit));
  EXPECT_EQ(quit_fields, "quit " + std::string(kNoAlarmsMessage) + " None None []\n");
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(ReportTest, HumanReportHasAHeaderOneAlignedRowPerAlarmAndAClosingSentence) {
  const std::vector<std::string> lines = Lines(HumanReport(Sample()));
  ASSERT_EQ(lines.size(), 12U);
  EXPECT_EQ(lines[0], "preferences  /home/u/.config/com.velmora.Tolvane.xml");
  EXPECT_EQ(lines[1], "start        2026-11-23 10:00:00");
  EXPECT_EQ(lines[2], "Tolvane      /Applications/Tol\\nvane.app (found by saved location)");
  EXPECT_EQ(lines[3], "ring offset  alarms ring 5 minutes late");
  EXPECT_EQ(lines[4], "last launch  2026-11-22 10:00:00");
  EXPECT_EQ(lines[6], "#  name                   enabled  schedule                   next");
  EXPECT_EQ(lines[7],
            "0  Wake\\nup \\x1b[31m\\xff  yes      every hour at :15          2026-11-23 10:20:00 "
            "(an earlier ring held back by the guard)");
  EXPECT_EQ(lines[8], "1  Off                    no       every day at 00:00         disabled");
  EXPECT_EQ(lines[9],
            "2  \xc3\xa9t\xc3\xa9                    yes      timer 0:00:00 after start  does not "
            "ring within 366 days");
  EXPECT_EQ(lines[11],
            "Quellmark would launch Tolvane at 2026-11-23 10:20:00, in 20 min, for alarm 0 "
            "\"Wake\\nup \\x1b[31m\\xff\".");

  Forecast watch = Sample();
  watch.outcome = Outcome::kWatch;
  watch.horizon_days = 1;
  watch.tolvane = nullptr;
  const std::vector<std::string> watch_lines = Lines(HumanReport(watch));
  EXPECT_EQ(watch_lines[2], "Tolvane      not found");
  EXPECT_EQ(watch_lines.back(), "Quellmark would watch without launching Tolvane within 1 day.");
  watch.horizon_days = 366;
  EXPECT_EQ(Lines(HumanReport(watch)).back(),
            "Quellmark would watch without launching Tolvane within 366 days.");

  // A service that quit before reading the settings reads none of them.
  for (const char* message : {kNoPreferencesMessage, kUnreadablePreferencesMessage,
                              kNoApplicationMessage, kNoAlarmsMessage}) {
    Forecast quit;
    quit.outcome = Outcome::kQuit;
    quit.quit_message = message;
    const std::vector<std::string> quit_lines = Lines(HumanReport(quit));
    const bool read = quit_lines.size() > 4;
    EXPECT_EQ(read, message == kNoApplicationMessage || message == kNoAlarmsMessage) << message;
    EXPECT_EQ(quit_lines.back(), message);
    EXPECT_EQ(ExitStatus(quit), 1);
  }
  EXPECT_EQ(ExitStatus(watch), 0);
  EXPECT_EQ(ExitStatus(Sample()), 0);
}

}  // namespace
}  // namespace quellmark::forecast
