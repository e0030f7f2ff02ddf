// The POSIX environment's rules that do not need the live system, exposed for tests.

#ifndef QUELLMARK_RUNTIME_POSIX_ENV_H_
#define QUELLMARK_RUNTIME_POSIX_ENV_H_

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace quellmark {

// The user's preferences folder given the home folder and $XDG_CONFIG_HOME (either may be
// null): ~/Library/Preferences on macOS; elsewhere $XDG_CONFIG_HOME when it is absolute, else
// ~/.config. nullopt when a folder is needed from an empty or missing home.
std::optional<std::string> PreferencesFolderFrom(const char* home, const char* xdg_config_home);

// syslog(3) priority for a runtime log level. Level 1007, the level of the service's messages,
// is raised to LOG_NOTICE, the lowest priority that common system logs keep by default; levels
// 1000 to 1006 map to LOG_EMERG to LOG_INFO; anything else is LOG_NOTICE.
int SyslogPriorityForLevel(int32_t level);

// text with every CR and LF turned into a blank, so that it is written as one line.
std::string AsOneLine(std::string text);

// Seconds since 1904-01-01 00:00:00 of the wall-clock fields of tm.
int64_t WallClockSecondsFrom(const std::tm& tm);

// The local wall clock at instant, in the zone last read by tzset: what the service's clock
// reads then (UTC's fields when the instant has no local time).
int64_t WallClockSecondsAt(std::time_t instant);

// How a waitpid status reads as one exit status: the exit code, or 128 + the signal.
int32_t ExitStatusFromWaitStatus(int wait_status);

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_POSIX_ENV_H_
