// AlarmItem: one alarm as Tolvane saved it, the question whether it rings at a given moment, and
// the table that describes its 142 properties to the rest of the code.
//
// The service evaluates only the schedule (the d... properties), mEnabled and mLastRung; every
// other property is read, kept and copied so that the record stays whole.

#ifndef QUELLMARK_ALARM_ALARM_ITEM_H_
#define QUELLMARK_ALARM_ALARM_ITEM_H_

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <variant>

#include "alarm/alarm_properties.h"
#include "runtime/array.h"
#include "runtime/date.h"
#include "runtime/folder_item.h"
#include "runtime/ref.h"
#include "runtime/string_value.h"

namespace quellmark {

// The C++ type that holds each property type of the list.
namespace property_types {
using String = quellmark::String;
using Int32 = int32_t;
using Boolean = bool;
using Double = double;
using FolderItem = Ref<quellmark::FolderItem>;
using BooleanArray = Ref<Array<bool>>;
}  // namespace property_types

// Members are grouped by use (see alarm_properties.h) rather than packed tightest.
class AlarmItem {  // NOLINT(clang-analyzer-optin.performance.Padding)
 public:
  static constexpr const char* kClassName = "AlarmItem";
  // Upper bounds of the two flag arrays: one flag per weekday, one per week of the month.
  static constexpr int32_t kWeekdayUpperBound = 6;
  static constexpr int32_t kWeekNumUpperBound = 4;

  // Every property at its zero value but the two flag arrays, which are made here.
  AlarmItem();

  // Whether the alarm rings at now (nil: the current time) shifted by the global ring offset;
  // dateOnly compares whole days instead of minutes. Changes nothing.
  bool isRingTime(const Date* now, bool dateOnly) const;

  // A new, separate record equal in every property: the flag arrays copied element by element,
  // the folder items shared.
  Ref<AlarmItem> DuplicateMe() const;

  // Fills the record from the saved text of one alarm. Any text is accepted; what is absent or
  // unreadable gets the reading's default.
  void putSaveData(const String& data);

#define QUELLMARK_DECLARE_IN_Watched(name, type) property_types::type name{};
#define QUELLMARK_DECLARE_IN_Kept(name, type)
#define QUELLMARK_DECLARE_WATCHED(name, type, group) QUELLMARK_DECLARE_IN_##group(name, type)
  QUELLMARK_ALARM_PROPERTIES(QUELLMARK_DECLARE_WATCHED)
#undef QUELLMARK_DECLARE_IN_Watched
#undef QUELLMARK_DECLARE_IN_Kept
#define QUELLMARK_DECLARE_IN_Watched(name, type)
#define QUELLMARK_DECLARE_IN_Kept(name, type) property_types::type name{};
  QUELLMARK_ALARM_PROPERTIES(QUELLMARK_DECLARE_WATCHED)
#undef QUELLMARK_DECLARE_WATCHED
#undef QUELLMARK_DECLARE_IN_Watched
#undef QUELLMARK_DECLARE_IN_Kept
};

enum class PropertyType { kString, kInt32, kBoolean, kDouble, kFolderItem, kBooleanArray };

// A property's member; the alternative's index is its PropertyType.
using PropertyMember =
    std::variant<String AlarmItem::*, int32_t AlarmItem::*, bool AlarmItem::*, double AlarmItem::*,
                 Ref<FolderItem> AlarmItem::*, Ref<Array<bool>> AlarmItem::*>;

struct PropertyInfo {
  std::string_view name;
  PropertyType type;
  PropertyMember member;
};

// The properties of AlarmItem, in declared order.
#define QUELLMARK_DESCRIBE_PROPERTY(name, type, group) \
  PropertyInfo{#name, PropertyType::k##type, &AlarmItem::name},
inline constexpr std::array kAlarmItemProperties{
    QUELLMARK_ALARM_PROPERTIES(QUELLMARK_DESCRIBE_PROPERTY)};
#undef QUELLMARK_DESCRIBE_PROPERTY

// The property called name (exact spelling), or nullptr.
constexpr const PropertyInfo* FindAlarmProperty(std::string_view name) {
  for (const PropertyInfo& property : kAlarmItemProperties) {
    if (property.name == name) return &property;
  }
  return nullptr;
}

static_assert(kAlarmItemProperties.size() == 142);
static_assert(std::ranges::all_of(kAlarmItemProperties, [](const PropertyInfo& property) {
  return static_cast<size_t>(property.type) == property.member.index();
}));

}  // namespace quellmark

#endif  // QUELLMARK_ALARM_ALARM_ITEM_H_
