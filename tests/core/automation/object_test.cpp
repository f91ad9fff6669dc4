#include "automation/object.h"

#include <gmock/gmock.h>

#include <utility>

#include "tests/core/core_test.h"

namespace brindlex {
namespace {

class ObjectTest : public HostTest {
 protected:
  Object Record(const std::vector<Text>& values = {u"x"}) {
    return NewRecord(Family(), ListingClass(Family(), {{u"A"}}), values);
  }
};

TEST_F(ObjectTest, ADefaultMadeOneIsNothing) {
  const Object nothing;
  EXPECT_TRUE(nothing.IsNothing());
  EXPECT_EQ(91, ErrorOf([&] { nothing.Family(); }));
  EXPECT_EQ(91, ErrorOf([&] { nothing.Self(Family()); }));
  EXPECT_EQ(91, ErrorOf([&] { nothing.CallForObject(u"GetNewObject"); }));
  EXPECT_EQ(91, ErrorOf([&] { nothing.CallForCollection(u"GetMemberNames"); }));
  EXPECT_EQ(91, ErrorOf([&] { nothing.PropertyGetNames(); }));
}

TEST_F(ObjectTest, AFamilyWithoutAnObjectIsNothing) {
  const Object nothing(Family(), nullptr);
  EXPECT_TRUE(nothing.IsNothing());
  EXPECT_EQ(91, ErrorOf([&] { nothing.Family(); }));
  EXPECT_TRUE(Object(nothing).IsNothing());
}

TEST_F(ObjectTest, CopiesShareTheObject) {
  const Object first = Record();
  {
    const Object second(first);  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(first.Self(Family()), second.Self(Family()));
    EXPECT_EQ(2U, Family().References(first));
  }
  EXPECT_EQ(1U, Family().References(first));
}

TEST_F(ObjectTest, MovingTakesTheReferenceAlong) {
  Object first = Record();
  const Object second(std::move(first));
  EXPECT_TRUE(first.IsNothing());  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
  EXPECT_EQ(91, ErrorOf([&] { first.Family(); }));
  EXPECT_EQ(1U, Family().References(second));
}

TEST_F(ObjectTest, AssignmentReleasesWhatWasThere) {
  Object first = Record({u"1"});
  const Object second = Record({u"2"});
  EXPECT_EQ(2U, Family().LiveObjects());
  first = second;
  EXPECT_EQ(1U, Family().LiveObjects());
  EXPECT_EQ(2U, Family().References(second));
  first = Object();
  EXPECT_EQ(1U, Family().References(second));
}

TEST_F(ObjectTest, AssignmentToItselfChangesNothing) {
  Object object = Record();
  const Object& same = object;
  object = same;
  EXPECT_EQ(1U, Family().References(object));
  Object& alias = object;
  object = std::move(alias);
  EXPECT_FALSE(object.IsNothing());
  EXPECT_EQ(1U, Family().References(object));
}

TEST_F(ObjectTest, AnObjectThatGoesAwaySeesTheReferenceAlreadyChanged) {
  const auto recordClass = ListingClass(Family(), {});
  Object object = NewRecord(Family(), recordClass);
  bool wasNothing = false;
  recordClass->onTerminate = [&] { wasNothing = object.IsNothing(); };
  object = Object();
  EXPECT_TRUE(wasNothing);
}

TEST_F(ObjectTest, CarriesItsFamily) {
  const MemoryFamily other;
  const Object object = Record();
  EXPECT_EQ(&Family(), &object.Family());
  EXPECT_NE(nullptr, object.Self(Family()));
  EXPECT_EQ(430, ErrorOf([&] { object.Self(other); }));
}

TEST_F(ObjectTest, AssignmentMayChangeTheFamily) {
  const MemoryFamily other;
  {
    Object object = Record();
    object = NewRecord(other, ListingClass(other, {}));
    EXPECT_EQ(&other, &object.Family());
    EXPECT_EQ(0U, Family().LiveObjects());
    EXPECT_EQ(1U, other.LiveObjects());
  }
  EXPECT_EQ(0U, other.LiveObjects());
}

TEST_F(ObjectTest, AsksItsFamilyByName) {
  const Object creator = NewCreator(Family(), ListingClass(Family(), {{u"A"}}));
  const Object record = creator.CallForObject(u"GetNewObject");
  EXPECT_EQ(1, record.CallForCollection(u"GetMemberNames")->Count());
  EXPECT_EQ(438, ErrorOf([&] { record.PropertyGetNames(); }));
  EXPECT_EQ(438, ErrorOf([&] { record.CallForObject(u"GetNewObject"); }));
}

}  // namespace
}  // namespace brindlex
