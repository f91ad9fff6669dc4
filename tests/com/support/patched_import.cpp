#include "tests/com/support/patched_import.h"

#include <cstring>
#include <stdexcept>
#include <utility>

namespace brindlex::testing {
namespace {

template <class T>
T* At(HMODULE module, ULONG_PTR offset) {
  return reinterpret_cast<T*>(reinterpret_cast<char*>(module) + offset);
}

const IMAGE_IMPORT_DESCRIPTOR* ImportsOf(HMODULE module) {
  const auto* const dos = At<IMAGE_DOS_HEADER>(module, 0);
  const auto* const headers = At<IMAGE_NT_HEADERS>(module, static_cast<ULONG_PTR>(dos->e_lfanew));
  const auto& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  return At<IMAGE_IMPORT_DESCRIPTOR>(module, imports.VirtualAddress);
}

/// Runs `visit(name, place)` for every function that is imported by name, with the place where the
/// loader has put its address.
template <class Visit>
void ForEachImport(HMODULE module, Visit&& visit) {
  for (const auto* library = ImportsOf(module); library->Name != 0; ++library) {
    const auto* wanted = At<IMAGE_THUNK_DATA>(module, library->OriginalFirstThunk);
    auto* found = At<IMAGE_THUNK_DATA>(module, library->FirstThunk);
    for (; wanted->u1.AddressOfData != 0; ++wanted, ++found) {
      if (IMAGE_SNAP_BY_ORDINAL(wanted->u1.Ordinal)) continue;
      const auto* const import = At<IMAGE_IMPORT_BY_NAME>(module, wanted->u1.AddressOfData);
      visit(reinterpret_cast<const char*>(import->Name),
            reinterpret_cast<void**>(&found->u1.Function));
    }
  }
}

void** PlaceOf(HMODULE module, const char* name) {
  void** sought = nullptr;
  ForEachImport(module, [&](const char* imported, void** place) {
    if (std::strcmp(imported, name) == 0) sought = place;
  });
  if (sought == nullptr) throw std::runtime_error(name);
  return sought;
}

void* Replace(void** place, void* address) {
  DWORD protection = 0;
  VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection);
  void* const before = std::exchange(*place, address);
  VirtualProtect(place, sizeof *place, protection, &protection);
  return before;
}

}  // namespace

std::vector<std::string> ImportsByName(HMODULE module) {
  std::vector<std::string> names;
  ForEachImport(module, [&](const char* name, void**) { names.emplace_back(name); });
  return names;
}

PatchedImport::PatchedImport(HMODULE module, const char* name, void* replacement)
    : place_(PlaceOf(module, name)), original_(Replace(place_, replacement)) {}

PatchedImport::~PatchedImport() { Replace(place_, original_); }

}  // namespace brindlex::testing
