#include "persistence/restore_header.h"

#include <algorithm>
#include <utility>

#include "environment/trap.h"
#include "persistence/restore_reports.h"

namespace brindlex {
namespace {

/// How the class spells the member that the header calls `name`; the header's spelling when the
/// list holds something else under that key.
Text OwnSpelling(const Collection& members, TextView name) {
  Text own = members.TextUnder(name);
  return EqualIgnoringCase(own, name) ? own : Text(name);
}

}  // namespace

std::optional<std::size_t> RestoreHeader::LastColumn(TextView property) const {
  const auto last = std::find(properties.rbegin(), properties.rend(), property);
  if (last == properties.rend()) return std::nullopt;
  return static_cast<std::size_t>(properties.rend() - last) - 1;
}

RestoreHeader ReadHeader(const FieldViews& names, const Collection& members, TextView keyProperty) {
  RestoreHeader header;
  header.properties.reserve(names.size());
  for (const TextView name : names) {
    Text property;
    IgnoreErrors([&] { property = OwnSpelling(members, name); });
    if (!property.empty() && !keyProperty.empty() && name == keyProperty) {
      header.keyColumns.push_back(header.properties.size());
    }
    header.properties.push_back(std::move(property));
  }
  return header;
}

bool HasHeaderAndRecord(RecordParser& records) {
  records.Next();
  return records.More() && records.HasFields();
}

void RequireAll(const FieldViews& values, std::size_t expected, std::size_t recordNumber) {
  if (values.size() == expected) return;
  GoToHandler(
      Text(kFieldCountDescription).append(DecimalText(static_cast<std::int32_t>(recordNumber))));
}

std::optional<TextView> KeyOf(const FieldViews& values, const std::vector<std::size_t>& columns) {
  for (const std::size_t column : columns) {
    if (!values[column].empty()) return values[column];
  }
  return std::nullopt;
}

}  // namespace brindlex
