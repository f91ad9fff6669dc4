#pragma once

#include <cstddef>

#include "automation/text.h"

namespace brindlex {

/// Text that is put together from its beginning to its end. As long as it is short, as numbers
/// mostly are, nothing is allocated.
class DigitBuffer {
 public:
  DigitBuffer() = default;
  DigitBuffer(const DigitBuffer&) = delete;
  DigitBuffer& operator=(const DigitBuffer&) = delete;
  ~DigitBuffer() = default;

  /// The most units that Room gives at once.
  static constexpr std::size_t kRoom = 256;

  void Put(char16_t unit) { *Room(1) = unit; }

  /// The next `count` units, kRoom at most, which the caller fills before anything else is put.
  char16_t* Room(std::size_t count) {
    if (kRoom - used_ < count) Flush();
    used_ += count;
    return room_ + (used_ - count);
  }

  /// All of it; valid until more is put.
  TextView View() {
    if (long_.empty()) return {room_, used_};
    Flush();
    return long_;
  }

 private:
  void Flush();

  std::size_t used_ = 0;
  Text long_;
  // Not filled beforehand, which would take longer than the digits.
  char16_t room_[kRoom];
};

}  // namespace brindlex
