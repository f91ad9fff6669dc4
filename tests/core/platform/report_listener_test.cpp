// Where reports go: to the thread's listener, to a box, or to the error channel.

#include <csetjmp>
#include <functional>
#include <new>

#include "appfiles/text_files.h"
#include "persistence/collection_save_restore.h"
#include "tests/core/appfiles/appfiles_test.h"

namespace brindlex {
namespace {

/// Keeps the reports that it receives, then does what a test wants.
class Listener : public ReportListener {
 public:
  std::vector<Report> received;
  std::function<void()> onReceived;

 private:
  void OnReport(const Report& report) override {
    received.push_back(report);
    // A copy, since it may replace itself.
    const auto action = onReceived;
    if (action) action();
  }
};

class ReportListenerTest : public AppFilesTest {
 protected:
  void TearDown() override {
    platform_.listener = nullptr;
    AppFilesTest::TearDown();
  }

  /// A save that fails with error 76 at line 2.
  void Fail() { EXPECT_FALSE(SaveTextFile(platform_, u"C:\\No\\f", u"the text", false)); }

  void ExpectCounts(std::size_t received, std::size_t boxes, std::size_t written) {
    EXPECT_EQ(received, listener_->received.size());
    EXPECT_EQ(boxes, platform_.reports.size());
    EXPECT_EQ(written, platform_.errorChannel.size());
  }

  std::shared_ptr<Listener> listener_ = std::make_shared<Listener>();
};

TEST_F(ReportListenerTest, ReceivesReportsInPlaceOfTheUser) {
  Fail();
  ExpectCounts(0, 1, 0);
  platform_.listener = listener_;
  Fail();
  ExpectCounts(1, 1, 0);
  EXPECT_EQ(platform_.reports[0], listener_->received[0]);
  platform_.listener = nullptr;
  Fail();
  ExpectCounts(1, 2, 0);
  platform_.reports.clear();
}

TEST_F(ReportListenerTest, LearnsNumberDescriptionAndLineByThemselves) {
  platform_.listener = listener_;
  const auto expect = [&](std::int32_t number, TextView description, std::int32_t line) {
    ASSERT_EQ(1U, listener_->received.size());
    EXPECT_EQ(number, listener_->received[0].number);
    EXPECT_EQ(description, listener_->received[0].description);
    EXPECT_EQ(line, listener_->received[0].line);
    listener_->received.clear();
  };
  Fail();
  expect(76, u"Path not found", 2);
  ReadTextFile(platform_, u"C:\\Data\\none", false);
  expect(53, u"File not found", 1);
  clsCollectionSaveRestore store(platform_);
  store.AsDelimitedFromCollection(nullptr);
  expect(91, u"Object variable or With block variable not set", 1);
  store.GetObjectFromString(u"", Object());
  EXPECT_TRUE(listener_->received.empty());
  store.SetRefuseMarkers(true);
  const auto one = ListingClass(Adapter(), {{u"A"}});
  store.AsDelimitedFromObject(NewRecord(Adapter(), one, {u"\u00A5"}));
  expect(0, u"Value contains the field end marker, record number 1", 0);
}

TEST_F(ReportListenerTest, HoldsWithoutAVisibleDesktopToo) {
  platform_.isDesktopVisible = false;
  platform_.listener = listener_;
  Fail();
  ExpectCounts(1, 0, 0);
}

TEST_F(ReportListenerTest, WithoutADesktopAReportGoesToTheErrorChannel) {
  platform_.isDesktopVisible = false;
  Fail();
  ExpectCounts(0, 0, 1);
  EXPECT_EQ(u"KX Error", platform_.errorChannel[0].caption);
}

TEST_F(ReportListenerTest, AReportToAFailingListenerGoesToTheErrorChannel) {
  platform_.listener = listener_;
  listener_->onReceived = [] { throw RuntimeError(438); };
  Fail();
  listener_->onReceived = [] { throw std::bad_alloc(); };
  Fail();
  listener_->onReceived = [] { throw 1; };
  Fail();
  ExpectCounts(3, 0, 3);
  EXPECT_EQ(listener_->received[2], platform_.errorChannel[2]);
  listener_->onReceived = nullptr;
  Fail();
  ExpectCounts(4, 0, 3);
}

TEST_F(ReportListenerTest, AListenerDoesNotReceiveItsOwnFailures) {
  platform_.listener = listener_;
  listener_->onReceived = [this] { Fail(); };
  Fail();
  ExpectCounts(1, 0, 1);
  Fail();
  ExpectCounts(2, 0, 2);
}

/// Leaves its first call by a jump, as Ruby, Lua and C programs do; holds nothing that would leak.
class JumpingListener : public ReportListener {
 public:
  /// Whether the report reached the listener.
  [[gnu::noinline]] bool IsReachedBy(const Report& report) {
    const int before = calls_;
    if (setjmp(back_) == 0) Notify(report);
    return calls_ == before + 1;
  }

  bool jumps = true;

 private:
  void OnReport(const Report& /*report*/) override {
    ++calls_;
    if (jumps) std::longjmp(back_, 1);
  }

  std::jmp_buf back_;
  int calls_ = 0;
};

TEST(JumpingListenerTest, IsNotifiedAgainAfterItWasLeftByAJump) {
  const Report report;
  JumpingListener listener;
  EXPECT_TRUE(listener.IsReachedBy(report));
  EXPECT_TRUE(listener.IsReachedBy(report));
  listener.jumps = false;
  EXPECT_TRUE(listener.IsReachedBy(report));
}

/// Runs `action` from `depth` calls further down the stack, each with a frame that it fills.
[[gnu::noinline]] void RunDeeper(int depth, const std::function<void()>& action) {
  volatile char frame[512];
  for (volatile char& byte : frame) byte = static_cast<char>(depth);
  if (depth == 0) return action();
  RunDeeper(depth - 1, action);
  frame[0] = 1;
}

TEST(JumpingListenerTest, IsNotifiedAgainFromCallsThatGoDeeper) {
  const Report report;
  for (const int depth : {1, 2, 5, 20, 100}) {
    JumpingListener listener;
    EXPECT_TRUE(listener.IsReachedBy(report));
    RunDeeper(depth, [&] { EXPECT_TRUE(listener.IsReachedBy(report)) << depth; });
  }
}

TEST_F(ReportListenerTest, AReportFromInsideTheListenerIsNotItsOwnHoweverDeep) {
  platform_.listener = listener_;
  listener_->onReceived = [this] { RunDeeper(50, [this] { Fail(); }); };
  Fail();
  ExpectCounts(1, 0, 1);
}

TEST_F(ReportListenerTest, MayPutAnotherInItsPlaceMeanwhile) {
  platform_.listener = listener_;
  const auto other = std::make_shared<Listener>();
  listener_->onReceived = [&] {
    platform_.listener = other;
    Fail();
  };
  Fail();
  EXPECT_EQ(1U, listener_->received.size());
  EXPECT_EQ(1U, other->received.size());
  listener_->onReceived = [&] { platform_.listener = nullptr; };
  platform_.listener = listener_;
  // The last reference to it may be released while it handles a report.
  std::exchange(listener_, std::make_shared<Listener>())->received.clear();
  Fail();
  EXPECT_EQ(nullptr, platform_.listener);
}

}  // namespace
}  // namespace brindlex
