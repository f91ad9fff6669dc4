#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// What the program asks of the operating system. Paths and texts are UTF-8 on every system. Two
/// sources implement it: system_posix.cpp and system_windows.cpp. A function that can fail returns
/// an error, which is zero after success.
namespace brindlex::cli::system {

inline constexpr int kStandardInput = 0;
inline constexpr int kStandardOutput = 1;
inline constexpr int kStandardError = 2;

// ---- Files -------------------------------------------------------------------------------------

/// An open file, not owned; negative for none. Bytes as they are: no line ends are translated.
using Descriptor = int;

/// A descriptor, or the reason why there is none.
struct Opened {
  Descriptor descriptor = -1;
  std::error_code error;
};

Opened OpenToRead(const std::string& path);

/// Opens a device or a pipe, to be written as it is. permission_denied if there is a regular file
/// by now.
Opened OpenToWrite(const std::string& path);

/// An empty file in the system's folder of temporary files, to write and to read; it is deleted
/// when it is closed.
Opened OpenTemporary();

/// Up to `size` bytes; 0 at the end of the file, nothing on a failure, whose reason is in `error`.
/// With an offset, which a regular file has, from there, whatever was read before.
std::optional<std::size_t> Read(Descriptor from, char* to, std::size_t size, std::error_code& error,
                                std::optional<std::uint64_t> offset = std::nullopt);

/// The offset that the next Read of a regular file starts at; 0 for anything else.
std::uint64_t Position(Descriptor descriptor);

/// All of `bytes`.
std::error_code Write(Descriptor to, std::string_view bytes);

/// Waits until what was written has reached the disk.
std::error_code Synchronize(Descriptor descriptor);

std::error_code Close(Descriptor descriptor);

/// How many bytes a regular file has; nothing for a pipe or a device.
std::optional<std::uint64_t> SizeOf(Descriptor descriptor);

enum class FileKind { kNone, kRegular, kFolder, kOther };
FileKind KindOf(const std::string& path);

/// The paths that a word of the command line means: on Windows, whose shells leave that to
/// programs, the files that its last part with * or ? matches, in the order of their names; the
/// word itself where none does, and on other systems.
std::vector<std::string> Expanded(const std::string& word);

/// Fills `size` bytes with what nobody can predict. Returns false if the system supplies none.
bool FillRandom(void* to, std::size_t size) noexcept;

// ---- Terminals ---------------------------------------------------------------------------------

bool IsTerminal(Descriptor descriptor);

/// What a terminal shows; 0 for what is not known, and when `descriptor` is none.
struct TerminalSize {
  int columns = 0;
  int lines = 0;
};
TerminalSize SizeOfTerminal(Descriptor descriptor);

/// The command of the system that shows text page by page; empty if there is none of use.
std::string DefaultPager();

/// A command of the system's shell that reads what is written to it. While it runs the process
/// ignores interruption from the keyboard, which is the command's, and broken pipes are errors of
/// Write alone.
class ShellPipe {
 public:
  /// Starts the command.
  explicit ShellPipe(const std::string& command);
  ShellPipe(const ShellPipe&) = delete;
  ShellPipe& operator=(const ShellPipe&) = delete;
  ~ShellPipe() { Close(); }

  /// Negative if it could not be started, and after Close.
  Descriptor File() const;

  /// Ends its input, and waits until it has ended.
  void Close();

 private:
  std::FILE* file_;
};

/// Whether escape sequences become colours there. Prepares the terminal for them where that is
/// needed.
bool TakesColours(Descriptor descriptor);

/// Writes UTF-8 to a terminal, whatever code page it has.
std::error_code WriteToTerminal(Descriptor to, std::string_view text);

}  // namespace brindlex::cli::system
