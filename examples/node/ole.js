// Automation by the package koffi, which calls functions of C: late-bound calls of objects, and objects
// of JavaScript as automation objects.
'use strict';

const koffi = require('koffi');

const pointerSize = koffi.sizeof('void *');
const ole32 = koffi.load('ole32.dll');
const oleaut32 = koffi.load('oleaut32.dll');
const coInitializeEx = ole32.func('uint32 __stdcall CoInitializeEx(void *, uint32)');
const coUninitialize = ole32.func('void __stdcall CoUninitialize()');
const clsidFromProgId = ole32.func('uint32 __stdcall CLSIDFromProgID(str16, void *)');
const coCreateInstance = ole32.func('uint32 __stdcall CoCreateInstance(void *, void *, uint32, void *, void *)');
const sysAllocStringLen = oleaut32.func('void * __stdcall SysAllocStringLen(str16, uint32)');
const sysStringLen = oleaut32.func('uint32 __stdcall SysStringLen(void *)');
const sysFreeString = oleaut32.func('void __stdcall SysFreeString(void *)');
const variantClear = oleaut32.func('uint32 __stdcall VariantClear(void *)');

koffi.struct('VARIANT', { vt: 'uint16', reserved: koffi.array('uint16', 3), data: koffi.array('void *', 2) });
koffi.struct('DISPPARAMS', { arguments: 'void *', named: 'void *', count: 'uint32', namedCount: 'uint32' });
koffi.struct('EXCEPINFO', {
  code: 'uint16', reserved: 'uint16', source: 'void *', description: 'void *', help: 'void *',
  helpContext: 'uint32', reserved2: 'void *', fillIn: 'void *', scode: 'uint32',
});

// The methods of IUnknown and IDispatch, in the order of their table.
const methods = [
  'uint32 __stdcall QueryInterface(void *self, void *id, void *result)',
  'uint32 __stdcall AddRef(void *self)',
  'uint32 __stdcall Release(void *self)',
  'uint32 __stdcall GetTypeInfoCount(void *self, void *count)',
  'uint32 __stdcall GetTypeInfo(void *self, uint32 index, uint32 locale, void *info)',
  'uint32 __stdcall GetIDsOfNames(void *self, void *iid, void *names, uint32 count, uint32 locale, void *ids)',
  'uint32 __stdcall Invoke(void *self, int32 id, void *iid, uint32 locale, uint16 flags, void *parameters, ' +
    'void *result, void *exception, void *wrong)',
].map((declaration) => koffi.proto(declaration));
const [queryInterface, addRef, release, , , getIdsOfNames, invoke] = methods.map((type, index) => ({ type, index }));
const next = { type: koffi.proto('uint32 __stdcall Next(void *self, uint32 count, void *entry, void *fetched)'), index: 3 };

const VT = { I4: 3, R8: 5, BSTR: 8, DISPATCH: 9, ERROR: 10, BOOL: 11, VARIANT: 12, UNKNOWN: 13, BYREF: 0x4000 };
const METHOD = 1, GET = 2, PUT = 4;
const NEW_ENUM = -4;
const USER_LOCALE = 0x400;
const OK = 0, NO_INTERFACE = 0x80004002, MEMBER_UNKNOWN = 0x80020003, OMITTED_ARGUMENT = 0x80020004,
  NAME_UNKNOWN = 0x80020006, EXCEPTION = 0x80020009, BAD_INDEX = 0x8002000b;

const guid = (first) => {
  const bytes = Buffer.alloc(16);
  bytes.writeUInt32LE(first);
  bytes[8] = 0xc0;
  bytes[15] = 0x46;
  return bytes;
};
const iidNull = Buffer.alloc(16), iidUnknown = guid(0), iidDispatch = guid(0x20400), iidEnumVariant = guid(0x20404);

/** Stands for an optional argument that is left out. */
const omitted = Symbol('omitted');

/** A variable to pass by reference: a call may change its value. */
class Reference {
  constructor(value) {
    this.value = value;
  }
}

/** The error that an object raised. */
class Raised extends Error {
  constructor(number, source, description) {
    super(description);
    Object.assign(this, { number, source, description });
  }
}

const call = (object, method, ...args) => {
  const table = koffi.decode(object, 'void *');
  return koffi.call(koffi.decode(table, method.index * pointerSize, 'void *'), method.type, object, ...args);
};

const textOf = (bstr) => (bstr === null ? '' : koffi.decode(bstr, 'char16', sysStringLen(bstr)));

const check = (status, what) => {
  if (status !== OK) throw new Raised(status, what, `status 0x${status.toString(16)}`);
};

/** A pointer into memory, `offset` bytes from its beginning. */
function pointerTo(memory, offset) {
  const address = Buffer.alloc(8);
  address.writeBigUInt64LE(koffi.address(memory) + BigInt(offset));
  return koffi.decode(address, 'void *');
}

/** Stores a value in an empty VARIANT. `cells` receives the memory of the references. */
function setVariant(variant, value, cells = []) {
  const set = (vt, type, content) => {
    koffi.encode(variant, 'VARIANT', { vt, reserved: [0, 0, 0], data: [null, null] });
    if (type) koffi.encode(variant, 8, type, content);
  };
  if (value === undefined || value === null) return set(0);
  if (value === omitted) return set(VT.ERROR, 'uint32', OMITTED_ARGUMENT);
  if (typeof value === 'boolean') return set(VT.BOOL, 'int16', value ? -1 : 0);
  if (typeof value === 'string') return set(VT.BSTR, 'void *', sysAllocStringLen(value, value.length));
  if (Number.isInteger(value)) return set(VT.I4, 'int32', value);
  if (typeof value === 'number') return set(VT.R8, 'double', value);
  if (value instanceof Reference) {
    const cell = koffi.alloc('double', 1);
    koffi.encode(cell, 'double', value.value);
    cells.push({ cell, reference: value });
    return set(VT.R8 | VT.BYREF, 'void *', cell);
  }
  const object = value instanceof OleObject ? value.pointer : exported(value);
  call(object, addRef);
  return set(VT.DISPATCH, 'void *', object);
}

function getVariant(variant) {
  switch (koffi.decode(variant, 'uint16')) {
    case VT.I4: return koffi.decode(variant, 8, 'int32');
    case VT.R8: return koffi.decode(variant, 8, 'double');
    case VT.BOOL: return koffi.decode(variant, 8, 'int16') !== 0;
    case VT.BSTR: return textOf(koffi.decode(variant, 8, 'void *'));
    case VT.VARIANT | VT.BYREF: return getVariant(koffi.decode(variant, 8, 'void *'));
    case VT.DISPATCH: case VT.UNKNOWN: {
      const pointer = koffi.decode(variant, 8, 'void *');
      if (pointer === null) return null;
      call(pointer, addRef);
      return new OleObject(pointer);
    }
    default: return undefined;
  }
}

/** Runs `use` with empty VARIANTs, and clears them afterwards. */
function withVariants(count, use) {
  const size = koffi.sizeof('VARIANT');
  const memory = koffi.alloc('uint8', Math.max(count, 1) * size);
  const variants = Array.from({ length: count }, (_, index) => pointerTo(memory, index * size));
  try {
    variants.forEach((variant) => setVariant(variant, undefined));
    return use(variants);
  } finally {
    variants.forEach((variant) => variantClear(variant));
    koffi.free(memory);
  }
}

/** A reference to an automation object. */
class OleObject {
  constructor(pointer) {
    this.pointer = pointer;
  }

  /** Makes an object of a registered class. */
  static create(progId) {
    const clsid = Buffer.alloc(16), made = Buffer.alloc(8);
    check(clsidFromProgId(progId, clsid), progId);
    check(coCreateInstance(clsid, null, 1, iidDispatch, made), progId);
    return new OleObject(koffi.decode(made, 'void *'));
  }

  /** Calls a method, or reads a property, by its name. */
  call(name, ...args) {
    const id = Buffer.alloc(4), names = Buffer.alloc(8);
    const units = Buffer.from(name + '\0', 'utf16le');
    koffi.encode(names, 'void *', units);
    check(call(this.pointer, getIdsOfNames, iidNull, names, 1, USER_LOCALE, id), name);
    return this.invoke(id.readInt32LE(), ...args);
  }

  invoke(id, ...args) {
    // The result, then the arguments in reverse order.
    return withVariants(args.length + 1, ([result, ...passed]) => {
      const cells = [];
      args.reverse().forEach((value, index) => setVariant(passed[index], value, cells));
      const parameters = koffi.alloc('DISPPARAMS', 1), exception = koffi.alloc('EXCEPINFO', 1);
      koffi.encode(parameters, 'DISPPARAMS', { arguments: passed[0] ?? null, named: null, count: args.length, namedCount: 0 });
      const status = call(this.pointer, invoke, id, iidNull, USER_LOCALE, METHOD | GET, parameters, result, exception, null);
      for (const { cell, reference } of cells) reference.value = koffi.decode(cell, 'double');
      const { source, description, help, scode } = koffi.decode(exception, 'EXCEPINFO');
      const raised = status === EXCEPTION && new Raised(scode & 0xffff, textOf(source), textOf(description));
      [source, description, help].forEach((text) => sysFreeString(text));
      [parameters, exception, ...cells.map(({ cell }) => cell)].forEach((memory) => koffi.free(memory));
      if (raised) throw raised;
      check(status, 'Invoke');
      return getVariant(result);
    });
  }

  /** The entries of a collection, as For Each returns them. */
  *[Symbol.iterator]() {
    const unknown = this.invoke(NEW_ENUM), found = Buffer.alloc(8);
    check(call(unknown.pointer, queryInterface, iidEnumVariant, found), '_NewEnum');
    unknown.release();
    const entries = new OleObject(koffi.decode(found, 'void *'));
    const nextEntry = () => withVariants(1, ([entry]) =>
      call(entries.pointer, next, 1, entry, null) === OK ? getVariant(entry) : undefined);
    for (let entry = nextEntry(); entry !== undefined; entry = nextEntry()) yield entry;
    entries.release();
  }

  release() {
    call(this.pointer, release);
  }
}

// ---- Objects of JavaScript: their properties and methods are the members ---------------------------

/** The exported objects that are still referenced, by their addresses. */
const live = new Map();
const keyOf = (pointer) => koffi.address(pointer);

/** The names of the members; the number of a member is its position from 1. */
const membersOf = (value) => [
  ...Object.getOwnPropertyNames(value),
  ...Object.getOwnPropertyNames(Object.getPrototypeOf(value)),
];

// In the order of the table.
const implementation = {
  QueryInterface(self, id, result) {
    const asked = Buffer.from(koffi.decode(id, 'uint8', 16));
    const isOurs = asked.equals(iidUnknown) || asked.equals(iidDispatch);
    koffi.encode(result, 'void *', isOurs ? self : null);
    if (isOurs) ++live.get(keyOf(self)).references;
    return isOurs ? OK : NO_INTERFACE;
  },
  AddRef: (self) => ++live.get(keyOf(self)).references,
  Release(self) {
    const left = --live.get(keyOf(self)).references;
    if (left === 0) {
      live.delete(keyOf(self));
      koffi.free(self);
    }
    return left;
  },
  GetTypeInfoCount(self, count) {
    koffi.encode(count, 'uint32', 0);
    return OK;
  },
  GetTypeInfo(self, index, locale, info) {
    koffi.encode(info, 'void *', null);
    return BAD_INDEX;
  },
  GetIDsOfNames(self, iid, names, count, locale, ids) {
    const name = koffi.decode(names, 'str16').toLowerCase();
    const { value } = live.get(keyOf(self));
    const index = membersOf(value).findIndex((member) => member.toLowerCase() === name);
    koffi.encode(ids, 'int32', index < 0 ? -1 : index + 1);
    return index < 0 ? NAME_UNKNOWN : OK;
  },
  Invoke(self, id, iid, locale, flags, parameters, result) {
    const { value } = live.get(keyOf(self));
    const member = membersOf(value)[id - 1];
    if (member === undefined) return MEMBER_UNKNOWN;
    if (flags & PUT) {
      value[member] = getVariant(koffi.decode(parameters, 'DISPPARAMS').arguments);
      return OK;
    }
    const content = typeof value[member] === 'function' ? value[member]() : value[member];
    if (result !== null) setVariant(result, content);
    // The result owns a reference of its own.
    if (content instanceof OleObject) content.release();
    return OK;
  },
};

// The table of methods that all exported objects share.
const table = koffi.alloc('void *', methods.length);
Object.values(implementation).forEach((method, index) => {
  koffi.encode(table, index * pointerSize, 'void *', koffi.register(method, koffi.pointer(methods[index])));
});

/** A new COM object of an object of JavaScript, without references. */
function exported(value) {
  const pointer = koffi.alloc('void *', 1);
  koffi.encode(pointer, 'void *', table);
  live.set(keyOf(pointer), { value, references: 0 });
  return pointer;
}

module.exports = {
  OleObject,
  Raised,
  Reference,
  omitted,
  initialize: () => check(coInitializeEx(null, 2), 'CoInitializeEx'),
  uninitialize: () => coUninitialize(),
  liveObjects: () => live.size,
};
