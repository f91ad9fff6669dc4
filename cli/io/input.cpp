#include "cli/io/input.h"

#include <algorithm>
#include <utility>

#include "cli/io/failure.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

[[noreturn]] void Fail(const std::string& what, const std::error_code& error) {
  throw Failure(ExitStatus::kInputOutput, what + ": " + error.message());
}

}  // namespace

Input::Input(const std::string& path) : name_(path) {
  if (path == "-") {
    name_ = "standard input";
    start_ = system::Position(descriptor_);
  } else {
    const system::Opened opened = system::OpenToRead(path);
    if (opened.error) Fail("cannot read " + ShownPath(name_), opened.error);
    descriptor_ = opened.descriptor;
    isOwned_ = true;
  }
  size_ = system::SizeOf(descriptor_);
  if (size_) *size_ -= std::min(start_, *size_);
}

Input::Input(std::string name, std::string text, std::size_t block)
    : name_(std::move(name)), text_(std::move(text)), block_(block) {}

Input::~Input() {
  Close();
  // Nothing can be lost: what was written to kept_ was meant for this object alone.
  if (kept_ >= 0) system::Close(kept_);
}

void Input::Close() {
  if (std::exchange(isOwned_, false)) system::Close(descriptor_);
}

std::optional<std::uint64_t> Input::Size() const {
  if (text_) return text_->size();
  return isAtEnd_ ? streamed_ : size_;
}

std::uint64_t Input::WholeSize() {
  if (!Size()) {
    char last = 0;
    Read(UINT64_MAX, &last, 1);
  }
  return *Size();
}

std::string_view Input::Head() {
  if (!hasHead_) {
    std::string head(kInputBlock, '\0');
    head.resize(IsStream() ? ReadStream(head.data(), head.size())
                           : Read(0, head.data(), head.size()));
    head_ = std::move(head);
    hasHead_ = true;
  }
  return head_;
}

// Fills `to`, so that a pipe's small portions do not decide what Head is.
std::size_t Input::ReadFully(system::Descriptor from, char* to, std::size_t size,
                             std::optional<std::uint64_t> offset) const {
  std::size_t done = 0;
  while (done < size) {
    std::error_code error;
    const auto count = system::Read(from, to + done, size - done, error, offset);
    if (!count) Fail("cannot read " + ShownPath(name_), error);
    if (*count == 0) break;
    done += *count;
    if (offset) *offset += *count;
  }
  return done;
}

std::size_t Input::ReadStream(char* to, std::size_t size) {
  const std::size_t done = isAtEnd_ ? 0 : ReadFully(descriptor_, to, size, std::nullopt);
  isAtEnd_ = isAtEnd_ || done < size;
  if (hasHead_ && keeps_) Keep({to, done});
  streamed_ += done;
  return done;
}

void Input::Keep(std::string_view bytes) {
  const std::string what = "cannot keep standard input in a temporary file";
  if (kept_ < 0) {
    const system::Opened opened = system::OpenTemporary();
    if (opened.error) Fail(what, opened.error);
    kept_ = opened.descriptor;
  }
  if (const std::error_code error = system::Write(kept_, bytes)) Fail(what, error);
  keptBytes_ += bytes.size();
}

std::size_t Input::Read(std::uint64_t offset, char* to, std::size_t size) {
  if (text_)
    return offset < text_->size() ? text_->copy(to, size, static_cast<std::size_t>(offset)) : 0;
  if (!IsStream()) return ReadFully(descriptor_, to, size, start_ + offset);
  const std::string_view head = Head();
  if (offset < head.size()) {
    const std::size_t copied = head.copy(to, size, static_cast<std::size_t>(offset));
    return copied == size ? size : copied + Read(offset + copied, to + copied, size - copied);
  }
  while (streamed_ < offset && !isAtEnd_) {
    char skipped[4096];
    ReadStream(skipped, static_cast<std::size_t>(
                            std::min<std::uint64_t>(sizeof skipped, offset - streamed_)));
  }
  if (offset >= streamed_) return ReadStream(to, size);
  const std::uint64_t keptEnd = head.size() + keptBytes_;
  if (offset >= keptEnd) {
    throw Failure(ExitStatus::kInputOutput, ShownPath(name_) + " cannot be read a second time");
  }
  const auto left = static_cast<std::size_t>(std::min<std::uint64_t>(size, keptEnd - offset));
  const std::size_t done = ReadFully(kept_, to, left, offset - head.size());
  return done == size ? size : done + Read(offset + done, to + done, size - done);
}

ExtentReader::ExtentReader(Input& input)
    : input_(input), buffer_(std::make_unique_for_overwrite<char[]>(kInputBlock)) {}

std::string_view ExtentReader::From(std::uint64_t offset, std::uint64_t most) {
  if (offset < blockOffset_ || offset >= blockOffset_ + block_.size()) {
    block_ = {buffer_.get(), input_.Read(offset, buffer_.get(), kInputBlock)};
    blockOffset_ = offset;
    if (block_.empty()) {
      throw Failure(ExitStatus::kInputOutput,
                    ShownPath(input_.Name()) + " has become shorter while it was read");
    }
  }
  const std::string_view rest = block_.substr(static_cast<std::size_t>(offset - blockOffset_));
  return rest.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(most, rest.size())));
}

std::string ExtentReader::Bytes(const Extent& extent, std::size_t most) {
  std::string bytes;
  Read({extent.offset, std::min<std::uint64_t>(extent.length, most)},
       [&](std::string_view part) { bytes += part; });
  return bytes;
}

InputWindow::InputWindow(Input& input, const Extent& extent, Progress* progress)
    : input_(input),
      progress_(progress),
      end_(extent.offset),
      limit_(extent.length > UINT64_MAX - extent.offset ? UINT64_MAX : extent.End()),
      buffer_(std::make_unique_for_overwrite<char[]>(
          kMostKept +
          static_cast<std::size_t>(std::min<std::uint64_t>(input.BlockSize(), extent.length)))) {}

bool InputWindow::Fill() {
  if (isComplete_) return false;
  // The block itself stays where it is in memory, whatever is kept before it.
  char* const block = buffer_.get() + kMostKept;
  char* const front = block - bytes_.size();
  std::copy(bytes_.begin(), bytes_.end(), front);
  const auto wanted =
      static_cast<std::size_t>(std::min<std::uint64_t>(input_.BlockSize(), limit_ - end_));
  const std::size_t read = wanted == 0 ? 0 : input_.Read(end_, block, wanted);
  isComplete_ = read < input_.BlockSize();
  end_ += read;
  bytes_ = {front, bytes_.size() + read};
  if (progress_ != nullptr) progress_->Show(end_);
  return read > 0;
}

}  // namespace brindlex::cli
