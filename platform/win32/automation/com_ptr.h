#pragma once

#include <unknwn.h>

#include <utility>

namespace brindlex {

/// A counted reference to a COM interface.
template <class T>
class ComPtr {
 public:
  ComPtr() noexcept = default;
  // NOLINTNEXTLINE(google-explicit-constructor): null converts, as to the standard's pointers.
  ComPtr(std::nullptr_t) noexcept {}
  /// Adds a reference of its own to `pointer`, which may be null.
  explicit ComPtr(T* pointer) noexcept : pointer_(pointer) {
    if (pointer_ != nullptr) pointer_->AddRef();
  }
  ComPtr(const ComPtr& other) noexcept : ComPtr(other.pointer_) {}
  ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(pointer_, other.pointer_);
    return *this;
  }
  ~ComPtr() {
    if (pointer_ != nullptr) pointer_->Release();
  }

  /// Takes over a reference that the caller holds.
  static ComPtr Adopt(T* pointer) noexcept {
    ComPtr adopted;
    adopted.pointer_ = pointer;
    return adopted;
  }

  T* Get() const noexcept { return pointer_; }
  T* operator->() const noexcept { return pointer_; }
  explicit operator bool() const noexcept { return pointer_ != nullptr; }

  /// Hands the reference over to the caller.
  T* Detach() noexcept { return std::exchange(pointer_, nullptr); }

  /// Where a function may store a new reference; the one held before is released.
  T** Receive() noexcept {
    *this = nullptr;
    return &pointer_;
  }
  void** ReceiveVoid() noexcept { return reinterpret_cast<void**>(Receive()); }

  /// The same object's other interface, or null when it does not have it.
  template <class U>
  ComPtr<U> As() const noexcept {
    ComPtr<U> other;
    if (pointer_ != nullptr && FAILED(pointer_->QueryInterface(__uuidof(U), other.ReceiveVoid()))) {
      return nullptr;
    }
    return other;
  }

 private:
  T* pointer_ = nullptr;
};

}  // namespace brindlex
