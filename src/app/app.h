// App: the service itself. Run reads the preferences, finds Tolvane, loads the alarms and then
// checks them about once a second until one rings; the check pass launches Tolvane with
// "open -a" and ends the process with status 0. When an input is missing, Run logs one of four
// messages and returns 0. Nothing is ever written to disk.

#ifndef QUELLMARK_APP_APP_H_
#define QUELLMARK_APP_APP_H_

#include <cstdint>
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

  // One pass: the first enabled alarm that rings now launches Tolvane (unless Tolvane is missing
  // or was launched in this same minute) and ends the process.
  void checkAlarms();

  Array<Ref<AlarmItem>> alarmArray;
  Ref<FolderItem> FTolvaneItem;  // Tolvane's bundle, once located
  Ref<Date> dLastLaunch;         // Tolvane's last launch, as its preferences tell

 private:
  void LoadAlarms(const String& list);
  [[noreturn]] void LaunchTolvaneAndQuit();
};

}  // namespace quellmark

#endif  // QUELLMARK_APP_APP_H_
