#include "cli/format/layout.h"

#include <algorithm>
#include <charconv>

#include "automation/text.h"
#include "cli/text/diagnostics.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::tool {
namespace {

constexpr std::string_view kData = "DataString";
constexpr std::string_view kName = "Name";

[[noreturn]] void RefuseMarker(std::string_view given, std::string_view why) {
  throw Failure(ExitCode::kUsage,
                "the marker " + Quoted(given) + " cannot be used: " + std::string(why));
}

/// The characters of U+001FU+001E; nothing when `given` is not of that form.
std::optional<std::string> NumberedText(std::string_view given) {
  std::string text;
  std::string_view rest = given;
  while (!rest.empty()) {
    if (rest.substr(0, 2) != "U+" && rest.substr(0, 2) != "u+") return std::nullopt;
    rest.remove_prefix(2);
    std::uint32_t number = 0;
    constexpr int kHexadecimal = 16;
    const auto [end, error] =
        std::from_chars(rest.data(), rest.data() + rest.size(), number, kHexadecimal);
    const auto digits = static_cast<std::size_t>(end - rest.data());
    if (error != std::errc() || digits < 4) return std::nullopt;
    if (number > 0x10FFFF || (number >= 0xD800 && number < 0xE000)) {
      RefuseMarker(given, "there is no character of that number");
    }
    AppendUtf8(number, text);
    rest.remove_prefix(digits);
  }
  return text;
}

/// Whether some end of `left`, shorter than both, is a beginning of `right`.
bool RunsInto(const std::string& left, const std::string& right) {
  for (std::size_t common = 1; common < std::min(left.size(), right.size()); ++common) {
    if (left.compare(left.size() - common, common, right, 0, common) == 0) return true;
  }
  return false;
}

bool AreTellable(const MarkerPair& pair) {
  const std::string& field = pair.fieldEnd;
  const std::string& record = pair.recordEnd;
  if (field.find(record) != std::string::npos || record.find(field) != std::string::npos) {
    return false;
  }
  return !RunsInto(field, record) && !RunsInto(record, field) && !RunsInto(field, field) &&
         !RunsInto(record, record);
}

}  // namespace

MarkerPair OuterPair() { return {"\u00A5", "\u0152"}; }

MarkerPair InnerPair() { return {"\u00BB", "\u0160"}; }

std::string MarkerText(std::string_view given) {
  if (given.empty()) RefuseMarker(given, "it is empty");
  if (ValidUtf8(given) < given.size()) RefuseMarker("?", "it is no text");
  return NumberedText(given).value_or(std::string(given));
}

std::optional<ByteMarkers> EncodedMarkers(const MarkerPair& pair, const Encoding& encoding) {
  ByteMarkers markers;
  markers.unit = encoding.UnitSize();
  markers.lineBreak.clear();
  encoding.FromUtf8("\r\n", markers.lineBreak);
  const bool areThere =
      encoding.FromUtf8(pair.fieldEnd, markers.fieldEnd) == pair.fieldEnd.size() &&
      encoding.FromUtf8(pair.recordEnd, markers.recordEnd) == pair.recordEnd.size();
  return areThere ? std::optional(markers) : std::nullopt;
}

ByteMarkers CheckedMarkers(const MarkerPair& pair, const Encoding& encoding) {
  if (!AreTellable(pair)) {
    throw Failure(ExitCode::kUsage,
                  "the markers " + Quoted(pair.fieldEnd) + " and " + Quoted(pair.recordEnd) +
                      " cannot be told apart wherever they stand: one is a part of the other, or "
                      "an end of one begins one of them");
  }
  auto markers = EncodedMarkers(pair, encoding);
  if (!markers) {
    throw Failure(ExitCode::kUsage, "the markers " + Quoted(pair.fieldEnd) + " and " +
                                        Quoted(pair.recordEnd) + " are not both characters of " +
                                        encoding.Name() +
                                        "; give others with --field-end and --record-end, or "
                                        "another --encoding");
  }
  return *markers;
}

namespace {

/// Gathers the first records, as far as they are there.
class FirstRecords {
 public:
  explicit FirstRecords(std::size_t most) : most_(most) {}

  void FieldPiece(std::string_view bytes, std::uint64_t) {
    if (records.size() < most_) field.append(bytes);
  }
  void FieldEnd(std::uint64_t) {
    fields.push_back(std::move(field));
    field.clear();
  }
  void RecordEnd(std::uint64_t) {
    if (records.size() < most_) records.push_back(std::move(fields));
    fields.clear();
    field.clear();
  }
  void LineBreak(std::uint64_t) {}

  std::vector<std::vector<std::string>> records;
  /// Of the record that is under way.
  std::vector<std::string> fields;
  std::string field;

 private:
  std::size_t most_;
};

FirstRecords Gather(std::string_view head, const ByteMarkers& markers, std::size_t most) {
  FirstRecords found(most);
  MarkerWalk walk(markers);
  // Behind the records that are sought nothing is of interest: no more than a part is walked over.
  constexpr std::size_t kPart = 4096;
  for (; !head.empty() && found.records.size() < most;
       head.remove_prefix(std::min(kPart, head.size()))) {
    walk.Feed(head.substr(0, kPart), found);
  }
  return found;
}

/// Where the first record end stands that a field end comes before.
std::optional<std::size_t> HeaderLength(std::string_view head, const ByteMarkers& markers) {
  const std::size_t field = FindMarker(head, markers.fieldEnd, markers.unit);
  if (field == std::string_view::npos) return std::nullopt;
  const std::size_t record = FindMarker(head, markers.recordEnd, markers.unit, field);
  return record == std::string_view::npos ? std::nullopt : std::optional(record);
}

bool IsInner(std::string_view head, const ByteMarkers& outer, const ByteMarkers& inner) {
  const auto innerHeader = HeaderLength(head, inner);
  if (!innerHeader) return false;
  const auto outerHeader = HeaderLength(head, outer);
  return !outerHeader || *innerHeader < *outerHeader;
}

bool IsCalled(const Encoding& encoding, const std::string& bytes, std::string_view name) {
  std::string text;
  return encoding.ToUtf8(bytes, text) == bytes.size() &&
         EqualIgnoringCase(Utf16OfUtf8(text), Utf16OfUtf8(name));
}

bool IsSpelled(const Encoding& encoding, const std::string& bytes, std::string_view name) {
  std::string text;
  return encoding.ToUtf8(bytes, text) == bytes.size() && text == name;
}

std::optional<BlockColumns> ColumnsOf(const Encoding& encoding,
                                      const std::vector<std::string>& names) {
  std::optional<std::size_t> data;
  std::optional<std::size_t> name;
  for (std::size_t column = 0; column < names.size(); ++column) {
    if (!data && IsCalled(encoding, names[column], kData)) data = column;
    if (!name && IsCalled(encoding, names[column], kName)) name = column;
  }
  if (!data || !name) return std::nullopt;
  return BlockColumns{*data, *name, names.size(), IsSpelled(encoding, names[*name], kName)};
}

void FindBlocks(std::string_view head, Layout& layout) {
  const auto inner = EncodedMarkers(InnerPair(), layout.encoding);
  if (!inner) return;
  const FirstRecords first = Gather(head, layout.markers, 2);
  if (first.records.empty()) return;
  const auto columns = ColumnsOf(layout.encoding, first.records.front());
  if (!columns) return;
  const auto& fields = first.records.size() > 1 ? first.records[1] : first.fields;
  // A block whose data does not end in `head` is a long one.
  const bool isLong = fields.size() <= columns->data;
  const auto holds = [&](const std::string& marker) {
    return FindMarker(fields[columns->data], marker, inner->unit) != std::string_view::npos;
  };
  if (!isLong && !fields[columns->data].empty() && !holds(inner->fieldEnd) &&
      !holds(inner->recordEnd)) {
    return;
  }
  layout.blocks = columns;
  layout.inner = inner;
}

/// A sentence when `head` is none of this form as it is read, but would be in another encoding.
std::string DoubtAbout(std::string_view head, const Layout& layout) {
  if (head.empty() || HeaderLength(head, layout.markers)) return {};
  for (const char* const name : {"utf-8", "utf-16le", "utf-16be", "windows-1252"}) {
    const Encoding encoding = *Encoding::Named(name);
    if (name == layout.encoding.Name()) continue;
    const auto markers = EncodedMarkers(layout.pair, encoding);
    if (markers && HeaderLength(head, *markers)) {
      return "no header is found in " + layout.encoding.Name() + ", but there is one in " + name +
             ": try --encoding " + name;
    }
  }
  return {};
}

Encoding EncodingOf(std::string_view head, const FormatOptions& options) {
  if (!options.encoding) return Encoding::Marked(head).value_or(Encoding());
  auto encoding = Encoding::Named(*options.encoding);
  if (encoding) return *encoding;
  std::string known;
  for (const std::string& name : Encoding::Names()) known.append(" ").append(name);
  throw Failure(ExitCode::kUsage,
                "there is no encoding " + Quoted(*options.encoding) + "; known are" + known);
}

/// The pair that `head` is written with, of the two that nobody has to name.
MarkerPair UsualPair(std::string_view head, Layout& layout) {
  const auto outer = EncodedMarkers(OuterPair(), layout.encoding);
  const auto inner = EncodedMarkers(InnerPair(), layout.encoding);
  const bool isInner = inner && (!outer || IsInner(head, *outer, *inner));
  layout.layer = isInner ? Layer::kInner : Layer::kOuter;
  return isInner ? InnerPair() : OuterPair();
}

}  // namespace

std::size_t FindMarker(std::string_view text, std::string_view marker, std::size_t unit,
                       std::size_t from) {
  for (;;) {
    const std::size_t at = text.find(marker, from);
    if (at == std::string_view::npos || at % unit == 0) return at;
    from = at + 1;
  }
}

Layout FindLayout(std::string_view head, const FormatOptions& options) {
  Layout layout;
  layout.encoding = EncodingOf(head, options);
  const std::string_view mark = layout.encoding.ByteOrderMark();
  if (!mark.empty() && head.substr(0, mark.size()) == mark) layout.markBytes = mark.size();
  head.remove_prefix(layout.markBytes);
  if (options.fieldEnd || options.recordEnd) {
    layout.pair = OuterPair();
    if (options.fieldEnd) layout.pair.fieldEnd = MarkerText(*options.fieldEnd);
    if (options.recordEnd) layout.pair.recordEnd = MarkerText(*options.recordEnd);
    layout.layer = Layer::kGiven;
  } else {
    layout.pair = UsualPair(head, layout);
  }
  layout.markers = CheckedMarkers(layout.pair, layout.encoding);
  const MarkerPair outer = OuterPair();
  if (layout.pair.fieldEnd == outer.fieldEnd && layout.pair.recordEnd == outer.recordEnd) {
    FindBlocks(head, layout);
  }
  layout.doubt = DoubtAbout(head, layout);
  return layout;
}

}  // namespace brindlex::tool
