#include "environment/trap.h"

#include <gmock/gmock.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include "tests/core/core_test.h"
#include "tests/core/failing_new.h"

namespace brindlex {
namespace {

/// What the handler of a procedure with this body is given; nothing when it does not run.
template <class Body>
std::optional<PendingError> PendingOf(Body&& body) {
  std::optional<PendingError> seen;
  Trap(std::forward<Body>(body), [&seen](const PendingError& pending) { seen.emplace(pending); });
  return seen;
}

TEST(TrapTest, ABodyThatSucceedsNeedsNoHandler) {
  bool ran = false;
  EXPECT_FALSE(PendingOf([&ran](CurrentLine&) { ran = true; }));
  EXPECT_TRUE(ran);
}

TEST(TrapTest, TheHandlerGetsTheErrorAndTheLine) {
  const auto pending = PendingOf([](CurrentLine& line) {
    line = 10;
    line = 20;
    throw RuntimeError(13, u"words", u"who");
  });
  ASSERT_TRUE(pending);
  EXPECT_EQ(13, pending->error.number);
  EXPECT_EQ(u"words", pending->error.description);
  EXPECT_EQ(u"who", pending->error.source);
  EXPECT_EQ(20, pending->line);
}

TEST(TrapTest, AProcedureWithoutLinesReportsLineZero) {
  const auto pending = PendingOf([](CurrentLine&) { throw RuntimeError(5); });
  ASSERT_TRUE(pending);
  EXPECT_EQ(0, pending->line);
}

TEST(TrapTest, LinesMayBeAnyNumber) {
  const auto pending = PendingOf([](CurrentLine& line) {
    line = -2147483647;
    throw RuntimeError(5);
  });
  ASSERT_TRUE(pending);
  EXPECT_EQ(-2147483647, pending->line);
}

template <class Exception>
void ExpectTrapped(std::int32_t number, const Exception& exception) {
  const auto pending = PendingOf([&exception](CurrentLine& line) {
    line = 7;
    throw Exception(exception);
  });
  ASSERT_TRUE(pending);
  EXPECT_EQ(number, pending->error.number);
  EXPECT_EQ(StandardDescription(number), pending->error.description);
  EXPECT_EQ(7, pending->line);
}

TEST(TrapTest, EveryKindOfFailureIsTrapped) {
  ExpectTrapped(457, RuntimeError(457));
  ExpectTrapped(-1, RuntimeError(-1));
  ExpectTrapped(7, std::bad_alloc());
  ExpectTrapped(7, std::length_error("too long"));
  ExpectTrapped(51, std::logic_error("slip"));
  ExpectTrapped(51, 42);
}

TEST(TrapTest, GoingToTheHandlerOnPurposeShowsNumberAndLineZero) {
  const auto pending = PendingOf([](CurrentLine& line) {
    line = 30;
    GoToHandler(u"a sentence of its own");
  });
  ASSERT_TRUE(pending);
  EXPECT_EQ(0, pending->error.number);
  EXPECT_EQ(u"a sentence of its own", pending->error.description);
  EXPECT_EQ(0, pending->line);
}

TEST(TrapTest, GoingToTheHandlerMayHaveNothingToSay) {
  const auto pending = PendingOf([](CurrentLine&) { GoToHandler({}); });
  ASSERT_TRUE(pending);
  EXPECT_EQ(0, pending->error.number);
  EXPECT_EQ(u"", pending->error.description);
}

TEST(TrapTest, WhatTheBodyHeldIsReleasedBeforeTheHandlerRuns) {
  const auto held = std::make_shared<int>(1);
  long seen = 0;
  Trap(
      [&held](CurrentLine&) {
        const auto temporary = held;  // NOLINT(performance-unnecessary-copy-initialization)
        throw RuntimeError(5);
      },
      [&](const PendingError&) { seen = held.use_count(); });
  EXPECT_EQ(1, seen);
}

/// An exception that holds something.
struct HoldingError : std::runtime_error {
  explicit HoldingError(std::shared_ptr<int> h) : std::runtime_error("slip"), held(std::move(h)) {}
  std::shared_ptr<int> held;
};

TEST(TrapTest, TheExceptionIsGoneBeforeTheHandlerRuns) {
  const auto held = std::make_shared<int>(1);
  long seen = 0;
  bool handling = true;
  Trap([&held](CurrentLine&) { throw HoldingError(held); },
       [&](const PendingError&) {
         seen = held.use_count();
         handling = std::current_exception() != nullptr;
       });
  EXPECT_EQ(1, seen);
  EXPECT_FALSE(handling);
}

TEST(TrapTest, AFailureOfTheHandlerTravelsToTheCaller) {
  const auto failing = [] {
    Trap([](CurrentLine&) { throw RuntimeError(5); },
         [](const PendingError&) { throw RuntimeError(70); });
  };
  EXPECT_EQ(70, ErrorOf(failing));
}

TEST(TrapTest, AFailureOfTheHandlerReachesTheCallersTrap) {
  const auto outer = PendingOf([](CurrentLine& line) {
    line = 3;
    Trap(
        [](CurrentLine& inner) {
          inner = 8;
          throw RuntimeError(5);
        },
        [](const PendingError&) { throw RuntimeError(70); });
  });
  ASSERT_TRUE(outer);
  EXPECT_EQ(70, outer->error.number);
  EXPECT_EQ(3, outer->line);
}

TEST(TrapTest, AnErrorThatReachedItsHandlerIsFinished) {
  EXPECT_FALSE(PendingOf([](CurrentLine&) {
    Trap([](CurrentLine&) { throw RuntimeError(5); }, [](const PendingError&) {});
  }));
}

TEST(TrapTest, WhatTheProcedureHadDoneStaysDone) {
  Text result = u"empty";
  Trap(
      [&result](CurrentLine&) {
        result = u"half";
        throw RuntimeError(5);
      },
      [](const PendingError&) {});
  EXPECT_EQ(u"half", result);
}

TEST(TrapTest, MemoryThatIsStillShortInTheTrapIsTheCallersError) {
  bool handled = false;
  bool travelled = false;
  {
    const FailingNew failing(1, FailingNew::Extent::kFromThere);
    try {
      Trap([](CurrentLine&) { throw std::bad_alloc(); },
           [&handled](const PendingError&) { handled = true; });
    } catch (const std::bad_alloc&) {
      travelled = true;
    }
  }
  EXPECT_TRUE(travelled);
  EXPECT_FALSE(handled);
}

TEST(TrapTest, AFailedAllocationIsOutOfMemoryLikeAnyOtherFailure) {
  std::optional<PendingError> seen;
  {
    const FailingNew failing(1, FailingNew::Extent::kOnce);
    seen = PendingOf([](CurrentLine& line) {
      line = 4;
      Text().resize(1000);
    });
  }
  ASSERT_TRUE(seen);
  EXPECT_EQ(7, seen->error.number);
  EXPECT_EQ(u"Out of memory", seen->error.description);
  EXPECT_EQ(4, seen->line);
}

TEST(IgnoreErrorsTest, TheFirstRunTimeErrorEndsTheStep) {
  int steps = 0;
  IgnoreErrors([&steps] { ++steps; });
  IgnoreErrors([&steps] {
    ++steps;
    throw RuntimeError(438);
  });
  IgnoreErrors([] { throw RuntimeError(-2147467259); });
  EXPECT_EQ(2, steps);
}

TEST(IgnoreErrorsTest, OnlyAFailedAllocationOfOurOwnIsPassedOn) {
  IgnoreErrors([] { throw RuntimeError(7); });
  EXPECT_THROW(IgnoreErrors([] { throw std::bad_alloc(); }), std::bad_alloc);
}

TEST(TrapSilentlyTest, SaysWhetherTheBodyCameToItsEnd) {
  int steps = 0;
  EXPECT_TRUE(TrapSilently([&steps] { ++steps; }));
  EXPECT_FALSE(TrapSilently([&steps] {
    ++steps;
    throw RuntimeError(5);
  }));
  EXPECT_FALSE(TrapSilently([] { throw std::bad_alloc(); }));
  EXPECT_FALSE(TrapSilently([] { throw std::logic_error("slip"); }));
  EXPECT_FALSE(TrapSilently([] { throw 42; }));
  EXPECT_EQ(2, steps);
}

}  // namespace
}  // namespace brindlex
