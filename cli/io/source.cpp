#include "cli/io/source.h"

#include "cli/text/diagnostics.h"

namespace brindlex::tool {
namespace {

[[noreturn]] void FailToKeep(const std::error_code& error) {
  throw Failure(ExitCode::kInputOutput,
                "cannot keep standard input in a passing file: " + error.message());
}

}  // namespace

Source::Source(const std::string& path) : path_(path), name_(path) {
  if (path == "-" || system::KindOf(path) == system::FileKind::kOther) {
    Input input(path);
    name_ = input.Name();
    Keep(input);
  }
  progress_ = std::make_unique<Progress>("reading", Open()->Size());
}

Source::~Source() { Close(); }

void Source::Close() const {
  if (kept_ >= 0) system::Close(kept_);
}

std::string_view Source::Next(Input& input) const {
  const std::string_view block = input.Next();
  progress_->Show(input.Given());
  return block;
}

void Source::Keep(Input& input) {
  const system::Opened opened = system::OpenScratch();
  if (opened.error) FailToKeep(opened.error);
  kept_ = opened.descriptor;
  for (std::string_view block = input.Next(); !block.empty(); block = input.Next()) {
    const std::error_code error = system::Write(kept_, block);
    if (!error) continue;
    Close();
    FailToKeep(error);
  }
}

std::unique_ptr<Input> Source::Open() const {
  if (kept_ < 0) return std::make_unique<Input>(path_);
  return std::make_unique<Input>(kept_, name_);
}

}  // namespace brindlex::tool
