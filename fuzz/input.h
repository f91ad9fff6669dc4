#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "automation/text.h"

namespace brindlex {

/// The bytes that a fuzzer made up, taken from the front as values and texts; zeros and empty texts
/// once they are used up. The bytes must outlive it.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool IsUsedUp() const { return size_ == 0; }

  template <class T>
  T Take() {
    T value{};
    const std::size_t length = std::min(size_, sizeof(T));
    if (length != 0) std::memcpy(&value, data_, length);
    Skip(length);
    return value;
  }

  /// 0 to `limit` - 1.
  std::size_t TakeBelow(std::size_t limit) { return Take<std::uint8_t>() % limit; }

  /// A text of up to `most` units, of which the next byte says how many; one unit per byte, as
  /// UnitOf has it.
  Text TakeText(std::size_t most) {
    const std::size_t length = std::min(TakeBelow(most + 1), size_);
    Text text;
    for (std::size_t i = 0; i < length; ++i) text += UnitOf(data_[i]);
    Skip(length);
    return text;
  }

  /// The rest as UnitOf has it, so that a text in a corpus can be read as Windows-1252.
  Text Rest() const {
    Text text;
    for (std::size_t i = 0; i < size_; ++i) text += UnitOf(data_[i]);
    return text;
  }

  /// The rest, one character per byte.
  Text PlainRest() const { return {data_, data_ + size_}; }

  /// The rest, two bytes per unit, the lower first; an odd last byte is dropped.
  Text RestOfUnits() const {
    Text text;
    for (std::size_t i = 0; i + 1 < size_; i += 2) {
      text += static_cast<char16_t>(data_[i] | data_[i + 1] << 8U);
    }
    return text;
  }

  /// ASCII and the four markers under their codes in Windows-1252; every other unit, lone
  /// surrogates and U+FFFF among them, has no other letter case, since the models know the letters
  /// A to Z only.
  static char16_t UnitOf(std::uint8_t byte) {
    switch (byte) {
      case 0x8A:
        return u'\u0160';
      case 0x8C:
        return u'\u0152';
      default:
        if (byte < 0xC0) return byte;
        return static_cast<char16_t>(byte < 0xE0 ? 0xD800 + 0x40 * (byte - 0xC0) : 0xFF00 + byte);
    }
  }

 private:
  void Skip(std::size_t length) {
    data_ += length;
    size_ -= length;
  }

  const std::uint8_t* data_;
  std::size_t size_;
};

}  // namespace brindlex
