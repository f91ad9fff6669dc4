#pragma once

#include <utility>

namespace brindlex {

/// A static object whose destructor never runs: at the end of the process a host may still release
/// what it holds of the component, after the component's own static objects would be gone.
template <class T>
class NeverDestroyed {
 public:
  template <class... Arguments>
  explicit NeverDestroyed(Arguments&&... arguments)
      : object_(std::forward<Arguments>(arguments)...) {}
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;
  ~NeverDestroyed() {}  // NOLINT(modernize-use-equals-default): would destroy the object

  T& Get() noexcept { return object_; }
  const T& Get() const noexcept { return object_; }

 private:
  union {
    T object_;
  };
};

}  // namespace brindlex
