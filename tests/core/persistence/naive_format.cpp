#include "tests/core/persistence/naive_format.h"

#include <algorithm>

namespace naive {
namespace {

bool StandsAt(const Text& text, std::size_t at, const Text& sought) {
  for (std::size_t i = 0; i < sought.size(); ++i) {
    if (at + i >= text.size() || text[at + i] != sought[i]) return false;
  }
  return true;
}

bool Contains(const Text& text, const Text& sought) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (StandsAt(text, at, sought)) return true;
  }
  return false;
}

char16_t Lower(char16_t letter) {
  return letter >= u'A' && letter <= u'Z' ? static_cast<char16_t>(letter + 32) : letter;
}

/// From 1; 0 when it is none of them.
std::size_t MemberNumber(const Texts& members, const Text& name) {
  for (std::size_t i = 0; i < members.size(); ++i) {
    if (SameName(members[i], name)) return i + 1;
  }
  return 0;
}

Text Number(std::size_t number) {
  Text digits;
  for (; number > 0; number /= 10) {
    digits.insert(digits.begin(), static_cast<char16_t>(u'0' + number % 10));
  }
  return digits.empty() ? u"0" : digits;
}

Report SplitFailed() {
  return {u"Application Error",
          u"Invalid procedure call or argument No. 5\r\n"
          u"in Brindlex.clsCollectionSaveRestore.SplitString at line 0"};
}

Report RestoreFailed(const Text& description, std::size_t number, std::size_t line) {
  return {u"Error ADTC", u"Error ADTC\r\n\r\n" + description + u" Number: " + Number(number) +
                             u" Line: " + Number(line)};
}

Restored NoArray(std::size_t line) {
  return {std::nullopt, {SplitFailed(), RestoreFailed(u"Subscript out of range", 9, line)}};
}

Record MakeRecord(const Texts& values, const Texts& names, const Texts& members,
                  const Text& keyProperty) {
  Record record;
  record.values.resize(members.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (names[i].empty()) continue;
    if (record.key.empty() && names[i] == keyProperty) record.key = values[i];
    record.values[MemberNumber(members, names[i]) - 1] = values[i];
  }
  if (keyProperty.empty()) record.key.clear();
  return record;
}

bool KeyInUse(const std::vector<Record>& records, const Text& key) {
  if (key.empty()) return false;
  return std::any_of(records.begin(), records.end(),
                     [&key](const Record& record) { return SameName(record.key, key); });
}

}  // namespace

Text Replace(const Text& text, const Text& sought, const Text& replacement) {
  Text result;
  std::size_t at = 0;
  while (at < text.size()) {
    if (StandsAt(text, at, sought)) {
      result += replacement;
      at += sought.size();
    } else {
      result += text[at];
      at += 1;
    }
  }
  return result;
}

std::optional<Texts> SplitString(const Text& text, const Text& delimiter) {
  if (!Contains(text, delimiter)) return std::nullopt;
  std::size_t last = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (StandsAt(text, at, delimiter)) last = at;
  }
  const Text before = text.substr(0, last);
  Texts items;
  Text item;
  std::size_t at = 0;
  while (at < before.size()) {
    if (StandsAt(before, at, delimiter)) {
      items.push_back(item);
      item.clear();
      at += delimiter.size();
    } else {
      item += before[at];
      at += 1;
    }
  }
  items.push_back(item);
  return items;
}

Text StripRecordBreaks(const Text& text, const Text& recordEnd) {
  const Text once = Replace(text, recordEnd + u"\r\n\r\n", recordEnd);
  return Replace(once, recordEnd + u"\r\n", recordEnd);
}

bool SameName(const Text& left, const Text& right) {
  if (left.size() != right.size()) return false;
  for (std::size_t i = 0; i < left.size(); ++i) {
    if (Lower(left[i]) != Lower(right[i])) return false;
  }
  return true;
}

Restored Restore(const Text& saved, const Texts& members, const Markers& markers,
                 const Text& keyProperty) {
  if (saved.empty()) return {};
  const Text text = StripRecordBreaks(saved, markers.recordEnd);
  if (text.empty()) return {};
  const auto records = SplitString(text, markers.recordEnd);
  if (!records) return NoArray(4);
  if (records->size() < 2) return {};
  const Text header = records->front();
  if (!Contains(header, markers.fieldEnd)) return {};
  Texts names = *SplitString(header, markers.fieldEnd);
  for (Text& name : names) {
    if (MemberNumber(members, name) == 0) name.clear();
  }
  std::vector<Record> made;
  for (std::size_t r = 1; r < records->size(); ++r) {
    const auto values = SplitString((*records)[r], markers.fieldEnd);
    if (!values) return NoArray(6);
    if (values->size() != names.size()) {
      const Text sentence = u"Fields in record don't match field list, record number " + Number(r);
      return {std::nullopt, {RestoreFailed(sentence, 0, 0)}};
    }
    const Record record = MakeRecord(*values, names, members, keyProperty);
    if (KeyInUse(made, record.key)) {
      const Text inUse = u"This key is already associated with an element of this collection";
      return {std::nullopt, {RestoreFailed(inUse, 457, 8)}};
    }
    made.push_back(record);
  }
  return {made, {}};
}

Text Save(const Texts& members, const std::vector<Texts>& records, const Markers& markers) {
  if (records.empty()) return {};
  Text text;
  for (const Text& name : members) text += name + markers.fieldEnd;
  text += markers.recordEnd;
  for (const Texts& record : records) {
    for (const Text& value : record) text += value + markers.fieldEnd;
    text += markers.recordEnd;
  }
  return text;
}

FieldNames ReadFieldNames(const Text& saved, const Markers& markers) {
  std::size_t position = 0;
  for (std::size_t at = saved.size(); at > 0; --at) {
    if (StandsAt(saved, at - 1, markers.recordEnd)) position = at;
  }
  if (position < 3) return {};
  const Text header = saved.substr(0, position - 1 + markers.recordEnd.size());
  FieldNames result;
  result.names.emplace();
  Text name;
  std::size_t at = 0;
  while (at < header.size()) {
    if (StandsAt(header, at, markers.fieldEnd)) {
      if (MemberNumber(*result.names, name) != 0) result.duplicate = true;
      result.names->push_back(name);
      name.clear();
      at += markers.fieldEnd.size();
    } else {
      name += header[at];
      at += 1;
    }
  }
  return result;
}

}  // namespace naive
