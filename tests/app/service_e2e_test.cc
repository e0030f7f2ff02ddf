// End-to-end runs of the quellmark binary, a sandbox each: its four messages, launching Tolvane,
// watching without launching, and the signals that end it.

#include "app/service_sandbox.h"

namespace quellmark::e2e {
namespace {

// The unit tests hold the order of the checks, a folder in the file's place and which alarm
// launches; here, what only the binary shows: the messages' text, files that cannot be read, and
// a launch through the shell of a path made of shell code.
TEST(ServiceEndToEndTest, EndsWithItsOneLineOrOneLaunchAndStatus0) {
  if (geteuid() == 0 && !NobodyReachesSandboxes()) GTEST_SKIP() << kNobodyCannotReach;
  RunAll({{"no preferences file", [](Sandbox&) {}, kNoFile},
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
          {"a timer of one second", [](Sandbox& s) { s.Save(Timer(1, true)); }, "", kBundleName}},
         milliseconds(5000));
}

// Killed at the deadline, a run ends with status -1: so each ends within a second of its signal.
TEST(ServiceEndToEndTest, KeepsWatchingADisabledAlarmTillTermOrIntEndsItAtOnce) {
  Sandbox sandboxes[2];
  for (Sandbox& s : sandboxes) {
    s.Save(Timer(0, false));
    s.Start();
  }
  sleep_for(milliseconds(2500));
  for (const int signal_number : {SIGTERM, SIGINT}) {
    SCOPED_TRACE(signal_number);
    Sandbox& s = sandboxes[signal_number == SIGTERM ? 0 : 1];
    ASSERT_EQ(Watching(s), "watching");
    ASSERT_EQ(kill(s.pid, signal_number), 0);
    const Outcome outcome = s.Finish(milliseconds(3500));
    EXPECT_TRUE(outcome.status == 128 + signal_number || outcome.status == 0) << outcome.status;
    EXPECT_EQ(std::tuple(outcome.err, outcome.opened), std::tuple("", ""));
    // No process works in the sandbox: nothing the service started is left. grep shows any.
    EXPECT_NE(std::system(("ls -l /proc/*/cwd 2>&- | grep -F " + s.root.string()).c_str()), 0);
  }
}

}  // namespace
}  // namespace quellmark::e2e
