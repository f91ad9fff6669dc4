#include "server/co_environment.h"

#include "environment/mod_get_os.h"
#include "environment/mod_system_folders.h"
#include "server/the_platform.h"
#include "server/values.h"

namespace brindlex {
namespace {

CoEnvironment& Self(IDispatch& self) { return static_cast<CoEnvironment&>(self); }

constexpr Member kEnvironmentMembers[] = {
    {L"GetOsName", 1, DISPATCH_METHOD,
     [](IDispatch& self, Call& call) { return Self(self).GetOsName(call.ResultText()); }},
    {L"IsWindowsVista", 2, DISPATCH_METHOD,
     [](IDispatch& self, Call& call) { return Self(self).IsWindowsVista(call.ResultFlag()); }},
    {L"FindSystemFolder",
     3,
     DISPATCH_METHOD,
     [](IDispatch& self, Call& call) {
       return Self(self).FindSystemFolder(call.LongAt(0), call.ResultText());
     },
     {Required(L"csidl")}},
};

}  // namespace

const std::span<const Member> CoEnvironment::kMembers = kEnvironmentMembers;

STDMETHODIMP CoEnvironment::GetOsName(BSTR* result) {
  return RunFor(result, [&] { *result = NewBstr(brindlex::GetOsName(ThePlatform())); });
}

STDMETHODIMP CoEnvironment::IsWindowsVista(VARIANT_BOOL* result) {
  return RunFor(result, [&] { *result = FlagOf(brindlex::IsWindowsVista(ThePlatform())); });
}

STDMETHODIMP CoEnvironment::FindSystemFolder(long csidl, BSTR* result) {
  return RunFor(result,
                [&] { *result = NewBstr(brindlex::FindSystemFolder(ThePlatform(), csidl)); });
}

}  // namespace brindlex
