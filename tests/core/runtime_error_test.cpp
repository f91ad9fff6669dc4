#include "automation/runtime_error.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <stdexcept>
#include <vector>

#include "tests/core/failing_new.h"

namespace brindlex {
namespace {

TEST(StandardDescriptionTest, Rows) {
  EXPECT_EQ(u"Invalid procedure call or argument", StandardDescription(5));
  EXPECT_EQ(u"Overflow", StandardDescription(6));
  EXPECT_EQ(u"Out of memory", StandardDescription(7));
  EXPECT_EQ(u"Subscript out of range", StandardDescription(9));
  EXPECT_EQ(u"Type mismatch", StandardDescription(13));
  EXPECT_EQ(u"Internal error", StandardDescription(51));
  EXPECT_EQ(u"Object variable or With block variable not set", StandardDescription(91));
  EXPECT_EQ(u"Invalid use of Null", StandardDescription(94));
  EXPECT_EQ(u"Object required", StandardDescription(424));
  EXPECT_EQ(u"Class does not support Automation or does not support expected interface",
            StandardDescription(430));
  EXPECT_EQ(u"Object doesn't support this property or method", StandardDescription(438));
  EXPECT_EQ(u"This key is already associated with an element of this collection",
            StandardDescription(457));
}

TEST(StandardDescriptionTest, NumbersWithoutAWordingOfTheirOwn) {
  constexpr TextView kGeneral = u"Application-defined or object-defined error";
  EXPECT_EQ(kGeneral, StandardDescription(0));
  EXPECT_EQ(kGeneral, StandardDescription(1000));
  EXPECT_EQ(kGeneral, StandardDescription(std::numeric_limits<std::int32_t>::max()));
  EXPECT_EQ(u"Automation error", StandardDescription(-1));
  EXPECT_EQ(u"Automation error", StandardDescription(std::numeric_limits<std::int32_t>::min()));
}

TEST(RuntimeErrorTest, OwnErrorsHaveTheirStandardDescription) {
  const RuntimeError error(13);
  EXPECT_EQ(13, error.number);
  EXPECT_EQ(u"Type mismatch", error.description);
  EXPECT_EQ(u"Brindlex", error.source);
}

TEST(RuntimeErrorTest, ForeignErrorsAreKeptAsTheyCome) {
  const RuntimeError error(-2147467259, u"the host's words", u"Host.Class");
  EXPECT_EQ(-2147467259, error.number);
  EXPECT_EQ(u"the host's words", error.description);
  EXPECT_EQ(u"Host.Class", error.source);
}

template <class Exception>
RuntimeError Caught(const Exception& exception) {
  try {
    throw Exception(exception);
  } catch (...) {
    return CaughtError();
  }
}

TEST(CaughtErrorTest, RuntimeErrorsAreKeptWhole) {
  const RuntimeError error = Caught(RuntimeError(-7, u"words", u"who"));
  EXPECT_EQ(-7, error.number);
  EXPECT_EQ(u"words", error.description);
  EXPECT_EQ(u"who", error.source);
}

void ExpectOwnError(std::int32_t number, const RuntimeError& error) {
  EXPECT_EQ(number, error.number);
  EXPECT_EQ(StandardDescription(number), error.description);
  EXPECT_EQ(u"Brindlex", error.source);
}

TEST(CaughtErrorTest, FailedAllocationsAreOutOfMemory) {
  ExpectOwnError(7, Caught(std::bad_alloc()));
  ExpectOwnError(7, Caught(std::bad_array_new_length()));
  ExpectOwnError(7, Caught(std::length_error("too long")));
}

TEST(CaughtErrorTest, TextThatCannotBeHeldIsOutOfMemory) {
  try {
    Text().resize(std::numeric_limits<std::size_t>::max());
    FAIL() << "so much text fits nowhere";
  } catch (...) {
    ExpectOwnError(7, CaughtError());
  }
}

TEST(CaughtErrorTest, OtherExceptionsAreInternalErrors) {
  ExpectOwnError(51, Caught(std::exception()));
  ExpectOwnError(51, Caught(std::logic_error("slip")));
  ExpectOwnError(51, Caught(std::out_of_range("slip")));
  ExpectOwnError(51, Caught(42));
}

TEST(CaughtErrorTest, FailsWhenItsDescriptionCannotBeAllocated) {
  try {
    throw std::bad_alloc();
  } catch (const std::bad_alloc&) {
    const FailingNew failing(1, FailingNew::Extent::kFromThere);
    EXPECT_THROW(CaughtError(), std::bad_alloc);
  }
}

TEST(CaughtErrorTest, TakesARuntimeErrorOverWithoutAllocating) {
  const RuntimeError given(5, Text(100, u'd'), Text(100, u's'));
  try {
    throw RuntimeError(given);
  } catch (...) {
    const FailingNew failing(1, FailingNew::Extent::kFromThere);
    const RuntimeError caught = CaughtError();
    EXPECT_FALSE(FailingNew::Failed());
    EXPECT_EQ(given.description, caught.description);
    EXPECT_EQ(given.source, caught.source);
  }
}

}  // namespace
}  // namespace brindlex
