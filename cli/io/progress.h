#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brindlex::cli {

/// What a bar looks like when `done` of `total` bytes are, in a terminal of `columns`: at most one
/// less than those, so that nothing wraps.
std::string ProgressLine(const std::string& what, std::uint64_t done,
                         std::optional<std::uint64_t> total, int columns);

/// A bar on standard error for work over a second, when that is a terminal; nothing otherwise. It
/// is gone when the object is. To be used on one thread.
class Progress {
 public:
  /// `what` is being done, "checking" say, to `total` bytes; without a total, bytes are counted
  /// alone.
  Progress(std::string_view what, std::optional<std::uint64_t> total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  /// `done` bytes are done. Cheap: the clock is asked, and the bar drawn ten times a second at
  /// most.
  void Show(std::uint64_t done) {
    if (isOn_) ShowNow(done);
  }

  /// Takes the bar away until the next Show, so that something else can be written there.
  void Hide();

 private:
  using Clock = std::chrono::steady_clock;

  void ShowNow(std::uint64_t done);

  std::string what_;
  std::optional<std::uint64_t> total_;
  bool isOn_ = false;
  bool isShown_ = false;
  Clock::time_point next_;
};

}  // namespace brindlex::cli
