#include "cli/io/file_copy.h"

#include <algorithm>

#include "cli/text/diagnostics.h"
#include "cli/text/escape.h"

namespace brindlex::tool {

std::string_view FileCopy::From(std::uint64_t at, std::uint64_t most) {
  const std::uint64_t end = blockAt_ + block_.size();
  if (at < blockAt_ || at >= end) {
    if (at != end || input_.Given() != end) input_.GoTo(at);
    block_ = input_.Next();
    blockAt_ = at;
    if (block_.empty()) {
      throw Failure(ExitCode::kInputOutput,
                    ShownPath(input_.Name()) + " has become shorter meanwhile");
    }
  }
  const std::string_view rest = block_.substr(static_cast<std::size_t>(at - blockAt_));
  return rest.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(most, rest.size())));
}

void FileCopy::Copy(const Span& span, Output& to) {
  EachPiece(span, [&](std::string_view piece, std::uint64_t) { to.Write(piece); });
}

std::string FileCopy::Bytes(const Span& span, std::size_t most) {
  std::string bytes;
  EachPiece({span.at, std::min<std::uint64_t>(span.bytes, most)},
            [&](std::string_view piece, std::uint64_t) { bytes.append(piece); });
  return bytes;
}

}  // namespace brindlex::tool
