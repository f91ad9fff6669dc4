#include "tests/com/support/planned_calls.h"

#include <winternl.h>

/// RtlGenRandom, by the name that it is exported under.
extern "C" BOOLEAN NTAPI SystemFunction036(PVOID bytes, ULONG size);

namespace brindlex::testing {
namespace {

Plan plan;
int count = 0;

/// One of the functions: counts a call, and lets the real function run or the plan take its place.
template <auto Function>
struct Planned;

template <class Result, class... Arguments, Result(WINAPI* Function)(Arguments...)>
struct Planned<Function> {
  static Result WINAPI Call(Arguments... arguments) {
    const bool isChosen = ++count == plan.call;
    if (isChosen && plan.fate == Plan::Fate::kEndBefore) End();
    if (isChosen && plan.fate == Plan::Fate::kFail) {
      SetLastError(plan.error);
      return Failure(Result());
    }
    const Result result = Function(arguments...);
    const DWORD error = GetLastError();
    if (isChosen && plan.fate == Plan::Fate::kEndBehind) End();
    SetLastError(error);
    return result;
  }

 private:
  /// Without a word to any DLL, as a debugger or the task manager does it.
  static void End() { TerminateProcess(GetCurrentProcess(), PlannedCalls::kEnded); }
  static HANDLE Failure(HANDLE) { return INVALID_HANDLE_VALUE; }
  static DWORD Failure(DWORD) { return 0; }
  static BOOLEAN Failure(BOOLEAN) { return FALSE; }
  /// The system takes a status of this form back to the error code in it.
  static NTSTATUS Failure(NTSTATUS) { return HRESULT_FROM_WIN32(plan.error); }
  static BOOL Failure(BOOL) { return FALSE; }
};

}  // namespace

PlannedCalls::PlannedCalls(HMODULE module, const Plan& chosen) {
  plan = {};
  const auto patch = [&](const char* name, auto* function) {
    patches_.push_back(
        std::make_unique<PatchedImport>(module, name, reinterpret_cast<void*>(function)));
  };
  patch("GetFullPathNameW", Planned<GetFullPathNameW>::Call);
  patch("CreateFileW", Planned<CreateFileW>::Call);
  patch("GetFileInformationByHandle", Planned<GetFileInformationByHandle>::Call);
  patch("NtCreateFile", Planned<NtCreateFile>::Call);
  patch("GetKernelObjectSecurity", Planned<GetKernelObjectSecurity>::Call);
  patch("SystemFunction036", Planned<SystemFunction036>::Call);
  patch("NtSetInformationFile", Planned<NtSetInformationFile>::Call);
  patch("SetKernelObjectSecurity", Planned<SetKernelObjectSecurity>::Call);
  patch("SetFileTime", Planned<SetFileTime>::Call);
  patch("WriteFile", Planned<WriteFile>::Call);
  patch("FlushFileBuffers", Planned<FlushFileBuffers>::Call);
  count = 0;
  plan = chosen;
}

PlannedCalls::~PlannedCalls() { plan = {}; }

int PlannedCalls::Count() { return count; }

}  // namespace brindlex::testing
