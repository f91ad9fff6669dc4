#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "cli/io/input.h"
#include "cli/text/encoding.h"

namespace brindlex::cli {

/// Reads up to `size` bytes of an input from `offset` on and returns how many; 0 at its end alone.
/// May throw.
using ReadAt = std::function<std::size_t(std::uint64_t offset, char* to, std::size_t size)>;

/// An input as UTF-8, in blocks that end between characters, without its byte order mark.
class TextSource {
 public:
  /// `source`, which must outlive it, is in `encoding`; without one, in that of its byte order
  /// mark, else UTF-8.
  explicit TextSource(const ReadAt& source, std::optional<Encoding> encoding = std::nullopt)
      : source_(source),
        buffer_(std::make_unique_for_overwrite<char[]>(kInputBlock)),
        encoding_(std::move(encoding)) {}

  /// The next block, valid until the next call; empty at the end. UTF-8 is not looked into, and
  /// comes as it is. ConversionError, with the byte, for an ill-formed sequence of another
  /// encoding.
  std::string_view Next();

 private:
  std::string_view Read();
  void Begin();
  std::string_view Decode(bool isAtEnd);

  const ReadAt& source_;
  std::unique_ptr<char[]> buffer_;
  std::optional<Encoding> encoding_;
  bool isBegun_ = false;
  /// Bytes that were read.
  std::uint64_t read_ = 0;
  /// The last ones, which are not decoded yet.
  std::string pending_;
  std::string text_;
};

}  // namespace brindlex::cli
