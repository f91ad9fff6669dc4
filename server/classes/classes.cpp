#include "server/classes/classes.h"

#include "server/Brindlex.h"

namespace brindlex {
namespace {

const ClassDescription kClasses[] = {
    {CLSID_clsCollection, IID__clsCollection, L"clsCollection", NewCollection},
    {CLSID_clsTextData, IID__clsTextData, L"clsTextData", NewTextData},
    {CLSID_clsCreateTextData, IID__clsCreateTextData, L"clsCreateTextData", NewCreateTextData},
    {CLSID_clsCollectionSaveRestore, IID__clsCollectionSaveRestore, L"clsCollectionSaveRestore",
     NewCollectionSaveRestore},
    {CLSID_clsEnvironment, IID__clsEnvironment, L"clsEnvironment", NewEnvironment},
    {CLSID_clsAppFiles, IID__clsAppFiles, L"clsAppFiles", NewAppFiles},
    {CLSID_clsBases, IID__clsBases, L"clsBases", NewBases},
};

}  // namespace

std::span<const ClassDescription> Classes() { return kClasses; }

}  // namespace brindlex
