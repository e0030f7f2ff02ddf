#include "runtime/application.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "runtime/env.h"
#include "runtime/exceptions.h"
#include "runtime/posix_env.h"

namespace quellmark {

namespace {

// The report is one line whatever the message holds, so that the last line of the output names
// the exception.
void ReportUncaught(const char* program, const std::string& what) {
  std::fprintf(stderr, "%s: unhandled %s\n", program, AsOneLine(what).c_str());
}

}  // namespace

void ServiceApplication::DoEvents(int32_t milliseconds) {
  Env::Current().SleepForMilliseconds(milliseconds);
}

void ServiceApplication::Quit(int32_t code) {
  Env::Current().ExitProcess(code);
  // An Env whose exit returns must not return into the caller either; none returns.
  std::abort();  // GCOVR_EXCL_LINE
}

int RunServiceApplication(ServiceApplication& app, int argc, char** argv) {
  const char* program = argc > 0 && argv[0] != nullptr ? argv[0] : "quellmark";
  std::vector<String> args;
  args.reserve(argc > 0 ? static_cast<size_t>(argc) : 0);
  for (int i = 0; i < argc; ++i) {
    args.emplace_back(std::string(argv[i] != nullptr ? argv[i] : ""), TextEncoding::kNone);
  }
  try {
    return app.Run(args);
  } catch (const RuntimeException& e) {
    ReportUncaught(program, std::string(e.Name()) + ": " + e.what());
  } catch (const std::exception& e) {
    ReportUncaught(program, std::string("exception: ") + e.what());
  } catch (...) {
    ReportUncaught(program, "exception of unknown type");
  }
  return kUncaughtExceptionStatus;
}

}  // namespace quellmark
