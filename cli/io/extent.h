#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cli/io/input.h"
#include "cli/io/output.h"
#include "cli/io/span_gather.h"

namespace brindlex::tool {

/// Takes parts of a file to an output; quick when they follow each other. Failures are those of
/// Input and Output.
class FileCopy {
 public:
  explicit FileCopy(const std::string& path) : input_(path) {}

  void Copy(const Span& span, Output& to);

  /// The first bytes of a part, `most` of them at most.
  std::string Bytes(const Span& span, std::size_t most);

  /// Calls `each(piece, place)` for the bytes of a part.
  template <class Each>
  void EachPiece(const Span& span, Each&& each) {
    std::uint64_t at = span.at;
    while (at < span.End()) {
      const std::string_view piece = From(at, span.End() - at);
      each(piece, at);
      at += piece.size();
    }
  }

 private:
  /// Bytes at `at`, at least one and at most `most`.
  std::string_view From(std::uint64_t at, std::uint64_t most);

  Input input_;
  std::string_view block_;
  std::uint64_t blockAt_ = 0;
};

}  // namespace brindlex::tool
