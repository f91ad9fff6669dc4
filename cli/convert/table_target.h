#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/text/diagnostics.h"

namespace brindlex::tool {

/// Why something cannot be converted as it is. The message says where and what, for the user.
class ConversionError : public Failure {
 public:
  explicit ConversionError(const std::string& message) : Failure(ExitCode::kDefects, message) {}
};

/// The next bytes of an input, valid until the next call; empty at its end. May throw.
using BlockSource = std::function<std::string_view()>;

/// Takes tables as they are read, row by row. Texts are UTF-8 and valid during the call only. Any
/// function may throw a ConversionError, which ends the reading.
class TableTarget {
 public:
  TableTarget() = default;
  TableTarget(const TableTarget&) = delete;
  TableTarget& operator=(const TableTarget&) = delete;
  virtual ~TableTarget() = default;

  /// The input holds several named collections, or none by name; called once before all others.
  virtual void BeginNamed() = 0;

  /// A collection begins, of that name when the input holds named ones.
  virtual void BeginCollection(std::string_view name) = 0;

  /// The names of its fields, before its first row; not called for a collection of which nothing is
  /// known.
  virtual void Header(const std::vector<std::string>& names) = 0;

  /// One row: `values` has as many values as the header. `where` names it in a message.
  virtual void Row(const std::vector<std::string>& values, const std::string& where) = 0;

  virtual void EndCollection() = 0;
};

}  // namespace brindlex::tool
