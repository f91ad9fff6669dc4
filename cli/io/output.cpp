#include "cli/io/output.h"

#include <algorithm>
#include <utility>

#include "cli/io/failure.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::cli {
Output::Output(const OutputOptions& options) : options_(options), name_(options.path) {
  buffer_.reserve(kBlock);
  if (options_.path == "-") {
    name_ = "standard output";
    isTerminal_ = system::IsTerminal(descriptor_);
    return;
  }
  replacement_.emplace();
  Check(replacement_->Find(options_.path));
  switch (replacement_->Kind()) {
    case system::FileKind::kFolder:
      Fail(std::make_error_code(std::errc::is_a_directory));
    case system::FileKind::kOther: {
      replacement_.reset();
      const system::Opened opened = system::OpenToWrite(options_.path);
      Check(opened.error);
      descriptor_ = opened.descriptor;
      return;
    }
    case system::FileKind::kRegular:
      if (!options_.force) RefuseToReplace();
      break;
    case system::FileKind::kNone:
      break;
  }
  Check(replacement_->Create());
  descriptor_ = replacement_->File();
}

Output::~Output() {
  if (!replacement_ && !pager_ && descriptor_ > system::kStandardError) system::Close(descriptor_);
}

void Output::Check(const std::error_code& error) const {
  if (error) Fail(error);
}

void Output::Fail(const std::error_code& error) const {
  throw Failure(ExitStatus::kInputOutput,
                "cannot write " + ShownPath(name_) + ": " + error.message());
}

void Output::RefuseToReplace() const {
  throw Failure(ExitStatus::kUsage,
                ShownPath(name_) + " already exists; use --force to overwrite it");
}

void Output::PageThrough(const std::string& pager, int lines) {
  if (!isTerminal_) return;
  pagerCommand_ = pager;
  pagerLines_ = lines;
}

/// `bytes` are the first to be handed over.
void Output::StartPager(std::string_view bytes) {
  const std::string command = std::exchange(pagerCommand_, {});
  if (command.empty() || std::count(bytes.begin(), bytes.end(), '\n') <= pagerLines_) return;
  pager_.emplace(command);
  if (pager_->File() < 0) return pager_.reset();
  descriptor_ = pager_->File();
  isTerminal_ = false;
}

void Output::HandOver(std::string_view bytes) {
  if (bytes.empty() || isEnded_) return;
  StartPager(bytes);
  const auto error =
      isTerminal_ ? system::WriteToTerminal(descriptor_, bytes) : system::Write(descriptor_, bytes);
  isEnded_ = pager_ && error;
  if (!isEnded_) Check(error);
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
  if (replacement_) {
    const std::error_code error = replacement_->Commit(options_.force);
    if (error == std::errc::file_exists) RefuseToReplace();
    Check(error);
    replacement_.reset();
  } else if (pager_) {
    pager_->Close();
  } else if (descriptor_ > system::kStandardError) {
    Check(system::Close(std::exchange(descriptor_, -1)));
  }
}

}  // namespace brindlex::cli
