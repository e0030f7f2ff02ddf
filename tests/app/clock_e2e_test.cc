// The quellmark binary against a moving wall clock: jumps of the clock, the daylight-saving days
// of a zone, a change of the machine's time zone while the service runs, and a simulated day at
// high speed. libfaketime, preloaded into the service, sets its clock; without it all are skipped.

#include "app/service_sandbox.h"

namespace quellmark::e2e {
namespace {

// "YYYY-MM-DD HH:MM:SS" read as UTC, in seconds since 1970.
int64_t Utc(const char* text) {
  std::tm fields{};
  strptime(text, "%Y-%m-%d %H:%M:%S", &fields);
  return timegm(&fields);
}

std::string Daily(int hour, int minute) {
  return "<item>" + Tag("mEnabled", "True") + Tag("dHour", std::to_string(hour)) +
         Tag("dMinute", std::to_string(minute)) + "</item>";
}

// Starts the service with its clock set by faketime's variables, and any other, in env's words.
// The dynamic loader reads $LIB as the machine's library folder, multiarch or not. A sanitized
// service would refuse a library preloaded before its runtime, and its allocator, timing its
// returns of memory, would read the clock before libfaketime is ready, and hang.
void StartFaked(Sandbox& s, const std::string& env) {
  s.wrapper += "env " + env + " LD_PRELOAD='/usr/$LIB/faketime/libfaketime.so.1'" +
               " ASAN_OPTIONS=verify_asan_link_order=0:allocator_release_to_os_interval_ms=-1 ";
  s.Start();
}

class ClockTest : public testing::Test {
  void SetUp() override {
    if (std::system("command -v faketime >/dev/null") != 0) GTEST_SKIP() << "needs faketime";
  }
};

// A daily alarm at hour:minute with further settings, and the steps of its run, each "date time
// verdict": at a step's start the clock is set to that moment in UTC, as a repeated local time
// names two moments, and goes on from there; at its end the service must have "launched", or be
// "watching".
struct Script {
  const char* what;
  int hour, minute;
  std::string settings, steps;
};

// The clock read from the file "clock" in the working folder whenever the service asks the time.
const std::string kClockFromFile = "FAKETIME_NO_CACHE=1 FAKETIME_TIMESTAMP_FILE=clock";

// Runs the scripts side by side in zone, a step lasting step; a launch may take extra time.
void RunScripts(const std::string& zone, const std::vector<Script>& scripts, milliseconds step,
                milliseconds extra) {
  std::deque<Sandbox> sandboxes(scripts.size());
  std::vector<std::istringstream> steps;
  for (const Script& script : scripts) steps.emplace_back(script.steps);
  for (size_t k = 0;; ++k) {
    std::vector<std::string> verdicts(scripts.size());
    for (size_t i = 0; i < scripts.size(); ++i) {
      std::string date, time;
      if (!(steps[i] >> date >> time >> verdicts[i])) continue;
      // An offset from the real clock, replaced whole so that the service never reads half of it.
      const int64_t offset = Utc((date + " " + time).c_str()) - std::time(nullptr);
      std::ofstream(sandboxes[i].root / "clock.new") << (offset < 0 ? "" : "+") << offset << "\n";
      fs::rename(sandboxes[i].root / "clock.new", sandboxes[i].root / "clock");
      if (k == 0) sandboxes[i].Save(Daily(scripts[i].hour, scripts[i].minute), scripts[i].settings);
      if (k == 0) StartFaked(sandboxes[i], "TZ=" + zone + " " + kClockFromFile);
    }
    if (std::count(verdicts.begin(), verdicts.end(), "") == std::ssize(verdicts)) return;
    sleep_for(step);
    for (size_t i = 0; i < scripts.size(); ++i) {
      SCOPED_TRACE(std::string(scripts[i].what) + ", at the end of step " + std::to_string(k + 1));
      if (verdicts[i] == "launched") {
        Expect(sandboxes[i].Finish(step * (k + 1) + extra), "", sandboxes[i].Bundle());
      } else if (!verdicts[i].empty()) {
        EXPECT_EQ(Watching(sandboxes[i]), verdicts[i]);
      }
    }
  }
}

TEST_F(ClockTest, JumpsOfTheClockLaunchOnlyInAnAlarmsMinuteAndNotTwiceInTheLastLaunchsMinute) {
  RunScripts(
      "UTC",
      {{"a jump forward from 05:00 to 06:59:59", 7, 0, "",
        "2026-03-10 05:00:00 watching 2026-03-10 06:59:59 launched"},
       {"a jump forward over the alarm's minute, then back into it", 7, 0, "",
        "2026-03-10 06:58:30 watching 2026-03-10 07:01:00 watching 2026-03-10 07:00:10 launched"},
       {"a jump back into the minute in which Tolvane was launched, then to the next day's", 7, 0,
        LastLaunch(Utc("2026-03-10 07:00:20")),
        "2026-03-10 07:05:00 watching 2026-03-10 07:00:10 watching 2026-03-11 06:59:59 launched"}},
      milliseconds(2500), milliseconds(0));
}

TEST_F(ClockTest, OnDaylightSavingDaysADailyAlarmRingsWhenTheLocalClockShowsItsMinute) {
  // New York: on 2026-03-08 at 07:00 UTC the clock goes from 01:59:59 EST to 03:00:00 EDT, on
  // 2026-11-01 at 06:00 UTC from 01:59:59 EDT back to 01:00:00 EST.
  if (!fs::exists("/usr/share/zoneinfo/America/New_York")) GTEST_SKIP() << "no zone data";
  RunScripts(
      "America/New_York",
      {{"02:00 from 01:59:58 EST on the skipping day", 2, 0, "", "2026-03-08 06:59:58 watching"},
       {"03:00 from 01:59:58 EST on the skipping day", 3, 0, "", "2026-03-08 06:59:58 launched"},
       {"02:00 from 01:59:58 EDT the day after", 2, 0, "", "2026-03-09 05:59:58 launched"},
       {"01:30 at the first 01:29:58", 1, 30, "", "2026-11-01 05:29:58 launched"},
       {"01:30 at the second 01:29:58, launched at the first 01:30", 1, 30,
        LastLaunch(Utc("2026-11-01 01:30:05")), "2026-11-01 06:29:58 watching"},
       {"01:00 from the first 01:59:58, the clock going back", 1, 0, "",
        "2026-11-01 05:59:58 launched"}},
      milliseconds(3000), milliseconds(1000));
}

TEST_F(ClockTest, AChangeOfTheMachinesTimeZoneIsSeenWithinASecond) {
  if (!TreesAvailable()) GTEST_SKIP() << "needs root and mount namespaces";
  const std::string zones = "/usr/share/zoneinfo/";
  // 12:00:30 UTC is 21:00:30 in Tokyo. TZ is unset, so the zone is the machine's, as the
  // service's private mount namespace shows it.
  Sandbox sandbox;
  sandbox.Save(Daily(21, 0));
  sandbox.wrapper = BindMount(zones + "UTC", "/etc/localtime");
  StartFaked(sandbox, "-u TZ FAKETIME='@2026-06-01 12:00:30'");
  sleep_for(milliseconds(1500));
  ASSERT_EQ(Watching(sandbox), "watching") << "in UTC";
  const std::string to_tokyo = "nsenter --mount --target " + std::to_string(sandbox.pid) +
                               " mount --bind " + zones + "Asia/Tokyo /etc/localtime";
  ASSERT_EQ(std::system(to_tokyo.c_str()), 0);
  SCOPED_TRACE("within 2.3 s of the change to Tokyo: the budget runs from the start");
  Expect(sandbox.Finish(milliseconds(1500 + 2300)), "", sandbox.Bundle());
}

TEST_F(ClockTest, WatchingFiftyAlarmsThroughASimulatedDayKeepsMemoryAndFilesFlat) {
  // From 2026-06-01 00:00 UTC, 48 simulated minutes a real second. Nothing rings within the day:
  // the dated alarms are a year later, the monthly ones are for March, the daily and hourly ones
  // are disabled, and the long timers are due in two days. A timer of 24 h 20 min then rings,
  // about 30 real seconds in: the service watched the whole day.
  const std::string on = Tag("mEnabled", "True"), off = Tag("mEnabled", "False");
  const auto format = [](const char* kind) { return Tag("dAlarmFormat", kind); };
  std::string alarms;
  for (int i = 0; i < 49; ++i) {
    const std::string kinds[] = {
        on + Tag("dYear", "2027") + Tag("dMonth", "6") + Tag("dDay", "1"),
        on + format("monthly") + Tag("dMonthlyMonth", "3") + Tag("dMonthlyWeekNum-0", "True") +
            Tag("dMonthlyWeekday-" + std::to_string(i % 7), "True"),
        off, off + format("hourly"), on + format("timer") + Tag("dTimerHour", "48")};
    alarms += "<item>" + Tag("dHour", std::to_string(i % 24)) +
              Tag("dMinute", std::to_string(i * 7 % 60)) +
              Tag("dHourlyMinute", std::to_string(i % 60)) + kinds[i % 5] + "</item>";
  }
  Sandbox sandbox;
  sandbox.Save(alarms + "<item>" + on + format("timer") + Tag("dTimerHour", "24") +
               Tag("dTimerMinute", "20") + "</item>");
  StartFaked(sandbox, "FAKETIME='@2026-06-01 00:00:00 x2880'");
  const std::string proc = "/proc/" + std::to_string(sandbox.pid);
  std::vector<int64_t> rss_kib;
  std::vector<ptrdiff_t> fds;
  for (int second = 1; second <= 29; ++second) {
    sleep_for(milliseconds(1000));
    int64_t size = 0, resident = 0;
    std::ifstream(proc + "/statm") >> size >> resident;
    rss_kib.push_back(resident * sysconf(_SC_PAGESIZE) / 1024);
    fds.push_back(std::distance(fs::directory_iterator(proc + "/fd"), fs::directory_iterator()));
  }
  const std::string samples = testing::PrintToString(rss_kib) + testing::PrintToString(fds);
  ASSERT_EQ(Watching(sandbox), "watching") << "within the simulated day";
  EXPECT_GT(rss_kib[0], 0) << samples;
  EXPECT_LT(*std::max_element(rss_kib.begin(), rss_kib.end()) - rss_kib[0], 64) << samples;
  EXPECT_EQ(std::count(fds.begin(), fds.end(), fds[0]), std::ssize(fds)) << samples;
  SCOPED_TRACE("once the day had passed");
  Expect(sandbox.Finish(milliseconds(33000)), "", sandbox.Bundle());
}

}  // namespace
}  // namespace quellmark::e2e
