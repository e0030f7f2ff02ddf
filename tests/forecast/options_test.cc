// The command line: every accepted form, every usage error as one line naming what is wrong,
// and moments against gmtime.

#include "forecast/options.h"

#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "forecast/report.h"

namespace quellmark::forecast {
namespace {

using Args = std::vector<std::string>;

TEST(OptionsTest, AcceptsEachOptionAloneTogetherAndWithAnEqualsSign) {
  const auto parse = [](const Args& args) { return std::get<Options>(ParseOptions(args)); };
  const Options defaults = parse({});
  EXPECT_EQ(std::tuple(defaults.at_wall_seconds, defaults.horizon_days, defaults.preferences_file),
            std::tuple(std::nullopt, 366, std::nullopt));

  for (const Args& args :
       {Args{"--at", "2026-11-23 07:30", "--horizon", "3660", "--preferences", "--json", "--json"},
        Args{"--json", "--at=2026-11-23 07:30", "--horizon=3660", "--preferences=--json"}}) {
    const Options options = parse(args);
    EXPECT_EQ(
        std::tuple(options.at_wall_seconds, options.at_text, options.horizon_days,
                   options.preferences_file, options.json),
        std::tuple(ParseMoment("2026-11-23 07:30:00"), "2026-11-23 07:30", 3660, "--json", true));
  }
  EXPECT_EQ(parse({"--horizon", "1"}).horizon_days, 1);
  EXPECT_TRUE(parse({"--version", "--json"}).version);
}

TEST(OptionsTest, EveryUsageErrorIsOneLineNamingTheOptionOrValue) {
  const std::string days = " is not a whole number of days from 1 to 3660";
  const struct {
    Args args;
    std::string message;
  } rows[] = {
      {{"now", "--bad"}, "unexpected argument 'now'"},
      {{"--"}, "unexpected argument '--'"},
      {{"--bad\nname"}, "unknown option '--bad\\nname'"},
      {{"--help="}, "--help takes no value"},
      {{"--json", "--json"}, "--json is given twice"},
      {{"--horizon", "5", "--horizon=6"}, "--horizon is given twice"},
      {{"--json", "--horizon"}, "--horizon needs a value"},
      {{"--preferences="}, "--preferences: the file name is empty"},
      {{"--horizon="}, "--horizon: ''" + days},
      {{"--horizon", "0"}, "--horizon: '0'" + days},
      {{"--horizon", "3661"}, "--horizon: '3661'" + days},
      {{"--horizon", "00001"}, "--horizon: '00001'" + days},
      {{"--at", "2026-02-29 07:30"},
       "--at: '2026-02-29 07:30' is not a moment 'YYYY-MM-DD HH:MM[:SS]'"},
  };
  for (const auto& row : rows) {
    const auto parsed = ParseOptions(row.args);
    const auto* error = std::get_if<UsageError>(&parsed);
    ASSERT_NE(error, nullptr) << row.message;
    EXPECT_EQ(error->message, row.message);
  }
}

// Random moments from 1897 to 2169 (wall-clock seconds before 1904 included) as gmtime writes
// them: ParseMoment reads each as timegm counts it, and the reports' LocalDateTime writes it back.
TEST(OptionsTest, MomentsAreExactlyValidLocalDateTimesAsGmtimeWritesThem) {
  constexpr int64_t kUnixToWall = 2082844800;  // 1904-01-01 to 1970-01-01, in seconds
  std::mt19937_64 random(7);
  std::uniform_int_distribution<int64_t> unix_seconds(-2300000000, 6300000000);
  for (int i = 0; i < 20000; ++i) {
    const time_t unix = unix_seconds(random);
    std::tm fields{};
    gmtime_r(&unix, &fields);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields);
    ASSERT_EQ(ParseMoment(text), unix + kUnixToWall) << text;
    ASSERT_EQ(LocalDateTime(unix + kUnixToWall, ' '), text);
    text[16] = '\0';  // without seconds
    ASSERT_EQ(ParseMoment(text), unix - fields.tm_sec + kUnixToWall) << text;
  }
  EXPECT_EQ(ParseMoment("2000-02-29 00:00"), ParseMoment("2000-03-01 00:00").value() - 86400);
  for (const char* bad :
       {"", "2026-11-23 07:30:5", "2026-11-23T07:30", "2026/11/23 07:30", "2026-11-23 07.30",
        "2026-11-23 07:30x05", "2026-1a-23 07:30", "2o26-11-23 07:30", "2026-11-23 -7:30",
        "2026-00-10 07:30", "2026-13-10 07:30", "2026-11-00 07:30", "2026-11-31 07:30",
        "2100-02-29 07:30", "2026-11-23 24:00", "2026-11-23 07:60", "2026-11-23 07:30:60"}) {
    EXPECT_EQ(ParseMoment(bad), std::nullopt) << bad;
  }
}

}  // namespace
}  // namespace quellmark::forecast
