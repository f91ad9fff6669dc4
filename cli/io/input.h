#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/io/system.h"

namespace brindlex::tool {

/// Bytes that are read at a time, and as many as a file's form is found out from.
inline constexpr std::size_t kInputBlock = std::size_t{256} * 1024;

/// A file or standard input, read once from front to end in blocks, whatever its size. A failure,
/// of opening too, is a Failure kInputOutput with the path and the system's reason. Owns the file,
/// but never standard input.
class Input {
 public:
  /// `path` in UTF-8; "-" is standard input.
  explicit Input(const std::string& path);
  /// A file that is open, read from its first byte, with a name for messages; stays the caller's.
  Input(system::Descriptor descriptor, std::string name);
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input();

  /// What stands in messages for it: the path as given, "standard input" for "-".
  const std::string& Name() const { return name_; }

  /// Its size in bytes; nothing when that is not known before its end.
  std::optional<std::uint64_t> Size() const { return system::SizeOf(descriptor_); }

  /// Goes to the byte `at` of a file, counted from its start; Head and Next go on from there. A
  /// Failure when it cannot be gone back and forth in, as standard input and pipes.
  void GoTo(std::uint64_t at);

  /// The first kInputBlock bytes, or all when it has fewer, without taking them: Next gives them
  /// again. To be called before Next.
  std::string_view Head();

  /// The next block, valid until the next call; empty at the end.
  std::string_view Next();

  /// How many bytes Next has given.
  std::uint64_t Given() const { return given_; }

 private:
  void Fill();

  std::string name_;
  system::Descriptor descriptor_ = system::kStandardInput;
  bool isOwned_ = false;
  bool isFilled_ = false;
  bool isAtEnd_ = false;
  std::size_t filled_ = 0;
  std::uint64_t given_ = 0;
  std::unique_ptr<char[]> block_;
};

}  // namespace brindlex::tool
