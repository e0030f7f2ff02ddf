// The whole service in process on a sandbox of its own, the system calls beneath it failing in
// turn: for N = 1, 2, ... until a run no longer reaches an N-th call, the N-th call fails once or
// from then on, with each error that matters. Every run must end as the service may end (one of
// its four messages, a launch, watching, or one line naming an escaping exception), leaving no
// descriptor open and nothing written; a failure that is retried must change nothing at all.

#include <cstring>

#include "app/app.h"
#include "app/service_sandbox.h"
#include "fake_env.h"
#include "runtime/exceptions.h"
#include "runtime/system_calls.h"

namespace quellmark::e2e {
namespace {

// Thrown by the second wait between passes: the service is watching.
struct StillWatching {};

// How the seam itself fails: no home, an empty or a relative one, no shell, no clock.
enum class Seam { kWhole, kNoHome, kEmptyHome, kRelativeHome, kNoShell, kNoClock };

// The process's own environment, save for what a run in process cannot do (end the process, wait
// a second, log to the system), for the Applications folder, and for the seam's failure. The shell
// runs a no-op in place of `open`, which the system may lack; the command is recorded.
class ServiceEnv final : public FakeEnv {
 public:
  ServiceEnv(const std::string& applications, Seam seam) : seam_(seam) {
    applications_folder = applications;
  }

  int64_t LocalWallClockSeconds() override {
    if (seam_ == Seam::kNoClock) throw IOException("clock_gettime", "CLOCK_REALTIME", EINVAL);
    return real_.LocalWallClockSeconds();
  }
  int64_t UnixSeconds() override { return real_.UnixSeconds(); }
  void SleepForMilliseconds(int32_t /*milliseconds*/) override {
    if (++sleeps_ == 2) throw StillWatching{};
    real_.SleepForMilliseconds(1);
  }
  std::optional<std::string> PreferencesFolderPath() override {
    if (seam_ == Seam::kNoHome) return std::nullopt;
    if (seam_ == Seam::kEmptyHome) return "";
    return seam_ == Seam::kRelativeHome ? "home/.config" : real_.PreferencesFolderPath();
  }
  int32_t ExecuteShellCommand(const std::string& command) override {
    commands.push_back(command);
    return shell_status = seam_ == Seam::kNoShell ? -1 : real_.ExecuteShellCommand(":");
  }

  int32_t shell_status = 0;

 private:
  Env& real_ = PosixEnvironment();
  Seam seam_;
  int sleeps_ = 0;
};

// App::Run through the process entry, its fake endings told apart from a return by their status.
constexpr int32_t kExited = 1000, kWatching = 2000;
struct Service final : ServiceApplication {
  int32_t Run(const std::vector<String>& args) override {
    try {
      return App().Run(args);
    } catch (const FakeExit& exit) {
      return kExited + exit.code;
    } catch (const StillWatching&) {
      return kWatching;
    }
  }
};

// The service's world: its home (HOME, else the password database's) and an Applications folder
// with Tolvane's bundle among other items, found by the saved location or, when location names a
// stale one, by a search. The preferences file is over 4 KiB, so that a read not sized by the
// file's length must grow its buffer.
class World {
 public:
  World(bool home, const std::string& location, int timer_seconds) {
    for (const char* name : {"HOME", "XDG_CONFIG_HOME"}) {
      const char* value = std::getenv(name);
      saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
    }
    for (const char* folder : {"home", "Applications/Games/Chess.app", Bundle}) {
      fs::create_directories(dir_ / folder);
    }
    std::ofstream(dir_ / "Applications/Read Me.txt") << "notes";
    setenv("HOME", (dir_ / "home").c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    const fs::path preferences = PosixEnvironment().PreferencesFolderPath().value();
    fs::create_directories(preferences);
    std::ofstream(preferences / "com.velmora.Tolvane.xml")
        << File(Location(dir_ / (location.empty() ? Bundle : location)) +
                Alarms(Timer(timer_seconds, true)) + Tag("filler", std::string(5000, ' ')));
    if (!home) unsetenv("HOME");
  }
  World(const World&) = delete;
  ~World() {
    for (const auto& [name, value] : saved_)
      value ? setenv(name, value->c_str(), 1) : unsetenv(name);
  }

  static constexpr const char* Bundle = "Applications/Utilities/Tolvane.app";
  TempFolder dir_;

 private:
  std::vector<std::pair<const char*, std::optional<std::string>>> saved_;
};

size_t OpenDescriptors() {
  const char* folder = fs::exists("/proc/self/fd") ? "/proc/self/fd" : "/dev/fd";
  return static_cast<size_t>(std::distance(fs::directory_iterator(folder), {}));
}

// How one run in world ended, as its user could tell: "quit: " and the line logged, "launched"
// (or "launch failed" when the shell could not run) for the one command that opens world's
// Tolvane, "watching", or "unhandled" and the line on stderr. Anything else, an extra line
// logged, run or written included, reads otherwise.
std::string RunService(Seam seam, const World& world) {
  ServiceEnv env(world.dir_ / "Applications", seam);
  Service service;
  char program[] = "quellmark";
  char* argv[] = {program, nullptr};
  testing::internal::CaptureStderr();
  const int status = RunServiceApplication(service, 1, argv);
  std::string err = testing::internal::GetCapturedStderr();
  const std::vector<std::string> launch = {"open -a " + ShellQuotePath(world.dir_ / World::Bundle)};
  std::string outcome = "status " + std::to_string(status);
  if (status == kUncaughtExceptionStatus && err.starts_with("quellmark: unhandled ") &&
      err.find('\n') == err.size() - 1) {
    outcome = err.substr(11, err.size() - 12), err.clear();
  } else if (status == 0 && env.log.size() == 1) {
    outcome = "quit: " + env.log[0], env.log.clear();
  } else if (status == kExited && env.commands == launch) {
    outcome = env.shell_status == 0 ? "launched" : "launch failed", env.commands.clear();
  } else if (status == kWatching && env.commands.empty()) {
    outcome = "watching";
  }
  for (const std::string& command : env.commands) outcome += ", ran " + command;
  for (const std::string& line : env.log) outcome += ", logged " + line;
  return err.empty() ? outcome : outcome + ", wrote " + err;
}

// A run that ended as the service may end when a call failed with error.
bool Defined(const std::string& outcome, int error) {
  for (const char* message : {kNoPreferencesMessage, kUnreadablePreferencesMessage,
                              kNoApplicationMessage, kNoAlarmsMessage}) {
    if (outcome == "quit: 1007 " + std::string(message)) return true;
  }
  return outcome == "launched" || outcome == "launch failed" || outcome == "watching" ||
         outcome.starts_with("unhandled NilObjectException: ") ||
         (outcome.starts_with("unhandled IOException: ") && outcome.ends_with(strerror(error)));
}

using sys::CallKind;

TEST(FaultInjectionTest, EveryFailingCallEndsTheServiceAsItMayEndLeakingAndWritingNothing) {
  // The world, the seam, and how a run without faults ends there.
  const std::string nil = "unhandled NilObjectException: a member of a nil FolderItem was used";
  const std::tuple<const char*, bool, const char*, int, Seam, std::string> scenes[] = {
      {"a ringing alarm, Tolvane at its saved location", true, "", 0, Seam::kWhole, "launched"},
      {"a ringing alarm, Tolvane found by a search", true, "Gone.app", 0, Seam::kWhole, "launched"},
      {"an alarm an hour away", true, "", 3600, Seam::kWhole, "watching"},
      {"no HOME: the password database's home, without preferences", false, "", 0, Seam::kWhole,
       "quit: 1007 " + std::string(kNoPreferencesMessage)},
      {"the seam gives no home", true, "", 0, Seam::kNoHome, nil},
      {"the seam gives an empty home", true, "", 0, Seam::kEmptyHome, nil},
      {"the seam gives a relative home", true, "", 0, Seam::kRelativeHome, nil},
      {"the seam has no shell to run `open`", true, "", 0, Seam::kNoShell, "launch failed"},
      {"the seam has no clock", true, "", 0, Seam::kNoClock,
       "unhandled IOException: clock_gettime(CLOCK_REALTIME): " + std::string(strerror(EINVAL))}};
  // The calls that fail, how, and whether the service retries them, when nothing may change.
  const std::tuple<const char*, CallKind, int, bool, bool> faults[] = {
      {"any call, once, EIO", CallKind::kAny, EIO, false, false},
      {"any call and every later one, ENOMEM", CallKind::kAny, ENOMEM, true, false},
      {"a folder listing and every later one, EIO", CallKind::kListing, EIO, true, false},
      {"a status and every later one, ENOENT", CallKind::kStatus, ENOENT, true, false},
      {"a read, interrupted once", CallKind::kRead, EINTR, false, true},
      {"every read from one on, one byte only", CallKind::kRead, sys::kShortRead, true, true},
      {"the wait for the shell, interrupted once", CallKind::kWait, EINTR, false, true},
      {"the wait between passes, interrupted once", CallKind::kSleep, EINTR, false, true}};
  for (const auto& [scene, home, location, timer, seam, clean] : scenes) {
    SCOPED_TRACE(scene);
    const World world(home, location, timer);
    const std::string listing = "find " + world.dir_.path + " -printf '%p %m %s %T@\\n'";
    const std::string before = Output(listing);
    const size_t descriptors = OpenDescriptors();
    ASSERT_EQ(RunService(seam, world), clean);
    for (const auto& [what, kind, error, persistent, retried] : faults) {
      for (int64_t n = 1;; ++n) {
        sys::ArmFault({kind, n, error, persistent});
        const std::string outcome = RunService(seam, world);
        const bool struck = sys::FaultStruck();
        sys::DisarmFault();
        const std::string fault = what + (", call " + std::to_string(n) + ": ") + outcome;
        EXPECT_EQ(OpenDescriptors(), descriptors) << fault;
        EXPECT_TRUE(outcome == clean || (!retried && struck && Defined(outcome, error))) << fault;
        if (!struck) break;
        ASSERT_LT(n, 5000) << fault;
      }
    }
    EXPECT_EQ(Output(listing), before);
  }
}

}  // namespace
}  // namespace quellmark::e2e
