#include "persistence/named_collections.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "automation/hash_key.h"
#include "automation/runtime_error.h"
#include "persistence/marker_scan.h"
#include "persistence/text_data.h"

namespace brindlex {
namespace {

constexpr TextView kLineBreak = u"\r\n";
constexpr char16_t kFieldEnd = u'\u00A5';
constexpr char16_t kRecordEnd = u'\u0152';
/// Two field ends and a record end.
constexpr std::size_t kMarkers = 3;
constexpr std::size_t kHeaderSize = kDataColumn.size() + kNameColumn.size() + kMarkers;
constexpr std::size_t kFewestSlots = 16;
/// More than any text of a host has.
constexpr std::size_t kMostUnits = 0x7FFFFFFF;

bool HoldsMarker(TextView text) noexcept {
  return FindEither(text, kFieldEnd, kRecordEnd) != TextView::npos;
}

/// Compares text with what is expected in it, from left to right.
class Comparison {
 public:
  explicit Comparison(TextView text) : rest_(text) {}

  /// Moves past `units` if the text goes on with them.
  bool Skip(TextView units) noexcept {
    if (rest_.size() < units.size() || !AreEqual(rest_.data(), units.data(), units.size())) {
      return false;
    }
    rest_.remove_prefix(units.size());
    return true;
  }

  bool SkipRecord(TextView data, TextView name) noexcept {
    const TextView before = rest_;
    constexpr std::array<char16_t, 2> kEnd = {kFieldEnd, kRecordEnd};
    if (Skip(data) && Skip({kEnd.data(), 1}) && Skip(name) && Skip({kEnd.data(), 2})) return true;
    rest_ = before;
    return false;
  }

  /// Moves past the next field end and returns the field; nothing, and stays, if a record end comes
  /// first.
  std::optional<TextView> TakeField() noexcept {
    const std::size_t end = FindEither(rest_, kFieldEnd, kRecordEnd);
    if (end == TextView::npos || rest_[end] != kFieldEnd) return std::nullopt;
    const TextView field = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return field;
  }

  bool IsAtEnd() const noexcept { return rest_.empty(); }

 private:
  TextView rest_;
};

}  // namespace

SharedUnits ShareUnits(TextView text) {
  if (text.size() > kMostUnits) throw std::bad_alloc();
  auto units = std::make_shared_for_overwrite<char16_t[]>(text.size());
  std::copy(text.begin(), text.end(), units.get());
  return units;
}

// ---- Reading -----------------------------------------------------------------------------------

void NamedCollections::Add(TextView data, TextView name, std::optional<TextView> key) {
  const TextView own = key.value_or(name);
  const std::uint32_t hash = key ? IndexHashIgnoringCase(*key) : 0;
  if (key && Find(*key, hash)) throw RuntimeError(error_number::kKeyInUse);
  ReserveEntry();
  if (key) ReserveSlot();
  if (own != name && writtenNames_.empty()) {
    for (const Entry& entry : entries_) writtenNames_.push_back(entry.Name());
  }
  if (own != name || !writtenNames_.empty()) writtenNames_.push_back(name);
  baseUnits_ += data.size() + own.size();
  areReadBack_ = areReadBack_ && own == name && key.has_value() == !name.empty() &&
                 !data.starts_with(kLineBreak);
  Append({base_, data.data(), own.data(), static_cast<std::uint32_t>(data.size()),
          static_cast<std::uint32_t>(own.size()), hash, key.has_value()});
}

void NamedCollections::EndAdding() noexcept {
  try {
    entries_.shrink_to_fit();
  } catch (const std::bad_alloc&) {
    // It stays as large as it is.
    return;
  }
}

std::optional<NamedCollections::Position> NamedCollections::Find(TextView name) const noexcept {
  if (keyCount_ == 0) return std::nullopt;
  return Find(name, IndexHashIgnoringCase(name));
}

std::optional<NamedCollections::Position> NamedCollections::Find(
    TextView name, std::uint32_t hash) const noexcept {
  if (slots_.empty()) return std::nullopt;
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t slot = hash & mask; slots_[slot] != 0; slot = (slot + 1) & mask) {
    const Position position = slots_[slot] - 1;
    const Entry& entry = entries_[position];
    if (entry.hash == hash && EqualIgnoringCase(entry.Name(), name)) return position;
  }
  return std::nullopt;
}

std::vector<Text> NamedCollections::Names() const {
  std::vector<Text> names;
  names.reserve(keyCount_);
  for (const Entry& entry : entries_) {
    if (!entry.IsRemoved() && entry.hasKey) names.emplace_back(entry.Name());
  }
  return names;
}

// ---- Changes -----------------------------------------------------------------------------------

NamedCollections::Entry NamedCollections::MakeCopy(TextView data, TextView name) {
  if (data.size() > kMostUnits || name.size() > kMostUnits) throw std::bad_alloc();
  auto units = std::make_shared_for_overwrite<char16_t[]>(data.size() + name.size());
  char16_t* const nameUnits = std::copy(data.begin(), data.end(), units.get());
  std::copy(name.begin(), name.end(), nameUnits);
  const char16_t* const dataUnits = units.get();
  const std::uint32_t hash = name.empty() ? 0 : IndexHashIgnoringCase(name);
  return {std::move(units),
          dataUnits,
          nameUnits,
          static_cast<std::uint32_t>(data.size()),
          static_cast<std::uint32_t>(name.size()),
          hash,
          !name.empty()};
}

void NamedCollections::Put(TextView data, TextView name) {
  const bool isReadBack = IsReadBack(data, name);
  Entry entry = MakeCopy(data, name);
  const std::optional<Position> found = Find(name);
  if (found) {
    Entry& replaced = entries_[*found];
    NoteGone(replaced);
    units_ += entry.Size();
    replaced = std::move(entry);
  } else {
    ReserveEntry();
    if (entry.hasKey) ReserveSlot();
    Append(std::move(entry));
  }
  areReadBack_ = areReadBack_ && isReadBack;
  DropBaseIfWasted();
}

void NamedCollections::Remove(Position position) noexcept {
  Entry& removed = entries_[position];
  if (removed.hasKey) FreeSlot(position);
  NoteGone(removed);
  removed.storage = nullptr;
  --count_;
  DropRemoved();
  DropBaseIfWasted();
}

std::optional<NamedCollections::Change> NamedCollections::FindChange(TextView text) const noexcept {
  Comparison comparison(text);
  if (!comparison.SkipRecord(kDataColumn, kNameColumn)) return std::nullopt;
  std::optional<Change> change;
  const auto takeChange = [&] {
    const auto data = comparison.TakeField();
    const auto name = data ? comparison.TakeField() : std::nullopt;
    if (!name || !comparison.Skip({&kRecordEnd, 1})) return false;
    change = Change{*data, *name};
    return !data->starts_with(kLineBreak);
  };
  const Entry* last = nullptr;
  for (const Entry& entry : entries_) {
    if (entry.IsRemoved()) continue;
    last = &entry;
    if (comparison.SkipRecord(entry.Data(), entry.Name())) continue;
    if (change || !takeChange() || !entry.hasKey) return std::nullopt;
    if (!EqualIgnoringCase(change->name, entry.Name())) return std::nullopt;
  }
  if (change || comparison.IsAtEnd()) {
    if (!change && last != nullptr && last->hasKey) change = Change{last->Data(), last->Name()};
  } else if (!takeChange() || Find(change->name)) {
    return std::nullopt;
  }
  return comparison.IsAtEnd() ? change : std::nullopt;
}

bool NamedCollections::IsReadBack(TextView data, TextView name) noexcept {
  return !data.starts_with(kLineBreak) && !HoldsMarker(data) && !HoldsMarker(name);
}

// ---- Writing -----------------------------------------------------------------------------------

std::size_t NamedCollections::TextSize(const Change* change) const noexcept {
  std::size_t count = count_;
  std::size_t units = units_;
  if (change != nullptr) {
    const auto replaced = Find(change->name);
    if (replaced) units -= entries_[*replaced].Size();
    if (!replaced) ++count;
    units += change->data.size() + change->name.size();
  }
  return count == 0 ? 0 : kHeaderSize + units + kMarkers * count;
}

void NamedCollections::AppendTo(RecordWriter& writer, const Change* change,
                                std::optional<Position> without) const {
  const std::optional<Position> replaced = change != nullptr ? Find(change->name) : std::nullopt;
  if (change == nullptr && count_ == (without ? 1U : 0U)) return;
  const std::array<Text, 2> names = {Text(kDataColumn), Text(kNameColumn)};
  writer.AppendHeader(names);
  const auto append = [&writer](TextView data, TextView name) {
    const std::array<TextView, 2> values = {data, name};
    writer.AppendRecord(values);
  };
  ForEach([&](Position position, TextView data, TextView name) {
    if (position == without) return;
    if (position == replaced) return append(change->data, change->name);
    append(data, name);
  });
  if (change != nullptr && !replaced) append(change->data, change->name);
}

// ---- Memory ------------------------------------------------------------------------------------

void NamedCollections::ReserveEntry() {
  constexpr std::size_t kFewest = 8;
  if (entries_.size() < entries_.capacity()) return;
  // By an eighth: what is reserved and not used counts as the index's memory.
  entries_.reserve(entries_.size() + entries_.size() / 8 + kFewest);
}

void NamedCollections::ReserveSlot() {
  if (3 * (keyCount_ + 1) <= 2 * slots_.size()) return;
  slots_ = std::vector<std::uint32_t>(slots_.empty() ? kFewestSlots : 2 * slots_.size());
  FillSlots();
}

void NamedCollections::FillSlots() noexcept {
  std::fill(slots_.begin(), slots_.end(), 0);
  for (Position position = 0; position < entries_.size(); ++position) {
    const Entry& entry = entries_[position];
    if (!entry.IsRemoved() && entry.hasKey) OccupySlot(position);
  }
}

void NamedCollections::OccupySlot(Position position) noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = entries_[position].hash & mask;
  while (slots_[slot] != 0) slot = (slot + 1) & mask;
  slots_[slot] = position + 1;
}

void NamedCollections::FreeSlot(Position position) noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t hole = entries_[position].hash & mask;
  while (slots_[hole] != position + 1) hole = (hole + 1) & mask;
  // Those that follow move up, as far as that brings none of them before its home.
  for (std::size_t slot = (hole + 1) & mask; slots_[slot] != 0; slot = (slot + 1) & mask) {
    const std::size_t home = entries_[slots_[slot] - 1].hash & mask;
    if (((slot - home) & mask) < ((slot - hole) & mask)) continue;
    slots_[hole] = slots_[slot];
    hole = slot;
  }
  slots_[hole] = 0;
  --keyCount_;
}

void NamedCollections::Append(Entry entry) noexcept {
  units_ += entry.Size();
  ++count_;
  const bool hasKey = entry.hasKey;
  entries_.push_back(std::move(entry));
  if (!hasKey) return;
  OccupySlot(static_cast<Position>(entries_.size() - 1));
  ++keyCount_;
}

void NamedCollections::NoteGone(const Entry& entry) noexcept {
  units_ -= entry.Size();
  if (entry.storage == base_) baseUnits_ -= entry.Size();
}

void NamedCollections::DropBaseIfWasted() noexcept {
  constexpr std::size_t kTolerated = 8;
  const std::size_t used = baseUnits_ + kMarkers * count_ + units_ / kTolerated;
  if (base_ == nullptr || baseSize_ <= used) return;
  try {
    for (Entry& entry : entries_) {
      if (entry.storage != base_) continue;
      const bool hasKey = entry.hasKey;
      entry = MakeCopy(entry.Data(), entry.Name());
      entry.hasKey = hasKey;
      baseUnits_ -= entry.Size();
    }
    base_ = nullptr;
  } catch (const std::bad_alloc&) {
    // The next change tries again.
    return;
  }
}

void NamedCollections::DropRemoved() noexcept {
  constexpr std::size_t kTolerated = 8;
  if (entries_.size() - count_ <= count_ / 4 + kTolerated) return;
  std::erase_if(entries_, [](const Entry& entry) { return entry.IsRemoved(); });
  FillSlots();
}

}  // namespace brindlex
