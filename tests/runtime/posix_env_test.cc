#include "runtime/posix_env.h"

#include <syslog.h>

#include <gtest/gtest.h>

#include <tuple>

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

}  // namespace
}  // namespace quellmark
