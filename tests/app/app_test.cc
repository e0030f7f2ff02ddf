#include "app/app.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <tuple>
#include <type_traits>
#include <vector>

#include "fake_env.h"
#include "test_support.h"

namespace quellmark {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

constexpr int64_t kNow = 3'799'999'980 + 30;  // half a minute into a minute

Ref<Date> At(int64_t seconds) {
  return Ref<Date>::New(Date::FromTotalSeconds(static_cast<double>(seconds)));
}

// A timer started a minute ago: 'E' enabled and due, 'd' disabled and due, 'w' enabled and due
// only in a quarter of an hour.
Ref<AlarmItem> Timer(char kind) {
  const Ref<AlarmItem> alarm = Ref<AlarmItem>::New();
  alarm->dAlarmFormat = "timer", alarm->mLastRung = kNow - 60, alarm->mEnabled = kind != 'd';
  alarm->dTimerMinute = kind == 'w' ? 16 : 0;
  return alarm;
}

// How a call ended: "returned" (and the value, if any), or "exit" and the process's code.
template <typename Body>
std::string Ending(Body body) {
  try {
    if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
      body();
      return "returned";
    } else {
      return "returned " + std::to_string(body());
    }
  } catch (const FakeExit& exit) {
    return "exit " + std::to_string(exit.code);
  }
}

TEST(CheckAlarmsTest, TheFirstEnabledRingingAlarmLaunchesTolvaneOnceAndEndsTheProcess) {
  TempFolder dir;
  fs::create_directories(dir / "My Apps/Tolvane.app");
  const std::string launch = "open -a " + dir / "My\\ Apps/Tolvane.app";
  // Alarms, Tolvane's name in My Apps (nullptr: nil), Tolvane's last launch from now, and
  // whether the pass launches.
  const std::tuple<const char*, const char*, const char*, int64_t, bool> rows[] = {
      {"an enabled ringing alarm launches", "E", "Tolvane.app", -3600, true},
      {"a disabled ringing alarm does not", "d", "Tolvane.app", -3600, false},
      {"an alarm not yet due does not", "w", "Tolvane.app", -3600, false},
      {"a later enabled ringing alarm does", "dwE", "Tolvane.app", -3600, true},
      {"two ringing alarms launch once", "EE", "Tolvane.app", -3600, true},
      {"no alarm, no launch", "", "Tolvane.app", -3600, false},
      {"a missing Tolvane is passed over", "E", "Gone.app", -3600, false},
      {"a nil Tolvane is passed over", "E", nullptr, -3600, false},
      {"a launch earlier in this minute holds it back", "E", "Tolvane.app", -30, false},
      {"so does one later in this minute", "E", "Tolvane.app", 29, false},
      {"a launch the second before this minute does not", "E", "Tolvane.app", -31, true},
      {"nor does one at this time the day before", "E", "Tolvane.app", -86400, true}};
  for (const auto& [what, alarms, tolvane, last_launch, launches] : rows) {
    FakeEnv env;
    env.now = kNow;
    App app;
    for (const char* kind = alarms; *kind != '\0'; ++kind) app.alarmArray.Append(Timer(*kind));
    if (tolvane) app.FTolvaneItem = GetFolderItem(String(dir / "My Apps/" + tolvane), 0);
    app.dLastLaunch = At(kNow + last_launch);
    EXPECT_EQ(Ending([&] { app.checkAlarms(); }), launches ? "exit 0" : "returned") << what;
    EXPECT_EQ(env.commands, launches ? Lines{launch} : Lines{}) << what;
  }
}

TEST(CheckAlarmsTest, APassThatCouldNotLaunchLeavesTheNextOneFreeTo) {
  TempFolder dir;
  FakeEnv env;
  env.now = kNow;
  App app;
  app.alarmArray.Append(Timer('E'));
  app.FTolvaneItem = GetFolderItem(String(dir / "Tolvane.app"), 0);
  app.dLastLaunch = At(kNow);
  app.checkAlarms();  // Tolvane is missing
  fs::create_directory(dir / "Tolvane.app");
  app.checkAlarms();  // Tolvane was launched in this minute
  env.now += 30;
  EXPECT_EQ(Ending([&] { app.checkAlarms(); }), "exit 0");
  EXPECT_EQ(env.commands.size(), 1u);
}

// Each search of the Applications folder starts by asking where it is.
struct SearchCountingEnv : FakeEnv {
  std::string ApplicationsFolderPath() override { return ++searches, applications_folder; }
  int searches = 0;
};

TEST(AppRunTest, ChecksPreferencesThenTolvaneThenAlarmsAndLogsOnlyTheFirstFailure) {
  TempFolder dir;
  fs::create_directories(dir / "Saved Apps/Tolvane.app");
  const std::string saved = "<LastApplicationLocation>" + dir / "Saved%20Apps/Tolvane.app";
  const std::string settings = "<settings>" + saved + "</LastApplicationLocation>";
  const std::string launch = "open -a " + dir / "Saved\\ Apps/Tolvane.app";
  const std::string alarms =
      "<new-alarms>X<item><dAlarmFormat>timer</dAlarmFormat></item>Y<item><dAlarmFormat>timer"
      "</dAlarmFormat><mEnabled>True</mEnabled></item></new-alarms>";
  // The preferences file ("/": a folder in its place), what the Applications folder holds, the
  // one message logged (nullptr: Tolvane was launched) and the searches made.
  const std::tuple<const char*, std::string, const char*, const char*, int> rows[] = {
      {"no file", "", "Tolvane.app/", kNoPreferencesMessage, 0},
      {"an unreadable file", "/", "Tolvane.app/", kUnreadablePreferencesMessage, 0},
      {"no alarms and no Tolvane", "<settings/>", "", kNoApplicationMessage, 1},
      {"no alarms and a file named like Tolvane", "<settings/>", "Tolvane.app",
       kNoApplicationMessage, 1},
      {"no alarms, Tolvane found by the search", "<settings/>", "Tolvane.app/", kNoAlarmsMessage,
       1},
      {"alarms only outside the settings", alarms + settings + "</settings>", "", kNoAlarmsMessage,
       0},
      {"a ringing alarm", settings + alarms + "</settings>", "", nullptr, 0}};
  for (const auto& [what, preferences, applications, message, searches] : rows) {
    TempFolder row;
    SearchCountingEnv env;
    env.now = kNow;
    env.preferences_folder = row.path;
    env.applications_folder = row / "Applications";
    const fs::path held = row / "Applications/" + applications;  // "x/" a folder, "x" a file
    fs::create_directories(held.parent_path());
    if (held.has_filename()) std::ofstream{held};
    const std::string file = row / "com.velmora.Tolvane.xml";
    if (preferences == "/") fs::create_directory(file);
    if (preferences != "/" && !preferences.empty()) std::ofstream(file) << preferences;
    App app;
    const std::string ending = Ending([&] { return app.Run({"--ignored", "-x"}); });
    EXPECT_EQ(ending, message ? "returned 0" : "exit 0") << what;
    EXPECT_EQ(env.log, message ? Lines{"1007 " + std::string(message)} : Lines{}) << what;
    EXPECT_EQ(env.commands, message ? Lines{} : Lines{launch}) << what;
    EXPECT_EQ(env.searches, searches) << what;
    if (message) continue;
    // The blocks were loaded in file order, and the first pass came before any wait.
    EXPECT_EQ(std::tuple(app.alarmArray.UBound(), app.alarmArray.Get(0)->mEnabled, env.now),
              std::tuple(1, false, kNow));
  }
}

}  // namespace
}  // namespace quellmark
