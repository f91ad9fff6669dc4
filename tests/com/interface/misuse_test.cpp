// Every fault of a caller, in turn, at every member that the type library lists: none can be
// forgotten, and one that is added is tried as well.

#include <functional>

#include "server/classes/classes.h"
#include "tests/com/objects/late_call.h"
#include "tests/com/objects/type_text.h"
#include "tests/com/support/fixture.h"

namespace brindlex::testing {
namespace {

/// One parameter as a caller fills it.
struct Argument {
  VARTYPE type;
  bool isOptional;
  bool isReference;
};

/// One member of an object, in one direction when it is a property.
struct Tried {
  IDispatch& object;
  std::wstring name;
  DISPID id;
  WORD kind;
  std::vector<Argument> parameters;
  bool hasResult;
  VARTYPE resultType;
  ULONG_PTR slot;

  std::size_t Required() const {
    return static_cast<std::size_t>(std::count_if(parameters.begin(), parameters.end(),
                                                  [](const Argument& g) { return !g.isOptional; }));
  }
  bool IsPut() const { return (kind & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0; }
};

/// The type of what a caller passes for a parameter; interfaces of ours are objects.
VARTYPE TypeOf(const ELEMDESC& parameter, bool isReference) {
  const TYPEDESC& type = isReference ? *parameter.tdesc.lptdesc : parameter.tdesc;
  return type.vt == VT_PTR || type.vt == VT_USERDEFINED ? VARTYPE{VT_DISPATCH} : type.vt;
}

Tried Described(IDispatch& object, ITypeInfo& type, const FunctionDescription& function) {
  Tried tried{object,
              NamesOf(type, function).at(0),
              function->memid,
              static_cast<WORD>(function->invkind),
              {},
              false,
              VT_EMPTY,
              static_cast<ULONG_PTR>(function->oVft)};
  for (int index = 0; index < function->cParams; ++index) {
    const ELEMDESC& parameter = function->lprgelemdescParam[index];
    const USHORT flags = parameter.paramdesc.wParamFlags;
    if ((flags & PARAMFLAG_FRETVAL) != 0) {
      tried.hasResult = true;
      tried.resultType = TypeOf(parameter, true);
      continue;
    }
    const bool isReference = (flags & PARAMFLAG_FOUT) != 0;
    tried.parameters.push_back(
        {TypeOf(parameter, isReference), (flags & PARAMFLAG_FOPT) != 0, isReference});
  }
  return tried;
}

/// A value that does for a parameter of the type.
Variant Fitting(VARTYPE type) {
  switch (type) {
    case VT_BSTR:
    case VT_VARIANT:
      return Variant::OfText(u"");
    case VT_I4:
      return OfLong(1);
    case VT_R8:
      return OfDouble(1);
    default:
      VARIANT value{};
      value.vt = type;
      return Variant(value);
  }
}

VARIANT Error() {
  VARIANT error{};
  error.vt = VT_ERROR;
  error.scode = E_FAIL;
  return error;
}

class MisuseTest : public ComTest {
 protected:
  /// Runs `fault(member)` for every member of every class; the number of tries that it returns, in
  /// all.
  int ForEveryMember(const std::function<int(const Tried&)>& fault) {
    int tries = 0;
    for (const ClassDescription& description : Classes()) {
      ComPtr<IClassFactory> factory;
      ComPtr<IDispatch> object;
      EXPECT_EQ(S_OK, Dll().GetClassObject(description.classId, IID_IClassFactory,
                                           factory.ReceiveVoid()));
      EXPECT_EQ(S_OK, factory->CreateInstance(nullptr, IID_IDispatch, object.ReceiveVoid()));
      const auto type = VtableTypeOf(description.interfaceId);
      const UINT count = TypeAttributes(*type.Get())->cFuncs;
      for (UINT index = 0; index < count; ++index) {
        const FunctionDescription function(*type.Get(), index);
        const Tried tried = Described(*object.Get(), *type.Get(), function);
        SCOPED_TRACE(std::string(tried.name.begin(), tried.name.end()) + ", function " +
                     std::to_string(index) + " of its interface");
        tries += fault(tried);
      }
    }
    EXPECT_EQ(0U, Boxes().Boxes().size());
    return tries;
  }
};

/// A call with as many fitting arguments by position as there are parameters, but `instead` in the
/// place of that with index `wrong`.
HRESULT RunWith(const Tried& tried, std::size_t wrong, const VARIANT& instead, UINT& position,
                LCID locale = LOCALE_USER_DEFAULT) {
  LateCall call(tried.object, tried.id);
  call.By(tried.kind).In(locale);
  std::vector<Variant> fitting;
  for (std::size_t index = 0; index < tried.parameters.size(); ++index) {
    fitting.push_back(Fitting(tried.parameters[index].type));
    const VARIANT& argument = index == wrong ? instead : fitting.back().Get();
    if (tried.IsPut()) {
      call.WithNamed(DISPID_PROPERTYPUT, argument);
    } else {
      call.With(argument);
    }
  }
  const HRESULT status = call.Run();
  position = call.WrongArgument();
  return status;
}

HRESULT RunWithCount(const Tried& tried, std::size_t count, LCID locale = LOCALE_USER_DEFAULT) {
  LateCall call(tried.object, tried.id);
  call.By(tried.kind).In(locale);
  for (std::size_t index = 0; index < count; ++index) call.WithOwned(OfLong(1));
  return call.Run();
}

constexpr LCID kForeign[] = {LOCALE_NEUTRAL, 0x0407, 0x0411, 0x0401, 0xFFFF};

TEST_F(MisuseTest, ArgumentsTooMany) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              EXPECT_EQ(DISP_E_BADPARAMCOUNT, RunWithCount(tried, tried.parameters.size() + 1));
              EXPECT_EQ(DISP_E_BADPARAMCOUNT, RunWithCount(tried, tried.parameters.size() + 20));
              return 1;
            }),
            40);
}

TEST_F(MisuseTest, ArgumentsTooFew) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              const std::size_t required = tried.Required();
              for (std::size_t count = 0; count < required; ++count) {
                EXPECT_EQ(DISP_E_BADPARAMCOUNT, RunWithCount(tried, count)) << count;
              }
              return static_cast<int>(required);
            }),
            50);
}

TEST_F(MisuseTest, ArgumentsThatMayNotBeOmitted) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              int tries = 0;
              for (std::size_t index = 0; index < tried.parameters.size(); ++index) {
                if (tried.parameters[index].isOptional) continue;
                UINT position = 0;
                EXPECT_EQ(DISP_E_PARAMNOTOPTIONAL, RunWith(tried, index, Missing(), position));
                EXPECT_EQ(tried.parameters.size() - 1 - index, position);
                ++tries;
              }
              return tries;
            }),
            50);
}

TEST_F(MisuseTest, ArgumentsOfAWrongTypeInEveryLocale) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              int tries = 0;
              for (std::size_t index = 0; index < tried.parameters.size(); ++index) {
                // A Variant takes anything; the member itself judges it.
                if (tried.parameters[index].type == VT_VARIANT) continue;
                for (const LCID locale : kForeign) {
                  UINT position = 0;
                  EXPECT_EQ(DISP_E_TYPEMISMATCH, RunWith(tried, index, Error(), position, locale));
                  EXPECT_EQ(tried.parameters.size() - 1 - index, position);
                }
                ++tries;
              }
              return tries;
            }),
            40);
}

TEST_F(MisuseTest, ReferencesToNothing) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              int tries = 0;
              for (std::size_t index = 0; index < tried.parameters.size(); ++index) {
                for (const VARTYPE type : {VT_VARIANT, VT_BSTR, VT_DISPATCH, VT_BOOL, VT_ERROR}) {
                  VARIANT reference{};
                  reference.vt = static_cast<VARTYPE>(VT_BYREF | type);
                  UINT position = 0;
                  EXPECT_EQ(E_INVALIDARG, RunWith(tried, index, reference, position)) << type;
                  EXPECT_EQ(tried.parameters.size() - 1 - index, position);
                }
                ++tries;
              }
              return tries;
            }),
            60);
}

TEST_F(MisuseTest, NumbersForObjects) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              int tries = 0;
              for (std::size_t index = 0; index < tried.parameters.size(); ++index) {
                if (tried.parameters[index].type != VT_DISPATCH) continue;
                UINT position = 0;
                EXPECT_EQ(DISP_E_TYPEMISMATCH, RunWith(tried, index, OfLong(1).Get(), position));
                EXPECT_EQ(tried.parameters.size() - 1 - index, position);
                ++tries;
              }
              return tries;
            }),
            9);
}

TEST_F(MisuseTest, NamesThatNoParameterHas) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              if (tried.parameters.empty() || tried.IsPut()) return 0;
              for (const DISPID name : {static_cast<DISPID>(tried.parameters.size()), DISPID{99},
                                        DISPID{DISPID_UNKNOWN}, DISPID{DISPID_PROPERTYPUT}}) {
                LateCall call(tried.object, tried.id);
                call.By(tried.kind);
                const Variant value = OfLong(1);
                for (std::size_t index = 1; index < tried.parameters.size(); ++index) {
                  call.With(value.Get());
                }
                EXPECT_EQ(DISP_E_PARAMNOTFOUND, call.WithNamed(name, value.Get()).Run()) << name;
              }
              return 1;
            }),
            25);
}

TEST_F(MisuseTest, AnArgumentByPlaceAndByName) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              if (tried.parameters.size() < 2) return 0;
              LateCall call(tried.object, tried.id);
              call.By(tried.kind);
              const Variant value = OfLong(1);
              for (std::size_t index = 1; index < tried.parameters.size(); ++index) {
                call.With(value.Get());
              }
              EXPECT_EQ(DISP_E_BADPARAMCOUNT, call.WithNamed(0, value.Get()).Run());
              return 1;
            }),
            15);
}

TEST_F(MisuseTest, CallsOfAKindThatTheMemberIsNot) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              if (tried.IsPut()) return 0;
              // A property that can be set answers to that; such a member is listed twice.
              const bool isGet = tried.kind == DISPATCH_PROPERTYGET;
              const HRESULT reference =
                  LateCall(tried.object, tried.id).By(DISPATCH_PROPERTYPUTREF).Run();
              if (!isGet) {
                EXPECT_EQ(DISP_E_MEMBERNOTFOUND,
                          LateCall(tried.object, tried.id).By(DISPATCH_PROPERTYPUT).Run());
                EXPECT_EQ(DISP_E_MEMBERNOTFOUND, reference);
              }
              EXPECT_EQ(DISP_E_MEMBERNOTFOUND, LateCall(tried.object, tried.id).By(0).Run());
              return 1;
            }),
            35);
}

TEST_F(MisuseTest, MembersAndNamesThatThereAreNot) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              for (const DISPID id :
                   {tried.id + 1000, DISPID{DISPID_UNKNOWN}, DISPID{-5}, DISPID{MAXLONG}}) {
                EXPECT_EQ(DISP_E_MEMBERNOTFOUND, LateCall(tried.object, id).By(tried.kind).Run());
              }
              std::wstring name = tried.name + L"x";
              LPOLESTR names[] = {name.data()};
              for (const LCID locale : kForeign) {
                DISPID id = 0;
                EXPECT_EQ(DISP_E_UNKNOWNNAME,
                          tried.object.GetIDsOfNames(IID_NULL, names, 1, locale, &id));
                EXPECT_EQ(DISPID_UNKNOWN, id);
                std::wstring known = tried.name;
                LPOLESTR knownNames[] = {known.data()};
                EXPECT_EQ(S_OK, tried.object.GetIDsOfNames(IID_NULL, knownNames, 1, locale, &id));
                EXPECT_EQ(tried.id, id);
              }
              return 1;
            }),
            40);
}

TEST_F(MisuseTest, NoArgumentsAtAllAndAReservedPlaceThatIsUsed) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              DISPPARAMS none{};
              EXPECT_EQ(E_INVALIDARG,
                        tried.object.Invoke(tried.id, IID_NULL, LOCALE_USER_DEFAULT, tried.kind,
                                            nullptr, nullptr, nullptr, nullptr));
              EXPECT_EQ(DISP_E_UNKNOWNINTERFACE,
                        tried.object.Invoke(tried.id, IID_IDispatch, LOCALE_USER_DEFAULT,
                                            tried.kind, &none, nullptr, nullptr, nullptr));
              return 1;
            }),
            40);
}

// ---- Through the vtable ------------------------------------------------------------------------

/// The results of a vtable call; released with it.
struct Results {
  Variant variables[8];
  Variant result;
};

/// What a call writes a value of `type` to: within `variable`, which releases it then.
void* PlaceIn(VARIANT& variable, VARTYPE type) {
  if (type == VT_VARIANT) return &variable;
  variable.vt = type;
  return &variable.llVal;
}

/// Calls a member through the vtable with fitting arguments, but a null pointer for the parameter
/// with index `null`, the last one being the result's.
HRESULT CallWithNull(const Tried& tried, std::size_t null) {
  Results results;
  std::vector<VARIANT> arguments;
  for (std::size_t index = 0; index < tried.parameters.size(); ++index) {
    const Argument& given = tried.parameters[index];
    results.variables[index] = Fitting(given.type);
    VARIANT& variable = results.variables[index].Get();
    VARIANT argument = variable;
    if (given.isReference) {
      argument = {};
      argument.vt = static_cast<VARTYPE>(VT_BYREF | given.type);
      argument.byref = index == null ? nullptr : PlaceIn(variable, given.type);
    }
    arguments.push_back(argument);
  }
  if (tried.hasResult) {
    VARIANT argument{};
    argument.vt = VT_BYREF | VT_I4;
    argument.byref =
        null == tried.parameters.size() ? nullptr : PlaceIn(results.result.Get(), tried.resultType);
    arguments.push_back(argument);
  }
  std::vector<VARTYPE> types;
  std::vector<VARIANT*> pointers;
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const bool isVariant = index < tried.parameters.size() &&
                           tried.parameters[index].type == VT_VARIANT &&
                           !tried.parameters[index].isReference;
    types.push_back(isVariant ? VARTYPE{VT_VARIANT} : arguments[index].vt);
    pointers.push_back(&arguments[index]);
  }
  VARIANT status{};
  EXPECT_EQ(S_OK, DispCallFunc(&tried.object, tried.slot, CC_STDCALL, VT_ERROR,
                               static_cast<UINT>(arguments.size()), types.data(), pointers.data(),
                               &status));
  return status.scode;
}

TEST_F(MisuseTest, NullInThePlaceOfTheResult) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              if (!tried.hasResult) return 0;
              EXPECT_EQ(E_POINTER, CallWithNull(tried, tried.parameters.size()));
              return 1;
            }),
            34);
}

TEST_F(MisuseTest, NullInThePlaceOfAVariable) {
  EXPECT_GE(ForEveryMember([](const Tried& tried) {
              int tries = 0;
              for (std::size_t index = 0; index < tried.parameters.size(); ++index) {
                if (!tried.parameters[index].isReference) continue;
                // An optional one is left out by it.
                const HRESULT status = CallWithNull(tried, index);
                EXPECT_EQ(!tried.parameters[index].isOptional, status == E_POINTER) << index;
                ++tries;
              }
              return tries;
            }),
            9);
}

}  // namespace
}  // namespace brindlex::testing
