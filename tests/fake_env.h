// A scripted Env for tests: a clock that only moves when told (or when slept on), and a record
// of what was logged and run. Installed for its lifetime.

#ifndef QUELLMARK_TESTS_FAKE_ENV_H_
#define QUELLMARK_TESTS_FAKE_ENV_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "runtime/env.h"

namespace quellmark {

// Thrown by the fake's ExitProcess so a test can see the code and carry on.
struct FakeExit {
  int32_t code;
};

class FakeEnv : public Env {
 public:
  FakeEnv() : previous_(Env::Install(this)) {}
  FakeEnv(const FakeEnv&) = delete;
  FakeEnv& operator=(const FakeEnv&) = delete;
  ~FakeEnv() override { Env::Install(previous_); }

  int64_t LocalWallClockSeconds() override { return now; }
  int64_t UnixSeconds() override { return now - 2'082'844'800; }  // as if the zone were UTC
  void SleepForMilliseconds(int32_t milliseconds) override { now += milliseconds / 1000; }
  [[noreturn]] void ExitProcess(int32_t code) override { throw FakeExit{code}; }
  void WriteLog(int32_t level, const std::string& message) override {
    log.push_back(std::to_string(level) + " " + message);
  }
  std::optional<std::string> PreferencesFolderPath() override { return preferences_folder; }
  std::string ApplicationsFolderPath() override { return applications_folder; }
  int32_t ExecuteShellCommand(const std::string& command) override {
    commands.push_back(command);
    return 0;
  }

  int64_t now = 0;  // seconds since 1904 on the local scale
  std::optional<std::string> preferences_folder;
  std::string applications_folder = "/nonexistent";
  std::vector<std::string> log;
  std::vector<std::string> commands;

 private:
  Env* previous_;
};

}  // namespace quellmark

#endif  // QUELLMARK_TESTS_FAKE_ENV_H_
