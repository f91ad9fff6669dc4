#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/check/defects.h"
#include "cli/check/key_check.h"
#include "cli/format/marker_walk.h"
#include "cli/format/skim.h"
#include "cli/text/character_check.h"
#include "cli/text/encoding.h"

namespace brindlex::tool {

/// Which text it is that is checked, for the defects that depend on it.
enum class TextRole {
  kAlone,
  /// The outer layer of a text with several collections, and one of the collections.
  kBlocks,
  kCollection,
};

/// Is told of the fields of the records (not of the header) while they are checked.
class FieldListener {
 public:
  FieldListener() = default;
  FieldListener(const FieldListener&) = delete;
  FieldListener& operator=(const FieldListener&) = delete;
  virtual ~FieldListener() = default;

  /// `field` from 1. True when the listener looks after the piece's characters itself.
  virtual bool TakePiece(std::uint64_t field, std::string_view bytes, std::uint64_t at) = 0;
  virtual void TakeFieldEnd(std::uint64_t field, std::uint64_t at) = 0;
  /// How many bytes at the front of `piece`, which goes on with a field, the listener has dealt
  /// with by itself: they hold no marker of the text that is checked. And when those are none: how
  /// many to go on with before it is asked again.
  virtual std::size_t PassOver(std::string_view /*piece*/, std::uint64_t /*at*/) { return 0; }
  virtual std::size_t BeforeNextPassOver(std::string_view piece) const { return piece.size(); }
  /// The record is over, or the text; before its defects are told.
  virtual void TakeRecordEnd(std::uint64_t record, std::uint64_t at) = 0;
};

/// Finds every defect of one text in one layer, in one pass over its pieces and in bounded memory.
/// Records that are sound are passed over by Skim wherever nothing else is asked about them.
class TextCheck {
 public:
  /// `sink`, `keys` and `listener` must outlive it; the last two may be null.
  TextCheck(const Encoding& encoding, const ByteMarkers& markers, TextRole role, DefectSink& sink,
            KeyCheck* keys, FieldListener* listener = nullptr);
  TextCheck(const TextCheck&) = delete;
  TextCheck& operator=(const TextCheck&) = delete;

  /// A text begins at `at`; it is the `collection`-th of a multi-collection text, or 0. Keys are
  /// the values of the columns that are called exactly `keyName`, as the component takes them.
  void Begin(std::uint64_t at, std::uint64_t collection, const std::optional<std::string>& keyName);

  void Feed(std::string_view piece, std::uint64_t at);

  /// Takes the sound records at the front of `piece`, if a record begins there; how many bytes that
  /// were. Feed does so by itself.
  std::size_t PassOver(std::string_view piece, std::uint64_t at);

  /// How many bytes of `piece` there are up to the next place where PassOver may do something.
  std::size_t BeforeNextPassOver(std::string_view piece) const;

  /// Bytes that are markers of a layer around this text: PassOver stops at them.
  void StopAt(const ByteMarkers& around);

  /// The text ends at `end`.
  void Finish(std::uint64_t end);

  /// Records so far, the header not included.
  std::uint64_t Records() const { return record_ == 0 ? 0 : record_ - 1; }
  /// Names in the header.
  std::uint64_t Fields() const { return expected_; }
  bool HasKeyColumn() const { return !keyColumns_.empty(); }

  // Called by the walk.
  void FieldPiece(std::string_view bytes, std::uint64_t at);
  void FieldEnd(std::uint64_t at);
  void RecordEnd(std::uint64_t at);
  void LineBreak(std::uint64_t at);

 private:
  /// One name of the header.
  struct Name {
    std::string utf8;
    std::uint64_t at = 0;
  };
  enum class Rest { kNothing, kBreaks, kText };

  bool IsHeader() const { return record_ == 0; }
  void BeginRecord(std::uint64_t at);
  void CheckCharacters(std::string_view bytes, std::uint64_t at);
  void EndCharacters();
  void EndName(std::uint64_t at);
  void EndHeader(std::uint64_t at);
  void CheckNames();
  void CheckRecord(std::uint64_t at);
  void TakeKeyPiece(std::string_view bytes, std::uint64_t at);
  void EndKeyField();
  void CheckKey();
  void FinishRest(std::uint64_t end);
  std::string Whole() const;
  void Tell(DefectKind kind, std::uint64_t at, std::uint64_t field, std::string what,
            std::string does);

  Encoding encoding_;
  TextRole role_;
  DefectSink& sink_;
  KeyCheck* keys_;
  FieldListener* listener_;
  MarkerWalk walk_;
  CharacterCheck characters_;
  /// How the piece of the name that is being read becomes text.
  PieceDecoder decoder_;
  SoundRecord sound_;
  bool canSkim_ = false;
  bool canPassOver_ = true;

  std::uint64_t collection_ = 0;
  std::optional<std::string> keyName_;
  /// 0 in the header; else the number of the record that is under way.
  std::uint64_t record_ = 0;
  std::uint64_t recordAt_ = 0;
  /// Field ends of the record that is under way.
  std::uint64_t fields_ = 0;
  std::uint64_t fieldAt_ = 0;
  /// Behind the last field end.
  Rest rest_ = Rest::kNothing;
  std::uint64_t surplusAt_ = 0;
  bool isAtStart_ = false;

  std::uint64_t expected_ = 0;
  std::vector<Name> names_;
  std::string nameBytes_;

  std::vector<std::uint64_t> keyColumns_;
  bool hasKey_ = false;
  bool isInKey_ = false;
  KeyHash key_;
  std::uint64_t keyAt_ = 0;
  std::uint64_t keyField_ = 0;
  std::string keyText_;
};

}  // namespace brindlex::tool
