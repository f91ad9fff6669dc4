#include "tests/com/support/pe_file.h"

#include <windows.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace brindlex::testing {

template <class T>
T PeFile::Read(std::size_t offset) const {
  if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T)) {
    throw std::runtime_error("the program file ends too early");
  }
  T value;
  std::memcpy(&value, bytes_.data() + offset, sizeof value);
  return value;
}

PeFile::PeFile(const std::wstring& path) {
  std::ifstream file(std::filesystem::path(path), std::ios::binary);
  bytes_.assign(std::istreambuf_iterator<char>(file), {});
  const auto start = Read<IMAGE_DOS_HEADER>(0);
  header_ = static_cast<std::size_t>(start.e_lfanew);
  const auto header = Read<IMAGE_NT_HEADERS>(header_);
  if (start.e_magic != IMAGE_DOS_SIGNATURE || header.Signature != IMAGE_NT_SIGNATURE ||
      header.OptionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR_MAGIC) {
    throw std::runtime_error("not a program file of this test's bitness");
  }
}

bool PeFile::IsDll() const {
  return (Read<IMAGE_NT_HEADERS>(header_).FileHeader.Characteristics & IMAGE_FILE_DLL) != 0;
}

std::uint16_t PeFile::DllFlags() const {
  return Read<IMAGE_NT_HEADERS>(header_).OptionalHeader.DllCharacteristics;
}

bool PeFile::IsRelocatable() const {
  const WORD flags = Read<IMAGE_NT_HEADERS>(header_).FileHeader.Characteristics;
  return (flags & IMAGE_FILE_RELOCS_STRIPPED) == 0 &&
         DirectoryOf(IMAGE_DIRECTORY_ENTRY_BASERELOC).size > 0;
}

std::uint32_t PeFile::TimeStamp() const {
  return Read<IMAGE_NT_HEADERS>(header_).FileHeader.TimeDateStamp;
}

std::vector<std::string> PeFile::Exports() const {
  const auto table =
      Read<IMAGE_EXPORT_DIRECTORY>(OffsetOf(DirectoryOf(IMAGE_DIRECTORY_ENTRY_EXPORT).address));
  std::vector<std::string> names;
  for (DWORD index = 0; index < table.NumberOfNames; ++index) {
    const std::size_t place = OffsetOf(table.AddressOfNames) + index * sizeof(DWORD);
    names.push_back(NameAt(Read<DWORD>(place)));
  }
  return names;
}

bool PeFile::HasNamelessExports() const {
  const auto table =
      Read<IMAGE_EXPORT_DIRECTORY>(OffsetOf(DirectoryOf(IMAGE_DIRECTORY_ENTRY_EXPORT).address));
  return table.NumberOfFunctions != table.NumberOfNames;
}

std::vector<std::string> PeFile::Imports() const {
  std::vector<std::string> names;
  std::size_t place = OffsetOf(DirectoryOf(IMAGE_DIRECTORY_ENTRY_IMPORT).address);
  for (;; place += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
    const auto import = Read<IMAGE_IMPORT_DESCRIPTOR>(place);
    if (import.Name == 0) return names;
    names.push_back(NameAt(import.Name));
  }
}

std::string PeFile::NameAt(std::uint32_t address) const {
  std::string name;
  for (std::size_t place = OffsetOf(address);; ++place) {
    const char letter = Read<char>(place);
    if (letter == '\0') return name;
    name.push_back(letter);
  }
}

std::size_t PeFile::OffsetOf(std::uint32_t address) const {
  const auto header = Read<IMAGE_NT_HEADERS>(header_);
  const std::size_t sections =
      header_ + offsetof(IMAGE_NT_HEADERS, OptionalHeader) + header.FileHeader.SizeOfOptionalHeader;
  for (WORD index = 0; index < header.FileHeader.NumberOfSections; ++index) {
    const auto section =
        Read<IMAGE_SECTION_HEADER>(sections + index * sizeof(IMAGE_SECTION_HEADER));
    if (address >= section.VirtualAddress &&
        address - section.VirtualAddress < section.SizeOfRawData) {
      return section.PointerToRawData + (address - section.VirtualAddress);
    }
  }
  throw std::runtime_error("an address outside of the program file");
}

PeFile::Directory PeFile::DirectoryOf(std::size_t index) const {
  const auto entry = Read<IMAGE_NT_HEADERS>(header_).OptionalHeader.DataDirectory[index];
  return {entry.VirtualAddress, entry.Size};
}

}  // namespace brindlex::testing
