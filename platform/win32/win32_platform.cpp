#include "platform/win32/win32_platform.h"

#include <windows.h>

#include <algorithm>
#include <iterator>

#include "platform/text_rows.h"
#include "platform/win32/automation/code_page.h"
#include "platform/win32/automation/error_channel.h"
#include "platform/win32/file_replacement.h"
#include "platform/win32/file_system.h"
#include "platform/win32/report_window.h"
#include "platform/win32/shell.h"

namespace brindlex {

std::shared_ptr<ReportListener> Win32Platform::Listener() {
  return findListener_ == nullptr ? nullptr : findListener_();
}

bool Win32Platform::IsDesktopVisible() { return IsWindowStationVisible(); }

void Win32Platform::WriteToErrorChannel(const Report& report) {
  WriteError(report.caption, report.text);
}

void Win32Platform::ShowBox(const Report& report) {
  static_assert(Report::kStyle == (MB_OK | MB_ICONEXCLAMATION));
  // The owner is the host's window, so that the box is modal to it; without one, to nothing.
  auto* const owner = GetActiveWindow();
  if (!FitsMessageBox(report.text) && ShowInWindow(owner, report)) return;
  MessageBoxW(owner, reinterpret_cast<const wchar_t*>(report.text.c_str()),
              reinterpret_cast<const wchar_t*>(report.caption.c_str()), Report::kStyle);
}

VersionRecord Win32Platform::GetVersionRecord() {
  OSVERSIONINFOA record{};
  static_assert(sizeof(record) == 148);
  record.dwOSVersionInfoSize = sizeof(record);
  std::fill(std::begin(record.szCSDVersion), std::end(record.szCSDVersion), ' ');
  GetVersionExA(&record);
  return {record.dwMajorVersion, record.dwMinorVersion, record.dwBuildNumber, record.dwPlatformId};
}

std::int32_t Win32Platform::SpecialFolderLocation(std::int32_t csidl, ItemIdList& list) {
  PIDLIST_ABSOLUTE found = nullptr;
  const HRESULT status = brindlex::SpecialFolderLocation(csidl, found);
  list = found;
  return status;
}

std::int32_t Win32Platform::PathFromItemIdList(ItemIdList list, PathBuffer& buffer) {
  constexpr int kSize = static_cast<int>(std::tuple_size_v<PathBuffer>);
  static_assert(kSize == MAX_PATH);
  auto* const wide = reinterpret_cast<wchar_t*>(buffer.data());
  // Twice the room, since a character may take two bytes; the shell knows of the first half.
  char bytes[2 * kSize] = {};
  WideCharToMultiByte(CP_ACP, 0, wide, kSize, bytes, 2 * kSize, nullptr, nullptr);
  const BOOL status = PathFromIdList(static_cast<PCIDLIST_ABSOLUTE>(list), bytes);
  const int count = MultiByteToWideChar(CP_ACP, 0, bytes, kSize, wide, kSize);
  std::fill(buffer.begin() + count, buffer.end(), u' ');
  return status;
}

std::unique_ptr<FileSystem> Win32Platform::NewFileSystem() {
  return NewScriptingFileSystem(dispatch_);
}

std::string Win32Platform::InCodePage(TextView text) { return brindlex::InCodePage(text); }

std::unique_ptr<FileReplacement> Win32Platform::NewFileReplacement(TextView path) {
  return NewWin32FileReplacement(path);
}

}  // namespace brindlex
