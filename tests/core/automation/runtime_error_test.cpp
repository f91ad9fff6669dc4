#include "automation/runtime_error.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <limits>
#include <new>
#include <stdexcept>
#include <vector>

#include "tests/core/failing_new.h"

namespace brindlex {
namespace {

struct Wording {
  std::int32_t number;
  TextView description;
};

/// What hosts show for the numbers that their users know.
constexpr Wording kWordings[] = {
    {5, u"Invalid procedure call or argument"},
    {6, u"Overflow"},
    {7, u"Out of memory"},
    {9, u"Subscript out of range"},
    {10, u"This array is fixed or temporarily locked"},
    {11, u"Division by zero"},
    {13, u"Type mismatch"},
    {28, u"Out of stack space"},
    {48, u"Error in loading DLL"},
    {51, u"Internal error"},
    {52, u"Bad file name or number"},
    {53, u"File not found"},
    {55, u"File already open"},
    {57, u"Device I/O error"},
    {58, u"File already exists"},
    {61, u"Disk full"},
    {62, u"Input past end of file"},
    {67, u"Too many files"},
    {68, u"Device unavailable"},
    {70, u"Permission denied"},
    {71, u"Disk not ready"},
    {75, u"Path/File access error"},
    {76, u"Path not found"},
    {91, u"Object variable or With block variable not set"},
    {92, u"For loop not initialized"},
    {94, u"Invalid use of Null"},
    {380, u"Invalid property value"},
    {424, u"Object required"},
    {429, u"ActiveX component can't create object"},
    {430, u"Class does not support Automation or does not support expected interface"},
    {432, u"File name or class name not found during Automation operation"},
    {438, u"Object doesn't support this property or method"},
    {440, u"Automation error"},
    {445, u"Object doesn't support this action"},
    {446, u"Object doesn't support named arguments"},
    {447, u"Object doesn't support current locale setting"},
    {448, u"Named argument not found"},
    {449, u"Argument not optional"},
    {450, u"Wrong number of arguments or invalid property assignment"},
    {451, u"Object not a collection"},
    {457, u"This key is already associated with an element of this collection"},
    {458, u"Variable uses an Automation type not supported in Visual Basic"},
    {462, u"The remote server machine does not exist or is unavailable"},
};

TEST(StandardDescriptionTest, Rows) {
  for (const Wording& row : kWordings) {
    EXPECT_EQ(row.description, StandardDescription(row.number)) << row.number;
  }
}

TEST(StandardDescriptionTest, NoOtherNumberHasAWording) {
  const auto* row = std::begin(kWordings);
  for (std::int32_t number = 0; number < 1000; ++number) {
    if (row != std::end(kWordings) && row->number == number) {
      ++row;
      continue;
    }
    EXPECT_EQ(u"Application-defined or object-defined error", StandardDescription(number))
        << number;
  }
  EXPECT_EQ(std::end(kWordings), row) << "the rows are in their order";
}

TEST(StandardDescriptionTest, NumbersWithoutAWordingOfTheirOwn) {
  constexpr TextView kGeneral = u"Application-defined or object-defined error";
  EXPECT_EQ(kGeneral, StandardDescription(0));
  EXPECT_EQ(kGeneral, StandardDescription(1000));
  EXPECT_EQ(kGeneral, StandardDescription(std::numeric_limits<std::int32_t>::max()));
  EXPECT_EQ(u"Automation error", StandardDescription(-1));
  EXPECT_EQ(u"Automation error", StandardDescription(std::numeric_limits<std::int32_t>::min()));
}

TEST(RuntimeErrorTest, NumbersThatPlatformsRaiseHaveTheirDescription) {
  EXPECT_EQ(u"File already exists", RuntimeError(error_number::kFileExists).description);
  EXPECT_EQ(u"Invalid use of Null", RuntimeError(error_number::kInvalidUseOfNull).description);
}

TEST(RuntimeErrorTest, OwnErrorsHaveTheirStandardDescription) {
  const RuntimeError error(13);
  EXPECT_STREQ("run-time error", error.what());
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
