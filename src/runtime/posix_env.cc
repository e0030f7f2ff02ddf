#include "runtime/posix_env.h"

#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "runtime/calendar.h"
#include "runtime/env.h"
#include "runtime/folder_item.h"
#include "runtime/system_calls.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): not declared by every libc

namespace quellmark {

namespace {

bool IsSet(const char* value) { return value != nullptr && value[0] != '\0'; }

std::optional<std::string> HomeFolder() {
  if (const char* home = std::getenv("HOME"); IsSet(home)) return home;
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (sys::PasswordEntry(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
      found != nullptr && IsSet(found->pw_dir)) {
    return found->pw_dir;
  }
  return std::nullopt;
}

class PosixEnv final : public Env {
 public:
  // The zone is re-read (tzset) at most once for each second of the clock, so a change of the
  // machine's time zone shows within a second while a pass over many dates costs one lookup.
  int64_t LocalWallClockSeconds() override {
    const auto now = static_cast<std::time_t>(UnixSeconds());
    if (now != cached_utc_) {
      tzset();
      cached_local_ = LocalWallClockSecondsAt(now);
      cached_utc_ = now;
    }
    return cached_local_;
  }

  int64_t UnixSeconds() override { return sys::RealTimeNanoseconds() / 1'000'000'000; }

  void SleepForMilliseconds(int32_t milliseconds) override {
    if (milliseconds <= 0) return;
    using Nanoseconds = decltype(timespec::tv_nsec);
    timespec wait{milliseconds / 1000, static_cast<Nanoseconds>(milliseconds % 1000) * 1000000};
    while (sys::Sleep(&wait, &wait) != 0 && errno == EINTR) {
    }
  }

  [[noreturn]] void ExitProcess(int32_t code) override {
    std::fflush(nullptr);
    std::exit(code);
  }

  void WriteLog(int32_t level, const std::string& message) override {
    std::string line = AsOneLine(message) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
    line.pop_back();
    if (!log_open_) {
      openlog(nullptr, LOG_PID, LOG_USER);
      log_open_ = true;
    }
    syslog(LOG_USER | SyslogPriorityForLevel(level), "%s", line.c_str());
  }

  std::optional<std::string> PreferencesFolderPath() override {
    const std::optional<std::string> home = HomeFolder();
    return PreferencesFolderFrom(kThisPlatform, home ? home->c_str() : nullptr,
                                 std::getenv("XDG_CONFIG_HOME"));
  }

  std::string ApplicationsFolderPath() override { return "/Applications"; }

  int32_t ExecuteShellCommand(const std::string& command) override {
    // A NUL would silently cut the command short; such a command is not run at all.
    if (command.find('\0') != std::string::npos) return -1;
    std::string shell_name = "sh";
    std::string flag = "-c";
    std::string text = command;
    char* argv[] = {shell_name.data(), flag.data(), text.data(), nullptr};
    pid_t child = 0;
    if (sys::Spawn(&child, "/bin/sh", argv, environ) != 0) return -1;
    int status = 0;
    while (sys::WaitForChild(child, &status) < 0) {
      if (errno != EINTR) return -1;
    }
    return ExitStatusFromWaitStatus(status);
  }

 private:
  std::time_t cached_utc_ = -1;
  int64_t cached_local_ = 0;
  bool log_open_ = false;
};

}  // namespace

std::optional<std::string> PreferencesFolderFrom(Platform platform, const char* home,
                                                 const char* xdg_config_home) {
  const bool mac = platform == Platform::kMacOS;
  if (!mac && IsSet(xdg_config_home) && xdg_config_home[0] == '/') {
    return std::string(xdg_config_home);
  }
  if (!IsSet(home)) return std::nullopt;
  return JoinPath(home, mac ? "Library/Preferences" : ".config");
}

std::string AsOneLine(std::string text) {
  for (char& c : text) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return text;
}

int SyslogPriorityForLevel(int32_t level) {
  if (level >= 1000 && level <= 1006) return level - 1000;
  return LOG_NOTICE;
}

int64_t WallClockSecondsFrom(const std::tm& tm) {
  const int64_t days =
      calendar::DaysFromCivil(int64_t{tm.tm_year} + 1900, tm.tm_mon + 1, tm.tm_mday) -
      calendar::kWallEpochDays;
  return days * 86400 + int64_t{tm.tm_hour} * 3600 + int64_t{tm.tm_min} * 60 + tm.tm_sec;
}

int64_t LocalWallClockSecondsAt(std::time_t moment) {
  std::tm fields{};
  if (!sys::LocalTime(moment, &fields)) gmtime_r(&moment, &fields);
  return WallClockSecondsFrom(fields);
}

int32_t ExitStatusFromWaitStatus(int wait_status) {
  if (WIFEXITED(wait_status)) return WEXITSTATUS(wait_status);
  if (WIFSIGNALED(wait_status)) return 128 + WTERMSIG(wait_status);
  return -1;  // GCOVR_EXCL_LINE: waitpid without WUNTRACED reports only exits and signals
}

Env& PosixEnvironment() {
  static PosixEnv env;  // GCOVR_EXCL_BR_LINE: a local static's guard
  return env;
}

}  // namespace quellmark
