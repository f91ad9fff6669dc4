#include "cli/format/file_format.h"

#include <algorithm>

#include "automation/text.h"
#include "cli/format/named_collections.h"
#include "cli/format/tokenizer.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::cli {
namespace {

// ---- Encoding ----------------------------------------------------------------------------------

bool HoldsOneOf(std::string_view text, const MarkerPair& pair) {
  return text.find(pair.fieldEnd) != std::string_view::npos ||
         text.find(pair.recordEnd) != std::string_view::npos;
}

bool LooksLikeUtf8(std::string_view head) {
  const std::string_view whole = head.substr(0, head.size() - UnfinishedUtf8(head));
  return ValidUtf8(whole) == whole.size() &&
         (HoldsOneOf(whole, OuterMarkers()) || HoldsOneOf(whole, InnerMarkers()));
}

void DetectEncoding(std::string_view head, const FormatOptions& options, FileFormat& format) {
  if (options.encoding) {
    format.encoding = RequireEncoding(*options.encoding);
  } else if (auto marked = Encoding::OfByteOrderMark(head)) {
    format.encoding = *marked;
  } else if (LooksLikeUtf8(head)) {
    format.encoding = *Encoding::Named("utf-8");
    format.isEncodingGuessed = true;
  }
  const std::string_view mark = format.encoding.ByteOrderMark();
  if (!mark.empty() && head.starts_with(mark)) format.markBytes = mark.size();
}

// ---- Markers -----------------------------------------------------------------------------------

/// The offset of the first record end that has a field end before it.
std::optional<std::size_t> HeaderLength(std::string_view text, const ByteMarkers& markers) {
  const std::size_t field = FindMarker(text, markers.fieldEnd, markers.unit);
  if (field == std::string_view::npos) return std::nullopt;
  const std::size_t record = FindMarker(text, markers.recordEnd, markers.unit, field);
  return record == std::string_view::npos ? std::nullopt : std::optional(record);
}

bool IsInner(std::string_view text, const ByteMarkers& outer, const ByteMarkers& inner) {
  const auto innerHeader = HeaderLength(text, inner);
  if (!innerHeader) return false;
  const auto outerHeader = HeaderLength(text, outer);
  return !outerHeader || *innerHeader < *outerHeader;
}

/// `text` is the head without a byte order mark.
void DetectMarkers(std::string_view text, const FormatOptions& options, FileFormat& format) {
  format.pair = OuterMarkers();
  if (options.fieldEnd || options.recordEnd) {
    if (options.fieldEnd) format.pair.fieldEnd = ParseMarker(*options.fieldEnd);
    if (options.recordEnd) format.pair.recordEnd = ParseMarker(*options.recordEnd);
    format.layer = Layer::kGiven;
  } else {
    const auto outer = FindByteMarkers(OuterMarkers(), format.encoding);
    const auto inner = FindByteMarkers(InnerMarkers(), format.encoding);
    if (inner && (!outer || IsInner(text, *outer, *inner))) {
      format.pair = InnerMarkers();
      format.layer = Layer::kInner;
    }
  }
  format.markers = RequireByteMarkers(format.pair, format.encoding);
}

/// A hint if `text` has no header as it is read, but has one in another encoding.
std::string EncodingHint(std::string_view text, const FileFormat& format) {
  if (text.empty() || HeaderLength(text, format.markers)) return {};
  for (const char* const name : {"utf-8", "utf-16le", "utf-16be", "windows-1252"}) {
    const Encoding encoding = *Encoding::Named(name);
    if (name == format.encoding.Name()) continue;
    const auto markers = FindByteMarkers(format.pair, encoding);
    if (markers && HeaderLength(text, *markers)) {
      return "no header is found in " + format.encoding.Name() + ", but there is one in " + name +
             ": try --encoding " + name;
    }
  }
  return {};
}

// ---- Several collections -----------------------------------------------------------------------

/// The names of the header, if it ends within the head; no more than a file of several has.
std::vector<std::string> HeaderNames(Input& input, const FileFormat& format) {
  constexpr std::size_t kMostNames = 1000;
  constexpr std::size_t kMostOfAName = 100;
  InputWindow window(input, ExtentOf(format.markBytes, kInputBlock));
  Tokenizer tokenizer(window, format.encoding, format.markers);
  std::vector<std::string> names;
  std::string name;
  for (;;) {
    const Token token = tokenizer.Next();
    if (token.kind == Token::Kind::kRecord) return names;
    if (token.kind == Token::Kind::kEnd || names.size() == kMostNames) return {};
    if (name.size() < kMostOfAName)
      format.encoding.ToUtf8(token.bytes.substr(0, kMostOfAName), name);
    if (token.kind != Token::Kind::kField) continue;
    names.push_back(std::move(name));
    name.clear();
  }
}

bool AreAllCollections(Input& input, const FileFormat& format) {
  NamedCollectionScanner scanner(input, format);
  for (NamedCollection one; scanner.Next(one);) {
    if (one.hasData && one.data.length > 0 && !one.hasHeader) return false;
  }
  return true;
}

void DetectCollections(Input& input, const FormatOptions& options, FileFormat& format) {
  if (options.reading == Reading::kPlain) return;
  const auto inner = FindByteMarkers(InnerMarkers(), format.encoding);
  if (inner && format.pair == OuterMarkers()) {
    format.named = FindNamedColumns(HeaderNames(input, format));
    format.inner = inner;
  }
  const bool isNamed = format.named && (options.reading == Reading::kCollections ||
                                        AreAllCollections(input, format));
  if (isNamed) return;
  format.named.reset();
  format.inner.reset();
  if (options.reading == Reading::kCollections) {
    throw UsageError(ShownPath(input.Name()) +
                     " has no header with DataString and Name, which --collections needs");
  }
}

}  // namespace

Encoding RequireEncoding(const std::string& name) {
  if (auto encoding = Encoding::Named(name)) return *encoding;
  std::string known;
  for (const std::string& one : Encoding::Names()) known.append(" ").append(one);
  throw UsageError("there is no encoding " + Quoted(name) + "; known are" + known);
}

std::optional<NamedColumns> FindNamedColumns(const std::vector<std::string>& names) {
  const auto find = [&](std::string_view sought) {
    return static_cast<std::size_t>(
        std::find_if(names.begin(), names.end(),
                     [&](const std::string& name) { return IsSameName(name, sought); }) -
        names.begin());
  };
  const std::size_t data = find(kDataColumn);
  const std::size_t name = find(kNameColumn);
  if (data == names.size() || name == names.size()) return std::nullopt;
  return NamedColumns{data, name, names.size(), names[name] == kNameColumn};
}

FileFormat DetectFormat(Input& input, const FormatOptions& options) {
  FileFormat format;
  const std::string_view head = input.Head();
  DetectEncoding(head, options, format);
  const std::string_view text = head.substr(format.markBytes);
  DetectMarkers(text, options, format);
  DetectCollections(input, options, format);
  format.hint = EncodingHint(text, format);
  return format;
}

}  // namespace brindlex::cli
