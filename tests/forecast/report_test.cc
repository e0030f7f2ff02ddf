// The reports of a forecast: durations and offsets in words, JSON strings and whole JSON objects
// read back by Python's json module, and the human report's one row per alarm whatever the names
// hold.

#include "forecast/report.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "app/app.h"
#include "app/service_sandbox.h"
#include "test_support.h"

namespace quellmark::forecast {
namespace {

constexpr int64_t kUnixToWall = 2082844800;  // 1904-01-01 to 1970-01-01, in seconds

// What python3 (which the end-to-end tests need too) prints for script run on input.
std::string Python(const std::string& script, const std::string& input) {
  const TempFolder folder;
  std::ofstream(folder / "script.py") << script;
  std::ofstream(folder / "input", std::ios::binary) << input;
  return e2e::Output("python3 " + (folder / "script.py") + " < " + (folder / "input"));
}

TEST(ReportTest, SaysDurationsAndRingOffsetsInWords) {
  const std::pair<int64_t, std::string> durations[] = {
      {0, "now"},
      {59, "in 59 s"},
      {601, "in 10 min 1 s"},
      {9 * 3600 + 12 * 60 + 59, "in 9 h 12 min"},
      {86400, "in 1 day"},
      {3 * 86400 + 4 * 3600 + 59 * 60, "in 3 days 4 h"},
  };
  for (const auto& [seconds, words] : durations) EXPECT_EQ(DurationWords(seconds), words);
  // No offset, and a few minutes late, are in the reports' tests.
  EXPECT_EQ(RingOffsetWords(1), "alarms ring 1 minute early");
  EXPECT_EQ(RingOffsetWords(INT32_MIN), "alarms ring 2147483648 minutes late");
}

// Random byte strings, weighted towards the bytes of UTF-8 sequences and control characters:
// Python reads each JSON string back as the bytes decoded with U+FFFD replacement, and builds
// each visible text from the bytes on its own.
TEST(ReportTest, JsonAndVisibleTextAgreeWithPythonOnRandomBytes) {
  std::mt19937 random(12);
  const std::string alphabet =
      std::string("\0\x01\n\r\t\x1f\x7f\"\\ aZ\x80\x8f\x9f\xa0\xbf\xc0\xc2", 19) +
      "\xdf\xe0\xe1\xed\xee\xef\xf0\xf1\xf4\xf5\xff";
  // Each of the longest characters, the first and last of four bytes, starts a sample.
  std::vector<std::string> samples = {"\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"};
  samples.resize(600);
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
def visible(raw):
    text = ""
    for c in raw.decode("utf-8", "surrogateescape"):
        o = ord(c)
        if 0xDC80 <= o <= 0xDCFF: text += "\\x%02x" % (o - 0xDC00)  # a byte that is not UTF-8
        elif c in "\n\r\t\\": text += repr(c)[1:-1]
        elif o < 32 or o == 127: text += "\\x%02x" % o
        elif 128 <= o < 160: text += "\\u%04x" % o
        else: text += c
    return text
lines = sys.stdin.buffer.read().split(b"\n")[:-1]
for line in lines:
    json_text, visible_json, codes = line.split(b"\t")
    raw = bytes(int(c) for c in codes.split())
    if (json.loads(json_text) != raw.decode("utf-8", "replace")
            or json.loads(visible_json) != visible(raw)):
        print("wrong for", raw)
print("checked", len(lines))
)",
                               input);
  EXPECT_EQ(verdicts, "checked " + std::to_string(samples.size()) + "\n");
}

Ref<AlarmItem> Alarm(const std::string& name, const std::string& format, bool enabled) {
  Ref<AlarmItem> alarm = Ref<AlarmItem>::New();
  alarm->dAlarmName = String(name);
  alarm->dAlarmFormat = String(format);
  alarm->mEnabled = enabled;
  alarm->dHourlyMinute = 15;
  return alarm;
}

// A launch at 2026-11-23 10:20 UTC, 20 minutes after the start, for the first of two alarms.
Forecast Sample() {
  constexpr int64_t kStartUnix = 1795428000;
  const Moment ring = {kStartUnix + 20 * 60, kStartUnix + kUnixToWall + 20 * 60};
  return {.preferences_path = "/home/u/.config/com.velmora.Tolvane.xml",
          .start = {kStartUnix, kStartUnix + kUnixToWall},
          .outcome = Outcome::kLaunch,
          .quit_message = std::nullopt,
          .ring_offset_minutes = -5,
          .last_launch_seconds = static_cast<double>(kStartUnix + kUnixToWall - 86400),
          .tolvane = Ref<FolderItem>::New("/Applications/Tol\nvane.app"),
          .found_by = FoundBy::kSavedLocation,
          .launch_alarm = 0,
          .launch = ring,
          .alarms = {{Alarm("Wake\nup \x1b[31m\xff", "hourly", true), ring, true},
                     {Alarm("\xc3\xa9t\xc3\xa9", "timer", false), std::nullopt, false}}};
}

Forecast Quit(const char* message) {
  Forecast quit;
  quit.outcome = Outcome::kQuit;
  quit.quit_message = message;
  return quit;
}

// Each report is one line that Python reads as an object; it prints them back in key order.
TEST(ReportTest, JsonReportHoldsTheWholeForecastAsOneObjectOnOneLine) {
  const auto objects = Python(R"(
import json, sys
for line in sys.stdin.buffer.read().split(b"\n")[:-1]:
    print(json.loads(line))
)",
                              JsonReport(Sample()) + JsonReport(Quit(kNoAlarmsMessage)));
  EXPECT_EQ(objects,
            "{'preferences': '/home/u/.config/com.velmora.Tolvane.xml', 'start': {'local': "
            "'2026-11-23T10:00:00', 'unix': 1795428000}, 'ring_offset_minutes': -5, "
            "'last_launch': '2026-11-22T10:00:00', 'tolvane': {'path': '/Applications/Tol\\nvane."
            "app', 'found_by': 'saved location'}, 'outcome': 'launch', 'message': None, 'launch': "
            "{'alarm': 0, 'local': '2026-11-23T10:20:00', 'unix': 1795429200}, 'alarms': "
            "[{'index': 0, 'name': 'Wake\\nup \\x1b[31m\xef\xbf\xbd', 'format': 'hourly', "
            "'schedule': 'every hour at :15', 'enabled': True, 'next': {'local': "
            "'2026-11-23T10:20:00', 'unix': 1795429200}, 'held_by_guard': True, 'why_not': None}, "
            "{'index': 1, 'name': '\xc3\xa9t\xc3\xa9', 'format': 'timer', 'schedule': 'timer "
            "0:00:00 after start', 'enabled': False, 'next': None, 'held_by_guard': False, "
            "'why_not': 'disabled'}]}\n"
            "{'preferences': '', 'start': {'local': '1904-01-01T00:00:00', 'unix': 0}, "
            "'ring_offset_minutes': 0, 'last_launch': '1904-01-01T00:00:00', 'tolvane': None, "
            "'outcome': 'quit', 'message': '" +
                std::string(kNoAlarmsMessage) + "', 'launch': None, 'alarms': []}\n");
}

TEST(ReportTest, HumanReportHasAHeaderOneAlignedRowPerAlarmAndAClosingSentence) {
  EXPECT_EQ(HumanReport(Sample()), R"(preferences  /home/u/.config/com.velmora.Tolvane.xml
start        2026-11-23 10:00:00
Tolvane      /Applications/Tol\nvane.app (found by saved location)
ring offset  alarms ring 5 minutes late
last launch  2026-11-22 10:00:00

#  name                   enabled  schedule                   next
0  Wake\nup \x1b[31m\xff  yes      every hour at :15          2026-11-23 10:20:00 (an earlier ring held back by the guard)
1  été                    no       timer 0:00:00 after start  disabled

Quellmark would launch Tolvane at 2026-11-23 10:20:00, in 20 min, for alarm 0 "Wake\nup \x1b[31m\xff".
)");

  Forecast watch = Sample();
  watch.outcome = Outcome::kWatch;
  watch.found_by = FoundBy::kSearch;
  for (const auto& [days, closing] :
       {std::pair(1, "within 1 day.\n"), std::pair(366, "within 366 days.\n")}) {
    watch.horizon_days = days;
    const std::string report = HumanReport(watch);
    EXPECT_TRUE(report.ends_with(closing)) << report;
    EXPECT_NE(report.find("Tol\\nvane.app (found by search)\n"), std::string::npos) << report;
  }

  // A service that quit before reading the settings reads none of them.
  for (const char* message : {kNoPreferencesMessage, kUnreadablePreferencesMessage,
                              kNoApplicationMessage, kNoAlarmsMessage}) {
    const std::string report = HumanReport(Quit(message));
    const bool read = report.find("not found\nring offset  no ring offset\n") != std::string::npos;
    EXPECT_EQ(read, message == kNoApplicationMessage || message == kNoAlarmsMessage) << message;
    EXPECT_TRUE(report.ends_with("\n\n" + std::string(message) + "\n")) << report;
  }
  EXPECT_EQ(ExitStatus(watch), 0);
}

}  // namespace
}  // namespace quellmark::forecast
