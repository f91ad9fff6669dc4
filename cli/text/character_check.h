#pragma once

#include <cstdint>
#include <string_view>

#include "cli/text/encoding.h"

namespace brindlex::cli {

/// Calls `report(offset, bytes)` for each ill-formed sequence in `text`, which starts at `offset`
/// of its file and does not end within a character that goes on after it.
template <class Report>
void CheckCharacters(const Encoding& encoding, std::string_view text, std::uint64_t offset,
                     Report&& report) {
  for (;;) {
    const std::size_t valid = encoding.ValidLength(text);
    text.remove_prefix(valid);
    offset += valid;
    if (text.empty()) return;
    const std::size_t unfinished = encoding.UnfinishedLength(text);
    const std::size_t length = unfinished == text.size() ? unfinished : encoding.BadLength(text);
    report(offset, text.substr(0, length));
    text.remove_prefix(length);
    offset += length;
  }
}

}  // namespace brindlex::cli
