#include "platform/win32/automation/code_page.h"

#include <windows.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "automation/runtime_error.h"

namespace brindlex {
namespace {

/// How much is converted at a time, so that what it takes to look at the result stays small.
constexpr std::size_t kUnits = 16384;
/// No code page takes more for one unit.
constexpr std::size_t kMostBytes = 5;

bool IsHighSurrogate(char16_t unit) { return (unit & 0xFC00U) == 0xD800U; }

/// The length of the next part of `rest`, which parts no pair of surrogates.
std::size_t PartOf(TextView rest) {
  if (rest.size() <= kUnits) return rest.size();
  return IsHighSurrogate(rest[kUnits - 1]) ? kUnits - 1 : kUnits;
}

[[noreturn]] void Refuse(std::size_t position) {
  Text description = u"The character at position ";
  description.append(DecimalText(static_cast<std::int32_t>(position + 1)));
  description.append(u" is not in code page ");
  description.append(DecimalText(static_cast<std::int32_t>(GetACP())));
  throw RuntimeError(error_number::kInvalidCall, std::move(description), u"Brindlex");
}

/// The number of units that a conversion has made, as the system returns it. Error 5 for none,
/// which is how it fails, since no part is empty.
std::size_t Converted(int count) {
  if (count <= 0) throw RuntimeError(error_number::kInvalidCall);
  return static_cast<std::size_t>(count);
}

/// Converts parts of a text, which are not empty, there and back.
class PartConverter {
 public:
  /// The bytes of `part`, valid until the next call.
  std::string_view Bytes(TextView part) {
    const int count = WideCharToMultiByte(CP_ACP, 0, reinterpret_cast<const wchar_t*>(part.data()),
                                          static_cast<int>(part.size()), bytes_.data(),
                                          static_cast<int>(bytes_.size()), nullptr, nullptr);
    return {bytes_.data(), Converted(count)};
  }

  /// The text that `bytes` are read as, valid until the next call.
  TextView Back(std::string_view bytes) {
    const int count = MultiByteToWideChar(CP_ACP, 0, bytes.data(), static_cast<int>(bytes.size()),
                                          units_.data(), static_cast<int>(units_.size()));
    return {reinterpret_cast<const char16_t*>(units_.data()), Converted(count)};
  }

 private:
  std::vector<char> bytes_ = std::vector<char>(kUnits * kMostBytes);
  std::vector<wchar_t> units_ = std::vector<wchar_t>(kUnits * kMostBytes);
};

}  // namespace

std::string InCodePage(TextView text) {
  PartConverter converter;
  std::string result;
  for (std::size_t done = 0; done < text.size();) {
    const TextView part = text.substr(done, PartOf(text.substr(done)));
    const std::string_view bytes = converter.Bytes(part);
    const TextView back = converter.Back(bytes);
    const auto [differing, read] =
        std::mismatch(part.begin(), part.end(), back.begin(), back.end());
    if (differing != part.end() || read != back.end()) {
      Refuse(done + static_cast<std::size_t>(differing - part.begin()));
    }
    result.append(bytes);
    done += part.size();
  }
  return result;
}

Text ThroughCodePage(TextView text) {
  PartConverter converter;
  Text result;
  result.reserve(text.size());
  for (std::size_t done = 0; done < text.size();) {
    const TextView part = text.substr(done, PartOf(text.substr(done)));
    result.append(converter.Back(converter.Bytes(part)));
    done += part.size();
  }
  return result;
}

}  // namespace brindlex
