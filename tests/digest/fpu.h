#pragma once

#include <cstdint>

namespace brindlex {

/// The control words of the x86 floating-point units. A host may have set the older unit to any
/// precision; a call must neither depend on it nor change it.
struct FpuMode {
  std::uint16_t x87 = 0;
  std::uint32_t sse = 0;

  bool operator==(const FpuMode&) const = default;
};

inline FpuMode CurrentFpuMode() {
  // The low bits of the SSE word say which exceptions have occurred.
  constexpr std::uint32_t kSseControl = 0xFFC0;
  FpuMode mode;
  std::uint32_t sse = 0;
  asm volatile("fnstcw %0" : "=m"(mode.x87));
  asm volatile("stmxcsr %0" : "=m"(sse));
  mode.sse = sse & kSseControl;
  return mode;
}

/// The precisions that the older unit can be set to, in bits.
inline constexpr int kX87Precisions[] = {24, 53, 64};

/// Sets the older unit to one of them.
inline void SetX87Precision(int bits) {
  constexpr unsigned kField = 0x0300;
  const unsigned precision = bits == 24 ? 0x0000 : bits == 53 ? 0x0200 : 0x0300;
  const auto word = static_cast<std::uint16_t>((CurrentFpuMode().x87 & ~kField) | precision);
  asm volatile("fldcw %0" : : "m"(word));
}

}  // namespace brindlex
