#include "runtime/string_value.h"

#include <locale.h>  // NOLINT(modernize-deprecated-headers): POSIX newlocale

#include <cstdlib>

#include "runtime/caseless_search.h"

namespace quellmark {

namespace {

bool IsContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }

// Byte offset where character number `count` (0-based) begins, or the size when s is shorter.
size_t OffsetOfCharacter(std::string_view s, int64_t count) {
  size_t i = 0;
  while (count > 0 && i < s.size()) {
    i += CharacterLength(s, i);
    --count;
  }
  return i;
}

int32_t CountCharacters(std::string_view s, size_t end) {
  int32_t count = 0;
  for (size_t i = 0; i < end; i += CharacterLength(s, i)) ++count;
  return count;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The "C" locale, so that the decimal point is always ".".
locale_t CLocale() {
  // GCOVR_EXCL_BR_START: the static's guard, and the C locale, which is always there to make
  static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return c_locale != nullptr ? c_locale : LC_GLOBAL_LOCALE;
  // GCOVR_EXCL_BR_STOP
}

}  // namespace

size_t CharacterLength(std::string_view bytes, size_t i) {
  const auto lead = static_cast<unsigned char>(bytes[i]);
  size_t length = 1;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
  }
  if (length == 1 || bytes.size() - i < length) return 1;
  // Four leads narrow the range of the second byte; outside it the sequence would be an overlong
  // form, a surrogate or past U+10FFFF, none of them well-formed, so the lead stands alone.
  const auto second = static_cast<unsigned char>(bytes[i + 1]);
  const int lowest = lead == 0xE0 ? 0xA0 : (lead == 0xF0 ? 0x90 : 0x80);
  const int highest = lead == 0xED ? 0x9F : (lead == 0xF4 ? 0x8F : 0xBF);
  if (second < lowest || second > highest) return 1;
  for (size_t k = 2; k < length; ++k) {
    if (!IsContinuation(static_cast<unsigned char>(bytes[i + k]))) return 1;
  }
  return length;
}

String operator+(const String& a, const String& b) {
  const TextEncoding encoding = a.encoding_ == b.encoding_ ? a.encoding_ : TextEncoding::kNone;
  return String(a.bytes_ + b.bytes_, encoding);
}

bool operator==(const String& a, const String& b) { return CaselessEqual(a.bytes_, b.bytes_); }

bool operator==(const String& a, const char* b) { return CaselessEqual(a.bytes_, b); }

// GCOVR_EXCL_START: only a failing test prints a String
std::ostream& operator<<(std::ostream& out, const String& s) { return out << s.Bytes(); }
// GCOVR_EXCL_STOP

int32_t Len(const String& s) { return CountCharacters(s.Bytes(), s.Bytes().size()); }

int32_t LenB(const String& s) { return static_cast<int32_t>(s.Bytes().size()); }

String Left(const String& s, int32_t n) {
  if (n <= 0) return String("", s.Encoding());
  return String(s.Bytes().substr(0, OffsetOfCharacter(s.Bytes(), n)), s.Encoding());
}

String Right(const String& s, int32_t n) {
  if (n <= 0) return String("", s.Encoding());
  const int32_t skip = Len(s) - n;
  if (skip <= 0) return s;
  return String(s.Bytes().substr(OffsetOfCharacter(s.Bytes(), skip)), s.Encoding());
}

int32_t InStr(int32_t start, const String& source, const String& find) {
  const std::string& bytes = source.Bytes();
  const size_t from = start <= 1 ? 0 : OffsetOfCharacter(bytes, int64_t{start} - 1);
  const size_t at = CaselessSearcher(find.Bytes()).Find(bytes, from);
  if (at == std::string::npos) return 0;
  return CountCharacters(bytes, at) + 1;
}

int32_t CountFields(const String& s, const String& separator) {
  const CaselessSearcher searcher(separator.Bytes());
  int32_t fields = 1;
  for (size_t at = searcher.Find(s.Bytes()); at != std::string::npos;
       at = searcher.Find(s.Bytes(), at + searcher.size())) {
    ++fields;
  }
  return fields;
}

String NthField(const String& s, const String& separator, int32_t n) {
  if (n < 1) return String("", s.Encoding());
  const std::string& bytes = s.Bytes();
  const CaselessSearcher searcher(separator.Bytes());
  size_t begin = 0;
  for (int32_t field = 1; field < n; ++field) {
    const size_t at = searcher.Find(bytes, begin);
    if (at == std::string::npos) return String("", s.Encoding());
    begin = at + searcher.size();
  }
  const size_t end = searcher.Find(bytes, begin);
  return String(bytes.substr(begin, end == std::string::npos ? std::string::npos : end - begin),
                s.Encoding());
}

double Val(const String& s) {
  const std::string& b = s.Bytes();
  size_t i = 0;
  while (i < b.size() && (b[i] == ' ' || b[i] == '\t')) ++i;
  const size_t begin = i;
  if (i < b.size() && (b[i] == '+' || b[i] == '-')) ++i;
  size_t digits = 0;
  uint64_t whole = 0;
  for (; i < b.size() && IsDigit(b[i]); ++i, ++digits) {
    whole = whole * 10 + static_cast<uint64_t>(b[i] - '0');
  }
  // The usual case, a whole number of up to 15 digits, is exact as a double as it stands.
  if (digits > 0 && digits <= 15 &&
      (i == b.size() || (b[i] != '.' && b[i] != 'e' && b[i] != 'E'))) {
    const auto value = static_cast<double>(whole);
    return b[begin] == '-' ? -value : value;
  }
  if (i < b.size() && b[i] == '.') {
    ++i;
    for (; i < b.size() && IsDigit(b[i]); ++i) ++digits;
  }
  if (digits == 0) return 0.0;
  // An exponent counts only when digits follow it: "2e" is 2.
  if (i < b.size() && (b[i] == 'e' || b[i] == 'E')) {
    size_t j = i + 1;
    if (j < b.size() && (b[j] == '+' || b[j] == '-')) ++j;
    if (j < b.size() && IsDigit(b[j])) {
      while (j < b.size() && IsDigit(b[j])) ++j;
      i = j;
    }
  }
  // The span is a plain decimal number by construction, so strtod reads all of it (and turns
  // overflow into +-HUGE_VAL and underflow into 0).
  const std::string number = b.substr(begin, i - begin);
  return strtod_l(number.c_str(), nullptr, CLocale());
}

String Str(int32_t i) { return String(std::to_string(i)); }

String DefineEncoding(const String& s, TextEncoding encoding) {
  return String(s.Bytes(), encoding);
}

}  // namespace quellmark
