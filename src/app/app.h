// App: the service itself. Run reads the preferences, finds Tolvane, loads the alarms and then
// checks them about once a second until one rings; the check pass launches Tolvane with
// "open -a" and ends the process with status 0. When an input is missing, Run logs one of four
// messages and returns 0. Nothing is ever written to disk.

#ifndef QUELLMARK_APP_APP_H_
#define QUELLMARK_APP_APP_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "alarm/alarm_item.h"
#include "runtime/application.h"
#include "runtime/array.h"
#include "runtime/date.h"
#include "runtime/folder_item.h"
#include "runtime/ref.h"
#include "runtime/string_value.h"

namespace quellmark {

inline constexpr int32_t kQuitMessageLevel = 1007;
inline constexpr const char* kNoPreferencesMessage =
    "Quellmark quit because it could not find the Tolvane preferences file.";
inline constexpr const char* kUnreadablePreferencesMessage =
    "Quellmark quit because it could not open the Tolvane preferences file for reading.";
inline constexpr const char* kNoApplicationMessage =
    "Quellmark quit because it could not find the Tolvane application.";
inline constexpr const char* kNoAlarmsMessage =
    "Quellmark quit because no alarms were found in the Tolvane preferences file.";

class App : public ServiceApplication {
 public:
  // Watches for ever once the alarms are loaded; returns 0 only after logging why it quit.
  // The arguments are not read.
  int32_t Run(const std::vector<String>& args) override;

  // Everything Run does before it watches: the last launch, the ring offset, Tolvane and the
  // alarms, read from preferences_file (an absolute path; the user's file when absent). Returns
  // the message Run would quit with, or none when the alarms are loaded. Logs nothing. The
  // message is a view, so that it compares as text, whichever copy of its literal it points at.
  std::optional<std::string_view> Load(
      const std::optional<String>& preferences_file = std::nullopt);

  // One pass: the first enabled alarm that rings now launches Tolvane (unless Tolvane is missing
  // or was launched in this same minute) and ends the process.
  void checkAlarms();

  Array<Ref<AlarmItem>> alarmArray;
  Ref<FolderItem> FTolvaneItem;  // Tolvane's bundle, once located
  Ref<Date> dLastLaunch;         // Tolvane's last launch, as its preferences tell
  // What Load found besides: the file it read or looked for, and whether Tolvane was where its
  // preferences said rather than found by the search.
  std::string preferences_path;
  bool tolvane_at_saved_location = false;

 private:
  void LoadAlarms(const String& list);
  [[noreturn]] void LaunchTolvaneAndQuit();
};

// Whether now falls in the minute (same day, hour and minute) of last_launch: the check pass
// never launches Tolvane twice in one minute.
bool LaunchedThisMinute(const Date& now, const Date& last_launch);

}  // namespace quellmark

#endif  // QUELLMARK_APP_APP_H_
