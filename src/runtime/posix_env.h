// The POSIX environment's rules that do not need the live system, exposed for tests.

#ifndef QUELLMARK_RUNTIME_POSIX_ENV_H_
#define QUELLMARK_RUNTIME_POSIX_ENV_H_

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace quellmark {

// The operating systems whose folder layouts differ, and the one this build runs on.
enum class Platform { kMacOS, kOther };
#ifdef __APPLE__
inline constexpr Platform kThisPlatform = Platform::kMacOS;
#else
inline constexpr Platform kThisPlatform = Platform::kOther;
#endif

// The user's preferences folder on platform given the home folder and $XDG_CONFIG_HOME (either
// may be null): ~/Library/Preferences on macOS; elsewhere $XDG_CONFIG_HOME when it is absolute,
// else ~/.config. nullopt when a folder is needed from an empty or missing home.
std::optional<std::string> PreferencesFolderFrom(Platform platform, const char* home,
                                                 const char* xdg_config_home);

// syslog(3) priority for a runtime log level. Level 1007, the level of the service's messages,
// is raised to LOG_NOTICE, the lowest priority that common system logs keep by default; levels
// 1000 to 1006 map to LOG_EMERG to LOG_INFO; anything else is LOG_NOTICE.
int SyslogPriorityForLevel(int32_t level);

// text with every CR and LF turned into a blank, so that it is written as one line.
std::string AsOneLine(std::string text);

// Seconds since 1904-01-01 00:00:00 of the wall-clock fields of tm.
int64_t WallClockSecondsFrom(const std::tm& tm);

// The same of a moment (seconds since 1970) on the machine's wall clock, or on UTC's when its
// zone cannot give the moment's fields.
int64_t LocalWallClockSecondsAt(std::time_t moment);

// How a waitpid status reads as one exit status: the exit code, or 128 + the signal.
int32_t ExitStatusFromWaitStatus(int wait_status);

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_POSIX_ENV_H_
