// End-to-end tests of the quellmark binary. Each run gets a sandbox of its own (home, preferences
// folder, a stand-in `open` first on PATH) and is judged only by what a user could see: the exit
// status, the text on stderr, and the arguments `open` was called with.

#include "app/service_sandbox.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace quellmark::e2e {
namespace {

TEST(ServiceEndToEndTest, EachMissingInputEndsWithItsOneLineAndStatus0InTheOrderOfChecks) {
  const std::string no_file =
      "Quellmark quit because it could not find the Tolvane preferences file.";
  const std::string unreadable =
      "Quellmark quit because it could not open the Tolvane preferences file for reading.";
  const std::string no_tolvane =
      "Quellmark quit because it could not find the Tolvane application.";
  const std::string no_alarms =
      "Quellmark quit because no alarms were found in the Tolvane preferences file.";
  const std::string one_alarm = Alarms(Timer(0, true));
  const std::tuple<const char*, std::function<void(Sandbox&)>, std::string> rows[] = {
      {"no preferences file", [](Sandbox&) {}, no_file},
      {"a folder in the file's place", [](Sandbox& s) { fs::create_directory(s.Prefs()); },
       unreadable},
      {"a named pipe in the file's place", [](Sandbox& s) { mkfifo(s.Prefs().c_str(), 0600); },
       unreadable},
      {"no saved location and no alarms", [](Sandbox& s) { s.WritePrefs(File(Alarms(""))); },
       no_tolvane},
      {"a saved location naming a plain file, and an alarm",
       [&](Sandbox& s) {
         std::ofstream(s.root / "Tolvane.app") << "not a bundle";
         s.WritePrefs(File(Location(s.root / "Tolvane.app") + one_alarm));
       },
       no_tolvane},
      {"Tolvane found and an empty alarm list",
       [](Sandbox& s) { s.WritePrefs(File(Location(s.Bundle()) + Alarms(""))); }, no_alarms},
      {"Tolvane found and an alarm outside the alarm list",
       [](Sandbox& s) { s.WritePrefs(File(Location(s.Bundle()) + Timer(0, true))); }, no_alarms},
      {"Tolvane found and an alarm list outside the settings",
       [&](Sandbox& s) { s.WritePrefs(File(Location(s.Bundle())) + one_alarm); }, no_alarms}};
  for (const auto& [what, prepare, message] : rows) {
    Sandbox sandbox;
    prepare(sandbox);
    sandbox.Start();
    const Outcome outcome = sandbox.Finish(milliseconds(5000));
    EXPECT_FALSE(outcome.still_running) << what;
    EXPECT_EQ(outcome.status, 0) << what;
    EXPECT_EQ(outcome.err, message + "\n") << what;
    EXPECT_EQ(outcome.open_calls, 0U) << what;
  }
}

// A run with Tolvane's bundle at the sandbox's awkward path, these alarms and further settings.
struct Case {
  const char* what;
  std::string alarms, more;
  Args args = {};
};

// Starts every run at once, then checks each once it has ended or has run for budget.
void RunAll(const std::vector<Case>& runs, milliseconds budget,
            const std::function<void(const Case&, const fs::path&, const Outcome&)>& check) {
  std::vector<Sandbox> sandboxes(runs.size());
  for (size_t i = 0; i < runs.size(); ++i) {
    sandboxes[i].WritePrefs(
        File(Location(sandboxes[i].Bundle()) + Alarms(runs[i].alarms) + runs[i].more));
    sandboxes[i].Start(runs[i].args);
  }
  for (size_t i = 0; i < runs.size(); ++i) {
    check(runs[i], sandboxes[i].Bundle(), sandboxes[i].Finish(budget));
  }
}

TEST(ServiceEndToEndTest, ARingingEnabledAlarmOpensTolvaneOnceWithItsPathAsOneArgument) {
  const std::string minute_ago = Tag("LastLaunch", std::to_string(NowSince1904() - 60));
  RunAll({{"a timer of one second", Timer(1, true), ""},
          {"the same timer, run with arguments of every kind", Timer(1, true), "",
           Args{"--help", "-x", "", "stop", "$(touch pwned)", "com.velmora.Tolvane.xml"}},
          {"two timers that ring in the same pass", Timer(0, true) + Timer(0, true), ""},
          {"a disabled ringing timer before an enabled one", Timer(0, false) + Timer(0, true), ""},
          {"a timer, with Tolvane last launched a minute ago", Timer(0, true), minute_ago}},
         milliseconds(5000), [](const Case& run, const fs::path& bundle, const Outcome& outcome) {
           EXPECT_FALSE(outcome.still_running) << run.what;
           EXPECT_EQ(outcome.status, 0) << run.what;
           EXPECT_EQ(outcome.err, "") << run.what;
           EXPECT_EQ(outcome.open_calls, 1U) << run.what;
           EXPECT_EQ(outcome.open_args, Args({"-a", bundle.string()})) << run.what;
           EXPECT_FALSE(outcome.pwned) << run.what;
         });
}

TEST(ServiceEndToEndTest, KeepsWatchingWithoutOpeningTolvane) {
  // The runs must end within the minute in which they start.
  if (std::time(nullptr) % 60 >= 55) std::this_thread::sleep_for(std::chrono::seconds(6));
  const int64_t now = NowSince1904();
  RunAll({{"a disabled timer that has run out", Timer(0, false), ""},
          {"an enabled timer due in an hour", Timer(3600, true), ""},
          {"a timer that has run out, Tolvane launched this second", Timer(0, true),
           Tag("LastLaunch", std::to_string(now))},
          {"a timer that has run out, Tolvane launched at the start of this minute", Timer(0, true),
           Tag("LastLaunch", std::to_string(now - now % 60))}},
         milliseconds(2500), [](const Case& run, const fs::path&, const Outcome& outcome) {
           EXPECT_TRUE(outcome.still_running) << run.what << ", exit status " << outcome.status;
           EXPECT_EQ(outcome.err, "") << run.what;
           EXPECT_EQ(outcome.open_calls, 0U) << run.what;
         });
}

}  // namespace
}  // namespace quellmark::e2e
