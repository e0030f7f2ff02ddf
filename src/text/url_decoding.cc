#include "text/url_decoding.h"

#include <string>

namespace quellmark {

namespace {

int HexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

String DecodingFromURLExt(const String& s) {
  const std::string& in = s.Bytes();
  std::string out;
  out.reserve(in.size());
  for (size_t i = 0; i < in.size(); ++i) {
    if (in[i] == '%' && in.size() - i >= 3) {
      const int high = HexDigitValue(in[i + 1]);
      const int low = HexDigitValue(in[i + 2]);
      if (high >= 0 && low >= 0) {
        out += static_cast<char>(high * 16 + low);
        i += 2;
        continue;
      }
    }
    out += in[i];
  }
  return String(std::move(out), TextEncoding::kNone);
}

namespace GlobalMethods {

String DecodingFromURLVelmora(const String& s) {
  return DefineEncoding(DecodingFromURLExt(s), Encodings::UTF8);
}

}  // namespace GlobalMethods

}  // namespace quellmark
