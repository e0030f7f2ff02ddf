// System: the runtime's system object; its Log writes one line to the system log (and to
// standard error) through Env.

#ifndef QUELLMARK_RUNTIME_SYSTEM_LOG_H_
#define QUELLMARK_RUNTIME_SYSTEM_LOG_H_

#include <cstdint>

#include "runtime/string_value.h"

namespace quellmark {

class System {
 public:
  static void Log(int32_t level, const String& message);
};

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_SYSTEM_LOG_H_
