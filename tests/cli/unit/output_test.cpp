#include "cli/io/output.h"

#include <string>

#include "cli/io/input.h"
#include "tests/cli/unit/passing_folder.h"
#include "tests/cli/unit/tool_test.h"

namespace brindlex::tool {
namespace {

/// Puts `content` into a file, replacing one that is there.
void Put(const std::string& path, const std::string& content) {
  Output output({path, true});
  output.Write(content);
  output.Commit();
}

TEST(Output, IsThereWholeOrNotAtAll) {
  const PassingFolder folder;
  const std::string path = folder.Path("a.txt");
  {
    Output output({path, false});
    output.Write("half");
    output.Flush();
    EXPECT_EQ("", PassingFolder::ContentOf(path)) << "half a file";
    EXPECT_EQ(1U, folder.Files()) << "the passing file alone";
  }
  EXPECT_EQ(0U, folder.Files()) << "a passing file that was left behind";
  Put(path, "whole");
  EXPECT_EQ("whole", PassingFolder::ContentOf(path));
  EXPECT_EQ(1U, folder.Files());
}

TEST(Output, ReplacesOnlyWhenForced) {
  const PassingFolder folder;
  const std::string path = folder.Path("a.txt");
  Put(path, "first");
  EXPECT_EQ(ExitCode::kUsage, FailureOf([&] { Output({path, false}); }));
  {
    Output output({path, true});
    output.Write("second");
    output.Flush();
    EXPECT_EQ("first", PassingFolder::ContentOf(path));
    output.Commit();
  }
  EXPECT_EQ("second", PassingFolder::ContentOf(path));
}

TEST(Output, RefusesAFileThatCameUpMeanwhile) {
  const PassingFolder folder;
  const std::string path = folder.Path("a.txt");
  Output output({path, false});
  output.Write("mine");
  Put(path, "another's");
  EXPECT_EQ(ExitCode::kUsage, FailureOf([&] { output.Commit(); }));
  EXPECT_EQ("another's", PassingFolder::ContentOf(path));
}

TEST(Output, WritesMoreThanABlock) {
  const PassingFolder folder;
  const std::string path = folder.Path("\u0416\u00E4.txt");
  const std::string part(100'000, 'x');
  Output output({path, false});
  for (int i = 0; i < 7; ++i) output.Write(part);
  EXPECT_EQ(700'000U, output.Written());
  output.Commit();
  EXPECT_EQ(std::string(700'000, 'x'), PassingFolder::ContentOf(path));
}

TEST(Output, FailsWhereNoFileCanBe) {
  const PassingFolder folder;
  EXPECT_EQ(ExitCode::kInputOutput, FailureOf([&] { Output({folder.Path("no/a.txt"), false}); }));
  EXPECT_EQ(ExitCode::kInputOutput, FailureOf([&] { Output({folder.Path("."), true}); }));
}

TEST(Output, IsReadBackInBlocks) {
  const PassingFolder folder;
  const std::string path = folder.Path("a.txt");
  std::string content;
  for (int i = 0; content.size() < 2 * kInputBlock + 5; ++i) content += std::to_string(i);
  Put(path, content);
  Input input(path);
  EXPECT_EQ(content.size(), input.Size());
  EXPECT_EQ(content.substr(0, kInputBlock), input.Head());
  std::string read;
  for (auto block = input.Next(); !block.empty(); block = input.Next()) read += block;
  EXPECT_EQ(content, read);
  EXPECT_EQ(content.size(), input.Given());
  EXPECT_TRUE(input.Next().empty()) << "a read behind the end";
}

TEST(Output, SaysThatThereIsNoInput) {
  const PassingFolder folder;
  EXPECT_EQ(ExitCode::kInputOutput, FailureOf([&] { Input(folder.Path("none.txt")); }));
  EXPECT_EQ(ExitCode::kInputOutput, FailureOf([&] { Input(folder.Path(".")); }));
}

}  // namespace
}  // namespace brindlex::tool
