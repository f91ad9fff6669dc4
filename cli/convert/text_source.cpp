#include "cli/convert/text_source.h"

#include "cli/io/failure.h"

namespace brindlex::cli {

std::string_view TextSource::Read() {
  const std::size_t size = source_(read_, buffer_.get(), kInputBlock);
  read_ += size;
  return {buffer_.get(), size};
}

/// Reads as much as a byte order mark may take, and finds out the encoding.
void TextSource::Begin() {
  isBegun_ = true;
  constexpr std::size_t kLongestMark = 3;
  while (pending_.size() < kLongestMark) {
    const std::string_view block = Read();
    if (block.empty()) break;
    pending_ += block;
  }
  if (!encoding_) {
    const auto marked = Encoding::OfByteOrderMark(pending_);
    encoding_ = marked ? marked : Encoding::Named("utf-8");
  }
  const std::string_view mark = encoding_->ByteOrderMark();
  if (pending_.starts_with(mark)) pending_.erase(0, mark.size());
}

std::string_view TextSource::Decode(bool isAtEnd) {
  const std::size_t kept = isAtEnd ? 0 : encoding_->UnfinishedLength(pending_);
  const std::string_view whole = std::string_view(pending_).substr(0, pending_.size() - kept);
  text_.clear();
  if (encoding_->GetForm() == Encoding::Form::kUtf8) {
    text_ = whole;
  } else if (const std::size_t valid = encoding_->ToUtf8(whole, text_); valid < whole.size()) {
    throw ConversionError("byte " + std::to_string(read_ - pending_.size() + valid) +
                          ": ill-formed " + encoding_->Name() + "; --input-encoding names another");
  }
  pending_.erase(0, whole.size());
  return text_;
}

std::string_view TextSource::Next() {
  if (!isBegun_) {
    Begin();
    if (const std::string_view text = Decode(false); !text.empty()) return text;
  }
  for (;;) {
    const std::string_view block = Read();
    const bool isWhole = pending_.empty() && encoding_->GetForm() == Encoding::Form::kUtf8 &&
                         encoding_->UnfinishedLength(block) == 0;
    if (isWhole && !block.empty()) return block;
    pending_ += block;
    if (const std::string_view text = Decode(block.empty()); !text.empty() || block.empty()) {
      return text;
    }
  }
}

}  // namespace brindlex::cli
