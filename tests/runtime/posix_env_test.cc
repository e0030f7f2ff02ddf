#include "runtime/posix_env.h"

#include <syslog.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <tuple>
#include <vector>

#include "runtime/application.h"
#include "runtime/exceptions.h"

namespace quellmark {
namespace {

#ifndef __APPLE__
TEST(PosixEnvTest, PreferencesFolderIsAnAbsoluteXdgConfigHomeElseDotConfigInHome) {
  const std::tuple<const char*, const char*, const char*, std::optional<std::string>> rows[] = {
      {"a home gives its .config", "/home/ann", nullptr, "/home/ann/.config"},
      {"a home's trailing slash is not doubled", "/home/ann/", nullptr, "/home/ann/.config"},
      {"an absolute XDG_CONFIG_HOME wins", "/home/ann", "/etc/ann", "/etc/ann"},
      {"an absolute XDG_CONFIG_HOME needs no home", nullptr, "/etc/ann", "/etc/ann"},
      {"a relative XDG_CONFIG_HOME is ignored", "/home/ann", "conf", "/home/ann/.config"},
      {"an empty home gives none", "", "", std::nullopt}};
  for (const auto& [what, home, xdg_config_home, folder] : rows) {
    EXPECT_EQ(PreferencesFolderFrom(home, xdg_config_home), folder) << what;
  }
}
#endif

TEST(PosixEnvTest, ServiceMessagesAtLevel1007AreLoggedAtNotice) {
  EXPECT_EQ(SyslogPriorityForLevel(1007), LOG_NOTICE);
}

using RunFunction = std::function<int32_t(const std::vector<String>&)>;

// A service whose Run is a function given by the test.
class Service final : public ServiceApplication {
 public:
  RunFunction run;
  int32_t Run(const std::vector<String>& args) override { return run(args); }
};

char program[] = "quellmark", flag[] = "--flag";
char* argv[] = {program, flag, nullptr};

TEST(ApplicationTest, RunGetsTheArgumentsAndItsResultIsTheExitStatus) {
  Service app;
  app.run = [](const std::vector<String>& args) { return args.at(1).Bytes() == "--flag" ? 7 : 1; };
  EXPECT_EQ(RunServiceApplication(app, 2, argv), 7);
}

TEST(ApplicationTest, AnExceptionLeavingRunGivesOneLineNamingItAndStatus70) {
  const std::tuple<const char*, RunFunction, const char*> rows[] = {
      {"a runtime exception is named by its class",
       [](const auto&) -> int32_t { throw NilObjectException("FolderItem"); },
       "NilObjectException: a member of a nil FolderItem"},
      {"a message of two lines gives one",
       [](const auto&) -> int32_t { throw std::runtime_error("disk\nfull"); }, "disk full"},
      {"anything else is still reported", [](const auto&) -> int32_t { throw 42; }, "unknown"}};
  for (const auto& [what, raise, named] : rows) {
    Service app;
    app.run = raise;
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunServiceApplication(app, 2, argv), kUncaughtExceptionStatus) << what;
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_NE(line.find(named), std::string::npos) << what << ": " << line;
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << what << ": " << line;
  }
}

}  // namespace
}  // namespace quellmark
