#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/marker_walk.h"
#include "cli/text/encoding.h"

namespace brindlex::tool {

/// What the command line says of a file's form; nothing is to be found out from the file itself.
struct FormatOptions {
  std::optional<std::string> encoding;
  /// UTF-8, or a character's number as U+001F, several one behind the other.
  std::optional<std::string> fieldEnd;
  std::optional<std::string> recordEnd;
};

/// A pair of markers, in UTF-8.
struct MarkerPair {
  std::string fieldEnd;
  std::string recordEnd;
};

/// The markers of a text that stands alone and of the outer layer, and those of the inner layer.
MarkerPair OuterPair();
MarkerPair InnerPair();

/// What a marker on the command line stands for, in UTF-8. Failure kUsage for an empty one, and for
/// a number that is no character's.
std::string MarkerText(std::string_view given);

/// `pair` as it stands in a file; nothing when the encoding does not have its characters.
std::optional<ByteMarkers> EncodedMarkers(const MarkerPair& pair, const Encoding& encoding);

/// The same; Failure kUsage in place of nothing, and also for a pair that cannot be told apart
/// wherever it stands: equal markers, one that is a part of the other, one whose end begins itself
/// or the other.
ByteMarkers CheckedMarkers(const MarkerPair& pair, const Encoding& encoding);

/// Which layer a pair of markers is.
enum class Layer { kOuter, kInner, kGiven };

/// Where the two columns of a multi-collection text stand in its header.
struct BlockColumns {
  std::size_t data = 0;
  std::size_t name = 0;
  std::size_t count = 0;
  /// The header spells them DataString and Name, so that blocks are found by their names.
  bool areSpelledExactly = true;
};

/// How a file is to be read.
struct Layout {
  Encoding encoding;
  MarkerPair pair;
  ByteMarkers markers;
  Layer layer = Layer::kOuter;
  /// Bytes of a byte order mark before the text.
  std::size_t markBytes = 0;
  /// When the file holds several named collections, whose own markers are `inner`.
  std::optional<BlockColumns> blocks;
  std::optional<ByteMarkers> inner;
  /// What the reader should be told because the file looks like none of this form, say in which
  /// other encoding it would be one; empty as a rule. One sentence.
  std::string doubt;
};

/// Finds out from the first bytes of a file (`head`: all of it, or kInputBlock bytes of it) what
/// the options leave open.
///
/// - Encoding: a byte order mark decides, else it is windows-1252.
/// - Markers: the inner ones when the first record end that a field end of its own layer comes
/// before
///   is an inner one; else the outer ones.
/// - Several collections: outer markers, and a header that names DataString and Name, in any letter
///   case and order; and the first block's data is empty, or holds an inner marker, or is longer
///   than `head`.
///
/// Failure kUsage for an unknown encoding, for markers that CheckedMarkers refuses, and when the
/// encoding has no markers of either layer and none were given.
Layout FindLayout(std::string_view head, const FormatOptions& options);

/// Where `marker` stands in `text`, at a place that is a multiple of `unit` and not before `from`;
/// npos when nowhere.
std::size_t FindMarker(std::string_view text, std::string_view marker, std::size_t unit,
                       std::size_t from = 0);

}  // namespace brindlex::tool
