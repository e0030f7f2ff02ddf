#include "runtime/env.h"

namespace quellmark {

namespace {

Env* installed = nullptr;

}  // namespace

Env& Env::Current() { return installed != nullptr ? *installed : PosixEnvironment(); }

Env* Env::Install(Env* env) {
  Env* previous = installed;
  installed = env;
  return previous;
}

}  // namespace quellmark
