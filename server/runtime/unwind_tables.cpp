// The compiler's start-up code registers the unwind tables of a 32-bit module with
// libgcc_s_dw2-1.dll when the process has that loaded. The unwinder linked into this DLL then knows
// none of its functions, and the first exception ends the process. So the DLL registers its tables
// with its own unwinder too, unless that knows them.

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

// The names and shapes are those of the compiler's run time (libgcc, unwind-dw2-fde.h).
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {
struct dwarf_eh_bases {
  void* tbase;
  void* dbase;
  void* func;
};
const void* _Unwind_Find_FDE(void* function, dwarf_eh_bases* bases);
void __register_frame_info(const void* tables, void* record);
extern const IMAGE_DOS_HEADER __ImageBase;
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace {

/// The section with the tables; its name is longer than the eight bytes that a section header has.
constexpr std::string_view kTablesSection = ".eh_fram";

/// The first byte of the section with the tables; null when the module has none.
const void* FindUnwindTables() noexcept {
  const auto* const base = reinterpret_cast<const std::byte*>(&__ImageBase);
  const auto* const header = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + __ImageBase.e_lfanew);
  const IMAGE_SECTION_HEADER* const first = IMAGE_FIRST_SECTION(header);
  const IMAGE_SECTION_HEADER* const last = first + header->FileHeader.NumberOfSections;
  const auto* const found = std::find_if(first, last, [](const IMAGE_SECTION_HEADER& section) {
    return std::equal(kTablesSection.begin(), kTablesSection.end(), section.Name);
  });
  return found == last ? nullptr : base + found->VirtualAddress;
}

[[gnu::constructor]] void RegisterUnwindTables() noexcept {
  // What the unwinder notes about the tables: six pointers, and room for what a release may add.
  static std::array<void*, 16> record{};
  dwarf_eh_bases bases{};
  auto* const ownFunction = reinterpret_cast<void*>(&RegisterUnwindTables);
  if (_Unwind_Find_FDE(ownFunction, &bases) != nullptr) return;
  const void* const tables = FindUnwindTables();
  if (tables != nullptr) __register_frame_info(tables, record.data());
}

}  // namespace
