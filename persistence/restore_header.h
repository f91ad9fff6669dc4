#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "automation/collection.h"
#include "automation/field_views.h"
#include "automation/text.h"
#include "persistence/delimited_text.h"

namespace brindlex {

/// The columns of a text under restore.
struct RestoreHeader {
  /// As the record class spells them; blank for a column that the class does not have.
  std::vector<Text> properties;
  /// Those that the header names exactly as the property that keys are taken from.
  std::vector<std::size_t> keyColumns;

  /// The last column of `property`: the one whose value the property has after a restore.
  std::optional<std::size_t> LastColumn(TextView property) const;
};

/// The header of a record class with the members `members`. Throws std::bad_alloc.
RestoreHeader ReadHeader(const FieldViews& names, const Collection& members, TextView keyProperty);

/// Whether there is a header, whose record is the current one then, and a record after it.
bool HasHeaderAndRecord(RecordParser& records);

/// Sends the procedure to its handler if a record has not as many values as the header has names.
void RequireAll(const FieldViews& values, std::size_t expected, std::size_t recordNumber);

/// The first value that is not empty in one of `columns`.
std::optional<TextView> KeyOf(const FieldViews& values, const std::vector<std::size_t>& columns);

}  // namespace brindlex
