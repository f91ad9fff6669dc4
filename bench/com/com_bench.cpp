// Saving and restoring through the DLL, beside the bare loops of late binding over the same
// objects: what no component can go below that asks every object by name.

#include <benchmark/benchmark.h>
#include <windows.h>

#include <dispex.h>

#include <string>
#include <vector>

#include "bench/com/plain_objects.h"
#include "bench/com/script_objects.h"
#include "server/Brindlex.h"

namespace brindlex::bench {
namespace {

using Records = std::vector<ComPtr<IDispatch>>;

void Require(HRESULT status, const char* what) {
  if (SUCCEEDED(status)) return;
  std::fprintf(stderr, "%s failed: 0x%08lX\n", what, static_cast<unsigned long>(status));
  std::abort();
}

/// The component, loaded beside this program and entered for CoCreateInstance on this thread.
template <class Interface>
ComPtr<Interface> New(REFCLSID classId) {
  ComPtr<Interface> object;
  Require(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface),
                           object.ReceiveVoid()),
          "CoCreateInstance");
  return object;
}

ComPtr<IClassFactory> FactoryOf(REFCLSID classId) {
  ComPtr<IClassFactory> factory;
  Require(CoGetClassObject(classId, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                           factory.ReceiveVoid()),
          "CoGetClassObject");
  return factory;
}

VARIANT Missing() {
  VARIANT missing;
  missing.vt = VT_ERROR;
  missing.scode = DISP_E_PARAMNOTFOUND;
  return missing;
}

Text ValueOf(std::int64_t record, std::size_t field) {
  const std::string number = std::to_string(record * 7919);
  const std::string values[kFields] = {"Title " + number, "An author", "2026", "12.50",
                                       "remark " + number};
  return {values[field].begin(), values[field].end()};
}

ITypeInfo* SomeTypeInfo() {
  static const ComPtr<ITypeInfo> info = [] {
    ComPtr<ITypeInfo> made;
    METHODDATA methods[kFields] = {};
    for (std::size_t field = 0; field < kFields; ++field) {
      methods[field].szName = const_cast<OLECHAR*>(kNames[field]);
      methods[field].dispid = static_cast<DISPID>(field) + 1;
      methods[field].iMeth = static_cast<UINT>(field);
      methods[field].cc = CC_STDCALL;
      methods[field].wFlags = DISPATCH_PROPERTYGET;
      methods[field].vtReturn = VT_BSTR;
    }
    INTERFACEDATA data{methods, kFields};
    Require(CreateDispTypeInfo(&data, LOCALE_USER_DEFAULT, made.Receive()), "CreateDispTypeInfo");
    return made;
  }();
  return info.Get();
}

Records PlainRecordsOf(long count, ITypeInfo* info) {
  Records records;
  for (long number = 0; number < count; ++number) {
    auto record = ComPtr<PlainRecord>::Adopt(new PlainRecord);
    record->DescribeAs(info);
    for (std::size_t field = 0; field < kFields; ++field) {
      record->fields[field] = Bstr(ValueOf(number, field));
    }
    records.emplace_back(record.Get());
  }
  return records;
}

Records PlainRecords(benchmark::State& state, ITypeInfo* info) {
  return PlainRecordsOf(static_cast<long>(state.range(0)), info);
}

Records OwnRecords(benchmark::State& state) {
  Records records;
  // One factory for all, as a host's creator has it: looking the class up takes most of the time.
  const ComPtr<IClassFactory> factory = FactoryOf(CLSID_clsTextData);
  for (long number = 0; number < state.range(0); ++number) {
    ComPtr<_clsTextData> record;
    Require(factory->CreateInstance(nullptr, __uuidof(_clsTextData), record.ReceiveVoid()),
            "CreateInstance");
    record->put_Name(Bstr(ValueOf(number, 0)).Get());
    record->put_DataString(Bstr(ValueOf(number, 4)).Get());
    records.emplace_back(record.Get());
  }
  return records;
}

constexpr const char16_t* kJScript =
    uR"(
var names = new ActiveXObject("Brindlex.clsCollection");
var listed = ["Title", "Author", "Year", "Price", "Remarks"];
for (var n = 0; n < listed.length; n++) names.Add(listed[n], listed[n]);
function getMemberNames() { return names; }
function Record(title, author, year, price, remarks) {
  this.Title = title;
  this.Author = author;
  this.Year = year;
  this.Price = price;
  this.Remarks = remarks;
  this.GetMemberNames = getMemberNames;
}
function Make(n) { return new Record("Title " + n * 7919, "An author", "2026", "12.50", "remark " + n * 7919); }
function getNewObject() { return new Record("", "", "", "", ""); }
function MakeCreator(n) { return { GetNewObject: getNewObject }; }
)";

constexpr const char16_t* kVbScript =
    uR"(
Dim names, listed
Set names = CreateObject("Brindlex.clsCollection")
For Each listed In Split("Title Author Year Price Remarks")
  names.Add listed, listed
Next
Class Record
  Public Title
  Public Author
  Public Year
  Public Price
  Public Remarks
  Public Function GetMemberNames()
    Set GetMemberNames = names
  End Function
End Class
Function Make(n)
  Dim made
  Set made = New Record
  made.Title = "Title " & n * 7919
  made.Author = "An author"
  made.Year = "2026"
  made.Price = "12.50"
  made.Remarks = "remark " & n * 7919
  Set Make = made
End Function
Class Creator
  Public Function GetNewObject()
    Set GetNewObject = New Record
  End Function
End Class
Function MakeCreator(n)
  Set MakeCreator = New Creator
End Function
)";

Records ScriptRecords(benchmark::State& state, const ScriptEngine& engine) {
  Records records;
  for (long number = 0; number < state.range(0); ++number) {
    records.push_back(engine.Call(L"Make", number));
  }
  return records;
}

ComPtr<_clsCollection> CollectionOf(const Records& records) {
  auto collection = New<_clsCollection>(CLSID_clsCollection);
  for (const auto& record : records) {
    const Variant item = Variant::OfObject(record.Get());
    collection->Add(item.Get(), Missing(), Missing(), Missing());
  }
  return collection;
}

void ReportPerField(benchmark::State& state, std::size_t fields = kFields) {
  state.counters["per_field"] = benchmark::Counter(
      static_cast<double>(state.range(0)) * static_cast<double>(fields),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

std::vector<Bstr> Bstrs(const std::vector<const wchar_t*>& names) {
  std::vector<Bstr> bstrs;
  bstrs.reserve(names.size());
  for (const wchar_t* const name : names) {
    bstrs.emplace_back(TextView(reinterpret_cast<const char16_t*>(name)));
  }
  return bstrs;
}

std::vector<Bstr> PlainNames() { return Bstrs({kNames.begin(), kNames.end()}); }

DISPID IdOf(IDispatch& object, const Bstr& name) {
  DISPID id = 0;
  BSTR text = name.Get();
  Require(object.GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id), "GetIDsOfNames");
  return id;
}

/// The same, of VBScript's objects, which know names by IDispatchEx only.
DISPID ExtendedIdOf(IDispatchEx& object, const Bstr& name) {
  DISPID id = 0;
  Require(object.GetDispID(name.Get(), fdexNameCaseInsensitive, &id), "GetDispID");
  return id;
}

void Get(IDispatch& object, DISPID id) {
  DISPPARAMS none{};
  VARIANT value;
  VariantInit(&value);
  object.Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &value, nullptr,
                nullptr);
  VariantClear(&value);
}

void Put(IDispatch& object, DISPID id, TextView text) {
  DISPID named = DISPID_PROPERTYPUT;
  VARIANT value;
  value.vt = VT_BSTR;
  value.bstrVal = NewBstr(text);
  DISPPARAMS params{&value, &named, 1, 1};
  object.Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &params, nullptr, nullptr,
                nullptr);
  VariantClear(&value);
}

ComPtr<IDispatch> NewRecord(IDispatch& creator, DISPID newObject) {
  DISPPARAMS none{};
  Variant value;
  creator.Invoke(newObject, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                 &none, value.Receive(), nullptr, nullptr);
  return ComPtr<IDispatch>(value.Get().pdispVal);
}

// ---- Floors ------------------------------------------------------------------------------------

void NameAndGet(benchmark::State& state, const Records& records, const std::vector<Bstr>& names) {
  for ([[maybe_unused]] auto _ : state) {
    for (const auto& record : records) {
      for (const Bstr& name : names) Get(*record.Get(), IdOf(*record.Get(), name));
    }
  }
  ReportPerField(state, names.size());
}

void GetOnly(benchmark::State& state, const Records& records, const std::vector<Bstr>& names) {
  std::vector<DISPID> ids;
  ids.reserve(names.size());
  for (const Bstr& name : names) ids.push_back(IdOf(*records.front().Get(), name));
  for ([[maybe_unused]] auto _ : state) {
    for (const auto& record : records) {
      for (const DISPID id : ids) Get(*record.Get(), id);
    }
  }
  ReportPerField(state, names.size());
}

void BM_FloorNameAndGet(benchmark::State& state) {
  NameAndGet(state, PlainRecords(state, nullptr), PlainNames());
}
void BM_FloorGet(benchmark::State& state) {
  GetOnly(state, PlainRecords(state, SomeTypeInfo()), PlainNames());
}
void BM_FloorGetOwn(benchmark::State& state) {
  GetOnly(state, OwnRecords(state), Bstrs({L"DataString", L"Name"}));
}

void BM_FloorJScript(benchmark::State& state) {
  const ScriptEngine engine(L"JScript", kJScript);
  NameAndGet(state, ScriptRecords(state, engine), PlainNames());
}
void BM_FloorVbScript(benchmark::State& state) {
  const ScriptEngine engine(L"VBScript", kVbScript);
  const auto names = PlainNames();
  const auto records = ScriptRecords(state, engine);
  for ([[maybe_unused]] auto _ : state) {
    for (const auto& record : records) {
      const auto extended = record.As<IDispatchEx>();
      for (const Bstr& name : names) Get(*record.Get(), ExtendedIdOf(*extended.Get(), name));
    }
  }
  ReportPerField(state);
}

/// Makes records by `make` and puts a value into every field, by the ids that `idOf` has for it.
template <class Make, class IdsOf>
void PutLoop(benchmark::State& state, Make&& make, IdsOf&& idsOf) {
  std::vector<Text> values;
  for (std::size_t field = 0; field < kFields; ++field) values.push_back(ValueOf(12345, field));
  for ([[maybe_unused]] auto _ : state) {
    Records made;
    for (long number = 0; number < state.range(0); ++number) {
      auto record = make();
      const auto idOf = idsOf(record);
      for (std::size_t field = 0; field < kFields; ++field) {
        Put(*record.Get(), idOf(field), values[field]);
      }
      made.push_back(std::move(record));
    }
  }
  ReportPerField(state);
}

/// By names, of all records and of the creator.
void NameAndPut(benchmark::State& state, IDispatch& creator) {
  const auto names = PlainNames();
  const Bstr newObject(u"GetNewObject");
  PutLoop(
      state, [&] { return NewRecord(creator, IdOf(creator, newObject)); },
      [&](const ComPtr<IDispatch>& record) {
        return [&](std::size_t field) { return IdOf(*record.Get(), names[field]); };
      });
}

void BM_FloorNameAndPut(benchmark::State& state) {
  const auto creator = ComPtr<PlainCreator>::Adopt(new PlainCreator(nullptr));
  NameAndPut(state, *creator.Get());
}
void BM_FloorPut(benchmark::State& state) {
  const auto creator = ComPtr<PlainCreator>::Adopt(new PlainCreator(nullptr));
  const Bstr newObject(u"GetNewObject");
  const auto make = [&] { return NewRecord(*creator.Get(), IdOf(*creator.Get(), newObject)); };
  const auto first = make();
  std::vector<DISPID> ids;
  for (const Bstr& name : PlainNames()) ids.push_back(IdOf(*first.Get(), name));
  PutLoop(state, make,
          [&](const ComPtr<IDispatch>&) { return [&](std::size_t field) { return ids[field]; }; });
}

void BM_FloorPutJScript(benchmark::State& state) {
  const ScriptEngine engine(L"JScript", kJScript);
  NameAndPut(state, *engine.Call(L"MakeCreator", 0).Get());
}
void BM_FloorPutVbScript(benchmark::State& state) {
  const ScriptEngine engine(L"VBScript", kVbScript);
  const auto names = PlainNames();
  const Bstr newObject(u"GetNewObject");
  const auto creator = engine.Call(L"MakeCreator", 0);
  const auto known = creator.As<IDispatchEx>();
  PutLoop(
      state, [&] { return NewRecord(*creator.Get(), ExtendedIdOf(*known.Get(), newObject)); },
      [&](const ComPtr<IDispatch>& record) {
        return [&, extended = record.As<IDispatchEx>()](std::size_t field) {
          return ExtendedIdOf(*extended.Get(), names[field]);
        };
      });
}

// ---- The component -----------------------------------------------------------------------------

Bstr Saved(_clsCollectionSaveRestore& store, _clsCollection& collection) {
  Bstr text;
  Require(
      store.AsDelimitedFromCollection(&collection, Missing(), Missing(), Missing(), text.Receive()),
      "AsDelimitedFromCollection");
  if (text.View().empty()) Require(E_FAIL, "saving");
  return text;
}

void Save(benchmark::State& state, const Records& records, std::size_t fields) {
  const auto store = New<_clsCollectionSaveRestore>(CLSID_clsCollectionSaveRestore);
  const auto collection = CollectionOf(records);
  for ([[maybe_unused]] auto _ : state) Saved(*store.Get(), *collection.Get());
  ReportPerField(state, fields);
}

void BM_Save(benchmark::State& state) { Save(state, PlainRecords(state, nullptr), kFields); }
void BM_SaveDescribed(benchmark::State& state) {
  Save(state, PlainRecords(state, SomeTypeInfo()), kFields);
}
void BM_SaveJScript(benchmark::State& state) {
  const ScriptEngine engine(L"JScript", kJScript);
  Save(state, ScriptRecords(state, engine), kFields);
}
void BM_SaveVbScript(benchmark::State& state) {
  const ScriptEngine engine(L"VBScript", kVbScript);
  Save(state, ScriptRecords(state, engine), kFields);
}
void BM_SaveOwn(benchmark::State& state) { Save(state, OwnRecords(state), 2); }

void Restore(benchmark::State& state, const Records& records, IDispatch* creator,
             std::size_t fields) {
  const auto store = New<_clsCollectionSaveRestore>(CLSID_clsCollectionSaveRestore);
  const Bstr text = Saved(*store.Get(), *CollectionOf(records).Get());
  for ([[maybe_unused]] auto _ : state) {
    ComPtr<_clsCollection> restored;
    Require(store->AsDelimitedToCollection(text.Get(), creator, Missing(), Missing(), Missing(),
                                           restored.Receive()),
            "AsDelimitedToCollection");
    if (!restored) Require(E_FAIL, "restoring");
  }
  ReportPerField(state, fields);
}

void BM_Restore(benchmark::State& state) {
  const auto creator = ComPtr<PlainCreator>::Adopt(new PlainCreator(nullptr));
  Restore(state, PlainRecords(state, nullptr), creator.Get(), kFields);
}
void BM_RestoreDescribed(benchmark::State& state) {
  const auto creator = ComPtr<PlainCreator>::Adopt(new PlainCreator(SomeTypeInfo()));
  Restore(state, PlainRecords(state, nullptr), creator.Get(), kFields);
}
void BM_RestoreJScript(benchmark::State& state) {
  const ScriptEngine engine(L"JScript", kJScript);
  Restore(state, ScriptRecords(state, engine), engine.Call(L"MakeCreator", 0).Get(), kFields);
}
void BM_RestoreVbScript(benchmark::State& state) {
  const ScriptEngine engine(L"VBScript", kVbScript);
  Restore(state, ScriptRecords(state, engine), engine.Call(L"MakeCreator", 0).Get(), kFields);
}
void BM_RestoreOwn(benchmark::State& state) {
  const auto creator = New<_clsCreateTextData>(CLSID_clsCreateTextData);
  Restore(state, OwnRecords(state), creator.Get(), 2);
}

// ---- The pages of the text ---------------------------------------------------------------------

/// What the system takes for a fresh BSTR of the text's size that is filled once.
void FreshText(benchmark::State& state, const Records& records, std::size_t fields) {
  const auto store = New<_clsCollectionSaveRestore>(CLSID_clsCollectionSaveRestore);
  const Bstr text = Saved(*store.Get(), *CollectionOf(records).Get());
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(Bstr(text.View()).Get());
  ReportPerField(state, fields);
}

void BM_FreshText(benchmark::State& state) {
  FreshText(state, PlainRecords(state, nullptr), kFields);
}
void BM_FreshTextOwn(benchmark::State& state) { FreshText(state, OwnRecords(state), 2); }

// ---- Many collections in one text ---------------------------------------------------------------

/// Many collections of plain records, and how each of them is saved and restored alone. All hold
/// the same records, each under a name of its own.
class ManyCollections {
 public:
  ManyCollections(long count, long records)
      : collection_(CollectionOf(PlainRecordsOf(records, nullptr))),
        creator_(ComPtr<PlainCreator>::Adopt(new PlainCreator(nullptr))),
        recordEnd_(TextView(u"\u0160")),
        fieldEnd_(TextView(u"\u00BB")) {
    for (long number = 0; number < count; ++number) {
      names_.emplace_back(Text(u"Collection ").append(DecimalText(number)));
    }
  }

  /// By a factory that is looked up once: looking a class up takes longer than storing a few
  /// collections.
  static ComPtr<_clsCollectionSaveRestore> NewStore() {
    static const ComPtr<IClassFactory> factory = FactoryOf(CLSID_clsCollectionSaveRestore);
    ComPtr<_clsCollectionSaveRestore> store;
    Require(
        factory->CreateInstance(nullptr, __uuidof(_clsCollectionSaveRestore), store.ReceiveVoid()),
        "CreateInstance");
    return store;
  }

  Bstr SaveAlone(_clsCollectionSaveRestore& store) const {
    Bstr text;
    Require(store.AsDelimitedFromCollection(collection_.Get(), recordEnd_.Get(), fieldEnd_.Get(),
                                            Missing(), text.Receive()),
            "AsDelimitedFromCollection");
    return text;
  }

  void RestoreAlone(_clsCollectionSaveRestore& store, const Bstr& text) const {
    ComPtr<_clsCollection> restored;
    Require(store.AsDelimitedToCollection(text.Get(), creator_.Get(), recordEnd_.Get(),
                                          fieldEnd_.Get(), Missing(), restored.Receive()),
            "AsDelimitedToCollection");
    if (!restored) Require(E_FAIL, "restoring");
  }

  void StoreAll(_clsCollectionSaveRestore& store) const {
    for (const Bstr& name : names_) {
      VARIANT_BOOL isStored = VARIANT_FALSE;
      Require(store.StoreCollection(collection_.Get(), name.Get(), &isStored), "StoreCollection");
      if (isStored == VARIANT_FALSE) Require(E_FAIL, "storing");
    }
  }

  /// As StoreAll, by way of the whole text for each.
  void StoreAllByText(_clsCollectionSaveRestore& store) const {
    for (const Bstr& name : names_) StoreByText(store, name);
  }

  Bstr TakeTextWith(_clsCollectionSaveRestore& store, const Bstr& name) const {
    IDispatch* collection = collection_.Get();
    BSTR nameText = name.Get();
    Bstr text;
    Require(store.MultiDataColString(&collection, &nameText, text.Receive()), "MultiDataColString");
    return text;
  }

  void StoreByText(_clsCollectionSaveRestore& store, const Bstr& name) const {
    const Bstr text = TakeTextWith(store, name);
    Require(store.put_MultiDataString(text.Get()), "MultiDataString");
  }

  void ReadAll(_clsCollectionSaveRestore& store) const {
    for (const Bstr& name : names_) {
      ComPtr<_clsCollection> restored;
      Require(store.WorkingCol(name.Get(), creator_.Get(), Missing(), restored.Receive()),
              "WorkingCol");
      if (!restored) Require(E_FAIL, "reading");
    }
  }

  static Bstr TextOf(_clsCollectionSaveRestore& store) {
    Bstr text;
    Require(store.get_MultiDataString(text.Receive()), "MultiDataString");
    return text;
  }

  /// The text of all, each saved alone.
  Bstr TextOfAll() const {
    const Bstr alone = SaveAlone(*NewStore().Get());
    Text text(u"DataString\u00A5Name\u00A5\u0152");
    for (const Bstr& name : names_) {
      text.append(alone.View()).append(u"\u00A5").append(name.View()).append(u"\u00A5\u0152");
    }
    return Bstr(text);
  }

  ComPtr<_clsCollectionSaveRestore> NewStoreOfAll() const {
    auto store = NewStore();
    Require(store->put_MultiDataString(TextOfAll().Get()), "MultiDataString");
    return store;
  }

  const std::vector<Bstr>& Names() const { return names_; }

 private:
  ComPtr<_clsCollection> collection_;
  ComPtr<PlainCreator> creator_;
  Variant recordEnd_;
  Variant fieldEnd_;
  std::vector<Bstr> names_;
};

ManyCollections ManyOf(benchmark::State& state) {
  return {static_cast<long>(state.range(0)), static_cast<long>(state.range(1))};
}

void ReportPerFieldOfMany(benchmark::State& state) {
  state.counters["per_field"] = benchmark::Counter(
      static_cast<double>(state.range(0) * state.range(1)) * static_cast<double>(kFields),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_FloorStoreMany(benchmark::State& state) {
  const ManyCollections many = ManyOf(state);
  const auto store = ManyCollections::NewStore();
  for ([[maybe_unused]] auto _ : state) {
    for (std::size_t number = 0; number < many.Names().size(); ++number) {
      many.SaveAlone(*store.Get());
    }
  }
  ReportPerFieldOfMany(state);
}

/// Into a new instance, and the text at the end.
void BM_StoreMany(benchmark::State& state) {
  const ManyCollections many = ManyOf(state);
  for ([[maybe_unused]] auto _ : state) {
    const auto store = ManyCollections::NewStore();
    many.StoreAll(*store.Get());
    benchmark::DoNotOptimize(ManyCollections::TextOf(*store.Get()).Get());
  }
  ReportPerFieldOfMany(state);
}

/// A copy of the text of all.
void BM_FreshTextOfMany(benchmark::State& state) {
  const Bstr text = ManyOf(state).TextOfAll();
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(Bstr(text.View()).Get());
  ReportPerFieldOfMany(state);
}

void BM_FloorReadMany(benchmark::State& state) {
  const ManyCollections many = ManyOf(state);
  const auto store = ManyCollections::NewStore();
  const Bstr text = many.SaveAlone(*store.Get());
  for ([[maybe_unused]] auto _ : state) {
    for (std::size_t number = 0; number < many.Names().size(); ++number) {
      many.RestoreAlone(*store.Get(), text);
    }
  }
  ReportPerFieldOfMany(state);
}

/// From a text that is assigned first, as one that was read from a file.
void BM_ReadMany(benchmark::State& state) {
  const ManyCollections many = ManyOf(state);
  const Bstr text = many.TextOfAll();
  for ([[maybe_unused]] auto _ : state) {
    const auto store = ManyCollections::NewStore();
    Require(store->put_MultiDataString(text.Get()), "MultiDataString");
    many.ReadAll(*store.Get());
  }
  ReportPerFieldOfMany(state);
}

/// What storing one collection by way of the whole text cannot go below: saving it and a copy of
/// the text.
void BM_FloorStoreByText(benchmark::State& state) {
  const ManyCollections many = ManyOf(state);
  const auto store = ManyCollections::NewStore();
  const Bstr text = many.TextOfAll();
  for ([[maybe_unused]] auto _ : state) {
    many.SaveAlone(*store.Get());
    benchmark::DoNotOptimize(Bstr(text.View()).Get());
  }
  ReportPerFieldOfMany(state);
}

/// One collection in the middle, again and again: MultiDataColString alone.
void BM_TakeTextWithOne(benchmark::State& state) {
  const ManyCollections many = ManyOf(state);
  const auto store = many.NewStoreOfAll();
  const Bstr& name = many.Names()[many.Names().size() / 2];
  for ([[maybe_unused]] auto _ : state) many.TakeTextWith(*store.Get(), name);
  ReportPerFieldOfMany(state);
}

/// The same, and its result is assigned.
void BM_StoreByText(benchmark::State& state) {
  const ManyCollections many = ManyOf(state);
  const auto store = many.NewStoreOfAll();
  const Bstr& name = many.Names()[many.Names().size() / 2];
  for ([[maybe_unused]] auto _ : state) many.StoreByText(*store.Get(), name);
  ReportPerFieldOfMany(state);
}

/// What storing all of them by way of the text cannot go below: saving each, and a copy of the text
/// with those before it.
void BM_FloorStoreAllByText(benchmark::State& state) {
  const ManyCollections many = ManyOf(state);
  const auto store = ManyCollections::NewStore();
  const Bstr text = many.TextOfAll();
  const std::size_t count = many.Names().size();
  for ([[maybe_unused]] auto _ : state) {
    for (std::size_t number = 1; number <= count; ++number) {
      many.SaveAlone(*store.Get());
      const TextView whole = text.View();
      benchmark::DoNotOptimize(Bstr(whole.substr(0, whole.size() / count * number)).Get());
    }
  }
  ReportPerFieldOfMany(state);
}

void BM_StoreAllByText(benchmark::State& state) {
  const ManyCollections many = ManyOf(state);
  for ([[maybe_unused]] auto _ : state) {
    many.StoreAllByText(*ManyCollections::NewStore().Get());
  }
  ReportPerFieldOfMany(state);
}

// ---- Small calls -------------------------------------------------------------------------------

void ReportPerCall(benchmark::State& state) {
  state.counters["per_field"] = benchmark::Counter(
      1, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_SaveObject(benchmark::State& state) {
  const auto store = ManyCollections::NewStore();
  const Records records = PlainRecordsOf(1, nullptr);
  for ([[maybe_unused]] auto _ : state) {
    Bstr text;
    Require(store->AsDelimitedFromObject(records.front().Get(), text.Receive()),
            "AsDelimitedFromObject");
  }
  ReportPerCall(state);
}

void BM_RestoreObject(benchmark::State& state) {
  const auto store = ManyCollections::NewStore();
  const Records records = PlainRecordsOf(1, nullptr);
  const auto creator = ComPtr<PlainCreator>::Adopt(new PlainCreator(nullptr));
  Bstr text;
  Require(store->AsDelimitedFromObject(records.front().Get(), text.Receive()),
          "AsDelimitedFromObject");
  for ([[maybe_unused]] auto _ : state) {
    ComPtr<IDispatch> restored;
    Require(store->GetObjectFromString(text.Get(), creator.Get(), restored.Receive()),
            "GetObjectFromString");
    if (!restored) Require(E_FAIL, "restoring");
  }
  ReportPerCall(state);
}

/// Member names as a record lists them that has no collection of them at hand, all late bound.
void BM_BuildNames(benchmark::State& state) {
  const ComPtr<IClassFactory> factory = FactoryOf(CLSID_clsCollection);
  std::vector<Variant> names;
  for (const Bstr& name : PlainNames()) names.emplace_back(name.View());
  const Bstr add(u"Add");
  for ([[maybe_unused]] auto _ : state) {
    ComPtr<IDispatch> collection;
    Require(factory->CreateInstance(nullptr, IID_IDispatch, collection.ReceiveVoid()),
            "CreateInstance");
    for (const Variant& name : names) {
      const DISPID id = IdOf(*collection.Get(), add);
      VARIANT arguments[2] = {name.Get(), name.Get()};
      DISPPARAMS params{arguments, nullptr, 2, 0};
      Require(collection->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params,
                                 nullptr, nullptr, nullptr),
              "Add");
    }
  }
  ReportPerCall(state);
}

// ---- The collection ----------------------------------------------------------------------------

/// A collection of numbered texts, each under its own key.
ComPtr<_clsCollection> Numbers(long count) {
  auto collection = New<_clsCollection>(CLSID_clsCollection);
  for (long number = 0; number < count; ++number) {
    const Variant text(DecimalText(number));
    Require(collection->Add(text.Get(), text.Get(), Missing(), Missing()), "Add");
  }
  return collection;
}

void ItemLoop(benchmark::State& state, const std::vector<Variant>& indexes) {
  const auto collection = Numbers(static_cast<long>(state.range(0)));
  for ([[maybe_unused]] auto _ : state) {
    for (const Variant& index : indexes) {
      Variant item;
      Require(collection->get_Item(index.Get(), item.Receive()), "Item");
    }
  }
  state.counters["per_field"] = benchmark::Counter(
      static_cast<double>(indexes.size()),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// A thousand places all over a collection of so many.
std::vector<std::int32_t> Places(benchmark::State& state) {
  std::vector<std::int32_t> places;
  for (std::int64_t step = 0; step < 1000; ++step) {
    places.push_back(static_cast<std::int32_t>(step * 7919 % state.range(0)));
  }
  return places;
}

void BM_ItemAtPosition(benchmark::State& state) {
  std::vector<Variant> indexes;
  for (const std::int32_t place : Places(state)) {
    VARIANT index;
    index.vt = VT_I4;
    index.lVal = place + 1;
    indexes.emplace_back(index);
  }
  ItemLoop(state, indexes);
}

void BM_ItemUnderKey(benchmark::State& state) {
  std::vector<Variant> indexes;
  for (const std::int32_t place : Places(state)) indexes.emplace_back(DecimalText(place));
  ItemLoop(state, indexes);
}

void BM_ForEach(benchmark::State& state) {
  const auto collection = Numbers(static_cast<long>(state.range(0)));
  for ([[maybe_unused]] auto _ : state) {
    ComPtr<IUnknown> unknown;
    Require(collection->get__NewEnum(unknown.Receive()), "_NewEnum");
    const auto entries = unknown.As<IEnumVARIANT>();
    Variant entry;
    while (entries->Next(1, entry.Receive(), nullptr) == S_OK)
      benchmark::DoNotOptimize(entry.Get());
  }
  ReportPerField(state, 1);
}

/// Takes the entry in the middle out and puts it back before the one that followed.
void BM_MoveInTheMiddle(benchmark::State& state) {
  const auto collection = Numbers(static_cast<long>(state.range(0)));
  VARIANT middle;
  middle.vt = VT_I4;
  middle.lVal = static_cast<LONG>(state.range(0) / 2);
  for ([[maybe_unused]] auto _ : state) {
    Variant entry;
    Require(collection->get_Item(middle, entry.Receive()), "Item");
    Require(collection->Remove(middle), "Remove");
    Require(collection->Add(entry.Get(), entry.Get(), middle, Missing()), "Add");
  }
  state.counters["per_field"] = benchmark::Counter(
      1, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// The least that an entry in the middle costs in an array of positions: moving those after it
/// twice.
void BM_FloorMoveInTheMiddle(benchmark::State& state) {
  std::vector<void*> positions(static_cast<std::size_t>(state.range(0)));
  const auto middle = static_cast<std::ptrdiff_t>(state.range(0) / 2);
  for ([[maybe_unused]] auto _ : state) {
    positions.erase(positions.begin() + middle);
    positions.insert(positions.begin() + middle, nullptr);
    benchmark::ClobberMemory();
  }
  state.counters["per_field"] = benchmark::Counter(
      1, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// From a few collections of twenty records to as many as a settings file may have, and a few large
/// ones.
void OfMany(benchmark::internal::Benchmark* bench) {
  for (const std::int64_t count : {10, 100, 1000, 10000}) bench->Args({count, 20});
  bench->Args({1000, 100})->Args({400, 1000})->Unit(benchmark::kMillisecond);
}

/// As many as fill the text that is copied for each of them, at once.
void OfManyByText(benchmark::internal::Benchmark* bench) {
  bench->Args({1000, 100})->Args({400, 1000})->Unit(benchmark::kMillisecond);
}

/// A copy for each of a thousand takes minutes on machines whose pages are dear.
void OfManyByTextOnce(benchmark::internal::Benchmark* bench) {
  bench->Args({1000, 100})->Iterations(1)->Repetitions(1)->Unit(benchmark::kMillisecond);
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(1)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
}

/// As Sizes, and the most that has room beside its objects in a 32-bit process.
void SizesToTheMost(benchmark::internal::Benchmark* bench) {
  bench->Arg(1)->Arg(10)->Arg(1000)->Arg(100000)->Arg(300000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_FloorNameAndGet)->Apply(SizesToTheMost);
BENCHMARK(BM_FreshText)->Apply(SizesToTheMost);
BENCHMARK(BM_Save)->Apply(SizesToTheMost);
BENCHMARK(BM_FloorGet)->Apply(Sizes);
BENCHMARK(BM_SaveDescribed)->Apply(Sizes);
BENCHMARK(BM_FloorGetOwn)->Apply(Sizes);
BENCHMARK(BM_SaveOwn)->Apply(Sizes);
BENCHMARK(BM_FreshTextOwn)->Apply(Sizes);

/// As many of a script's objects as its engine makes in the time that this may take.
void OfScripts(benchmark::internal::Benchmark* bench) {
  bench->Arg(20000)->Arg(100000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_FloorJScript)->Apply(OfScripts);
BENCHMARK(BM_SaveJScript)->Apply(OfScripts);
BENCHMARK(BM_FloorPutJScript)->Apply(OfScripts);
BENCHMARK(BM_RestoreJScript)->Apply(OfScripts);
BENCHMARK(BM_FloorVbScript)->Apply(OfScripts);
BENCHMARK(BM_SaveVbScript)->Apply(OfScripts);
BENCHMARK(BM_FloorPutVbScript)->Apply(OfScripts);
BENCHMARK(BM_RestoreVbScript)->Apply(OfScripts);
BENCHMARK(BM_FloorNameAndPut)->Apply(SizesToTheMost);
BENCHMARK(BM_Restore)->Apply(SizesToTheMost);
BENCHMARK(BM_FloorPut)->Apply(Sizes);
BENCHMARK(BM_RestoreDescribed)->Apply(Sizes);
BENCHMARK(BM_RestoreOwn)->Apply(Sizes);
BENCHMARK(BM_FloorStoreMany)->Apply(OfMany);
BENCHMARK(BM_StoreMany)->Apply(OfMany);
BENCHMARK(BM_FreshTextOfMany)->Apply(OfMany);
BENCHMARK(BM_FloorReadMany)->Apply(OfMany);
BENCHMARK(BM_ReadMany)->Apply(OfMany);
BENCHMARK(BM_FloorStoreByText)->Apply(OfManyByText);
BENCHMARK(BM_TakeTextWithOne)->Apply(OfManyByText);
BENCHMARK(BM_StoreByText)->Apply(OfManyByText);
BENCHMARK(BM_FloorStoreAllByText)->Apply(OfManyByTextOnce);
BENCHMARK(BM_StoreAllByText)->Apply(OfManyByTextOnce);
BENCHMARK(BM_SaveObject);
BENCHMARK(BM_RestoreObject);
BENCHMARK(BM_BuildNames);
BENCHMARK(BM_ItemAtPosition)->Arg(1000)->Arg(100000);
BENCHMARK(BM_ItemUnderKey)->Arg(1000)->Arg(100000);
BENCHMARK(BM_ForEach)->Arg(1000)->Arg(100000);
BENCHMARK(BM_FloorMoveInTheMiddle)->Arg(100000);
BENCHMARK(BM_MoveInTheMiddle)->Arg(100000);

}  // namespace
}  // namespace brindlex::bench

int main(int argc, char** argv) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  CoUninitialize();
  return 0;
}
