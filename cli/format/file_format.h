#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/format/markers.h"
#include "cli/io/input.h"
#include "cli/text/encoding.h"

namespace brindlex::cli {

/// Whether a file is one collection or several, if the command line says so.
enum class Reading { kDetected, kPlain, kCollections };

/// What the command line says of a file's format; the rest is detected.
struct FormatOptions {
  std::optional<std::string> encoding;
  /// As ParseMarker takes them.
  std::optional<std::string> fieldEnd;
  std::optional<std::string> recordEnd;
  Reading reading = Reading::kDetected;
};

/// Which layer a pair of markers belongs to.
enum class Layer { kOuter, kInner, kGiven };

/// The two columns of a file of several collections, counted from 0, and how many it has in all.
struct NamedColumns {
  std::size_t data = 0;
  std::size_t name = 1;
  std::size_t count = 2;
  /// The header has exactly Name, so that the component finds collections by their names.
  bool isNameExact = true;
};

/// How a file is read.
struct FileFormat {
  Encoding encoding;
  bool isEncodingGuessed = false;
  MarkerPair pair;
  ByteMarkers markers;
  Layer layer = Layer::kOuter;
  /// Bytes of a byte order mark before the text.
  std::size_t markBytes = 0;
  /// If the file holds several named collections, whose own markers are `inner`.
  std::optional<NamedColumns> named;
  std::optional<ByteMarkers> inner;
  /// A hint for the user if the file has no header in this format but one in another encoding;
  /// empty as a rule. One sentence.
  std::string hint;

  /// The text after the byte order mark.
  Extent Text() const { return ExtentOf(markBytes, UINT64_MAX); }
};

/// The encoding of that name; UsageError, with those that there are, for another name.
Encoding RequireEncoding(const std::string& name);

/// The columns of a file of several collections in a header; nothing if it lacks one of the two.
std::optional<NamedColumns> FindNamedColumns(const std::vector<std::string>& names);

/// Detects what the options leave open. Reads the head of the input; all of it, if the header has
/// the columns DataString and Name.
///
/// - Encoding: that of the byte order mark; else utf-8 if the head is valid UTF-8 and holds a
///   marker in that encoding; else windows-1252.
/// - Markers: the inner ones if the first record end that has a field end of its own layer before
///   it is an inner one; else the outer ones.
/// - Several collections: outer markers, a header that has DataString and Name, in any letter case
///   and order, and every DataString empty or starting with a header in inner markers.
///
/// UsageError for an unknown encoding, for markers that RequireByteMarkers refuses, if the encoding
/// has the markers of neither layer and none were given, and for Reading::kCollections if the
/// header has no such columns.
FileFormat DetectFormat(Input& input, const FormatOptions& options);

}  // namespace brindlex::cli
