#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace brindlex::testing {

/// A program file of the bitness of this test as it is on the disk, read without the loader.
class PeFile {
 public:
  /// Throws std::runtime_error for any other file.
  explicit PeFile(const std::wstring& path);

  bool IsDll() const;
  /// IMAGE_DLLCHARACTERISTICS_ flags.
  std::uint16_t DllFlags() const;
  /// True when the file can be loaded at another base address.
  bool IsRelocatable() const;
  std::uint32_t TimeStamp() const;

  /// The names of the exported functions, in the table's order.
  std::vector<std::string> Exports() const;
  /// True when functions are exported by number alone.
  bool HasNamelessExports() const;
  /// The DLLs that the loader loads for this one, in the table's order.
  std::vector<std::string> Imports() const;

 private:
  struct Directory {
    std::uint32_t address;
    std::uint32_t size;
  };

  template <class T>
  T Read(std::size_t offset) const;
  std::string NameAt(std::uint32_t address) const;
  std::size_t OffsetOf(std::uint32_t address) const;
  Directory DirectoryOf(std::size_t index) const;

  std::vector<char> bytes_;
  std::size_t header_ = 0;
};

}  // namespace brindlex::testing
