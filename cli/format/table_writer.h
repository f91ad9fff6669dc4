#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace brindlex::tool {

/// Takes bytes that are finished. May throw.
using ByteSink = std::function<void(std::string_view)>;

/// What of a file does not come through a conversion, so that converting back gives another file.
/// Nothing in it is an error of the file.
class Losses {
 public:
  /// `what` stands at byte `at` of the file, and does not come through.
  void Add(const std::string& what, std::uint64_t at);

  bool IsEmpty() const { return found_.empty(); }

  /// One sentence for each kind, with its number and its first place.
  std::vector<std::string> Sentences() const;

 private:
  struct Found {
    std::uint64_t count = 0;
    std::uint64_t first = 0;
  };
  std::map<std::string, Found> found_;
};

/// Writes tables in some form as they are read, value by value, so that a value may be of any
/// length. Texts are UTF-8, cut between characters only, and valid during the call. A function may
/// throw a ConversionError for what the form does not hold, or whatever its ByteSink throws.
class TableWriter {
 public:
  TableWriter() = default;
  TableWriter(const TableWriter&) = delete;
  TableWriter& operator=(const TableWriter&) = delete;
  virtual ~TableWriter() = default;

  /// The file holds named collections, and all of them follow; called before all others.
  virtual void BeginNamed() = 0;

  /// A collection begins; its name is empty when it is the only one.
  virtual void BeginCollection(std::string_view name) = 0;

  /// Its field names, which stand at byte `at` of the file. An empty collection has none.
  virtual void Header(const std::vector<std::string>& names, std::uint64_t at) = 0;

  virtual void BeginRow() = 0;

  /// A piece of the next value, which is all of it when it is the first and the last. There are as
  /// many values in a row as there are names, and each has a last piece.
  virtual void Value(std::string_view piece, bool isFirst, bool isLast) = 0;

  virtual void EndRow() = 0;
  virtual void EndCollection() = 0;

  /// Nothing follows: hands over all that is left.
  virtual void End() = 0;
};

/// What the writers share: bytes that are handed over in large blocks.
class BufferedWriter : public TableWriter {
 protected:
  explicit BufferedWriter(ByteSink sink) : sink_(std::move(sink)) {}

  std::string& Buffer() { return buffer_; }

  /// Hands the buffer over when it is large, or, when `all` is set, in any case.
  void HandOver(bool all = false) {
    constexpr std::size_t kLarge = std::size_t{64} * 1024;
    if (buffer_.size() < kLarge && !all) return;
    sink_(buffer_);
    buffer_.clear();
  }

 private:
  ByteSink sink_;
  std::string buffer_;
};

}  // namespace brindlex::tool
