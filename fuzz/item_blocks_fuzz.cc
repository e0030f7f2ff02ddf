// The one-pass cutting of an alarm list into item blocks against its literal definition: block
// i - 1 is NthField(NthField(list, "<item>", i), "</item>", 1) for i from 2 to
// CountFields(list, "<item>"), in order, with the list's encoding. Those runtime functions are in
// turn checked against a naive caseless split, so a fault shared by the searches shows too.
// The first input byte's low bit gives the list's encoding; the rest is the list.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "app/preferences.h"

namespace {

char FoldCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The fields of text cut at every occurrence of separator, left to right.
std::vector<std::string> NaiveFields(const std::string& text, const std::string& separator) {
  std::vector<std::string> fields(1);
  for (size_t i = 0; i < text.size(); ++i) {
    size_t k = 0;
    while (k < separator.size() && i + k < text.size() &&
           FoldCase(text[i + k]) == FoldCase(separator[k])) {
      ++k;
    }
    if (k == separator.size()) {
      fields.emplace_back();
      i += k - 1;
    } else {
      fields.back() += text[i];
    }
  }
  return fields;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using quellmark::String;
  // The reference is quadratic in the number of items; larger lists only slow the search.
  if (size == 0 || size > 4096) return 0;
  const auto encoding =
      data[0] % 2 ? quellmark::TextEncoding::kUTF8 : quellmark::TextEncoding::kNone;
  const String list(std::string(reinterpret_cast<const char*>(data) + 1, size - 1), encoding);

  std::vector<String> blocks;
  quellmark::ForEachItemBlock(list, [&](const String& block) { blocks.push_back(block); });

  const std::vector<std::string> naive = NaiveFields(list.Bytes(), "<item>");
  const int32_t fields = quellmark::CountFields(list, "<item>");
  if (static_cast<size_t>(fields) != naive.size() || blocks.size() + 1 != naive.size() ||
      quellmark::HasItemBlocks(list) != (fields > 1)) {
    __builtin_trap();
  }
  for (int32_t i = 2; i <= fields; ++i) {
    const String field = quellmark::NthField(list, "<item>", i);
    const String expected = quellmark::NthField(field, "</item>", 1);
    if (field.Bytes() != naive[static_cast<size_t>(i) - 1] ||
        expected.Bytes() != NaiveFields(field.Bytes(), "</item>")[0]) {
      __builtin_trap();
    }
    const String& block = blocks[static_cast<size_t>(i) - 2];
    if (block.Bytes() != expected.Bytes() || block.Encoding() != encoding) __builtin_trap();
  }
  return 0;
}
