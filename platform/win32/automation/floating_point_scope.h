#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace brindlex {

/// The state of SSE in which the component computes: all exceptions masked, rounding to nearest,
/// denormal numbers kept. The host's own, exception flags included, is restored at the end of the
/// scope.
class SseScope {
 public:
  SseScope() noexcept {
    asm volatile("stmxcsr %0" : "=m"(host_));
    if ((host_ & kControl) != kOwn) asm volatile("ldmxcsr %0" : : "m"(kOwn));
  }
  SseScope(const SseScope&) = delete;
  SseScope& operator=(const SseScope&) = delete;
  ~SseScope() { asm volatile("ldmxcsr %0" : : "m"(host_)); }

 private:
  /// The bits that control computation; the others are exception flags.
  static constexpr std::uint32_t kControl = 0xFFC0;
  static constexpr std::uint32_t kOwn = 0x1F80;

  std::uint32_t host_ = 0;
};

/// The state of the x87 in which the component computes: all exceptions masked, rounding to
/// nearest, 53 bits of precision. The host's own is restored at the end of the scope, exception
/// flags included where it unmasks any.
class X87Scope {
 public:
  X87Scope() noexcept {
    asm volatile("fnstcw %0" : "=m"(hostControl_));
    if (hostControl_ == kOwnControl) return;
    // What is computed here may leave the flag of an exception that the host unmasks, which would
    // be raised at the host's next instruction; so such a host gets its flags back too.
    if (Unmasks()) asm volatile("fnstenv %0" : "=m"(hostEnvironment_));
    asm volatile("fldcw %0" : : "m"(kOwnControl));
  }
  X87Scope(const X87Scope&) = delete;
  X87Scope& operator=(const X87Scope&) = delete;
  ~X87Scope() {
    if (hostControl_ == kOwnControl) return;
    if (Unmasks()) {
      asm volatile("fldenv %0" : : "m"(hostEnvironment_));
    } else {
      asm volatile("fldcw %0" : : "m"(hostControl_));
    }
  }

 private:
  static constexpr std::uint16_t kOwnControl = 0x027F;
  static constexpr unsigned kMasks = 0x003F;
  static constexpr std::size_t kEnvironmentSize = 28;

  bool Unmasks() const noexcept { return (hostControl_ & kMasks) != kMasks; }

  std::uint16_t hostControl_ = 0;
  std::array<std::uint8_t, kEnvironmentSize> hostEnvironment_;
};

/// The floating-point environment in which the component and the system compute for it. A host may
/// have set any other (Delphi and Free Pascal unmask exceptions, graphics libraries set 24 bits).
/// No code of the host may run within a scope.
///
/// The environment belongs to the thread. Entering and leaving cost some ten nanoseconds where the
/// host's differs and less where it does not.
class FloatingPointScope {
 public:
  FloatingPointScope() = default;
  FloatingPointScope(const FloatingPointScope&) = delete;
  FloatingPointScope& operator=(const FloatingPointScope&) = delete;
  ~FloatingPointScope() = default;

 private:
  SseScope sse_;
  X87Scope x87_;
};

/// The same for code of the component alone. In 64 bits that uses no x87, and setting its control
/// word can take tens of nanoseconds: on an AMD EPYC 1 to 70, by the address of the instruction.
using OwnFloatingPointScope = std::conditional_t<sizeof(void*) == 8, SseScope, FloatingPointScope>;

}  // namespace brindlex
