// Val on any bytes: it never fails, and its result keeps the invariants that follow from reading
// only a number at the start after blanks. DoubleToInt32 of it is then exercised under UBSan.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "runtime/numbers.h"
#include "runtime/string_value.h"

namespace {

double ValOf(const std::string& s) { return quellmark::Val(quellmark::String(s)); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string s(reinterpret_cast<const char*>(data), size);
  const double value = ValOf(s);
  if (std::isnan(value)) __builtin_trap();
  // Blanks in front and a letter behind change nothing: no number continues past an "x".
  if (ValOf(" \t" + s) != value || ValOf(s + "x") != value) __builtin_trap();
  if (s.find_first_of("0123456789") == std::string::npos && value != 0) __builtin_trap();
  // A text that opens with a digit or a point reads as the negation of itself behind a "-".
  if (!s.empty() && (std::isdigit(static_cast<unsigned char>(s[0])) || s[0] == '.') &&
      ValOf("-" + s) != -value) {
    __builtin_trap();
  }
  // The C library reads a plain decimal prefix exactly; Val must agree with it, whichever of its
  // paths (whole numbers or the general one) it takes.
  const size_t begin = s.find_first_not_of(" \t");
  if (begin != std::string::npos) {
    size_t end = begin + (s[begin] == '+' || s[begin] == '-' ? 1 : 0);
    const size_t digits_begin = end;
    while (end < s.size() && std::isdigit(static_cast<unsigned char>(s[end]))) ++end;
    if (end > digits_begin &&
        (end == s.size() || std::string(".eE").find(s[end]) == std::string::npos) &&
        std::strtod(s.substr(begin, end - begin).c_str(), nullptr) != value) {
      __builtin_trap();
    }
  }
  const int32_t whole = quellmark::DoubleToInt32(value);
  if (!(std::fabs(whole - value) < 1 || (value >= 0x1p31 - 1 && whole == INT32_MAX) ||
        (value <= -0x1p31 && whole == INT32_MIN))) {
    __builtin_trap();
  }
  return 0;
}
