#include "text/url_decoding.h"

#include <gtest/gtest.h>

namespace quellmark {
namespace {

// "+" and a lone "%" are copied, as is a "%" one short of two hexadecimal digits or before other
// bytes; the second "%" of "%%" may start an escape; nothing is decoded twice; and the result is
// labelled UTF-8 whatever the input's label, even when it is not valid UTF-8.
TEST(DecodingTest, DecodesEscapesOfEitherCaseAndCopiesEverythingElse) {
  const std::pair<const char*, std::string> rows[] = {
      {"%2fup%21", "/up!"}, {"caf%C3%a9", "caf\xC3\xA9"}, {"a+b 100%", "a+b 100%"}, {"%4", "%4"},
      {"%G1%1g", "%G1%1g"}, {"%%41%2541", "%A%41"},       {"%00%FF", {"\0\xFF", 2}}};
  for (const auto& [encoded, decoded] : rows) {
    const String s = GlobalMethods::DecodingFromURLVelmora(String(encoded, TextEncoding::kNone));
    EXPECT_EQ(s.Bytes(), decoded) << encoded;
    EXPECT_EQ(s.Encoding(), TextEncoding::kUTF8) << encoded;
  }
}

}  // namespace
}  // namespace quellmark
