#include "alarm/alarm_item.h"

namespace quellmark {

namespace {

template <typename... Ts>
struct Overloaded : Ts... {
  using Ts::operator()...;
};
template <typename... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

}  // namespace

AlarmItem::AlarmItem()
    : dMonthlyWeekday(Ref<Array<bool>>::New(kWeekdayUpperBound)),
      dMonthlyWeekNum(Ref<Array<bool>>::New(kWeekNumUpperBound)) {}

Ref<AlarmItem> AlarmItem::DuplicateMe() const {
  Ref<AlarmItem> copy = Ref<AlarmItem>::New();
  AlarmItem& target = *copy;
  for (const PropertyInfo& property : kAlarmItemProperties) {
    std::visit(Overloaded{
                   // The copy's own arrays, made by its initialiser, set the bounds; reading
                   // past the source's bounds throws rather than resizing anything.
                   [&](Ref<Array<bool>> AlarmItem::*array) {
                     Array<bool>& to = *(target.*array);
                     const Array<bool>& from = *(this->*array);
                     for (int32_t i = 0; i <= to.UBound(); ++i) to.Set(i, from.Get(i));
                   },
                   // Values, immutable strings and shared folder items alike.
                   [&](auto member) { target.*member = this->*member; },
               },
               property.member);
  }
  return copy;
}

}  // namespace quellmark
