#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The debugger of one process, which was created with kFlags on the calling thread. It makes the
/// process a strict host, and notes what a user's debugger or crash reporter would show:
///
/// - its program imports the compiler's shared run time, before the modules that it names itself. A
///   thread that loads it would run before the program has started, which run times of other
///   languages do not expect;
/// - floating-point exceptions are unmasked, as Delphi's run time does, for each thread that asks
///   the component for a class factory. Rounding stays as it is, since script engines compute too;
/// - every first-chance exception that stands for a fault (memory, stack, heap, arithmetic,
///   instructions), in whatever module it is raised, is a finding.
class Debugger {
 public:
  static constexpr DWORD kFlags = DEBUG_ONLY_THIS_PROCESS;

  explicit Debugger(HANDLE process) : process_(process) {}
  Debugger(const Debugger&) = delete;
  Debugger& operator=(const Debugger&) = delete;
  ~Debugger();

  /// Handles what has happened in the process; waits a few milliseconds at most for something to
  /// happen. False when the process has ended.
  bool HandleEvents();

  bool HasSeenComponent() const { return component_ != nullptr; }
  /// Whether the whole shared run time was loaded, and the component was not before it.
  bool HasSeenRunTime() const { return hasSeenRunTime_; }
  bool WasEnvironmentSet() const { return isEnvironmentSet_; }
  const std::vector<std::string>& Findings() const { return findings_; }

 private:
  DWORD Handle(const DEBUG_EVENT& event);
  DWORD HandleException(const EXCEPTION_RECORD& exception);
  void HandleLoadedDll(const DEBUG_EVENT& event);
  bool ImportRunTime(const void* program) const;
  std::optional<IMAGE_NT_HEADERS> HeadersOf(const void* base) const;
  std::optional<IMAGE_EXPORT_DIRECTORY> ExportsOf(const void* base) const;
  std::vector<IMAGE_IMPORT_DESCRIPTOR> ImportsOf(const void* base, DWORD place) const;
  bool PatchExport(const void* base, const IMAGE_EXPORT_DIRECTORY& exports,
                   std::string_view name) const;

  HANDLE process_;
  const void* component_ = nullptr;
  bool isStarted_ = false;
  bool isEnvironmentSet_ = false;
  std::size_t runTimeSeen_ = 0;
  bool hasSeenRunTime_ = false;
  std::vector<std::string> findings_;
};
