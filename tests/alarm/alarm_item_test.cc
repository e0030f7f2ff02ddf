#include "alarm/alarm_item.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "test_support.h"

namespace quellmark {
namespace {

// A value unlike the zero value and unlike any other property's, derived from the position n.
void SetOwn(String& s, int32_t n) { s = String("own " + std::to_string(n)); }
void SetOwn(Ref<FolderItem>& item, int32_t n) { item = Ref<FolderItem>::New(std::to_string(n)); }
void SetOwn(Ref<Array<bool>>& flags, int32_t n) {
  for (int32_t i = 0; i <= flags->UBound(); ++i) flags->Set(i, (i + n) % 3 != 0);
}
void SetOwn(auto& value, int32_t n) { value = n + 1000; }

TEST(AlarmItemTest, ANewRecordHoldsZeroValuesButForTwoFlagArraysAllFalse) {
  const AlarmItem item;
  const std::string zero[] = {"", "0", "0", "0", "nil"};  // by PropertyType
  for (const PropertyInfo& p : kAlarmItemProperties) {
    std::string expected = p.name == "dMonthlyWeekday" ? "0000000" : "00000";
    if (p.type != PropertyType::kBooleanArray) expected = zero[static_cast<size_t>(p.type)];
    EXPECT_EQ(PropertyText(item, p), expected) << p.name;
  }
}

TEST(AlarmItemTest, PropertyTableNamesEachPropertyOnceInDeclaredOrder) {
  std::array<int, 6> per_type{};
  for (const PropertyInfo& p : kAlarmItemProperties) {
    EXPECT_EQ(FindAlarmProperty(p.name), &p) << p.name << " is not unique";
    EXPECT_EQ(p.position, &p - kAlarmItemProperties.data() + 1) << p.name;
    ++per_type[static_cast<size_t>(p.type)];
  }
  EXPECT_EQ(per_type, (std::array<int, 6>{43, 35, 57, 2, 3, 2}));  // 142 in all
  const std::pair<size_t, const char*> spots[] = {
      {1, "viTunesPlaylistName"},      {37, "mLastRung"},
      {117, "vTextMsgSMTPSPassword"},  {120, "viTunesStreamSupress"},
      {139, "vSendShotSMTPSPassword"}, {142, "viTunesPlaylistRandom"}};
  for (const auto& [at, name] : spots) EXPECT_EQ(kAlarmItemProperties[at - 1].name, name);
}

TEST(DuplicateMeTest, CopiesEveryPropertySharingTheFoldersButNotTheFlagArrays) {
  const AlarmItem fresh;
  AlarmItem source;
  for (const PropertyInfo& p : kAlarmItemProperties) {
    std::visit([&](auto member) { SetOwn(source.*member, p.position); }, p.member);
    ASSERT_NE(PropertyText(source, p), PropertyText(fresh, p))
        << p.name;  // else its copy could not be told
  }
  const Ref<AlarmItem> duplicate = source.DuplicateMe();
  AlarmItem& copy = *duplicate;
  for (const PropertyInfo& p : kAlarmItemProperties) {
    EXPECT_EQ(PropertyText(copy, p), PropertyText(source, p)) << p.name;
    if (auto* folder = std::get_if<Ref<FolderItem> AlarmItem::*>(&p.member)) {
      EXPECT_TRUE(copy.*(*folder) == source.*(*folder)) << p.name << " is not shared";
    }
    if (auto* flags = std::get_if<Ref<Array<bool>> AlarmItem::*>(&p.member)) {
      const std::string before = PropertyText(source, p);
      (copy.*(*flags))->Set(3, !(copy.*(*flags))->Get(3));
      EXPECT_EQ(PropertyText(source, p), before) << p.name << " is shared";
    }
  }
}

}  // namespace
}  // namespace quellmark
