#pragma once

#include <stdexcept>
#include <string>

namespace brindlex::cli {

/// The program's exit status.
enum class ExitStatus {
  kSuccess = 0,
  /// The input was read and has defects.
  kDefects = 1,
  /// The command line is wrong, or asks for what cannot be done.
  kUsage = 2,
  /// A file could not be read or written.
  kInputOutput = 3,
};

/// What ends a command; caught in one place, which shows the message and exits with the status.
class Failure : public std::runtime_error {
 public:
  /// `message` is one sentence in UTF-8, without a full stop.
  Failure(ExitStatus status, const std::string& message)
      : std::runtime_error(message), status_(status) {}

  ExitStatus Status() const { return status_; }

 private:
  ExitStatus status_;
};

/// The same for a wrong command line.
class UsageError : public Failure {
 public:
  explicit UsageError(const std::string& message) : Failure(ExitStatus::kUsage, message) {}
};

/// The same for data that cannot be converted as it is. The message names the place and the reason.
class ConversionError : public Failure {
 public:
  explicit ConversionError(const std::string& message) : Failure(ExitStatus::kDefects, message) {}
};

}  // namespace brindlex::cli
