// End-to-end tests of the quellmark binary. Each run gets a sandbox of its own (home, preferences
// folder, a stand-in `open` first on PATH) and is judged only by what a user could see: the exit
// status, the text on stderr, and the arguments `open` was called with.

#include <fcntl.h>
#include <signal.h>
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
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace quellmark {
namespace {

namespace fs = std::filesystem;
using Args = std::vector<std::string>;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Blanks, shell metacharacters, a newline and non-ASCII text: any of them reaching the shell
// unescaped gives `open` other arguments, or runs `touch` in the child's working folder.
const std::string kBundleName = "Tolvane é\t$(touch pwned) `touch pwned`; 'q' \"d\"\n& *.app";

// Tolvane writes moments as seconds since 1904-01-01 local time; the child runs with TZ=UTC.
int64_t NowSince1904() { return int64_t{std::time(nullptr)} + 2082844800; }

std::string ReadWhole(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::string Tag(const std::string& name, const std::string& value) {
  return "<" + name + ">" + value + "</" + name + ">";
}

// Every byte as %XX: the decoding of the saved location is exercised in full.
std::string PercentEncoded(const std::string& text) {
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    encoded += {'%', "0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
  }
  return encoded;
}

std::string Timer(int seconds, bool enabled) {
  return "<item>" + Tag("dAlarmFormat", "timer") + Tag("mEnabled", enabled ? "True" : "False") +
         Tag("dTimerSecond", std::to_string(seconds)) + "</item>";
}

// A preferences file holding settings, laid out as Tolvane writes it.
std::string File(const std::string& settings) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<preferences>\n<settings>" + settings +
         "</settings>\n</preferences>\n";
}

std::string Alarms(const std::string& items) { return Tag("new-alarms", items); }

std::string Location(const fs::path& tolvane) {
  return Tag("LastApplicationLocation", PercentEncoded(tolvane.string()));
}

struct Outcome {
  bool still_running = false;  // killed when its time ran out
  int status = -1;             // exit status, or 128 + the signal
  std::string err;
  size_t open_calls = 0;
  Args open_args;  // of the last call
  bool pwned = false;
};

// A fresh temporary folder holding home, config (the preferences folder) and bin (the stand-in
// `open`); it is also the service's working folder. Removed, with any service still running
// killed, when the sandbox goes.
class Sandbox {
 public:
  fs::path root;

  Sandbox() {
    root = mkdtemp((fs::temp_directory_path() / "quellmark-e2e-XXXXXX").string().data());
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

  fs::path Prefs() const { return root / "config/com.velmora.Tolvane.xml"; }
  void WritePrefs(const std::string& text) const { std::ofstream(Prefs()) << text; }
  fs::path Bundle() const {
    fs::create_directory(root / kBundleName);
    return root / kBundleName;
  }

  // Starts the service with HOME, XDG_CONFIG_HOME, PATH and TZ=UTC only in its environment.
  void Start(const Args& args = {}) {
    Args argv_text = {QUELLMARK_BINARY};
    argv_text.insert(argv_text.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& text : argv_text) argv.push_back(text.data());
    argv.push_back(nullptr);
    std::string env[] = {"HOME=" + (root / "home").string(),
                         "XDG_CONFIG_HOME=" + (root / "config").string(),
                         "PATH=" + (root / "bin").string() + ":/usr/bin:/bin", "TZ=UTC"};
    char* envp[] = {env[0].data(), env[1].data(), env[2].data(), env[3].data(), nullptr};
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
      execve(argv[0], argv.data(), envp);
      _exit(127);
    }
    ASSERT_GT(pid_, 0) << "fork failed";
  }

  // Waits until the service has run for budget at most; kills it if it is still running then.
  Outcome Finish(milliseconds budget) {
    Outcome outcome;
    int wait_status = 0;
    while (waitpid(pid_, &wait_status, WNOHANG) == 0) {
      if (steady_clock::now() - started_ > budget) {
        outcome.still_running = true;
        kill(pid_, SIGKILL);
        waitpid(pid_, &wait_status, 0);
        break;
      }
      std::this_thread::sleep_for(milliseconds(10));
    }
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
}  // namespace quellmark
