#include "app/preferences.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace quellmark {
namespace {

using Blocks = std::vector<std::string>;

// The oracle: each block cut by the field functions on their own, one field at a time.
Blocks FieldBlocks(const String& list) {
  Blocks blocks;
  for (int32_t i = 2; i <= CountFields(list, "<item>"); ++i) {
    blocks.push_back(NthField(NthField(list, "<item>", i), "</item>", 1).Bytes());
  }
  return blocks;
}

// Text around items is ignored, a block without its closing tag runs to the next item, only its
// first closing tag cuts it, and tags match in any case; then lists of fragments that build, split
// and overlap tags, from a fixed seed so that a failure replays. The field functions are checked
// on their own in the runtime's tests.
TEST(ItemBlockTest, EachBlockIsTheFieldAfterAnItemTagCutAtItsFirstClosingTag) {
  std::vector<std::string> lists = {"X<item>A</item>Y<iTeM>B<ITEM>c</Item>d</item>Z", "X<item>",
                                    "</item>x<item >y<ite"};
  static const char* const kFragments[] = {
      "<item>", "</item>", "<ite", "m>", "x", "<ITEM>", "</ITEM>", "<", "/", "item>", "\xC3\xA9"};
  std::mt19937 random(20240612);
  std::uniform_int_distribution<size_t> pick(0, std::size(kFragments) - 1);
  while (lists.size() < 4000) {
    std::string& list = lists.emplace_back();
    for (size_t k = pick(random) + pick(random); k > 0; --k) list += kFragments[pick(random)];
  }
  for (const std::string& bytes : lists) {
    const String list(bytes);
    Blocks walked;
    ForEachItemBlock(list, [&walked](const String& block) { walked.push_back(block.Bytes()); });
    ASSERT_EQ(walked, FieldBlocks(list)) << bytes;
    ASSERT_EQ(HasItemBlocks(list), CountFields(list, "<item>") > 1) << bytes;
  }
}

}  // namespace
}  // namespace quellmark
