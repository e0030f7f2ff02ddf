// End-to-end runs of the quellmark-next binary on a sample preferences file in a throw-away
// home, with the start and the time zone fixed: the closing sentence, the JSON read back, and the
// exit statuses 0 (watch), 1 (quit), 2 (usage) and 70 (an unexpected failure).

#include <sys/wait.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/service_sandbox.h"
#include "forecast/options.h"

namespace quellmark::e2e {
namespace {

struct NextRun {
  int status = -1;
  std::string out, err;
};

// Runs the binary with args (no single quotes in them) in a bare environment: TZ=zone and,
// unless homeless, a home and a preferences folder under root. prefix goes before the command,
// e.g. to run as another user.
NextRun RunNext(const fs::path& root, const std::vector<std::string>& args, const std::string& zone,
                const std::string& prefix = "", bool homeless = false) {
  const std::string r = root.string();
  std::string command = "cd " + r + " && " + prefix + "env -i PATH=/usr/bin:/bin TZ=" + zone +
                        (homeless ? "" : " HOME=" + r + "/home XDG_CONFIG_HOME=" + r + "/config") +
                        " " QUELLMARK_NEXT_BINARY;
  for (const std::string& arg : args) command += " '" + arg + "'";
  NextRun run;
  FILE* pipe = popen((command + " 2>stderr").c_str(), "r");
  for (int c = 0; pipe != nullptr && (c = std::fgetc(pipe)) != EOF;)
    run.out += static_cast<char>(c);
  const int status = pipe != nullptr ? pclose(pipe) : -1;
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.err = ReadWhole(root / "stderr");
  return run;
}

std::string Item(const std::string& fields) { return "<item>" + fields + "</item>"; }
std::string On(bool enabled) { return Tag("mEnabled", enabled ? "True" : "False"); }

std::string LastLine(const std::string& text) {
  const size_t end = text.find_last_not_of('\n');
  return text.substr(text.rfind('\n', end) + 1, end - text.rfind('\n', end));
}

// A Monday evening in Berlin; the daily alarm is next due 9 h 12 min later.
const std::vector<std::string> kAtMondayEvening = {"--at", "2026-11-23 22:18"};

class NextEndToEndTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* folder : {"home", "config", "Tolvane.app"}) {
      fs::create_directory(root / folder);
    }
    const int64_t last_launch = forecast::ParseMoment("2026-11-22 07:30").value();
    const std::string alarms =
        Item(Tag("dAlarmName", "Wake up") + Tag("dHour", "7") + Tag("dMinute", "30") + On(true)) +
        Item(Tag("dAlarmName", "Holiday") + Tag("dYear", "2026") + Tag("dMonth", "12") +
             Tag("dDay", "24") + Tag("dHour", "9") + On(false)) +
        Item(Tag("dAlarmName", "Meeting") + Tag("dAlarmFormat", "monthly") + Tag("dHour", "7") +
             Tag("dMinute", "30") + Tag("dMonthlyWeekday-1", "True") +
             Tag("dMonthlyWeekNum-0", "True") + Tag("dMonthlyWeekNum-2", "True") + On(true)) +
        Item(Tag("dAlarmName", "Old") + Tag("dYear", "2025") + On(true)) +
        Item(Tag("dAlarmName", "Tea") + Tag("dAlarmFormat", "hourly") + Tag("dHourlyMinute", "75") +
             On(true));
    std::ofstream(root / "config/com.velmora.Tolvane.xml")
        << File(Location(root / "Tolvane.app") + Alarms(alarms) +
                Tag("LastLaunch", std::to_string(last_launch)) + Tag("iRingOffset", "0"));
  }

  TempFolder scratch_;
  fs::path root = scratch_.path;
};

TEST_F(NextEndToEndTest, TellsTheLaunchOfTheEarliestAlarmAndWhyTheOthersWaitOrNeverRing) {
  const NextRun run = RunNext(root, kAtMondayEvening, "Europe/Berlin");
  EXPECT_EQ(std::tuple(run.status, run.err), std::tuple(0, ""));
  EXPECT_EQ(LastLine(run.out),
            "Quellmark would launch Tolvane at 2026-11-24 07:30:00, in 9 h 12 min, for alarm 0 "
            "\"Wake up\".");
  for (const char* expected :
       {"ring offset  no ring offset\n", "last launch  2026-11-22 07:30:00\n",
        "first and third Monday of every month at 07:30  2026-12-07 07:30:00\n",
        "its date has passed\n", "minute 75 never comes\n", "disabled\n"}) {
    EXPECT_NE(run.out.find(expected), std::string::npos) << expected << " in\n" << run.out;
  }

  // In New York the same wall-clock start is six hours later; the JSON says so in unix seconds.
  const NextRun json = RunNext(root, {"--json", "--at", "2026-11-23 22:18:00"}, "America/New_York");
  EXPECT_EQ(json.status, 0);
  std::ofstream(root / "out.json") << json.out;
  EXPECT_EQ(Output("python3 -c 'import json,sys; o=json.load(sys.stdin); "
                   "print(o[\"start\"], o[\"outcome\"], o[\"launch\"], len(o[\"alarms\"]), "
                   "o[\"tolvane\"][\"found_by\"])' < " +
                   (root / "out.json").string()),
            "{'local': '2026-11-23T22:18:00', 'unix': 1795490280} launch {'alarm': 0, 'local': "
            "'2026-11-24T07:30:00', 'unix': 1795523400} 5 saved location\n");
}

TEST_F(NextEndToEndTest, ExitsWith1OnAQuit2OnAUsageErrorAnd70OnAnUnexpectedFailure) {
  // The file given with --preferences is read instead of the user's.
  fs::rename(root / "config/com.velmora.Tolvane.xml", root / "support.xml");
  const NextRun quit = RunNext(root, kAtMondayEvening, "UTC");
  EXPECT_EQ(std::tuple(quit.status, LastLine(quit.out) + "\n", quit.err),
            std::tuple(1, kNoFile, ""));
  const NextRun other = RunNext(root,
                                {"--preferences", (root / "support.xml").string(), "--horizon", "1",
                                 "--at", "2026-11-23 22:18"},
                                "Europe/Berlin");
  EXPECT_EQ(other.status, 0);
  EXPECT_NE(other.out.find("preferences  " + (root / "support.xml").string() + "\n"),
            std::string::npos)
      << other.out;

  // Usage errors: nothing on stdout, one line on stderr.
  for (const auto& [args, zone] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"--horizon", "0"}, "UTC"},
           {{"--at", "2026-11-23"}, "UTC"},
           {{"--at", "2026-03-29 02:30"}, "Europe/Berlin"},  // skipped by the spring change
           {{"extra"}, "UTC"}}) {
    const NextRun usage = RunNext(root, args, zone);
    EXPECT_EQ(std::tuple(usage.status, usage.out), std::tuple(2, "")) << args[0];
    EXPECT_EQ(std::count(usage.err.begin(), usage.err.end(), '\n'), 1) << usage.err;
    EXPECT_NE(usage.err.find(args[0]), std::string::npos) << usage.err;
  }
  const NextRun help = RunNext(root, {"--help"}, "UTC");
  EXPECT_EQ(std::tuple(help.status, help.out.substr(0, 21)),
            std::tuple(0, "usage: quellmark-next"));

  // With no home at all (no HOME, and a user the password database does not know), the
  // preferences folder is nil, as in the service.
  if (geteuid() != 0) GTEST_SKIP() << "needs root to run as an unknown user";
  fs::permissions(root, fs::perms::all);
  const NextRun no_home = RunNext(root, kAtMondayEvening, "UTC",
                                  "setpriv --reuid=54321 --regid=54321 --clear-groups ", true);
  EXPECT_EQ(no_home.status, 70);
  EXPECT_NE(no_home.err.find("NilObjectException"), std::string::npos) << no_home.err;
}

}  // namespace
}  // namespace quellmark::e2e
