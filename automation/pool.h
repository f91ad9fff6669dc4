#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

namespace brindlex {

/// Memory for many objects of one type that come and go one by one but are small beside what an
/// allocation costs. Objects stay where they are. What an object leaves is used for the next; all
/// memory is released when the pool ends, by when every object must be destroyed. Not
/// synchronized.
template <class T>
class Pool {
 public:
  Pool() = default;
  Pool(Pool&& other) noexcept
      : block_(std::exchange(other.block_, nullptr)),
        count_(std::exchange(other.count_, 0)),
        unused_(std::exchange(other.unused_, 0)),
        left_(std::exchange(other.left_, nullptr)) {}
  Pool& operator=(Pool&& other) noexcept {
    std::swap(block_, other.block_);
    std::swap(count_, other.count_);
    std::swap(unused_, other.unused_);
    std::swap(left_, other.left_);
    return *this;
  }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;
  ~Pool() {
    while (block_ != nullptr) delete[] std::exchange(block_, block_->next);
  }

  /// A new object. Throws what its constructor throws, or std::bad_alloc.
  template <class... Arguments>
  T* Make(Arguments&&... arguments) {
    Slot* const slot = left_ != nullptr ? left_ : Unused();
    Slot* const leftBehind = slot->next;
    T* const made =
        ::new (static_cast<void*>(slot->memory)) T(std::forward<Arguments>(arguments)...);
    if (slot == left_) {
      left_ = leftBehind;
    } else {
      --unused_;
    }
    return made;
  }

  void Destroy(T* object) noexcept {
    object->~T();
    Slot* const slot = ::new (static_cast<void*>(object)) Slot;
    slot->next = left_;
    left_ = slot;
  }

 private:
  union Slot {
    Slot* next = nullptr;
    alignas(T) std::byte memory[sizeof(T)];
  };

  /// A slot that was never used. The newest block's are used from its end.
  Slot* Unused() {
    constexpr std::size_t kFewest = 8;
    constexpr std::size_t kMost = 512;
    if (unused_ == 0) {
      const std::size_t count = block_ == nullptr ? kFewest : std::min(kMost, 2 * count_);
      auto* const made = new Slot[count + 1];
      made->next = std::exchange(block_, made);
      unused_ = count_ = count;
    }
    return block_ + unused_;
  }

  /// The newest block, of `count_` slots after the one at its start, which leads to the block
  /// before.
  Slot* block_ = nullptr;
  std::size_t count_ = 0;
  std::size_t unused_ = 0;
  Slot* left_ = nullptr;
};

}  // namespace brindlex
