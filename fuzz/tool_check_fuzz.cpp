// Any bytes as a file, in any encoding, cut into any pieces: the check tells the defects that a
// slow and obviously right one tells, however the file is cut and whether or not sound records are
// passed over; and the two kinds of vectors pass over what is passed over byte by byte.

#include <algorithm>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "cli/check/text_check.h"
#include "cli/format/layout.h"
#include "fuzz/agreement.h"
#include "fuzz/input.h"
#include "tests/cli/unit/naive_check.h"

namespace brindlex::tool {
namespace {

class Gathered : public DefectSink {
 public:
  void Take(const Defect& defect) override {
    places.emplace_back(defect.at, defect.record, defect.field, defect.kind);
  }
  std::vector<naive::Place> places;
};

/// A listener that takes nothing; with it no record is passed over.
class NoFields : public FieldListener {
 public:
  bool TakePiece(std::uint64_t, std::string_view, std::uint64_t) override { return false; }
  void TakeFieldEnd(std::uint64_t, std::uint64_t) override {}
  void TakeRecordEnd(std::uint64_t, std::uint64_t) override {}
};

std::vector<naive::Place> Check(const std::string& text, const Encoding& encoding,
                                const ByteMarkers& markers, const std::vector<std::size_t>& cuts,
                                FieldListener* listener) {
  Gathered sink;
  KeyCheck keys(16);
  std::uint64_t records = 0;
  TextCheck check(encoding, markers, TextRole::kAlone, sink, &keys, listener);
  check.Begin(0, 0, std::nullopt);
  std::size_t at = 0;
  for (const std::size_t cut : cuts) {
    const std::size_t length = std::min(cut, text.size() - at);
    // Memory of exactly this size, so that a read beyond it is seen.
    const auto piece = std::make_unique<char[]>(length);
    text.copy(piece.get(), length, at);
    check.Feed({piece.get(), length}, at);
    at += length;
  }
  check.Feed(std::string_view(text).substr(at), at);
  check.Finish(text.size());
  records = check.Records();
  Require(records == naive::Records(text, markers), "the number of records");
  std::sort(sink.places.begin(), sink.places.end());
  return sink.places;
}

void CompareSkims(const std::string& text, std::uint64_t fields) {
  SoundRecord sound{'\xA5', '\x8C', fields};
  sound.mayHold[0xE4] = true;
  const Skimmed expected = SkimByteByByte(text, sound);
  for (const SkimFunction skim : {&Skim, NarrowSkim(), WideSkim()}) {
    if (skim != nullptr) Require(expected == skim(text, sound), "what is passed over");
  }
}

void Compare(Input input) {
  static const std::vector<Encoding> encodings = {Encoding(), *Encoding::Named("utf-8"),
                                                  *Encoding::Named("utf-16le"),
                                                  *Encoding::Named("utf-16be")};
  const Encoding& encoding = encodings[input.TakeBelow(encodings.size())];
  static const std::vector<MarkerPair> pairs = {OuterPair(), {"|", ";"}, {"<f>", "[r]"}};
  const ByteMarkers markers = *EncodedMarkers(pairs[input.TakeBelow(pairs.size())], encoding);
  std::vector<std::size_t> cuts(input.TakeBelow(6));
  for (std::size_t& cut : cuts) cut = input.TakeBelow(200);
  const std::uint64_t fields = 1 + input.TakeBelow(4);
  std::string text;
  while (!input.IsUsedUp()) text += input.Take<char>();

  const auto expected = naive::Check(text, encoding, markers);
  NoFields listener;
  Require(expected == Check(text, encoding, markers, {}, nullptr), "the defects");
  Require(expected == Check(text, encoding, markers, cuts, nullptr), "the defects of pieces");
  Require(expected == Check(text, encoding, markers, cuts, &listener), "the defects, none skimmed");
  CompareSkims(text, fields);
}

}  // namespace
}  // namespace brindlex::tool

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brindlex::tool::Compare({data, size});
  return 0;
}
