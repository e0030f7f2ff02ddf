// Array<T>: the runtime's one-dimensional, 0-based array, described by its upper bound (-1 when
// empty). An index outside 0 to the upper bound throws OutOfBoundsException. Removing the head is
// amortised O(1), so an array can serve as a first-in, first-out work list.

#ifndef QUELLMARK_RUNTIME_ARRAY_H_
#define QUELLMARK_RUNTIME_ARRAY_H_

#include <cstdint>
#include <utility>
#include <vector>

#include "runtime/exceptions.h"

namespace quellmark {

template <typename T>
class Array {
 public:
  static constexpr const char* kClassName = "Array";

  // upper_bound + 1 elements of T's zero value; any upper bound below 0 gives an empty array.
  explicit Array(int32_t upper_bound = -1)
      : items_(upper_bound < 0 ? 0 : static_cast<size_t>(upper_bound) + 1, T{}) {}

  int32_t UBound() const { return static_cast<int32_t>(items_.size() - head_) - 1; }

  // A reference to the element (a value for flags, whose storage is packed).
  decltype(auto) Get(int32_t index) const { return std::as_const(items_)[Slot(index)]; }
  void Set(int32_t index, T value) { items_[Slot(index)] = std::move(value); }

  void Append(T value) { items_.push_back(std::move(value)); }

  // Places value at index, 0 to UBound() + 1.
  void Insert(int32_t index, T value) {
    if (index == UBound() + 1) return Append(std::move(value));
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(Slot(index)), std::move(value));
  }

  // Takes out the element at index; later elements move down one place.
  void Remove(int32_t index) {
    const size_t slot = Slot(index);
    if (slot != head_) {
      items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(slot));
      return;
    }
    items_[head_++] = T{};
    if (head_ * 2 >= items_.size()) {
      items_.erase(items_.begin(), items_.begin() + static_cast<std::ptrdiff_t>(head_));
      head_ = 0;
    }
  }

 private:
  size_t Slot(int32_t index) const {
    if (index < 0 || index > UBound()) throw OutOfBoundsException(index, UBound());
    return head_ + static_cast<size_t>(index);
  }

  std::vector<T> items_;
  size_t head_ = 0;  // items_[0, head_) are removed elements not yet compacted away
};

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_ARRAY_H_
