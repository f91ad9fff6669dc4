#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "automation/sip_hash.h"
#include "cli/format/collection_reader.h"
#include "cli/format/file_format.h"

namespace brindlex::cli {

/// A hash of 128 bits with a secret key: what has the same one is taken for equal.
struct ContentHash {
  std::uint64_t low = 0;
  std::uint64_t high = 0;

  ContentHash() = default;
  explicit ContentHash(const SipHash128& hash) : low(hash.low), high(hash.high) {}
  // The check takes the 0 that the compiler compares with for a pointer.
  auto operator<=>(const ContentHash&) const = default;  // NOLINT(modernize-use-nullptr)
};

/// What is compared of a table.
struct ComparedColumns {
  /// For each column of its header the number that it has in both tables; nothing if it is not
  /// compared.
  std::vector<std::optional<std::size_t>> ids;
  /// The column of the key, if records are compared by it.
  std::optional<std::size_t> key;
};

/// A record, as far as it is compared.
struct RecordDigest {
  /// From 1.
  std::uint64_t number = 0;
  /// Its bytes without the record end.
  Extent extent;
  ContentHash content;
  ContentHash key;
};

/// Reads the records of a table as digests, front to end. Fails as CollectionReader does.
class RecordStream {
 public:
  /// Both must outlive it. Without `columns` only the header can be read.
  explicit RecordStream(const TableSource& source, const ComparedColumns* columns = nullptr,
                        Progress* progress = nullptr);

  /// Empty for an empty text, which has no header.
  const std::vector<std::string>& Names() const { return reader_.Names(); }

  /// False after the last record.
  bool Next(RecordDigest& record);

 private:
  void AddValue(std::size_t column, RecordDigest& record);

  const ComparedColumns* columns_;
  LossReport ignored_;
  CollectionReader reader_;
  bool hasHeader_;
  std::uint64_t number_ = 0;
};

/// A value of a record: its bytes, and a hash of its text.
struct RecordField {
  Extent extent;
  ContentHash content;
};

/// The values of a record of `source` that a RecordStream has read, `count` of them.
std::vector<RecordField> ReadFields(const TableSource& source, const RecordDigest& record,
                                    std::size_t count);

}  // namespace brindlex::cli
