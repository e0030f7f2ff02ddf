#include "alarm/alarm_item.h"

#include <gtest/gtest.h>

#include <string>

#include "test_support.h"

namespace quellmark {
namespace {

// A value unlike the zero value and unlike any other property's, derived from the property's
// number n.
void SetOwn(String& s, int32_t n) { s = String("own " + std::to_string(n)); }
void SetOwn(Ref<FolderItem>& item, int32_t n) { item = Ref<FolderItem>::New(std::to_string(n)); }
void SetOwn(Ref<Array<bool>>& flags, int32_t n) {
  for (int32_t i = 0; i <= flags->UBound(); ++i) flags->Set(i, (i + n) % 3 != 0);
}
void SetOwn(auto& value, int32_t n) { value = n + 1000; }

// Each property starts at its type's zero value, then takes a value of its own; flipping a flag in
// the copy tells a shared array from a separate one.
TEST(AlarmItemTest, ANewRecordHoldsZeroValuesAndADuplicateCopiesEachWithFlagArraysOfItsOwn) {
  const std::string zero[] = {"", "0", "0", "0", "nil", "0000000"};  // by PropertyType
  AlarmItem source;
  int32_t n = 0;
  for (const PropertyInfo& p : kAlarmItemProperties) {
    const std::string& expected = zero[static_cast<size_t>(p.type)];
    EXPECT_EQ(PropertyText(source, p), p.name == "dMonthlyWeekNum" ? "00000" : expected) << p.name;
    std::visit([&](auto member) { SetOwn(source.*member, ++n); }, p.member);
  }
  const Ref<AlarmItem> duplicate = source.DuplicateMe();
  AlarmItem& copy = *duplicate;
  for (const PropertyInfo& p : kAlarmItemProperties) {
    EXPECT_EQ(PropertyText(copy, p), PropertyText(source, p)) << p.name;
    if (const auto* flags = std::get_if<Ref<Array<bool>> AlarmItem::*>(&p.member)) {
      (copy.*(*flags))->Set(3, !(copy.*(*flags))->Get(3));
      EXPECT_NE(PropertyText(copy, p), PropertyText(source, p)) << p.name << " is shared";
    }
  }
  // The names are the saved form's tags: Tolvane's own spellings must survive any tidying up.
  for (const char* odd :
       {"viTunesStreamSupress", "vTextMsgSMTPSPassword", "vSendShotSMTPSPassword"})
    EXPECT_NE(FindAlarmProperty(odd), nullptr) << odd;
  for (const char* near : {"viTunesStreamSuppress", "menabled", "mEnabled "})
    EXPECT_EQ(FindAlarmProperty(near), nullptr) << near;
}

}  // namespace
}  // namespace quellmark
