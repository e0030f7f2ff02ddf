// A sandbox for end-to-end runs of the quellmark binary: home, preferences folder and a stand-in
// `open` first on PATH, in a fresh temporary folder. A run is judged only by what a user could
// see: the exit status, the text on stderr, and the arguments `open` was called with.

#ifndef QUELLMARK_TESTS_APP_SERVICE_SANDBOX_H_
#define QUELLMARK_TESTS_APP_SERVICE_SANDBOX_H_

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace quellmark::e2e {

namespace fs = std::filesystem;
using Args = std::vector<std::string>;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Blanks, shell metacharacters, a newline and non-ASCII text: any of them reaching the shell
// unescaped gives `open` other arguments, or runs `touch` in the child's working folder.
inline const std::string kBundleName =
    "Tolvane é\t$(touch pwned) `touch pwned`; 'q' \"d\"\n& *.app";

// Tolvane writes moments as seconds since 1904-01-01 local time; the child runs with TZ=UTC.
inline int64_t NowSince1904() { return int64_t{std::time(nullptr)} + 2082844800; }

inline std::string ReadWhole(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

inline std::string Tag(const std::string& name, const std::string& value) {
  return "<" + name + ">" + value + "</" + name + ">";
}

// Every byte as %XX: the decoding of the saved location is exercised in full.
inline std::string PercentEncoded(const std::string& text) {
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    encoded += {'%', "0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
  }
  return encoded;
}

inline std::string Timer(int seconds, bool enabled) {
  return "<item>" + Tag("dAlarmFormat", "timer") + Tag("mEnabled", enabled ? "True" : "False") +
         Tag("dTimerSecond", std::to_string(seconds)) + "</item>";
}

// A preferences file holding settings, laid out as Tolvane writes it.
inline std::string File(const std::string& settings) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<preferences>\n<settings>" + settings +
         "</settings>\n</preferences>\n";
}

inline std::string Alarms(const std::string& items) { return Tag("new-alarms", items); }

inline std::string Location(const fs::path& tolvane) {
  return Tag("LastApplicationLocation", PercentEncoded(tolvane.string()));
}

// The service is given a private mount namespace; false when it cannot be made.
inline bool PrivateMounts() {
  return unshare(CLONE_NEWNS) == 0 &&
         mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

// Root, and mount namespaces allowed: a run can then see a tree of its own at /Applications.
inline bool TreesAvailable() {
  static const bool available = [] {
    if (geteuid() != 0) return false;
    const pid_t child = fork();
    if (child == 0) _exit(PrivateMounts() ? 0 : 1);
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
  }();
  return available;
}

// /Applications as the mount point of the runs' trees, made when missing and marked so. Test
// processes may run side by side: each holds a shared lock on / while it needs the folder, and
// whichever then holds the lock alone removes a folder that a test made.
class ApplicationsMountPoint {
 public:
  ApplicationsMountPoint() {
    if (!TreesAvailable()) return;
    lock_ = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    flock(lock_, LOCK_SH);
    if (mkdir("/Applications", 0755) == 0) std::ofstream{kMadeMark};
  }
  ~ApplicationsMountPoint() {
    if (lock_ < 0) return;
    if (flock(lock_, LOCK_EX | LOCK_NB) == 0 && unlink(kMadeMark) == 0) rmdir("/Applications");
    close(lock_);
  }
  ApplicationsMountPoint(const ApplicationsMountPoint&) = delete;

 private:
  static constexpr const char* kMadeMark = "/Applications/.made-by-quellmark-tests";
  int lock_ = -1;
};

inline constexpr uid_t kNobody = 65534;

struct Outcome {
  bool still_running = false;  // killed when its time ran out
  int status = -1;             // exit status, or 128 + the signal
  std::string err;
  size_t open_calls = 0;
  Args open_args;  // of the last call
  bool pwned = false;
  long max_rss_kb = 0;  // the child's peak resident set
  milliseconds ran{0};  // from start until it was reaped
};

// A fresh temporary folder (in parent, by default the system's) holding home, config (the
// preferences folder) and bin (the stand-in `open`); it is also the service's working folder.
// Removed, with any service still running killed, when the sandbox goes.
class Sandbox {
 public:
  fs::path root;
  // Set before Start, all optional: a command put before the binary (a tracer, by its absolute
  // path), entries added to the environment, and steps run in order in the child just before exec
  // (one that fails ends the child with status 125).
  Args wrapper;
  Args more_env;
  std::vector<std::function<bool()>> in_child;

  explicit Sandbox(const fs::path& parent = fs::temp_directory_path()) {
    root = mkdtemp((parent / "quellmark-e2e-XXXXXX").string().data());
    for (const char* folder : {"home", "config", "bin"}) fs::create_directory(root / folder);
    // The stand-in records in its working folder, the sandbox: one line per call, and the
    // arguments of the last call, each NUL-ended.
    std::ofstream(root / "bin/open") << "#!/bin/sh\necho >> calls\nprintf '%s\\0' \"$@\" > args\n";
    fs::permissions(root / "bin/open", fs::perms::owner_all);
  }
  ~Sandbox() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    std::error_code ignored;
    fs::remove_all(root, ignored);
  }
  Sandbox(const Sandbox&) = delete;

  pid_t Pid() const { return pid_; }
  fs::path Prefs() const { return root / "config/com.velmora.Tolvane.xml"; }
  void WritePrefs(const std::string& text) const { std::ofstream(Prefs()) << text; }
  fs::path Bundle() const {
    fs::create_directory(root / kBundleName);
    return root / kBundleName;
  }

  // The sandbox's folder "tree" becomes the service's /Applications, in a mount namespace of its
  // own; needs TreesAvailable.
  fs::path UseTree() {
    const fs::path tree = root / "tree";
    fs::create_directory(tree);
    in_child.emplace_back([tree] {
      return PrivateMounts() &&
             mount(tree.c_str(), "/Applications", nullptr, MS_BIND, nullptr) == 0;
    });
    return tree;
  }

  // The service runs as nobody, so that permissions bite (needs root, and comes after UseTree);
  // the sandbox is opened to nobody, and the stand-in can still record in it.
  void RunAsNobody() {
    fs::permissions(root, fs::perms::all);
    fs::permissions(root / "bin/open", fs::perms::owner_all | fs::perms::group_read |
                                           fs::perms::group_exec | fs::perms::others_read |
                                           fs::perms::others_exec);
    in_child.emplace_back(
        [] { return setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0; });
  }

  // Every item in the sandbox with its type and permissions, size, modification time and a hash
  // of its content; the stand-in's and the test's own records at the top are left out.
  std::map<std::string, std::string> Snapshot() const {
    std::map<std::string, std::string> items;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      const std::string name = entry.path().filename().string();
      if (entry.path().parent_path() == root &&
          (name == "calls" || name == "args" || name == "stderr" || name == "trace")) {
        continue;
      }
      struct stat st {};
      EXPECT_EQ(lstat(entry.path().c_str(), &st), 0) << entry.path();
      const size_t hash = S_ISREG(st.st_mode) ? std::hash<std::string>{}(ReadWhole(entry)) : 0;
      items[entry.path().string()] = std::to_string(st.st_mode) + " " + std::to_string(st.st_size) +
                                     " " + std::to_string(st.st_mtim.tv_sec) + "." +
                                     std::to_string(st.st_mtim.tv_nsec) + " " +
                                     std::to_string(hash);
    }
    return items;
  }

  // Starts the service with HOME, XDG_CONFIG_HOME, PATH and TZ=UTC only in its environment.
  void Start(const Args& args = {}) {
    Args argv_text = wrapper;
    argv_text.push_back(QUELLMARK_BINARY);
    argv_text.insert(argv_text.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& text : argv_text) argv.push_back(text.data());
    argv.push_back(nullptr);
    Args env = {"HOME=" + (root / "home").string(), "XDG_CONFIG_HOME=" + (root / "config").string(),
                "PATH=" + (root / "bin").string() + ":/usr/bin:/bin", "TZ=UTC"};
    env.insert(env.end(), more_env.begin(), more_env.end());
    std::vector<char*> envp;
    for (auto& entry : env) envp.push_back(entry.data());
    envp.push_back(nullptr);
    const std::string err_path = (root / "stderr").string();
    started_ = steady_clock::now();
    pid_ = fork();
    if (pid_ == 0) {
      const int null = open("/dev/null", O_RDWR);
      const int err = open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      if (null < 0 || err < 0 || chdir(root.c_str()) != 0 || dup2(null, 0) < 0 ||
          dup2(null, 1) < 0 || dup2(err, 2) < 0) {
        _exit(126);
      }
      for (const auto& step : in_child) {
        if (!step()) _exit(125);
      }
      execve(argv[0], argv.data(), envp.data());
      _exit(127);
    }
    ASSERT_GT(pid_, 0) << "fork failed";
  }

  // Waits until the service has run for budget at most; kills it if it is still running then.
  Outcome Finish(milliseconds budget) {
    Outcome outcome;
    int wait_status = 0;
    rusage usage{};
    while (wait4(pid_, &wait_status, WNOHANG, &usage) == 0) {
      if (steady_clock::now() - started_ > budget) {
        outcome.still_running = true;
        kill(pid_, SIGKILL);
        wait4(pid_, &wait_status, 0, &usage);
        break;
      }
      std::this_thread::sleep_for(milliseconds(10));
    }
    outcome.ran = std::chrono::duration_cast<milliseconds>(steady_clock::now() - started_);
    outcome.max_rss_kb = usage.ru_maxrss;
    pid_ = 0;
    if (!outcome.still_running) {
      outcome.status =
          WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
    }
    outcome.err = ReadWhole(root / "stderr");
    const std::string calls = ReadWhole(root / "calls"), args = ReadWhole(root / "args");
    outcome.open_calls = calls.size();
    for (size_t at = 0, end; (end = args.find('\0', at)) != std::string::npos; at = end + 1) {
      outcome.open_args.push_back(args.substr(at, end - at));
    }
    outcome.pwned = fs::exists(root / "pwned");
    return outcome;
  }

 private:
  pid_t pid_ = 0;
  steady_clock::time_point started_;
};

}  // namespace quellmark::e2e

#endif  // QUELLMARK_TESTS_APP_SERVICE_SANDBOX_H_
