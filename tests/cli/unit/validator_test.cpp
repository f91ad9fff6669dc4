#include "cli/format/skim.h"

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/cli/unit/tool_test.h"

namespace brindlex::tool {
namespace {

SoundRecord Sound(std::uint64_t fields) {
  SoundRecord sound{'|', ';', fields};
  sound.mayHold[0xE4] = true;
  return sound;
}

TEST(Skim, StopsBeforeTheFirstRecordThatIsNotSound) {
  EXPECT_EQ((Skimmed{5, 1}), Skim("a|b|;", Sound(2)));
  EXPECT_EQ((Skimmed{6, 2}), Skim("||;||;", Sound(2)));
  EXPECT_EQ((Skimmed{3, 1}), Skim("||;|;||;", Sound(2))) << "too few fields";
  EXPECT_EQ((Skimmed{3, 1}), Skim("||;|||;", Sound(2))) << "too many fields";
  EXPECT_EQ((Skimmed{3, 1}), Skim("||;||x;", Sound(2))) << "text behind the last field end";
  EXPECT_EQ((Skimmed{3, 1}), Skim("||;;", Sound(2))) << "an empty record";
  EXPECT_EQ((Skimmed{3, 1}), Skim("||;a|\x81|;", Sound(2))) << "a byte that must not be";
  EXPECT_EQ((Skimmed{8, 2}), Skim("||;a|\xE4|;", Sound(2)));
  EXPECT_EQ((Skimmed{3, 1}), Skim("||;||", Sound(2))) << "no record end";
  EXPECT_EQ((Skimmed{0, 0}), Skim("", Sound(2)));
  EXPECT_EQ((Skimmed{0, 0}), Skim(";", Sound(1)));
}

std::vector<SkimFunction> Vectors() {
  std::vector<SkimFunction> functions = {Skim};
  if (NarrowSkim() != nullptr) functions.push_back(NarrowSkim());
  if (WideSkim() != nullptr) functions.push_back(WideSkim());
  return functions;
}

TEST(Skim, HasVectorsOnTheProcessorsThatAreTested) { EXPECT_NE(nullptr, NarrowSkim()); }

TEST(Skim, FindsWithVectorsWhatItFindsByteByByte) {
  std::mt19937 random(11);
  const auto functions = Vectors();
  for (int round = 0; round < 4000; ++round) {
    const std::uint64_t fields = 1 + random() % 5;
    std::string text;
    const std::size_t records = random() % 60;
    for (std::size_t record = 0; record < records; ++record) {
      for (std::uint64_t field = 0; field < fields; ++field) {
        text +=
            std::string(random() % 30 == 0 ? 130 : random() % 9, random() % 7 == 0 ? '\xE4' : 'x');
        text += '|';
      }
      text += ';';
    }
    if (!text.empty() && random() % 3 != 0) text[random() % text.size()] = "|;x\x81"[random() % 4];
    // Memory of exactly this size, so that a read beyond it is seen.
    const auto memory = std::make_unique<char[]>(text.size());
    text.copy(memory.get(), text.size());
    const std::string_view exact(memory.get(), text.size());
    const Skimmed expected = SkimByteByByte(exact, Sound(fields));
    for (const SkimFunction skim : functions) ASSERT_EQ(expected, skim(exact, Sound(fields)));
  }
}

}  // namespace
}  // namespace brindlex::tool
