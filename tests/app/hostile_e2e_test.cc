// End-to-end runs of the quellmark binary on hostile input: huge and strange preferences files,
// Applications trees with link loops, locked and very deep folders, names that are shell code,
// proof that nothing is written, and signals. A run that needs a tree of its own at
// /Applications (a private mount namespace) or another user needs root; without it it is skipped.

#include "app/service_sandbox.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <string>
#include <tuple>
#include <vector>

namespace quellmark::e2e {
namespace {

const std::string kUnreadable =
    "Quellmark quit because it could not open the Tolvane preferences file for reading.\n";
const std::string kNoTolvane =
    "Quellmark quit because it could not find the Tolvane application.\n";
const std::string kNoAlarms =
    "Quellmark quit because no alarms were found in the Tolvane preferences file.\n";

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
constexpr bool kSanitized = __has_feature(address_sanitizer);
#else
constexpr bool kSanitized = false;
#endif

std::string Launching() { return File(Alarms(Timer(0, true))); }

// One run: how its sandbox is prepared, and what it must come to.
struct Row {
  std::string what;
  std::function<void(Sandbox&)> prepare;
  std::function<void(const Sandbox&, const Outcome&)> check;
};

// Prepares every row's sandbox, starts them all, then checks each once it ended or ran for budget.
// The sandboxes are kept in memory when the system offers it: a hundred thousand files or a few
// hundred megabytes are then made in a moment, whatever the disk is doing.
void RunAll(const std::vector<Row>& rows, milliseconds budget) {
  const fs::path parent = fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
  std::deque<Sandbox> sandboxes;
  for (const Row& row : rows) {
    row.prepare(sandboxes.emplace_back(parent));
    sandboxes.back().Start();
  }
  for (size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i].what);
    rows[i].check(sandboxes[i], sandboxes[i].Finish(budget));
  }
}

// Still running?, exit status, stderr and calls of `open`.
auto Ending(const Outcome& o) { return std::tuple(o.still_running, o.status, o.err, o.open_calls); }

void ExpectLaunch(const Outcome& outcome, const std::string& path) {
  EXPECT_EQ(Ending(outcome), std::tuple(false, 0, "", 1U));
  EXPECT_EQ(outcome.open_args, Args({"-a", path}));
  EXPECT_FALSE(outcome.pwned);
}

auto Quits(const std::string& message) {
  return [message](const Sandbox&, const Outcome& outcome) {
    EXPECT_EQ(Ending(outcome), std::tuple(false, 0, message, 0U));
  };
}

auto LaunchesInTree(const std::string& path) {
  return [path](const Sandbox&, const Outcome& o) { ExpectLaunch(o, "/Applications/" + path); };
}

// The file written in pieces of a mebibyte: the test itself never holds the whole.
void WriteInPieces(const fs::path& file, const std::string& head,
                   const std::function<std::string()>& piece, int pieces, const std::string& tail) {
  std::ofstream out(file, std::ios::binary);
  out << head;
  for (int i = 0; i < pieces; ++i) out << piece();
  out << tail;
}

std::string NoisePiece() {
  static uint64_t state = 0x9E3779B97F4A7C15U;  // xorshift64: the same noise on every run
  std::string piece(1 << 20, '\0');
  for (char& c : piece) {
    state ^= state << 13, state ^= state >> 7, state ^= state << 17;
    c = static_cast<char>(state >> 56);
  }
  return piece;
}

TEST(HostilePreferencesTest, A200MegabyteFileIsReadInBoundedMemoryAndTime) {
  const ApplicationsMountPoint mount_point;
  // Near misses of the item tag, NULs and stray bytes, but no item block.
  static const char kNearMisses[] = "<item <ITEM/> </item> <ite m>\0\xff<<item ";
  std::string near_misses;
  while (near_misses.size() < (1 << 20)) near_misses.append(kNearMisses, sizeof kNearMisses - 1);
  near_misses.resize(1 << 20);
  const auto bounded = [](const std::string& message) {
    return [message](const Sandbox& s, const Outcome& outcome) {
      Quits(message)(s, outcome);
      EXPECT_LT(outcome.ran, milliseconds(20000));
      if (!kSanitized) {  // the sanitizer's shadow memory makes the bound meaningless
        EXPECT_LE(static_cast<double>(outcome.max_rss_kb) * 1024,
                  2.2 * static_cast<double>(fs::file_size(s.Prefs())));
      }
    };
  };
  RunAll({{"a huge list without an item block, the saved location after it",
           [&](Sandbox& s) {
             WriteInPieces(
                 s.Prefs(), "<settings><new-alarms>", [&] { return near_misses; }, 200,
                 "</new-alarms>" + Location(s.Bundle()) + "</settings>");
           },
           bounded(kNoAlarms)},
          {"noise throughout",
           [](Sandbox& s) {
             if (TreesAvailable()) s.UseTree();
             WriteInPieces(s.Prefs(), "", NoisePiece, 200, "");
           },
           bounded(kNoTolvane)}},
         milliseconds(30000));
}

TEST(HostilePreferencesTest, WhatCannotBeReadAsTextEndsWithItsMessageAtOnce) {
  const ApplicationsMountPoint mount_point;
  int writer = -1;
  RunAll({{"a little noise",
           [](Sandbox& s) {
             if (TreesAvailable()) s.UseTree();
             WriteInPieces(s.Prefs(), "", NoisePiece, 1, "");
           },
           Quits(kNoTolvane)},
          {"a named pipe that a writer holds open and never writes to",
           [&](Sandbox& s) {
             mkfifo(s.Prefs().c_str(), 0600);
             writer = open(s.Prefs().c_str(), O_RDWR | O_CLOEXEC);
           },
           Quits(kUnreadable)},
          {"a folder", [](Sandbox& s) { fs::create_directory(s.Prefs()); }, Quits(kUnreadable)},
          {"a link to /dev/zero", [](Sandbox& s) { fs::create_symlink("/dev/zero", s.Prefs()); },
           Quits(kUnreadable)},
          {"a link to itself", [](Sandbox& s) { fs::create_symlink(s.Prefs(), s.Prefs()); },
           Quits(kUnreadable)}},
         milliseconds(5000));
  close(writer);
}

TEST(HostilePreferencesTest, AFileTheUserMayNotReadEndsWithMessage2) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to run the service as another user";
  RunAll({{"the file readable by its owner, root, only",
           [](Sandbox& s) {
             s.WritePrefs(File(Location(s.Bundle()) + Alarms(Timer(0, true))));
             fs::permissions(s.Prefs(), fs::perms::owner_read);
             s.RunAsNobody();
           },
           Quits(kUnreadable)}},
         milliseconds(5000));
}

// A tree for a run as nobody, with these folders and whatever more builds.
auto Tree(
    const std::vector<std::string>& folders,
    const std::function<void(const fs::path&)>& more = [](const fs::path&) {}) {
  return [folders, more](Sandbox& s) {
    s.WritePrefs(Launching());
    const fs::path tree = s.UseTree();
    s.RunAsNobody();
    for (const auto& folder : folders) fs::create_directories(tree / folder);
    more(tree);
  };
}

TEST(HostileApplicationsTreeTest, SearchSurvivesLoopsLocksDepthAndBreadth) {
  if (!TreesAvailable()) GTEST_SKIP() << "needs root and mount namespaces";
  const ApplicationsMountPoint mount_point;
  const std::string deep(200, 'd');
  std::string deep_path;
  for (int i = 0; i < 25; ++i) deep_path += deep + "/";
  const auto locked = [](fs::perms perms) {
    return [perms](const fs::path& tree) { fs::permissions(tree / "a", perms); };
  };
  RunAll({{"links to the folder above, to /, to themselves and to a bundle outside come first",
           Tree({"a/b/c/Tolvane.app"},
                [](const fs::path& t) {
                  fs::create_directories(t.parent_path() / "outside/Tolvane.app");
                  fs::create_directory_symlink(t.parent_path() / "outside", t / "0outside");
                  fs::create_directory_symlink("..", t / "0up");
                  fs::create_directory_symlink("/", t / "0root");
                  fs::create_symlink("0self", t / "0self");
                  fs::create_directory_symlink("..", t / "a/0back");
                  fs::create_directory_symlink("../..", t / "a/b/0loop");
                }),
           LaunchesInTree("a/b/c/Tolvane.app")},
          {"a folder nobody may list holds a bundle; a readable one lies deeper",
           Tree({"a/Tolvane.app", "b/c/Tolvane.app"}, locked(fs::perms::none)),
           LaunchesInTree("b/c/Tolvane.app")},
          {"a folder nobody may enter shows a bundle's name first, which ends the search",
           Tree({"a/Tolvane.app", "b/c/Tolvane.app"}, locked(fs::perms::others_read)),
           Quits(kNoTolvane)},
          {"100,000 entries named like Tolvane, the bundle in the folder after them",
           Tree({"big", "next/Tolvane.app"},
                [](const fs::path& t) {
                  const int big = open((t / "big").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
                  for (int i = 0; i < 100000; ++i) {
                    const std::string name = "Tolvane " + std::to_string(i);
                    close(openat(big, name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
                  }
                  close(big);
                }),
           [](const Sandbox& s, const Outcome& outcome) {
             LaunchesInTree("next/Tolvane.app")(s, outcome);
             EXPECT_LT(outcome.ran, milliseconds(5000));
           }},
          {"names that are not UTF-8, one cut inside a character just before \".app\"",
           Tree({"\xc3(/Tolvane\xe2\x82.app"}), LaunchesInTree("\xc3(/Tolvane\xe2\x82.app")},
          {"a byte that is never UTF-8 inside the name", Tree({"Tolvane\xff.app"}),
           LaunchesInTree("Tolvane\xff.app")},
          {"a chain of folders longer than PATH_MAX with the bundle at its bottom",
           Tree({},
                [&](const fs::path& t) {  // made one step at a time: the whole path is too long
                  int folder = open(t.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
                  for (int i = 0; i < 25; ++i) {
                    mkdirat(folder, deep.c_str(), 0755);
                    const int inner = openat(folder, deep.c_str(), O_RDONLY | O_DIRECTORY);
                    close(folder);
                    folder = inner;
                  }
                  mkdirat(folder, "Tolvane.app", 0755);
                  close(folder);
                }),
           LaunchesInTree(deep_path + "Tolvane.app")}},
         milliseconds(10000));
}

TEST(HostileShellPayloadTest, SavedOrFoundPathsReachOpenByteForByteAndRunNothingElse) {
  const ApplicationsMountPoint mount_point;
  const std::pair<std::string, std::string> payloads[] = {
      {"a command substitution", "$(touch pwned)"},
      {"backquotes", "`touch pwned`"},
      {"a separator and a comment", "; touch pwned #"},
      {"quotes around a command", "' \"; touch pwned; \" '"},
      {"newlines around a command", "\ntouch pwned\n"},
      {"a redirection, a pipe and a background job", " >pwned | touch pwned & touch pwned"},
      {"leading dashes", "-a -rf --"},
      {"glob and expansion characters", "* ? [a-z] {a,b} ~ $HOME $0 \\n !!"},
      {"control and stray bytes", std::string("\t\r\x01\x7f\xff", 5)}};
  std::vector<Row> rows;
  for (const auto& [what, payload_text] : payloads) {
    const std::string payload = payload_text;
    rows.push_back({"saved: " + what,
                    [payload](Sandbox& s) {
                      fs::create_directory(s.root / payload);
                      s.WritePrefs(File(Location(s.root / payload) + Alarms(Timer(0, true))));
                    },
                    [payload](const Sandbox& s, const Outcome& outcome) {
                      ExpectLaunch(outcome, (s.root / payload).string());
                    }});
    if (!TreesAvailable()) continue;
    const std::string found = payload + "/Tolvane" + payload + ".app";
    rows.push_back({"found: " + what,
                    [found](Sandbox& s) {
                      fs::create_directories(s.UseTree() / found);
                      s.WritePrefs(Launching());
                    },
                    LaunchesInTree(found)});
  }
  RunAll(rows, milliseconds(5000));
}

// Tolvane in the sandbox's tree, found by a search when the tree can be /Applications, else
// through its saved location; the path `open` must be given.
std::string PrepareLaunch(Sandbox& s) {
  const fs::path tree = TreesAvailable() ? s.UseTree() : s.root / "tree";
  fs::create_directories(tree / "Utilities/Tolvane.app/Contents");
  std::ofstream(tree / "Utilities/Tolvane.app/Contents/Info.plist") << "<plist/>";
  std::ofstream(s.root / "home/notes.txt") << "notes";
  const std::string location = TreesAvailable() ? "" : Location(tree / "Utilities/Tolvane.app");
  s.WritePrefs(File(location + Alarms(Timer(0, true)) + Tag("iRingOffset", "15")));
  return TreesAvailable() ? "/Applications/Utilities/Tolvane.app"
                          : (tree / "Utilities/Tolvane.app").string();
}

void SetWritable(const fs::path& folder, bool writable) {
  const auto options = writable ? fs::perm_options::add : fs::perm_options::remove;
  const auto write = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_symlink()) fs::permissions(entry.path(), write, options);
  }
}

TEST(HostileWritesNothingTest, ARunThatLaunchesLeavesAReadOnlySandboxAsItWas) {
  const ApplicationsMountPoint mount_point;
  Sandbox s;
  const std::string tolvane = PrepareLaunch(s);
  if (geteuid() == 0) s.RunAsNobody();
  for (const char* folder : {"home", "config", "tree"}) SetWritable(s.root / folder, false);
  const auto before = s.Snapshot();
  s.Start();
  ExpectLaunch(s.Finish(milliseconds(5000)), tolvane);
  EXPECT_EQ(s.Snapshot(), before);
  for (const char* folder : {"home", "config", "tree"}) SetWritable(s.root / folder, true);
}

TEST(HostileWritesNothingTest, TheServiceItselfMakesNoCallThatWrites) {
  if (std::system("command -v strace >/dev/null") != 0) GTEST_SKIP() << "needs strace";
  const ApplicationsMountPoint mount_point;
  Sandbox s;
  const std::string tolvane = PrepareLaunch(s);
  // Without -f: the service alone, not the shell and `open` it starts. The shell in front only
  // finds strace on PATH, and gives way to it.
  s.wrapper = {"/bin/sh", "-c",
               "exec strace -o \"$0\" -e trace=open,openat,openat2,creat,truncate,ftruncate,"
               "rename,renameat,renameat2,unlink,unlinkat,mkdir,mkdirat,link,linkat,symlink,"
               "symlinkat,chmod,fchmod,fchmodat \"$@\"",
               (s.root / "trace").string()};
  s.more_env = {"ASAN_OPTIONS=detect_leaks=0"};  // the leak checker cannot run under a tracer
  s.Start();
  ExpectLaunch(s.Finish(milliseconds(10000)), tolvane);
  std::istringstream trace(ReadWhole(s.root / "trace"));
  size_t preferences_opens = 0;
  for (std::string line; std::getline(trace, line);) {
    if (line.starts_with("---") || line.starts_with("+++")) continue;
    const std::string call = line.substr(0, line.find('('));
    EXPECT_TRUE(call == "open" || call == "openat" || call == "openat2") << line;
    for (const char* flag : {"O_WRONLY", "O_RDWR", "O_CREAT", "O_TRUNC"}) {
      EXPECT_EQ(line.find(flag), std::string::npos) << line;
    }
    preferences_opens += line.find(s.Prefs().string()) != std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(preferences_opens, 1U);  // the trace saw the service at work
}

// Processes whose working folder lies in folder: anything the service started would.
std::vector<std::string> ProcessesIn(const fs::path& folder) {
  std::vector<std::string> found;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator("/proc", ignored)) {
    const fs::path cwd = fs::read_symlink(entry.path() / "cwd", ignored);
    if (cwd.string().starts_with(folder.string())) found.push_back(entry.path().string());
  }
  return found;
}

TEST(HostileSignalTest, TermAndIntEndAWatchingServiceAtOnceLeavingNothingBehind) {
  for (const int signal_number : {SIGTERM, SIGINT}) {
    SCOPED_TRACE(signal_number);
    Sandbox s;
    s.WritePrefs(File(Location(s.Bundle()) + Alarms(Timer(3600, true))));
    s.Start();
    std::this_thread::sleep_for(milliseconds(500));
    const auto before = s.Snapshot();
    const auto sent = steady_clock::now();
    ASSERT_EQ(kill(s.Pid(), signal_number), 0);
    const Outcome outcome = s.Finish(milliseconds(5000));
    EXPECT_LT(steady_clock::now() - sent, milliseconds(1000));
    EXPECT_FALSE(outcome.still_running);
    EXPECT_TRUE(outcome.status == 128 + signal_number || outcome.status == 0) << outcome.status;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.open_calls, 0U);
    EXPECT_EQ(ProcessesIn(s.root), std::vector<std::string>());
    EXPECT_EQ(s.Snapshot(), before);
  }
}

}  // namespace
}  // namespace quellmark::e2e
