#include <gtest/gtest.h>

#include "tests/com/malloc_spy.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  brindlex::testing::MallocSpy::Instance().Install();
  return RUN_ALL_TESTS();
}
