// The text helpers against literal references, all on one naive caseless search: GetXMLValue and
// the one-pass tag index for a set of keys and a key from the input; the cutting into item blocks
// against NthField(NthField(list, "<item>", i), "</item>", 1), with those runtime functions split
// naively too; percent-decoding; and Val's invariants. The first input byte gives the key's
// length (high bits) and the text's encoding (low bit); the key follows, then the text.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "app/preferences.h"
#include "runtime/numbers.h"
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

double ValOf(const std::string& s) { return quellmark::Val(String(s)); }

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

  // Block i is the i + 1st field cut at "<item>", cut in turn at "</item>", in the list's encoding.
  const std::vector<std::string> items = NaiveFields(s, "<item>");
  size_t i = 0;
  quellmark::ForEachItemBlock(text, [&](const String& block) {
    const String field = quellmark::NthField(text, "<item>", static_cast<int32_t>(++i) + 1);
    const String expected = quellmark::NthField(field, "</item>", 1);
    Check(i < items.size() && field.Bytes() == items[i] &&
          expected.Bytes() == NaiveFields(items[i], "</item>")[0] &&
          block.Bytes() == expected.Bytes() && block.Encoding() == text.Encoding());
  });
  Check(i + 1 == items.size() &&
        static_cast<size_t>(quellmark::CountFields(text, "<item>")) == items.size() &&
        quellmark::HasItemBlocks(text) == (items.size() > 1));

  // Decoding sets its label rather than carrying the input's over.
  const std::string decoded = LiteralDecoding(s);
  const String plain = quellmark::DecodingFromURLExt(String(s, TextEncoding::kUTF8));
  const String labelled =
      quellmark::GlobalMethods::DecodingFromURLVelmora(String(s, TextEncoding::kNone));
  Check(plain.Bytes() == decoded && plain.Encoding() == TextEncoding::kNone &&
        labelled.Bytes() == decoded && labelled.Encoding() == TextEncoding::kUTF8);

  // Val reads only a number at the start after blanks: blanks in front and a letter behind change
  // nothing (which a NaN also fails), and a text without digits reads 0.
  const double value = ValOf(s);
  Check(ValOf(" \t" + s) == value && ValOf(s + "x") == value &&
        (s.find_first_of("0123456789") != std::string::npos || value == 0));
  // A text that opens with a digit or a point reads as the negation of itself behind a "-".
  Check(!(s.starts_with('.') || std::isdigit(static_cast<unsigned char>(s[0]))) ||
        ValOf("-" + s) == -value);
  // A plain whole number, signed or not and not continued by a fraction or an exponent, reads
  // exactly as the C library reads it, whichever of Val's paths it takes.
  const std::string rest = s.substr(std::min(s.find_first_not_of(" \t"), s.size()));
  const size_t sign = rest.starts_with('+') || rest.starts_with('-') ? 1 : 0;
  const size_t end = std::min(rest.find_first_not_of("0123456789", sign), rest.size());
  Check(end == sign || rest.find_first_of(".eE", end) == end ||
        std::strtod(rest.substr(0, end).c_str(), nullptr) == value);
  // Truncation toward zero, saturating at the Int32 limits.
  Check(quellmark::DoubleToInt32(value) == std::clamp(std::trunc(value), -0x1p31, 0x1p31 - 1));
  return 0;
}
