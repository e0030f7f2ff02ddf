// The runtime's exceptions. They model the platform's failures (a member of nil used, an index
// outside an array, a failed system call) and are never caught by the service's own logic: one
// place, RunServiceApplication, turns an escaping exception into the process's exit status.

#ifndef QUELLMARK_RUNTIME_EXCEPTIONS_H_
#define QUELLMARK_RUNTIME_EXCEPTIONS_H_

#include <cstdint>
#include <stdexcept>
#include <string>

namespace quellmark {

class RuntimeException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  // The exception's class name as it appears in the process's last line of output.
  virtual const char* Name() const noexcept { return "RuntimeException"; }
};

// A member of a nil reference was used; the message names the class of the reference.
class NilObjectException : public RuntimeException {
 public:
  explicit NilObjectException(const std::string& class_name);
  const char* Name() const noexcept override { return "NilObjectException"; }
};

// An array index outside 0 to the upper bound; the message gives the index and the bound.
class OutOfBoundsException : public RuntimeException {
 public:
  OutOfBoundsException(int64_t index, int64_t upper_bound);
  const char* Name() const noexcept override { return "OutOfBoundsException"; }
};

// A system call failed where the runtime cannot give a defined fallback value; the message
// names the call, the object and errno's text.
class IOException : public RuntimeException {
 public:
  IOException(const std::string& call, const std::string& what, int error_number);
  const char* Name() const noexcept override { return "IOException"; }
};

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_EXCEPTIONS_H_
