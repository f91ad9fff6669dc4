#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cli/io/replacement.h"
#include "cli/io/system.h"

namespace brindlex::cli {

/// Where a command's data goes.
struct OutputOptions {
  /// UTF-8; "-" is standard output.
  std::string path = "-";
  /// Replace a file that exists.
  bool force = false;
};

/// Standard output, or a file that appears whole or not at all: the data goes to a temporary file
/// in its folder, which takes its name in Commit, as system::Replacement has it. Devices and pipes
/// are written as they are. Without a Commit the temporary file is deleted, also when the process
/// is ended from the keyboard, and a file that was there is as it was.
///
/// A failure is a Failure: kUsage if the file exists and is not to be replaced (checked at once and
/// once more in Commit), otherwise kInputOutput with the path and the system's reason, a full disk
/// included.
class Output {
 public:
  explicit Output(const OutputOptions& options);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output();

  /// Adds bytes, in blocks of its own size. On a Windows console they are shown as UTF-8.
  void Write(std::string_view bytes) {
    if (buffer_.size() + bytes.size() > kBlock) return WriteThrough(bytes);
    buffer_.append(bytes);
  }

  /// Whether it is standard output, and that is a terminal.
  bool IsTerminal() const { return isTerminal_; }

  /// What is more than `lines` lines goes through the command `pager`, if it is standard output and
  /// that is a terminal. To be called before the first Write.
  void PageThrough(const std::string& pager, int lines);

  /// Whether nobody reads any more: the pager has been ended. What is written then is dropped.
  bool IsEnded() const { return isEnded_; }

  /// Hands over what Write has kept back.
  void Flush();

  /// Ends the data: everything is handed over, and the file has its name. At most once, and the
  /// last call.
  void Commit();

 private:
  static constexpr std::size_t kBlock = std::size_t{256} * 1024;

  void WriteThrough(std::string_view bytes);
  void HandOver(std::string_view bytes);
  void StartPager(std::string_view bytes);
  void Check(const std::error_code& error) const;
  [[noreturn]] void Fail(const std::error_code& error) const;
  [[noreturn]] void RefuseToReplace() const;

  OutputOptions options_;
  /// How messages call it.
  std::string name_;
  /// None for standard output, devices and pipes; it owns the descriptor then.
  std::optional<system::Replacement> replacement_;
  system::Descriptor descriptor_ = system::kStandardOutput;
  bool isTerminal_ = false;
  /// Not started yet while it has a command.
  std::string pagerCommand_;
  int pagerLines_ = 0;
  std::optional<system::ShellPipe> pager_;
  bool isEnded_ = false;
  std::string buffer_;
};

}  // namespace brindlex::cli
