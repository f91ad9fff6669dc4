#pragma once

#include <optional>
#include <string>
#include <vector>

/// The delimited text once more, one step after the other and with no thought of speed: what the
/// component's own code is held against. It shares nothing with it.
namespace naive {

using Text = std::u16string;
using Texts = std::vector<Text>;

struct Markers {
  Text fieldEnd = u"\u00A5";
  Text recordEnd = u"\u0152";
};

struct Report {
  Text caption;
  Text text;
};

struct Record {
  /// One for each member of the class, in its order; those that the text does not set are empty.
  Texts values;
  /// Empty for a record without a key.
  Text key;
};

struct Restored {
  /// Nothing stands for no collection.
  std::optional<std::vector<Record>> records;
  std::vector<Report> reports;
};

/// `text` with `sought`, which is not empty, replaced everywhere.
Text Replace(const Text& text, const Text& sought, const Text& replacement);

/// Nothing for a text without a delimiter.
std::optional<Texts> SplitString(const Text& text, const Text& delimiter);

Text StripRecordBreaks(const Text& text, const Text& recordEnd);

/// Letter case does not count; knows the letters A to Z only.
bool SameName(const Text& left, const Text& right);

/// Restores records of a class whose members, `members`, all hold text.
Restored Restore(const Text& saved, const Texts& members, const Markers& markers,
                 const Text& keyProperty);

Text Save(const Texts& members, const std::vector<Texts>& records, const Markers& markers);

struct FieldNames {
  /// Nothing stands for no collection.
  std::optional<Texts> names;
  /// True when a name comes twice, which fails to the caller.
  bool duplicate = false;
};

FieldNames ReadFieldNames(const Text& saved, const Markers& markers);

}  // namespace naive
