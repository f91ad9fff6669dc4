#include "tests/com/support/registry.h"

#include <shlwapi.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace brindlex::testing {
namespace {

void Require(LSTATUS status) {
  if (status != ERROR_SUCCESS) throw std::runtime_error("the registry does not answer");
}

std::wstring TextOfValue(DWORD type, const std::vector<BYTE>& data) {
  if (type == REG_SZ) {
    std::wstring text(reinterpret_cast<const wchar_t*>(data.data()), data.size() / sizeof(wchar_t));
    if (!text.empty() && text.back() == L'\0') text.pop_back();
    return text;
  }
  std::wstring text = L"type " + std::to_wstring(type) + L":";
  for (const BYTE byte : data) text += L" " + std::to_wstring(byte);
  return text;
}

void AddValues(HKEY key, const std::wstring& path, RegistryLines& lines) {
  constexpr DWORD kLongestName = 16384;
  static std::vector<wchar_t> name(kLongestName);
  std::vector<BYTE> data(4096);
  for (DWORD index = 0;;) {
    DWORD nameLength = kLongestName;
    auto size = static_cast<DWORD>(data.size());
    DWORD type = REG_NONE;
    const LSTATUS status =
        RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type, data.data(), &size);
    if (status == ERROR_NO_MORE_ITEMS) return;
    if (status == ERROR_MORE_DATA) {
      data.resize(2 * data.size());
      continue;
    }
    Require(status);
    ++index;
    lines.insert(path + L" [" + std::wstring(name.data(), nameLength) + L"] = " +
                 TextOfValue(type, {data.data(), data.data() + size}));
  }
}

void AddBelow(HKEY key, const std::wstring& path, RegistryLines& lines) {
  AddValues(key, path, lines);
  wchar_t name[256];
  for (DWORD index = 0;; ++index) {
    DWORD length = 256;
    const LSTATUS status =
        RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return;
    Require(status);
    if (_wcsicmp(name, L"Wow6432Node") == 0) continue;
    const std::wstring below = path.empty() ? name : path + L"\\" + name;
    lines.insert(below);
    HKEY opened = nullptr;
    Require(RegOpenKeyExW(key, name, 0, KEY_READ, &opened));
    AddBelow(opened, below, lines);
    RegCloseKey(opened);
  }
}

/// The length of the key's path at the start of a line.
std::size_t PathLength(const std::wstring& line) { return std::min(line.find(L" ["), line.size()); }

}  // namespace

bool RegistryLineLess::operator()(const std::wstring& left, const std::wstring& right) const {
  const std::size_t leftPath = PathLength(left);
  const std::size_t rightPath = PathLength(right);
  const int order = _wcsnicmp(left.c_str(), right.c_str(), std::min(leftPath, rightPath));
  if (order != 0) return order < 0;
  if (leftPath != rightPath) return leftPath < rightPath;
  return left.compare(leftPath, std::wstring::npos, right, rightPath, std::wstring::npos) < 0;
}

RegistryLines LinesBelow(HKEY root) {
  RegistryLines lines;
  AddBelow(root, L"", lines);
  return lines;
}

RegistryLines Added(const RegistryLines& before, const RegistryLines& after) {
  RegistryLines added;
  std::set_difference(after.begin(), after.end(), before.begin(), before.end(),
                      std::inserter(added, added.end()), RegistryLineLess());
  return added;
}

OpenKey::OpenKey(HKEY root, const std::wstring& path, REGSAM rights, DWORD options) {
  Require(
      RegCreateKeyExW(root, path.c_str(), 0, nullptr, options, rights, nullptr, &key_, nullptr));
}

void OpenKey::SetText(const std::wstring& name, const std::wstring& text) const {
  const auto bytes = static_cast<DWORD>(text.size() + 1) * DWORD{sizeof(wchar_t)};
  Require(RegSetValueExW(key_, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                         bytes));
}

void OpenKey::Delete(const std::wstring& path) const {
  Require(static_cast<LSTATUS>(SHDeleteKeyW(key_, path.c_str())));
}

}  // namespace brindlex::testing
