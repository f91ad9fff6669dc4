// Saving and restoring records of five fields, from a thousand records to a million: the time per
// field must not grow with the collection; and one collection out of a text of many.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "automation/collection.h"
#include "automation/object.h"
#include "automation/runtime_error.h"
#include "persistence/collection_save_restore.h"
#include "persistence/delimited_text.h"
#include "persistence/text_data.h"
#include "platform/memory/memory_platform.h"

namespace brindlex {
namespace {

constexpr std::size_t kFields = 5;

struct Record {
  std::array<Text, kFields> fields;
  long references = 1;
};

std::vector<Text> FieldNames() { return {u"Title", u"Author", u"Year", u"Price", u"Remarks"}; }

CollectionRef NewInnerCollection() { return std::make_shared<InnerCollection>(); }

/// Records as cheap to reach as objects can be, so that the time is that of the component.
class RecordAdapter : public ObjectAdapter {
 public:
  Object NewRecord() const { return {*this, new Record}; }
  Record& RecordOf(const Object& object) const { return *static_cast<Record*>(object.Self(*this)); }

  void AddRef(void* object) const noexcept override { ++static_cast<Record*>(object)->references; }
  void Release(void* object) const noexcept override {
    auto* const record = static_cast<Record*>(object);
    if (--record->references == 0) delete record;
  }
  Object CallForObject(void*, MemberName) const override { return NewRecord(); }
  CollectionRef CallForCollection(void*, MemberName) const override {
    CollectionRef names = NewCollection();
    for (const Text& name : FieldNames()) names->Add(name, name);
    return names;
  }
  std::vector<Text> PropertyGetNames(void*) const override { return FieldNames(); }
  std::unique_ptr<MemberAccess> Access(std::span<const Text> names) const override;
  CollectionRef NewCollection() const override { return NewInnerCollection(); }
};

class RecordAccess : public MemberAccess {
 public:
  RecordAccess(const RecordAdapter& adapter, std::span<const Text> names)
      : MemberAccess(names), adapter_(adapter) {}
  void AppendText(const Object& object, std::size_t member, TextBuilder& text) override {
    text.Append(adapter_.RecordOf(object).fields.at(member));
  }
  void LetText(const Object& object, std::size_t member, TextView value) override {
    adapter_.RecordOf(object).fields.at(member) = value;
  }

 private:
  const RecordAdapter& adapter_;
};

std::unique_ptr<MemberAccess> RecordAdapter::Access(std::span<const Text> names) const {
  return std::make_unique<RecordAccess>(*this, names);
}

class SilentPlatform : public MemoryPlatform {
 public:
  void ShowBox(const Report&) override { throw RuntimeError(error_number::kInternal); }
  CollectionRef NewCollection() override { return NewInnerCollection(); }
};

CollectionRef RecordsOf(const RecordAdapter& adapter, std::int32_t count) {
  CollectionRef records = adapter.NewCollection();
  for (std::int32_t number = 0; number < count; ++number) {
    Object object = adapter.NewRecord();
    const Text digits = DecimalText(number);
    adapter.RecordOf(object).fields = {digits, u"Author", u"2026", u"12.50", u"remark"};
    records->Add(std::move(object), std::nullopt);
  }
  return records;
}

void ReportPerField(benchmark::State& state) {
  const auto fields = static_cast<double>(state.range(0)) * static_cast<double>(kFields);
  state.counters["per_field"] = benchmark::Counter(
      fields, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_Save(benchmark::State& state) {
  SilentPlatform platform;
  RecordAdapter adapter;
  clsCollectionSaveRestore saveRestore(platform);
  const CollectionRef records = RecordsOf(adapter, static_cast<std::int32_t>(state.range(0)));
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(saveRestore.AsDelimitedFromCollection(records));
  }
  ReportPerField(state);
}

void RestoreUnder(TextView key, benchmark::State& state) {
  SilentPlatform platform;
  RecordAdapter adapter;
  clsCollectionSaveRestore saveRestore(platform);
  const Object creator = adapter.NewRecord();
  const Text text = saveRestore.AsDelimitedFromCollection(
      RecordsOf(adapter, static_cast<std::int32_t>(state.range(0))));
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(saveRestore.AsDelimitedToCollection(text, creator, {}, {}, key));
  }
  ReportPerField(state);
}

/// What no saving can go below: the same texts of the same records, copied one after the other
/// into fresh memory.
void BM_FloorSave(benchmark::State& state) {
  RecordAdapter adapter;
  const Markers markers = DefaultMarkers();
  const auto count = static_cast<std::int32_t>(state.range(0));
  std::vector<Object> objects;
  std::size_t size = 1;
  const CollectionRef records = RecordsOf(adapter, count);
  records->ForEachObject([&](const Object& object) {
    for (const Text& field : adapter.RecordOf(object).fields) size += field.size() + 2;
    objects.push_back(object);
    return true;
  });
  for ([[maybe_unused]] auto _ : state) {
    const std::unique_ptr<char16_t[]> text(new char16_t[size]);
    char16_t* end = text.get();
    for (const Object& object : objects) {
      for (const Text& field : adapter.RecordOf(object).fields) {
        end = std::copy(field.begin(), field.end(), end);
        *end++ = markers.fieldEnd.front();
      }
      *end++ = markers.recordEnd.front();
    }
    benchmark::DoNotOptimize(text.get());
    benchmark::ClobberMemory();
  }
  ReportPerField(state);
}

/// The same keys in the standard library's hash table, made for so many of them at once.
void BM_FloorKeys(benchmark::State& state) {
  const auto count = static_cast<std::int32_t>(state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    std::unordered_map<Text, std::int32_t> numbers;
    numbers.reserve(static_cast<std::size_t>(count));
    for (std::int32_t number = 0; number < count; ++number) {
      numbers.emplace(DecimalText(number), number);
    }
    benchmark::DoNotOptimize(numbers.size());
  }
  ReportPerField(state);
}

void BM_Restore(benchmark::State& state) { RestoreUnder({}, state); }
void BM_RestoreKeyed(benchmark::State& state) { RestoreUnder(u"Title", state); }

// ---- Many collections in one text --------------------------------------------------------------

constexpr std::int32_t kCollections = 100;
constexpr std::int32_t kRecordsInEach = 10000;

/// A text of many collections, all alike.
struct ManyCollections {
  ManyCollections() {
    const TextDataAdapter blocks(platform);
    const CollectionRef all = blocks.NewCollection();
    for (std::int32_t number = 0; number < kCollections; ++number) {
      all->Add(blocks.NewRecord({inner, Text(u"Collection ").append(DecimalText(number))}), {});
    }
    text = store.AsDelimitedFromCollection(all);
    store.SetMultiDataString(text);
  }

  Text SaveOne() { return store.AsDelimitedFromCollection(records, u"\u0160", u"\u00BB"); }
  CollectionRef RestoreOne(TextView text) {
    return store.AsDelimitedToCollection(text, creator, u"\u0160", u"\u00BB");
  }
  /// The texts of all collections: what no reading can go below.
  std::vector<Text> CopyOfAll() const {
    std::vector<Text> texts;
    const Markers markers = DefaultMarkers();
    const auto parser = ParseRecords(text, markers);
    for (parser->Next(); parser->Next();) texts.emplace_back(parser->Fields()[0]);
    return texts;
  }

  SilentPlatform platform;
  RecordAdapter adapter;
  clsCollectionSaveRestore store{platform};
  const Object creator = adapter.NewRecord();
  const CollectionRef records = RecordsOf(adapter, kRecordsInEach);
  const Text inner = SaveOne();
  Text text;
};

void ReportPerFieldOfMany(benchmark::State& state) {
  state.counters["per_field"] = benchmark::Counter(
      static_cast<double>(kCollections) * kRecordsInEach * static_cast<double>(kFields),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_FloorWorkingCol(benchmark::State& state) {
  ManyCollections many;
  for ([[maybe_unused]] auto _ : state) {
    const std::vector<Text> texts = many.CopyOfAll();
    benchmark::DoNotOptimize(many.RestoreOne(texts[50]));
  }
  ReportPerFieldOfMany(state);
}

void BM_WorkingCol(benchmark::State& state) {
  ManyCollections many;
  for ([[maybe_unused]] auto _ : state) {
    const CollectionRef restored = many.store.WorkingCol(u"Collection 50", many.creator);
    if (restored == nullptr) state.SkipWithError("there is no such collection");
  }
  ReportPerFieldOfMany(state);
}

void BM_FloorMultiDataColString(benchmark::State& state) {
  ManyCollections many;
  for ([[maybe_unused]] auto _ : state) {
    const std::vector<Text> texts = many.CopyOfAll();
    benchmark::DoNotOptimize(many.SaveOne());
    Text all;
    all.reserve(many.text.size());
    for (const Text& text : texts) all.append(text);
    benchmark::DoNotOptimize(all);
  }
  ReportPerFieldOfMany(state);
}

void BM_MultiDataColString(benchmark::State& state) {
  ManyCollections many;
  for ([[maybe_unused]] auto _ : state) {
    const Text text = many.store.MultiDataColString(many.records, u"Collection 50");
    if (text.empty()) state.SkipWithError("nothing was saved");
  }
  ReportPerFieldOfMany(state);
}

BENCHMARK(BM_FloorWorkingCol);
BENCHMARK(BM_WorkingCol);
BENCHMARK(BM_FloorMultiDataColString);
BENCHMARK(BM_MultiDataColString);

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->RangeMultiplier(10)->Range(1000, 1000000);
}

BENCHMARK(BM_Save)->Apply(Sizes);
BENCHMARK(BM_FloorSave)->Apply(Sizes);
BENCHMARK(BM_Restore)->Apply(Sizes);
BENCHMARK(BM_RestoreKeyed)->Apply(Sizes);
BENCHMARK(BM_FloorKeys)->Apply(Sizes);

}  // namespace
}  // namespace brindlex

BENCHMARK_MAIN();
