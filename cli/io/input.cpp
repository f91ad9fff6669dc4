#include "cli/io/input.h"

#include <utility>

#include "cli/text/diagnostics.h"
#include "cli/text/escape.h"

namespace brindlex::tool {
namespace {

[[noreturn]] void Fail(const std::string& name, const std::error_code& error) {
  throw Failure(ExitCode::kInputOutput, "cannot read " + ShownPath(name) + ": " + error.message());
}

}  // namespace

Input::Input(const std::string& path)
    : name_(path), block_(std::make_unique_for_overwrite<char[]>(kInputBlock)) {
  if (path == "-") {
    name_ = "standard input";
    return;
  }
  const system::Opened opened = system::OpenToRead(path);
  if (opened.error) Fail(name_, opened.error);
  descriptor_ = opened.descriptor;
  isOwned_ = true;
}

Input::Input(system::Descriptor descriptor, std::string name)
    : name_(std::move(name)),
      descriptor_(descriptor),
      block_(std::make_unique_for_overwrite<char[]>(kInputBlock)) {
  if (const std::error_code error = system::Rewind(descriptor_)) Fail(name_, error);
}

Input::~Input() {
  // Nothing was written to it, so nothing can be lost by closing.
  if (isOwned_) system::Close(descriptor_);
}

void Input::GoTo(std::uint64_t at) {
  const std::error_code error = system::GoTo(descriptor_, at);
  if (error) {
    throw Failure(ExitCode::kInputOutput,
                  ShownPath(name_) + " cannot be read a second time; copy it into a file first");
  }
  isFilled_ = false;
  isAtEnd_ = false;
  given_ = at;
}

// Fills the block, so that a pipe's small portions do not decide what is found out of the head.
void Input::Fill() {
  isFilled_ = true;
  filled_ = 0;
  while (filled_ < kInputBlock && !isAtEnd_) {
    std::error_code error;
    const auto count =
        system::Read(descriptor_, block_.get() + filled_, kInputBlock - filled_, error);
    if (!count) Fail(name_, error);
    isAtEnd_ = *count == 0;
    filled_ += *count;
  }
}

std::string_view Input::Head() {
  if (!isFilled_) Fill();
  return {block_.get(), filled_};
}

std::string_view Input::Next() {
  if (!isFilled_) Fill();
  isFilled_ = false;
  given_ += filled_;
  return {block_.get(), filled_};
}

}  // namespace brindlex::tool
