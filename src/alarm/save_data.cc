// putSaveData: the saved form of one alarm. The table below lists every tag read, in the order
// read, with the rule that turns its text into the property of the same name. The checks after
// it prove at compile time that every row names a property of a fitting type, that no property
// is read twice, and that exactly the three properties the saved form does not hold are unread.

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "alarm/alarm_item.h"
#include "alarm/ring_offset.h"
#include "runtime/application.h"
#include "runtime/numbers.h"
#include "runtime/variant.h"
#include "text/tag_index.h"
#include "text/url_decoding.h"
#include "text/xml_value.h"

namespace quellmark {

namespace {

enum class ReadRule {
  kText,           // percent-decoded text
  kNumber,         // Val of the text as it stands, as an Int32
  kDecodedNumber,  // Val of the decoded text, as an Int32
  kFlag,           // "True" in any case
  kVariantNumber,  // the leading whole number, through the variant conversion, without Val
  kPort,           // 25 when empty, else as kNumber
  // As kPort, but the tag is looked up again for the number; the text is the same.
  kPortLookedUpTwice,
  kFile,      // a decoded absolute path, stored only when something exists there
  kFlagList,  // one flag per element, under name-0, name-1, ...
};

struct SaveDataRow {
  std::string_view property;
  ReadRule rule;
};

using enum ReadRule;

constexpr SaveDataRow kSaveDataRows[] = {
    {"dAlarmFormat", kText},
    {"dAlarmName", kText},
    {"dDay", kText},
    {"dHour", kNumber},
    {"dHourlyMinute", kNumber},
    {"dMinute", kNumber},
    {"dMonth", kText},
    {"dMonthlyMonth", kText},
    {"dMonthlyToLast", kFlag},
    {"dMonthlyWeekday", kFlagList},
    {"dMonthlyWeekNum", kFlagList},
    {"dYear", kText},
    {"mEnabled", kFlag},
    {"isImported", kFlag},
    {"bCancelNotSnooze", kFlag},
    {"vAlertText", kText},
    {"vAlertTextSpeak", kText},
    {"vShowRandom", kText},
    {"vSpeakRandom", kText},
    {"vAudioVideoFile", kFile},
    {"vCoreSystemEvent", kText},
    {"vEMailBody", kText},
    {"vEMailRecipient", kText},
    {"vEMailSubject", kText},
    {"vEnsureAwake", kFlag},
    {"viTunesPauseChangeVolume", kFlag},
    {"viTunesPauseVolume", kNumber},
    {"viTunesPlaylistChangeVolume", kFlag},
    {"viTunesPlaylistAutoStop", kFlag},
    {"viTunesPlaylistAutoStopSeconds", kNumber},
    {"viTunesPlaylistFadeIn", kFlag},
    {"viTunesPlaylistFadeInSeconds", kNumber},
    {"viTunesPlaylistName", kText},
    {"viTunesPlaylistVolume", kNumber},
    {"viTunesPlaylistSupress", kFlag},
    {"viTunesPlaylistRandom", kFlag},
    {"viTunesRandomChangeVolume", kFlag},
    {"viTunesRandomAutoStop", kFlag},
    {"viTunesRandomAutoStopSeconds", kNumber},
    {"viTunesRandomFadeIn", kFlag},
    {"viTunesRandomFadeInSeconds", kNumber},
    {"viTunesRandomVolume", kNumber},
    {"viTunesRandomSupress", kFlag},
    {"viTunesStopChangeVolume", kFlag},
    {"viTunesStopVolume", kNumber},
    {"viTunesStreamChangeVolume", kFlag},
    {"viTunesStreamAutoStop", kFlag},
    {"viTunesStreamAutoStopSeconds", kNumber},
    {"viTunesStreamFadeIn", kFlag},
    {"viTunesStreamFadeInSeconds", kNumber},
    {"viTunesStreamVolume", kNumber},
    {"viTunesStreamSupress", kFlag},
    {"vKeepEnabled", kFlag},
    {"vOpenFile", kFile},
    {"vPrimaryAutoStop", kFlag},
    {"vPrimaryAutoStopSeconds", kNumber},
    {"vPrimaryFadeIn", kFlag},
    {"vPrimaryFadeInSeconds", kNumber},
    {"vPrimaryFadeOut", kFlag},
    {"vPrimaryFadeOutSeconds", kNumber},
    {"vPrimaryLoopCount", kDecodedNumber},
    {"vPrimaryLoopStyle", kDecodedNumber},
    {"vPrimaryPlayback", kText},
    {"vPrimaryVolume", kNumber},
    {"vQTAutoStop", kFlag},
    {"vQTAutoStopSeconds", kNumber},
    {"vQTFadeIn", kFlag},
    {"vQTFadeInSeconds", kNumber},
    {"vQTFadeOut", kFlag},
    {"vQTFadeOutSeconds", kNumber},
    {"vQTLoopCount", kDecodedNumber},
    {"vQTLoopStyle", kDecodedNumber},
    {"vQTPlayback", kText},
    {"vQTVolume", kNumber},
    {"vScreensaverEvent", kText},
    {"vScreenshotLocation", kFile},
    {"vShellCommand", kText},
    {"vTextMsgMessage", kText},
    {"vTextMsgFrom", kText},
    {"vTextMsgRecipient", kText},
    {"vTextMsgCarrier", kText},
    {"vTextMsgSMTPServer", kText},
    {"vTextMsgSMTPPort", kPort},
    {"vTextMsgSMTPLogin", kText},
    {"vTextMsgSMTPSPassword", kText},
    {"vTextMsgSMTPSecure", kFlag},
    {"vSendShotFrom", kText},
    {"vSendShotRecipient", kText},
    {"vSendShotMessage", kText},
    {"vSendShotQuality", kDecodedNumber},
    {"vSendShotSMTPServer", kText},
    {"vSendShotSMTPPort", kPort},
    {"vSendShotSMTPLogin", kText},
    {"vSendShotSMTPSPassword", kText},
    {"vSendShotSMTPSecure", kFlag},
    {"vSMTPLogin", kText},
    {"vSMTPMessage", kText},
    {"vSMTPPassword", kText},
    {"vSMTPPort", kPortLookedUpTwice},
    {"vSMTPRecipient", kText},
    {"vSMTPSender", kText},
    {"vSMTPServer", kText},
    {"vSMTPAttachment", kText},
    {"vSMTPSubject", kText},
    {"vSMTPSecure", kFlag},
    {"dTimerHour", kNumber},
    {"dTimerMinute", kNumber},
    {"dTimerSecond", kNumber},
    {"vURLOpen", kText},
    {"vURLStream", kText},
    {"xEventQuit", kFlag},
    {"xEventAlertBounce", kFlag},
    {"xEventAlertDisplay", kFlag},
    {"xEventAlertSpeak", kFlag},
    {"xEventAV", kFlag},
    {"xEventComposeMail", kFlag},
    {"xEventCoreSystem", kFlag},
    {"xEventGoUrl", kFlag},
    {"xEventiTunesPauseResume", kFlag},
    {"xEventiTunesPlaylist", kFlag},
    {"xEventiTunesRandom", kFlag},
    {"xEventiTunesStop", kFlag},
    {"xEventiTunesWebRadio", kFlag},
    {"xEventOpen", kFlag},
    {"xEventForceForeground", kFlag},
    {"xEventPPPConnect", kFlag},
    {"xEventPPPDisconnect", kFlag},
    {"xEventModemCommand", kFlag},
    {"xEventPrimary", kFlag},
    {"xEventScreensaver", kFlag},
    {"xEventScreenshot", kFlag},
    {"xEventSendMail", kFlag},
    {"xEventTextMessage", kFlag},
    {"xEventSendShot", kFlag},
    {"xEventShellCommand", kFlag},
    {"xEventSpeakRandom", kFlag},
    {"xEventShowRandom", kFlag},
    {"vModemPort", kVariantNumber},
    {"vModemCommand", kText},
};

// mLastRung of a timer is set between these rows, once dAlarmFormat is known.
constexpr size_t kRowsBeforeTimerStart = 14;

constexpr bool RuleFitsType(ReadRule rule, PropertyType type) {
  switch (rule) {
    case kText:
      return type == PropertyType::kString;
    case kNumber:
    case kDecodedNumber:
    case kVariantNumber:
    case kPort:
    case kPortLookedUpTwice:
      return type == PropertyType::kInt32;
    case kFlag:
      return type == PropertyType::kBoolean;
    case kFile:
      return type == PropertyType::kFolderItem;
    case kFlagList:
      return type == PropertyType::kBooleanArray;
  }
  return false;
}

constexpr bool EveryRowReadsOneFittingProperty() {
  return std::ranges::all_of(kSaveDataRows, [](const SaveDataRow& row) {
    const PropertyInfo* property = FindAlarmProperty(row.property);
    return property != nullptr && RuleFitsType(row.rule, property->type);
  });
}

constexpr int ReadCount(std::string_view property) {
  int count = 0;
  for (const SaveDataRow& row : kSaveDataRows) count += row.property == property ? 1 : 0;
  return count;
}

constexpr bool EveryPropertyReadOnceButTheUnsaved() {
  return std::ranges::all_of(kAlarmItemProperties, [](const PropertyInfo& property) {
    const bool saved = property.name != "uIndex" && property.name != "mSleepSeconds" &&
                       property.name != "mLastRung";
    return ReadCount(property.name) == (saved ? 1 : 0);
  });
}

static_assert(std::size(kSaveDataRows) == 139);
static_assert(EveryRowReadsOneFittingProperty());
static_assert(EveryPropertyReadOnceButTheUnsaved());
static_assert(kSaveDataRows[kRowsBeforeTimerStart - 1].property == "isImported");

// Each row's property, found once at compile time.
constexpr auto kRowProperties = [] {
  std::array<const PropertyInfo*, std::size(kSaveDataRows)> properties{};
  for (size_t i = 0; i < properties.size(); ++i) {
    properties[i] = FindAlarmProperty(kSaveDataRows[i].property);
  }
  return properties;
}();

int32_t FlagListUpperBound(std::string_view property) {
  return property == "dMonthlyWeekday" ? AlarmItem::kWeekdayUpperBound
                                       : AlarmItem::kWeekNumUpperBound;
}

String FlagListTag(std::string_view property, int32_t index) {
  return String(std::string(property)) + "-" + Str(index);
}

// Every tag of the saved form, numbered in the order read, for the one-pass index of a block:
// each row's tag, or for a flag list its tags name-0, name-1, ... in turn.
struct SaveDataTags {
  SaveDataTags() {
    std::vector<std::string> keys;
    for (size_t i = 0; i < std::size(kSaveDataRows); ++i) {
      const SaveDataRow& row = kSaveDataRows[i];
      first_tag[i] = static_cast<int32_t>(keys.size());
      if (row.rule != kFlagList) {
        keys.emplace_back(row.property);
        continue;
      }
      for (int32_t index = 0; index <= FlagListUpperBound(row.property); ++index) {
        keys.push_back(FlagListTag(row.property, index).Bytes());
      }
    }
    set = std::make_unique<TagSet>(keys);
  }

  std::unique_ptr<TagSet> set;
  std::array<int32_t, std::size(kSaveDataRows)> first_tag{};
};

const SaveDataTags& TagsOfTheSavedForm() {
  static const SaveDataTags tags;  // GCOVR_EXCL_BR_LINE: a local static's guard
  return tags;
}

int32_t NumberOf(const String& text) { return DoubleToInt32(Val(text)); }

bool FlagOf(const Variant& value) { return VariantToBoolean(GlobalMethods::ConvertVar(value)); }

class SaveDataReader {
 public:
  SaveDataReader(AlarmItem& item, const String& data)
      : item_(item), values_(*TagsOfTheSavedForm().set, data) {}

  // Reads row, whose tag (for a flag list, its first tag) is numbered tag in the index.
  void Read(const SaveDataRow& row, const PropertyInfo& property, int32_t tag) {
    switch (row.rule) {  // GCOVR_EXCL_BR_LINE: every rule has a case
      case kText:
        Store<String>(property, GlobalMethods::DecodingFromURLVelmora(Text(tag)));
        break;
      case kNumber:
        Store<int32_t>(property, NumberOf(Text(tag)));
        break;
      case kDecodedNumber:
        Store<int32_t>(property, NumberOf(GlobalMethods::DecodingFromURLVelmora(Text(tag))));
        break;
      case kFlag:
        Store<bool>(property, FlagOf(values_.Value(tag)));
        break;
      case kVariantNumber:
        Store<int32_t>(property, VariantToInt32(GlobalMethods::ConvertVar(values_.Value(tag))));
        break;
      case kPort:
      case kPortLookedUpTwice: {
        const String text = Text(tag);
        if (Len(text) == 0) {
          Store<int32_t>(property, 25);
        } else {
          Store<int32_t>(property, NumberOf(row.rule == kPort ? text : Text(tag)));
        }
        break;
      }
      case kFile:
        ReadFile(property, GlobalMethods::DecodingFromURLVelmora(Text(tag)));
        break;
      case kFlagList:
        ReadFlagList(property, tag);
        break;
    }
  }

 private:
  template <typename T>
  void Store(const PropertyInfo& property, T value) {
    item_.*std::get<T AlarmItem::*>(property.member) = std::move(value);
  }

  String Text(int32_t tag) const { return VariantToString(values_.Value(tag)); }

  // Stored only when the path is non-empty, names an item and something exists there; each
  // check looks the path up afresh, and anything else leaves the property as it was.
  void ReadFile(const PropertyInfo& property, const String& path) {
    if (LenB(path) > 0 && GetFolderItem(path, 0) != nullptr && GetFolderItem(path, 0)->Exists()) {
      Store<Ref<FolderItem>>(property, GetFolderItem(path, 0));
    }
  }

  // The tags name-0, name-1, ... are numbered from first_tag on.
  void ReadFlagList(const PropertyInfo& property, int32_t first_tag) {
    Array<bool>& flags = *(item_.*std::get<Ref<Array<bool>> AlarmItem::*>(property.member));
    for (int32_t i = 0; i <= FlagListUpperBound(property.name); ++i) {
      flags.Set(i, FlagOf(values_.Value(first_tag + i)));
      YieldPoint();
    }
  }

  AlarmItem& item_;
  TagIndex values_;
};

}  // namespace

void AlarmItem::putSaveData(const String& data) {
  const Date start = Date::Now();
  SaveDataReader reader(*this, data);
  for (size_t i = 0; i < std::size(kSaveDataRows); ++i) {
    if (i == kRowsBeforeTimerStart && dAlarmFormat == "timer") {
      mLastRung = start.TotalSeconds() +
                  static_cast<double>(WrappingMultiply(GlobalMethods::iRingOffset, 60));
    }
    reader.Read(kSaveDataRows[i], *kRowProperties[i], TagsOfTheSavedForm().first_tag[i]);
  }
}

}  // namespace quellmark
