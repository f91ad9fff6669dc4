#pragma once

#include <array>
#include <cstdint>

namespace brindlex {

/// The floating-point environment in which the component and the system compute for it: all
/// exceptions masked, rounding to nearest, 53 bits of precision on the x87, denormal numbers kept.
/// A host may have set any other (Delphi and Free Pascal unmask exceptions, graphics libraries set
/// 24 bits); its environment is restored at the end of the scope, exception flags included where
/// it unmasks any. No code of the host may run within a scope.
///
/// The environment belongs to the thread. Entering and leaving cost some ten nanoseconds where the
/// host's differs and less where it does not.
class FloatingPointScope {
 public:
  FloatingPointScope() noexcept {
    asm volatile("stmxcsr %0" : "=m"(hostSse_));
    asm volatile("fnstcw %0" : "=m"(hostControl_));
    if ((hostSse_ & kSseControl) != kOwnSse) asm volatile("ldmxcsr %0" : : "m"(kOwnSse));
    if (hostControl_ == kOwnControl) return;
    // What is computed here may leave the flag of an exception that the host unmasks, which would
    // be raised at the host's next instruction; so such a host gets its flags back too.
    if (UnmasksX87()) asm volatile("fnstenv %0" : "=m"(hostEnvironment_));
    asm volatile("fldcw %0" : : "m"(kOwnControl));
  }
  FloatingPointScope(const FloatingPointScope&) = delete;
  FloatingPointScope& operator=(const FloatingPointScope&) = delete;
  ~FloatingPointScope() {
    asm volatile("ldmxcsr %0" : : "m"(hostSse_));
    if (hostControl_ == kOwnControl) return;
    if (UnmasksX87()) {
      asm volatile("fldenv %0" : : "m"(hostEnvironment_));
    } else {
      asm volatile("fldcw %0" : : "m"(hostControl_));
    }
  }

 private:
  /// The bits of the SSE control word that control computation; the others are exception flags.
  static constexpr std::uint32_t kSseControl = 0xFFC0;
  static constexpr std::uint32_t kOwnSse = 0x1F80;
  static constexpr std::uint16_t kOwnControl = 0x027F;
  static constexpr unsigned kX87Masks = 0x003F;
  static constexpr std::size_t kEnvironmentSize = 28;

  bool UnmasksX87() const noexcept { return (hostControl_ & kX87Masks) != kX87Masks; }

  std::uint32_t hostSse_ = 0;
  std::uint16_t hostControl_ = 0;
  std::array<std::uint8_t, kEnvironmentSize> hostEnvironment_;
};

}  // namespace brindlex
