#include "text/xml_value.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "text/tag_index.h"

namespace quellmark::GlobalMethods {
namespace {

// The value of "a": the text from the first "<a>" to the next "</a>" or "<a>", as it stands (no
// trimming, no entities) and labelled as the source is. With no "</a>" after the "<a>" but one
// before, the value runs to the next "<a>" or the end; with none at all, or no "<a>", it is "".
// Tags match only in the form "<a>", under the case rule.
TEST(GetXMLValueTest, TakesTheTextBetweenTheTagsAsItStands) {
  const std::pair<std::string, std::string> rows[] = {
      {"<a>1", ""},         {"</a>x<a>1<a>2<a>3", "1"}, {"<a><b>1</b></a>", "<b>1</b>"},
      {"1</a>", ""},        {"<a x=\"1\">2</a>", ""},   {"<a> \n1\r\n</a>", " \n1\r\n"},
      {"<ab>1</ab>", ""},   {"<a>1</a><a>2</a>", "1"},  {{"<a>\xff\0z</a>", 10}, {"\xff\0z", 3}},
      {"<A>up</a>", "up"},  {"</a>x<a>1<b>", "1<b>"},   {"<a>&lt;b&gt;</a>", "&lt;b&gt;"},
      {"<a>1<a>2</a>", "1"}};
  const TagSet keys({"a"});
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

// The one-pass index answers as GetXMLValue does. Keys made of "@" and "`", which differ only in
// the bit the index's hash ignores, all want one slot and must each keep their own; a tag that
// only starts like a key, or is only the start of one, is not taken for it. With two keys in a
// table of eight slots, some of the 253 near misses below land on the key's slot.
TEST(TagIndexTest, AnswersAsGetXMLValueForKeysSharingASlotAndTagsSharingAStart) {
  std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
      {{"@@@", "@@`", "@`@", "@``", "`@@", "`@`", "``@", "```"}, ""}};
  for (const std::string& key : rows[0].first)
    rows[0].second += "<" + key + ">" + key + "</" + key + ">";
  rows.push_back({{"/a"}, "</a>v<//a>"});  // a key starting with "/": its opening tag closes "a"
  for (int byte = 1; byte < 256; ++byte) {
    if (byte == '<' || byte == '>') continue;  // such keys are not indexed, and have no number
    const std::string k = "k", longer = k + static_cast<char>(byte);
    for (const auto& [key, near] : {std::pair(k, longer), std::pair(longer, k)}) {
      rows.push_back({{key, "a-longest-key"},
                      "<" + near + ">near</" + near + "><" + key + ">key</" + key + ">"});
    }
  }
  for (const auto& [keys, bytes] : rows) {
    const String text(bytes, TextEncoding::kNone);
    const TagSet tags(keys);
    const TagIndex index(tags, text);
    for (int32_t id = 0; const std::string& key : keys) {  // looked up, and by number
      const std::string value = VariantToString(GetXMLValue(text, String(key))).Bytes();
      EXPECT_EQ(VariantToString(index.Value(key)).Bytes(), value) << key << " in " << bytes;
      EXPECT_EQ(VariantToString(index.Value(id++)).Bytes(), value) << key << " in " << bytes;
    }
  }
}

}  // namespace
}  // namespace quellmark::GlobalMethods
