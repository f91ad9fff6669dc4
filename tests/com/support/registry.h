#pragma once

#include <windows.h>

#include <set>
#include <string>

namespace brindlex::testing {

/// What is below a registry key, as lines to compare: one for every key, such as "CLSID\{...}",
/// and one for every value, such as "CLSID\{...} [ThreadingModel] = Apartment"; a default value's
/// brackets are empty.
/// Letter case counts in values, as ever, and does not in the names of keys.
struct RegistryLineLess {
  bool operator()(const std::wstring& left, const std::wstring& right) const;
};
using RegistryLines = std::set<std::wstring, RegistryLineLess>;

/// Without what programs of the other bitness see in the place of `root`.
RegistryLines LinesBelow(HKEY root);

/// The lines of `after` that `before` lacks.
RegistryLines Added(const RegistryLines& before, const RegistryLines& after);

/// An opened registry key.
class OpenKey {
 public:
  /// Opens the key, or makes it. Throws std::runtime_error.
  OpenKey(HKEY root, const std::wstring& path, REGSAM rights = KEY_ALL_ACCESS,
          DWORD options = REG_OPTION_NON_VOLATILE);
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;
  ~OpenKey() { RegCloseKey(key_); }

  HKEY Get() const { return key_; }
  void SetText(const std::wstring& name, const std::wstring& text) const;
  /// Removes the key `path` below this one, with all that is below it.
  void Delete(const std::wstring& path) const;

 private:
  HKEY key_ = nullptr;
};

}  // namespace brindlex::testing
