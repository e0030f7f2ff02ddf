// Env: the one seam between the service and the outside world: the clock, sleeping, ending the
// process, the system log, the platform's folders and the shell. The logic never calls time(),
// getenv, syslog or exit itself; it goes through Env::Current(). The process runs on the POSIX
// environment; tests install fakes with Env::Install.

#ifndef QUELLMARK_RUNTIME_ENV_H_
#define QUELLMARK_RUNTIME_ENV_H_

#include <cstdint>
#include <optional>
#include <string>

namespace quellmark {

class Env {
 public:
  virtual ~Env() = default;

  // Now, as whole seconds of local wall-clock time since 1904-01-01 00:00:00.
  virtual int64_t LocalWallClockSeconds() = 0;
  // Now, as whole seconds since 1970-01-01 00:00:00 UTC.
  virtual int64_t UnixSeconds() = 0;
  virtual void SleepForMilliseconds(int32_t milliseconds) = 0;
  // Ends the process with code; never returns (a test's fake may throw instead).
  [[noreturn]] virtual void ExitProcess(int32_t code) = 0;
  // One line to the system log at the runtime's level (1000 to 1007).
  virtual void WriteLog(int32_t level, const std::string& message) = 0;
  // Absolute path of the current user's preferences folder; nullopt when there is no user home.
  virtual std::optional<std::string> PreferencesFolderPath() = 0;
  virtual std::string ApplicationsFolderPath() = 0;
  // Runs command through /bin/sh -c, waits for it and returns its exit status (or 128 + the
  // signal that ended it, -1 when it could not be started).
  virtual int32_t ExecuteShellCommand(const std::string& command) = 0;

  // The environment in force: the POSIX one unless a test has installed another.
  static Env& Current();
  // Makes env current (nullptr restores the POSIX one); returns the one it replaces.
  static Env* Install(Env* env);
};

// The environment of a real process on a POSIX system.
Env& PosixEnvironment();

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_ENV_H_
