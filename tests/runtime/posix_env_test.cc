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

#include "runtime/application.h"
#include "runtime/env.h"
#include "runtime/exceptions.h"

namespace quellmark {
namespace {

#ifndef __APPLE__
// An absolute $XDG_CONFIG_HOME, which needs no home; else, a relative one ignored, .config in the
// home with no doubled slash; none from a missing or empty home.
TEST(PosixEnvTest, PreferencesFolderIsAnAbsoluteXdgConfigHomeElseDotConfigInHome) {
  const std::tuple<const char*, const char*, std::optional<std::string>> rows[] = {
      {"/home/ann", nullptr, "/home/ann/.config"}, {"/home/ann/", "conf", "/home/ann/.config"},
      {"/home/ann", "/etc/ann", "/etc/ann"},       {nullptr, nullptr, std::nullopt},
      {nullptr, "/etc/ann", "/etc/ann"},           {"", "", std::nullopt}};
  for (const auto& [home, xdg, folder] : rows) EXPECT_EQ(PreferencesFolderFrom(home, xdg), folder);
}
#endif

TEST(PosixEnvTest, ServiceMessagesAtLevel1007AreLoggedAtNotice) {
  EXPECT_EQ(SyslogPriorityForLevel(1007), LOG_NOTICE);
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
  const std::pair<std::function<void()>, const char*> rows[] = {
      {[] { throw NilObjectException("FolderItem"); }, "NilObjectException: a member of a nil"},
      {[] { throw std::runtime_error("disk\nfull\rnow"); }, "disk full now"},
      {[] { throw 42; }, "unknown"}};
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
