#include "server/com/module.h"

#include <atomic>

#include "platform/win32/automation/hresult.h"

namespace brindlex::module {
namespace {

HINSTANCE theInstance = nullptr;
std::atomic<long> useCount{0};

}  // namespace

void KeepLoaded(HINSTANCE instance) noexcept {
  theInstance = instance;
  HMODULE self = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<PCWSTR>(instance), &self);
}

std::wstring Path() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetModuleFileNameW(theInstance, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) throw ErrorOf(HRESULT_FROM_WIN32(GetLastError()));
    if (length < path.size()) return path.substr(0, length);
    path.resize(2 * path.size());
  }
}

void AddUse() noexcept { useCount.fetch_add(1, std::memory_order_relaxed); }

void ReleaseUse() noexcept { useCount.fetch_sub(1, std::memory_order_release); }

bool IsUnused() noexcept { return useCount.load(std::memory_order_acquire) == 0; }

}  // namespace brindlex::module
