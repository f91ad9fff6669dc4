#pragma once

#include <bit>
#include <cstdint>
#include <span>

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

/// Sets the older unit to one of them.
inline void SetX87Precision(int bits) {
  constexpr unsigned kField = 0x0300;
  const unsigned precision = bits == 24 ? 0x0000 : bits == 53 ? 0x0200 : 0x0300;
  const auto word = static_cast<std::uint16_t>((CurrentFpuMode().x87 & ~kField) | precision);
  asm volatile("fldcw %0" : : "m"(word));
}

/// Whether the older unit keeps a double that it only loads while it computes with 24 bits. Every
/// real processor does; qemu rounds it, so that a function cannot even return a double.
inline bool LoadsKeepPrecision() {
  const double given = 0.1;
  double loaded = 0;
  std::uint16_t before = 0;
  const std::uint16_t single = 0x007F;
  asm volatile("fnstcw %1\n\tfldcw %3\n\tfldl %2\n\tfstpl %0\n\tfldcw %1"
               : "=m"(loaded), "=m"(before)
               : "m"(given), "m"(single));
  return std::bit_cast<std::uint64_t>(loaded) == std::bit_cast<std::uint64_t>(given);
}

/// The precisions in bits that a host can have set the older unit to and a function can return a
/// double in.
inline std::span<const int> X87Precisions() {
  static constexpr int kAll[] = {24, 53, 64};
  return std::span(kAll).subspan(LoadsKeepPrecision() ? 0 : 1);
}

}  // namespace brindlex
