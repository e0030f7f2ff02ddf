// The frame of a background service application: the Run event that holds the service's whole
// life, DoEvents to pace it, Quit to end it, and the process entry that raises Run and turns an
// escaping exception into one line on standard error and exit status 70 (EX_SOFTWARE).

#ifndef QUELLMARK_RUNTIME_APPLICATION_H_
#define QUELLMARK_RUNTIME_APPLICATION_H_

#include <cstdint>
#include <vector>

#include "runtime/string_value.h"

namespace quellmark {

class ServiceApplication {
 public:
  ServiceApplication() = default;
  ServiceApplication(const ServiceApplication&) = delete;
  ServiceApplication& operator=(const ServiceApplication&) = delete;
  virtual ~ServiceApplication() = default;

  // The Run event, raised once; its result is the process's exit status.
  virtual int32_t Run(const std::vector<String>& args) = 0;

  // Lets pending runtime work run and waits about the given time. A service has no pending
  // work, so this sleeps; a negative time does not wait.
  void DoEvents(int32_t milliseconds);

  // Ends the process with code. Never returns into the caller.
  [[noreturn]] void Quit(int32_t code);
};

// The point where a loop of the service's own code offers the runtime a turn. The service has
// one thread and nothing else to run, so it does nothing.
inline void YieldPoint() {}

// Exit status of a process whose Run let an exception escape.
constexpr int kUncaughtExceptionStatus = 70;

// The process entry: raises app.Run with the command-line arguments and returns its result as
// the exit status; an exception leaving Run gives one line on stderr naming it and status 70.
int RunServiceApplication(ServiceApplication& app, int argc, char** argv);

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_APPLICATION_H_
