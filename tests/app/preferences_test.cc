#include "app/preferences.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <tuple>
#include <vector>

#include "fake_env.h"
#include "runtime/exceptions.h"
#include "test_support.h"

namespace quellmark {
namespace {

namespace fs = std::filesystem;
using Blocks = std::vector<std::string>;

// The oracle: each block cut by the field functions on their own, one field at a time.
Blocks FieldBlocks(const String& list) {
  Blocks blocks;
  for (int32_t i = 2; i <= CountFields(list, "<item>"); ++i) {
    blocks.push_back(NthField(NthField(list, "<item>", i), "</item>", 1).Bytes());
  }
  return blocks;
}

Blocks WalkedBlocks(const String& list) {
  Blocks blocks;
  ForEachItemBlock(list, [&blocks](const String& block) { blocks.push_back(block.Bytes()); });
  return blocks;
}

TEST(ItemBlockTest, EachItemTagStartsABlockThatEndsAtTheNextItemOrItsFirstClosingTag) {
  const std::tuple<const char*, const char*, Blocks> rows[] = {
      {"text before and between items is ignored", "X<item>A</item>Y<item>B</item>Z", {"A", "B"}},
      {"an item without a closing tag runs to the next item", "<item>A<item>B", {"A", "B"}},
      {"only the first closing tag cuts a block", "<item>A</item>B</item>", {"A"}},
      {"a single item tag at the end is one empty block", "X<item>", {""}},
      {"tags match in any case", "<ITEM>a</Item><iTeM>b</ITEM>c", {"a", "b"}},
      {"a list without an item tag has no block", "</item>x<item >y<ite", {}}};
  for (const auto& [what, list, blocks] : rows) {
    EXPECT_EQ(FieldBlocks(list), blocks) << what;
    EXPECT_EQ(WalkedBlocks(list), blocks) << what;
  }
  // Fragments that build, split and overlap tags; the seed is fixed so a failure replays.
  static const char* const kFragments[] = {
      "<item>", "</item>", "<ite", "m>", "x", "<ITEM>", "</ITEM>", "<", "/", "item>", "\xC3\xA9"};
  std::mt19937 random(20240612);
  std::uniform_int_distribution<size_t> pick(0, std::size(kFragments) - 1);
  for (int n = 0; n < 4000; ++n) {
    std::string list;
    for (size_t k = pick(random) + pick(random); k > 0; --k) list += kFragments[pick(random)];
    ASSERT_EQ(WalkedBlocks(String(list)), FieldBlocks(String(list))) << list;
  }
}

TEST(PreferencesTest, OnlyAnExistingRegularFileIsReadAndOnlyItsSettingsAreKept) {
  TempFolder dir;
  FakeEnv env;
  env.preferences_folder = dir.path;
  const std::string file = dir.path + "/" + kPreferencesFileName;
  String settings;
  EXPECT_EQ(ReadPreferenceSettings(settings), PreferencesOutcome::kNotFound);
  fs::create_directory(file);
  EXPECT_EQ(ReadPreferenceSettings(settings), PreferencesOutcome::kNotOpenable) << "a folder";
  fs::remove(file);
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  alarm(10);  // a FIFO without a writer must be refused, not waited on
  EXPECT_EQ(ReadPreferenceSettings(settings), PreferencesOutcome::kNotOpenable) << "a FIFO";
  alarm(0);
  fs::remove(file);
  const std::string inner("\r\n<iRingOffset>5</iRingOffset>\0\xFF", 32);
  std::ofstream(file) << "<new-alarms><item>outside</item></new-alarms><settings>" << inner
                      << "</settings><new-alarms><item>after</item></new-alarms>";
  ASSERT_EQ(ReadPreferenceSettings(settings), PreferencesOutcome::kRead);
  EXPECT_EQ(settings.Bytes(), inner);
  EXPECT_EQ(SettingText(settings, "iRingOffset").Bytes(), "5");
  EXPECT_EQ(SettingText(settings, "new-alarms").Bytes(), "") << "seen outside the settings";
  env.preferences_folder.reset();
  EXPECT_THROW(ReadPreferenceSettings(settings), NilObjectException);
}

}  // namespace
}  // namespace quellmark
