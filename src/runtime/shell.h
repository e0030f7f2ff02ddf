// Shell: runs command lines through the system shell (/bin/sh -c) with the inherited
// environment, waiting for each to finish.

#ifndef QUELLMARK_RUNTIME_SHELL_H_
#define QUELLMARK_RUNTIME_SHELL_H_

#include <cstdint>

#include "runtime/string_value.h"

namespace quellmark {

class Shell {
 public:
  static constexpr const char* kClassName = "Shell";

  void Execute(const String& command);
  // Exit status of the last command (see Env::ExecuteShellCommand); 0 before any.
  int32_t ErrorCode() const { return error_code_; }

 private:
  int32_t error_code_ = 0;
};

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_SHELL_H_
