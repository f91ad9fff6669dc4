// Files whose names and keys are made to collide.

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "automation/hash_key.h"
#include "tests/tool/passing_folder.h"
#include "tests/tool/tool_test.h"
#include "tool/block_index.h"
#include "tool/defects.h"
#include "tool/delimited_writer.h"
#include "tool/file_check.h"
#include "tool/json_input.h"
#include "tool/json_writer.h"
#include "tool/key_check.h"

namespace brindlex::tool {
namespace {

constexpr std::size_t kCount = 4500;
constexpr SipKey kKnownKey{1, 2};
constexpr SipKey kSecretKey{0x0123456789ABCDEFU, 0xFEDCBA9876543210U};

using Names = std::vector<std::string>;

void UseKnownKey() {
  SeedHashKey([](SipKey& key) noexcept {
    key = kKnownKey;
    return true;
  });
}

void UseSecretKey() {
  SeedHashKey([](SipKey& key) noexcept {
    key = kSecretKey;
    return true;
  });
}

/// As many names for which `isWanted` says so; of letters and digits in one case.
Names MakeNames(std::size_t count, const std::function<bool(const std::string&)>& isWanted) {
  Names names;
  for (std::uint64_t number = 0; names.size() < count; ++number) {
    const std::string name = "n" + std::to_string(number * 7919);
    if (isWanted(name)) names.push_back(name);
  }
  return names;
}

/// How many buckets the library's tables have for that many entries.
std::size_t Buckets() {
  std::unordered_set<std::size_t> table;
  for (std::size_t number = 0; number < kCount; ++number) table.insert(number);
  return table.bucket_count();
}

/// The processor time of one run, since others share the machine; of as many runs as the clock's
/// ticks ask for.
double TimeOf(const std::function<void()>& run) {
  constexpr std::clock_t kEnough = CLOCKS_PER_SEC / 20;
  const std::clock_t start = std::clock();
  std::clock_t taken = 0;
  int runs = 0;
  for (; taken < kEnough; ++runs) {
    run();
    taken = std::clock() - start;
  }
  return static_cast<double>(taken) / runs;
}

/// A test's `run` handles a file's names or keys, which collide under a known key. Under that key
/// it must take much longer than under another one, or the key would not matter; under the other
/// one it takes about as long as for any names.
class HashFlood : public testing::Test {
 protected:
  void TearDown() override {
    SeedHashKey([](SipKey& key) noexcept {
      key = found;
      return true;
    });
  }

  static void Expect(const Names& crafted, const std::function<void(const Names&)>& run) {
    const Names usual = MakeNames(crafted.size(), [](const std::string&) { return true; });
    UseKnownKey();
    const double flooded = TimeOf([&] { run(crafted); });
    UseSecretKey();
    const double protectedTime = TimeOf([&] { run(crafted); });
    EXPECT_GT(flooded, 3 * protectedTime);
    EXPECT_LT(protectedTime, 5 * TimeOf([&] { run(usual); }));
  }

  static const Names& CraftedNames() {
    static const Names names = MakeNames(kCount, [buckets = Buckets()](const std::string& name) {
      return static_cast<std::size_t>(SipHash(kKnownKey, name)) % buckets == 0;
    });
    return names;
  }

  static const Names& CraftedFoldedNames() {
    static const Names names = MakeNames(kCount, [buckets = Buckets()](const std::string& name) {
      const Text text(name.begin(), name.end());
      return static_cast<std::size_t>(SipHash(kKnownKey, TextView(text))) % buckets == 0;
    });
    return names;
  }

  static inline const SipKey found = HashKey();
};

class NoTarget : public TableTarget {
 public:
  void BeginNamed() override {}
  void BeginCollection(std::string_view) override {}
  void Header(const std::vector<std::string>&) override {}
  void Row(const std::vector<std::string>&, const std::string&) override {}
  void EndCollection() override {}
};

TEST_F(HashFlood, NamesOfJson) {
  Expect(CraftedNames(), [](const Names& names) {
    std::string json = "{";
    for (const std::string& name : names) json += (json.size() > 1 ? ",\"" : "\"") + name + "\":1";
    json += "}";
    NoTarget target;
    std::string_view rest = json;
    ReadJson([&] { return std::exchange(rest, {}); }, {}, target);
  });
}

TEST_F(HashFlood, NamesOfAHeaderForJson) {
  Expect(CraftedNames(), [](const Names& names) {
    Losses losses;
    JsonWriter writer([](std::string_view) {}, {}, losses);
    writer.BeginCollection({});
    writer.Header(names, 0);
  });
}

TEST_F(HashFlood, NamesOfCollectionsThatAreWritten) {
  Expect(CraftedFoldedNames(), [](const Names& names) {
    DelimitedWriter writer([](std::string_view) {}, FormOf({}, {}));
    writer.BeginNamed();
    for (const std::string& name : names) writer.BeginCollection(name);
  });
}

TEST_F(HashFlood, NamesOfCollectionsThatAreRead) {
  const PassingFolder folder;
  Expect(CraftedFoldedNames(), [&](const Names& names) {
    std::string text = "DataString\xA5Name\xA5\x8C";
    for (const std::string& name : names) text += "\xA5" + name + "\xA5\x8C";
    const Source source(folder.Put("lists.txt", text));
    const auto input = source.Open();
    EXPECT_EQ(names.size(),
              IndexBlocks(source, *input, FindLayout(input->Head(), {})).blocks.size());
  });
}

class NoDefects : public DefectSink {
 public:
  void Take(const Defect& defect) override { ADD_FAILURE() << defect.what; }
};

TEST_F(HashFlood, NamesOfAHeaderThatIsChecked) {
  const PassingFolder folder;
  Expect(CraftedFoldedNames(), [&](const Names& names) {
    std::string header;
    std::string record;
    for (const std::string& name : names) {
      header += name + "\xA5";
      record += "\xA5";
    }
    NoDefects none;
    CheckFile(folder.Put("wide.txt", header + "\x8C" + record + "\x8C"), {}, {}, none);
  });
}

TEST_F(HashFlood, KeysThatAreChecked) {
  constexpr std::size_t kKeys = 3000;
  constexpr std::size_t kSlots = 4096;
  const Names crafted = MakeNames(kKeys, [](const std::string& name) {
    SipHasher hasher(kKnownKey, SipHasher::Width::k128);
    for (const char c : name) hasher.Add(static_cast<char16_t>(c));
    return (hasher.Finish128().low >> 24U) % kSlots == 0;
  });
  Expect(crafted, [](const Names& names) {
    KeyCheck check(kSlots);
    check.Begin(0);
    for (std::size_t record = 0; record < names.size(); ++record) {
      KeyHash key;
      key.MixUtf8(names[record]);
      EXPECT_EQ(std::nullopt, check.Add(key, record + 1));
    }
  });
}

}  // namespace
}  // namespace brindlex::tool
