#include "server/com/registration.h"

#include <objbase.h>

#include <algorithm>
#include <utility>

#include "server/Brindlex.h"

namespace brindlex {
namespace {

constexpr bool kIs64Bit = sizeof(void*) == 8;
constexpr wchar_t kLibraryName[] = L"Brindlex 1.0 Type Library";
constexpr wchar_t kLibraryVersion[] = L"1.0";
/// The system's marshaler for interfaces that a type library describes.
constexpr wchar_t kAutomationMarshaler[] = L"{00020424-0000-0000-C000-000000000046}";

std::wstring TextOf(REFGUID id) {
  wchar_t text[39];
  StringFromGUID2(id, text, 39);
  return text;
}

std::wstring FolderOf(const std::wstring& path) { return path.substr(0, path.find_last_of(L'\\')); }

std::wstring ClassKey(const ClassDescription& description) {
  return L"CLSID\\" + TextOf(description.classId);
}

void AddClass(const ClassDescription& description, const std::wstring& modulePath,
              std::vector<RegistryKey>& keys) {
  const std::wstring id = TextOf(description.classId);
  const std::wstring library = TextOf(LIBID_Brindlex);
  const std::wstring title = std::wstring(L"Brindlex.") + description.name;
  const std::wstring& general = title;
  const std::wstring versioned = title + L".1";
  const std::wstring root = ClassKey(description);
  keys.push_back({general, {{L"", title}}, true});
  keys.push_back({general + L"\\CLSID", {{L"", id}}, true});
  keys.push_back({general + L"\\CurVer", {{L"", versioned}}, true});
  keys.push_back({versioned, {{L"", title}}, true});
  keys.push_back({versioned + L"\\CLSID", {{L"", id}}, true});
  keys.push_back({root, {{L"", title}}});
  keys.push_back({root + L"\\InprocServer32",
                  {{L"", modulePath}, {L"ThreadingModel", L"Apartment"}},
                  false,
                  true});
  keys.push_back({root + L"\\ProgID", {{L"", versioned}}});
  keys.push_back({root + L"\\VersionIndependentProgID", {{L"", general}}});
  keys.push_back({root + L"\\TypeLib", {{L"", library}}});
  keys.push_back({root + L"\\Version", {{L"", kLibraryVersion}}});
}

void AddInterface(const ClassDescription& description, std::vector<RegistryKey>& keys) {
  const std::wstring root = L"Interface\\" + TextOf(description.interfaceId);
  keys.push_back({root, {{L"", std::wstring(L"_") + description.name}}});
  keys.push_back({root + L"\\ProxyStubClsid32", {{L"", kAutomationMarshaler}}});
  keys.push_back(
      {root + L"\\TypeLib", {{L"", TextOf(LIBID_Brindlex)}, {L"Version", kLibraryVersion}}});
}

void AddLibrary(const std::wstring& modulePath, std::vector<RegistryKey>& keys) {
  const std::wstring root = L"TypeLib\\" + TextOf(LIBID_Brindlex);
  const std::wstring version = root + L"\\" + kLibraryVersion;
  keys.push_back({root, {}, true});
  keys.push_back({version, {{L"", kLibraryName}}, true});
  keys.push_back({version + L"\\0", {}, true});
  keys.push_back({version + L"\\0\\" + (kIs64Bit ? L"win64" : L"win32"), {{L"", modulePath}}});
  keys.push_back({version + L"\\FLAGS", {{L"", L"0"}}, true});
  keys.push_back({version + L"\\HELPDIR", {{L"", FolderOf(modulePath)}}, true});
}

LSTATUS WriteKey(HKEY classesRoot, const RegistryKey& key) {
  HKEY opened = nullptr;
  LSTATUS status = RegCreateKeyExW(classesRoot, key.path.c_str(), 0, nullptr, 0, KEY_SET_VALUE,
                                   nullptr, &opened, nullptr);
  if (status != ERROR_SUCCESS) return status;
  for (const RegistryKey::Value& value : key.values) {
    const std::size_t bytes = (value.text.size() + 1) * sizeof(wchar_t);
    status = RegSetValueExW(opened, value.name.c_str(), 0, REG_SZ,
                            reinterpret_cast<const BYTE*>(value.text.c_str()),
                            static_cast<DWORD>(bytes));
    if (status != ERROR_SUCCESS) break;
  }
  RegCloseKey(opened);
  return status;
}

bool IsEmpty(HKEY key) {
  DWORD subkeys = 0;
  DWORD values = 0;
  const LSTATUS status = RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, nullptr,
                                          nullptr, &values, nullptr, nullptr, nullptr, nullptr);
  return status == ERROR_SUCCESS && subkeys == 0 && values == 0;
}

LSTATUS RemoveKey(HKEY classesRoot, const RegistryKey& key) {
  HKEY opened = nullptr;
  LSTATUS status =
      RegOpenKeyExW(classesRoot, key.path.c_str(), 0, KEY_QUERY_VALUE | KEY_SET_VALUE, &opened);
  if (status == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
  if (status != ERROR_SUCCESS) return status;
  for (const RegistryKey::Value& value : key.values) {
    const LSTATUS removed = RegDeleteValueW(opened, value.name.c_str());
    if (removed != ERROR_SUCCESS && removed != ERROR_FILE_NOT_FOUND) status = removed;
  }
  const bool removable = IsEmpty(opened);
  RegCloseKey(opened);
  if (status == ERROR_SUCCESS && removable) {
    status = RegDeleteKeyW(classesRoot, key.path.c_str());
  }
  return status;
}

bool HasValue(HKEY otherRoot, const RegistryKey& key) {
  HKEY server = nullptr;
  const LSTATUS opened =
      RegOpenKeyExW(otherRoot, key.path.c_str(), 0, KEY_QUERY_VALUE | kOtherView, &server);
  if (opened != ERROR_SUCCESS) return false;
  const LSTATUS status = RegQueryValueExW(server, nullptr, nullptr, nullptr, nullptr, nullptr);
  RegCloseKey(server);
  return status == ERROR_SUCCESS;
}

bool IsOtherBitnessRegistered(HKEY otherRoot, std::span<const RegistryKey> keys) {
  return std::any_of(keys.begin(), keys.end(), [&](const RegistryKey& key) {
    return key.namesServer && HasValue(otherRoot, key);
  });
}

/// Removes the first `count` of `keys`.
HRESULT RemoveFirstKeys(const ClassesRoot& root, std::span<const RegistryKey> keys,
                        std::size_t count) {
  const auto written = keys.first(count);
  LSTATUS first = ERROR_SUCCESS;
  const auto remove = [&](bool shared) {
    std::for_each(written.rbegin(), written.rend(), [&](const RegistryKey& key) {
      if (key.isShared != shared) return;
      const LSTATUS status = RemoveKey(root.own, key);
      if (first == ERROR_SUCCESS) first = status;
    });
  };
  remove(false);
  // Asked now, since on 32-bit Windows the classes of the other bitness would be our own.
  if (!IsOtherBitnessRegistered(root.other, keys)) remove(true);
  return HRESULT_FROM_WIN32(first);
}

}  // namespace

std::vector<RegistryKey> KeysOf(std::span<const ClassDescription> classes,
                                const std::wstring& modulePath) {
  // A user's own classes may be the first there, and no empty key may remain.
  std::vector<RegistryKey> keys{
      {L"CLSID", {}, true}, {L"Interface", {}, true}, {L"TypeLib", {}, true}};
  AddLibrary(modulePath, keys);
  for (const ClassDescription& description : classes) {
    AddClass(description, modulePath, keys);
    AddInterface(description, keys);
  }
  return keys;
}

HRESULT WriteKeys(const ClassesRoot& root, std::span<const RegistryKey> keys) {
  for (std::size_t index = 0; index < keys.size(); ++index) {
    const LSTATUS status = WriteKey(root.own, keys[index]);
    if (status == ERROR_SUCCESS) continue;
    // The key that failed may have been made, or got a part of its values.
    RemoveFirstKeys(root, keys, index + 1);
    return HRESULT_FROM_WIN32(status);
  }
  return S_OK;
}

HRESULT RemoveKeys(const ClassesRoot& root, std::span<const RegistryKey> keys) {
  return RemoveFirstKeys(root, keys, keys.size());
}

}  // namespace brindlex
