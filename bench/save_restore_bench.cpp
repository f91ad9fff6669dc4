// Saving and restoring records of five fields, from a thousand records to a hundred thousand: the
// time per field must not grow with the collection.

#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "automation/collection.h"
#include "automation/object.h"
#include "automation/runtime_error.h"
#include "persistence/collection_save_restore.h"
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
class RecordFamily : public ObjectFamily {
 public:
  Object NewRecord() const { return {*this, new Record}; }
  Record& RecordOf(const Object& object) const { return *static_cast<Record*>(object.Self(*this)); }

  void AddRef(void* object) const noexcept override { ++static_cast<Record*>(object)->references; }
  void Release(void* object) const noexcept override {
    auto* const record = static_cast<Record*>(object);
    if (--record->references == 0) delete record;
  }
  Object CallForObject(void*, TextView) const override { return NewRecord(); }
  CollectionRef CallForCollection(void*, TextView) const override {
    CollectionRef names = NewCollection();
    for (const Text& name : FieldNames()) names->Add(name, name);
    return names;
  }
  std::vector<Text> PropertyGetNames(void*) const override { return FieldNames(); }
  std::unique_ptr<MemberAccess> Access(std::vector<Text> names) const override;
  CollectionRef NewCollection() const override { return NewInnerCollection(); }
};

class RecordAccess : public MemberAccess {
 public:
  RecordAccess(const RecordFamily& family, std::vector<Text> names)
      : MemberAccess(std::move(names)), family_(family) {}
  void AppendText(const Object& object, std::size_t member, TextBuilder& text) override {
    text.Append(family_.RecordOf(object).fields.at(member));
  }
  void LetText(const Object& object, std::size_t member, TextView value) override {
    family_.RecordOf(object).fields.at(member) = value;
  }

 private:
  const RecordFamily& family_;
};

std::unique_ptr<MemberAccess> RecordFamily::Access(std::vector<Text> names) const {
  return std::make_unique<RecordAccess>(*this, std::move(names));
}

class SilentPlatform : public MemoryPlatform {
 public:
  void ShowReport(const Report&) override { throw RuntimeError(error_number::kInternal); }
  CollectionRef NewCollection() override { return NewInnerCollection(); }
};

CollectionRef RecordsOf(const RecordFamily& family, std::int32_t count) {
  CollectionRef records = family.NewCollection();
  for (std::int32_t number = 0; number < count; ++number) {
    Object object = family.NewRecord();
    const Text digits = DecimalText(number);
    family.RecordOf(object).fields = {digits, u"Author", u"2026", u"12.50", u"remark"};
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
  RecordFamily family;
  clsCollectionSaveRestore saveRestore(platform);
  const CollectionRef records = RecordsOf(family, static_cast<std::int32_t>(state.range(0)));
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(saveRestore.AsDelimitedFromCollection(records));
  }
  ReportPerField(state);
}

void RestoreUnder(TextView key, benchmark::State& state) {
  SilentPlatform platform;
  RecordFamily family;
  clsCollectionSaveRestore saveRestore(platform);
  const Object creator = family.NewRecord();
  const Text text = saveRestore.AsDelimitedFromCollection(
      RecordsOf(family, static_cast<std::int32_t>(state.range(0))));
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(saveRestore.AsDelimitedToCollection(text, creator, {}, {}, key));
  }
  ReportPerField(state);
}

void BM_Restore(benchmark::State& state) { RestoreUnder({}, state); }
void BM_RestoreKeyed(benchmark::State& state) { RestoreUnder(u"Title", state); }

BENCHMARK(BM_Save)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(BM_Restore)->RangeMultiplier(10)->Range(1000, 1000000);
BENCHMARK(BM_RestoreKeyed)->RangeMultiplier(10)->Range(1000, 1000000);

}  // namespace
}  // namespace brindlex

BENCHMARK_MAIN();
