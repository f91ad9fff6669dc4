// Keeps a list of books in a file, in Node.js for Windows, late bound by the package koffi. 64-bit
// Node.js needs the 64-bit component.
//
//   npm install
//   node books.js
'use strict';

const assert = require('node:assert');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { OleObject, Reference, initialize, liveObjects, omitted, uninitialize } = require('./ole.js');

/** The record. */
class Book {
  #price;

  constructor(title = '', price = 0) {
    this.Title = title;
    this.#price = price;
  }

  get Price() {
    return this.#price;
  }

  /** Restoring brings every value as text, in the user's locale. */
  set Price(text) {
    this.#price = Number(text.replace(',', '.'));
  }

  /** The fields in the order in which they are written, each under itself as key. */
  GetMemberNames() {
    const names = OleObject.create('Brindlex.clsCollection');
    for (const name of ['Title', 'Price']) names.call('Add', name, name);
    return names;
  }
}

/** The creator that the component asks for new books. */
class CreateBook {
  GetNewObject() {
    return new Book();
  }
}

/** "Title costs Price" for every book. */
function listed(list) {
  const lines = [];
  for (const book of list) {
    lines.push(`${book.call('Title')} costs ${book.call('Price')}`);
    book.release();
  }
  return lines;
}

/** Saves the text in a temporary file by `member` and returns the content of the file. */
function keepInFile(member, text) {
  const files = OleObject.create('Brindlex.clsAppFiles');
  const file = path.join(os.tmpdir(), 'node books.txt');
  assert.strictEqual(files.call(member, file, text, false), true);
  const content = files.call('ReadTextFile', file, false);
  fs.unlinkSync(file);
  files.release();
  return content;
}

/** The error that `call` raises; shows it. */
function raised(call) {
  try {
    call();
  } catch (error) {
    console.log(`Error ${error.number} in ${error.source}: ${error.description}`);
    return error;
  }
  return assert.fail('the call raises an error');
}

function keepBooks() {
  const list = OleObject.create('Brindlex.clsCollection');
  const saver = OleObject.create('Brindlex.clsCollectionSaveRestore');
  list.call('Add', new Book('Moby Dick', 12.5));
  list.call('Add', new Book('Emma', 9));

  const text = saver.call('AsDelimitedFromCollection', list);
  assert.notStrictEqual(text, '');
  assert.strictEqual(keepInFile('SaveTextFile', text), text);
  assert.strictEqual(keepInFile('SaveTextFileSafely', text), text);

  const restored = saver.call('AsDelimitedToCollection', text, new CreateBook(), omitted, omitted, 'Title');
  assert.ok(restored, 'the text becomes a list again');
  console.log(listed(restored).join('\n'));
  assert.deepStrictEqual(listed(restored), listed(list));
  const emma = restored.call('Item', 'EMMA');
  assert.strictEqual(emma.call('Price'), 9);
  assert.strictEqual(raised(() => restored.call('Item', 'no such book')).number, 5);
  for (const object of [emma, restored, saver, list]) object.release();
}

function convert() {
  const bases = OleObject.create('Brindlex.clsBases');
  const digits = bases.call('ConvertDec2Base', 2026, 16);
  console.log('2026 in base 16:', digits);
  assert.strictEqual(digits, '7EA');
  assert.strictEqual(bases.call('ConvertBase2Dec', digits, 16), 2026);

  // By reference: the variable receives the absolute value of the tolerance.
  const tolerance = new Reference(-0.5);
  assert.strictEqual(bases.call('ConvertDec2Base', 2.75, 16, omitted, tolerance), '2.C');
  assert.strictEqual(tolerance.value, 0.5);

  const { number, source, description } = raised(() => bases.call('ConvertBase2Dec', '1', 1));
  assert.deepStrictEqual([number, source, description], [13, 'ConvertBase2Dec', 'Invalid Base']);
  bases.release();
}

initialize();
keepBooks();
convert();
assert.strictEqual(liveObjects(), 0, 'every object of this program has been released');
uninitialize();
console.log('books: done');
