#include "tool/output.h"

#include <array>

#include "tool/diagnostics.h"
#include "tool/utf.h"

namespace brindlex::tool {
namespace {

/// The slots of system::CreatePassing that are taken.
std::array<bool, 2> slotsTaken;

int TakeSlot() {
  for (std::size_t slot = 0; slot < slotsTaken.size(); ++slot) {
    if (slotsTaken[slot]) continue;
    slotsTaken[slot] = true;
    return static_cast<int>(slot);
  }
  throw Failure(ExitCode::kInputOutput, "more than two files are written at a time");
}

void GiveSlot(int slot) {
  system::KeepWhenEnded(slot);
  slotsTaken[static_cast<std::size_t>(slot)] = false;
}

}  // namespace

Output::Output(const OutputOptions& options) : options_(options), name_(options.path) {
  buffer_.reserve(kBlock);
  if (options_.path == "-") {
    name_ = "standard output";
    isTerminal_ = system::IsTerminal(descriptor_);
    return;
  }
  target_ = system::FollowLinks(options_.path);
  switch (system::KindOf(target_)) {
    case system::FileKind::kFolder:
      Fail(std::make_error_code(std::errc::is_a_directory));
    case system::FileKind::kOther: {
      const system::Opened opened = system::OpenToWrite(target_);
      if (opened.error) Fail(opened.error);
      descriptor_ = opened.descriptor;
      return;
    }
    case system::FileKind::kRegular:
      if (!options_.force) RefuseToReplace();
      break;
    case system::FileKind::kNone:
      break;
  }
  OpenBeside();
}

void Output::OpenBeside() {
  constexpr int kTries = 100;
  slot_ = TakeSlot();
  for (int number = 0; number < kTries; ++number) {
    std::string path = target_;
    path.append(".").append(std::to_string(system::ProcessNumber())).append("-");
    path.append(std::to_string(number)).append(".partial");
    const system::Opened opened = system::CreatePassing(slot_, path, target_);
    if (opened.error == std::errc::file_exists) continue;
    if (opened.error) {
      GiveSlot(slot_);
      Fail(opened.error);
    }
    descriptor_ = opened.descriptor;
    passing_ = path;
    return;
  }
  GiveSlot(slot_);
  Fail(std::make_error_code(std::errc::file_exists));
}

Output::~Output() {
  if (descriptor_ > system::kStandardError) system::Close(descriptor_);
  if (passing_.empty()) return;
  system::Remove(passing_);
  GiveSlot(slot_);
}

void Output::Fail(const std::error_code& error) const {
  throw Failure(ExitCode::kInputOutput, "cannot write " + name_ + ": " + error.message());
}

void Output::RefuseToReplace() const {
  throw Failure(ExitCode::kUsage, name_ + " is there already; --force replaces it");
}

void Output::HandOver(std::string_view bytes) {
  if (bytes.empty()) return;
  const auto error =
      isTerminal_ ? system::WriteToTerminal(descriptor_, bytes) : system::Write(descriptor_, bytes);
  if (error) Fail(error);
  written_ += bytes.size();
}

void Output::Flush() {
  // A terminal takes whole characters only.
  const std::size_t kept = isTerminal_ ? UnfinishedUtf8(buffer_) : 0;
  const std::string_view whole(buffer_.data(), buffer_.size() - kept);
  HandOver(whole);
  buffer_.erase(0, whole.size());
}

void Output::WriteThrough(std::string_view bytes) {
  if (isTerminal_) {
    buffer_.append(bytes);
    return Flush();
  }
  Flush();
  if (bytes.size() >= kBlock) return HandOver(bytes);
  buffer_.append(bytes);
}

void Output::Commit() {
  HandOver(buffer_);
  buffer_.clear();
  if (descriptor_ <= system::kStandardError) return;
  std::error_code error = passing_.empty() ? std::error_code() : system::Synchronize(descriptor_);
  const std::error_code closing = system::Close(descriptor_);
  descriptor_ = -1;
  if (!error) error = closing;
  if (error) Fail(error);
  if (passing_.empty()) return;
  error = system::Rename(passing_, target_, options_.force);
  if (error == std::errc::file_exists) RefuseToReplace();
  if (error) Fail(error);
  passing_.clear();
  GiveSlot(slot_);
}

}  // namespace brindlex::tool
