#pragma once

#include "tests/core/persistence/naive_format.h"

namespace naive {

/// Several named collections in one text, by the naive reading and writing of one collection.
class Collections {
 public:
  /// The text as it was set, or as Store made it.
  Text text;

  /// The records under `name`, of a class whose members are `members`, with the reports on the way.
  Restored Working(const Text& name, const Texts& members, const Text& keyProperty) const;

  /// Makes `text` hold `records` under `name`; returns the reports on the way.
  std::vector<Report> Store(const Text& name, const Texts& members,
                            const std::vector<Texts>& records);
};

}  // namespace naive
