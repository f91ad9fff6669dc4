#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/convert/text_source.h"

namespace brindlex::cli {

/// Takes what a JSON text holds. May throw.
class JsonHandler {
 public:
  JsonHandler() = default;
  JsonHandler(const JsonHandler&) = delete;
  JsonHandler& operator=(const JsonHandler&) = delete;
  virtual ~JsonHandler() = default;

  virtual void StartObject() = 0;
  virtual void Key(std::string_view name) = 0;
  virtual void EndObject() = 0;
  virtual void StartArray() = 0;
  virtual void EndArray() = 0;

  /// A piece of a text, divided between characters; the whole if it is the first and the last.
  virtual void Text(std::string_view piece, bool isFirst, bool isLast) = 0;
  /// As it is written.
  virtual void Number(std::string_view text) = 0;
  virtual void Flag(bool value) = 0;
  virtual void Null() = 0;

  /// What messages call `offset`.
  virtual std::string PlaceAt(std::uint64_t offset) const = 0;
};

/// Parses JSON by RFC 8259, one value after the other, in bounded memory; a container within
/// another takes one byte. UTF-8 is not looked into. ConversionError, with the place, for what is
/// no JSON, a name of more than 8 MB and a number of more than 64 KB.
class JsonParser {
 public:
  /// `source` is read from `offset` on; a byte order mark at 0 is skipped. Both must outlive it.
  JsonParser(const ReadAt& source, JsonHandler& handler, std::uint64_t offset = 0);

  /// Skips blanks; whether something follows.
  bool HasMore();

  /// Parses the value that follows.
  void ParseValue();

  /// The offset of what is parsed next.
  std::uint64_t Offset() const { return end_ - rest_.size(); }

 private:
  bool Refill();

  static bool IsBlank(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
  }

  char Peek() {
    if (rest_.empty() && !Refill()) FailAsMalformed("it ends too early");
    return rest_.front();
  }

  /// The first byte that is no blank.
  char PeekToken() {
    if (rest_.empty() || IsBlank(rest_.front())) HasMore();
    return Peek();
  }

  char Take() {
    const char byte = Peek();
    rest_.remove_prefix(1);
    return byte;
  }

  bool TakeIf(char byte) {
    if (PeekToken() != byte) return false;
    rest_.remove_prefix(1);
    return true;
  }

  void Close();
  bool BeginContainer(bool isObject);
  bool BeginValue();
  void ReadKey();
  void ReadLongKey();
  std::optional<std::string_view> TakeWholeString();
  template <class Each>
  void ReadString(Each&& each);
  void ReadEscape();
  unsigned ReadHexadecimal();
  void ReadNumber();
  void ReadWord(std::string_view word);
  [[noreturn]] void Fail(const std::string& what) const;
  [[noreturn]] void FailAsMalformed(const std::string& what) const;

  const ReadAt& source_;
  JsonHandler& handler_;
  std::unique_ptr<char[]> buffer_;
  /// What is read and not parsed, and the offset of its end.
  std::string_view rest_;
  std::uint64_t end_;
  /// What closes the containers that are open.
  std::string open_;
  /// What is kept of a text or a number.
  std::string kept_;
};

}  // namespace brindlex::cli
