// The text helpers against literal references on any bytes: GetXMLValue and the one-pass tag index
// for a set of keys and a key from the input, both against one naive caseless search, and
// percent-decoding. The first input byte gives the key's length (high bits) and the text's
// encoding (low bit); the key follows, then the text.

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "text/tag_index.h"
#include "text/url_decoding.h"
#include "text/xml_value.h"

namespace {

using quellmark::String;

char FoldCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The fields of text cut at every occurrence of separator (not empty), left to right, caseless.
std::vector<std::string> NaiveFields(const std::string& text, const std::string& separator) {
  const auto same = [](char a, char b) { return FoldCase(a) == FoldCase(b); };
  std::vector<std::string> fields;
  for (auto from = text.begin();;) {
    const auto at = std::search(from, text.end(), separator.begin(), separator.end(), same);
    fields.emplace_back(from, at);
    if (at == text.end()) return fields;
    from = at + std::ssize(separator);
  }
}

// GetXMLValue's rules read literally: both tags must occur; the value is the text after the first
// opening tag, up to the next one, cut at its first closing tag.
std::string LiteralValue(const std::string& source, const std::string& key) {
  const std::vector<std::string> fields = NaiveFields(source, "<" + key + ">");
  const std::string close = "</" + key + ">";
  if (fields.size() < 2 || NaiveFields(source, close).size() < 2) return "";
  return NaiveFields(fields[1], close)[0];
}

bool IsHex(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

std::string LiteralDecoding(const std::string& in) {
  std::string out;
  for (size_t i = 0; i < in.size(); ++i) {
    const bool escape = in[i] == '%' && i + 2 < in.size() && IsHex(in[i + 1]) && IsHex(in[i + 2]);
    out += escape ? static_cast<char>(std::stoi(in.substr(i + 1, 2), nullptr, 16)) : in[i];
    if (escape) i += 2;
  }
  return out;
}

void Check(bool holds) {
  if (!holds) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using quellmark::TextEncoding, quellmark::VariantToString, quellmark::GlobalMethods::GetXMLValue;
  // The references are quadratic; longer texts only slow the search.
  if (size == 0 || size > 4096) return 0;
  const auto* bytes = reinterpret_cast<const char*>(data);
  const size_t key_size = std::min<size_t>(data[0] / 2, size - 1);
  const std::string key(bytes + 1, key_size), s(bytes + 1 + key_size, size - 1 - key_size);
  const String text(s, data[0] % 2 ? TextEncoding::kUTF8 : TextEncoding::kNone);

  // Keys the fuzzer meets often, keys equal under the case rule, a key starting with "/", the
  // empty key and keys the index cannot hold; "B" is left out of the set, so the index hands it
  // to GetXMLValue.
  std::vector<std::string> keys = {"a", "A", "ab", "b", "/a", "", "a-1", "a<", "x>y", key};
  const quellmark::TagSet tags(keys);
  const quellmark::TagIndex index(tags, text);
  keys.emplace_back("B");
  for (const std::string& k : keys) {
    const std::string expected = LiteralValue(s, k);
    Check(VariantToString(GetXMLValue(text, String(k))).Bytes() == expected &&
          VariantToString(index.Value(k)).Bytes() == expected);
  }

  // Decoding sets its label rather than carrying the input's over.
  const std::string decoded = LiteralDecoding(s);
  const String plain = quellmark::DecodingFromURLExt(String(s, TextEncoding::kUTF8));
  const String labelled =
      quellmark::GlobalMethods::DecodingFromURLVelmora(String(s, TextEncoding::kNone));
  Check(plain.Bytes() == decoded && plain.Encoding() == TextEncoding::kNone &&
        labelled.Bytes() == decoded && labelled.Encoding() == TextEncoding::kUTF8);
  return 0;
}
