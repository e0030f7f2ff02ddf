// Percent-decoding against a literal reading of its rule: "%" and two hexadecimal digits of
// either case become that byte, every other byte ("+" and a lone "%" included) is copied.

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>

#include "text/url_decoding.h"

namespace {

bool IsHex(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

std::string LiteralDecoding(const std::string& in) {
  std::string out;
  for (size_t i = 0; i < in.size(); ++i) {
    if (in[i] == '%' && i + 2 < in.size() && IsHex(in[i + 1]) && IsHex(in[i + 2])) {
      out += static_cast<char>(std::stoi(in.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      out += in[i];
    }
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using quellmark::TextEncoding;
  const std::string in(reinterpret_cast<const char*>(data), size);
  const std::string expected = LiteralDecoding(in);
  const quellmark::String plain = quellmark::DecodingFromURLExt(quellmark::String(in));
  if (plain.Bytes() != expected || plain.Encoding() != TextEncoding::kNone) __builtin_trap();
  // The label is set, not carried over from the input.
  const quellmark::String labelled =
      quellmark::GlobalMethods::DecodingFromURLVelmora(quellmark::String(in, TextEncoding::kNone));
  if (labelled.Bytes() != expected || labelled.Encoding() != TextEncoding::kUTF8) __builtin_trap();
  return 0;
}
