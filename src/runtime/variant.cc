#include "runtime/variant.h"

#include <limits>
#include <utility>

namespace quellmark {

Variant StringToVariant(const String& s) { return Variant(s); }

String VariantToString(const Variant& v) { return v.StringValue(); }

String VariantToString(Variant&& v) { return std::move(v).StringValue(); }

int32_t VariantToInt32(const Variant& v) {
  const std::string& b = v.StringValue().Bytes();
  size_t i = 0;
  while (i < b.size() && (b[i] == ' ' || b[i] == '\t')) ++i;
  bool negative = false;
  if (i < b.size() && (b[i] == '+' || b[i] == '-')) negative = b[i++] == '-';
  // Accumulate the magnitude, stopping once it is past any Int32.
  constexpr int64_t kLimit = int64_t{std::numeric_limits<int32_t>::max()} + 1;
  int64_t magnitude = 0;
  for (; i < b.size() && b[i] >= '0' && b[i] <= '9'; ++i) {
    if (magnitude <= kLimit) magnitude = magnitude * 10 + (b[i] - '0');
  }
  const int64_t value = negative ? -magnitude : magnitude;
  if (value > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
  if (value < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value);
}

bool VariantToBoolean(const Variant& v) { return v.StringValue() == String("True"); }

}  // namespace quellmark
