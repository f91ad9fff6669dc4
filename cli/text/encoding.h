#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindlex::tool {

/// How a file's bytes stand for characters: a Windows code page of one byte for each character,
/// UTF-8 or UTF-16. A cheap value. Nothing here replaces a character by another: what cannot be
/// converted is reported with its place.
class Encoding {
 public:
  enum class Form { kCodePage, kUtf8, kUtf16Le, kUtf16Be };

  /// Windows-1252, what a file has when nobody says otherwise.
  Encoding();

  /// The encoding of that name, in any letter case: windows-1252, cp1252 or 1252 (874 and 1250 to
  /// 1258), utf-8, utf-16 and utf-16le (the lower byte first), utf-16be. Nothing for another name.
  static std::optional<Encoding> Named(std::string_view name);

  /// The encoding whose byte order mark `head` begins with; nothing when it begins with none.
  static std::optional<Encoding> Marked(std::string_view head);

  /// Every name that Named takes, in the spelling that Name has.
  static const std::vector<std::string>& Names();

  const std::string& Name() const;
  Form GetForm() const;

  /// Bytes of the smallest unit: 2 in UTF-16, else 1.
  std::size_t UnitSize() const;

  /// The bytes of U+FEFF; empty in a code page, which has no such character.
  std::string_view ByteOrderMark() const;

  /// Appends `bytes` as UTF-8, up to the first place where no character stands. Returns how many
  /// bytes were converted: all of them when nothing is wrong. A character that `bytes` ends in the
  /// middle of counts as wrong; PieceDecoder puts such characters together.
  std::size_t ToUtf8(std::string_view bytes, std::string& utf8) const;

  /// Appends `utf8` in this encoding, up to the first character that it does not have. Returns how
  /// many bytes of `utf8` were converted. An appended part stays.
  std::size_t FromUtf8(std::string_view utf8, std::string& bytes) const;

  /// How many bytes at the front of `bytes` are whole characters of this encoding.
  std::size_t ValidLength(std::string_view bytes) const;

  /// How many bytes at the end of `bytes` (0 to 3) begin a character that goes on behind it.
  std::size_t UnfinishedLength(std::string_view bytes) const;

  /// How many bytes at the front of `bytes`, where no character stands, are best passed over
  /// together: a unit, or in UTF-8 the part of a sequence that is there. At least 1, at most all.
  std::size_t BadLength(std::string_view bytes) const;

  /// In a code page: whether the byte is a character. True for every byte otherwise.
  bool HasCharacter(unsigned char byte) const;

 private:
  struct Table;
  explicit Encoding(std::shared_ptr<const Table> table) : table_(std::move(table)) {}
  static Encoding Of(std::shared_ptr<const Table> table) { return Encoding(std::move(table)); }

  std::shared_ptr<const Table> table_;
};

/// Turns bytes that come in pieces into UTF-8, characters that two pieces share included.
class PieceDecoder {
 public:
  explicit PieceDecoder(Encoding encoding) : encoding_(std::move(encoding)) {}

  /// Appends what `piece` completes. False at the first byte that is no character; `badAt` is then
  /// its place in the file, where `at` is that of the piece. Nothing may follow but Restart.
  bool Feed(std::string_view piece, std::uint64_t at, std::string& utf8, std::uint64_t& badAt);

  /// To be called behind the last piece of a field: false when a character has been left
  /// unfinished.
  bool Finish(std::uint64_t& badAt);

  /// Whether nothing of a character is waiting for the rest.
  bool IsIdle() const { return held_.empty(); }

  /// Forgets everything: the next piece begins a field.
  void Restart() { held_.clear(); }

 private:
  Encoding encoding_;
  std::string held_;
  std::uint64_t heldAt_ = 0;
};

}  // namespace brindlex::tool
