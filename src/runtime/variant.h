// Variant: the runtime's value of any type, here always a String (the only kind the preferences
// yield), with the conversions the logic uses.

#ifndef QUELLMARK_RUNTIME_VARIANT_H_
#define QUELLMARK_RUNTIME_VARIANT_H_

#include <cstdint>
#include <utility>

#include "runtime/string_value.h"

namespace quellmark {

class Variant {
 public:
  Variant() = default;
  explicit Variant(String value) : value_(std::move(value)) {}
  const String& StringValue() const& { return value_; }
  String StringValue() && { return std::move(value_); }

 private:
  String value_;
};

Variant StringToVariant(const String& s);
String VariantToString(const Variant& v);
// From a temporary, the string is moved out rather than copied: values may be megabytes.
String VariantToString(Variant&& v);
// The whole number written at the start of the string: blanks, an optional sign, decimal
// digits; anything after them is ignored ("12.9" is 12, "1e3" is 1). 0 when there are no digits;
// saturates at the Int32 limits.
int32_t VariantToInt32(const Variant& v);
// True for "True" in any letter case, exactly; false for everything else, "" included.
bool VariantToBoolean(const Variant& v);

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_VARIANT_H_
