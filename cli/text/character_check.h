#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "cli/text/encoding.h"

namespace brindlex::tool {

/// Finds what is no character of an encoding, in a field that comes in pieces.
class CharacterCheck {
 public:
  explicit CharacterCheck(Encoding encoding)
      : encoding_(std::move(encoding)), isPage_(encoding_.GetForm() == Encoding::Form::kCodePage) {}

  /// Calls `bad(place, bytes)` for each place in `piece` where no character stands, with the bytes
  /// that are passed over for it: a byte of a code page, the longest part of a UTF-8 sequence, a
  /// unit of UTF-16. `at` is the place of the piece.
  template <class Bad>
  void Feed(std::string_view piece, std::uint64_t at, Bad&& bad) {
    if (!held_.empty()) {
      const std::string joined = held_.append(piece);
      held_.clear();
      return Look(joined, heldAt_, bad);
    }
    Look(piece, at, bad);
  }

  /// Ends the field: what is left of a character is none.
  template <class Bad>
  void Finish(Bad&& bad) {
    if (held_.empty()) return;
    const std::string held = std::exchange(held_, {});
    bad(heldAt_, std::string_view(held));
  }

 private:
  template <class Bad>
  void Look(std::string_view text, std::uint64_t at, Bad&& bad) {
    for (;;) {
      const std::size_t valid = encoding_.ValidLength(text);
      text.remove_prefix(valid);
      at += valid;
      if (text.empty()) return;
      if (!isPage_ && encoding_.UnfinishedLength(text) == text.size()) {
        held_ = text;
        heldAt_ = at;
        return;
      }
      const std::size_t passed = encoding_.BadLength(text);
      bad(at, text.substr(0, passed));
      text.remove_prefix(passed);
      at += passed;
    }
  }

  Encoding encoding_;
  bool isPage_;
  std::string held_;
  std::uint64_t heldAt_ = 0;
};

}  // namespace brindlex::tool
