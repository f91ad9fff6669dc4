#pragma once

#include <cstddef>
#include <span>

#include "automation/field_views.h"

namespace brindlex {

/// Records that a parser has tokenized ahead of its caller, one after the other: for each record
/// the positions where its fields start, followed by the position after its last field end. The
/// memory and the text belong to the parser.
class TokenizedRecords {
 public:
  using Position = const char16_t*;

  /// `marker` is the number of units that end a field.
  explicit TokenizedRecords(std::size_t marker) noexcept : marker_(marker) {}

  /// Replaces the records. `first` is the first position of the first of them; each of `ends`
  /// follows the last position of one record, and is the first of the next.
  void Set(Position* first, std::span<Position* const> ends) noexcept {
    first_ = first;
    ends_ = ends;
  }

  /// Moves to the next record; false, and at no record, after the last.
  bool Next() noexcept {
    fields_ = {};
    if (ends_.empty()) return false;
    Position* const end = ends_.front();
    fields_ = {first_, static_cast<std::size_t>(end - first_) - 1, marker_};
    first_ = end;
    ends_ = ends_.subspan(1);
    return true;
  }

  bool IsAtEnd() const noexcept { return ends_.empty(); }

  /// The fields of the current record; none when it holds no field end.
  const FieldViews& Fields() const noexcept { return fields_; }

  /// The first position of the record after the last.
  Position* Rest() const noexcept { return first_; }

 private:
  FieldViews fields_;
  std::size_t marker_;
  Position* first_ = nullptr;
  std::span<Position* const> ends_;
};

}  // namespace brindlex
