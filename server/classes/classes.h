#pragma once

#include <oaidl.h>

#include <span>

#include "server/com/class_factory.h"

namespace brindlex {

/// All creatable classes, in the order of the type library.
std::span<const ClassDescription> Classes();

/// New objects with one reference, which the caller holds. Each throws std::bad_alloc, and
/// NewCollectionSaveRestore RuntimeError too.
IDispatch* NewCollection();
IDispatch* NewTextData();
IDispatch* NewCreateTextData();
IDispatch* NewCollectionSaveRestore();
IDispatch* NewEnvironment();
IDispatch* NewAppFiles();
IDispatch* NewBases();

}  // namespace brindlex
