#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/text/byte_buffer.h"

namespace brindlex::cli {

/// Takes finished bytes. May throw.
using ByteHandler = std::function<void(std::string_view)>;

/// What of a file is lost in a conversion, so that converting back gives another file. Nothing in
/// it is a defect of the file.
class LossReport {
 public:
  /// `what` is at `offset` of the file, and is lost.
  void Add(const std::string& what, std::uint64_t offset);

  bool IsEmpty() const { return found_.empty(); }

  /// Whether `what` is lost, and nothing else.
  bool IsOnly(const std::string& what) const {
    return found_.size() == 1 && found_.begin()->first == what;
  }

  /// One sentence for each kind, with its number and its first offset.
  std::vector<std::string> Sentences() const;

 private:
  struct Found {
    std::uint64_t count = 0;
    std::uint64_t first = 0;
  };
  std::map<std::string, Found> found_;
};

/// Thrown by a writer for a value or row that its format cannot hold; who calls the writer adds the
/// place.
struct RefusedValue {
  /// The name of its field; empty for a whole row.
  std::string name;
  /// What is wrong, to follow "it ", or to follow the row.
  std::string problem;

  /// The message, with the place of the row.
  std::string At(const std::string& place) const;
};

/// Writes tables in some format, value by value, so that a value may be of any length. Texts are
/// UTF-8, divided between characters only, and valid during the call. A function may throw a
/// RefusedValue or a ConversionError for what the format cannot hold, or whatever its ByteHandler
/// throws.
class TableWriter {
 public:
  TableWriter(const TableWriter&) = delete;
  TableWriter& operator=(const TableWriter&) = delete;
  virtual ~TableWriter() = default;

  /// The source holds named collections, and all of them follow; called before all others.
  virtual void BeginNamed() {}

  /// A collection begins; its name is empty if it is the only one.
  virtual void BeginCollection(std::string_view /*name*/) {}

  /// Its field names, which are at `offset` of the source. An empty collection has none.
  virtual void Header(const std::vector<std::string>& names, std::uint64_t offset) = 0;

  virtual void BeginRow() = 0;

  /// A piece of the next value, the whole of it if it is the first and the last. There are as many
  /// values in a row as there are names, and each has a last piece.
  virtual void Value(std::string_view piece, bool isFirst, bool isLast) = 0;

  virtual void EndRow() = 0;
  virtual void EndCollection() = 0;

  /// Nothing follows: hands over everything that is left.
  virtual void End() { HandOverNow(); }

 protected:
  /// What is written goes to `writeBytes`, in large blocks.
  explicit TableWriter(ByteHandler writeBytes) : writeBytes_(std::move(writeBytes)) {}

  ByteBuffer& Buffer() { return buffer_; }

  /// Hands the buffer over if it is large; its last `kept` bytes stay.
  void HandOver(std::size_t kept = 0) {
    if (buffer_.Size() >= kLarge) HandOverNow(kept);
  }

  void HandOverNow(std::size_t kept = 0);

 private:
  static constexpr std::size_t kLarge = std::size_t{64} * 1024;

  ByteHandler writeBytes_;
  ByteBuffer buffer_;
};

}  // namespace brindlex::cli
