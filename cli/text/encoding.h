#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindlex::cli {

/// How a file's bytes represent characters: a Windows code page of one byte for each character,
/// UTF-8 or UTF-16. A cheap value. Nothing here replaces a character by another: a conversion stops
/// at what cannot be converted.
class Encoding {
 public:
  enum class Form { kCodePage, kUtf8, kUtf16Le, kUtf16Be };

  /// Windows-1252.
  Encoding();

  /// The encoding of that name, in any letter case: windows-1252, cp1252 or 1252 (874 and 1250 to
  /// 1258), utf-8, utf-16 and utf-16le (the lower byte first), utf-16be. Nothing for another name.
  static std::optional<Encoding> Named(std::string_view name);

  /// The encoding whose byte order mark `head` starts with; nothing if it starts with none.
  static std::optional<Encoding> OfByteOrderMark(std::string_view head);

  /// Every name that Named takes, in the spelling of Name.
  static const std::vector<std::string>& Names();

  const std::string& Name() const;
  Form GetForm() const;

  /// Bytes of the smallest unit: 2 in UTF-16, else 1.
  std::size_t UnitSize() const;

  /// The bytes of U+FEFF; empty in a code page, which has no such character.
  std::string_view ByteOrderMark() const;

  /// Appends `bytes` as UTF-8, up to the first ill-formed sequence. Returns how many bytes were
  /// converted: all of them if `bytes` is well-formed. A character that `bytes` ends within is
  /// ill-formed.
  std::size_t ToUtf8(std::string_view bytes, std::string& utf8) const;

  /// Appends `utf8` in this encoding, up to the first character that it lacks. Returns how many
  /// bytes of `utf8` were converted.
  std::size_t FromUtf8(std::string_view utf8, std::string& bytes) const;

  /// How many bytes at the front of `bytes` are whole characters of this encoding.
  std::size_t ValidLength(std::string_view bytes) const;

  /// How many bytes at the end of `bytes` (0 to 3) start a character that may go on after it.
  std::size_t UnfinishedLength(std::string_view bytes) const;

  /// The length of the ill-formed sequence that `bytes` starts with: a unit, or in UTF-8 the part
  /// of a sequence that is there. At least 1, at most all.
  std::size_t BadLength(std::string_view bytes) const;

 private:
  struct Table;
  std::size_t ToCodePage(std::string_view utf8, std::string& bytes) const;
  explicit Encoding(std::shared_ptr<const Table> table) : table_(std::move(table)) {}

  std::shared_ptr<const Table> table_;
};

}  // namespace brindlex::cli
