#include "tests/hosts/debugger.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <initializer_list>

namespace {

constexpr DWORD kLongestWaitMs = 5;

/// The exceptions that stand for a fault.
constexpr DWORD kFaults[] = {EXCEPTION_ACCESS_VIOLATION,
                             EXCEPTION_ARRAY_BOUNDS_EXCEEDED,
                             EXCEPTION_DATATYPE_MISALIGNMENT,
                             EXCEPTION_FLT_DENORMAL_OPERAND,
                             EXCEPTION_FLT_DIVIDE_BY_ZERO,
                             EXCEPTION_FLT_INEXACT_RESULT,
                             EXCEPTION_FLT_INVALID_OPERATION,
                             EXCEPTION_FLT_OVERFLOW,
                             EXCEPTION_FLT_STACK_CHECK,
                             EXCEPTION_FLT_UNDERFLOW,
                             EXCEPTION_GUARD_PAGE,
                             EXCEPTION_ILLEGAL_INSTRUCTION,
                             EXCEPTION_IN_PAGE_ERROR,
                             EXCEPTION_INT_DIVIDE_BY_ZERO,
                             EXCEPTION_INT_OVERFLOW,
                             EXCEPTION_INVALID_HANDLE,
                             EXCEPTION_PRIV_INSTRUCTION,
                             EXCEPTION_STACK_OVERFLOW,
                             0xC0000374 /* heap corruption */};

/// Each before those that need it, since the system seeks those in the program's folder.
constexpr const wchar_t* kRunTime[] = {
    L"libwinpthread-1.dll", sizeof(void*) == 8 ? L"libgcc_s_seh-1.dll" : L"libgcc_s_dw2-1.dll",
    L"libstdc++-6.dll"};

/// The folder of this program, which the run time is in.
std::wstring OwnFolder() {
  wchar_t path[MAX_PATH];
  const std::wstring own(path, GetModuleFileNameW(nullptr, path, MAX_PATH));
  return own.substr(0, own.find_last_of(L'\\') + 1);
}

template <class T>
bool Read(HANDLE process, const void* address, T& value) {
  return ReadProcessMemory(process, address, &value, sizeof value, nullptr) != FALSE;
}

const void* Add(const void* base, std::size_t offset) {
  return static_cast<const char*>(base) + offset;
}

/// Code that sets the control words of the calling thread and goes on to a function. The operands
/// are addresses in 32-bit code, and distances from the end of the instruction in 64-bit code.
class EntryStub {
 public:
  /// For a stub at `place` that goes on to `function`.
  EntryStub(const char* place, const char* function) {
    const char* const words = place + kWordsAt;
    Append({'\xD9', '\x2D'}, Operand(words, place + 6));
    Append({'\x0F', '\xAE', '\x15'}, Operand(words + sizeof(DWORD), place + 13));
    Append({'\xE9'}, static_cast<DWORD>(function - (place + kWordsAt)));
    // As Delphi's and Free Pascal's run time set them: invalid operations, divisions by zero and
    // overflows are unmasked.
    Append({}, 0x1332);
    Append({}, 0x1900);
  }

  const std::vector<char>& Bytes() const { return bytes_; }

 private:
  static constexpr std::size_t kWordsAt = 18;

  static DWORD Operand(const char* target, const char* end) {
    const bool isFar = sizeof(void*) == 8;
    return static_cast<DWORD>(isFar ? target - end : reinterpret_cast<ULONG_PTR>(target) & ~0U);
  }

  void Append(std::initializer_list<char> opcode, DWORD operand) {
    bytes_.insert(bytes_.end(), opcode);
    const auto* const bytes = reinterpret_cast<const char*>(&operand);
    bytes_.insert(bytes_.end(), bytes, bytes + sizeof operand);
  }

  std::vector<char> bytes_;
};

bool Write(HANDLE process, const void* address, const void* data, std::size_t size) {
  DWORD protection = 0;
  void* const place = const_cast<void*>(address);
  return VirtualProtectEx(process, place, size, PAGE_EXECUTE_READWRITE, &protection) != FALSE &&
         WriteProcessMemory(process, place, data, size, nullptr) != FALSE &&
         VirtualProtectEx(process, place, size, protection, &protection) != FALSE;
}

/// Memory for code at a higher address than `base`, as near as there is any; null when there is
/// none within 2 GiB.
char* AllocateAfter(HANDLE process, const void* base) {
  constexpr std::size_t kStep = 65536;
  constexpr int kMostSteps = 32000;
  auto* place = const_cast<char*>(static_cast<const char*>(base));
  for (int step = 0; step < kMostSteps; ++step) {
    place += kStep;
    void* const made =
        VirtualAllocEx(process, place, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE);
    if (made != nullptr) return static_cast<char*>(made);
  }
  return nullptr;
}

}  // namespace

Debugger::~Debugger() { DebugActiveProcessStop(GetProcessId(process_)); }

bool Debugger::HandleEvents() {
  DEBUG_EVENT event;
  while (WaitForDebugEvent(&event, kLongestWaitMs) != FALSE) {
    const DWORD answer = Handle(event);
    ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
    if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) return false;
  }
  return true;
}

DWORD Debugger::Handle(const DEBUG_EVENT& event) {
  switch (event.dwDebugEventCode) {
    case CREATE_PROCESS_DEBUG_EVENT:
      CloseHandle(event.u.CreateProcessInfo.hFile);
      return DBG_CONTINUE;
    case LOAD_DLL_DEBUG_EVENT:
      HandleLoadedDll(event);
      return DBG_CONTINUE;
    case EXCEPTION_DEBUG_EVENT:
      return HandleException(event.u.Exception.ExceptionRecord);
    default:
      return DBG_CONTINUE;
  }
}

DWORD Debugger::HandleException(const EXCEPTION_RECORD& exception) {
  const DWORD code = exception.ExceptionCode;
  if (code == EXCEPTION_BREAKPOINT && !isStarted_) {
    // The system's own, when the process is ready to run.
    isStarted_ = true;
    LoadRunTime();
    return DBG_CONTINUE;
  }
  if (std::find(std::begin(kFaults), std::end(kFaults), code) != std::end(kFaults)) {
    char line[96];
    std::snprintf(line, sizeof line, "first-chance exception %#lx at %p, the component at %p", code,
                  exception.ExceptionAddress, component_);
    findings_.emplace_back(line);
  }
  return DBG_EXCEPTION_NOT_HANDLED;
}

void Debugger::HandleLoadedDll(const DEBUG_EVENT& event) {
  CloseHandle(event.u.LoadDll.hFile);
  const void* const base = event.u.LoadDll.lpBaseOfDll;
  const auto exports = ComponentExports(base);
  if (!exports) return;
  component_ = base;
  isEnvironmentSet_ = PatchExport(base, *exports, "DllGetClassObject");
}

void Debugger::LoadRunTime() {
  auto* const load = reinterpret_cast<LPTHREAD_START_ROUTINE>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "LoadLibraryW")));
  for (const wchar_t* const name : kRunTime) {
    const std::wstring path = OwnFolder() + name;
    const SIZE_T size = (path.size() + 1) * sizeof(wchar_t);
    void* const there =
        VirtualAllocEx(process_, nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    WriteProcessMemory(process_, there, path.c_str(), size, nullptr);
    CloseHandle(CreateRemoteThread(process_, nullptr, 0, load, there, 0, nullptr));
  }
}

/// Sends callers of the function that is exported as `name` to a stub.
bool Debugger::PatchExport(const void* base, const IMAGE_EXPORT_DIRECTORY& exports,
                           std::string_view name) const {
  for (DWORD index = 0; index < exports.NumberOfNames; ++index) {
    DWORD nameAt = 0;
    WORD ordinal = 0;
    std::array<char, 32> found{};
    Read(process_, Add(base, exports.AddressOfNames + index * sizeof(DWORD)), nameAt);
    Read(process_, Add(base, exports.AddressOfNameOrdinals + index * sizeof(WORD)), ordinal);
    Read(process_, Add(base, nameAt), found);
    if (name != std::string_view(found.data(), strnlen(found.data(), found.size()))) continue;
    const void* const entry = Add(base, exports.AddressOfFunctions + ordinal * sizeof(DWORD));
    DWORD function = 0;
    char* const place = AllocateAfter(process_, base);
    if (place == nullptr || !Read(process_, entry, function)) return false;
    const EntryStub stub(place, static_cast<const char*>(Add(base, function)));
    const auto stubAt = static_cast<DWORD>(place - static_cast<const char*>(base));
    return Write(process_, place, stub.Bytes().data(), stub.Bytes().size()) &&
           Write(process_, entry, &stubAt, sizeof stubAt);
  }
  return false;
}

/// What the module at `base` exports, if it is the component by the name that it gives itself.
std::optional<IMAGE_EXPORT_DIRECTORY> Debugger::ComponentExports(const void* base) const {
  IMAGE_DOS_HEADER dos{};
  IMAGE_NT_HEADERS headers{};
  IMAGE_EXPORT_DIRECTORY exports{};
  std::array<char, sizeof "Brindlex.dll"> name{};
  if (!Read(process_, base, dos)) return std::nullopt;
  if (!Read(process_, Add(base, static_cast<DWORD>(dos.e_lfanew)), headers)) return std::nullopt;
  const DWORD place =
      headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
  if (place == 0 || !Read(process_, Add(base, place), exports)) return std::nullopt;
  if (!Read(process_, Add(base, exports.Name), name)) return std::nullopt;
  if (std::string_view(name.data()) != "Brindlex.dll") return std::nullopt;
  return exports;
}
