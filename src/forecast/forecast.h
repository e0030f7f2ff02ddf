// Forecast: what the service, started at a given moment, would do from then on: when each alarm
// would next make it launch Tolvane, which alarm launches it first and when, or with which
// message it would quit at start. It reads the preferences through the service's own code and
// evaluates every candidate moment with the service's own rules (isRingTime and the same-minute
// guard against the last launch); it never writes a file and never runs a command.
//
// Moments are real instants; the service's clock reads them as local wall-clock fields of the
// process's time zone, so a minute skipped by a daylight-saving change never occurs and a
// repeated hour occurs twice.

#ifndef QUELLMARK_FORECAST_FORECAST_H_
#define QUELLMARK_FORECAST_FORECAST_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "alarm/alarm_item.h"
#include "runtime/folder_item.h"
#include "runtime/ref.h"

namespace quellmark::forecast {

inline constexpr int32_t kDefaultHorizonDays = 366;
inline constexpr int32_t kMaxHorizonDays = 3660;

// A real instant, and what the local wall clock of the process's zone shows then.
struct Moment {
  int64_t unix_seconds = 0;  // since 1970-01-01 00:00:00 UTC
  int64_t wall_seconds = 0;  // local wall-clock seconds since 1904-01-01 00:00:00 (Date's scale)
  bool operator==(const Moment&) const = default;
};

enum class FoundBy { kSavedLocation, kSearch };

struct AlarmForecast {
  Ref<AlarmItem> alarm;  // as the service loaded it (a timer's countdown starts at the start)
  // The first whole second at or after the start, within the horizon, at which a pass would
  // launch Tolvane for this alarm; nullopt when the alarm is disabled or has none.
  std::optional<Moment> next;
  // Whether the alarm rang at an earlier moment (before next, or within the horizon when next is
  // nullopt) that the same-minute guard against the last launch held back.
  bool held_by_guard = false;
};

enum class Outcome {
  kLaunch,  // watches, then launches Tolvane within the horizon
  kWatch,   // watches without launching within the horizon
  kQuit,    // quits at start with one of its four messages
};

struct Request {
  std::optional<int64_t> start_unix_seconds;    // now when absent
  int32_t horizon_days = kDefaultHorizonDays;   // 1 to kMaxHorizonDays
  std::optional<std::string> preferences_file;  // the user's preferences file when absent
};

struct Forecast {
  std::string preferences_path;  // the file read (or looked for)
  Moment start;
  int32_t horizon_days = kDefaultHorizonDays;
  Outcome outcome = Outcome::kQuit;
  std::optional<std::string> quit_message;  // the service's own text, when outcome is kQuit
  // What the service read before it quit or started watching (zero values where it stopped
  // before reading them).
  int32_t ring_offset_minutes = 0;
  double last_launch_seconds = 0;  // dLastLaunch's TotalSeconds
  Ref<FolderItem> tolvane;         // nil when not found
  FoundBy found_by = FoundBy::kSearch;
  // The launch: the earliest next moment of an enabled alarm, the first in array order on a tie.
  std::optional<size_t> launch_alarm;
  std::optional<Moment> launch;
  std::vector<AlarmForecast> alarms;  // in array order; empty when the service quits
};

// Models the service started at request's start, in the process's current time zone (TZ is read
// again). The platform's folders are those of the Env in force; the ring offset and the Env are
// left as they were found, whatever happens. A missing preferences folder (no user home) throws
// the runtime's NilObjectException, as the service does.
Forecast Predict(const Request& request);

// The wall clock at unix_seconds, read exactly as the service's clock reads it.
int64_t WallSecondsAt(int64_t unix_seconds);

// The first instant whose wall clock shows wall_seconds (the earlier one when the local time
// repeats); nullopt when a daylight-saving change skips it.
std::optional<int64_t> UnixSecondsForWall(int64_t wall_seconds);

}  // namespace quellmark::forecast

#endif  // QUELLMARK_FORECAST_FORECAST_H_
