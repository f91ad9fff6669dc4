#pragma once

#include <cstddef>
#include <optional>
#include <utility>

#include "automation/text.h"
#include "persistence/collection_save_restore.h"
#include "persistence/named_collections.h"

namespace brindlex {

/// A multi-collection text: as it was assigned, and once it is parsed, as the collections in it.
struct clsCollectionSaveRestore::MultiData {
  MultiData() = default;
  MultiData(SharedUnits text, std::size_t textSize) : units(std::move(text)), size(textSize) {}

  TextView View() const { return {units.get(), size}; }

  /// Null before any text, and after a change of the collections, which are the text then.
  SharedUnits units;
  std::size_t size = 0;
  std::optional<NamedCollections> collections;
};

}  // namespace brindlex
