#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "environment/report.h"
#include "tests/com/objects/scripted_object.h"
#include "tests/com/objects/typed_record.h"
#include "tests/com/support/fixture.h"

namespace brindlex {

inline bool operator==(const Report& left, const Report& right) {
  return left.caption == right.caption && left.text == right.text;
}
void PrintTo(const Report& report, std::ostream* out);

}  // namespace brindlex

namespace brindlex::testing {

/// What a run-time error looks like in a report.
struct ShownError {
  std::int32_t number;
  std::u16string description;
  int line = 0;

  ShownError AtLine(int at) const { return {number, description, at}; }
};

/// The two forms of report, spelt out here once more.
Report Tagged(std::u16string_view caption, std::u16string_view firstLine, const ShownError& error);
Report Located(std::u16string_view procedure, const ShownError& error);

Report Gmnl(const ShownError& error);
Report Adtc(const ShownError& error);
Report Dfc(const ShownError& error, std::u16string_view member = {});
Report WorkingColReport(const ShownError& error);
Report MultiDataReport(const ShownError& error);
Report GetObjectReport(const ShownError& error);
Report SplitReport(const ShownError& error);

/// Errors that need no look into the table.
ShownError InvalidCall(int line = 0);
ShownError OutOfMemory(int line = 0);
ShownError OutOfRange(int line = 0);
ShownError TypeMismatch(int line = 0);
ShownError NotSet(int line = 0);
ShownError NullUse(int line = 0);
ShownError ObjectNeeded(int line = 0);
ShownError NoMember(int line = 0);

/// The missing marker, owned.
inline Variant Omitted() { return Of(VT_ERROR, DISP_E_PARAMNOTFOUND); }

/// The optional arguments of the operations.
struct Options {
  Variant recordEnd = Omitted();
  Variant fieldEnd = Omitted();
  Variant key = Omitted();
};

/// Saving and restoring the host's own objects through the DLL. At the end of a test none of them
/// is alive, and every report was expected.
class SaveRestoreTest : public ComTest {
 protected:
  using Units = std::u16string;
  using View = std::u16string_view;

  void SetUp() override;
  void TearDown() override;

  Units Save(IDispatch* objects, const Options& options = {});
  Units SaveObject(IDispatch* object);
  ComPtr<_clsCollection> Restore(View text, IDispatch* creator, const Options& options = {});
  ComPtr<_clsCollection> RestoreKeyed(View text, IDispatch* creator, View key);
  ComPtr<IDispatch> GetObjectFrom(View text, IDispatch* creator);
  ComPtr<_clsCollection> WorkingCol(View name, IDispatch* creator, const Options& options = {});
  Units MultiDataCol(IDispatch* collection, View name);
  void SetMultiData(View text);
  ComPtr<_clsCollection> NamesLate(IDispatch* object);

  /// A record with these text properties and a GetMemberNames that lists them.
  static ComPtr<ScriptedObject> NewRecord(const std::vector<std::pair<View, View>>& members);
  /// A record with the properties Title and Count.
  static ComPtr<ScriptedObject> NewTitle(View title, View count) {
    return NewRecord({{u"Title", title}, {u"Count", count}});
  }
  /// Makes records with empty Title and Count.
  static ComPtr<ScriptedObject> NewTitleCreator();
  /// A collection of the host's own.
  static ComPtr<ForeignCollection> Collected(const std::vector<IDispatch*>& objects);
  /// A property of an object, late bound, as text.
  static Units Read(IDispatch* object, View member);

  static long CountOf(const ComPtr<_clsCollection>& collection);
  static ComPtr<IDispatch> At(const ComPtr<_clsCollection>& collection, long position);
  static ComPtr<IDispatch> At(const ComPtr<_clsCollection>& collection, View key);
  /// The entries of a collection of texts, each of which must be under itself as key.
  static std::vector<Units> Names(const ComPtr<_clsCollection>& collection);
  /// Title, "=" and Count of every record.
  static std::vector<Units> Titles(const ComPtr<_clsCollection>& collection);

  /// The reports since the last call, each of which must have had one button and the exclamation
  /// icon.
  std::vector<Report> Shown();
  void ExpectShown(const std::vector<Report>& reports) { EXPECT_EQ(reports, Shown()); }

  _clsCollectionSaveRestore& Operations() { return *operations_.Get(); }

 private:
  ComPtr<_clsCollectionSaveRestore> operations_;
};

}  // namespace brindlex::testing
