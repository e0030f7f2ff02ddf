// GetXMLValue against a literal reading of its rules, with a naive caseless search. The first
// input byte gives the key's length; the key follows, then the source.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "text/xml_value.h"

namespace {

constexpr size_t kNone = std::string::npos;

char FoldCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

size_t NaiveFind(const std::string& text, const std::string& tag, size_t from) {
  for (size_t i = from; i + tag.size() <= text.size(); ++i) {
    size_t k = 0;
    while (k < tag.size() && FoldCase(text[i + k]) == FoldCase(tag[k])) ++k;
    if (k == tag.size()) return i;
  }
  return kNone;
}

std::string LiteralValue(const std::string& source, const std::string& key) {
  const std::string open = "<" + key + ">", close = "</" + key + ">";
  const size_t first = NaiveFind(source, open, 0);
  if (first == kNone || NaiveFind(source, close, 0) == kNone) return "";
  const size_t begin = first + open.size(), next = NaiveFind(source, open, begin);
  const std::string field = source.substr(begin, next == kNone ? kNone : next - begin);
  return field.substr(0, NaiveFind(field, close, 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto* text = reinterpret_cast<const char*>(data);
  const size_t key_size = std::min<size_t>(data[0], size - 1);
  const std::string key(text + 1, key_size), source(text + 1 + key_size, size - 1 - key_size);
  const quellmark::String value = quellmark::VariantToString(
      quellmark::GlobalMethods::GetXMLValue(quellmark::String(source), quellmark::String(key)));
  if (value.Bytes() != LiteralValue(source, key)) __builtin_trap();
  return 0;
}
