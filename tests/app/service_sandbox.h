// A sandbox for end-to-end runs of the quellmark binary: home, preferences folder and a stand-in
// `open` first on PATH, in a fresh temporary folder. A run is judged only by what a user could
// see: the exit status, the text on stderr, and the arguments `open` was called with.

#ifndef QUELLMARK_TESTS_APP_SERVICE_SANDBOX_H_
#define QUELLMARK_TESTS_APP_SERVICE_SANDBOX_H_

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "test_support.h"

namespace quellmark::e2e {

namespace fs = std::filesystem;
using Args = std::vector<std::string>;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using std::this_thread::sleep_for;

// The service's four messages, each a line of its own on stderr.
inline std::string Quit(const std::string& why) { return "Quellmark quit because " + why + ".\n"; }
inline const auto kNoFile = Quit("it could not find the Tolvane preferences file");
inline const auto kUnreadable = Quit("it could not open the Tolvane preferences file for reading");
inline const auto kNoTolvane = Quit("it could not find the Tolvane application");
inline const auto kNoAlarms = Quit("no alarms were found in the Tolvane preferences file");

// Blanks, shell metacharacters, newlines, control bytes and non-ASCII text: any of them reaching
// the shell unescaped gives `open` other arguments, or runs `touch` in the working folder.
inline const std::string kShellCode =
    " é\t$(touch pwned) `touch pwned`; touch pwned # 'q' \"d\"\ntouch pwned\n& >pwned | touch "
    "pwned * ? [a-z] {a,b} ~ $HOME $0 \\n !! -a -rf -- \r\x01\x7f\xff ";
inline const std::string kBundleName = "Tolvane" + kShellCode + ".app";

inline std::string ReadWhole(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// What a shell command writes on its standard output.
inline std::string Output(const std::string& command) {
  std::string text;
  FILE* out = popen(command.c_str(), "r");
  for (int c = 0; out != nullptr && (c = std::fgetc(out)) != EOF;) text += static_cast<char>(c);
  if (out != nullptr) pclose(out);
  return text;
}

// Tolvane saves moments as seconds since 1904-01-01 on the wall clock; the child runs in UTC.
inline std::string LastLaunch(int64_t unix_seconds) {
  return Tag("LastLaunch", std::to_string(unix_seconds + 2082844800));
}

inline std::string Timer(int seconds, bool enabled) {
  return "<item>" + Tag("dAlarmFormat", "timer") + Tag("mEnabled", enabled ? "True" : "False") +
         Tag("dTimerSecond", std::to_string(seconds)) + "</item>";
}

inline std::string Alarms(const std::string& items) { return Tag("new-alarms", items); }

// A preferences file holding settings, laid out as Tolvane writes it.
inline std::string File(const std::string& settings) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<preferences>\n<settings>" + settings +
         "</settings>\n</preferences>\n";
}

// Every byte as %XX: the decoding of the saved location is exercised in full.
inline std::string Location(const fs::path& tolvane) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : tolvane.string()) encoded += {'%', kHex[(c >> 4) & 15], kHex[c & 15]};
  return Tag("LastApplicationLocation", encoded);
}

// Root, and mount namespaces allowed: a run can then see a tree of its own at /Applications.
inline bool TreesAvailable() {
  static const bool available = geteuid() == 0 && std::system("unshare --mount true 2>&-") == 0;
  return available;
}

// Shell words that run the words after them in a mount namespace of their own (its mounts private,
// unshare's default) in which source, a path without blanks or quotes, is bound at target.
inline std::string BindMount(const std::string& source, const std::string& target) {
  return "unshare --mount sh -c 'mount --bind " + source + " " + target + " && exec \"$@\"' sh ";
}

// /Applications, the mount point of the runs' trees, is made when missing and marked so. Test
// processes may run side by side: each holds a shared lock on / while it lives, and whichever
// then holds the lock alone removes a folder that a test made.
inline constexpr const char* kMadeMark = "/Applications/.made-by-quellmark-tests";
inline void HoldApplicationsMountPoint() {
  static const struct Hold {
    int lock = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Hold() {
      flock(lock, LOCK_SH);
      if (mkdir("/Applications", 0755) == 0) std::ofstream{kMadeMark};
    }
    ~Hold() {
      if (flock(lock, LOCK_EX | LOCK_NB) == 0 && unlink(kMadeMark) == 0) rmdir("/Applications");
    }
  } hold;
}

struct Outcome {
  int status = -1;  // exit status, 128 + the signal, or -1 when killed as its time ran out
  // What it wrote on stderr, and the arguments of every call of `open`, each ended by a NUL.
  std::string err, opened;
  bool pwned = false;
  long max_rss_kb = 0;  // the child's peak resident set
};

// Shell words that run the words after them as user nobody.
inline const std::string kAsNobody = "setpriv --reuid=65534 --regid=65534 --clear-groups ";

// Whether user nobody can pass through the folder the sandboxes are made in; a run as nobody
// needs it, since that user must reach the sandbox and the copy of the binary in it.
inline bool NobodyReachesSandboxes() {
  static const bool reaches =
      std::system((kAsNobody + "test -x " + SharedScratch().c_str()).c_str()) == 0;
  return reaches;
}
inline constexpr const char* kNobodyCannotReach =
    "user nobody cannot pass through the folder the sandboxes are made in";

// A fresh folder, in memory when the system offers it (a hundred thousand files or a few hundred
// megabytes are then made in a moment), holding home, config (the preferences folder) and bin
// (the stand-in `open`); it is also the service's working folder. Removed, with any service still
// running killed, when the sandbox goes. Its path, like the binary's, goes into command lines as it
// is, so neither may hold blanks or quotes.
class Sandbox {
  TempFolder scratch_{SharedScratch()};
  std::string binary_ = QUELLMARK_BINARY;
  // An instrumented binary's coverage counters, when $QUELLMARK_E2E_COUNTERS asks for them: a
  // run writes them outside the sandbox, into a folder any user may write, kept there once it ends.
  std::optional<TempFolder> counters_;

 public:
  fs::path root = scratch_.path;
  pid_t pid = 0;
  // Shell words put before the binary, each command running the rest: a tracer, `env` adding
  // variables, a mount namespace, another user.
  std::string wrapper;

  Sandbox() {
    for (const char* folder : {"home", "config", "bin"}) fs::create_directory(root / folder);
    fs::create_directory(Bundle());
    // The stand-in records its arguments in its working folder, the sandbox.
    std::ofstream(root / "bin/open") << "#!/bin/sh\nprintf '%s\\0' \"$@\" >> opened\n";
    fs::permissions(root / "bin/open", fs::perms(0755));
  }
  ~Sandbox() {
    if (pid > 0) Finish(milliseconds(0));
  }
  Sandbox(const Sandbox&) = delete;

  fs::path Prefs() const { return root / "config/com.velmora.Tolvane.xml"; }
  void WritePrefs(const std::string& text) const { std::ofstream(Prefs()) << text; }
  std::string Bundle() const { return (root / kBundleName).string(); }
  // Tolvane's bundle at the awkward path, saved with these alarms and further settings.
  void Save(const std::string& alarms, const std::string& more = "") const {
    WritePrefs(File(Location(Bundle()) + Alarms(alarms) + more));
  }

  // The folder "tree" becomes the service's /Applications; needs TreesAvailable.
  fs::path UseTree() {
    HoldApplicationsMountPoint();
    fs::create_directory(root / "tree");
    wrapper += BindMount((root / "tree").string(), "/Applications");
    return root / "tree";
  }

  // The service runs as nobody, so that permissions bite (needs root and NobodyReachesSandboxes,
  // and comes after UseTree); the sandbox is opened to nobody, and the stand-in can still record
  // in it. The binary runs from a copy in the sandbox: the build folder may lie where only its
  // owner may enter, and a tracer run as nobody must be able to look at it.
  void RunAsNobody() {
    fs::permissions(root, fs::perms::all);
    fs::copy_file(binary_, root / "bin/quellmark");
    binary_ = (root / "bin/quellmark").string();
    wrapper += kAsNobody;
  }

  // Every item with its path, type, permissions, size and modification time, and every file's
  // hash; the stand-in's and the test's own records at the top are left out.
  std::string Snapshot() const {
    return Output(
        "cd " + root.string() + " && find . -mindepth 1 ! -path ./opened ! -path " +
        "./stderr ! -path ./trace -printf '%p %y %m %s %T@\\n' -type f -exec sha1sum {} +");
  }

  // Starts the service in the sandbox, stdin and stdout on /dev/null, with HOME, XDG_CONFIG_HOME,
  // PATH and TZ=UTC only in its environment.
  void Start() {
    const std::string r = root.string();
    std::string counting;
    if (std::getenv("QUELLMARK_E2E_COUNTERS") != nullptr) {
      counters_.emplace(SharedScratch());
      fs::permissions(counters_->path, fs::perms::all);
      counting = " GCOV_PREFIX=" + counters_->path;
    }
    const std::string command = "cd " + r + " && exec env -i HOME=" + r +
                                "/home XDG_CONFIG_HOME=" + r + "/config PATH=" + r +
                                "/bin:/usr/bin:/bin TZ=UTC" + counting + " " + wrapper + binary_ +
                                " </dev/null >/dev/null 2>stderr";
    const char* argv[] = {"/bin/sh", "-c", command.c_str(), nullptr};
    // A suite run from a background job inherits SIGINT ignored; the service must not.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGTERM);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    started_ = steady_clock::now();
    const int spawned =
        posix_spawn(&pid, "/bin/sh", nullptr, &attributes, const_cast<char**>(argv), environ);
    posix_spawnattr_destroy(&attributes);
    ASSERT_EQ(spawned, 0);
  }

  // Waits until the service has run for budget at most; kills it if it is still running then.
  // Once it is reaped, pid is 0.
  Outcome Finish(milliseconds budget) {
    int wait_status = 0;
    rusage usage{};
    bool killed = false;
    while (wait4(pid, &wait_status, WNOHANG, &usage) == 0) {
      if (!killed && steady_clock::now() - started_ > budget) killed = kill(pid, SIGKILL) == 0;
      sleep_for(milliseconds(10));
    }
    // A process of libfaketime's that is killed leaves its shared memory behind.
    std::error_code error;
    fs::remove("/dev/shm/faketime_shm_" + std::to_string(pid), error);
    fs::remove("/dev/shm/sem.faketime_sem_" + std::to_string(pid), error);
    pid = 0;
    if (counters_) {
      const fs::path kept = std::getenv("QUELLMARK_E2E_COUNTERS");
      fs::create_directories(kept);
      fs::copy(counters_->path, kept / fs::path(counters_->path).filename(),
               fs::copy_options::recursive);
    }
    const int status =
        WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
    return {killed ? -1 : status, ReadWhole(root / "stderr"), ReadWhole(root / "opened"),
            fs::exists(root / "pwned", error), usage.ru_maxrss};
  }

 private:
  steady_clock::time_point started_;
};

// "watching" while the service runs without having called `open`; otherwise what it did.
inline std::string Watching(const Sandbox& s) {
  const std::string stat = ReadWhole("/proc/" + std::to_string(s.pid) + "/stat");
  const bool running = !stat.empty() && stat.find(") Z ") == std::string::npos;
  const std::string opened = ReadWhole(s.root / "opened");
  if (running && opened.empty()) return "watching";
  return (running ? "running, `open` got: " : "ended, `open` got: ") + opened;
}

// A run that must quit with message, or else (message empty) run `open -a path` once, saying
// nothing; either way with status 0 and running nothing else.
inline void Expect(const Outcome& o, const std::string& message, const std::string& path = "") {
  const std::string opened = message.empty() ? std::string("-a\0", 3) + path + '\0' : "";
  EXPECT_EQ(std::tuple(o.status, o.err, o.opened, o.pwned), std::tuple(0, message, opened, false));
}

// One run: its sandbox's preparation, then the message it must quit with or else the path
// `open` must get (one not starting with / lies in the sandbox).
struct Case {
  std::string what;
  std::function<void(Sandbox&)> prepare;
  std::string message, path = "";
};

// Prepares and starts every run, then checks each once it ended or ran for budget: one still
// running then is killed, and fails.
inline std::vector<Outcome> RunAll(const std::vector<Case>& cases, milliseconds budget) {
  std::deque<Sandbox> sandboxes;
  for (const Case& c : cases) {
    c.prepare(sandboxes.emplace_back());
    sandboxes.back().Start();
  }
  std::vector<Outcome> outcomes;
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(cases[i].what);
    const fs::path path = sandboxes[i].root / cases[i].path;
    Expect(outcomes.emplace_back(sandboxes[i].Finish(budget)), cases[i].message, path.string());
  }
  return outcomes;
}

}  // namespace quellmark::e2e

#endif  // QUELLMARK_TESTS_APP_SERVICE_SANDBOX_H_
