#include "runtime/posix_env.h"

#include <signal.h>
#include <sys/time.h>
#include <syslog.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <tuple>
#include <vector>

#include "forecast/agreement.h"
#include "runtime/application.h"
#include "runtime/env.h"
#include "runtime/exceptions.h"
#include "runtime/system_calls.h"

namespace quellmark {
namespace {

// Elsewhere: an absolute $XDG_CONFIG_HOME, which needs no home; else, a relative one ignored,
// .config in the home with no doubled slash. On macOS: ~/Library/Preferences whatever
// $XDG_CONFIG_HOME says. None from a missing or empty home.
TEST(PosixEnvTest, PreferencesFolderOfEachPlatform) {
  constexpr Platform kMac = Platform::kMacOS, kOther = Platform::kOther;
  const std::tuple<Platform, const char*, const char*, std::optional<std::string>> rows[] = {
      {kOther, "/home/ann/", "conf", "/home/ann/.config"},
      {kOther, "/home/ann", "/etc/ann", "/etc/ann"},
      {kOther, nullptr, nullptr, std::nullopt},
      {kOther, nullptr, "/etc/ann", "/etc/ann"},
      {kOther, "", "", std::nullopt},
      {kMac, "/Users/ann/", "/etc/ann", "/Users/ann/Library/Preferences"},
      {kMac, nullptr, "/etc/ann", std::nullopt},
      {kMac, "", nullptr, std::nullopt}};
  for (const auto& [platform, home, xdg, folder] : rows) {
    EXPECT_EQ(PreferencesFolderFrom(platform, home, xdg), folder);
  }
}

// 1970 is 2,082,844,800 seconds after 1904 on UTC's wall clock, not on Berlin's.
TEST(PosixEnvTest, AZoneThatCannotGiveTheTimeGivesUtcWallClockTime) {
  const agreement::ZoneSet berlin("Europe/Berlin");
  sys::ArmFault({sys::CallKind::kClock, 1, EOVERFLOW, true});
  for (const std::time_t moment : {0L, 1'700'000'000L, -86'400L}) {
    EXPECT_EQ(LocalWallClockSecondsAt(moment), moment + 2'082'844'800) << moment;
  }
  sys::DisarmFault();
}

TEST(PosixEnvTest, ServiceMessagesAtLevel1007AreLoggedAtNoticeAndLevelsBelowFromEmergency) {
  const std::pair<int32_t, int> rows[] = {{1007, LOG_NOTICE},
                                          {1000, LOG_EMERG},
                                          {1006, LOG_INFO},
                                          {999, LOG_NOTICE},
                                          {1008, LOG_NOTICE}};
  for (const auto& [level, priority] : rows) EXPECT_EQ(SyslogPriorityForLevel(level), priority);
}

// A timer's signals, caught by a handler that lets them interrupt calls, do not cut a wait short.
TEST(PosixEnvTest, SleepLastsItsWholeTimeThroughSignals) {
  struct sigaction action = {}, previous = {};
  action.sa_handler = [](int) {};
  ASSERT_EQ(sigaction(SIGALRM, &action, &previous), 0);
  const itimerval every_20ms{{0, 20000}, {0, 20000}}, stopped{};
  setitimer(ITIMER_REAL, &every_20ms, nullptr);
  const auto start = std::chrono::steady_clock::now();
  PosixEnvironment().SleepForMilliseconds(1000);  // the service's own wait
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
  setitimer(ITIMER_REAL, &stopped, nullptr);
  sigaction(SIGALRM, &previous, nullptr);
}

// A service whose Run is the test's function.
class Service final : public ServiceApplication {
 public:
  explicit Service(std::function<int32_t(const std::vector<String>&)> run) : run_(std::move(run)) {}
  int32_t Run(const std::vector<String>& args) override { return run_(args); }

 private:
  std::function<int32_t(const std::vector<String>&)> run_;
};

TEST(ApplicationTest, RunGivesTheExitStatusAndAnEscapingExceptionOneLineAndStatus70) {
  char program[] = "quellmark", flag[] = "--flag";
  char* argv[] = {program, flag, nullptr};
  Service passes([](const auto& args) { return args.at(1).Bytes() == "--flag" ? 7 : 1; });
  EXPECT_EQ(RunServiceApplication(passes, 2, argv), 7);
  // No arguments reach Run as none, a null one as "".
  Service sizes([](const auto& args) -> int32_t {
    return args.empty() ? -1 : static_cast<int32_t>(args[0].Bytes().size());
  });
  char* unnamed[] = {nullptr, nullptr};
  EXPECT_EQ(RunServiceApplication(sizes, 0, unnamed), -1);
  EXPECT_EQ(RunServiceApplication(sizes, 1, unnamed), 0);
  const std::pair<std::function<void()>, const char*> rows[] = {
      {[] { throw NilObjectException("FolderItem"); }, "NilObjectException: a member of a nil"},
      {[] { throw RuntimeException("plain"); }, "RuntimeException: plain"},
      {[] { throw std::runtime_error("disk\nfull\rnow"); }, "unhandled exception: disk full now"},
      {[] { throw 42; }, "unhandled exception of unknown type"}};
  for (const auto& [raise, named] : rows) {
    const std::function<void()>& thrower = raise;  // a binding cannot be captured everywhere
    Service throws([&thrower](const auto&) -> int32_t {
      thrower();
      return 0;
    });
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunServiceApplication(throws, 2, argv), kUncaughtExceptionStatus) << named;
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_NE(line.find(named), std::string::npos) << line;
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
  }
}

}  // namespace
}  // namespace quellmark
