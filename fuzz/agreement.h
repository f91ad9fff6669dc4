#pragma once

#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "platform/memory/memory_collection.h"
#include "platform/memory/memory_platform.h"
#include "tests/core/persistence/naive_format.h"

namespace brindlex {

/// Ends the process, which is how a fuzz target says that the component and its model differ:
/// `what` says in which respect.
inline void Require(bool agree, const char* what) {
  if (agree) return;
  std::cerr << "the component and its model differ: " << what << '\n';
  std::abort();
}

/// The reports that `platform` has shown are `expected`; forgets them.
inline void RequireReports(const std::vector<naive::Report>& expected, MemoryPlatform& platform) {
  Require(expected.size() == platform.reports.size(), "the number of reports");
  for (std::size_t i = 0; i < expected.size(); ++i) {
    Require(expected[i].caption == platform.reports[i].caption, "a report's caption");
    Require(expected[i].text == platform.reports[i].text, "a report's text");
  }
  platform.reports.clear();
}

/// `restored`, a collection of records or none, holds what `expected` says, keys included.
inline void RequireRecords(const std::optional<std::vector<naive::Record>>& expected,
                           const CollectionRef& restored, const MemoryAdapter& adapter) {
  Require(expected.has_value() == (restored != nullptr), "whether there is a collection");
  if (restored == nullptr) return;
  const auto& entries = CollectionIn(adapter, restored).entries;
  Require(entries.size() == expected->size(), "the number of records");
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const naive::Record& record = (*expected)[i];
    const auto& values = adapter.In<MemoryRecord>(std::get<Object>(entries[i].value)).values;
    Require(values == record.values, "the values of a record");
    Require(entries[i].key.has_value() != record.key.empty(), "whether a record has a key");
    Require(entries[i].key.value_or(Text()) == record.key, "the key of a record");
  }
}

/// Records of texts, whose members are `members`.
inline std::shared_ptr<RecordClass> ClassOf(const MemoryAdapter& adapter,
                                            const naive::Texts& members) {
  std::vector<Member> own;
  own.reserve(members.size());
  for (const Text& name : members) own.push_back({name});
  return ListingClass(adapter, std::move(own));
}

}  // namespace brindlex
