#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/variant.h"
#include "server/Brindlex.h"

namespace brindlex::testing {

/// One message box as it stood on the screen.
struct Box {
  std::u16string caption;
  std::u16string text;
  int buttons = 0;
  bool hasExclamationIcon = false;
};

/// Reads the message boxes that the thread shows while it lives, and closes each with its OK
/// button.
class BoxWatch {
 public:
  BoxWatch();
  BoxWatch(const BoxWatch&) = delete;
  BoxWatch& operator=(const BoxWatch&) = delete;
  ~BoxWatch();

  const std::vector<Box>& Boxes() const { return boxes_; }
  void Forget() { boxes_.clear(); }

  /// Runs once, while the next box is open, before it is closed.
  std::function<void()> whileNextIsOpen;

 private:
  static constexpr UINT_PTR kTimer = 0xB0C5;

  static LRESULT CALLBACK Hook(int code, WPARAM sender, LPARAM data);
  static void CALLBACK OnTimer(HWND window, UINT message, UINT_PTR timer, DWORD time);
  void Read(HWND window);

  HHOOK hook_;
  std::vector<Box> boxes_;
};

/// The DLL under test, loaded by its path and without the registry, as its clients see it.
class Component {
 public:
  explicit Component(const std::wstring& path = Path());
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;
  ~Component();

  static std::wstring Path();

  HRESULT GetClassObject(REFCLSID classId, REFIID interfaceId, void** result) const;
  HRESULT CanUnloadNow() const;
  HRESULT Register() const;
  HRESULT Unregister() const;
  HRESULT Install(BOOL install, const wchar_t* forWhom) const;

  /// A new object by its class factory.
  template <class Interface, class Class>
  ComPtr<Interface> New() const {
    ComPtr<IClassFactory> factory;
    ComPtr<Interface> object;
    EXPECT_EQ(S_OK, GetClassObject(__uuidof(Class), IID_IClassFactory, factory.ReceiveVoid()));
    EXPECT_EQ(S_OK, factory->CreateInstance(nullptr, __uuidof(Interface), object.ReceiveVoid()));
    return object;
  }

  HMODULE Module() const { return module_; }

 private:
  HMODULE module_;
};

/// A test in an apartment of its own. At its end no object of the DLL is alive, and every BSTR and
/// task-memory block that was allocated during it is freed.
class ComTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  ComPtr<_clsCollection> NewCollection() const;
  ComPtr<_clsCollectionSaveRestore> NewSaveRestore() const;

  BoxWatch& Boxes() { return *boxes_; }
  const Component& Dll() const { return *component_; }

  /// Expects `blocks` to be left behind by the system itself.
  void ExpectBlocksLeft(long blocks) { blocksBefore_ += blocks; }

 private:
  std::unique_ptr<Component> component_;
  std::unique_ptr<BoxWatch> boxes_;
  long blocksBefore_ = 0;
};

/// The units of an owned BSTR, which is freed.
std::u16string Taken(BSTR text);

/// The missing marker.
VARIANT Missing();

}  // namespace brindlex::testing
