// Any bytes as a file, in any encoding, read in blocks of any size: the check finds the defects
// that a slow and obviously right one finds, whether or not valid records are skipped; the
// vectorised validator skips what is skipped byte by byte; and the component restores and reports
// what the check predicts.

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "cli/check/text_check.h"
#include "cli/format/file_format.h"
#include "cli/text/utf.h"
#include "fuzz/agreement.h"
#include "fuzz/input.h"
#include "persistence/collection_save_restore.h"
#include "tests/cli/unit/naive_check.h"

namespace brindlex::cli {
namespace {

/// The defects of a text, and how many records and names it has.
struct Checked {
  std::vector<Defect> defects;
  std::uint64_t records = 0;
  std::uint64_t fields = 0;

  std::vector<naive::Place> Places() const {
    std::vector<naive::Place> places;
    for (const Defect& one : defects) {
      places.emplace_back(one.offset, one.record, one.field, one.kind);
    }
    std::sort(places.begin(), places.end());
    return places;
  }
};

Checked Check(const std::string& text, const Encoding& encoding, const ByteMarkers& markers,
              std::size_t block, bool skips) {
  std::vector<Defect> found;
  const DefectHandler gather = [&](const Defect& defect) { found.push_back(defect); };
  cli::Input input("text", text, block);
  InputWindow window(input, kWholeInput);
  Tokenizer tokenizer(window, encoding, markers);
  KeyCheck keys(16);
  TextCheck check(encoding, markers, TextRole::kSingle, gather, &keys);
  check.Begin(0, 0, std::nullopt);
  Token token;
  do {
    if (skips) check.SkipValidRecords(tokenizer);
    token = tokenizer.Next();
    check.Take(token);
  } while (token.kind != Token::Kind::kEnd);
  return {std::move(found), check.Records(), check.Fields()};
}

void CompareValidators(const std::string& text, std::uint64_t fields) {
  for (const bool allowsHighBytes : {true, false}) {
    const RecordShape shape{'\xA5', '\x8C', fields, allowsHighBytes, {'\xBB', '\x8A'}};
    Require(FindValidPrefixByteByByte(text, shape) == FindValidPrefix(text, shape),
            "the valid records that are skipped");
  }
}

/// The names that a record class can have of a header, and one that no header has.
::naive::Texts MembersOf(TextView header, const MarkerPair& pair) {
  ::naive::Texts members = {u"\uE000"};
  const Text fieldEnd = Utf16OfUtf8(pair.fieldEnd);
  for (std::size_t end = header.find(fieldEnd); end != TextView::npos;
       end = header.find(fieldEnd)) {
    const TextView name = header.substr(0, end);
    header.remove_prefix(end + fieldEnd.size());
    const bool isKnown = std::any_of(members.begin(), members.end(), [&](const Text& other) {
      return EqualIgnoringCase(name, other);
    });
    if (!isKnown && !name.empty()) members.emplace_back(name);
  }
  return members;
}

/// Restores a well-formed text by the component, and compares that with what the check predicts.
void CompareComponent(const std::string& utf8, const MarkerPair& pair, const Checked& checked) {
  const Text text = Utf16OfUtf8(utf8);
  MemoryPlatform platform;
  const MemoryAdapter& adapter = platform.Adapter();
  clsCollectionSaveRestore store(platform);
  const Text recordEnd = Utf16OfUtf8(pair.recordEnd);
  const ::naive::Texts members = MembersOf(TextView(text).substr(0, text.find(recordEnd)), pair);
  const CollectionRef restored = store.AsDelimitedToCollection(
      text, NewCreator(adapter, ClassOf(adapter, members)), recordEnd, Utf16OfUtf8(pair.fieldEnd));
  const std::vector<Defect>& defects = checked.defects;
  const auto refusal = std::find_if(defects.begin(), defects.end(),
                                    [](const Defect& one) { return !one.reports.empty(); });
  const std::vector<PredictedReport> expected =
      refusal == defects.end() ? std::vector<PredictedReport>() : refusal->reports;
  Require(expected.size() == platform.reports.size(), "the number of reports");
  for (std::size_t index = 0; index < expected.size(); ++index) {
    const Report& report = platform.reports[index];
    Require(expected[index].caption == Utf8OfUtf16(report.caption), "a report's caption");
    Require(expected[index].number == report.number, "a report's number");
    Require(expected[index].line == report.line, "a report's line");
    const std::string& description = expected[index].description;
    Require(description.empty() || description == Utf8OfUtf16(report.description),
            "a report's description");
  }
  const bool isRestored = expected.empty() && checked.fields > 0 && checked.records > 0;
  Require(isRestored == (restored != nullptr), "whether there is a collection");
  if (!isRestored) return;
  Require(checked.records == static_cast<std::uint64_t>(restored->Count()), "restored records");
}

void Compare(brindlex::Input input) {
  static const std::vector<Encoding> encodings = {Encoding(), *Encoding::Named("utf-8"),
                                                  *Encoding::Named("utf-16le"),
                                                  *Encoding::Named("utf-16be")};
  const Encoding& encoding = encodings[input.TakeBelow(encodings.size())];
  static const std::vector<MarkerPair> pairs = {OuterMarkers(), {"|", ";"}, {"<f>", "[r]"}};
  const MarkerPair& pair = pairs[input.TakeBelow(pairs.size())];
  const ByteMarkers markers = *FindByteMarkers(pair, encoding);
  std::vector<std::size_t> blocks(input.TakeBelow(6));
  for (std::size_t& block : blocks) block = 1 + input.TakeBelow(200);
  const std::uint64_t fields = 1 + input.TakeBelow(4);
  std::string text;
  while (!input.IsUsedUp()) text += input.Take<char>();

  const auto expected = naive::Check(text, encoding, markers);
  blocks.push_back(kInputBlock);
  Checked checked;
  for (const std::size_t block : blocks) {
    for (const bool skips : {false, true}) {
      checked = Check(text, encoding, markers, block, skips);
      Require(expected == checked.Places(), "the defects");
      Require(checked.records == naive::Records(text, markers), "the number of records");
    }
  }
  CompareValidators(text, fields);
  std::string utf8;
  if (encoding.ToUtf8(text, utf8) == text.size()) CompareComponent(utf8, pair, checked);
}

}  // namespace
}  // namespace brindlex::cli

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brindlex::cli::Compare({data, size});
  return 0;
}
