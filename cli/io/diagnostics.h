#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace brindlex::tool {

/// What the program leaves with.
enum class ExitCode {
  kFine = 0,
  /// The input was read and has defects.
  kDefects = 1,
  /// The command line is wrong, or asks for what cannot be done.
  kUsage = 2,
  /// A file could not be read or written.
  kInputOutput = 3,
};

/// What ends a command; caught in one place, which shows the message and leaves with the code.
class Failure : public std::runtime_error {
 public:
  /// `message` is one sentence in UTF-8, without a full stop.
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

  ExitCode Code() const { return code_; }

 private:
  ExitCode code_;
};

/// What a piece of output is, which decides its colour.
enum class Style { kPlain, kHeading, kMark, kGood, kBad, kFaint };

/// Writes "brindlex: MESSAGE" and a line end on standard error. The message is UTF-8 and goes
/// through Escaped, so that it is one line and cannot drive a terminal; one of more than 10,000
/// characters is truncated. Never fails: what cannot be written there has nowhere else to go. From
/// any thread.
void Say(std::string_view message);

/// The same with `painted` in the colour of `style` between `before` and `after`.
void SayPainted(std::string_view before, Style style, std::string_view painted,
                std::string_view after);

/// Colours for one stream: the escape sequences when it is a terminal and NO_COLOR is unset or
/// empty, nothing otherwise. TERM=dumb counts as no terminal.
class Palette {
 public:
  explicit Palette(bool coloured) : coloured_(coloured) {}

  /// For the stream `descriptor`: 1 for standard output, 2 for standard error.
  static Palette Of(int descriptor);

  bool IsColoured() const { return coloured_; }

  /// `text`, in the colour of `style`.
  std::string Paint(Style style, std::string_view text) const;

 private:
  bool coloured_;
};

}  // namespace brindlex::tool
