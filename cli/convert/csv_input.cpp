#include "cli/convert/csv_input.h"

#include <csv.h>

#include <exception>
#include <new>

namespace brindlex::tool {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// How much the parser is given at once: an error of the target is noticed behind it.
constexpr std::size_t kSlice = 16384;

int NoSpace(unsigned char /*byte*/) { return 0; }

class CsvReader {
 public:
  CsvReader(const CsvStyle& style, TableTarget& target) : style_(style), target_(target) {
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
    target_.BeginCollection({});
    std::string start;
    for (std::string_view block = source(); !block.empty(); block = source()) {
      if (begun_) {
        Parse(block);
        continue;
      }
      start += block;
      if (start.size() >= kByteOrderMark.size()) Begin(start);
    }
    if (!begun_) Begin(start);
    const int failed = csv_fini(&parser_, OnField, OnRecord, this);
    Check();
    if (failed != 0) Fail("the quotation mark that opens a value is not closed");
    target_.EndCollection();
  }

 private:
  void Begin(std::string_view start) {
    begun_ = true;
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
        Fail("a quotation mark inside a value, which has none around it or goes on behind them");
      }
      block.remove_prefix(slice.size());
    }
  }

  void Check() {
    if (error_) std::rethrow_exception(error_);
  }

  [[noreturn]] void Fail(const char* what) const { throw ConversionError(Where() + ": " + what); }

  std::string Where() const { return "row " + std::to_string(rows_ + 1); }

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
    } catch (...) {
      error_ = std::current_exception();
    }
  }

  void Field(std::string_view value) {
    if (style_.guardFormulas) value = WithoutGuard(value);
    if (count_ == values_.size()) values_.emplace_back();
    values_[count_++].assign(value);
  }

  void Record() {
    if (!headed_) {
      headed_ = true;
      columns_ = count_;
      target_.Header(values_);
    } else if (count_ != columns_) {
      throw ConversionError(Where() + " has " + std::to_string(count_) + " values, the header " +
                            std::to_string(columns_));
    } else {
      target_.Row(values_, Where());
    }
    ++rows_;
    count_ = 0;
  }

  const CsvStyle style_;
  TableTarget& target_;
  csv_parser parser_{};
  std::exception_ptr error_;
  /// The values of the record that is being read, of which `count_` are known.
  std::vector<std::string> values_;
  std::size_t count_ = 0;
  /// How many the header has.
  std::size_t columns_ = 0;
  /// How many records are behind, the header included.
  std::uint64_t rows_ = 0;
  bool headed_ = false;
  bool begun_ = false;
};

}  // namespace

void ReadCsv(const BlockSource& source, const CsvStyle& style, TableTarget& target) {
  CsvReader(style, target).Read(source);
}

}  // namespace brindlex::tool
