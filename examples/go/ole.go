package main

// Automation by the standard library alone: late-bound calls of objects, and Go values as objects.

import (
	"fmt"
	"reflect"
	"strings"
	"syscall"
	"unsafe"
)

var (
	ole32    = syscall.NewLazyDLL("ole32.dll")
	oleaut32 = syscall.NewLazyDLL("oleaut32.dll")

	coInitializeEx    = ole32.NewProc("CoInitializeEx")
	coUninitialize    = ole32.NewProc("CoUninitialize")
	clsidFromProgID   = ole32.NewProc("CLSIDFromProgID")
	coCreateInstance  = ole32.NewProc("CoCreateInstance")
	sysAllocStringLen = oleaut32.NewProc("SysAllocStringLen")
	sysStringLen      = oleaut32.NewProc("SysStringLen")
	sysFreeString     = oleaut32.NewProc("SysFreeString")
	variantClear      = oleaut32.NewProc("VariantClear")
	variantChangeType = oleaut32.NewProc("VariantChangeType")
)

type guid struct {
	data1        uint32
	data2, data3 uint16
	data4        [8]byte
}

var (
	iidNull        = &guid{}
	iidUnknown     = &guid{0, 0, 0, [8]byte{0xC0, 7: 0x46}}
	iidDispatch    = &guid{0x20400, 0, 0, [8]byte{0xC0, 7: 0x46}}
	iidEnumVariant = &guid{0x20404, 0, 0, [8]byte{0xC0, 7: 0x46}}
)

const (
	apartmentThreaded = 2
	inprocServer      = 1
	userLocale        = 0x400

	dispidUnknown int32 = -1
	dispidNewEnum int32 = -4

	sOK               = 0
	eNoInterface      = 0x80004002
	dispMemberUnknown = 0x80020003
	dispTypeMismatch  = 0x80020005
	dispNameUnknown   = 0x80020006
	dispException     = 0x80020009
	dispBadIndex      = 0x8002000B
	dispOmitted       = 0x80020004

	dispatchMethod      = 1
	dispatchPropertyGet = 2
	dispatchPropertyPut = 4

	vtI4       = 3
	vtR8       = 5
	vtBstr     = 8
	vtDispatch = 9
	vtError    = 10
	vtBool     = 11
	vtUnknown  = 13
	vtByRef    = 0x4000
)

// variant is VARIANT: 16 bytes in a 32-bit program, 24 in a 64-bit one.
type variant struct {
	vt   uint16
	_    [3]uint16
	data [2]uintptr
}

// omitted stands for an optional argument that is left out.
type omitted struct{}

func (v *variant) at() unsafe.Pointer { return unsafe.Pointer(&v.data) }

// set makes v hold value until release.
func (v *variant) set(value any) {
	switch value := value.(type) {
	case nil:
	case omitted:
		v.vt = vtError
		*(*uint32)(v.at()) = dispOmitted
	case bool:
		v.vt = vtBool
		if value {
			*(*int16)(v.at()) = -1
		}
	case int:
		v.vt = vtI4
		*(*int32)(v.at()) = int32(value)
	case float64:
		v.vt = vtR8
		*(*float64)(v.at()) = value
	case *float64:
		v.vt = vtR8 | vtByRef
		*(**float64)(v.at()) = value
	case string:
		v.vt = vtBstr
		*(*uintptr)(v.at()) = newBstr(value)
	case *object:
		v.vt = vtDispatch
		value.addRef()
		*(**object)(v.at()) = value
	default:
		panic(fmt.Sprintf("no VARIANT holds a %T", value))
	}
}

func (v *variant) get() any {
	switch v.vt {
	case vtI4:
		return int(*(*int32)(v.at()))
	case vtR8:
		return *(*float64)(v.at())
	case vtBool:
		return *(*int16)(v.at()) != 0
	case vtBstr:
		return textOf(*(*unsafe.Pointer)(v.at()))
	case vtDispatch, vtUnknown:
		if made := *(**object)(v.at()); made != nil {
			made.addRef()
			return made
		}
	}
	return nil
}

func (v *variant) release() { variantClear.Call(uintptr(unsafe.Pointer(v))) }

func newBstr(text string) uintptr {
	units := syscall.StringToUTF16(text)
	bstr, _, _ := sysAllocStringLen.Call(uintptr(unsafe.Pointer(&units[0])), uintptr(len(units)-1))
	return bstr
}

func textOf(bstr unsafe.Pointer) string {
	length, _, _ := sysStringLen.Call(uintptr(bstr))
	return syscall.UTF16ToString(unsafe.Slice((*uint16)(bstr), length))
}

// object is any COM object: a pointer to the table of its methods.
type object struct{ methods *[7]uintptr }

const (
	queryInterface = iota
	addRef
	release
	getTypeInfoCount
	getTypeInfo
	getIDsOfNames
	invoke
	enumNext = 3 // of IEnumVARIANT
)

// Arguments must not be on the stack, which moves when a call comes back into Go.
//
//go:uintptrescapes
func (o *object) method(index int, arguments ...uintptr) uint32 {
	status, _, _ := syscall.SyscallN(o.methods[index],
		append([]uintptr{uintptr(unsafe.Pointer(o))}, arguments...)...)
	return uint32(status)
}

func (o *object) addRef()  { o.method(addRef) }
func (o *object) release() { o.method(release) }

// raised is the error that an object raised.
type raised struct {
	Number              int
	Source, Description string
}

func (r *raised) Error() string {
	return fmt.Sprintf("Error %d in %s: %s", r.Number, r.Source, r.Description)
}

type dispParams struct {
	arguments            *variant
	named                *int32
	argumentCount, count uint32
}

type excepInfo struct {
	code, reserved            uint16
	source, description, help unsafe.Pointer
	helpContext               uint32
	_, fillIn                 uintptr
	scode                     uint32
}

// invoke calls the member with the number id. An object in the result is the caller's to release.
func (o *object) invoke(id int32, arguments ...any) (any, error) {
	// The last argument comes first.
	passed := make([]variant, len(arguments)+1)
	for index, value := range arguments {
		passed[len(arguments)-1-index].set(value)
	}
	parameters := &dispParams{arguments: &passed[0], argumentCount: uint32(len(arguments))}
	result, exception := &variant{}, &excepInfo{}
	status := o.method(invoke, uintptr(id), uintptr(unsafe.Pointer(iidNull)), userLocale,
		dispatchMethod|dispatchPropertyGet, uintptr(unsafe.Pointer(parameters)), uintptr(unsafe.Pointer(result)),
		uintptr(unsafe.Pointer(exception)), 0)
	for index := range arguments {
		passed[index].release()
	}
	defer result.release()
	if status == dispException {
		err := &raised{int(exception.scode & 0xFFFF), textOf(exception.source), textOf(exception.description)}
		for _, text := range []unsafe.Pointer{exception.source, exception.description, exception.help} {
			sysFreeString.Call(uintptr(text))
		}
		return nil, err
	}
	if status != sOK {
		return nil, syscall.Errno(status)
	}
	return result.get(), nil
}

// call calls a method, or reads a property, by its name.
func (o *object) call(name string, arguments ...any) (any, error) {
	id, units := new(int32), syscall.StringToUTF16(name)
	names := []*uint16{&units[0]}
	if status := o.method(getIDsOfNames, uintptr(unsafe.Pointer(iidNull)), uintptr(unsafe.Pointer(&names[0])),
		1, userLocale, uintptr(unsafe.Pointer(id))); status != sOK {
		return nil, fmt.Errorf("%s: %w", name, syscall.Errno(status))
	}
	return o.invoke(*id, arguments...)
}

// each calls visit with every entry of a collection, as For Each does.
func (o *object) each(visit func(entry any)) error {
	value, err := o.invoke(dispidNewEnum)
	if err != nil {
		return err
	}
	unknown := value.(*object)
	defer unknown.release()
	entries := new(*object)
	if status := unknown.method(queryInterface, uintptr(unsafe.Pointer(iidEnumVariant)),
		uintptr(unsafe.Pointer(entries))); status != sOK {
		return syscall.Errno(status)
	}
	defer (*entries).release()
	for entry := new(variant); (*entries).method(enumNext, 1, uintptr(unsafe.Pointer(entry)), 0) == sOK; entry = new(variant) {
		visit(entry.get())
		entry.release()
	}
	return nil
}

// create makes an object of a registered class.
func create(progID string) (*object, error) {
	classID, made := new(guid), new(*object)
	name := syscall.StringToUTF16Ptr(progID)
	status, _, _ := clsidFromProgID.Call(uintptr(unsafe.Pointer(name)), uintptr(unsafe.Pointer(classID)))
	if uint32(status) != sOK {
		return nil, fmt.Errorf("%s: %w", progID, syscall.Errno(status))
	}
	status, _, _ = coCreateInstance.Call(uintptr(unsafe.Pointer(classID)), 0, inprocServer,
		uintptr(unsafe.Pointer(iidDispatch)), uintptr(unsafe.Pointer(made)))
	if uint32(status) != sOK {
		return nil, fmt.Errorf("%s: %w", progID, syscall.Errno(status))
	}
	return *made, nil
}

// exported is a Go value as a COM object. Its members are the fields and methods of the value.
type exported struct {
	object
	references int32
	value      reflect.Value
}

// The garbage collector does not see the references that COM holds.
var alive = map[*exported]bool{}

// export makes a COM object of a pointer to a struct. The caller owns one reference.
func export(value any) *object {
	made := &exported{object{&exportedMethods}, 1, reflect.ValueOf(value)}
	alive[made] = true
	return &made.object
}

var exportedMethods [7]uintptr

func init() {
	for index, function := range [...]any{
		queryInterface: func(e *exported, id *guid, result **exported) uintptr {
			if *id != *iidUnknown && *id != *iidDispatch {
				*result = nil
				return eNoInterface
			}
			e.references++
			*result = e
			return sOK
		},
		addRef: func(e *exported) uintptr {
			e.references++
			return uintptr(e.references)
		},
		release: func(e *exported) uintptr {
			e.references--
			if e.references == 0 {
				delete(alive, e)
			}
			return uintptr(e.references)
		},
		getTypeInfoCount: func(e *exported, count *uint32) uintptr {
			*count = 0
			return sOK
		},
		getTypeInfo: func(e *exported, index uintptr, locale uintptr, info *uintptr) uintptr {
			*info = 0
			return dispBadIndex
		},
		getIDsOfNames: func(e *exported, _ *guid, names **uint16, count, locale uintptr, id *int32) uintptr {
			*id = e.find(utf16PtrToString(*names))
			if *id == dispidUnknown {
				return dispNameUnknown
			}
			return sOK
		},
		invoke: func(e *exported, id uintptr, _ *guid, locale uintptr, flags uint16, parameters *dispParams,
			result *variant, _, _ uintptr) uintptr {
			if flags&dispatchPropertyPut != 0 {
				return e.put(int(id), parameters.arguments)
			}
			return e.get(int(id), result)
		},
	} {
		exportedMethods[index] = syscall.NewCallback(function)
	}
}

// find returns the number of a member: fields come first, then methods, from 1.
func (e *exported) find(name string) int32 {
	fields, methods := e.value.Elem().Type(), e.value.Type()
	for index := 0; index < fields.NumField(); index++ {
		if strings.EqualFold(fields.Field(index).Name, name) {
			return int32(1 + index)
		}
	}
	for index := 0; index < methods.NumMethod(); index++ {
		if strings.EqualFold(methods.Method(index).Name, name) {
			return int32(1 + fields.NumField() + index)
		}
	}
	return dispidUnknown
}

func (e *exported) get(id int, result *variant) uintptr {
	fields, methods := e.value.Elem().NumField(), e.value.NumMethod()
	var value any
	switch {
	case id >= 1 && id <= fields:
		value = e.value.Elem().Field(id - 1).Interface()
	case id > fields && id <= fields+methods:
		value = e.value.Method(id - 1 - fields).Call(nil)[0].Interface()
	default:
		return dispMemberUnknown
	}
	if result != nil {
		*result = variant{}
		result.set(value)
	}
	// The result owns a reference of its own.
	if made, isObject := value.(*object); isObject {
		made.release()
	}
	return sOK
}

// put sets a field, and converts the value to its type.
func (e *exported) put(id int, value *variant) uintptr {
	if id < 1 || id > e.value.Elem().NumField() {
		return dispMemberUnknown
	}
	field := e.value.Elem().Field(id - 1)
	wanted := map[reflect.Kind]uintptr{reflect.String: vtBstr, reflect.Float64: vtR8}[field.Kind()]
	converted := new(variant)
	if status, _, _ := variantChangeType.Call(uintptr(unsafe.Pointer(converted)),
		uintptr(unsafe.Pointer(value)), 0, wanted); uint32(status) != sOK {
		return dispTypeMismatch
	}
	field.Set(reflect.ValueOf(converted.get()))
	converted.release()
	return sOK
}

func utf16PtrToString(text *uint16) string {
	length := 0
	for *(*uint16)(unsafe.Add(unsafe.Pointer(text), 2*length)) != 0 {
		length++
	}
	return syscall.UTF16ToString(unsafe.Slice(text, length))
}
