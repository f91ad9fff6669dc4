// The text engine alone, without objects: writing records field by field and parsing a text
// field by field, beside a copy of the same text and beside other libraries on the same data.

#include <benchmark/benchmark.h>
#include <csv.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "automation/text_builder.h"
#include "persistence/delimited_text.h"

namespace brindlex {
namespace {

/// What a column of records holds: values of one kind, as wide and as narrow text.
struct Column {
  std::vector<Text> wide;
  std::vector<std::string> narrow;
};

/// Records of `columns` short fields, each with a value of its column's kind.
struct Data {
  std::size_t records;
  std::size_t columns;
  std::array<Column, 5> kinds;
  /// Which of the values each field has: in no order, since the processor learns what repeats
  /// itself, and takes half the time for it then.
  std::array<std::uint16_t, 65536> order;
};

/// Few enough values to be in the cache, so that the time is that of the engine.
Data DataFor(benchmark::State& state) {
  Data data{
      static_cast<std::size_t>(state.range(0)), static_cast<std::size_t>(state.range(1)), {}, {}};
  constexpr int kValues = 80;
  for (int value = 0; value < kValues; ++value) {
    const std::string number = std::to_string(value * 7919);
    const std::string kinds[] = {
        "Title " + number, "2026-01-" + std::to_string(value % 28 + 1),
        std::to_string(value * value), std::to_string(value) + ".50",
        "a remark " + std::string(static_cast<std::size_t>(value % 27), 'x')};
    for (std::size_t kind = 0; kind < data.kinds.size(); ++kind) {
      data.kinds[kind].narrow.push_back(kinds[kind]);
      data.kinds[kind].wide.emplace_back(kinds[kind].begin(), kinds[kind].end());
    }
  }
  std::minstd_rand random;
  for (std::uint16_t& value : data.order) value = static_cast<std::uint16_t>(random() % kValues);
  return data;
}

/// Calls `use` with every field, as `Column` has it in `values`, and whether it ends a record.
template <class Value, class Use>
void ForEachField(const Data& data, std::vector<Value> Column::*values, Use&& use) {
  std::size_t next = 0;
  for (std::size_t record = 0; record < data.records; ++record) {
    for (std::size_t column = 0; column < data.columns; ++column) {
      const Column& kind = data.kinds[column % data.kinds.size()];
      use((kind.*values)[data.order[next++ % data.order.size()]], column + 1 == data.columns);
    }
  }
}

void ReportPerField(benchmark::State& state) {
  const auto fields = static_cast<double>(state.range(0) * state.range(1));
  state.counters["per_field"] = benchmark::Counter(
      fields, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

Text Written(const Data& data) {
  const Markers markers = DefaultMarkers();
  StringTextBuilder text;
  const auto expected = data.records * data.columns * 13;
  ForEachField(data, &Column::wide, [&](const Text& value, bool isLast) {
    if (text.Size() == 0) text.SetSizeHint(expected);
    text.Append(value);
    text.AppendMarker(markers.fieldEnd);
    if (isLast) text.AppendMarker(markers.recordEnd);
  });
  return text.Take();
}

void BM_Write(benchmark::State& state) {
  const Data data = DataFor(state);
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(Written(data));
  ReportPerField(state);
}

void BM_CopyIntoFreshMemory(benchmark::State& state) {
  const Text text = Written(DataFor(state));
  for ([[maybe_unused]] auto _ : state) {
    const std::unique_ptr<char16_t[]> copy(new char16_t[text.size()]);
    std::memcpy(copy.get(), text.data(), text.size() * sizeof(char16_t));
    benchmark::DoNotOptimize(copy.get());
    benchmark::ClobberMemory();
  }
  ReportPerField(state);
}

void BM_Walk(benchmark::State& state) {
  const Text text = Written(DataFor(state));
  const Markers markers = DefaultMarkers();
  for ([[maybe_unused]] auto _ : state) {
    std::size_t units = 0;
    const auto parser = ParseRecords(text, markers);
    while (parser->Next()) {
      for (const TextView field : parser->Fields()) units += field.size();
    }
    benchmark::DoNotOptimize(units);
  }
  ReportPerField(state);
}

/// The same data as an array of arrays.
std::string AsJson(const Data& data) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.StartArray();
  bool isFirst = true;
  ForEachField(data, &Column::narrow, [&](const std::string& value, bool isLast) {
    if (isFirst) writer.StartArray();
    writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
    if (isLast) writer.EndArray();
    isFirst = isLast;
  });
  writer.EndArray();
  return {buffer.GetString(), buffer.GetSize()};
}

void BM_WriteRapidJson(benchmark::State& state) {
  const Data data = DataFor(state);
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(AsJson(data));
  ReportPerField(state);
}

void BM_ParseRapidJson(benchmark::State& state) {
  const std::string json = AsJson(DataFor(state));
  for ([[maybe_unused]] auto _ : state) {
    rapidjson::Document document;
    document.Parse(json.data(), json.size());
    benchmark::DoNotOptimize(document.Size());
  }
  ReportPerField(state);
}

void BM_WalkSimdJson(benchmark::State& state) {
  const simdjson::padded_string json(AsJson(DataFor(state)));
  simdjson::ondemand::parser parser;
  for ([[maybe_unused]] auto _ : state) {
    std::size_t units = 0;
    auto document = parser.iterate(json);
    for (auto record : document.get_array()) {
      for (auto field : record.get_array()) units += std::string_view(field.get_string()).size();
    }
    benchmark::DoNotOptimize(units);
  }
  ReportPerField(state);
}

std::string AsCsv(const Data& data) {
  std::string csv;
  std::string quoted;
  ForEachField(data, &Column::narrow, [&](const std::string& value, bool isLast) {
    quoted.resize(2 * value.size() + 2);
    quoted.resize(csv_write(quoted.data(), quoted.size(), value.data(), value.size()));
    csv += quoted;
    csv += isLast ? '\n' : ',';
  });
  return csv;
}

void BM_WriteLibcsv(benchmark::State& state) {
  const Data data = DataFor(state);
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(AsCsv(data));
  ReportPerField(state);
}

void BM_WalkLibcsv(benchmark::State& state) {
  const std::string csv = AsCsv(DataFor(state));
  for ([[maybe_unused]] auto _ : state) {
    std::size_t units = 0;
    csv_parser parser;
    csv_init(&parser, 0);
    const auto count = [](void*, std::size_t size, void* sum) {
      *static_cast<std::size_t*>(sum) += size;
    };
    csv_parse(&parser, csv.data(), csv.size(), count, nullptr, &units);
    csv_fini(&parser, count, nullptr, &units);
    csv_free(&parser);
    benchmark::DoNotOptimize(units);
  }
  ReportPerField(state);
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Args({100000, 5})->Args({1000000, 10})->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_Write)->Apply(Sizes);
BENCHMARK(BM_CopyIntoFreshMemory)->Apply(Sizes);
BENCHMARK(BM_WriteRapidJson)->Apply(Sizes);
BENCHMARK(BM_WriteLibcsv)->Apply(Sizes);
BENCHMARK(BM_Walk)->Apply(Sizes);
BENCHMARK(BM_WalkSimdJson)->Apply(Sizes);
BENCHMARK(BM_WalkLibcsv)->Apply(Sizes);
BENCHMARK(BM_ParseRapidJson)->Apply(Sizes);

}  // namespace
}  // namespace brindlex

BENCHMARK_MAIN();
