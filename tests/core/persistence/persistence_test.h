#pragma once

#include <gmock/gmock.h>

#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include "persistence/collection_save_restore.h"
#include "tests/core/core_test.h"

namespace brindlex {

inline constexpr TextView kNotMatching = u"Fields in record don't match field list, record number ";
inline constexpr TextView kKeyInUse =
    u"This key is already associated with an element of this collection";

/// The report of layout A whose first line is `firstLine`.
inline Report Tagged(TextView caption, TextView firstLine, TextView description,
                     std::int32_t number, std::int32_t line) {
  return {Text(caption), Text(firstLine)
                             .append(u"\r\n\r\n")
                             .append(description)
                             .append(u" Number: ")
                             .append(DecimalText(number))
                             .append(u" Line: ")
                             .append(DecimalText(line))};
}

inline Report RestoreReport(TextView description, std::int32_t number, std::int32_t line) {
  return Tagged(u"Error ADTC", u"Error ADTC", description, number, line);
}

inline Report SaveReport(TextView description, std::int32_t number, std::int32_t line,
                         TextView member) {
  Report report = Tagged(u"Error DFC", u"Error DFC", description, number, line);
  report.text.append(u" Member Name: ").append(member);
  return report;
}

inline Report LateNamesReport(TextView description, std::int32_t number) {
  return Tagged(u"Error GMNL", u"Error GMNL", description, number, 0);
}

/// What is shown when a text is split at a delimiter that it does not hold.
inline Report SplitReport() {
  return {u"Application Error",
          u"Invalid procedure call or argument No. 5\r\n"
          u"in Brindlex.clsCollectionSaveRestore.SplitString at line 0"};
}

inline Report FirstObjectReport(TextView description, std::int32_t number) {
  return {u"Application Error", Text(description)
                                    .append(u" No. ")
                                    .append(DecimalText(number))
                                    .append(u"\r\nin zrKX4.clsCollectionSaveRestore."
                                            u"GetObjectFromString at line 0")};
}

/// Saving and restoring the objects of a host in memory.
class PersistenceTest : public HostTest {
 protected:
  using Rows = std::vector<std::vector<Text>>;

  /// A class of records with one text and one number.
  std::shared_ptr<RecordClass> TitleAndCount() {
    return ListingClass(Adapter(), {{u"Title"}, {u"Count", MemberType::kNumber, u"0"}});
  }

  Object Creator(const std::shared_ptr<const RecordClass>& recordClass) {
    return NewCreator(Adapter(), recordClass);
  }

  /// A collection of records of `recordClass`, one for each row of values.
  CollectionRef RecordsOf(const std::shared_ptr<const RecordClass>& recordClass, const Rows& rows) {
    CollectionRef collection = Adapter().NewCollection();
    for (const auto& row : rows) collection->Add(NewRecord(Adapter(), recordClass, row), {});
    return collection;
  }

  /// The values of the records in `collection`, in its order.
  Rows RowsOf(const CollectionRef& collection) {
    Rows rows;
    for (const auto& entry : CollectionIn(Adapter(), collection).entries) {
      rows.push_back(Adapter().In<MemoryRecord>(std::get<Object>(entry.value)).values);
    }
    return rows;
  }

  /// The keys of the entries in `collection`; nothing for an entry without a key.
  std::vector<std::optional<Text>> KeysOf(const CollectionRef& collection) {
    std::vector<std::optional<Text>> keys;
    for (const auto& entry : CollectionIn(Adapter(), collection).entries) keys.push_back(entry.key);
    return keys;
  }

  /// The entries of a collection of texts, each of which must be its own key.
  std::vector<Text> NamesIn(const CollectionRef& collection) {
    std::vector<Text> names;
    for (const auto& entry : CollectionIn(Adapter(), collection).entries) {
      names.push_back(std::get<Text>(entry.value));
      EXPECT_EQ(names.back(), entry.key);
    }
    return names;
  }

  /// Exactly `reports` were shown since the last call.
  void ExpectReports(std::initializer_list<Report> reports) {
    EXPECT_THAT(platform_.reports, testing::ElementsAreArray(reports));
    platform_.reports.clear();
  }

  clsCollectionSaveRestore store_{platform_};
};

}  // namespace brindlex
