#include "text/xml_value.h"

#include <gtest/gtest.h>

namespace quellmark::GlobalMethods {
namespace {

struct ValueCase {
  const char* source;
  const char* key;
  const char* value;
};

class GetXMLValueTest : public testing::TestWithParam<ValueCase> {};

TEST_P(GetXMLValueTest, TakesTheTextBetweenTheTagsAsItStands) {
  const ValueCase& c = GetParam();
  EXPECT_EQ(VariantToString(GetXMLValue(String(c.source), String(c.key))).Bytes(), c.value)
      << "source " << c.source << ", key " << c.key;
}

INSTANTIATE_TEST_SUITE_P(
    Rules, GetXMLValueTest,
    testing::Values(ValueCase{"x<dHour>7</dHour>y", "dHour", "7"},
                    ValueCase{"<a>1</a><a>2</a>", "a", "1"},          // the first element wins
                    ValueCase{"<a> 1 </a>", "a", " 1 "},              // no trimming
                    ValueCase{"<a>\n1\r\n</a>", "a", "\n1\r\n"},      // nor of line ends
                    ValueCase{"<a>&lt;b&gt;</a>", "a", "&lt;b&gt;"},  // no entities
                    ValueCase{"<a>1", "a", ""},                       // no closing tag anywhere
                    ValueCase{"1</a>", "a", ""},                      // no opening tag
                    ValueCase{"</a>x<a>1<b>", "a", "1<b>"},           // closing tag only before
                    ValueCase{"</a>x<a>1<a>2", "a", "1"},             // ... up to the next opening
                    ValueCase{"<a>1<a>2</a>", "a", "1"},              // a second opening ends it
                    ValueCase{"<a/>", "a", ""},                       // self-closing never matches
                    ValueCase{"<a x=\"1\">2</a>", "a", ""},  // nor does one with attributes
                    ValueCase{"< a>2</a>", "a", ""},         // nor one with blanks
                    ValueCase{"", "a", ""}, ValueCase{"<a></a>", "a", ""},
                    ValueCase{"<A>up</a>", "a", "up"},  // tags follow the case rule
                    ValueCase{"<dMonthlyWeekday-10>1</dMonthlyWeekday-10>", "dMonthlyWeekday-1",
                              ""},
                    ValueCase{"<item><a>1</a></item>", "item", "<a>1</a>"},
                    ValueCase{"<a><<</a>>", "a", "<<"}));

TEST(GetXMLValueTest, KeepsTheSourcesBytesAndLabel) {
  const String source(std::string("<a>\xff\0z</a>", 10), TextEncoding::kNone);
  const String value = VariantToString(GetXMLValue(source, "a"));
  EXPECT_EQ(value.Bytes(), std::string("\xff\0z", 3));
  EXPECT_EQ(value.Encoding(), TextEncoding::kNone);
}

TEST(ConvertVarTest, ReturnsTheVeryVariantItIsGiven) {
  const Variant v = StringToVariant("True");
  EXPECT_EQ(&ConvertVar(v), &v);
}

}  // namespace
}  // namespace quellmark::GlobalMethods
