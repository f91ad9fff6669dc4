#include "cli/format/delimited_writer.h"

#include <optional>
#include <utility>
#include <vector>

#include "cli/format/name_tables.h"
#include "cli/format/named_collections.h"
#include "cli/format/tokenizer.h"
#include "cli/format/value_encoder.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::cli {
namespace {

class DelimitedWriter final : public TableWriter {
 public:
  DelimitedWriter(ByteHandler writeBytes, const DelimitedForm& form)
      : TableWriter([this, writeBytes = std::move(writeBytes)](std::string_view bytes) {
          head_ += bytes.substr(0, kInputBlock - head_.size());
          writeBytes(bytes);
        }),
        form_(form),
        outer_(RequireByteMarkers(form.pair.value_or(OuterMarkers()), form.encoding, form.choice)),
        markers_(outer_),
        encoder_(form.encoding, form.choice),
        checksWholeRecords_(!AreUnambiguous(outer_)),
        followsRecord_(form.isInner) {
    encoder_.Forbid(form.pair.value_or(OuterMarkers()));
    if (form_.isInner) {
      markers_ = RequireByteMarkers(InnerMarkers(), form.encoding, form.choice);
      encoder_.Forbid(InnerMarkers());
      layers_ = 2;
    } else if (form_.hasByteOrderMark) {
      Buffer() += form_.encoding.ByteOrderMark();
    }
  }

  void BeginNamed() override {
    if (form_.isInner) {
      throw UsageError("the file to be added holds several collections: extract one of them first");
    }
    if (form_.pair || form_.lineBreaks > 0) {
      throw UsageError(
          "a file of several collections has markers of its own and no line breaks; leave " +
          OptionName(form_.choice, "field-end") + ", " + OptionName(form_.choice, "record-end") +
          " and --line-breaks out");
    }
    if (form_.reading == Reading::kPlain) {
      throw UsageError("several collections cannot be written as a single one; leave --plain out");
    }
    isNamed_ = true;
  }

  void BeginCollection(std::string_view name) override {
    if (!isNamed_) return;
    // Checked now, so that a name that cannot be written is found before its collection is.
    const std::string what = "the collection " + Quoted(name);
    collectionName_.Truncate(0);
    // A name is in the outer layer alone.
    if (const auto problem = encoder_.Append(name, 1, 0, collectionName_)) {
      throw ConversionError(what + ": its name " + *problem);
    }
    if (!collections_.insert(Utf16OfUtf8(name)).second) {
      throw ConversionError(what + " comes twice: the component reads nothing of such a file");
    }
    if (collections_.size() > 1) return;
    names_ = {std::string(kDataColumn), std::string(kNameColumn)};
    BeginRow();
    for (const std::string& column : names_) AppendValue(column, true);
    EndRow();
    markers_ = RequireByteMarkers(InnerMarkers(), form_.encoding, form_.choice);
    encoder_.Forbid(InnerMarkers());
    layers_ = 2;
  }

  void Header(const std::vector<std::string>& names, std::uint64_t /*offset*/) override {
    names_ = names;
    const bool isSingle = !isNamed_ && !form_.isInner && !form_.pair;
    namedColumns_ = isSingle ? FindNamedColumns(names) : std::nullopt;
    try {
      BeginRow();
      for (const std::string& name : names) AppendValue(name, true);
      EndRow();
    } catch (const RefusedValue& refused) {
      throw ConversionError(refused.At("the header"));
    }
  }

  void BeginRow() override {
    for (; pendingBreaks_ > 0; --pendingBreaks_) Buffer() += markers_.lineBreak;
    record_ = value_ = Buffer().Size();
    column_ = 0;
    ends_.clear();
    isStartChecked_ = false;
  }

  void Value(std::string_view piece, bool isFirst, bool isLast) override {
    if (namedColumns_ && column_ == namedColumns_->data) NoteReading(piece, isFirst, isLast);
    AppendValue(piece, isLast);
    if (checksWholeRecords_) return;
    constexpr std::size_t kLongValue = 65536;
    if (Buffer().Size() - record_ < kLongValue) return;
    CheckStart();
    HandOver(encoder_.Overlap());
    record_ = 0;
    value_ = isLast ? Buffer().Size() : 0;
  }

  void EndRow() override {
    CheckStart();
    Buffer() += markers_.recordEnd;
    if (checksWholeRecords_) CheckWholeRecord();
    followsRecord_ = true;
    pendingBreaks_ = form_.lineBreaks;
    HandOver();
  }

  void EndCollection() override {
    if (!isNamed_) return;
    ByteBuffer& bytes = Buffer();
    bytes += outer_.fieldEnd;
    bytes += collectionName_.View();
    bytes += outer_.fieldEnd;
    bytes += outer_.recordEnd;
    followsRecord_ = true;
    HandOver();
  }

  void End() override {
    const bool looksNamed = namedColumns_ && FindByteMarkers(InnerMarkers(), form_.encoding);
    if (looksNamed && form_.reading != Reading::kPlain && !form_.isGiven) {
      throw ConversionError(
          "the columns DataString and Name, with what is in them, would be read as a file of "
          "several "
          "collections; --plain writes them as one, to be read with --plain");
    }
    if (followsRecord_ && form_.tail) {
      Buffer() += *form_.tail;
    } else {
      for (; pendingBreaks_ > 0; --pendingBreaks_) Buffer() += markers_.lineBreak;
    }
    HandOverNow();
    if (!names_.empty() && !form_.isInner && !form_.isGiven) CheckDetection();
  }

 private:
  /// Refuses a file that would be read otherwise than it was written.
  void CheckDetection() const {
    const MarkerPair pair = form_.pair.value_or(OuterMarkers());
    FormatOptions options;
    options.reading = Reading::kPlain;
    // What cannot be detected has to be named when the file is read.
    if (!form_.hasByteOrderMark && form_.encoding.Name() != Encoding().Name()) {
      options.encoding = form_.encoding.Name();
    }
    if (pair != OuterMarkers() && pair != InnerMarkers()) {
      options.fieldEnd = pair.fieldEnd;
      options.recordEnd = pair.recordEnd;
    }
    Input input({}, head_, kInputBlock);
    const FileFormat format = DetectFormat(input, options);
    const bool isSame = format.encoding.Name() == form_.encoding.Name() && format.pair == pair &&
                        (format.markBytes > 0) == form_.hasByteOrderMark;
    if (isSame) return;
    throw ConversionError(
        "the file would be read as " + format.encoding.Name() + " with the markers " +
        Quoted(format.pair.fieldEnd) + " and " + Quoted(format.pair.recordEnd) +
        ", since it begins like one" +
        (format.encoding.Name() != form_.encoding.Name()
             ? "; " + OptionName(form_.choice, "encoding") + " utf-8 --bom is always recognized"
             : ""));
  }

  void AppendValue(std::string_view piece, bool isLast) {
    ByteBuffer& bytes = Buffer();
    // Markers that overlap are looked for in whole records.
    const std::size_t layers = checksWholeRecords_ ? 0 : layers_;
    if (const auto problem = encoder_.Append(piece, layers, value_, bytes)) Refuse(*problem);
    if (!isLast) return;
    if (checksWholeRecords_) ends_.push_back(bytes.Size());
    bytes += markers_.fieldEnd;
    value_ = bytes.Size();
    ++column_;
  }

  void CheckStart() {
    if (isStartChecked_) return;
    isStartChecked_ = true;
    const std::string_view record = Buffer().View().substr(record_);
    if (followsRecord_ && record.starts_with(markers_.lineBreak)) {
      Refuse("begins with a line break, which is dropped after a record end", false);
    }
  }

  /// Refuses a record that would be read back differently, by reading it.
  void CheckWholeRecord() {
    Input input({}, std::string(Buffer().View().substr(record_)), kInputBlock);
    InputWindow window(input, kWholeInput);
    Tokenizer tokenizer(window, form_.encoding, markers_);
    std::size_t read = 0;
    Token token;
    do {
      token = tokenizer.Next();
      if (token.kind != Token::Kind::kField) continue;
      if (read < ends_.size() && record_ + token.End() == ends_[read]) ++read;
    } while (token.kind == Token::Kind::kField || token.kind == Token::Kind::kPiece);
    const bool isSame = token.kind == Token::Kind::kRecord && token.bytes.empty() &&
                        read == ends_.size() && tokenizer.Next().bytes.empty();
    if (!isSame) Refuse("would be read back differently with these markers", false);
  }

  /// Follows a value of the column DataString of a single collection.
  void NoteReading(std::string_view piece, bool isFirst, bool isLast) {
    const MarkerPair inner = InnerMarkers();
    if (isFirst) hasInnerFieldEnd_ = hasInnerHeader_ = isFirst && isLast && piece.empty();
    if (!hasInnerHeader_) {
      const std::size_t end = piece.find(inner.recordEnd);
      const bool hasField = piece.substr(0, end).find(inner.fieldEnd) != std::string_view::npos;
      hasInnerFieldEnd_ = hasInnerFieldEnd_ || hasField;
      hasInnerHeader_ = hasInnerFieldEnd_ && end != std::string_view::npos;
      // A record end without a field end before it begins no header.
      if (end != std::string_view::npos && !hasInnerHeader_) return namedColumns_.reset();
    }
    if (isLast && !hasInnerHeader_) namedColumns_.reset();
  }

  [[noreturn]] void Refuse(const std::string& problem, bool isAboutValue = true) const {
    throw RefusedValue{isAboutValue ? names_[column_] : std::string(), problem};
  }

  const DelimitedForm form_;
  /// Of a single collection or the outer layer; and where rows go.
  const ByteMarkers outer_;
  ByteMarkers markers_;
  ValueEncoder encoder_;
  /// Pairs of markers that no value may hold.
  std::size_t layers_ = 1;
  bool isNamed_ = false;
  /// Names of the collections so far, and that of the present one as it is written.
  FoldedNameSet collections_;
  ByteBuffer collectionName_;
  std::vector<std::string> names_;

  /// What is written so far, as much as a format is detected from.
  std::string head_;

  // The present record: where it and its value start in the buffer, and its field ends if its
  // markers can only be checked on whole records.
  bool checksWholeRecords_;
  std::size_t record_ = 0;
  std::size_t value_ = 0;
  std::size_t column_ = 0;
  std::vector<std::size_t> ends_;
  bool isStartChecked_ = false;
  /// A record end comes before it; and line breaks that are not written yet.
  bool followsRecord_;
  int pendingBreaks_ = 0;

  // Whether a single collection would be read as several: the columns say so, and every DataString
  // so far is empty or starts with a header in inner markers.
  std::optional<NamedColumns> namedColumns_;
  bool hasInnerFieldEnd_ = false;
  bool hasInnerHeader_ = false;
};

}  // namespace

std::unique_ptr<TableWriter> MakeDelimitedWriter(ByteHandler writeBytes,
                                                 const DelimitedForm& form) {
  return std::make_unique<DelimitedWriter>(std::move(writeBytes), form);
}

}  // namespace brindlex::cli
