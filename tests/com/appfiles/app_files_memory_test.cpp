// Every allocation of the file operations failing in turn, on real files: the whole result, or none
// with a report or error 7, and nothing left open or allocated.

#include "tests/com/appfiles/text_files_test.h"
#include "tests/com/support/failing_memory.h"

namespace brindlex::testing {
namespace {

constexpr std::u16string_view kText = u"a text that is too long to be kept in place";

class AppFilesMemoryTest : public TextFilesTest {
 protected:
  void SetUp() override {
    TextFilesTest::SetUp();
    path_ = Bstr(PathOf(u"f"));
    memory_.emplace(Dll().Module());
    // What the run time sets up for the thread's first exception stays.
    Bstr none;
    EXPECT_EQ(S_OK, files_->ReadTextFile(path_.Get(), VARIANT_FALSE, none.Receive()));
    FailingMemory::Shown();
  }

  void TearDown() override {
    memory_.reset();
    path_ = Bstr();
    TextFilesTest::TearDown();
  }

  /// Runs `call()`, which returns a status, with each of its allocations failing in turn, then
  /// `isRight()`, which returns whether the result is complete; if it is not, the failure must have
  /// been reported.
  template <class Call, class IsRight>
  void FailEach(Call&& call, IsRight&& isRight) {
    long failures = 0;
    for (const Memory memory : {Memory::kTask, Memory::kHeap}) {
      for (const bool everAfter : {false, true}) {
        long passed = 0;
        while (FailsAfter(passed, memory, everAfter, call, isRight) && !HasFailure()) ++passed;
        failures += passed;
      }
    }
    EXPECT_GT(failures, 10);
  }

  Bstr path_;

 private:
  /// What the reports and the status say of a failure. The scripting run time does not always know
  /// its own status for a failed allocation.
  static bool Tells(HRESULT status, const std::vector<Report>& reports, Memory memory) {
    if (status != S_OK) return true;
    if (reports.empty()) return false;
    return memory == Memory::kTask ||
           reports[0].text.find(u"Out of memory") != std::u16string::npos;
  }

  /// Whether there was an allocation after `passed` others, which has failed then.
  template <class Call, class IsRight>
  bool FailsAfter(long passed, Memory memory, bool everAfter, Call& call, IsRight& isRight) {
    const long before = FailingMemory::LiveBlocks();
    FailingMemory::FailAfter(memory, passed, everAfter);
    const HRESULT status = call();
    const bool failed = FailingMemory::StopFailing();
    SetErrorInfo(0, nullptr);
    const std::vector<Report> reports = FailingMemory::Shown();
    EXPECT_TRUE(isRight() || (failed && Tells(status, reports, memory))) << passed;
    EXPECT_TRUE(status == S_OK || status == static_cast<HRESULT>(0x800A0007) ||
                status == E_OUTOFMEMORY)
        << std::hex << status;
    EXPECT_EQ(before, FailingMemory::LiveBlocks()) << passed;
    // Nothing holds the file.
    if (std::filesystem::exists(PathOf(u"f"))) const InUse alone(Wide(PathOf(u"f")));
    return failed;
  }

  std::optional<FailingMemory> memory_;
};

TEST_F(AppFilesMemoryTest, ASaveSaysTrueOnlyOfTheWholeText) {
  const Bstr text(kText);
  VARIANT_BOOL saved = VARIANT_FALSE;
  FailEach([&] { return files_->SaveTextFile(path_.Get(), text.Get(), VARIANT_TRUE, &saved); },
           [&] {
             const bool isWhole = std::filesystem::exists(PathOf(u"f")) &&
                                  std::filesystem::file_size(PathOf(u"f")) == kText.size();
             EXPECT_TRUE(saved == VARIANT_FALSE || isWhole);
             return std::exchange(saved, VARIANT_FALSE) != VARIANT_FALSE;
           });
}

TEST_F(AppFilesMemoryTest, AReadYieldsTheWholeTextOrNone) {
  ASSERT_TRUE(Save(PathOf(u"f"), kText));
  Bstr text;
  FailEach([&] { return files_->ReadTextFile(path_.Get(), VARIANT_TRUE, text.Receive()); },
           [&] {
             EXPECT_TRUE(text.View().empty() || text.View() == kText);
             return text.View() == kText;
           });
}

TEST_F(AppFilesMemoryTest, ACopyIsMadeOrErrorSevenRaised) {
  ASSERT_TRUE(Save(PathOf(u"f"), kText));
  const Bstr copy(PathOf(u"copy"));
  HRESULT status = S_OK;
  FailEach(
      [&] {
        status = files_->CopyFileKeepAttributes(path_.Get(), copy.Get());
        return status;
      },
      [&] { return status == S_OK; });
}

}  // namespace
}  // namespace brindlex::testing
