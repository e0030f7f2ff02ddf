// The command line: every accepted form, every usage error as one line naming what is wrong,
// and moments against timegm.

#include "forecast/options.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <string>
#include <vector>

namespace quellmark::forecast {
namespace {

using Args = std::vector<std::string>;

constexpr int64_t kUnixToWall = 2082844800;  // 1904-01-01 to 1970-01-01, in seconds

TEST(OptionsTest, AcceptsEachOptionAloneTogetherAndWithAnEqualsSign) {
  const auto parse = [](const Args& args) { return std::get<Options>(ParseOptions(args)); };
  const Options defaults = parse({});
  EXPECT_EQ(defaults.at_wall_seconds, std::nullopt);
  EXPECT_EQ(defaults.horizon_days, 366);
  EXPECT_EQ(defaults.preferences_file, std::nullopt);
  EXPECT_FALSE(defaults.json || defaults.help || defaults.version);

  for (const Args& args :
       {Args{"--at", "2026-11-23 07:30", "--horizon", "3660", "--preferences", "--json", "--json"},
        Args{"--json", "--at=2026-11-23 07:30", "--horizon=3660", "--preferences=--json"}}) {
    const Options options = parse(args);
    EXPECT_EQ(options.at_wall_seconds, ParseMoment("2026-11-23 07:30:00"));
    EXPECT_EQ(options.at_text, "2026-11-23 07:30");
    EXPECT_EQ(options.horizon_days, 3660);
    EXPECT_EQ(options.preferences_file, "--json");
    EXPECT_TRUE(options.json);
  }
  EXPECT_EQ(parse({"--horizon", "1"}).horizon_days, 1);
  EXPECT_EQ(parse({"--horizon", "0366"}).horizon_days, 366);
  EXPECT_TRUE(parse({"--help"}).help);
  EXPECT_TRUE(parse({"--version", "--json"}).version);
}

TEST(OptionsTest, EveryUsageErrorIsOneLineNamingTheOptionOrValue) {
  const struct {
    Args args;
    std::string message;
  } rows[] = {
      {{"now"}, "unexpected argument 'now'"},
      {{"--json", "-j"}, "unexpected argument '-j'"},
      {{"--"}, "unexpected argument '--'"},
      {{"--jsonx"}, "unknown option '--jsonx'"},
      {{"--At", "2026-11-23 07:30"}, "unknown option '--At'"},
      {{"--bad\nname"}, "unknown option '--bad\\nname'"},
      {{"--json=yes"}, "--json takes no value"},
      {{"--help="}, "--help takes no value"},
      {{"--json", "--json"}, "--json is given twice"},
      {{"--horizon", "5", "--horizon=6"}, "--horizon is given twice"},
      {{"--at"}, "--at needs a value"},
      {{"--json", "--horizon"}, "--horizon needs a value"},
      {{"--preferences"}, "--preferences needs a value"},
      {{"--preferences="}, "--preferences: the file name is empty"},
      {{"--horizon", "0"}, "--horizon: '0' is not a whole number of days from 1 to 3660"},
      {{"--horizon", "3661"}, "--horizon: '3661' is not a whole number of days from 1 to 3660"},
      {{"--horizon", "-1"}, "--horizon: '-1' is not a whole number of days from 1 to 3660"},
      {{"--horizon", "1.5"}, "--horizon: '1.5' is not a whole number of days from 1 to 3660"},
      {{"--horizon", " 5"}, "--horizon: ' 5' is not a whole number of days from 1 to 3660"},
      {{"--horizon="}, "--horizon: '' is not a whole number of days from 1 to 3660"},
      {{"--horizon", "00001"}, "--horizon: '00001' is not a whole number of days from 1 to 3660"},
      {{"--at", "2026-02-29 07:30"},
       "--at: '2026-02-29 07:30' is not a moment 'YYYY-MM-DD HH:MM[:SS]'"},
      {{"--at", "tomorrow\r"}, "--at: 'tomorrow\\r' is not a moment 'YYYY-MM-DD HH:MM[:SS]'"},
      // The first error is the one named.
      {{"--horizon", "0", "--jsonx"},
       "--horizon: '0' is not a whole number of days from 1 to 3660"},
  };
  for (const auto& row : rows) {
    const auto parsed = ParseOptions(row.args);
    const auto* error = std::get_if<UsageError>(&parsed);
    ASSERT_NE(error, nullptr) << row.message;
    EXPECT_EQ(error->message, row.message);
  }
}

TEST(OptionsTest, MomentsAreExactlyValidLocalDateTimesAsTimegmCountsThem) {
  std::mt19937 random(7);
  for (int i = 0; i < 20000; ++i) {
    const int64_t unix = static_cast<int64_t>(random() % 8000000000U) - 2000000000;
    const time_t t = unix;
    std::tm fields{};
    gmtime_r(&t, &fields);
    if (fields.tm_year + 1900 < 0 || fields.tm_year + 1900 > 9999) continue;
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields);
    ASSERT_EQ(ParseMoment(text), unix + kUnixToWall) << text;
    text[16] = '\0';  // without seconds
    ASSERT_EQ(ParseMoment(text), unix - fields.tm_sec + kUnixToWall) << text;
  }
  for (const char* bad : {"",
                          "2026-11-23",
                          "2026-11-23 7:30",
                          "2026-11-23 07:30:",
                          "2026-11-23 07:30:5",
                          "2026-11-23T07:30",
                          "2026/11/23 07:30",
                          "2026-11-23 07.30",
                          "2026-11-23  07:30",
                          "26-11-23 07:30:00",
                          "+2026-11-23 07:30",
                          "2026-11-23 07:30 ",
                          "2026-1a-23 07:30",
                          "2026-00-10 07:30",
                          "2026-13-10 07:30",
                          "2026-11-00 07:30",
                          "2026-11-31 07:30",
                          "2025-02-29 07:30",
                          "2100-02-29 07:30",
                          "2026-11-23 24:00",
                          "2026-11-23 07:60",
                          "2026-11-23 07:30:60",
                          "2026-11-23 -7:30"}) {
    EXPECT_EQ(ParseMoment(bad), std::nullopt) << bad;
  }
  EXPECT_EQ(ParseMoment("2024-02-29 23:59:59"), ParseMoment("2024-03-01 00:00").value() - 1);
  EXPECT_EQ(ParseMoment("2000-02-29 00:00"), ParseMoment("2000-03-01 00:00").value() - 86400);
  EXPECT_EQ(ParseMoment("1904-01-01 00:00"), 0);
}

}  // namespace
}  // namespace quellmark::forecast
