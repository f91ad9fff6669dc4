#include "tests/core/persistence/naive_collections.h"

namespace naive {
namespace {

const Texts kBlock = {u"DataString", u"Name"};
const Markers kInner = {u"\u00BB", u"\u0160"};

/// From 1; 0 when there is none. A block without a name has no key.
std::size_t BlockNumber(const std::vector<Record>& blocks, const Text& name) {
  if (name.empty()) return 0;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (SameName(blocks[i].key, name)) return i + 1;
  }
  return 0;
}

}  // namespace

Restored Collections::Working(const Text& name, const Texts& members,
                              const Text& keyProperty) const {
  Restored blocks = Restore(text, kBlock, {}, u"Name");
  if (!blocks.records) return blocks;
  const std::size_t number = BlockNumber(*blocks.records, name);
  if (number == 0) return {};
  return Restore((*blocks.records)[number - 1].values[0], members, kInner, keyProperty);
}

std::vector<Report> Collections::Store(const Text& name, const Texts& members,
                                       const std::vector<Texts>& records) {
  const Restored blocks = Restore(text, kBlock, {}, u"Name");
  std::vector<Texts> rows;
  std::size_t number = 0;
  if (blocks.records) {
    for (const Record& block : *blocks.records) rows.push_back(block.values);
    number = BlockNumber(*blocks.records, name);
  }
  const Texts row = {Save(members, records, kInner), name};
  if (number == 0) {
    rows.push_back(row);
  } else {
    rows[number - 1] = row;
  }
  text = Save(kBlock, rows, {});
  return blocks.reports;
}

}  // namespace naive
