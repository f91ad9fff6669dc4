#include "tests/hosts/debugger.h"

#include <algorithm>
#include <array>
#include <cstddef>
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
constexpr std::string_view kRunTime[] = {
    "libwinpthread-1.dll", sizeof(void*) == 8 ? "libgcc_s_seh-1.dll" : "libgcc_s_dw2-1.dll",
    "libstdc++-6.dll"};

/// The folder of this program, which the run time is in.
std::string OwnFolder() {
  char path[MAX_PATH];
  const std::string own(path, GetModuleFileNameA(nullptr, path, MAX_PATH));
  return own.substr(0, own.find_last_of('\\') + 1);
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

/// One import of each module of the run time, as the system reads it from a program in memory. All
/// offsets are from the beginning of this.
struct RunTimeImports {
  struct Module {
    std::array<char, MAX_PATH> path;
    /// Which export is imported, and the end of the list.
    std::array<ULONG_PTR, 2> names;
    std::array<ULONG_PTR, 2> addresses;
  };
  std::array<Module, std::size(kRunTime)> modules;

  /// The imports of a program that has this memory at `place` from its beginning.
  static std::vector<IMAGE_IMPORT_DESCRIPTOR> Descriptors(DWORD place) {
    std::vector<IMAGE_IMPORT_DESCRIPTOR> descriptors;
    for (std::size_t index = 0; index < std::size(kRunTime); ++index) {
      const auto module = static_cast<DWORD>(place + index * sizeof(Module));
      IMAGE_IMPORT_DESCRIPTOR descriptor{};
      descriptor.OriginalFirstThunk = module + static_cast<DWORD>(offsetof(Module, names));
      descriptor.Name = module + static_cast<DWORD>(offsetof(Module, path));
      descriptor.FirstThunk = module + static_cast<DWORD>(offsetof(Module, addresses));
      descriptors.push_back(descriptor);
    }
    return descriptors;
  }

  static RunTimeImports Make() {
    constexpr ULONG_PTR kFirstExport = IMAGE_ORDINAL_FLAG | 1;
    RunTimeImports made{};
    for (std::size_t index = 0; index < std::size(kRunTime); ++index) {
      const std::string path = OwnFolder().append(kRunTime[index]);
      path.copy(made.modules[index].path.data(), MAX_PATH - 1);
      made.modules[index].names = {kFirstExport, 0};
      made.modules[index].addresses = {kFirstExport, 0};
    }
    return made;
  }
};

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
      if (!ImportRunTime(event.u.CreateProcessInfo.lpBaseOfImage)) {
        findings_.emplace_back("the imports of the program could not be changed");
      }
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
  const auto exports = ExportsOf(base);
  std::array<char, 32> name{};
  if (!exports || !Read(process_, Add(base, exports->Name), name)) return;
  const std::string_view module(name.data(), strnlen(name.data(), name.size()));
  if (std::find(std::begin(kRunTime), std::end(kRunTime), module) != std::end(kRunTime)) {
    ++runTimeSeen_;
  }
  if (module != "Brindlex.dll") return;
  component_ = base;
  hasSeenRunTime_ = runTimeSeen_ == std::size(kRunTime);
  isEnvironmentSet_ = PatchExport(base, *exports, "DllGetClassObject");
}

/// Puts the run time before what the program at `program` imports, as long as the system has not
/// read that.
bool Debugger::ImportRunTime(const void* program) const {
  IMAGE_DOS_HEADER dos{};
  const auto headers = HeadersOf(program);
  if (!headers || !Read(process_, program, dos)) return false;
  IMAGE_DATA_DIRECTORY directory =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  char* const place = AllocateAfter(process_, program);
  if (place == nullptr) return false;
  const auto placeAt = static_cast<DWORD>(place - static_cast<const char*>(program));
  const RunTimeImports added = RunTimeImports::Make();
  std::vector<IMAGE_IMPORT_DESCRIPTOR> imports = RunTimeImports::Descriptors(placeAt);
  for (const IMAGE_IMPORT_DESCRIPTOR& own : ImportsOf(program, directory.VirtualAddress)) {
    imports.push_back(own);
  }
  imports.emplace_back();
  directory.VirtualAddress = static_cast<DWORD>(placeAt + sizeof added);
  directory.Size = static_cast<DWORD>(imports.size()) * DWORD{sizeof(IMAGE_IMPORT_DESCRIPTOR)};
  constexpr std::size_t kDirectoryAt = offsetof(IMAGE_NT_HEADERS, OptionalHeader.DataDirectory) +
                                       IMAGE_DIRECTORY_ENTRY_IMPORT * sizeof directory;
  return Write(process_, place, &added, sizeof added) &&
         Write(process_, place + sizeof added, imports.data(), directory.Size) &&
         Write(process_, Add(program, static_cast<DWORD>(dos.e_lfanew) + kDirectoryAt), &directory,
               sizeof directory);
}

/// The modules that the program at `base` imports from, whose list begins `place` bytes from there.
std::vector<IMAGE_IMPORT_DESCRIPTOR> Debugger::ImportsOf(const void* base, DWORD place) const {
  std::vector<IMAGE_IMPORT_DESCRIPTOR> imports;
  IMAGE_IMPORT_DESCRIPTOR import{};
  while (place != 0 && Read(process_, Add(base, place), import) && import.Name != 0) {
    imports.push_back(import);
    place += static_cast<DWORD>(sizeof import);
  }
  return imports;
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

std::optional<IMAGE_NT_HEADERS> Debugger::HeadersOf(const void* base) const {
  IMAGE_DOS_HEADER dos{};
  IMAGE_NT_HEADERS headers{};
  if (!Read(process_, base, dos)) return std::nullopt;
  if (!Read(process_, Add(base, static_cast<DWORD>(dos.e_lfanew)), headers)) return std::nullopt;
  return headers;
}

/// What the module at `base` exports; nothing when it exports nothing.
std::optional<IMAGE_EXPORT_DIRECTORY> Debugger::ExportsOf(const void* base) const {
  IMAGE_EXPORT_DIRECTORY exports{};
  const auto headers = HeadersOf(base);
  if (!headers) return std::nullopt;
  const DWORD place =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
  if (place == 0 || !Read(process_, Add(base, place), exports)) return std::nullopt;
  return exports;
}
