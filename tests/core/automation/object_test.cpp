#include "automation/object.h"

#include <gmock/gmock.h>

#include <utility>

#include "tests/core/core_test.h"

namespace brindlex {
namespace {

class ObjectTest : public HostTest {
 protected:
  Object Record(const std::vector<Text>& values = {u"x"}) {
    return NewRecord(Adapter(), ListingClass(Adapter(), {{u"A"}}), values);
  }
};

TEST_F(ObjectTest, ADefaultMadeOneIsNothing) {
  const Object nothing;
  EXPECT_TRUE(nothing.IsNothing());
  EXPECT_EQ(91, ErrorOf([&] { nothing.Adapter(); }));
  EXPECT_EQ(91, ErrorOf([&] { nothing.Self(Adapter()); }));
  EXPECT_EQ(91, ErrorOf([&] { nothing.CallForObject(u"GetNewObject"); }));
  EXPECT_EQ(91, ErrorOf([&] { nothing.CallForCollection(u"GetMemberNames"); }));
  EXPECT_EQ(91, ErrorOf([&] { nothing.PropertyGetNames(); }));
}

TEST_F(ObjectTest, AnAdapterWithoutAnObjectIsNothing) {
  const Object nothing(Adapter(), nullptr);
  EXPECT_TRUE(nothing.IsNothing());
  EXPECT_EQ(91, ErrorOf([&] { nothing.Adapter(); }));
  EXPECT_TRUE(Object(nothing).IsNothing());
}

TEST_F(ObjectTest, CopiesShareTheObject) {
  const Object first = Record();
  {
    const Object second(first);  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(first.Self(Adapter()), second.Self(Adapter()));
    EXPECT_EQ(2U, Adapter().References(first));
  }
  EXPECT_EQ(1U, Adapter().References(first));
}

TEST_F(ObjectTest, MovingTakesTheReferenceAlong) {
  Object first = Record();
  const Object second(std::move(first));
  EXPECT_TRUE(first.IsNothing());  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
  EXPECT_EQ(91, ErrorOf([&] { first.Adapter(); }));
  EXPECT_EQ(1U, Adapter().References(second));
}

TEST_F(ObjectTest, AssignmentReleasesWhatWasThere) {
  Object first = Record({u"1"});
  const Object second = Record({u"2"});
  EXPECT_EQ(2U, Adapter().LiveObjects());
  first = second;
  EXPECT_EQ(1U, Adapter().LiveObjects());
  EXPECT_EQ(2U, Adapter().References(second));
  first = Object();
  EXPECT_EQ(1U, Adapter().References(second));
}

TEST_F(ObjectTest, AssignmentToItselfChangesNothing) {
  Object object = Record();
  const Object& same = object;
  object = same;
  EXPECT_EQ(1U, Adapter().References(object));
  Object& alias = object;
  object = std::move(alias);
  EXPECT_FALSE(object.IsNothing());
  EXPECT_EQ(1U, Adapter().References(object));
}

TEST_F(ObjectTest, AnObjectThatGoesAwaySeesTheReferenceAlreadyChanged) {
  const auto recordClass = ListingClass(Adapter(), {});
  Object object = NewRecord(Adapter(), recordClass);
  bool wasNothing = false;
  recordClass->onTerminate = [&] { wasNothing = object.IsNothing(); };
  object = Object();
  EXPECT_TRUE(wasNothing);
}

TEST_F(ObjectTest, CarriesItsAdapter) {
  const MemoryAdapter other;
  const Object object = Record();
  EXPECT_EQ(&Adapter(), &object.Adapter());
  EXPECT_NE(nullptr, object.Self(Adapter()));
  EXPECT_EQ(430, ErrorOf([&] { object.Self(other); }));
}

TEST_F(ObjectTest, AssignmentMayChangeTheAdapter) {
  const MemoryAdapter other;
  {
    Object object = Record();
    object = NewRecord(other, ListingClass(other, {}));
    EXPECT_EQ(&other, &object.Adapter());
    EXPECT_EQ(0U, Adapter().LiveObjects());
    EXPECT_EQ(1U, other.LiveObjects());
  }
  EXPECT_EQ(0U, other.LiveObjects());
}

TEST_F(ObjectTest, AsksItsAdapterByName) {
  const Object creator = NewCreator(Adapter(), ListingClass(Adapter(), {{u"A"}}));
  const Object record = creator.CallForObject(u"GetNewObject");
  EXPECT_EQ(1, record.CallForCollection(u"GetMemberNames")->Count());
  EXPECT_EQ(438, ErrorOf([&] { record.PropertyGetNames(); }));
  EXPECT_EQ(438, ErrorOf([&] { record.CallForObject(u"GetNewObject"); }));
}

}  // namespace
}  // namespace brindlex
