#pragma once

#include <gtest/gtest.h>

#include "automation/hash_key.h"

namespace brindlex {

/// Restores the process's hash key that a test found.
class HashKeyTest : public ::testing::Test {
 protected:
  void SetUp() override { found = HashKey(); }
  void TearDown() override {
    SeedHashKey([](SipKey& key) noexcept {
      key = found;
      return true;
    });
  }

 private:
  static inline SipKey found;
};

}  // namespace brindlex
