#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "cli/check/defects.h"
#include "cli/format/markers.h"
#include "cli/text/encoding.h"

/// The check of a file as its documentation says it, on the whole text at once and without any
/// speed: what the real one is held to.
namespace brindlex::cli::naive {

/// Byte, record, field and kind of a defect.
using Place = std::tuple<std::uint64_t, std::uint64_t, std::uint64_t, DefectKind>;

/// All places, sorted. No keys.
std::vector<Place> Check(const std::string& text, const Encoding& encoding,
                         const ByteMarkers& markers);

/// Records after the header that have a record end.
std::uint64_t Records(const std::string& text, const ByteMarkers& markers);

}  // namespace brindlex::cli::naive
