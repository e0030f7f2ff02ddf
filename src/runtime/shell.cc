#include "runtime/shell.h"

#include "runtime/env.h"

namespace quellmark {

void Shell::Execute(const String& command) {
  error_code_ = Env::Current().ExecuteShellCommand(command.Bytes());
}

}  // namespace quellmark
