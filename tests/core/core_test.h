#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <ostream>

#include "automation/runtime_error.h"
#include "automation/text.h"
#include "platform/memory/memory_collection.h"
#include "platform/memory/memory_platform.h"

namespace brindlex {

/// The number of the RuntimeError that `step` raises; nothing when it raises none. Any other
/// exception travels on.
template <class Step>
std::optional<std::int32_t> ErrorOf(Step&& step) {
  try {
    step();
  } catch (const RuntimeError& error) {
    return error.number;
  }
  return std::nullopt;
}

inline bool operator==(const Report& left, const Report& right) {
  return left.caption == right.caption && left.text == right.text;
}

inline void PrintTo(const Report& report, std::ostream* out) {
  *out << testing::PrintToString(report.caption) << ": " << testing::PrintToString(report.text);
}

/// A host in memory, none of whose objects may outlive the test.
class HostTest : public testing::Test {
 protected:
  void TearDown() override {
    platform_.whileShown = nullptr;
    EXPECT_EQ(0U, Adapter().LiveObjects()) << "objects that were never released";
  }

  const MemoryAdapter& Adapter() const { return platform_.Adapter(); }

  MemoryPlatform platform_;
};

}  // namespace brindlex
