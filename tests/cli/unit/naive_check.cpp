#include "tests/cli/unit/naive_check.h"

#include <algorithm>

#include "automation/text.h"
#include "cli/text/utf.h"

namespace brindlex::cli::naive {
namespace {

constexpr std::size_t kNowhere = std::string::npos;

struct Field {
  std::size_t at;
  std::string bytes;
};

struct Record {
  std::size_t at;
  std::size_t end;
  std::vector<Field> fields;
  /// After the last field end.
  Field rest;
};

std::size_t Find(const std::string& text, const std::string& marker, std::size_t unit,
                 std::size_t from) {
  for (std::size_t at = from; at + marker.size() <= text.size(); at += unit) {
    if (text.compare(at, marker.size(), marker) == 0) return at;
  }
  return kNowhere;
}

/// The text between `at` and `end`, cut at its field ends.
Record CutRecord(const std::string& text, const ByteMarkers& markers, std::size_t at,
                 std::size_t end) {
  Record record{at, end, {}, {}};
  const std::string own = text.substr(0, end);
  for (;;) {
    const std::size_t marker = Find(own, markers.fieldEnd, markers.unit, at);
    if (marker == kNowhere) break;
    record.fields.push_back({at, own.substr(at, marker - at)});
    at = marker + markers.fieldEnd.size();
  }
  record.rest = {at, own.substr(at)};
  return record;
}

std::size_t AfterBreaks(const std::string& text, const ByteMarkers& markers, std::size_t at) {
  for (int passed = 0; passed < 3; ++passed) {
    if (text.compare(at, markers.lineBreak.size(), markers.lineBreak) != 0) break;
    at += markers.lineBreak.size();
  }
  return at;
}

/// All records, the header first; what follows the last record end as `rest`.
std::vector<Record> CutText(const std::string& text, const ByteMarkers& markers, Record& rest) {
  std::vector<Record> records;
  std::size_t at = 0;
  for (;;) {
    const std::size_t end = Find(text, markers.recordEnd, markers.unit, at);
    if (end == kNowhere) break;
    records.push_back(CutRecord(text, markers, at, end));
    at = AfterBreaks(text, markers, end + markers.recordEnd.size());
  }
  rest = CutRecord(text, markers, at, text.size());
  return records;
}

class Checker {
 public:
  explicit Checker(const Encoding& encoding) : encoding_(encoding) {}

  void CheckHeader(const Record& header) {
    if (header.fields.empty()) {
      Add(header.at, 0, 0, DefectKind::kNoFieldEnd);
    } else if (!header.rest.bytes.empty()) {
      Add(header.rest.at, 0, header.fields.size() + 1, DefectKind::kTextAfterFieldEnd);
    }
    std::vector<Text> seen;
    for (std::size_t column = 0; column < header.fields.size(); ++column) {
      const Field& field = header.fields[column];
      std::string name;
      encoding_.ToUtf8(field.bytes.substr(0, 256), name);
      if (std::all_of(name.begin(), name.end(), [](char c) { return c == ' ' || c == '\t'; })) {
        Add(field.at, 0, column + 1, DefectKind::kBlankName);
        continue;
      }
      if (name[0] == '\r' || name[0] == '\n') {
        Add(field.at, 0, column + 1, DefectKind::kBreakInName);
      }
      const Text text = Utf16OfUtf8(name);
      const bool isThere = std::any_of(seen.begin(), seen.end(), [&](const Text& other) {
        return EqualIgnoringCase(text, other);
      });
      if (isThere) Add(field.at, 0, column + 1, DefectKind::kDuplicateName);
      seen.push_back(text);
    }
  }

  void CheckRecord(const Record& record, std::size_t number, std::size_t expected,
                   const ByteMarkers& markers) {
    const std::size_t count = record.fields.size();
    if (expected == 0) return;
    if (count == 0) return Add(record.at, number, 0, DefectKind::kNoFieldEnd);
    if (count < expected) Add(record.end, number, count + 1, DefectKind::kFieldCount);
    if (count > expected) {
      const Field& last = record.fields[expected - 1];
      Add(last.at + last.bytes.size() + markers.fieldEnd.size(), number, expected + 1,
          DefectKind::kFieldCount);
    }
    if (!record.rest.bytes.empty()) {
      Add(record.rest.at, number, count + 1, DefectKind::kTextAfterFieldEnd);
    }
  }

  void CheckCharacters(const Record& record, std::size_t number) {
    std::size_t field = 0;
    for (const Field& one : record.fields) CheckCharacters(one, number, ++field);
    CheckCharacters(record.rest, number, field + 1);
  }

  void CheckRest(const Record& rest, std::size_t number, std::size_t size, bool hasNames) {
    const bool isTail =
        rest.rest.bytes.find_first_not_of(std::string("\r\n \t\0\x1A", 6)) == kNowhere;
    const bool isEmpty = rest.fields.empty() && rest.rest.bytes.empty();
    if (number == 0) {
      if (!isEmpty) Add(size, 0, 0, DefectKind::kNoRecordEnd);
    } else if (!rest.fields.empty() || !isTail) {
      Add(rest.at, number, 0, DefectKind::kNoRecordEnd);
    } else if (number == 1 && hasNames) {
      Add(size, 1, 0, DefectKind::kNoRecords);
    }
  }

  std::vector<Place> Found() {
    std::sort(places_.begin(), places_.end());
    return places_;
  }

 private:
  void Add(std::size_t at, std::size_t record, std::size_t field, DefectKind kind) {
    places_.emplace_back(at, record, field, kind);
  }

  void CheckCharacters(const Field& field, std::size_t number, std::size_t column) {
    std::string rest = field.bytes;
    std::size_t at = field.at;
    for (;;) {
      std::string text;
      const std::size_t valid = encoding_.ToUtf8(rest, text);
      if (valid == rest.size()) return;
      at += valid;
      rest.erase(0, valid);
      Add(at, number, column, DefectKind::kCharacter);
      // What a field ends with in the middle of a character is one place.
      if (encoding_.UnfinishedLength(rest) == rest.size()) return;
      const std::size_t bad = encoding_.BadLength(rest);
      at += bad;
      rest.erase(0, bad);
    }
  }

  const Encoding& encoding_;
  std::vector<Place> places_;
};

}  // namespace

std::vector<Place> Check(const std::string& text, const Encoding& encoding,
                         const ByteMarkers& markers) {
  Record rest{};
  const std::vector<Record> records = CutText(text, markers, rest);
  Checker checker(encoding);
  for (std::size_t number = 0; number < records.size(); ++number) {
    if (number == 0) {
      checker.CheckHeader(records[0]);
    } else {
      checker.CheckRecord(records[number], number, records[0].fields.size(), markers);
    }
    checker.CheckCharacters(records[number], number);
  }
  checker.CheckCharacters(rest, records.size());
  checker.CheckRest(rest, records.size(), text.size(),
                    !records.empty() && !records[0].fields.empty());
  return checker.Found();
}

std::uint64_t Records(const std::string& text, const ByteMarkers& markers) {
  Record rest{};
  const std::size_t count = CutText(text, markers, rest).size();
  return count == 0 ? 0 : count - 1;
}

}  // namespace brindlex::cli::naive
