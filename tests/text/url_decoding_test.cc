#include "text/url_decoding.h"

#include <gtest/gtest.h>

#include <string>

namespace quellmark {
namespace {

struct DecodingCase {
  std::string encoded;
  std::string decoded;
};

class DecodingTest : public testing::TestWithParam<DecodingCase> {};

TEST_P(DecodingTest, DecodesEscapesAndCopiesEverythingElse) {
  const DecodingCase& c = GetParam();
  const String decoded = GlobalMethods::DecodingFromURLVelmora(String(c.encoded));
  EXPECT_EQ(decoded.Bytes(), c.decoded) << c.encoded;
  EXPECT_EQ(decoded.Encoding(), TextEncoding::kUTF8);
  EXPECT_EQ(DecodingFromURLExt(String(c.encoded)).Bytes(), c.decoded);
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, DecodingTest,
    testing::Values(DecodingCase{"Wake%20up%21", "Wake up!"}, DecodingCase{"%3Citem%3E", "<item>"},
                    DecodingCase{"caf%C3%A9", "caf\xC3\xA9"},
                    DecodingCase{"caf%c3%a9", "caf\xC3\xA9"},  // either letter case
                    DecodingCase{"no escapes", "no escapes"}, DecodingCase{"", ""},
                    DecodingCase{"a+b", "a+b"},        // "+" stays "+"
                    DecodingCase{"100%", "100%"},      // a lone "%" is copied
                    DecodingCase{"%4", "%4"},          // so is one short of two digits
                    DecodingCase{"%G1%1G", "%G1%1G"},  // and one before non-digits
                    DecodingCase{"%%41", "%A"},        // the second "%" starts an escape
                    DecodingCase{"%2541", "%41"},      // decoded once, not twice
                    DecodingCase{"%00%FF", std::string("\0\xFF", 2)},
                    DecodingCase{"%C3", "\xC3"}));  // invalid UTF-8 is kept

}  // namespace
}  // namespace quellmark
