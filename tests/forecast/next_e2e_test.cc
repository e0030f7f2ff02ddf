// End-to-end runs of the quellmark-next binary on a sample preferences file in a throw-away
// home, with the start and the time zone fixed: what only the whole program decides (the time
// zone, the preferences file read, a skipped moment) and the exit statuses 0 (launch), 1 (quit),
// 2 (usage) and 70 (an unexpected failure).

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/service_sandbox.h"

namespace quellmark::e2e {
namespace {

struct NextRun {
  int status = -1;
  std::string out, err;
};

// Runs program with args (no single quotes in them) in a bare environment with TZ=zone, in root;
// the program is by default the binary with a home and a preferences folder under root. The shell
// writes the exit status after what the program prints.
NextRun RunNext(const fs::path& root, const std::vector<std::string>& args, const std::string& zone,
                std::string program = "") {
  const std::string r = root.string();
  if (program.empty()) {
    program = "HOME=" + r + "/home XDG_CONFIG_HOME=" + r + "/config " + QUELLMARK_NEXT_BINARY;
  }
  std::string command = "cd " + r + " && env -i PATH=/usr/bin:/bin TZ=" + zone + " " + program;
  for (const std::string& arg : args) command += " '" + arg + "'";
  const std::string out = Output(command + " 2>stderr; echo \" $?\"");
  const size_t status_at = out.rfind(' ');
  return {std::stoi(out.substr(status_at + 1)), out.substr(0, status_at),
          ReadWhole(root / "stderr")};
}

// A sandbox whose preferences hold one alarm, daily at 07:30.
class NextEndToEndTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sandbox_.Save("<item>" + Tag("dHour", "7") + Tag("dMinute", "30") + Tag("mEnabled", "True") +
                  "</item>");
  }

  Sandbox sandbox_;
  fs::path root = sandbox_.root;
};

TEST_F(NextEndToEndTest, TellsTheLaunchInTheLocalTimeZoneAndReadsTheFileGiven) {
  // In New York, 22:18 on 23 November is 03:18 UTC the next day; the JSON says so in unix
  // seconds.
  const NextRun json = RunNext(root, {"--json", "--at", "2026-11-23 22:18:00"}, "America/New_York");
  EXPECT_EQ(std::tuple(json.status, json.err), std::tuple(0, ""));
  for (const char* expected :
       {R"("start":{"local":"2026-11-23T22:18:00","unix":1795490280})",
        R"("launch":{"alarm":0,"local":"2026-11-24T07:30:00","unix":1795523400})"}) {
    EXPECT_NE(json.out.find(expected), std::string::npos) << json.out;
  }

  // The file given with --preferences is read instead of the user's: here, none, so the service
  // would quit.
  const std::string missing = (root / "missing.xml").string();
  const NextRun quit = RunNext(root, {"--preferences", missing, "--at", "2026-11-23 22:18"}, "UTC");
  EXPECT_EQ(std::tuple(quit.status, quit.err), std::tuple(1, ""));
  EXPECT_TRUE(quit.out.starts_with("preferences  " + missing + "\n") &&
              quit.out.ends_with("\n\n" + kNoFile))
      << quit.out;
}

TEST_F(NextEndToEndTest, ExitsWith2OnAUsageErrorAnd70OnAnUnexpectedFailure) {
  // Nothing on stdout, one line on stderr; a moment the clock skips is found only after parsing.
  for (const auto& [args, zone] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"--at", "2026-03-29 02:30"}, "Europe/Berlin"}, {{"extra"}, "UTC"}}) {
    const NextRun usage = RunNext(root, args, zone);
    EXPECT_EQ(std::tuple(usage.status, usage.out), std::tuple(2, "")) << args[0];
    EXPECT_EQ(std::count(usage.err.begin(), usage.err.end(), '\n'), 1) << usage.err;
    EXPECT_NE(usage.err.find(args[0]), std::string::npos) << usage.err;
  }
  const NextRun help = RunNext(root, {"--help"}, "UTC");
  EXPECT_EQ(std::tuple(help.status, help.out.substr(0, 21)),
            std::tuple(0, "usage: quellmark-next"));
  EXPECT_TRUE(help.out.ends_with("2 for a usage error, 70 for an unexpected failure.\n"))
      << help.out;

  // With no home at all (no HOME, and a user the password database does not know), the
  // preferences folder is nil, as in the service.
  if (geteuid() != 0) GTEST_SKIP() << "needs root to run as an unknown user";
  if (!NobodyReachesSandboxes()) GTEST_SKIP() << kNobodyCannotReach;
  // The build folder may lie where only its owner may enter: that user runs a copy.
  fs::permissions(root, fs::perms::all);
  fs::copy_file(QUELLMARK_NEXT_BINARY, root / "quellmark-next");
  const NextRun no_home = RunNext(
      root, {"--at", "2026-11-23 22:18"}, "UTC",
      "setpriv --reuid=54321 --regid=54321 --clear-groups " + (root / "quellmark-next").string());
  EXPECT_EQ(no_home.status, 70);
  EXPECT_NE(no_home.err.find("NilObjectException"), std::string::npos) << no_home.err;
}

}  // namespace
}  // namespace quellmark::e2e
