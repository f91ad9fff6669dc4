#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "cli/io/failure.h"

namespace brindlex::cli {

/// The status of the Failure that `step` throws; nothing if it throws none.
template <class Step>
std::optional<ExitStatus> FailureOf(Step&& step) {
  try {
    step();
  } catch (const Failure& failure) {
    return failure.Status();
  }
  return std::nullopt;
}

}  // namespace brindlex::cli
