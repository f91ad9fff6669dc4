#include "platform/win32/automation/error_channel.h"

#include <windows.h>

#include <algorithm>
#include <array>

namespace brindlex {
namespace {

/// How many units are written at a time.
constexpr std::size_t kUnits = 256;

void WriteToDebugger(TextView part) noexcept {
  std::array<wchar_t, kUnits + 1> ended{};
  std::copy(part.begin(), part.end(), ended.begin());
  OutputDebugStringW(ended.data());
}

void WriteToStandardError(TextView part) noexcept {
  auto* const error = GetStdHandle(STD_ERROR_HANDLE);
  if (error == nullptr || error == INVALID_HANDLE_VALUE) return;
  const auto* const wide = reinterpret_cast<const wchar_t*>(part.data());
  DWORD written = 0;
  DWORD mode = 0;
  if (GetConsoleMode(error, &mode) != FALSE) {
    WriteConsoleW(error, wide, static_cast<DWORD>(part.size()), &written, nullptr);
    return;
  }
  const UINT console = GetConsoleOutputCP();
  // No code page takes more for one unit.
  std::array<char, 5 * kUnits> bytes{};
  const int count =
      WideCharToMultiByte(console == 0 ? CP_ACP : console, 0, wide, static_cast<int>(part.size()),
                          bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
  WriteFile(error, bytes.data(), static_cast<DWORD>(count), &written, nullptr);
}

void WritePart(TextView part) noexcept {
  WriteToDebugger(part);
  WriteToStandardError(part);
}

void Write(TextView text) noexcept {
  while (!text.empty()) {
    std::size_t size = std::min(text.size(), kUnits);
    // A pair of surrogates is one character.
    if (size < text.size() && IS_HIGH_SURROGATE(text[size - 1])) --size;
    WritePart(text.substr(0, size));
    text.remove_prefix(size);
  }
}

}  // namespace

bool IsWindowStationVisible() noexcept {
  auto* const station = GetProcessWindowStation();
  if (station == nullptr) return false;
  USEROBJECTFLAGS flags{};
  DWORD size = 0;
  if (GetUserObjectInformationW(station, UOI_FLAGS, &flags, sizeof flags, &size) == FALSE) {
    return true;
  }
  return (flags.dwFlags & WSF_VISIBLE) != 0;
}

void WriteError(TextView caption, TextView text) noexcept {
  Write(caption);
  Write(u": ");
  Write(text);
  Write(u"\r\n");
}

}  // namespace brindlex
