#include "tests/com/persistence/save_restore_test.h"

#include <ostream>

#include "platform/win32/automation/late_binding.h"

namespace brindlex {

void PrintTo(const Report& report, std::ostream* out) {
  *out << ::testing::PrintToString(report.caption) << ": " << ::testing::PrintToString(report.text);
}

}  // namespace brindlex

namespace brindlex::testing {
namespace {

std::u16string Decimal(long number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

}  // namespace

Report Tagged(std::u16string_view caption, std::u16string_view firstLine, const ShownError& error) {
  return {std::u16string(caption), std::u16string(firstLine) + u"\r\n\r\n" + error.description +
                                       u" Number: " + Decimal(error.number) + u" Line: " +
                                       Decimal(error.line)};
}

Report Located(std::u16string_view procedure, const ShownError& error) {
  return {u"Application Error", error.description + u" No. " + Decimal(error.number) + u"\r\nin " +
                                    std::u16string(procedure) + u" at line " + Decimal(error.line)};
}

Report Gmnl(const ShownError& error) { return Tagged(u"Error GMNL", u"Error GMNL", error); }

Report Adtc(const ShownError& error) { return Tagged(u"Error ADTC", u"Error ADTC", error); }

Report Dfc(const ShownError& error, std::u16string_view member) {
  Report report = Tagged(u"Error DFC", u"Error DFC", error);
  report.text.append(u" Member Name: ").append(member);
  return report;
}

Report WorkingColReport(const ShownError& error) {
  return Tagged(u"Error DFO", u"Error creating working collection", error);
}

Report MultiDataReport(const ShownError& error) {
  return Tagged(u"Error DFO", u"Error saving working collection", error);
}

Report GetObjectReport(const ShownError& error) {
  return Located(u"zrKX4.clsCollectionSaveRestore.GetObjectFromString", error);
}

Report SplitReport(const ShownError& error) {
  return Located(u"Brindlex.clsCollectionSaveRestore.SplitString", error);
}

ShownError InvalidCall(int line) { return {5, u"Invalid procedure call or argument", line}; }
ShownError OutOfMemory(int line) { return {7, u"Out of memory", line}; }
ShownError OutOfRange(int line) { return {9, u"Subscript out of range", line}; }
ShownError TypeMismatch(int line) { return {13, u"Type mismatch", line}; }
ShownError NotSet(int line) {
  return {91, u"Object variable or With block variable not set", line};
}
ShownError NullUse(int line) { return {94, u"Invalid use of Null", line}; }
ShownError ObjectNeeded(int line) { return {424, u"Object required", line}; }
ShownError NoMember(int line) {
  return {438, u"Object doesn't support this property or method", line};
}

namespace {

/// The test library's types, with all that the system keeps of a library once it has looked for a
/// member in it.
ComPtr<ITypeInfo> LoadedTypes() {
  constexpr MEMBERID kNoMember = 4711;
  ComPtr<ITypeInfo> types = TestTypeInfo(IID__DerivedRecord);
  const auto record = TypedRecord::New(IID__DerivedRecord);
  DISPPARAMS none{};
  EXPECT_TRUE(FAILED(
      record->Invoke(kNoMember, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr)));
  return types;
}

}  // namespace

void SaveRestoreTest::SetUp() {
  // Held by the program from the first test on, so that it does not count as left over.
  static const ComPtr<ITypeInfo> types = LoadedTypes();
  ComTest::SetUp();
  ScriptedObject::callsWithoutPlaces = 0;
  operations_ = NewSaveRestore();
}

void SaveRestoreTest::TearDown() {
  EXPECT_EQ(std::vector<Report>(), Shown()) << "reports that nobody expected";
  operations_ = nullptr;
  EXPECT_EQ(0, ScriptedObject::callsWithoutPlaces) << "calls that a strict object cannot answer";
  EXPECT_EQ(0, ScriptedObject::Alive()) << "objects of the host are still alive";
  EXPECT_EQ(0, TypedRecord::Alive()) << "records of the host are still alive";
  ComTest::TearDown();
}

// ---- The operations ----------------------------------------------------------------------------

std::u16string SaveRestoreTest::Save(IDispatch* objects, const Options& options) {
  BSTR text = nullptr;
  EXPECT_EQ(S_OK, operations_->AsDelimitedFromCollection(objects, options.recordEnd.Get(),
                                                         options.fieldEnd.Get(), Missing(), &text));
  return Taken(text);
}

std::u16string SaveRestoreTest::SaveObject(IDispatch* object) {
  BSTR text = nullptr;
  EXPECT_EQ(S_OK, operations_->AsDelimitedFromObject(object, &text));
  return Taken(text);
}

ComPtr<_clsCollection> SaveRestoreTest::Restore(View text, IDispatch* creator,
                                                const Options& options) {
  ComPtr<_clsCollection> restored;
  EXPECT_EQ(S_OK, operations_->AsDelimitedToCollection(
                      Bstr(text).Get(), creator, options.recordEnd.Get(), options.fieldEnd.Get(),
                      options.key.Get(), restored.Receive()));
  return restored;
}

ComPtr<_clsCollection> SaveRestoreTest::RestoreKeyed(View text, IDispatch* creator, View key) {
  return Restore(text, creator,
                 {.recordEnd = Omitted(), .fieldEnd = Omitted(), .key = Variant::OfText(key)});
}

ComPtr<IDispatch> SaveRestoreTest::GetObjectFrom(View text, IDispatch* creator) {
  ComPtr<IDispatch> object;
  EXPECT_EQ(S_OK, operations_->GetObjectFromString(Bstr(text).Get(), creator, object.Receive()));
  return object;
}

ComPtr<_clsCollection> SaveRestoreTest::WorkingCol(View name, IDispatch* creator,
                                                   const Options& options) {
  ComPtr<_clsCollection> restored;
  EXPECT_EQ(S_OK, operations_->WorkingCol(Bstr(name).Get(), creator, options.key.Get(),
                                          restored.Receive()));
  return restored;
}

std::u16string SaveRestoreTest::MultiDataCol(IDispatch* collection, View name) {
  Bstr ownName(name);
  BSTR variable = ownName.Get();
  BSTR text = nullptr;
  EXPECT_EQ(S_OK, operations_->MultiDataColString(&collection, &variable, &text));
  return Taken(text);
}

void SaveRestoreTest::SetMultiData(View text) {
  EXPECT_EQ(S_OK, operations_->put_MultiDataString(Bstr(text).Get()));
}

ComPtr<_clsCollection> SaveRestoreTest::NamesLate(IDispatch* object) {
  ComPtr<_clsCollection> names;
  EXPECT_EQ(S_OK, operations_->GetMemberNamesLate(object, names.Receive()));
  return names;
}

// ---- Objects of the host -----------------------------------------------------------------------

ComPtr<ScriptedObject> SaveRestoreTest::NewRecord(
    const std::vector<std::pair<View, View>>& members) {
  auto record = ScriptedObject::New();
  std::vector<View> names;
  for (const auto& [name, value] : members) {
    record->Property(name, value);
    names.push_back(record->operator[](name).name);
  }
  record->Method(u"GetMemberNames", [names](const Arguments&) {
    return Variant::OfObject(ForeignCollection::OfNames(names).Get());
  });
  return record;
}

ComPtr<ScriptedObject> SaveRestoreTest::NewTitleCreator() {
  return NewCreator([] { return NewTitle({}, {}).As<IDispatch>(); });
}

ComPtr<ForeignCollection> SaveRestoreTest::Collected(const std::vector<IDispatch*>& objects) {
  auto collection = ForeignCollection::New();
  for (IDispatch* const object : objects) collection->AddEntry(object);
  return collection;
}

std::u16string SaveRestoreTest::Read(IDispatch* object, View member) {
  return TextOf(Invoke(*object, MemberId(*object, Text(member).c_str()), kGet).Get());
}

// ---- What came back ----------------------------------------------------------------------------

long SaveRestoreTest::CountOf(const ComPtr<_clsCollection>& collection) {
  if (!collection) return -1;
  long count = -1;
  EXPECT_EQ(S_OK, collection->get_Count(&count));
  return count;
}

namespace {

ComPtr<IDispatch> EntryOf(const ComPtr<_clsCollection>& collection, const Variant& index) {
  Variant entry;
  EXPECT_EQ(S_OK, collection->get_Item(index.Get(), entry.Receive()));
  EXPECT_EQ(VT_DISPATCH, entry.Get().vt);
  return entry.Get().vt == VT_DISPATCH ? ComPtr<IDispatch>(entry.Get().pdispVal) : nullptr;
}

}  // namespace

ComPtr<IDispatch> SaveRestoreTest::At(const ComPtr<_clsCollection>& collection, long position) {
  return EntryOf(collection, Number(position));
}

ComPtr<IDispatch> SaveRestoreTest::At(const ComPtr<_clsCollection>& collection, View key) {
  return EntryOf(collection, Variant::OfText(key));
}

std::vector<std::u16string> SaveRestoreTest::Names(const ComPtr<_clsCollection>& collection) {
  std::vector<Units> names;
  for (long position = 1; position <= CountOf(collection); ++position) {
    Variant entry;
    EXPECT_EQ(S_OK, collection->get_Item(Number(position).Get(), entry.Receive()));
    names.push_back(TextOf(entry.Get()));
    Variant underItself;
    EXPECT_EQ(S_OK, collection->get_Item(entry.Get(), underItself.Receive()));
    EXPECT_EQ(names.back(), TextOf(underItself.Get()));
  }
  return names;
}

std::vector<std::u16string> SaveRestoreTest::Titles(const ComPtr<_clsCollection>& collection) {
  std::vector<Units> titles;
  for (long position = 1; position <= CountOf(collection); ++position) {
    const auto record = At(collection, position);
    titles.push_back(Read(record.Get(), u"Title") + u"=" + Read(record.Get(), u"Count"));
  }
  return titles;
}

std::vector<Report> SaveRestoreTest::Shown() {
  std::vector<Report> shown;
  for (const Box& box : Boxes().Boxes()) {
    EXPECT_EQ(1, box.buttons);
    EXPECT_TRUE(box.hasExclamationIcon);
    shown.push_back({box.caption, box.text});
  }
  Boxes().Forget();
  return shown;
}

}  // namespace brindlex::testing
