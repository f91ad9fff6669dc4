#include "cli/convert/json_input.h"

#include <cstdint>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "cli/format/name_tables.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

using Json = nlohmann::json;

/// The members of an object that carries the form of a file.
constexpr std::string_view kFormat = "format";
constexpr std::string_view kRecords = "records";

/// The bytes of a source, one after the other, for a parser that copies iterators.
class ByteStream {
 public:
  explicit ByteStream(const BlockSource& source) : source_(source) { Refill(); }

  bool AtEnd() const { return block_.empty(); }
  char Current() const { return block_.front(); }

  void Advance() {
    block_.remove_prefix(1);
    ++read_;
    if (block_.empty()) Refill();
  }

  /// How many bytes were read.
  std::uint64_t Count() const { return read_; }

 private:
  void Refill() { block_ = source_(); }

  const BlockSource& source_;
  std::string_view block_;
  std::uint64_t read_ = 0;
};

/// The stream as an iterator; all copies share its position, and the one without a stream is the
/// end.
class StreamIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = char;

  StreamIterator() = default;
  explicit StreamIterator(ByteStream& stream) : stream_(&stream) {}

  char operator*() const { return stream_->Current(); }
  StreamIterator& operator++() {
    stream_->Advance();
    return *this;
  }
  void operator++(int) { stream_->Advance(); }
  bool operator==(const StreamIterator& other) const { return IsEnd() == other.IsEnd(); }
  bool operator!=(const StreamIterator& other) const { return !(*this == other); }

 private:
  bool IsEnd() const { return stream_ == nullptr || stream_->AtEnd(); }

  ByteStream* stream_ = nullptr;
};

/// Makes rows of the parser's events.
class TableReader : public nlohmann::json_sax<Json> {
 public:
  TableReader(const JsonStyle& style, const WriterMaker& makeWriter, const ByteStream& stream)
      : style_(style), makeWriter_(makeWriter), stream_(stream) {}

  /// To be called after the last of the input's values.
  void Finish() {
    if (within_ == Within::kLines) EndCollection();
  }

  /// True if the last value was a row without an array around it, so that more may follow.
  bool MayGoOn() const { return within_ == Within::kLines; }

  bool null() override {
    if (!style_.null) Fail("a null, which has no text; --null TEXT gives it one");
    return Value(std::string(*style_.null));
  }
  bool boolean(bool value) override { return Value(value ? "True" : "False"); }
  bool number_integer(number_integer_t value) override { return Value(std::to_string(value)); }
  bool number_unsigned(number_unsigned_t value) override { return Value(std::to_string(value)); }
  bool number_float(number_float_t /*value*/, const string_t& text) override {
    return Value(std::string(text));
  }
  bool string(string_t& value) override { return Value(std::move(value)); }
  bool binary(binary_t& /*value*/) override { Fail("binary data"); }

  bool start_object(std::size_t /*size*/) override {
    switch (within_) {
      case Within::kNothing:
        within_ = Within::kObject;
        return true;
      case Within::kObject:
        if (name_ != kFormat) FailObject();
        form_.emplace();
        within_ = Within::kForm;
        return true;
      case Within::kWrapped:
        BeginNamed();
        return true;
      case Within::kLines:
      case Within::kRows:
        BeginRow(/*byName=*/true);
        return true;
      default:
        FailObject();
    }
  }

  bool key(string_t& name) override {
    if (within_ == Within::kWrapped && (writer_ != nullptr || name != kRecords)) {
      Fail("something other than the records after a format");
    }
    if (within_ != Within::kRow) {
      name_ = std::move(name);
    } else {
      Name(name);
    }
    return true;
  }

  bool end_object() override {
    if (within_ == Within::kObject) {
      // Nothing is in it: no collection at all.
      BeginNamed();
      within_ = Within::kNothing;
    } else if (within_ == Within::kNamed) {
      within_ = form_ ? Within::kWrapped : Within::kNothing;
    } else if (within_ == Within::kForm) {
      within_ = Within::kWrapped;
    } else if (within_ == Within::kWrapped) {
      if (writer_ == nullptr) Fail("a format without records");
      within_ = Within::kNothing;
    } else {
      EndRow();
    }
    return true;
  }

  bool start_array(std::size_t /*size*/) override {
    switch (within_) {
      case Within::kNothing:
      case Within::kWrapped:
        BeginCollection({}, Within::kRows);
        return true;
      case Within::kObject:
        BeginNamed();
        BeginCollection(name_, Within::kRows);
        return true;
      case Within::kNamed:
        BeginCollection(name_, Within::kRows);
        return true;
      case Within::kRows:
      case Within::kLines:
        BeginRow(/*byName=*/false);
        return true;
      default:
        Fail("an array where a value is expected: a value is a text, a number, true or false");
    }
  }

  bool end_array() override {
    if (within_ == Within::kRows) {
      EndCollection();
      within_ = named_ ? Within::kNamed : form_ ? Within::kWrapped : Within::kNothing;
    } else {
      EndRow();
    }
    return true;
  }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const Json::exception& error) override {
    // The library's own position counts from where it was last started.
    const std::string_view what = error.what();
    const std::size_t reason = what.rfind(": ");
    constexpr std::size_t kMost = 200;
    Fail("not well-formed JSON: " +
         Escaped(reason == std::string_view::npos ? what : what.substr(reason + 2), kMost));
  }

 private:
  /// What the next event is in.
  enum class Within {
    kNothing,
    /// An object of which it is not known yet whether it is a row or holds named collections.
    kObject,
    kNamed,
    kRows,
    /// Rows without an array around them.
    kLines,
    kRow,
    /// The members of a form, and the object that it is in.
    kForm,
    kWrapped,
  };

  [[noreturn]] void FailObject() const {
    if (within_ == Within::kNamed && name_ == kFormat) {
      Fail("the format of a file after its records; it has to come first");
    }
    Fail("an object where a value is expected: a value is a text, a number, true or false");
  }

  [[noreturn]] void Fail(const std::string& what) const {
    throw ConversionError(Place() + ": " + what);
  }

  std::string Place() const {
    std::string where = "byte " + std::to_string(stream_.Count());
    if (rows_ == 0) return where;
    where += ", row " + std::to_string(rows_);
    if (named_) where += " of " + Quoted(collection_);
    return where;
  }

  void MakeWriter() {
    if (writer_ == nullptr) writer_ = &makeWriter_(form_ ? &*form_ : nullptr);
  }

  void BeginNamed() {
    MakeWriter();
    named_ = true;
    within_ = Within::kNamed;
    writer_->BeginNamed();
  }

  void BeginCollection(const std::string& name, Within within) {
    rows_ = 0;
    headed_ = false;
    collection_ = name;
    within_ = within;
    MakeWriter();
    writer_->BeginCollection(name);
  }

  void EndCollection() { writer_->EndCollection(); }

  void BeginRow(bool byName) {
    if (headed_ && byName != byName_) Fail("objects and arrays as rows of one collection");
    byName_ = byName;
    ++rows_;
    outer_ = within_;
    within_ = Within::kRow;
    next_ = 0;
    written_ = 0;
    if (headed_) {
      isKept_.assign(names_.size(), false);
      writer_->BeginRow();
      return;
    }
    names_.clear();
    values_.clear();
    indices_.clear();
  }

  /// The name of the value that comes next, in a row with names.
  void Name(const std::string& name) {
    if (!headed_) {
      next_ = names_.size();
      if (!indices_.emplace(name, next_).second) Fail(Quoted(name) + " twice in one object");
      names_.push_back(name);
      values_.emplace_back();
      return;
    }
    // The usual order needs no look-up.
    if (next_ >= names_.size() || names_[next_] != name) {
      const auto found = indices_.find(name);
      if (found == indices_.end()) Fail(Quoted(name) + ", which the first row does not have");
      next_ = found->second;
    }
    if (next_ < written_ || isKept_[next_]) Fail(Quoted(name) + " twice in one object");
  }

  bool Value(std::string value) {
    // An object that is not in an array and holds a value is the first of rows without an array.
    if (within_ == Within::kObject) {
      BeginCollection({}, Within::kLines);
      BeginRow(/*byName=*/true);
      Name(name_);
    }
    if (within_ == Within::kForm) {
      SetFormMember(*form_, name_, value);
      return true;
    }
    if (within_ != Within::kRow) Fail("a value where a row or a collection is expected");
    if (!byName_ && !headed_) {
      names_.push_back(std::move(value));
      return true;
    }
    if (next_ >= values_.size()) FailCount(next_ + 1);
    if (headed_ && next_ == written_) {
      Write(value);
    } else {
      values_[next_] = std::move(value);
      if (headed_) isKept_[next_] = true;
    }
    ++next_;
    return true;
  }

  /// Writes the next value of the row, and those that came before it and follow it.
  void Write(std::string_view value) {
    try {
      writer_->Value(value, /*isFirst=*/true, /*isLast=*/true);
      for (++written_; written_ < isKept_.size() && isKept_[written_]; ++written_) {
        writer_->Value(values_[written_], /*isFirst=*/true, /*isLast=*/true);
      }
    } catch (const RefusedValue& refused) {
      throw ConversionError(refused.At(Place()));
    }
  }

  [[noreturn]] void FailCount(std::size_t count) const {
    Fail("more than " + std::to_string(count - 1) + " values, which is what the first row has");
  }

  void EndRow() {
    const bool isNewHeader = !headed_;
    if (isNewHeader) TakeHeader();
    // Of arrays, the first row is the header alone.
    if (!isNewHeader || byName_) {
      if (isNewHeader) WriteFirst();
      if (written_ < names_.size()) Fail("lacks the value of " + Quoted(names_[written_]));
      try {
        writer_->EndRow();
      } catch (const RefusedValue& refused) {
        throw ConversionError(refused.At(Place()));
      }
    }
    within_ = outer_;
  }

  void TakeHeader() {
    if (names_.empty()) Fail("the first row has no names");
    values_.resize(names_.size());
    isKept_.assign(names_.size(), false);
    headed_ = true;
    writer_->Header(names_, 0);
  }

  void WriteFirst() {
    writer_->BeginRow();
    isKept_.assign(names_.size(), true);
    Write(values_.front());
  }

  const JsonStyle& style_;
  const WriterMaker& makeWriter_;
  TableWriter* writer_ = nullptr;
  const ByteStream& stream_;
  std::optional<DelimitedForm> form_;
  Within within_ = Within::kNothing;
  Within outer_ = Within::kNothing;
  bool named_ = false;
  /// The last key outside rows, and the collection that is being read.
  std::string name_;
  std::string collection_;
  std::uint64_t rows_ = 0;
  /// Whether the names are known, and whether the rows are objects.
  bool headed_ = false;
  bool byName_ = false;
  std::vector<std::string> names_;
  NameMap<std::size_t> indices_;
  // The present row: the column of the next value, how many values are written, and which of the
  // others came already.
  std::size_t next_ = 0;
  std::size_t written_ = 0;
  std::vector<std::string> values_;
  std::vector<bool> isKept_;
};

bool IsBlank(char byte) { return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n'; }

bool SkipBlanks(ByteStream& stream) {
  while (!stream.AtEnd() && IsBlank(stream.Current())) stream.Advance();
  return !stream.AtEnd();
}

}  // namespace

void ReadJson(const BlockSource& source, const JsonStyle& style, const WriterMaker& makeWriter) {
  ByteStream stream(source);
  if (!SkipBlanks(stream)) {
    TableWriter& writer = makeWriter(nullptr);
    writer.BeginCollection({});
    writer.EndCollection();
    return;
  }
  TableReader reader(style, makeWriter, stream);
  do {
    Json::sax_parse(StreamIterator(stream), StreamIterator(), &reader, Json::input_format_t::json,
                    /*strict=*/false);
  } while (SkipBlanks(stream) && reader.MayGoOn());
  if (!stream.AtEnd()) {
    throw ConversionError("byte " + std::to_string(stream.Count()) +
                          ": something follows the end of the JSON");
  }
  reader.Finish();
}

}  // namespace brindlex::cli
