// End-to-end runs of the quellmark binary, a sandbox each: its four messages, launching Tolvane,
// watching without launching and the signals that end it; then hostile input: huge preferences
// files, Applications trees with locked and very deep folders and names that are shell code, and
// proof that nothing is written. A run that needs a tree of its own at /Applications (a private
// mount namespace) or another user needs root; without it it is skipped.

#include "app/service_sandbox.h"

namespace quellmark::e2e {
namespace {

// The unit tests hold the order of the checks, a folder in the file's place and which alarm
// launches; here, what only the binary shows: the messages' text, files that cannot be read, and
// a launch through the shell of a path made of shell code.
TEST(ServiceEndToEndTest, EndsWithItsOneLineOrOneLaunchAndStatus0) {
  if (geteuid() == 0 && !NobodyReachesSandboxes()) GTEST_SKIP() << kNobodyCannotReach;
  RunAll({{"no preferences file", [](Sandbox&) {}, kNoFile},
          {"no saved location, and no Tolvane in the Applications folder",
           [](Sandbox& s) { s.WritePrefs(File(Alarms(Timer(0, true)))); }, kNoTolvane},
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

TEST(HostilePreferencesTest, A200MegabyteFileIsReadInBoundedMemoryAndTime) {
  static const char kNearMisses[] = "<item <ITEM/> </item> <ite m>\0\xff<<item ";
  std::string near_misses;  // a mebibyte, written 200 times
  while (near_misses.size() < (1 << 20)) near_misses.append(kNearMisses, sizeof kNearMisses - 1);
  const Outcome o =
      RunAll({{"near misses of the item tag in the alarm list, the saved location after it",
               [&](Sandbox& s) {
                 std::ofstream out(s.Prefs(), std::ios::binary);
                 out << "<settings><new-alarms>";
                 for (int i = 0; i < 200; ++i) out << near_misses;
                 out << "</new-alarms>" << Location(s.Bundle()) << "</settings>";
               },
               kNoAlarms}},
             milliseconds(20000))[0];
  // At most 2.2 times the file; a sanitizer's shadow memory would make the bound meaningless.
  const bool sanitized = std::system("grep -qa __asan_init " QUELLMARK_BINARY) == 0;
  EXPECT_TRUE(sanitized || o.max_rss_kb * 1024 * 5 <= 11L * (200 << 20)) << o.max_rss_kb;
}

// A run as nobody over a tree of these folders, then of what the shell command makes in it.
auto Tree(const Args& folders, const std::string& command = "true") {
  return [folders, command](Sandbox& s) {
    s.WritePrefs(File(Alarms(Timer(0, true))));
    const fs::path tree = s.UseTree();
    s.RunAsNobody();
    for (const auto& folder : folders) fs::create_directories(tree / folder);
    ASSERT_EQ(std::system(("cd " + tree.string() + " && " + command).c_str()), 0);
  };
}

TEST(HostileApplicationsTreeTest, SearchSurvivesLocksDepthShellCodeAndBreadth) {
  if (!TreesAvailable()) GTEST_SKIP() << "needs root and mount namespaces";
  if (!NobodyReachesSandboxes()) GTEST_SKIP() << kNobodyCannotReach;
  std::string deep;  // longer than PATH_MAX: mkdir makes it a folder at a time
  for (int i = 0; i < 25; ++i) deep += std::string(200, 'd') + "/";
  RunAll(
      {{"a folder nobody may list holds a bundle; a readable one lies deeper",
        Tree({"a/Tolvane.app", "b/c/Tolvane.app"}, "chmod 000 a"), "",
        "/Applications/b/c/Tolvane.app"},
       {"a folder nobody may enter shows a bundle's name first, which ends the search",
        Tree({"a/Tolvane.app", "b/c/Tolvane.app"}, "chmod 004 a"), kNoTolvane},
       {"a chain of folders longer than PATH_MAX with the bundle at its bottom",
        Tree({}, "mkdir -p " + deep + "Tolvane.app"), "", "/Applications/" + deep + "Tolvane.app"},
       {"names that are not UTF-8: a stray byte, and a character cut just before \".app\"",
        Tree({"\xc3(/Tolvane\xff\xe2\x82.app"}), "", "/Applications/\xc3(/Tolvane\xff\xe2\x82.app"},
       {"a folder and a bundle named with shell code", Tree({kShellCode + "/" + kBundleName}), "",
        "/Applications/" + kShellCode + "/" + kBundleName},
       {"100,000 entries named like Tolvane, the bundle in the folder after them",
        Tree({"big", "next/Tolvane.app"},
             "cd big && seq -f 'Tolvane %g' 0 99999 | xargs -d '\\n' touch"),
        "", "/Applications/next/Tolvane.app"}},
      milliseconds(5000));  // the bound for the folder of 100,000 entries
}

TEST(HostileWritesNothingTest, ALaunchOverAReadOnlySandboxChangesNothingAndOpensNothingToWrite) {
  if (std::system("command -v strace >/dev/null") != 0) GTEST_SKIP() << "needs strace";
  if (geteuid() == 0 && !NobodyReachesSandboxes()) GTEST_SKIP() << kNobodyCannotReach;
  Sandbox s;
  // Tolvane is found by a search when the tree can be /Applications, else by its saved location.
  const bool search = TreesAvailable();
  const fs::path tolvane = (search ? s.UseTree() : s.root / "tree") / "Utilities/Tolvane.app";
  fs::create_directories(tolvane);
  std::ofstream(s.root / "home/notes.txt") << "notes";
  s.WritePrefs(File((search ? "" : Location(tolvane)) + Alarms(Timer(0, true))));
  if (geteuid() == 0) s.RunAsNobody();
  // Without -f: the service alone, not the shell and `open` it starts. The leak checker cannot
  // run under a tracer.
  s.wrapper +=
      "env ASAN_OPTIONS=detect_leaks=0 strace -o trace -e trace=open,openat,openat2,creat,truncate,"
      "ftruncate,rename,renameat,renameat2,unlink,unlinkat,mkdir,mkdirat,link,linkat,symlink,"
      "symlinkat,chmod,fchmod,fchmodat ";
  const std::string chmod = "cd " + s.root.string() + " && chmod -R ";
  ASSERT_EQ(std::system((chmod + "a-w home config tree").c_str()), 0);
  const auto before = s.Snapshot();
  ASSERT_NE(before.find("./home/notes.txt f 444 5 "), std::string::npos) << before;
  s.Start();
  Expect(s.Finish(milliseconds(10000)), "",
         search ? "/Applications/Utilities/Tolvane.app" : tolvane.string());
  EXPECT_EQ(s.Snapshot(), before);
  ASSERT_EQ(std::system((chmod + "u+w home config tree").c_str()), 0);
  // Of the calls traced, only opens without a flag that writes: grep finds no other line (status
  // 1) and shows any. The trace saw the service at work, opening its preferences file once.
  const std::string grep = "cd " + s.root.string() + " && grep ";
  EXPECT_EQ(
      Output(grep + "-Pv '^open(at2?)?\\((?!.*O_(WRONLY|RDWR|CREAT|TRUNC))|^(---|\\+\\+\\+)' " +
             "trace; echo $?"),
      "1\n");
  EXPECT_EQ(Output(grep + "-c " + s.Prefs().string() + " trace"), "1\n");
}

}  // namespace
}  // namespace quellmark::e2e
