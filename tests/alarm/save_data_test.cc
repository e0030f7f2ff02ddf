#include "alarm/alarm_item.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>

#include "alarm/ring_offset.h"
#include "fake_env.h"
#include "runtime/numbers.h"
#include "test_support.h"
#include "text/xml_value.h"

namespace quellmark {
namespace {

bool OneOf(std::string_view name, std::initializer_list<std::string_view> names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// value under every property's tag, a flag list's from name-0 to one past its end.
std::string EveryTag(const std::string& value) {
  std::string block;
  const auto add = [&](const std::string& t) { block += "<" + t + ">" + value + "</" + t + ">"; };
  for (const PropertyInfo& p : kAlarmItemProperties) add(std::string(p.name));
  for (int i = 0; i <= 7; ++i) add("dMonthlyWeekday-" + std::to_string(i));
  for (int i = 0; i <= 5; ++i) add("dMonthlyWeekNum-" + std::to_string(i));
  return block;
}

// A value written under every tag, and what each rule reads from it.
struct RuleCase {
  const char *value, *text, *number, *decoded_number, *flag, *modem_port, *port, *file;
};

std::string Expected(const PropertyInfo& p, const RuleCase& c) {
  const std::string fresh = PropertyText(AlarmItem(), p);
  if (OneOf(p.name, {"uIndex", "mSleepSeconds", "mLastRung"})) return fresh;
  if (OneOf(p.name, {"vSMTPPort", "vTextMsgSMTPPort", "vSendShotSMTPPort"})) return c.port;
  if (OneOf(p.name, {"vPrimaryLoopCount", "vPrimaryLoopStyle", "vQTLoopCount", "vQTLoopStyle",
                     "vSendShotQuality"})) {
    return c.decoded_number;
  }
  if (p.type == PropertyType::kBooleanArray) return std::string(fresh.size(), *c.flag);
  if (p.name == "vModemPort") return c.modem_port;
  // By PropertyType; the two doubles are among the unsaved above.
  const char* const by_type[] = {c.text, c.number, c.flag, nullptr, c.file};
  return by_type[static_cast<size_t>(p.type)];
}

// How the runtime reads a number or a flag is its own tests' concern; these values tell the
// rules apart. Which element of a tag is read, the random blocks below show.
TEST(SaveDataTest, SetsEveryPropertyByItsRuleAndNoOther) {
  const RuleCase cases[] = {
      // value, text, number, decoded number, flag, modem port, port, file
      {"", "", "0", "0", "0", "0", "25", "/kept"},
      {"a%20b+c%2", "a b+c%2", "0", "0", "0", "0", "0", "/kept"},
      {"%33", "3", "0", "3", "0", "0", "0", "/kept"},             // five numbers are decoded
      {"1e3", "1e3", "1000", "1000", "0", "1", "1000", "/kept"},  // no Val for the modem
      {"tRUE", "tRUE", "0", "0", "1", "0", "0", "/kept"},
      {"%54rue", "True", "0", "0", "0", "0", "0", "/kept"},            // flags are not decoded
      {"%2Fbin%2Fsh", "/bin/sh", "0", "0", "0", "0", "0", "/bin/sh"},  // an existing file
      {"%2Fno%2Fsuch", "/no/such", "0", "0", "0", "0", "0", "/kept"}};
  for (const RuleCase& c : cases) {
    AlarmItem item;
    // Set beforehand, to show that a file the block does not name is kept.
    item.vAudioVideoFile = item.vOpenFile = item.vScreenshotLocation =
        Ref<FolderItem>::New("/kept");
    item.putSaveData(String(EveryTag(c.value)));
    for (const PropertyInfo& p : kAlarmItemProperties) {
      EXPECT_EQ(PropertyText(item, p), Expected(p, c)) << p.name << " in row " << &c - cases;
    }
  }
}

// The offset is turned into seconds in 32 bits, so 40,000,000 minutes (2,400,000,000 seconds)
// wrap round to 1,894,967,296 seconds before the clock.
TEST(SaveDataTest, ATimerCountsFromTheClockShiftedByTheRingOffset) {
  FakeEnv env;
  env.now = 3'000'000'000;
  const double now = 3e9, kept = 12.5;
  const std::tuple<const char*, int32_t, double> rows[] = {
      {"timer", 5, now + 300},    {"TIMER", 0, now},
      {"Ti%6Der", -3, now - 180}, {"timer", 40'000'000, now - 1'894'967'296},
      {"timer ", 5, kept},        {"daily", 5, kept}};
  for (const auto& [format, offset, last_rung] : rows) {
    GlobalMethods::iRingOffset = offset;
    AlarmItem item;
    item.mLastRung = kept;
    item.putSaveData(String("<dAlarmFormat>" + std::string(format) + "</dAlarmFormat>"));
    EXPECT_EQ(item.mLastRung, last_rung) << format << " with offset " << offset;
  }
  GlobalMethods::iRingOffset = 0;
}

// Whatever the bytes, nothing throws and the block reads as the plain tag lookup reads it: tags
// in any case, the first element of each, each flag from its own element only, the last ones
// of both lists too.
TEST(SaveDataTest, AnyBytesReadAsTheTagLookupReadsThem) {
  const String pieces(
      "<dHour>|</DHOUR>|<mEnabled>|</menabled>|<dMonthlyWeekday-1>|</dMonthlyWeekday-1>|"
      "<dMonthlyWeekday-10>|</dMonthlyWeekday-10>|<dMonthlyWeekday-6>|</dMonthlyWeekday-6>|"
      "<dMonthlyWeekNum-0>|</dMonthlyWeekNum-0>|<dMonthlyWeekNum-4>|</dMonthlyWeekNum-4>|"
      "True|7|<|>");
  const auto piece_count = static_cast<uint32_t>(CountFields(pieces, "|"));
  std::mt19937 random(7);
  for (int n = 0; n < 5000; ++n) {
    std::string bytes;
    while (random() % 20 != 0) {
      const auto piece = static_cast<int32_t>(random() % (piece_count + 1));  // 0: a random byte
      bytes += piece == 0 ? std::string(1, static_cast<char>(random()))
                          : NthField(pieces, "|", piece).Bytes();
    }
    const String block(bytes, TextEncoding::kNone);
    AlarmItem item;
    item.putSaveData(block);
    const auto value = [&](const char* tag) { return GlobalMethods::GetXMLValue(block, tag); };
    EXPECT_EQ(item.dHour, DoubleToInt32(Val(VariantToString(value("dHour"))))) << bytes;
    EXPECT_EQ(item.mEnabled, VariantToBoolean(value("mEnabled"))) << bytes;
    for (const std::string list : {"dMonthlyWeekday", "dMonthlyWeekNum"}) {
      std::string flags = PropertyText(AlarmItem(), *FindAlarmProperty(list));
      for (size_t i = 0; i < flags.size(); ++i) {
        flags[i] = VariantToBoolean(value((list + "-" + std::to_string(i)).c_str())) ? '1' : '0';
      }
      EXPECT_EQ(PropertyText(item, *FindAlarmProperty(list)), flags) << list << " in " << bytes;
    }
  }
}

}  // namespace
}  // namespace quellmark
