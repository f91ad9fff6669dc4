#include "tests/core/persistence/naive_guard.h"

#include <string>

namespace naive {
namespace {

/// What a reader finds in `text`: the items before each `end`, and what is left after the last.
Texts ItemsOf(const Text& text, const Text& end) {
  Texts items(1);
  std::size_t at = 0;
  while (at < text.size()) {
    if (text.compare(at, end.size(), end) == 0) {
      items.emplace_back();
      at += end.size();
    } else {
      items.back() += text[at];
      at += 1;
    }
  }
  return items;
}

/// `values` as they are to be read back, and nothing after them.
Texts AndNothing(Texts values) {
  values.emplace_back();
  return values;
}

class Writer {
 public:
  Writer(const Markers& markers, const Markers* around) : markers_(markers), around_(around) {}

  /// Why the next value is refused; empty when it is not.
  Text Write(const Text& value) {
    values_.push_back(value);
    row_ += value + markers_.fieldEnd;
    if (ItemsOf(row_, markers_.fieldEnd) != AndNothing(values_)) {
      return u"contains the field end marker";
    }
    if (Contains(row_, markers_.recordEnd)) return u"contains the record end marker";
    if (around_ != nullptr &&
        (Contains(value, around_->fieldEnd) || Contains(value, around_->recordEnd))) {
      return u"contains a marker of the text around it";
    }
    if (HoldsDroppedBreak()) return u"begins with a line break, which a restore drops";
    return {};
  }

  /// Why the row that ends here is refused.
  Text EndRow() {
    const Text whole = row_ + markers_.recordEnd;
    const bool endsHere = ItemsOf(whole, markers_.recordEnd) == AndNothing({row_});
    const bool isWhole = ItemsOf(whole, markers_.fieldEnd).size() == values_.size() + 1;
    row_ = whole;
    if (!endsHere || !isWhole || HoldsDroppedBreak()) {
      return u"stands before markers that cannot be told apart";
    }
    before_ += row_;
    row_.clear();
    values_.clear();
    return {};
  }

 private:
  bool HoldsDroppedBreak() const { return Contains(before_ + row_, markers_.recordEnd + u"\r\n"); }

  const Markers& markers_;
  const Markers* around_;
  Text before_;
  Text row_;
  Texts values_;
};

Report RefusalOf(const Text& why, std::size_t record, const Text& member) {
  Text description = (record == 0 ? u"Member name " : u"Value ") + why;
  if (record != 0) {
    description += u", record number ";
    for (const char digit : std::to_string(record)) description += static_cast<char16_t>(digit);
  }
  return {u"Error DFC",
          u"Error DFC\r\n\r\n" + description + u" Number: 0 Line: 0 Member Name: " + member};
}

}  // namespace

std::optional<Report> Refusal(const Texts& members, const std::vector<Texts>& records,
                              const Markers& markers, const Markers* around) {
  if (records.empty()) return std::nullopt;
  std::vector<Texts> rows = records;
  rows.insert(rows.begin(), members);
  Writer writer(markers, around);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    for (std::size_t i = 0; i < members.size(); ++i) {
      const Text why = writer.Write(rows[row][i]);
      if (!why.empty()) return RefusalOf(why, row, members[i]);
    }
    const Text why = writer.EndRow();
    if (!why.empty()) return RefusalOf(why, row, {});
  }
  return std::nullopt;
}

bool Contains(const Text& text, const Text& sought) {
  for (std::size_t at = 0; at + sought.size() <= text.size(); ++at) {
    if (text.substr(at, sought.size()) == sought) return true;
  }
  return false;
}

}  // namespace naive
