//! Automation over the raw declarations of winapi: late-bound calls, and values of this program as
//! objects.
#![allow(non_snake_case)] // the methods of COM

use std::cell::{Cell, RefCell};
use std::fmt;
use std::ptr::null_mut;
use std::sync::atomic::{AtomicUsize, Ordering};

use winapi::shared::guiddef::{IsEqualIID, CLSID, IID, REFIID};
use winapi::shared::minwindef::{UINT, ULONG, WORD};
use winapi::shared::ntdef::HRESULT;
use winapi::shared::winerror::{
    DISP_E_BADINDEX, DISP_E_EXCEPTION, DISP_E_MEMBERNOTFOUND, DISP_E_PARAMNOTFOUND,
    DISP_E_TYPEMISMATCH, DISP_E_UNKNOWNNAME, E_NOINTERFACE, S_OK,
};
use winapi::shared::wtypes::{
    BSTR, VARIANT_FALSE, VARIANT_TRUE, VT_BOOL, VT_BSTR, VT_BYREF, VT_DISPATCH, VT_EMPTY, VT_ERROR,
    VT_I4, VT_R8, VT_UNKNOWN,
};
use winapi::shared::wtypesbase::{CLSCTX_INPROC_SERVER, LPOLESTR};
use winapi::um::combaseapi::{CLSIDFromProgID, CoCreateInstance};
use winapi::um::oaidl::{
    IDispatch, IDispatchVtbl, ITypeInfo, DISPID, DISPPARAMS, EXCEPINFO, VARIANT,
};
use winapi::um::oleauto::{
    SysAllocStringLen, SysFreeString, SysStringLen, VariantChangeType, VariantClear,
    DISPATCH_METHOD, DISPATCH_PROPERTYGET, DISPATCH_PROPERTYPUT,
};
use winapi::um::unknwnbase::{IUnknown, IUnknownVtbl};
use winapi::um::winnt::LCID;
use winapi::Interface;

RIDL! {#[uuid(0x00020404, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)]
interface IEnumVARIANT(IEnumVARIANTVtbl): IUnknown(IUnknownVtbl) {
    fn Next(count: ULONG, entries: *mut VARIANT, fetched: *mut ULONG,) -> HRESULT,
    fn Skip(count: ULONG,) -> HRESULT,
    fn Reset() -> HRESULT,
    fn Clone(copy: *mut *mut IEnumVARIANT,) -> HRESULT,
}}

const DISPID_UNKNOWN: DISPID = -1;
const DISPID_NEWENUM: DISPID = -4;
const LOCALE_USER_DEFAULT: LCID = 0x400;
const NO_IID: IID = IID {
    Data1: 0,
    Data2: 0,
    Data3: 0,
    Data4: [0; 8],
};

/// The error that an object raised, or the status of a call that failed otherwise.
#[derive(Debug, PartialEq)]
pub struct Raised {
    pub number: i32,
    pub source: String,
    pub description: String,
}

impl fmt::Display for Raised {
    fn fmt(&self, out: &mut fmt::Formatter) -> fmt::Result {
        write!(
            out,
            "Error {} in {}: {}",
            self.number, self.source, self.description
        )
    }
}

pub type Result<T> = std::result::Result<T, Raised>;

fn check(status: HRESULT, what: &str) -> Result<()> {
    if status == S_OK {
        return Ok(());
    }
    Err(Raised {
        number: status,
        source: what.into(),
        description: format!("{status:#010x}"),
    })
}

/// An argument or a result.
pub enum Value<'a> {
    Empty,
    Omitted,
    Bool(bool),
    Int(i32),
    Double(f64),
    DoubleRef(&'a mut f64),
    Text(String),
    Object(Object),
}

impl From<&str> for Value<'_> {
    fn from(text: &str) -> Self {
        Value::Text(text.into())
    }
}

impl From<&Object> for Value<'_> {
    fn from(object: &Object) -> Self {
        Value::Object(object.clone())
    }
}

impl Value<'_> {
    pub fn text(self) -> String {
        match self {
            Value::Text(text) => text,
            _ => panic!("the value is no text"),
        }
    }

    pub fn double(self) -> f64 {
        match self {
            Value::Double(number) => number,
            _ => panic!("the value is no number"),
        }
    }

    /// None for Nothing.
    pub fn object(self) -> Option<Object> {
        match self {
            Value::Object(object) => Some(object),
            _ => None,
        }
    }
}

/// A VARIANT that owns its contents.
struct Variant(VARIANT);

impl Variant {
    fn new(value: Value) -> Self {
        let mut made = Variant(unsafe { std::mem::zeroed() });
        unsafe {
            let inner = made.0.n1.n2_mut();
            let kind = match value {
                Value::Empty => VT_EMPTY,
                Value::Omitted => {
                    *inner.n3.scode_mut() = DISP_E_PARAMNOTFOUND;
                    VT_ERROR
                }
                Value::Bool(flag) => {
                    *inner.n3.boolVal_mut() = if flag { VARIANT_TRUE } else { VARIANT_FALSE };
                    VT_BOOL
                }
                Value::Int(number) => {
                    *inner.n3.lVal_mut() = number;
                    VT_I4
                }
                Value::Double(number) => {
                    *inner.n3.dblVal_mut() = number;
                    VT_R8
                }
                Value::DoubleRef(variable) => {
                    *inner.n3.pdblVal_mut() = variable;
                    VT_R8 | VT_BYREF
                }
                Value::Text(text) => {
                    *inner.n3.bstrVal_mut() = new_bstr(&text);
                    VT_BSTR
                }
                Value::Object(object) => {
                    *inner.n3.pdispVal_mut() = object.into_raw();
                    VT_DISPATCH
                }
            };
            inner.vt = kind as u16;
        }
        made
    }

    fn value(&self) -> Value<'static> {
        unsafe {
            let inner = self.0.n1.n2();
            match u32::from(inner.vt) {
                VT_BOOL => Value::Bool(*inner.n3.boolVal() != VARIANT_FALSE),
                VT_I4 => Value::Int(*inner.n3.lVal()),
                VT_R8 => Value::Double(*inner.n3.dblVal()),
                VT_BSTR => Value::Text(text_of(*inner.n3.bstrVal())),
                VT_DISPATCH if !inner.n3.pdispVal().is_null() => {
                    (**inner.n3.pdispVal()).AddRef();
                    Value::Object(Object(*inner.n3.pdispVal()))
                }
                _ => Value::Empty,
            }
        }
    }
}

impl Drop for Variant {
    fn drop(&mut self) {
        unsafe { VariantClear(&mut self.0) };
    }
}

fn wide(text: &str) -> Vec<u16> {
    text.encode_utf16().chain([0]).collect()
}

fn new_bstr(text: &str) -> BSTR {
    let units = wide(text);
    unsafe { SysAllocStringLen(units.as_ptr(), units.len() as u32 - 1) }
}

unsafe fn text_of(bstr: BSTR) -> String {
    if bstr.is_null() {
        return String::new();
    }
    String::from_utf16_lossy(std::slice::from_raw_parts(
        bstr,
        SysStringLen(bstr) as usize,
    ))
}

/// A reference to a late-bound object.
pub struct Object(*mut IDispatch);

impl Clone for Object {
    fn clone(&self) -> Self {
        unsafe { (*self.0).AddRef() };
        Object(self.0)
    }
}

impl Drop for Object {
    fn drop(&mut self) {
        unsafe { (*self.0).Release() };
    }
}

impl Object {
    /// Makes an object of a registered class.
    pub fn create(prog_id: &str) -> Result<Object> {
        unsafe {
            let mut class: CLSID = NO_IID;
            check(CLSIDFromProgID(wide(prog_id).as_ptr(), &mut class), prog_id)?;
            let mut made = null_mut();
            check(
                CoCreateInstance(
                    &class,
                    null_mut(),
                    CLSCTX_INPROC_SERVER,
                    &IDispatch::uuidof(),
                    &mut made,
                ),
                prog_id,
            )?;
            Ok(Object(made as *mut IDispatch))
        }
    }

    /// An object of this program.
    pub fn export(members: impl Members + 'static) -> Object {
        ALIVE.fetch_add(1, Ordering::Relaxed);
        Object(Box::into_raw(Box::new(Exported {
            methods: &METHODS,
            references: Cell::new(1),
            members: RefCell::new(Box::new(members)),
        })) as *mut IDispatch)
    }

    fn into_raw(self) -> *mut IDispatch {
        let raw = self.0;
        std::mem::forget(self);
        raw
    }

    /// Calls a method, or reads a property, by its name.
    pub fn call<const N: usize>(
        &self,
        name: &str,
        arguments: [Value; N],
    ) -> Result<Value<'static>> {
        let mut id = DISPID_UNKNOWN;
        let mut units = wide(name);
        let mut names = units.as_mut_ptr();
        let status = unsafe {
            (*self.0).GetIDsOfNames(&NO_IID, &mut names, 1, LOCALE_USER_DEFAULT, &mut id)
        };
        check(status, name)?;
        Ok(self.invoke(id, arguments)?.value())
    }

    fn invoke<const N: usize>(&self, id: DISPID, arguments: [Value; N]) -> Result<Variant> {
        // The last argument comes first.
        let mut passed: Vec<Variant> = arguments.into_iter().rev().map(Variant::new).collect();
        let mut parameters = DISPPARAMS {
            rgvarg: passed.as_mut_ptr() as *mut VARIANT,
            rgdispidNamedArgs: null_mut(),
            cArgs: passed.len() as UINT,
            cNamedArgs: 0,
        };
        let mut result = Variant::new(Value::Empty);
        unsafe {
            let mut exception: EXCEPINFO = std::mem::zeroed();
            let status = (*self.0).Invoke(
                id,
                &NO_IID,
                LOCALE_USER_DEFAULT,
                DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                &mut parameters,
                &mut result.0,
                &mut exception,
                null_mut(),
            );
            if status != DISP_E_EXCEPTION {
                return check(status, "Invoke").map(|()| result);
            }
            let raised = Raised {
                number: exception.scode & 0xFFFF,
                source: text_of(exception.bstrSource),
                description: text_of(exception.bstrDescription),
            };
            SysFreeString(exception.bstrSource);
            SysFreeString(exception.bstrDescription);
            SysFreeString(exception.bstrHelpFile);
            Err(raised)
        }
    }

    /// The entries of a collection of objects, as For Each returns them.
    pub fn entries(&self) -> Result<Vec<Object>> {
        let enumerator = self.invoke(DISPID_NEWENUM, [])?;
        let mut found = Vec::new();
        unsafe {
            let inner = enumerator.0.n1.n2();
            assert!(
                u32::from(inner.vt) == VT_UNKNOWN,
                "the result is an enumerator"
            );
            let mut entries = null_mut();
            check(
                (**inner.n3.punkVal()).QueryInterface(&IEnumVARIANT::uuidof(), &mut entries),
                "_NewEnum",
            )?;
            let entries = entries as *mut IEnumVARIANT;
            let mut entry = Variant::new(Value::Empty);
            while (*entries).Next(1, &mut entry.0, null_mut()) == S_OK {
                found.extend(entry.value().object());
                entry = Variant::new(Value::Empty);
            }
            (*entries).Release();
        }
        Ok(found)
    }
}

/// The members that make an object of a type of this program.
pub trait Members {
    fn names(&self) -> &'static [&'static str];
    /// Reads a property or calls a method.
    fn get(&self, name: &str) -> Value<'static>;
    /// Sets a property to a text or a number; returns false if there is no such property.
    fn put(&mut self, _name: &str, _value: Put) -> bool {
        false
    }
}

/// A value that a property is set to.
pub struct Put(*mut VARIANT);

impl Put {
    pub fn text(&self) -> Option<String> {
        self.converted(VT_BSTR).map(Value::text)
    }

    pub fn double(&self) -> Option<f64> {
        self.converted(VT_R8).map(Value::double)
    }

    fn converted(&self, kind: u32) -> Option<Value<'static>> {
        let mut converted = Variant::new(Value::Empty);
        let status = unsafe { VariantChangeType(&mut converted.0, self.0, 0, kind as u16) };
        (status == S_OK).then(|| converted.value())
    }
}

static ALIVE: AtomicUsize = AtomicUsize::new(0);

/// The number of objects of this program that are still referenced.
pub fn alive() -> usize {
    ALIVE.load(Ordering::Relaxed)
}

#[repr(C)]
struct Exported {
    methods: *const IDispatchVtbl,
    references: Cell<u32>,
    members: RefCell<Box<dyn Members>>,
}

static METHODS: IDispatchVtbl = IDispatchVtbl {
    parent: IUnknownVtbl {
        QueryInterface: query_interface,
        AddRef: add_ref,
        Release: release,
    },
    GetTypeInfoCount: get_type_info_count,
    GetTypeInfo: get_type_info,
    GetIDsOfNames: get_ids_of_names,
    Invoke: invoke,
};

unsafe fn exported<'a>(this: *mut IDispatch) -> &'a Exported {
    &*(this as *const Exported)
}

unsafe extern "system" fn query_interface(
    this: *mut IUnknown,
    id: REFIID,
    result: *mut *mut winapi::ctypes::c_void,
) -> HRESULT {
    if !IsEqualIID(&*id, &IUnknown::uuidof()) && !IsEqualIID(&*id, &IDispatch::uuidof()) {
        *result = null_mut();
        return E_NOINTERFACE;
    }
    add_ref(this);
    *result = this as *mut _;
    S_OK
}

unsafe extern "system" fn add_ref(this: *mut IUnknown) -> ULONG {
    let references = &exported(this as *mut IDispatch).references;
    references.set(references.get() + 1);
    references.get()
}

unsafe extern "system" fn release(this: *mut IUnknown) -> ULONG {
    let references = &exported(this as *mut IDispatch).references;
    references.set(references.get() - 1);
    let left = references.get();
    if left == 0 {
        drop(Box::from_raw(this as *mut Exported));
        ALIVE.fetch_sub(1, Ordering::Relaxed);
    }
    left
}

unsafe extern "system" fn get_type_info_count(_: *mut IDispatch, count: *mut UINT) -> HRESULT {
    *count = 0;
    S_OK
}

unsafe extern "system" fn get_type_info(
    _: *mut IDispatch,
    _: UINT,
    _: LCID,
    info: *mut *mut ITypeInfo,
) -> HRESULT {
    *info = null_mut();
    DISP_E_BADINDEX
}

unsafe extern "system" fn get_ids_of_names(
    this: *mut IDispatch,
    _: REFIID,
    names: *mut LPOLESTR,
    _: UINT,
    _: LCID,
    id: *mut DISPID,
) -> HRESULT {
    let length = (0..).take_while(|&index| *(*names).add(index) != 0).count();
    let name = String::from_utf16_lossy(std::slice::from_raw_parts(*names, length));
    let known = exported(this).members.borrow().names();
    let found = known
        .iter()
        .position(|member| member.eq_ignore_ascii_case(&name));
    *id = found.map_or(DISPID_UNKNOWN, |position| 1 + position as DISPID);
    found.map_or(DISP_E_UNKNOWNNAME, |_| S_OK)
}

unsafe extern "system" fn invoke(
    this: *mut IDispatch,
    id: DISPID,
    _: REFIID,
    _: LCID,
    flags: WORD,
    parameters: *mut DISPPARAMS,
    result: *mut VARIANT,
    _: *mut EXCEPINFO,
    _: *mut UINT,
) -> HRESULT {
    let members = &exported(this).members;
    let known = members.borrow().names();
    let name = match known.get((id - 1) as usize) {
        Some(name) => name,
        None => return DISP_E_MEMBERNOTFOUND,
    };
    if flags & DISPATCH_PROPERTYPUT != 0 {
        let is_set = members.borrow_mut().put(name, Put((*parameters).rgvarg));
        return if is_set { S_OK } else { DISP_E_TYPEMISMATCH };
    }
    let value = Variant::new(members.borrow().get(name));
    if !result.is_null() {
        *result = std::mem::ManuallyDrop::new(value).0;
    }
    S_OK
}
