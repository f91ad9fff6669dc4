#include "cli/io/progress.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/io/system.h"
#include "cli/text/display.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::cli {
namespace {

constexpr std::chrono::milliseconds kBeforeFirst{1000};
constexpr std::chrono::milliseconds kBetween{100};
constexpr std::size_t kMostCells = 40;
constexpr std::size_t kMostOfALabel = 60;

void Draw(const std::string& text) { system::WriteToTerminal(system::kStandardError, text); }

int Columns() {
  constexpr int kUsual = 80;
  const int columns = system::SizeOfTerminal(system::kStandardError).columns;
  return columns > 0 ? columns : kUsual;
}

/// As much of the front of `text` as fits into `columns`, by whole characters.
std::string AtMost(std::size_t columns, std::string_view text) {
  std::size_t size = text.size();
  while (ColumnsOf(text.substr(0, size)) > columns) {
    do --size;
    while (UnfinishedUtf8(text.substr(0, size)) > 0);
  }
  return std::string(text.substr(0, size));
}

}  // namespace

std::string ProgressLine(const std::string& what, std::uint64_t done,
                         std::optional<std::uint64_t> total, int columns) {
  constexpr double kMega = 1e6;
  const auto room = static_cast<std::size_t>(std::max(columns - 1, 0));
  if (!total || *total == 0) {
    return AtMost(room, fmt::format("{} {:.0f} MB", what, static_cast<double>(done) / kMega));
  }
  const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(*total));
  const std::string label = fmt::format("{} {:3.0f}%", what, part * 100);
  constexpr std::size_t kAround = 3;  // a blank and two brackets
  if (ColumnsOf(label) + kAround >= room) return AtMost(room, label);
  const std::size_t cells = std::min(kMostCells, room - ColumnsOf(label) - kAround);
  const auto full = static_cast<std::size_t>(part * static_cast<double>(cells));
  return fmt::format("{} [{}{}]", label, std::string(full, '#'), std::string(cells - full, '.'));
}

Progress::Progress(std::string_view what, std::optional<std::uint64_t> total)
    : what_(Escaped(what, kMostOfALabel)),
      total_(total),
      isOn_(system::IsTerminal(system::kStandardError)),
      next_(Clock::now() + kBeforeFirst) {}

Progress::~Progress() { Hide(); }

void Progress::Hide() {
  if (!isShown_) return;
  isShown_ = false;
  Draw(fmt::format("\r{}\r",
                   std::string(static_cast<std::size_t>(std::max(Columns() - 1, 1)), ' ')));
}

void Progress::ShowNow(std::uint64_t done) {
  const auto now = Clock::now();
  if (now < next_) return;
  next_ = now + kBetween;
  isShown_ = true;
  Draw("\r");
  Draw(ProgressLine(what_, done, total_, Columns()));
}

}  // namespace brindlex::cli
