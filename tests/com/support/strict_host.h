#pragma once

#include <cstdint>

namespace brindlex::testing {

/// The floating-point environment of a thread: the control words of the x87 and of SSE.
struct FloatingPointEnvironment {
  std::uint16_t x87 = 0x027F;
  std::uint32_t sse = 0x1F80;

  bool operator==(const FloatingPointEnvironment&) const = default;

  /// That of the calling thread, without the flags of exceptions that have occurred.
  static FloatingPointEnvironment Current();

  /// Makes it that of the calling thread.
  void Set() const;
};

/// The environment of a strict host: exceptions unmasked, rounding upwards, the x87 at 24 bits,
/// denormal numbers treated as zero. Two exceptions stay masked, inexact results and denormal
/// operands, because Wine's own code computes in the environment of its caller; FloatingPointTest
/// unmasks them too, around the calls of the component alone.
///
/// On an emulated processor (IsProcessorEmulated) the x87 is at 53 bits, as a test could not read
/// the result of a call there otherwise.
FloatingPointEnvironment StrictestEnvironment();

/// Whether the x87 rounds what it only loads, as no real processor does but qemu's. That one raises
/// no floating-point exceptions either.
bool IsProcessorEmulated();

/// Sets an environment for the calling thread while it lives, and then the one from before.
class EnvironmentScope {
 public:
  explicit EnvironmentScope(const FloatingPointEnvironment& environment)
      : before_(FloatingPointEnvironment::Current()) {
    environment.Set();
  }
  EnvironmentScope(const EnvironmentScope&) = delete;
  EnvironmentScope& operator=(const EnvironmentScope&) = delete;
  ~EnvironmentScope() { before_.Set(); }

 private:
  FloatingPointEnvironment before_;
};

/// For a test's own arithmetic in a strict host: the usual environment while it lives.
class KindScope : public EnvironmentScope {
 public:
  KindScope() : EnvironmentScope(FloatingPointEnvironment{}) {}
};

/// Makes this process a host in which a component that takes anything for granted fails:
///
/// - the shared run time of the compiler (libgcc, libstdc++, winpthreads) is loaded before the
///   component;
/// - the calling thread has the environment StrictestEnvironment();
/// - every exception of the system that is raised in the process is counted, whether somebody
///   handles it or not, except those that are no failure: C++ exceptions, debugging texts, names of
///   threads, and what the system's remote procedure calls raise for themselves.
///
/// To be called once, before the component is loaded. False, with a line on standard error, when
/// the shared run time cannot be loaded. Prints a line if the processor is emulated: what depends
/// on exceptions is proven by a run on a real one alone.
bool MakeHostStrict();

/// How many exceptions were counted; each was printed on standard error with its code and address.
long FirstChanceExceptions();

}  // namespace brindlex::testing
