#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "cli/text/encoding.h"

namespace brindlex::cli {

/// The next bytes of an input, valid until the next call; empty at its end. May throw.
using BlockSource = std::function<std::string_view()>;

/// An input as UTF-8, in blocks that end between characters, without its byte order mark.
class TextSource {
 public:
  /// `source` is in `encoding`; without one, in that of its byte order mark, else UTF-8.
  explicit TextSource(BlockSource source, std::optional<Encoding> encoding = std::nullopt)
      : source_(std::move(source)), encoding_(std::move(encoding)) {}

  /// The next block, valid until the next call; empty at the end. UTF-8 is not looked into, and
  /// comes as it is. ConversionError, with the byte, for an ill-formed sequence of another
  /// encoding.
  std::string_view Next();

 private:
  void Begin();
  std::string_view Decode(bool isAtEnd);

  BlockSource source_;
  std::optional<Encoding> encoding_;
  bool isBegun_ = false;
  /// Bytes that are not decoded yet, and the offset of the first.
  std::string pending_;
  std::uint64_t offset_ = 0;
  std::string text_;
};

}  // namespace brindlex::cli
