#pragma once

#include <cstdint>
#include <exception>
#include <utility>

#include "automation/text.h"

namespace brindlex {

/// Numbers of the run-time errors that the component itself raises. Errors of the host and of the
/// system keep whatever number they come with, so a number is not limited to these.
namespace error_number {
inline constexpr std::int32_t kNone = 0;
inline constexpr std::int32_t kInvalidCall = 5;
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kOutOfMemory = 7;
inline constexpr std::int32_t kSubscriptOutOfRange = 9;
inline constexpr std::int32_t kTypeMismatch = 13;
inline constexpr std::int32_t kInternal = 51;
inline constexpr std::int32_t kBadFileName = 52;
inline constexpr std::int32_t kFileNotFound = 53;
inline constexpr std::int32_t kFileExists = 58;
inline constexpr std::int32_t kDiskFull = 61;
inline constexpr std::int32_t kEndOfFile = 62;
inline constexpr std::int32_t kPermissionDenied = 70;
inline constexpr std::int32_t kPathNotFound = 76;
inline constexpr std::int32_t kObjectNotSet = 91;
inline constexpr std::int32_t kInvalidUseOfNull = 94;
inline constexpr std::int32_t kObjectRequired = 424;
inline constexpr std::int32_t kNoAutomation = 430;
inline constexpr std::int32_t kNoSuchMember = 438;
inline constexpr std::int32_t kKeyInUse = 457;
}  // namespace error_number

/// The wording that every host knows for `number`, or the general one for a number without any.
TextView StandardDescription(std::int32_t number);

/// A run-time error on its way to the nearest trap.
class RuntimeError : public std::exception {
 public:
  /// An error with its standard description, raised by the component itself.
  explicit RuntimeError(std::int32_t number);

  RuntimeError(std::int32_t number, Text description, Text source);

  const char* what() const noexcept override { return "run-time error"; }

  std::int32_t number;
  Text description;
  /// Who raised it, as a host shows it in its error object.
  Text source;
};

/// The exception being handled, as a run-time error: a RuntimeError as it is (its text is moved
/// out), a failed allocation as number 7, any other exception as number 51. To be called inside a
/// catch clause only. Throws std::bad_alloc when not even the description can be allocated.
RuntimeError CaughtError();

/// Runs `body()`; returns false if it throws, whatever it throws.
template <class Body>
bool TrapSilently(Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace brindlex
