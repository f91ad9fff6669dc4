// Files whose names and keys are made to collide.

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "cli/check/defects.h"
#include "cli/check/file_check.h"
#include "cli/check/key_check.h"
#include "cli/convert/json_input.h"
#include "cli/convert/table_writers.h"
#include "cli/format/delimited_writer.h"
#include "cli/format/named_collections.h"
#include "tests/cli/unit/cli_test.h"
#include "tests/core/automation/hash_flood.h"

namespace brindlex::cli {
namespace {

constexpr std::size_t kCount = 4500;

/// How many buckets the library's tables have for that many entries.
std::size_t Buckets() {
  std::unordered_set<std::size_t> table;
  for (std::size_t number = 0; number < kCount; ++number) table.insert(number);
  return table.bucket_count();
}

class CliHashFlood : public HashFlood {
 protected:
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
};

class NoWriter : public TableWriter {
 public:
  NoWriter() : TableWriter([](std::string_view) {}) {}
  void Header(const std::vector<std::string>&, std::uint64_t) override {}
  void BeginRow() override {}
  void Value(std::string_view, bool, bool) override {}
  void EndRow() override {}
  void EndCollection() override {}
};

TEST_F(CliHashFlood, NamesOfJson) {
  Expect(CraftedNames(), [](const Names& names) {
    std::string json = "{";
    for (const std::string& name : names) json += (json.size() > 1 ? ",\"" : "\"") + name + "\":1";
    json += "}";
    NoWriter writer;
    const ReadAt source = [&](std::uint64_t offset, char* to, std::size_t size) {
      return std::string_view(json).substr(static_cast<std::size_t>(offset)).copy(to, size);
    };
    ReadJson(source, {}, [&](const DelimitedForm*) -> TableWriter& { return writer; });
  });
}

TEST_F(CliHashFlood, NamesOfAHeaderForJson) {
  Expect(CraftedNames(), [](const Names& names) {
    LossReport lossReport;
    const auto writer = MakeJsonWriter([](std::string_view) {}, {}, lossReport);
    writer->BeginCollection({});
    writer->Header(names, 0);
  });
}

TEST_F(CliHashFlood, NamesOfCollectionsThatAreWritten) {
  Expect(CraftedFoldedNames(), [](const Names& names) {
    const auto writer = MakeDelimitedWriter([](std::string_view) {}, FormOf({}));
    writer->BeginNamed();
    for (const std::string& name : names) writer->BeginCollection(name);
  });
}

TEST_F(CliHashFlood, NamesOfCollectionsThatAreRead) {
  Expect(CraftedFoldedNames(), [&](const Names& names) {
    std::string text = "DataString\xA5Name\xA5\x8C";
    for (const std::string& name : names) text += "\xA5" + name + "\xA5\x8C";
    Input input("lists.txt", text, kInputBlock);
    EXPECT_EQ(names.size(), CollectionIndex(input, DetectFormat(input, {})).All().size());
  });
}

TEST_F(CliHashFlood, NamesOfAHeaderThatIsChecked) {
  Expect(CraftedFoldedNames(), [&](const Names& names) {
    std::string header;
    std::string record;
    for (const std::string& name : names) {
      header += name + "\xA5";
      record += "\xA5";
    }
    Input input("wide.txt", header + "\x8C" + record + "\x8C", kInputBlock);
    CheckFile(input, DetectFormat(input, {}), {},
              [](const Defect& defect) { ADD_FAILURE() << defect.what; });
  });
}

TEST_F(CliHashFlood, KeysThatAreChecked) {
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
}  // namespace brindlex::cli
