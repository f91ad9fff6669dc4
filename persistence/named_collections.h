#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "automation/text.h"
#include "persistence/record_writer.h"

namespace brindlex {

/// Units in memory that several owners share and none changes.
using SharedUnits = std::shared_ptr<const char16_t[]>;

/// A copy of `text`. Throws std::bad_alloc, also for more units than any text of a host has.
SharedUnits ShareUnits(TextView text);

/// The named collections of a multi-collection text, in their order, each with the text of its
/// records; found by name, without regard to letter case, in constant time.
///
/// Collections from a text that was parsed are views into it; collections that are put are copies.
/// Beside the texts, a collection takes about 60 bytes in a 32-bit process, 100 in a 64-bit one. A
/// failed Put leaves everything as it was. Not synchronized.
class NamedCollections {
 public:
  /// The position of a collection, among those that were removed too. Valid until the next change.
  using Position = std::uint32_t;

  NamedCollections() = default;
  /// None yet, to be added from the text in `base`, which has `size` units.
  NamedCollections(SharedUnits base, std::size_t size) : base_(std::move(base)), baseSize_(size) {}

  /// Adds, at the end, a collection that was found in the base: its text and its name as a text of
  /// these collections has it, and the name under which it is found, if it is. Error 457 when `key`
  /// is in use.
  void Add(TextView data, TextView name, std::optional<TextView> key);

  /// Gives memory back that no further Add will use, as far as it can.
  void EndAdding() noexcept;

  std::size_t Count() const noexcept { return count_; }

  /// The collection that is found as `name`.
  std::optional<Position> Find(TextView name) const noexcept;

  TextView Data(Position position) const { return entries_[position].Data(); }

  /// Calls `visit(position, data, name)` for each collection, in order; the name is the one in the
  /// text.
  template <class Visit>
  void ForEach(Visit&& visit) const {
    for (Position position = 0; position < entries_.size(); ++position) {
      if (!entries_[position].IsRemoved()) {
        visit(position, Data(position), WrittenName(position));
      }
    }
  }

  /// The names that Find knows, in order.
  std::vector<Text> Names() const;

  /// Replaces the collection that is found as `name` by copies of `data` and `name`, or adds them
  /// at the end. Requires AreReadBack(), as Remove does. Throws std::bad_alloc.
  void Put(TextView data, TextView name);

  /// Removes a collection.
  void Remove(Position position) noexcept;

  /// A change that Put makes.
  struct Change {
    TextView data;
    TextView name;
  };

  /// The call of Put after which these collections have the text `text`, with views into it;
  /// nothing when there is none. Requires AreReadBack(). Takes the time of comparing two texts.
  std::optional<Change> FindChange(TextView text) const noexcept;

  /// Whether reading the text of these collections finds the same collections under the same names.
  /// Not so, for example, when a collection begins with a line break, or when they come from a text
  /// whose header is such that names are no keys.
  bool AreReadBack() const noexcept { return areReadBack_; }

  /// Whether they are still read back after Put(data, name), if they are now.
  static bool IsReadBack(TextView data, TextView name) noexcept;

  /// The size of their text, as if `change` had been put if it is not null.
  std::size_t TextSize(const Change* change = nullptr) const noexcept;

  /// Appends their text, as if `change` had been put and `without` removed if there are such.
  void AppendTo(RecordWriter& writer, const Change* change,
                std::optional<Position> without = std::nullopt) const;

 private:
  struct Entry {
    /// Null once it is removed.
    SharedUnits storage;
    const char16_t* data;
    /// The key if it has one.
    const char16_t* name;
    std::uint32_t dataSize;
    std::uint32_t nameSize;
    std::uint32_t hash;
    bool hasKey;

    bool IsRemoved() const noexcept { return storage == nullptr; }
    TextView Data() const noexcept { return {data, dataSize}; }
    TextView Name() const noexcept { return {name, nameSize}; }
    std::size_t Size() const noexcept { return std::size_t{dataSize} + nameSize; }
  };

  TextView WrittenName(Position position) const {
    return writtenNames_.empty() ? entries_[position].Name() : writtenNames_[position];
  }
  std::optional<Position> Find(TextView name, std::uint32_t hash) const noexcept;
  static Entry MakeCopy(TextView data, TextView name);
  void ReserveEntry();
  void ReserveSlot();
  void FillSlots() noexcept;
  void OccupySlot(Position position) noexcept;
  void FreeSlot(Position position) noexcept;
  void Append(Entry entry) noexcept;
  void NoteGone(const Entry& entry) noexcept;
  void DropBaseIfWasted() noexcept;
  void DropRemoved() noexcept;

  std::vector<Entry> entries_;
  /// Names in the text where one of them differs from the key; else empty.
  std::vector<TextView> writtenNames_;
  /// Positions plus one, by hash: a table with open addressing and linear probing; 0 is free. A
  /// power of two in size, or empty.
  std::vector<std::uint32_t> slots_;
  std::size_t count_ = 0;
  std::size_t keyCount_ = 0;
  /// Units of all data and names.
  std::size_t units_ = 0;
  bool areReadBack_ = true;

  SharedUnits base_;
  std::size_t baseSize_ = 0;
  /// Units of the base that belong to a collection.
  std::size_t baseUnits_ = 0;
};

}  // namespace brindlex
