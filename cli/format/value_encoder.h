#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/format/layout.h"
#include "cli/text/encoding.h"

namespace brindlex::tool {

/// Encodes texts of which none may hold certain markers.
class MarkerGuard {
 public:
  explicit MarkerGuard(Encoding encoding) : encoding_(std::move(encoding)) {}

  /// The markers of `pair` are forbidden from here on. Failure as CheckedMarkers.
  void Forbid(const MarkerPair& pair);

  /// Appends `text`, which is UTF-8. When it holds one of the first `layers` pairs, or a character
  /// that the encoding does not have, or is not UTF-8: what is wrong, to be said behind "it "; what
  /// was appended is then of no use. A piece of a text may be given where markers are single
  /// characters.
  std::optional<std::string> Append(std::string_view text, std::size_t layers,
                                    std::string& bytes) const;

 private:
  struct Forbidden {
    std::string bytes;
    std::string described;
  };

  bool Holds(std::string_view bytes, std::string_view marker) const;

  const Encoding encoding_;
  std::vector<Forbidden> forbidden_;
};

}  // namespace brindlex::tool
