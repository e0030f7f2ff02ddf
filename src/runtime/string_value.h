// String: the runtime's immutable text value, a sequence of bytes with a text encoding label,
// and the global string functions the logic is written against.
//
// Character positions count UTF-8 characters from 1. A byte that does not start a well-formed
// UTF-8 sequence counts as one character by itself, so every byte string has a defined length.
// Comparison and searching follow one case rule: ASCII letters match either case, every other
// byte only itself.

#ifndef QUELLMARK_RUNTIME_STRING_VALUE_H_
#define QUELLMARK_RUNTIME_STRING_VALUE_H_

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace quellmark {

// A label only: nothing converts or validates bytes when it is set.
enum class TextEncoding { kNone, kUTF8 };

// The runtime's table of encodings.
struct Encodings {
  static constexpr TextEncoding UTF8 = TextEncoding::kUTF8;
};

class String {
 public:
  String() = default;
  // Literals of the program are UTF-8.
  String(const char* literal)  // NOLINT(google-explicit-constructor)
      : bytes_(literal) {}
  explicit String(std::string bytes, TextEncoding encoding = TextEncoding::kUTF8)
      : bytes_(std::move(bytes)), encoding_(encoding) {}

  const std::string& Bytes() const { return bytes_; }
  TextEncoding Encoding() const { return encoding_; }
  bool IsEmpty() const { return bytes_.empty(); }

  friend String operator+(const String& a, const String& b);
  // Equality of text under the case rule above; encodings are not compared.
  friend bool operator==(const String& a, const String& b);
  // The same, against a literal, without making a String of it.
  friend bool operator==(const String& a, const char* b);

 private:
  std::string bytes_;
  TextEncoding encoding_ = TextEncoding::kUTF8;
};

std::ostream& operator<<(std::ostream& out, const String& s);

// Number of characters.
int32_t Len(const String& s);
// Number of bytes.
int32_t LenB(const String& s);
// The first or last n characters; "" for n <= 0, the whole string when n >= Len(s).
String Left(const String& s, int32_t n);
String Right(const String& s, int32_t n);
// 1-based character position of the first occurrence of find at or after character position
// start (start <= 1 searches from the beginning); 0 when there is none or find is empty.
int32_t InStr(int32_t start, const String& source, const String& find);
// The number of fields when s is cut at every non-overlapping occurrence of separator, searched
// left to right: the occurrences + 1. An empty separator never occurs.
int32_t CountFields(const String& s, const String& separator);
// The n-th of those fields, counting from 1; "" when n < 1 or there are fewer than n fields.
String NthField(const String& s, const String& separator, int32_t n);
// The decimal number at the start of s after blanks (spaces, tabs): optional sign, digits with an
// optional fraction, an optional exponent. 0 when there is none; +-inf beyond double's range.
double Val(const String& s);
// Decimal digits of i, with a leading "-" when negative.
String Str(int32_t i);
// The same bytes, labelled with encoding.
String DefineEncoding(const String& s, TextEncoding encoding);

// Byte length of the character that starts at index i of bytes (1 to 4).
size_t CharacterLength(std::string_view bytes, size_t i);

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_STRING_VALUE_H_
