#include "app/app.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "alarm/ring_offset.h"
#include "fake_env.h"
#include "test_support.h"

namespace quellmark {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

constexpr int64_t kNow = 3'799'999'980 + 30;  // half a minute into a minute

// A timer started a minute ago: 'E' enabled and due, 'd' disabled and due, 'w' enabled and due
// only in a quarter of an hour.
Ref<AlarmItem> Timer(char kind) {
  const Ref<AlarmItem> alarm = Ref<AlarmItem>::New();
  alarm->dAlarmFormat = "timer", alarm->mLastRung = kNow - 60, alarm->mEnabled = kind != 'd';
  alarm->dTimerMinute = kind == 'w' ? 16 : 0;
  return alarm;
}

// How a call ended: "returned", or "exit" and the status the process ended with.
std::string Ending(const std::function<void()>& body) {
  try {
    body();
    return "returned";
  } catch (const FakeExit& exit) {
    return "exit " + std::to_string(exit.code);
  }
}

TEST(CheckAlarmsTest, TheFirstEnabledRingingAlarmLaunchesTolvaneOnceAndEndsTheProcess) {
  TempFolder dir;
  fs::create_directories(dir / "My Apps/Tolvane.app");
  const std::string launch = "open -a " + dir / "My\\ Apps/Tolvane.app";
  FakeEnv env;
  env.now = kNow;
  // Alarms, Tolvane's name in My Apps (nullptr: nil), Tolvane's last launch from now, and
  // whether the pass launches.
  const std::tuple<const char*, const char*, const char*, int64_t, bool> rows[] = {
      {"an enabled ringing alarm launches", "E", "Tolvane.app", -3600, true},
      {"neither a disabled alarm nor one not yet due does", "dw", "Tolvane.app", -3600, false},
      {"a later enabled ringing alarm does, once", "dwEE", "Tolvane.app", -3600, true},
      {"a missing Tolvane is passed over", "E", "Gone.app", -3600, false},
      {"a nil Tolvane is passed over", "E", nullptr, -3600, false},
      {"a launch earlier in this minute holds it back", "E", "Tolvane.app", -30, false},
      {"so does one later in this minute", "E", "Tolvane.app", 29, false},
      {"a launch the second before this minute does not", "E", "Tolvane.app", -31, true},
      {"nor does one at this time the day before", "E", "Tolvane.app", -86400, true}};
  for (const auto& [what, alarms, tolvane, last, launches] : rows) {
    env.commands.clear();
    App app;
    for (const char* kind = alarms; *kind != '\0'; ++kind) app.alarmArray.Append(Timer(*kind));
    if (tolvane) app.FTolvaneItem = GetFolderItem(String(dir / "My Apps/" + tolvane), 0);
    app.dLastLaunch = Ref<Date>::New(Date::FromTotalSeconds(static_cast<double>(kNow + last)));
    EXPECT_EQ(Ending([&] { app.checkAlarms(); }), launches ? "exit 0" : "returned") << what;
    EXPECT_EQ(env.commands, launches ? Lines{launch} : Lines{}) << what;
  }
}

TEST(AppRunTest, ChecksPreferencesThenTolvaneThenAlarmsAndLogsOnlyTheFirstFailure) {
  TempFolder dir;
  fs::create_directories(dir / "Saved Apps/Tolvane.app");
  std::ofstream{dir / "Saved Apps/Notes.app"};
  const std::string saved = "<settings><LastApplicationLocation>" + dir / "Saved%20Apps/";
  const std::string settings = saved + "Tolvane.app</LastApplicationLocation>";
  const std::string launch = "open -a " + dir / "Saved\\ Apps/Tolvane.app";
  const std::string alarms =
      "<new-alarms>X<item><dAlarmFormat>timer</dAlarmFormat></item>Y<item><dAlarmFormat>timer"
      "</dAlarmFormat><mEnabled>True</mEnabled></item></new-alarms>";
  // The same, but the second alarm rings ten minutes after now's minute, the 33rd of the hour.
  const std::string offset_alarms =
      "<iRingOffset>10</iRingOffset><new-alarms><item><dAlarmFormat>timer</dAlarmFormat></item>"
      "<item><dAlarmFormat>hourly</dAlarmFormat><dHourlyMinute>43</dHourlyMinute><mEnabled>True"
      "</mEnabled></item></new-alarms>";
  // The preferences file ("/": a folder in its place), what the Applications folder holds ('d':
  // a folder named Tolvane.app, 'f': a file so named), and the one message logged (nullptr:
  // Tolvane was launched). With no Tolvane to find, a search made out of turn would change it.
  const std::tuple<const char*, std::string, char, const char*> rows[] = {
      {"no file", "", ' ', kNoPreferencesMessage},
      {"an unreadable file", "/", ' ', kUnreadablePreferencesMessage},
      {"no alarms and no Tolvane", "<settings/>", ' ', kNoApplicationMessage},
      {"no alarms and a file named like Tolvane", "<settings/>", 'f', kNoApplicationMessage},
      {"no alarms, a saved plain file passed over for Tolvane found by the search",
       saved + "Notes.app</LastApplicationLocation></settings>", 'd', kNoAlarmsMessage},
      {"alarms outside the settings", alarms + settings + "</settings>", ' ', kNoAlarmsMessage},
      {"a ringing alarm at the saved location", settings + alarms + "</settings>", ' ', nullptr},
      {"an alarm ringing by the ring offset", settings + offset_alarms + "</settings>", ' ',
       nullptr}};
  for (const auto& [what, preferences, tolvane, message] : rows) {
    TempFolder row;
    FakeEnv env;
    env.now = kNow;
    env.preferences_folder = row.path;
    env.applications_folder = row.path;
    if (tolvane == 'd') fs::create_directory(row / "Tolvane.app");
    if (tolvane == 'f') std::ofstream{row / "Tolvane.app"};
    const std::string file = row / "com.velmora.Tolvane.xml";
    if (preferences == "/") fs::create_directory(file);
    if (preferences != "/" && !preferences.empty()) std::ofstream(file) << preferences;
    App app;
    const auto run = [&] { app.Run({"--ignored", "-x"}); };
    EXPECT_EQ(Ending(run), message ? "returned" : "exit 0") << what;
    EXPECT_EQ(env.log, message ? Lines{"1007 " + std::string(message)} : Lines{}) << what;
    EXPECT_EQ(env.commands, message ? Lines{} : Lines{launch}) << what;
    if (message) continue;
    // The blocks were loaded in file order, and the first pass came before any wait.
    EXPECT_EQ(std::tuple(app.alarmArray.UBound(), app.alarmArray.Get(0)->mEnabled, env.now),
              std::tuple(1, false, kNow));
  }
  GlobalMethods::iRingOffset = 0;
}

}  // namespace
}  // namespace quellmark
