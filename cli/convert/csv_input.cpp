#include "cli/convert/csv_input.h"

#include <csv.h>

#include <exception>
#include <new>
#include <string>
#include <vector>

#include "cli/io/failure.h"

namespace brindlex::cli {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// How much the parser is given at once: an error of the writer is noticed after it.
constexpr std::size_t kSlice = 16384;

int NoSpace(unsigned char /*byte*/) { return 0; }

class CsvReader {
 public:
  CsvReader(const CsvStyle& style, TableWriter& writer) : style_(style), writer_(writer) {
    if (csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI) != 0) throw std::bad_alloc();
    csv_set_delim(&parser_, static_cast<unsigned char>(style.delimiter));
    // Blanks around a value belong to it.
    csv_set_space_func(&parser_, NoSpace);
    csv_set_blk_size(&parser_, kSlice);
  }
  CsvReader(const CsvReader&) = delete;
  CsvReader& operator=(const CsvReader&) = delete;
  ~CsvReader() { csv_free(&parser_); }

  void Read(const BlockSource& source) {
    writer_.BeginCollection({});
    std::string start;
    for (std::string_view block = source(); !block.empty(); block = source()) {
      if (isBegun_) {
        Parse(block);
        continue;
      }
      start += block;
      if (start.size() >= kByteOrderMark.size()) Begin(start);
    }
    if (!isBegun_) Begin(start);
    const int failed = csv_fini(&parser_, OnField, OnRecord, this);
    Check();
    if (failed != 0) Fail("the quotation mark that opens a value is not closed");
    writer_.EndCollection();
  }

 private:
  void Begin(std::string_view start) {
    isBegun_ = true;
    if (start.starts_with(kByteOrderMark)) start.remove_prefix(kByteOrderMark.size());
    Parse(start);
  }

  void Parse(std::string_view block) {
    while (!block.empty()) {
      const std::string_view slice = block.substr(0, kSlice);
      const std::size_t parsed =
          csv_parse(&parser_, slice.data(), slice.size(), OnField, OnRecord, this);
      Check();
      if (parsed != slice.size()) {
        if (csv_error(&parser_) != CSV_EPARSE) throw std::bad_alloc();
        Fail("a quotation mark inside a value, which has none around it or goes on after them");
      }
      block.remove_prefix(slice.size());
    }
  }

  void Check() {
    if (error_) std::rethrow_exception(error_);
  }

  [[noreturn]] void Fail(const char* what) const { throw ConversionError(Place() + ": " + what); }

  std::string Place() const { return "row " + std::to_string(rows_ + 1); }

  // No exception may pass through the parser, which is C.
  static void OnField(void* text, std::size_t length, void* self) {
    auto* const reader = static_cast<CsvReader*>(self);
    reader->Guarded([&] { reader->Field({static_cast<const char*>(text), length}); });
  }

  static void OnRecord(int /*end*/, void* self) {
    auto* const reader = static_cast<CsvReader*>(self);
    reader->Guarded([&] { reader->Record(); });
  }

  template <class Step>
  void Guarded(Step&& step) noexcept {
    if (error_) return;
    try {
      step();
    } catch (const RefusedValue& refused) {
      error_ = std::make_exception_ptr(ConversionError(refused.At(Place())));
    } catch (...) {
      error_ = std::current_exception();
    }
  }

  void Field(std::string_view value) {
    if (style_.guardFormulas) value = WithoutGuard(value);
    if (rows_ == 0) {
      names_.emplace_back(value);
    } else {
      if (count_ == names_.size()) FailCount("more than " + std::to_string(count_) + " values");
      if (count_ == 0) writer_.BeginRow();
      writer_.Value(value, /*isFirst=*/true, /*isLast=*/true);
    }
    ++count_;
  }

  void Record() {
    if (rows_ == 0) {
      writer_.Header(names_, 0);
    } else {
      if (count_ < names_.size()) FailCount(std::to_string(count_) + " values");
      writer_.EndRow();
    }
    ++rows_;
    count_ = 0;
  }

  [[noreturn]] void FailCount(const std::string& count) const {
    throw ConversionError(Place() + " has " + count + ", the header " +
                          std::to_string(names_.size()));
  }

  const CsvStyle style_;
  TableWriter& writer_;
  csv_parser parser_{};
  std::exception_ptr error_;
  /// Of the header, once there is one.
  std::vector<std::string> names_;
  /// Values of the present record, and how many records there were, the header included.
  std::size_t count_ = 0;
  std::uint64_t rows_ = 0;
  bool isBegun_ = false;
};

}  // namespace

void ReadCsv(const BlockSource& source, const CsvStyle& style, TableWriter& writer) {
  CsvReader(style, writer).Read(source);
}

}  // namespace brindlex::cli
