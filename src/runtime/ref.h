// Ref<T>: a reference-counted object reference that may be nil, as the service's objects are.
// Using a member of nil throws NilObjectException naming T, so a nil is never a segfault.
// T names itself through a static member kClassName.

#ifndef QUELLMARK_RUNTIME_REF_H_
#define QUELLMARK_RUNTIME_REF_H_

#include <memory>
#include <utility>

#include "runtime/exceptions.h"

namespace quellmark {

template <typename T>
class Ref {
 public:
  Ref() = default;
  Ref(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): nil converts implicitly.
  explicit Ref(std::shared_ptr<T> object) : object_(std::move(object)) {}

  template <typename... Args>
  static Ref New(Args&&... args) {
    return Ref(std::make_shared<T>(std::forward<Args>(args)...));
  }

  T* operator->() const { return &Get(); }
  T& operator*() const { return Get(); }

  bool IsNil() const { return object_ == nullptr; }
  friend bool operator==(const Ref& a, std::nullptr_t) { return a.IsNil(); }
  // Identity, not equality of content: two references to one object.
  friend bool operator==(const Ref& a, const Ref& b) { return a.object_ == b.object_; }

 private:
  T& Get() const {
    if (object_ == nullptr) throw NilObjectException(T::kClassName);
    return *object_;
  }

  std::shared_ptr<T> object_;
};

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_REF_H_
