#pragma once

#include <cstdint>

namespace brindlex {

/// Sets the x87 unit of the thread to double precision while it lives, and then back to what it
/// was. The system computes with that unit when it reads and writes numbers, so that what a host
/// has set would decide about the last digits.
class DoublePrecision {
 public:
  DoublePrecision() {
    asm volatile("fnstcw %0" : "=m"(before_));
    const auto word = static_cast<std::uint16_t>((before_ & ~kField) | kDouble);
    if (word != before_) asm volatile("fldcw %0" : : "m"(word));
  }
  DoublePrecision(const DoublePrecision&) = delete;
  DoublePrecision& operator=(const DoublePrecision&) = delete;
  ~DoublePrecision() { asm volatile("fldcw %0" : : "m"(before_)); }

 private:
  static constexpr unsigned kField = 0x0300;
  static constexpr unsigned kDouble = 0x0200;

  std::uint16_t before_ = 0;
};

}  // namespace brindlex
