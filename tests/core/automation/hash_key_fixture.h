#pragma once

#include <gtest/gtest.h>

#include "automation/hash_key.h"

namespace brindlex {

/// Restores the process's hash key that a test found.
class HashKeyTest : public ::testing::Test {
 protected:
  void SetUp() override { found_ = HashKey(); }
  void TearDown() override { SetHashKey(found_); }

 private:
  SipKey found_;
};

}  // namespace brindlex
