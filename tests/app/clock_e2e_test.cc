// The quellmark binary against a moving wall clock: jumps of the clock, the daylight-saving days
// of a zone, a change of the machine's time zone while the service runs, and a simulated day at
// high speed. libfaketime, preloaded into the service, sets its clock.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "app/service_sandbox.h"

namespace quellmark::e2e {
namespace {

using std::this_thread::sleep_for;

// "YYYY-MM-DD HH:MM:SS" read as UTC, in seconds since 1970.
int64_t Utc(const char* text) {
  std::tm fields{};
  strptime(text, "%Y-%m-%d %H:%M:%S", &fields);
  return timegm(&fields);
}

// A wall-clock time as Tolvane saves a moment: seconds since 1904-01-01, no zone involved.
std::string SavedMoment(const char* text) { return std::to_string(Utc(text) + 2082844800); }

std::string Daily(int hour, int minute) {
  return "<item>" + Tag("mEnabled", "True") + Tag("dHour", std::to_string(hour)) +
         Tag("dMinute", std::to_string(minute)) + "</item>";
}

void Prepare(Sandbox& sandbox, const std::string& alarms, const std::string& settings = "") {
  sandbox.WritePrefs(File(Location(sandbox.Bundle()) + Alarms(alarms) + settings));
}

// Judged without ending the service: "watching" while it runs and has not called `open`.
std::string Watching(const Sandbox& sandbox) {
  const std::string stat = ReadWhole("/proc/" + std::to_string(sandbox.Pid()) + "/stat");
  const bool running = !stat.empty() && stat.find(") Z ") == std::string::npos;
  const size_t calls = ReadWhole(sandbox.root / "calls").size();
  if (running && calls == 0) return "watching";
  return (running ? "running" : "ended") + std::string(" after calls of open: ") +
         std::to_string(calls);
}

// Judged once the service has ended or has run for budget: "launched" when it ran
// `open -a <bundle>` once, said nothing and exited 0.
std::string Launched(Sandbox& sandbox, milliseconds budget) {
  const Outcome outcome = sandbox.Finish(budget);
  if (!outcome.still_running && outcome.status == 0 && outcome.err.empty() &&
      outcome.open_calls == 1 && outcome.open_args == Args{"-a", sandbox.Bundle().string()}) {
    return "launched";
  }
  return (outcome.still_running ? "still running" : "status " + std::to_string(outcome.status)) +
         ", calls of open: " + std::to_string(outcome.open_calls) + ", said: " + outcome.err;
}

std::string Verdict(Sandbox& sandbox, const std::string& expected, milliseconds budget) {
  return expected == "launched" ? Launched(sandbox, budget) : Watching(sandbox);
}

// Every test needs libfaketime and is skipped without it.
class ClockTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* path : {"/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1",
                             "/usr/lib/faketime/libfaketime.so.1"}) {
      if (fs::exists(path)) library_ = path;
    }
    if (library_.empty()) GTEST_SKIP() << "libfaketime is not installed";
  }
  // A process of libfaketime's that is killed leaves its shared memory behind.
  void TearDown() override {
    for (const pid_t pid : started_) {
      fs::remove("/dev/shm/faketime_shm_" + std::to_string(pid));
      fs::remove("/dev/shm/sem.faketime_sem_" + std::to_string(pid));
    }
  }

  // Starts the service (after wrapper) with its clock set by faketime's variables in env. A
  // sanitized service would refuse a library preloaded before its runtime, and its allocator,
  // timing its returns of memory, would read the clock before libfaketime is ready, and hang.
  void Start(Sandbox& sandbox, Args env, Args wrapper = {}) {
    env.push_back("LD_PRELOAD=" + library_);
    env.push_back("ASAN_OPTIONS=verify_asan_link_order=0:allocator_release_to_os_interval_ms=-1");
    sandbox.more_env = env;
    sandbox.wrapper = wrapper;
    sandbox.Start();
    started_.push_back(sandbox.Pid());
  }

 private:
  std::string library_;
  std::vector<pid_t> started_;
};

TEST_F(ClockTest, JumpsOfTheClockLaunchOnlyInAnAlarmsMinuteAndNotTwiceInTheLastLaunchsMinute) {
  // A daily alarm at 07:00, UTC. Each step rewrites the clock, which goes on from what it says;
  // the verdict is taken at the step's end.
  struct Step {
    const char* clock;
    const char* verdict;
  };
  struct Script {
    const char* what;
    std::string settings;
    std::vector<Step> steps;
  };
  const std::string launched_at_seven = Tag("LastLaunch", SavedMoment("2026-03-10 07:00:20"));
  const Script scripts[] = {
      {"a jump forward from 05:00 to 06:59:59",
       "",
       {{"@2026-03-10 05:00:00", "watching"}, {"@2026-03-10 06:59:59", "launched"}}},
      {"a jump forward over the alarm's minute",
       "",
       {{"@2026-03-10 06:58:30", "watching"}, {"@2026-03-10 07:01:00", "watching"}}},
      {"a jump back into the alarm's minute",
       "",
       {{"@2026-03-10 07:05:00", "watching"}, {"@2026-03-10 07:00:10", "launched"}}},
      {"a jump back into the alarm's minute, in which Tolvane was launched, then to the next day's",
       launched_at_seven,
       {{"@2026-03-10 07:05:00", "watching"},
        {"@2026-03-10 07:00:10", "watching"},
        {"@2026-03-11 06:59:59", "launched"}}}};
  constexpr milliseconds kStep(2500);
  std::deque<Sandbox> sandboxes;
  // Replaced whole, so that the service never reads half a setting.
  auto set_clock = [&](size_t i, const char* clock) {
    std::ofstream(sandboxes[i].root / "clock.new") << clock << "\n";
    fs::rename(sandboxes[i].root / "clock.new", sandboxes[i].root / "clock");
  };
  for (size_t i = 0; i < std::size(scripts); ++i) {
    Prepare(sandboxes.emplace_back(), Daily(7, 0), scripts[i].settings);
    set_clock(i, scripts[i].steps[0].clock);
    Start(sandboxes[i], {"FAKETIME_NO_CACHE=1",
                         "FAKETIME_TIMESTAMP_FILE=" + (sandboxes[i].root / "clock").string()});
  }
  for (size_t step = 0; step < 3; ++step) {
    for (size_t i = 0; i < std::size(scripts); ++i) {
      if (step > 0 && step < scripts[i].steps.size()) set_clock(i, scripts[i].steps[step].clock);
    }
    sleep_for(kStep);
    for (size_t i = 0; i < std::size(scripts); ++i) {
      if (step >= scripts[i].steps.size()) continue;
      const Step& expected = scripts[i].steps[step];
      EXPECT_EQ(Verdict(sandboxes[i], expected.verdict, kStep * (step + 1)), expected.verdict)
          << scripts[i].what << ", at the end of step " << step << " (" << expected.clock << ")";
    }
  }
}

TEST_F(ClockTest, OnDaylightSavingDaysADailyAlarmRingsWhenTheLocalClockShowsItsMinute) {
  // New York: on 2026-03-08 at 07:00 UTC the clock goes from 01:59:59 EST to 03:00:00 EDT, on
  // 2026-11-01 at 06:00 UTC from 01:59:59 EDT back to 01:00:00 EST. Starts are given in UTC
  // because a repeated local time names two moments.
  struct Row {
    const char* what;
    int hour, minute;
    const char* start_utc;
    std::string settings;
    const char* verdict;
  };
  const std::string launched_first_0130 = Tag("LastLaunch", SavedMoment("2026-11-01 01:30:05"));
  const Row rows[] = {
      {"02:00 from 01:59:58 EST on the skipping day", 2, 0, "2026-03-08 06:59:58", "", "watching"},
      {"03:00 from 01:59:58 EST on the skipping day", 3, 0, "2026-03-08 06:59:58", "", "launched"},
      {"02:30 at 03:29:58 EDT on the skipping day", 2, 30, "2026-03-08 07:29:58", "", "watching"},
      {"03:30 at 03:29:58 EDT on the skipping day", 3, 30, "2026-03-08 07:29:58", "", "launched"},
      {"02:30 at 02:29:58 EDT the day after", 2, 30, "2026-03-09 06:29:58", "", "launched"},
      {"01:30 at the first 01:29:58", 1, 30, "2026-11-01 05:29:58", "", "launched"},
      {"01:30 at the second 01:29:58", 1, 30, "2026-11-01 06:29:58", "", "launched"},
      {"01:30 at the second 01:29:58, launched at the first 01:30", 1, 30, "2026-11-01 06:29:58",
       launched_first_0130, "watching"},
      {"01:00 from the first 01:59:58, the clock going back", 1, 0, "2026-11-01 05:59:58", "",
       "launched"}};
  if (!fs::exists("/usr/share/zoneinfo/America/New_York")) GTEST_SKIP() << "no zone data";
  std::deque<Sandbox> sandboxes;
  for (const Row& row : rows) {
    Prepare(sandboxes.emplace_back(), Daily(row.hour, row.minute), row.settings);
    // An offset from the real clock: the service starts within a second after its start.
    const int64_t offset = Utc(row.start_utc) - std::time(nullptr);
    Start(sandboxes.back(),
          {"FAKETIME=" + std::string(offset < 0 ? "" : "+") + std::to_string(offset)},
          {"/usr/bin/env", "TZ=America/New_York"});
  }
  sleep_for(milliseconds(3000));
  for (size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(Verdict(sandboxes[i], rows[i].verdict, milliseconds(4000)), rows[i].verdict)
        << rows[i].what;
  }
}

// Holds a private mount namespace open while it lives.
struct MountNamespace {
  pid_t pid;
  MountNamespace() : pid(fork()) {
    if (pid == 0) {
      execl("/usr/bin/unshare", "unshare", "--mount", "--propagation", "private", "sleep", "1000",
            nullptr);
      _exit(127);
    }
  }
  ~MountNamespace() {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
  bool Entered() const {
    return fs::read_symlink("/proc/" + std::to_string(pid) + "/ns/mnt") !=
           fs::read_symlink("/proc/self/ns/mnt");
  }
  bool MountZone(const std::string& zone) const {
    const std::string command = "nsenter --mount --target " + std::to_string(pid) +
                                " mount --bind /usr/share/zoneinfo/" + zone + " /etc/localtime";
    return std::system(command.c_str()) == 0;
  }
};

TEST_F(ClockTest, AChangeOfTheMachinesTimeZoneIsSeenWithinASecond) {
  if (geteuid() != 0) GTEST_SKIP() << "a mount namespace needs root";
  for (const char* file : {"/usr/bin/unshare", "/usr/bin/nsenter", "/usr/bin/mount",
                           "/usr/share/zoneinfo/UTC", "/usr/share/zoneinfo/Asia/Tokyo"}) {
    if (!fs::exists(file)) GTEST_SKIP() << file << " is missing";
  }
  const MountNamespace space;
  ASSERT_GT(space.pid, 0);
  for (int i = 0; i < 200 && !space.Entered(); ++i) sleep_for(milliseconds(10));
  ASSERT_TRUE(space.Entered());
  ASSERT_TRUE(space.MountZone("UTC"));
  // 12:00:30 UTC is 21:00:30 in Tokyo. TZ is unset, so the zone is the machine's.
  Sandbox sandbox;
  Prepare(sandbox, Daily(21, 0));
  Start(sandbox, {"FAKETIME=@2026-06-01 12:00:30"},
        {"/usr/bin/nsenter", "--mount", "--target", std::to_string(space.pid),
         "--wd=" + sandbox.root.string(), "/usr/bin/env", "-u", "TZ"});
  sleep_for(milliseconds(1500));
  ASSERT_EQ(Watching(sandbox), "watching") << "in UTC";
  ASSERT_TRUE(space.MountZone("Asia/Tokyo"));
  const auto changed = steady_clock::now();
  const milliseconds budget(1500 + 2300);
  EXPECT_EQ(Launched(sandbox, budget), "launched") << "within 2.3 s of the change to Tokyo";
  EXPECT_LT(steady_clock::now() - changed, milliseconds(2300));
}

TEST_F(ClockTest, WatchingFiftyAlarmsThroughASimulatedDayKeepsMemoryAndFilesFlat) {
  // From 2026-06-01 00:00 UTC, 48 simulated minutes a real second. Nothing rings within the day:
  // the dated alarms are a year later, the monthly ones are for March, the daily and hourly ones
  // are disabled, and the long timers are due in two days. A timer of 24 h 20 min then rings,
  // about 30 real seconds in: the service watched the whole day.
  std::string alarms;
  for (int i = 0; i < 49; ++i) {
    const std::string time = Tag("dHour", std::to_string(i % 24)) +
                             Tag("dMinute", std::to_string(i * 7 % 60)) +
                             Tag("dHourlyMinute", std::to_string(i % 60));
    const std::string kinds[] = {
        Tag("mEnabled", "True") + Tag("dYear", "2027") + Tag("dMonth", "6") + Tag("dDay", "1"),
        Tag("mEnabled", "True") + Tag("dAlarmFormat", "monthly") + Tag("dMonthlyMonth", "3") +
            Tag("dMonthlyWeekday-" + std::to_string(i % 7), "True") +
            Tag("dMonthlyWeekNum-0", "True"),
        Tag("mEnabled", "False"), Tag("mEnabled", "False") + Tag("dAlarmFormat", "hourly"),
        Tag("mEnabled", "True") + Tag("dAlarmFormat", "timer") + Tag("dTimerHour", "48")};
    alarms += "<item>" + time + kinds[i % 5] + "</item>";
  }
  alarms += "<item>" + Tag("mEnabled", "True") + Tag("dAlarmFormat", "timer") +
            Tag("dTimerHour", "24") + Tag("dTimerMinute", "20") + "</item>";
  Sandbox sandbox;
  Prepare(sandbox, alarms);
  Start(sandbox, {"FAKETIME=@2026-06-01 00:00:00 x2880"});
  const std::string proc = "/proc/" + std::to_string(sandbox.Pid());
  std::vector<int64_t> rss_kib;
  std::vector<size_t> fds;
  std::string samples;  // "RSS in KiB/open files" each second
  for (int second = 1; second <= 29; ++second) {
    sleep_for(milliseconds(1000));
    std::ifstream status(proc + "/status");
    for (std::string key; status >> key && key != "VmRSS:";) {
    }
    status >> rss_kib.emplace_back(-1);
    fds.push_back(0);
    for ([[maybe_unused]] const auto& fd : fs::directory_iterator(proc + "/fd")) ++fds.back();
    samples += " " + std::to_string(rss_kib.back()) + "/" + std::to_string(fds.back());
  }
  ASSERT_EQ(Watching(sandbox), "watching") << "within the simulated day";
  EXPECT_GT(rss_kib[0], 0) << samples;
  EXPECT_LT(*std::max_element(rss_kib.begin(), rss_kib.end()) - rss_kib[0], 64) << samples;
  EXPECT_EQ(std::count(fds.begin(), fds.end(), fds[0]), std::ssize(fds)) << samples;
  EXPECT_EQ(Launched(sandbox, milliseconds(33000)), "launched") << "once the day had passed";
}

}  // namespace
}  // namespace quellmark::e2e
