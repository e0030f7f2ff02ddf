#include "runtime/exceptions.h"

#include <cstring>

namespace quellmark {

NilObjectException::NilObjectException(const std::string& class_name)
    : RuntimeException("a member of a nil " + class_name + " was used") {}

OutOfBoundsException::OutOfBoundsException(int64_t index, int64_t upper_bound)
    : RuntimeException("index " + std::to_string(index) + " is outside 0 to " +
                       std::to_string(upper_bound)) {}

IOException::IOException(const std::string& call, const std::string& what, int error_number)
    : RuntimeException(call + "(" + what + "): " + std::strerror(error_number)) {}

}  // namespace quellmark
