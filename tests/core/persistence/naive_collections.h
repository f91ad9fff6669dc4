#pragma once

#include <optional>
#include <vector>

#include "tests/core/persistence/naive_format.h"

namespace naive {

/// Several named collections in one text, by the naive reading and writing of one collection: every
/// operation reads the text and writes it anew.
class Collections {
 public:
  /// The text as it was set, or as Store, StoreHere or Remove made it.
  Text text;

  /// The records under `name`, of a class whose members are `members`, with the reports on the way.
  Restored Working(const Text& name, const Texts& members, const Text& keyProperty) const;

  /// Makes `text` hold `records` under `name`; returns the reports on the way.
  std::vector<Report> Store(const Text& name, const Texts& members,
                            const std::vector<Texts>& records);

  /// As Store, but leaves `text` as it is when there was a report.
  std::vector<Report> StoreHere(const Text& name, const Texts& members,
                                const std::vector<Texts>& records);

  struct Removed {
    bool wasThere = false;
    std::vector<Report> reports;
  };
  /// Makes `text` hold all but the collection `name`.
  Removed Remove(const Text& name);

  struct Names {
    /// Nothing when the text cannot be restored.
    std::optional<Texts> names;
    std::vector<Report> reports;
  };
  Names AllNames() const;
};

}  // namespace naive
