#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "cli/text/diagnostics.h"

namespace brindlex::tool {

/// The code of the Failure that `step` throws; nothing when it throws none.
template <class Step>
std::optional<ExitCode> FailureOf(Step&& step) {
  try {
    step();
  } catch (const Failure& failure) {
    return failure.Code();
  }
  return std::nullopt;
}

}  // namespace brindlex::tool
