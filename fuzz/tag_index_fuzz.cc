// The one-pass tag index against GetXMLValue: for every key of a small set (short keys the
// fuzzer meets often, keys equal under the case rule, a key starting with "/", the empty key,
// keys it cannot index) and for one key taken from the input, both must give the same bytes.
// The first input byte gives that key's length; the key follows, then the text.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "text/tag_index.h"
#include "text/xml_value.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto* bytes = reinterpret_cast<const char*>(data);
  const size_t key_size = std::min<size_t>(data[0], size - 1);
  const std::string fuzzed_key(bytes + 1, key_size);
  const quellmark::String text(std::string(bytes + 1 + key_size, size - 1 - key_size));

  std::vector<std::string> keys = {"a", "A", "ab", "b", "/a", "", "a-1", "a<", "x>y", fuzzed_key};
  const quellmark::TagSet tags(keys);
  const quellmark::TagIndex index(tags, text);
  keys.emplace_back("B");  // not in the set: answered by GetXMLValue itself
  for (const std::string& key : keys) {
    const std::string expected = quellmark::VariantToString(quellmark::GlobalMethods::GetXMLValue(
                                                                text, quellmark::String(key)))
                                     .Bytes();
    if (quellmark::VariantToString(index.Value(key)).Bytes() != expected) __builtin_trap();
  }
  return 0;
}
