#include "runtime/system_log.h"

#include "runtime/env.h"

namespace quellmark {

void System::Log(int32_t level, const String& message) {
  Env::Current().WriteLog(level, message.Bytes());
}

}  // namespace quellmark
