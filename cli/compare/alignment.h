#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "cli/compare/record_stream.h"

namespace brindlex::cli {

/// Stands for no index.
inline constexpr std::uint32_t kUnmatched = UINT32_MAX;

/// Finds records that two lists have in common in the same order: for each of `before`, the index
/// of its match in `after`, or kUnmatched. Matches have equal hashes and never cross.
///
/// Equal ends are matched first, then as many records as a shortest edit script keeps (Eugene
/// Myers, "An O(ND) Difference Algorithm", 1986). If that takes more than 1,000 edits, the records
/// that both lists have exactly once are matched (Bram Cohen's patience diff), and what is between
/// them in the same way. Memory is O(n) and 4 MB; time O(n log n), with a factor of 1,000 at worst.
std::vector<std::uint32_t> Align(std::span<const ContentHash> before,
                                 std::span<const ContentHash> after);

}  // namespace brindlex::cli
