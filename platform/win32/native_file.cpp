#include "platform/win32/native_file.h"

#include <winternl.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace brindlex {
namespace {

// The classes of information by their numbers in the system's interface; headers differ in their
// names.
constexpr auto kBasicInformation = static_cast<FILE_INFORMATION_CLASS>(4);
constexpr auto kRenameInformation = static_cast<FILE_INFORMATION_CLASS>(10);
constexpr auto kDispositionInformation = static_cast<FILE_INFORMATION_CLASS>(13);
constexpr auto kAttributeTagInformation = static_cast<FILE_INFORMATION_CLASS>(35);

constexpr bool IsSuccess(NTSTATUS status) { return status >= 0; }

DWORD CodeOf(NTSTATUS status) {
  return IsSuccess(status) ? ERROR_SUCCESS : RtlNtStatusToDosError(status);
}

template <class Information>
NTSTATUS Set(HANDLE file, FILE_INFORMATION_CLASS kind, Information& information,
             std::size_t size = sizeof(Information)) {
  IO_STATUS_BLOCK block{};
  return NtSetInformationFile(file, &block, &information, static_cast<ULONG>(size), kind);
}

UNICODE_STRING Counted(const std::wstring& name) {
  const auto bytes = static_cast<USHORT>(name.size() * sizeof(wchar_t));
  return {bytes, bytes, const_cast<wchar_t*>(name.data())};
}

NTSTATUS Rename(HANDLE file, HANDLE folder, const std::wstring& name) {
  const std::size_t bytes = name.size() * sizeof(wchar_t);
  const std::size_t size = sizeof(FILE_RENAME_INFORMATION) + bytes;
  std::vector<std::byte> storage(size);
  auto& information = *reinterpret_cast<FILE_RENAME_INFORMATION*>(storage.data());
  information.ReplaceIfExists = TRUE;
  information.RootDirectory = folder;
  information.FileNameLength = static_cast<ULONG>(bytes);
  std::copy(name.begin(), name.end(), information.FileName);
  return Set(file, kRenameInformation, information, size);
}

/// Whether `code` says that the call is not possible in this form.
bool SaysUnsupported(DWORD code) {
  return code == ERROR_INVALID_PARAMETER || code == ERROR_NOT_SUPPORTED ||
         code == ERROR_INVALID_FUNCTION || code == ERROR_CALL_NOT_IMPLEMENTED;
}

}  // namespace

DWORD OpenFileIn(HANDLE folder, const std::wstring& name, const FileOpening& opening,
                 FileHandle& file) {
  // The system counts the bytes of a name in 16 bits.
  constexpr std::size_t kMostUnits = 0x7FFF;
  if (name.size() > kMostUnits) return ERROR_FILENAME_EXCED_RANGE;
  UNICODE_STRING counted = Counted(name);
  OBJECT_ATTRIBUTES object{};
  InitializeObjectAttributes(&object, &counted, OBJ_CASE_INSENSITIVE, folder, opening.security);
  const ULONG options = FILE_NON_DIRECTORY_FILE | FILE_SYNCHRONOUS_IO_NONALERT |
                        FILE_OPEN_REPARSE_POINT | (opening.isNew ? FILE_WRITE_THROUGH : 0U);
  HANDLE handle = nullptr;
  IO_STATUS_BLOCK block{};
  const NTSTATUS status = NtCreateFile(
      &handle, opening.access | SYNCHRONIZE, &object, &block, nullptr, opening.attributes,
      opening.sharing, opening.isNew ? FILE_CREATE : FILE_OPEN, options, nullptr, 0);
  if (IsSuccess(status)) file = FileHandle(handle);
  return CodeOf(status);
}

DWORD SetAttributesOf(HANDLE file, DWORD attributes) {
  // A time of 0 stays as it is.
  FILE_BASIC_INFORMATION information{};
  information.FileAttributes = attributes == 0 ? DWORD{FILE_ATTRIBUTE_NORMAL} : attributes;
  return CodeOf(Set(file, kBasicInformation, information));
}

DWORD SetDeleteOnClose(HANDLE file, bool isDeleted) {
  FILE_DISPOSITION_INFORMATION information{};
  information.DoDeleteFile = isDeleted ? TRUE : FALSE;
  return CodeOf(Set(file, kDispositionInformation, information));
}

DWORD RenameOver(HANDLE file, HANDLE folder, const std::wstring& name, const std::wstring& path) {
  const DWORD code = CodeOf(Rename(file, folder, name));
  if (!SaysUnsupported(code)) return code;
  constexpr std::size_t kPrefix = 4;
  return CodeOf(Rename(file, nullptr, L"\\??\\" + path.substr(kPrefix)));
}

DWORD ReadReparseTag(HANDLE file, DWORD& tag) {
  FILE_ATTRIBUTE_TAG_INFORMATION information{};
  IO_STATUS_BLOCK block{};
  const NTSTATUS status = NtQueryInformationFile(file, &block, &information, sizeof information,
                                                 kAttributeTagInformation);
  tag = information.ReparseTag;
  return CodeOf(status);
}

}  // namespace brindlex
