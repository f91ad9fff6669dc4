#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/io/progress.h"
#include "cli/io/system.h"

namespace brindlex::cli {

/// Bytes that are read at a time, and as many as the format is detected from.
inline constexpr std::size_t kInputBlock = std::size_t{256} * 1024;

/// A range of bytes of a file.
struct Extent {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;

  std::uint64_t End() const { return offset + length; }
  bool operator==(const Extent&) const = default;
};

/// From `begin` to `end`.
inline Extent ExtentOf(std::uint64_t begin, std::uint64_t end) { return {begin, end - begin}; }

/// All of an input.
inline constexpr Extent kWholeInput{0, UINT64_MAX};

/// A file or standard input, whose bytes can be read at any offset, any number of times. What comes
/// through a pipe is kept in a temporary file of the system while it is read, so that memory does
/// not grow with it. A failure, of opening too, is a Failure kInputOutput with the path and the
/// system's reason. Owns the file, but never standard input.
class Input {
 public:
  /// `path` in UTF-8; "-" is standard input, from where it is read up to now.
  explicit Input(const std::string& path);

  /// For tests: `text` in place of a file, which windows read in blocks of `block` bytes.
  Input(std::string name, std::string text, std::size_t block);

  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input();

  /// Closes the file, after the last read, so that a file can replace it. Windows replaces no open
  /// file.
  void Close();

  /// How messages call it: the path as given, "standard input" for "-".
  const std::string& Name() const { return name_; }

  /// Its size in bytes; nothing if that is not known before its end.
  std::optional<std::uint64_t> Size() const;

  /// Its size in bytes. Reads a stream to its end.
  std::uint64_t WholeSize();

  /// The first kInputBlock bytes; all if it has fewer.
  std::string_view Head();

  /// Reads up to `size` bytes from `offset` on; fewer only at the end of the input.
  std::size_t Read(std::uint64_t offset, char* to, std::size_t size);

  /// From here on nothing more is kept: what has not been read yet can be read once.
  void ReadOnce() { keeps_ = false; }

  std::size_t BlockSize() const { return block_; }

 private:
  bool IsStream() const { return !size_ && !text_; }
  std::size_t ReadFully(system::Descriptor from, char* to, std::size_t size,
                        std::optional<std::uint64_t> offset) const;
  std::size_t ReadStream(char* to, std::size_t size);
  void Keep(std::string_view bytes);

  std::string name_;
  system::Descriptor descriptor_ = system::kStandardInput;
  bool isOwned_ = false;
  /// Of a regular file: its size, and where it starts (standard input may have been read before).
  std::optional<std::uint64_t> size_;
  std::uint64_t start_ = 0;
  std::optional<std::string> text_;
  std::size_t block_ = kInputBlock;
  std::string head_;
  bool hasHead_ = false;
  /// Of a stream: how much was read of it, and the temporary file with what follows the head.
  std::uint64_t streamed_ = 0;
  bool isAtEnd_ = false;
  bool keeps_ = true;
  system::Descriptor kept_ = -1;
  std::uint64_t keptBytes_ = 0;
};

/// A window that moves over a part of an input from front to end, block by block.
class InputWindow {
 public:
  /// `input`, and `progress` unless it is null, must outlive the window.
  InputWindow(Input& input, const Extent& extent, Progress* progress = nullptr);

  /// What is read and not consumed yet, valid until Fill; it starts at Offset().
  std::string_view Bytes() const { return bytes_; }
  std::uint64_t Offset() const { return end_ - bytes_.size(); }

  void Consume(std::size_t count) { bytes_.remove_prefix(count); }

  /// Adds the next block; what is not consumed, which must be less than kMostKept bytes, moves.
  /// False, and nothing happens, at the end.
  bool Fill();

  /// True if Fill has nothing to add.
  bool IsComplete() const { return isComplete_; }

  static constexpr std::size_t kMostKept = 4096;

 private:
  Input& input_;
  Progress* progress_;
  /// Of the bytes that are read, and of the part.
  std::uint64_t end_;
  std::uint64_t limit_;
  bool isComplete_ = false;
  std::unique_ptr<char[]> buffer_;
  std::string_view bytes_;
};

/// Reads parts of an input, quickly if they follow each other. Failure kInputOutput if the input
/// has become shorter meanwhile.
class ExtentReader {
 public:
  explicit ExtentReader(Input& input);

  /// Calls `each(bytes)` for the bytes of a part.
  template <class Each>
  void Read(const Extent& extent, Each&& each) {
    for (std::uint64_t offset = extent.offset; offset < extent.End();) {
      const std::string_view bytes = From(offset, extent.End() - offset);
      each(bytes);
      offset += bytes.size();
    }
  }

  /// The first bytes of a part, `most` of them at most.
  std::string Bytes(const Extent& extent, std::size_t most);

 private:
  std::string_view From(std::uint64_t offset, std::uint64_t most);

  Input& input_;
  std::unique_ptr<char[]> buffer_;
  std::string_view block_;
  std::uint64_t blockOffset_ = 0;
};

/// Calls `each(bytes)` for the bytes of a part of `input`, as far as there are any.
template <class Each>
void ReadExtent(Input& input, const Extent& extent, Each&& each) {
  InputWindow window(input, extent);
  while (window.Fill()) {
    each(window.Bytes());
    window.Consume(window.Bytes().size());
  }
}

}  // namespace brindlex::cli
