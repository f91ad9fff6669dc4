#include "cli/format/table_writer.h"

#include <algorithm>

#include "cli/text/escape.h"

namespace brindlex::cli {

void LossReport::Add(const std::string& what, std::uint64_t offset) {
  Found& found = found_.try_emplace(what, Found{0, offset}).first->second;
  ++found.count;
  found.first = std::min(found.first, offset);
}

std::vector<std::string> LossReport::Sentences() const {
  std::vector<std::string> sentences;
  for (const auto& [what, found] : found_) {
    std::string sentence = what + ", ";
    if (found.count > 1) sentence += std::to_string(found.count) + " times, first ";
    sentences.push_back(sentence + "at byte " + std::to_string(found.first));
  }
  return sentences;
}

std::string RefusedValue::At(const std::string& place) const {
  return name.empty() ? place + " " + problem : place + ", " + Quoted(name) + ": it " + problem;
}

void TableWriter::HandOverNow(std::size_t kept) {
  if (buffer_.Size() <= kept) return;
  const std::size_t done = buffer_.Size() - kept;
  writeBytes_(buffer_.View().substr(0, done));
  buffer_.EraseFront(done);
}

}  // namespace brindlex::cli
