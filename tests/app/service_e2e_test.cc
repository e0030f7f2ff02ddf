// End-to-end runs of the quellmark binary, a sandbox each: its four messages, launching Tolvane,
// watching without launching, and the signals that end it.

#include "app/service_sandbox.h"

namespace quellmark::e2e {
namespace {

TEST(ServiceEndToEndTest, EndsWithItsOneLineInTheOrderOfChecksOrOneLaunchAndStatus0) {
  if (geteuid() == 0 && !NobodyReachesSandboxes()) GTEST_SKIP() << kNobodyCannotReach;
  const std::string minute_ago = LastLaunch(std::time(nullptr) - 60);
  RunAll(
      {{"no preferences file", [](Sandbox&) {}, kNoFile},
       {"a folder", [](Sandbox& s) { fs::create_directory(s.Prefs()); }, kUnreadable},
       {"a named pipe", [](Sandbox& s) { mkfifo(s.Prefs().c_str(), 0600); }, kUnreadable},
       {"a link to /dev/zero", [](Sandbox& s) { fs::create_symlink("/dev/zero", s.Prefs()); },
        kUnreadable},
       {"a file the service's user may not read: nobody, when the test runs as root",
        [](Sandbox& s) {
          s.Save(Timer(0, true));
          fs::permissions(s.Prefs(), fs::perms::none);
          if (geteuid() == 0) s.RunAsNobody();
        },
        kUnreadable},
       {"no saved location and no alarms", [](Sandbox& s) { s.WritePrefs(File(Alarms(""))); },
        kNoTolvane},
       {"an empty alarm list and an alarm outside it",
        [](Sandbox& s) { s.Save("", Timer(0, true)); }, kNoAlarms},
       {"a timer of one second, run with arguments of every kind",
        [](Sandbox& s) { s.Save(Timer(1, true)); }, "", kBundleName,
        Args{"--help", "-x", "", "stop", "$(touch pwned)", "com.velmora.Tolvane.xml"}},
       {"a disabled ringing timer before two enabled ones, Tolvane last launched a minute ago",
        [&](Sandbox& s) { s.Save(Timer(0, false) + Timer(0, true) + Timer(0, true), minute_ago); },
        "", kBundleName}},
      milliseconds(5000));
}

TEST(ServiceEndToEndTest, KeepsWatchingWithoutOpeningTolvaneTillTermOrIntEndsItAtOnce) {
  // The runs must be judged within the minute in which they start.
  if (std::time(nullptr) % 60 >= 55) sleep_for(std::chrono::seconds(6));
  const int64_t now = std::time(nullptr);
  Sandbox sandboxes[2];
  sandboxes[0].Save(Timer(0, false));  // a disabled timer that has run out
  // A timer that has run out, with Tolvane launched at the start of this minute.
  sandboxes[1].Save(Timer(0, true), LastLaunch(now - now % 60));
  for (Sandbox& s : sandboxes) s.Start();
  sleep_for(milliseconds(2500));
  for (const int signal_number : {SIGTERM, SIGINT}) {
    SCOPED_TRACE(signal_number);
    Sandbox& s = sandboxes[signal_number == SIGTERM ? 0 : 1];
    ASSERT_EQ(Watching(s), "watching");
    const auto before = s.Snapshot();
    const auto sent = steady_clock::now();
    ASSERT_EQ(kill(s.pid, signal_number), 0);
    const Outcome outcome = s.Finish(milliseconds(5000));
    EXPECT_LT(steady_clock::now() - sent, milliseconds(1000));
    EXPECT_TRUE(outcome.status == 128 + signal_number || outcome.status == 0) << outcome.status;
    EXPECT_EQ(std::tuple(outcome.err, outcome.opened), std::tuple("", ""));
    EXPECT_EQ(s.Snapshot(), before);
    // No process works in the sandbox: nothing the service started is left. grep shows any.
    EXPECT_NE(std::system(("ls -l /proc/*/cwd 2>&- | grep -F " + s.root.string()).c_str()), 0);
  }
}

}  // namespace
}  // namespace quellmark::e2e
