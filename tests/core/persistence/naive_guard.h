#pragma once

#include <optional>
#include <vector>

#include "tests/core/persistence/naive_format.h"

namespace naive {

/// Whether a save that refuses markers refuses `records` of a class whose members are `members`:
/// the report that it shows then, nothing when it saves. After each field and each record all that
/// was written so far is read once more from its beginning. `around` are the markers of the text
/// that the saved one becomes a value of, null when it stands alone.
std::optional<Report> Refusal(const Texts& members, const std::vector<Texts>& records,
                              const Markers& markers, const Markers* around);

bool Contains(const Text& text, const Text& sought);

}  // namespace naive
