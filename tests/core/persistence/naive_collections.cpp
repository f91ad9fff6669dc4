#include "tests/core/persistence/naive_collections.h"

namespace naive {
namespace {

const Texts kOuterMembers = {u"DataString", u"Name"};
const Markers kInner = {u"\u00BB", u"\u0160"};

/// From 1; 0 when there is none. A collection without a name has no key.
std::size_t NumberOf(const std::vector<Record>& collections, const Text& name) {
  if (name.empty()) return 0;
  for (std::size_t i = 0; i < collections.size(); ++i) {
    if (SameName(collections[i].key, name)) return i + 1;
  }
  return 0;
}

}  // namespace

Restored Collections::Working(const Text& name, const Texts& members,
                              const Text& keyProperty) const {
  Restored outer = Restore(text, kOuterMembers, {}, u"Name");
  if (!outer.records) return outer;
  const std::size_t number = NumberOf(*outer.records, name);
  if (number == 0) return {};
  return Restore((*outer.records)[number - 1].values[0], members, kInner, keyProperty);
}

std::vector<Report> Collections::Store(const Text& name, const Texts& members,
                                       const std::vector<Texts>& records) {
  const Restored outer = Restore(text, kOuterMembers, {}, u"Name");
  std::vector<Texts> rows;
  std::size_t number = 0;
  if (outer.records) {
    for (const Record& stored : *outer.records) rows.push_back(stored.values);
    number = NumberOf(*outer.records, name);
  }
  const Texts row = {Save(members, records, kInner), name};
  if (number == 0) {
    rows.push_back(row);
  } else {
    rows[number - 1] = row;
  }
  text = Save(kOuterMembers, rows, {});
  return outer.reports;
}

std::vector<Report> Collections::StoreHere(const Text& name, const Texts& members,
                                           const std::vector<Texts>& records) {
  const Text before = text;
  std::vector<Report> reports = Store(name, members, records);
  if (!reports.empty()) text = before;
  return reports;
}

Collections::Removed Collections::Remove(const Text& name) {
  const Restored outer = Restore(text, kOuterMembers, {}, u"Name");
  if (!outer.records) return {false, outer.reports};
  const std::size_t number = NumberOf(*outer.records, name);
  if (number == 0) return {};
  std::vector<Texts> rows;
  for (std::size_t i = 0; i < outer.records->size(); ++i) {
    if (i + 1 != number) rows.push_back((*outer.records)[i].values);
  }
  text = Save(kOuterMembers, rows, {});
  return {true, {}};
}

Collections::Names Collections::AllNames() const {
  const Restored outer = Restore(text, kOuterMembers, {}, u"Name");
  if (!outer.reports.empty()) return {std::nullopt, outer.reports};
  Texts names;
  if (outer.records) {
    for (const Record& stored : *outer.records) {
      if (!stored.key.empty()) names.push_back(stored.key);
    }
  }
  return {names, {}};
}

}  // namespace naive
