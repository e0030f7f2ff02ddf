#include "text/xml_value.h"

#include <gtest/gtest.h>

#include "text/tag_index.h"

namespace quellmark::GlobalMethods {
namespace {

// The value of "a": the text from the first "<a>" to the next "</a>" or "<a>", as it stands (no
// trimming, no entities) and labelled as the source is. With no "</a>" after the "<a>" but one
// before, the value runs to the next "<a>" or the end; with none at all, or no "<a>", it is "".
// Tags match only in the form "<a>", under the case rule.
TEST(GetXMLValueTest, TakesTheTextBetweenTheTagsAsItStands) {
  const std::pair<std::string, std::string> rows[] = {
      {"<a>1", ""},         {"</a>x<a>1<a>2", "1"},    {"<a><b>1</b></a>", "<b>1</b>"},
      {"1</a>", ""},        {"<a x=\"1\">2</a>", ""},  {"<a> \n1\r\n</a>", " \n1\r\n"},
      {"<ab>1</ab>", ""},   {"<a>1</a><a>2</a>", "1"}, {{"<a>\xff\0z</a>", 10}, {"\xff\0z", 3}},
      {"<A>up</a>", "up"},  {"</a>x<a>1<b>", "1<b>"},  {"<a>&lt;b&gt;</a>", "&lt;b&gt;"},
      {"<a>1<a>2</a>", "1"}};
  const TagSet keys({"b"});
  for (const auto& [source, value] : rows) {
    const String text(source, TextEncoding::kNone);
    const String found = VariantToString(GetXMLValue(text, "a"));
    EXPECT_EQ(found.Bytes(), value) << source;
    EXPECT_EQ(found.Encoding(), TextEncoding::kNone) << source;
    // An index answers as GetXMLValue does, for a key it holds and one it does not.
    const TagIndex index(keys, text);
    EXPECT_EQ(VariantToString(index.Value("a")).Bytes(), value) << source;
    EXPECT_EQ(index.Value("b").StringValue(), GetXMLValue(text, "b").StringValue()) << source;
  }
}

}  // namespace
}  // namespace quellmark::GlobalMethods
