#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace brindlex::cli {

/// Whether both lists have the same names, in any letter case, at the same places.
bool AreSameNames(const std::vector<std::string>& left, const std::vector<std::string>& right);

/// For each of `names`, the column of `among` that the component takes for the same: the one at its
/// place if AreSameNames, else the one of that name in any letter case, nothing if there is none.
/// ConversionError if one of the lists then has a name twice.
std::vector<std::optional<std::size_t>> MatchColumns(const std::vector<std::string>& names,
                                                     const std::vector<std::string>& among);

}  // namespace brindlex::cli
