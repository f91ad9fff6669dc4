// What the secret key of the hash costs: the hash of the key table beside the one without a key
// that it replaced, alone and in the table itself, which both fill and search in the same way.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <deque>
#include <vector>

#include "automation/half_sip_hash.h"
#include "automation/hash_key.h"
#include "automation/key_index.h"
#include "automation/text.h"

namespace brindlex {
namespace {

/// The hash that was in use before, kept for the comparison alone: whoever knows it makes keys that
/// collide. Not inline, as the one in use is not.
[[gnu::noinline]] std::uint32_t UnkeyedHash(TextView text) noexcept {
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15U;
  std::uint64_t hash = text.size();
  for (const char16_t unit : text) {
    hash = (hash ^ FoldCase(unit)) * kMultiplier;
    hash ^= hash >> 32U;
  }
  return static_cast<std::uint32_t>(hash);
}

std::uint32_t HashInUse(TextView text) noexcept { return IndexHashIgnoringCase(text); }

/// The one of 32-bit processors.
[[gnu::noinline]] std::uint32_t HalfHash(TextView text) noexcept {
  return HalfSipHash<1, 3>(HashKey().low, text, [](char16_t unit) { return FoldCase(unit); });
}

using Hash = std::uint32_t (*)(TextView) noexcept;

/// The letters of a name, then a number, `size` units in all.
Text KeyOfSize(std::size_t size, std::int32_t number) {
  const Text digits = DecimalText(number);
  Text key;
  while (key.size() + digits.size() < size) {
    key.push_back(static_cast<char16_t>((key.size() % 5 == 0 ? u'A' : u'a') + key.size() % 26));
  }
  return key.append(digits).substr(0, size);
}

std::vector<Text> Keys(std::int32_t count, std::size_t size) {
  std::vector<Text> keys;
  keys.reserve(static_cast<std::size_t>(count));
  for (std::int32_t number = 0; number < count; ++number) {
    keys.push_back(KeyOfSize(size, 1000000 + number));
  }
  return keys;
}

/// As many keys as the benchmark asks for, of the usual size: numbered in order when its second
/// argument is 0, else by numbers that look random, all different.
std::vector<Text> KeysFor(const benchmark::State& state) {
  constexpr std::size_t kUsualSize = 12;
  const auto count = static_cast<std::int32_t>(state.range(0));
  if (state.range(1) == 0) return Keys(count, kUsualSize);
  std::vector<Text> keys;
  keys.reserve(static_cast<std::size_t>(count));
  for (std::int64_t number = 1; number <= count; ++number) {
    keys.push_back(
        KeyOfSize(kUsualSize, static_cast<std::int32_t>(number * 1103515245 % 0x7FFFFFFF)));
  }
  return keys;
}

void ReportPerKey(benchmark::State& state, std::size_t count) {
  state.counters["per_field"] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

template <Hash kHash>
void BM_Hash(benchmark::State& state) {
  constexpr std::int32_t kCount = 256;
  const std::vector<Text> keys = Keys(kCount, static_cast<std::size_t>(state.range(0)));
  for ([[maybe_unused]] auto _ : state) {
    for (const Text& key : keys) benchmark::DoNotOptimize(kHash(key));
  }
  ReportPerKey(state, keys.size());
}

template <Hash kHash>
void Fill(KeyIndex& index, std::deque<KeyNode>& nodes, const std::vector<Text>& keys) {
  for (const Text& key : keys) {
    const std::uint32_t hash = kHash(key);
    if (index.Find(key, hash) != nullptr) continue;
    index.Prepare();
    index.Insert(nodes.emplace_back(), key, hash);
  }
}

/// Adds so many keys to an empty table.
template <Hash kHash>
void BM_AddKeys(benchmark::State& state) {
  const std::vector<Text> keys = KeysFor(state);
  for ([[maybe_unused]] auto _ : state) {
    KeyIndex index;
    std::deque<KeyNode> nodes;
    Fill<kHash>(index, nodes, keys);
    benchmark::DoNotOptimize(nodes.size());
  }
  ReportPerKey(state, keys.size());
}

/// Finds each of so many keys, in an order that no cache expects. When `kIsOneByOne`, which key
/// comes next depends on what was found, so that the processor cannot look two up at once, as it
/// can in a loop that does nothing else.
template <Hash kHash, bool kIsOneByOne>
void FindAll(benchmark::State& state) {
  const std::vector<Text> keys = KeysFor(state);
  KeyIndex index;
  std::deque<KeyNode> nodes;
  Fill<kHash>(index, nodes, keys);
  constexpr std::size_t kStep = 7919;
  constexpr std::uint32_t kTopBit = 63;
  for ([[maybe_unused]] auto _ : state) {
    for (std::size_t number = 0, place = 0; number < keys.size(); ++number) {
      const Text& key = keys[place];
      const KeyNode* const found = index.Find(key, kHash(key));
      if (found == nullptr) state.SkipWithError("a key is not found");
      place += kStep;
      // No address has its top bit set, but neither compiler nor processor knows.
      if (kIsOneByOne) place += std::uint64_t{reinterpret_cast<std::uintptr_t>(found)} >> kTopBit;
      place %= keys.size();
    }
  }
  ReportPerKey(state, keys.size());
}

template <Hash kHash>
void BM_FindKeys(benchmark::State& state) {
  FindAll<kHash, false>(state);
}

template <Hash kHash>
void BM_FindKeysOneByOne(benchmark::State& state) {
  FindAll<kHash, true>(state);
}

void Lengths(benchmark::internal::Benchmark* bench) {
  for (const std::int64_t length : {2, 5, 8, 12, 20, 40}) bench->Arg(length);
}

void Sizes(benchmark::internal::Benchmark* bench) {
  for (const std::int64_t isScattered : {0, 1}) {
    for (const std::int64_t count : {1000, 10000, 100000, 1000000}) {
      bench->Args({count, isScattered});
    }
  }
}

BENCHMARK(BM_Hash<UnkeyedHash>)->Apply(Lengths);
BENCHMARK(BM_Hash<HashInUse>)->Apply(Lengths);
BENCHMARK(BM_Hash<HalfHash>)->Apply(Lengths);
BENCHMARK(BM_AddKeys<UnkeyedHash>)->Apply(Sizes);
BENCHMARK(BM_AddKeys<HashInUse>)->Apply(Sizes);
BENCHMARK(BM_FindKeys<UnkeyedHash>)->Apply(Sizes);
BENCHMARK(BM_FindKeys<HashInUse>)->Apply(Sizes);
BENCHMARK(BM_FindKeysOneByOne<UnkeyedHash>)->Apply(Sizes);
BENCHMARK(BM_FindKeysOneByOne<HashInUse>)->Apply(Sizes);

}  // namespace
}  // namespace brindlex

BENCHMARK_MAIN();
