#include "app/app.h"

#include <optional>

#include "alarm/ring_offset.h"
#include "app/preferences.h"
#include "app/tolvane_search.h"
#include "runtime/numbers.h"
#include "runtime/shell.h"
#include "runtime/special_folder.h"
#include "runtime/system_log.h"
#include "text/url_decoding.h"

namespace quellmark {

int32_t App::Run(const std::vector<String>& /*args*/) {
  if (const std::optional<std::string_view> message = Load()) {
    System::Log(kQuitMessageLevel, String(std::string(*message)));
    return 0;
  }
  // The loop has no exit of its own: the check pass ends the process when it launches Tolvane.
  for (;;) {
    checkAlarms();
    DoEvents(1000);
    YieldPoint();
  }
}

std::optional<std::string_view> App::Load(const std::optional<String>& preferences_file) {
  dLastLaunch = Ref<Date>::New(Date::Now());

  // The settings live only in this block and the alarm list until the alarms are loaded: both
  // may be as large as the file, and are not kept while the service watches.
  std::optional<String> list;
  {
    const Ref<FolderItem> file =
        preferences_file ? GetFolderItem(*preferences_file, 0) : PreferencesFile();
    preferences_path = file != nullptr ? file->Path() : preferences_file.value_or("").Bytes();
    String settings;
    switch (ReadPreferenceSettings(file, settings)) {  // GCOVR_EXCL_BR_LINE: a case per outcome
      case PreferencesOutcome::kNotFound:
        return kNoPreferencesMessage;
      case PreferencesOutcome::kNotOpenable:
        return kUnreadablePreferencesMessage;
      case PreferencesOutcome::kRead:
        break;
    }
    GlobalMethods::iRingOffset = DoubleToInt32(Val(SettingText(settings, "iRingOffset")));
    dLastLaunch->SetTotalSeconds(Val(SettingText(settings, "LastLaunch")));

    // Tolvane is located before the alarms are looked at, so a file without alarms still costs
    // a search when the saved location is stale.
    FTolvaneItem = SavedTolvane(
        GlobalMethods::DecodingFromURLVelmora(SettingText(settings, "LastApplicationLocation")));
    tolvane_at_saved_location = FTolvaneItem != nullptr;
    if (!tolvane_at_saved_location) FTolvaneItem = SearchForTolvane(SpecialFolder::Applications());
    if (FTolvaneItem == nullptr || !FTolvaneItem->Exists() || !FTolvaneItem->Directory()) {
      return kNoApplicationMessage;
    }
    list = SettingText(settings, "new-alarms");
  }
  if (!HasItemBlocks(*list)) return kNoAlarmsMessage;
  LoadAlarms(*list);
  return std::nullopt;
}

void App::LoadAlarms(const String& list) {
  ForEachItemBlock(list, [this](const String& block) {
    const Ref<AlarmItem> item = Ref<AlarmItem>::New();
    item->putSaveData(block);
    alarmArray.Append(item->DuplicateMe());
    YieldPoint();
  });
}

void App::checkAlarms() {
  const Date now = Date::Now();
  const int32_t last = alarmArray.UBound();
  for (int32_t i = 0; i <= last; ++i) {
    const Ref<AlarmItem>& alarm = alarmArray.Get(i);
    // Every alarm is asked, the disabled ones too; the enabled flag only matters once it rings.
    if (alarm->isRingTime(nullptr, false) && alarm->mEnabled) {
      // A missing Tolvane loses this pass's ringing silently; the next pass tries again.
      if (FTolvaneItem != nullptr && FTolvaneItem->Exists()) {
        if (!LaunchedThisMinute(now, *dLastLaunch)) LaunchTolvaneAndQuit();
      }
    }
    YieldPoint();
  }
}

bool LaunchedThisMinute(const Date& now, const Date& last_launch) {
  // Compared as text to the minute, as the service always has.
  return now.LongDate() + now.ShortTime() == last_launch.LongDate() + last_launch.ShortTime();
}

void App::LaunchTolvaneAndQuit() {
  // ShellPath makes the path exactly one shell word; nothing is added around it.
  const Ref<Shell> shell = Ref<Shell>::New();
  // A new Shell is never nil; the check is for a runtime whose objects can fail to be made.
  if (shell != nullptr) {  // GCOVR_EXCL_BR_LINE
    shell->Execute("open -a " + FTolvaneItem->ShellPath());
  }
  // Quit never returns, so a second ringing alarm in this pass cannot launch Tolvane again.
  Quit(0);
}

}  // namespace quellmark
