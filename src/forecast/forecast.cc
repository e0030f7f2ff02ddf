// The model walks real instants in order, but never second by second. The span is cut into
// stretches over which the zone's offset stays the same, so that the wall clock there is the
// instant plus a constant. Within a stretch each alarm yields a few candidate wall seconds, found
// in closed form from its fields, and each candidate is put to the service's own isRingTime and
// minute guard, with the clock reading it; only those answers count.
//
// Why the candidates miss no ringing moment. Every rule but the timer's compares the reference
// (the wall clock shifted by the ring offset's seconds, then cut to its minute) with a target or
// a minute; so the answer holds over the wall seconds whose reference falls in one minute, split
// at most once more where the wall clock itself turns a minute (the target and the guard follow
// the unshifted clock). The calendar and monthly rules end their target as the start of its day
// plus dHour·3600 + dMinute·60 (SetHour keeps the minute, then SetMinute keeps the hour it made;
// every later change moves whole days), so a reference that rings has that sum's time of day:
// one candidate minute per reference day. An hourly alarm rings only in the reference minute
// dHourlyMinute of each hour. A timer rings at every reference second from its due second on.

#include "forecast/forecast.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "alarm/ring_offset.h"
#include "app/app.h"
#include "runtime/calendar.h"
#include "runtime/date.h"
#include "runtime/env.h"
#include "runtime/numbers.h"
#include "runtime/posix_env.h"

namespace quellmark::forecast {

namespace {

using calendar::FloorDiv;
using calendar::FloorMod;

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kSecondsPerHour = 3600;
constexpr int64_t kUnixEpochOnWallScale = -calendar::kWallEpochDays * kSecondsPerDay;

// The service's world for the length of a forecast: a clock that reads what it is told, a shell
// that runs nothing, a log that is only kept, and no end of the process. The folders are those
// of the environment it replaces.
class ForecastEnv final : public Env {
 public:
  ForecastEnv() : outer_(Env::Install(this)) {}
  ForecastEnv(const ForecastEnv&) = delete;
  ForecastEnv& operator=(const ForecastEnv&) = delete;
  ~ForecastEnv() override { Env::Install(outer_); }

  int64_t LocalWallClockSeconds() override { return wall; }
  int64_t UnixSeconds() override { return Outer().UnixSeconds(); }
  std::optional<std::string> PreferencesFolderPath() override {
    return Outer().PreferencesFolderPath();
  }
  std::string ApplicationsFolderPath() override { return Outer().ApplicationsFolderPath(); }
  // The start-up returns its message rather than logging it, and only the check pass, which a
  // forecast never runs, sleeps, runs a command or quits: these only make sure none happens.
  // GCOVR_EXCL_START
  void SleepForMilliseconds(int32_t /*milliseconds*/) override {}
  [[noreturn]] void ExitProcess(int32_t /*code*/) override {
    throw std::logic_error("a forecast never ends the process");
  }
  void WriteLog(int32_t /*level*/, const std::string& /*message*/) override {}
  int32_t ExecuteShellCommand(const std::string& /*command*/) override { return -1; }
  // GCOVR_EXCL_STOP

  int64_t wall = 0;

 private:
  Env& Outer() { return outer_ != nullptr ? *outer_ : PosixEnvironment(); }

  Env* outer_;
};

// The ring offset is the service's one global; a forecast leaves it as it found it.
class RingOffsetKept {
 public:
  RingOffsetKept() : kept_(GlobalMethods::iRingOffset) {}
  RingOffsetKept(const RingOffsetKept&) = delete;
  RingOffsetKept& operator=(const RingOffsetKept&) = delete;
  ~RingOffsetKept() { GlobalMethods::iRingOffset = kept_; }

 private:
  int32_t kept_;
};

// Instants [begin, end) over which the wall clock is the instant plus delta.
struct Stretch {
  int64_t begin;
  int64_t end;
  int64_t delta;
};

int64_t DeltaAt(int64_t instant) { return WallSecondsAt(instant) - instant; }

// The first instant after from, up to to, whose delta is not from's (to's is not).
int64_t FirstChange(int64_t from, int64_t to, int64_t delta) {
  while (to - from > 1) {
    const int64_t middle = from + (to - from) / 2;
    (DeltaAt(middle) == delta ? from : to) = middle;
  }
  return to;
}

// [begin, end) cut where the zone's offset changes, found by hourly samples: no zone changes its
// offset and back within the hour.
std::vector<Stretch> Stretches(int64_t begin, int64_t end) {
  std::vector<Stretch> stretches;
  int64_t start = begin;
  int64_t sampled = begin;
  int64_t delta = DeltaAt(begin);
  for (;;) {
    const int64_t next = std::min(sampled + kSecondsPerHour, end - 1);
    if (next <= sampled) break;
    if (DeltaAt(next) == delta) {
      sampled = next;
      continue;
    }
    const int64_t change = FirstChange(sampled, next, delta);
    stretches.push_back({start, change, delta});
    start = sampled = change;
    delta = DeltaAt(change);
  }
  stretches.push_back({start, end, delta});
  return stretches;
}

// One alarm's candidates within a stretch's wall seconds [low, high), each asked of the service.
class AlarmWalk {
 public:
  AlarmWalk(ForecastEnv& env, const App& app, const AlarmItem& alarm)
      : env_(env),
        app_(app),
        alarm_(alarm),
        offset_(WrappingMultiply(GlobalMethods::iRingOffset, 60)) {}

  // The first wall second in [low, high) at which a pass launches Tolvane for the alarm.
  std::optional<int64_t> FirstLaunch(int64_t low, int64_t high) {
    low_ = low, high_ = high;
    if (alarm_.dAlarmFormat == "monthly") {
      if (!AnyWeekChosen()) return std::nullopt;
      return EachReferenceMinute(kSecondsPerDay, TimeOfDay(), true);
    }
    if (alarm_.dAlarmFormat == "hourly") {
      const int32_t minute = alarm_.dHourlyMinute;
      if (minute < 0 || minute > 59) return std::nullopt;
      return EachReferenceMinute(kSecondsPerHour, int64_t{minute} * 60, false);
    }
    if (alarm_.dAlarmFormat == "timer") return FirstIn(TimerDue(), high_);
    return EachReferenceMinute(kSecondsPerDay, TimeOfDay(), false);
  }

  bool held_by_guard() const { return held_by_guard_; }

 private:
  int64_t TimeOfDay() const {
    return FloorMod(int64_t{alarm_.dHour} * 3600 + int64_t{alarm_.dMinute} * 60, kSecondsPerDay);
  }

  bool AnyWeekChosen() const {
    for (int32_t i = 0; i <= AlarmItem::kWeekNumUpperBound; ++i) {
      if (alarm_.dMonthlyWeekNum->Get(i)) return true;
    }
    return false;
  }

  // The first wall second whose shifted clock is not before the due moment; a due moment that
  // does not compare rings at once, as in the service.
  int64_t TimerDue() const {
    const int32_t duration = WrappingAdd(WrappingAdd(WrappingMultiply(alarm_.dTimerHour, 3600),
                                                     WrappingMultiply(alarm_.dTimerMinute, 60)),
                                         alarm_.dTimerSecond);
    const double due = alarm_.mLastRung + static_cast<double>(duration);
    if (std::isnan(due) || due < static_cast<double>(low_ + offset_)) return low_;
    if (due >= static_cast<double>(high_ + offset_)) return high_;
    return static_cast<int64_t>(std::ceil(due)) - offset_;
  }

  // The reference minutes at phase within every period (seconds), as wall seconds: the wall
  // seconds whose reference falls in the minute starting at r are [r - offset, r - offset + 60).
  std::optional<int64_t> EachReferenceMinute(int64_t period, int64_t phase, bool monthly) {
    const int64_t first = FloorDiv(low_ + offset_ - 60 - phase, period) + 1;
    for (int64_t reference = phase + first * period; reference < high_ + offset_;
         reference += period) {
      if (monthly && !WeekdayChosen(reference)) continue;
      const int64_t from = reference - offset_;
      if (const std::optional<int64_t> wall = FirstIn(from, from + 60)) return wall;
    }
    return std::nullopt;
  }

  // Only the reference's weekday can be wanted by the monthly rule.
  bool WeekdayChosen(int64_t reference) const {
    const Date day = Date::FromTotalSeconds(static_cast<double>(reference));
    return alarm_.dMonthlyWeekday->Get(day.DayOfWeek() - 1);
  }

  // The first wall second of [from, to) within the stretch at which a pass launches: the answer
  // can change only where the wall clock turns a minute.
  std::optional<int64_t> FirstIn(int64_t from, int64_t to) {
    for (int64_t wall = std::max(from, low_); wall < std::min(to, high_);
         wall = (FloorDiv(wall, 60) + 1) * 60) {
      if (LaunchesAt(wall)) return wall;
    }
    return std::nullopt;
  }

  bool LaunchesAt(int64_t wall) {
    env_.wall = wall;
    if (!alarm_.isRingTime(nullptr, false)) return false;
    if (LaunchedThisMinute(Date::Now(), *app_.dLastLaunch)) {
      held_by_guard_ = true;
      return false;
    }
    return true;
  }

  ForecastEnv& env_;
  const App& app_;
  const AlarmItem& alarm_;
  const int64_t offset_;
  int64_t low_ = 0;
  int64_t high_ = 0;
  bool held_by_guard_ = false;
};

AlarmForecast ForecastAlarm(ForecastEnv& env, const App& app, const Ref<AlarmItem>& alarm,
                            const std::vector<Stretch>& stretches) {
  AlarmForecast forecast{alarm, std::nullopt, false};
  if (!alarm->mEnabled) return forecast;
  AlarmWalk walk(env, app, *alarm);
  for (const Stretch& stretch : stretches) {
    const std::optional<int64_t> wall =
        walk.FirstLaunch(stretch.begin + stretch.delta, stretch.end + stretch.delta);
    if (wall) {
      forecast.next = Moment{*wall - stretch.delta, *wall};
      break;
    }
  }
  forecast.held_by_guard = walk.held_by_guard();
  return forecast;
}

std::optional<String> PreferencesFileAsked(const Request& request) {
  if (!request.preferences_file) return std::nullopt;
  std::error_code error;
  const std::filesystem::path absolute =
      std::filesystem::absolute(*request.preferences_file, error);
  // GCOVR_EXCL_BR_START: absolute fails only when the working folder is gone
  return String(error ? *request.preferences_file : absolute.string());
  // GCOVR_EXCL_BR_STOP
}

}  // namespace

Forecast Predict(const Request& request) {
  tzset();
  ForecastEnv env;
  const RingOffsetKept kept;
  Forecast forecast;
  const int64_t start = request.start_unix_seconds.value_or(env.UnixSeconds());
  forecast.start = Moment{start, WallSecondsAt(start)};
  forecast.horizon_days = std::clamp(request.horizon_days, 1, kMaxHorizonDays);

  // As the service starts: no offset yet, the clock reading the start.
  GlobalMethods::iRingOffset = 0;
  env.wall = forecast.start.wall_seconds;
  App app;
  const std::optional<std::string_view> message = app.Load(PreferencesFileAsked(request));
  forecast.preferences_path = app.preferences_path;
  if (message == kNoPreferencesMessage || message == kUnreadablePreferencesMessage) {
    forecast.quit_message = std::string(*message);
    return forecast;
  }
  forecast.ring_offset_minutes = GlobalMethods::iRingOffset;
  forecast.last_launch_seconds = app.dLastLaunch->TotalSeconds();
  if (message == kNoApplicationMessage) {
    forecast.quit_message = std::string(*message);
    return forecast;
  }
  forecast.tolvane = app.FTolvaneItem;
  forecast.found_by = app.tolvane_at_saved_location ? FoundBy::kSavedLocation : FoundBy::kSearch;
  if (message) {
    forecast.quit_message = std::string(*message);
    return forecast;
  }

  const std::vector<Stretch> stretches =
      Stretches(start, start + int64_t{forecast.horizon_days} * kSecondsPerDay);
  for (int32_t i = 0; i <= app.alarmArray.UBound(); ++i) {
    forecast.alarms.push_back(ForecastAlarm(env, app, app.alarmArray.Get(i), stretches));
    const std::optional<Moment>& next = forecast.alarms.back().next;
    if (next && (!forecast.launch || next->unix_seconds < forecast.launch->unix_seconds)) {
      forecast.launch = next;
      forecast.launch_alarm = forecast.alarms.size() - 1;
    }
  }
  forecast.outcome = forecast.launch ? Outcome::kLaunch : Outcome::kWatch;
  return forecast;
}

int64_t WallSecondsAt(int64_t unix_seconds) {
  return LocalWallClockSecondsAt(static_cast<std::time_t>(unix_seconds));
}

std::optional<int64_t> UnixSecondsForWall(int64_t wall_seconds) {
  tzset();
  // No zone is more than a day from UTC.
  const int64_t as_if_utc = wall_seconds - kUnixEpochOnWallScale;
  for (const Stretch& stretch :
       Stretches(as_if_utc - 2 * kSecondsPerDay, as_if_utc + 2 * kSecondsPerDay)) {
    const int64_t instant = wall_seconds - stretch.delta;
    if (instant >= stretch.begin && instant < stretch.end) return instant;
  }
  return std::nullopt;
}

}  // namespace quellmark::forecast
