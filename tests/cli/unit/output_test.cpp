#include "cli/io/output.h"

#include <filesystem>
#include <string>

#include "cli/io/input.h"
#include "tests/cli/unit/cli_test.h"
#include "tests/cli/unit/temporary_folder.h"

namespace brindlex::cli {
namespace {

/// Puts `content` into a file, replacing one that is there.
void Put(const std::string& path, const std::string& content) {
  Output output({path, true});
  output.Write(content);
  output.Commit();
}

TEST(Output, ExistsWholeOrNotAtAll) {
  const TemporaryFolder folder;
  const std::string path = folder.Path("a.txt");
  {
    Output output({path, false});
    output.Write("half");
    output.Flush();
    EXPECT_EQ("", TemporaryFolder::ContentOf(path)) << "half a file";
    EXPECT_EQ(1U, folder.Files()) << "the temporary file alone";
  }
  EXPECT_EQ(0U, folder.Files()) << "a temporary file that was left over";
  Put(path, "whole");
  EXPECT_EQ("whole", TemporaryFolder::ContentOf(path));
  EXPECT_EQ(1U, folder.Files());
}

TEST(Output, ReplacesOnlyWhenForced) {
  const TemporaryFolder folder;
  const std::string path = folder.Path("a.txt");
  Put(path, "first");
  EXPECT_EQ(ExitStatus::kUsage, FailureOf([&] { Output({path, false}); }));
  {
    Output output({path, true});
    output.Write("second");
    output.Flush();
    EXPECT_EQ("first", TemporaryFolder::ContentOf(path));
    output.Commit();
  }
  EXPECT_EQ("second", TemporaryFolder::ContentOf(path));
}

TEST(Output, RefusesAFileThatWasMadeMeanwhile) {
  const TemporaryFolder folder;
  const std::string path = folder.Path("a.txt");
  Output output({path, false});
  output.Write("mine");
  Put(path, "another's");
  EXPECT_EQ(ExitStatus::kUsage, FailureOf([&] { output.Commit(); }));
  EXPECT_EQ("another's", TemporaryFolder::ContentOf(path));
}

TEST(Output, RemovesWhatAKilledRunHasLeftForTheSameTarget) {
  const TemporaryFolder folder;
  const std::string left = folder.Put(system::TemporaryName("a.txt"), "half");
  const std::string ofAnother = folder.Put(system::TemporaryName("b.txt"), "half");
  std::string changed = system::TemporaryName("a.txt");
  char& digit = changed[std::string("a.txt.").size()];
  digit = digit == '0' ? '1' : '0';
  const std::string ofTheUser = folder.Put(changed, "mine");
  Put(folder.Path("a.txt"), "whole");
  EXPECT_FALSE(std::filesystem::exists(TemporaryFolder::Native(left)));
  EXPECT_EQ("half", TemporaryFolder::ContentOf(ofAnother));
  EXPECT_EQ("mine", TemporaryFolder::ContentOf(ofTheUser)) << "its check digits are others";
  EXPECT_EQ(3U, folder.Files());
}

TEST(Output, LeavesTheTemporaryFileOfARunThatGoesOn) {
  const TemporaryFolder folder;
  const std::string path = folder.Path("a.txt");
  Output first({path, true});
  first.Write("first");
  first.Flush();
  Put(path, "second");
  EXPECT_EQ(2U, folder.Files());
  first.Commit();
  EXPECT_EQ("first", TemporaryFolder::ContentOf(path));
  EXPECT_EQ(1U, folder.Files());
}

TEST(Output, RecognizesItsTemporaryNames) {
  for (const std::string& target :
       {std::string("a"), std::string(255, 'x'), std::string("\u0416.txt")}) {
    const std::string name = system::TemporaryName(target);
    EXPECT_LE(name.size(), 255U);
    EXPECT_TRUE(system::IsTemporaryName(name, target));
    EXPECT_FALSE(system::IsTemporaryName(name, "b"));
    EXPECT_FALSE(system::IsTemporaryName(name + "x", target));
    EXPECT_FALSE(system::IsTemporaryName("x" + name, target));
  }
  EXPECT_FALSE(system::IsTemporaryName("a.0123456789abcdef.partial", "a"));
  EXPECT_FALSE(system::IsTemporaryName("", "a"));
}

TEST(Output, WritesMoreThanABlock) {
  const TemporaryFolder folder;
  const std::string path = folder.Path("\u0416\u00E4.txt");
  const std::string part(100'000, 'x');
  Output output({path, false});
  for (int i = 0; i < 7; ++i) output.Write(part);
  output.Commit();
  EXPECT_EQ(std::string(700'000, 'x'), TemporaryFolder::ContentOf(path));
}

TEST(Output, FailsWhereNoFileCanBe) {
  const TemporaryFolder folder;
  EXPECT_EQ(ExitStatus::kInputOutput, FailureOf([&] { Output({folder.Path("no/a.txt"), false}); }));
  EXPECT_EQ(ExitStatus::kInputOutput, FailureOf([&] { Output({folder.Path("."), true}); }));
}

TEST(Output, IsReadBackInBlocks) {
  const TemporaryFolder folder;
  const std::string path = folder.Path("a.txt");
  std::string content;
  for (int i = 0; content.size() < 2 * kInputBlock + 5; ++i) content += std::to_string(i);
  Put(path, content);
  Input input(path);
  EXPECT_EQ(content.size(), input.Size());
  EXPECT_EQ(content.substr(0, kInputBlock), input.Head());
  for (const std::size_t offset : {std::size_t{0}, std::size_t{7}, std::size_t{kInputBlock} + 1}) {
    std::string read;
    ReadExtent(input, ExtentOf(offset, UINT64_MAX), [&](std::string_view bytes) { read += bytes; });
    EXPECT_EQ(content.substr(offset), read);
  }
  ExtentReader reader(input);
  EXPECT_EQ(content.substr(5, 10), reader.Bytes({5, 300'000}, 10));
  char byte = 0;
  EXPECT_EQ(0U, input.Read(content.size(), &byte, 1)) << "a read after the end";
}

TEST(Output, FailsWithoutAnInput) {
  const TemporaryFolder folder;
  EXPECT_EQ(ExitStatus::kInputOutput, FailureOf([&] { Input(folder.Path("none.txt")); }));
  EXPECT_EQ(ExitStatus::kInputOutput, FailureOf([&] { Input(folder.Path(".")); }));
}

}  // namespace
}  // namespace brindlex::cli
