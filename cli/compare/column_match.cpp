#include "cli/compare/column_match.h"

#include <algorithm>

#include "cli/format/name_tables.h"
#include "cli/format/named_collections.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::cli {
namespace {

FoldedNameMap<std::size_t> IndexOf(const std::vector<std::string>& names) {
  FoldedNameMap<std::size_t> index;
  for (std::size_t column = 0; column < names.size(); ++column) {
    if (index.try_emplace(Utf16OfUtf8(names[column]), column).second) continue;
    throw ConversionError("the header has the name " + Quoted(names[column]) +
                          " twice, so that columns cannot be matched by their names");
  }
  return index;
}

}  // namespace

bool AreSameNames(const std::vector<std::string>& left, const std::vector<std::string>& right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](const std::string& one, const std::string& other) {
                      return one == other || IsSameName(one, other);
                    });
}

std::vector<std::optional<std::size_t>> MatchColumns(const std::vector<std::string>& names,
                                                     const std::vector<std::string>& among) {
  std::vector<std::optional<std::size_t>> columns(names.size());
  if (AreSameNames(names, among)) {
    for (std::size_t column = 0; column < names.size(); ++column) columns[column] = column;
    return columns;
  }
  const FoldedNameMap<std::size_t> own = IndexOf(names);
  for (const auto& [name, column] : IndexOf(among)) {
    const auto found = own.find(name);
    if (found != own.end()) columns[found->second] = column;
  }
  return columns;
}

}  // namespace brindlex::cli
