#include "platform/win32/system_error.h"

#include <algorithm>
#include <iterator>

#include "platform/win32/automation/hresult.h"

namespace brindlex {
namespace {

struct SystemError {
  DWORD code;
  std::int32_t number;
};

constexpr SystemError kSystemErrors[] = {
    {ERROR_FILE_NOT_FOUND, 53},
    {ERROR_PATH_NOT_FOUND, 76},
    {ERROR_TOO_MANY_OPEN_FILES, 67},
    {ERROR_ACCESS_DENIED, 70},
    {ERROR_INVALID_HANDLE, 52},
    {ERROR_NOT_ENOUGH_MEMORY, 7},
    {ERROR_INVALID_DRIVE, 68},
    {ERROR_WRITE_PROTECT, 70},
    {ERROR_NOT_READY, 71},
    {ERROR_CRC, 57},
    {ERROR_SEEK, 57},
    {ERROR_SECTOR_NOT_FOUND, 57},
    {ERROR_WRITE_FAULT, 57},
    {ERROR_READ_FAULT, 57},
    {ERROR_GEN_FAILURE, 57},
    {ERROR_SHARING_VIOLATION, 70},
    {ERROR_LOCK_VIOLATION, 70},
    {ERROR_HANDLE_DISK_FULL, 61},
    {ERROR_BAD_NETPATH, 76},
    {ERROR_DEV_NOT_EXIST, 57},
    {ERROR_UNEXP_NET_ERR, 57},
    {ERROR_NETNAME_DELETED, 57},
    {ERROR_BAD_DEV_TYPE, 68},
    {ERROR_FILE_EXISTS, 58},
    {ERROR_INVALID_PARAMETER, 5},
    {ERROR_DISK_FULL, 61},
    {ERROR_INVALID_NAME, 52},
    {ERROR_ALREADY_EXISTS, 58},
    {ERROR_FILENAME_EXCED_RANGE, 52},
    {ERROR_DIRECTORY, 76},
    {ERROR_IO_DEVICE, 57},
    {ERROR_DEVICE_NOT_CONNECTED, 57},
};

}  // namespace

std::int32_t NumberOfSystemError(DWORD code) {
  const auto* found = std::find_if(std::begin(kSystemErrors), std::end(kSystemErrors),
                                   [code](const SystemError& e) { return e.code == code; });
  return found == std::end(kSystemErrors) ? 0 : found->number;
}

RuntimeError SystemErrorOf(DWORD code) {
  const std::int32_t number = NumberOfSystemError(code);
  return number == 0 ? ErrorOf(HRESULT_FROM_WIN32(code)) : RuntimeError(number);
}

void CheckSystemCall(bool succeeded) {
  if (!succeeded) throw SystemErrorOf(GetLastError());
}

}  // namespace brindlex
