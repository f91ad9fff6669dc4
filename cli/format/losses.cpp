#include "cli/convert/table_writer.h"

#include <algorithm>

namespace brindlex::tool {

void Losses::Add(const std::string& what, std::uint64_t at) {
  Found& found = found_.try_emplace(what, Found{0, at}).first->second;
  ++found.count;
  found.first = std::min(found.first, at);
}

std::vector<std::string> Losses::Sentences() const {
  std::vector<std::string> sentences;
  for (const auto& [what, found] : found_) {
    std::string sentence = what;
    sentence += found.count == 1 ? ", at byte " : ", the first at byte ";
    sentence += std::to_string(found.first);
    if (found.count > 1) sentence += " of " + std::to_string(found.count) + " in all";
    sentences.push_back(std::move(sentence));
  }
  return sentences;
}

}  // namespace brindlex::tool
