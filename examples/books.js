// Keeps a list of books in a file, in JScript. The records and their creator are objects of this script.
//
//   cscript //nologo books.js

function Book(title, price) {
  this.Title = title || "";
  this.Price = price || 0;
}

// The fields in the order in which they are written, each under itself as key.
Book.prototype.GetMemberNames = function () {
  var names = new ActiveXObject("Brindlex.clsCollection");
  names.Add("Title", "Title");
  names.Add("Price", "Price");
  return names;
};

var createBook = {
  GetNewObject: function () {
    return new Book();
  }
};

function require(holds) {
  if (!holds) WScript.Quit(1);
}

var books = new ActiveXObject("Brindlex.clsCollection");
var saver = new ActiveXObject("Brindlex.clsCollectionSaveRestore");
var files = new ActiveXObject("Brindlex.clsAppFiles");
var system = new ActiveXObject("Scripting.FileSystemObject");
var path = system.GetSpecialFolder(2) + "\\js books.txt";

books.Add(new Book("Moby Dick", 12.5));
books.Add(new Book("Emma", 9));
require(files.SaveTextFile(path, saver.AsDelimitedFromCollection(books), false));

// An argument is left out with undefined; null would be a value.
var text = files.ReadTextFile(path, false);
var restored = saver.AsDelimitedToCollection(text, createBook, undefined, undefined, "Title");
system.DeleteFile(path);
require(restored !== null);
for (var enumerator = new Enumerator(restored); !enumerator.atEnd(); enumerator.moveNext()) {
  // A property of JScript has no type: what was restored is text.
  WScript.Echo(enumerator.item().Title + " costs " + Number(enumerator.item().Price));
}
require(Number(restored("EMMA").Price) === 9);

var bases = new ActiveXObject("Brindlex.clsBases");
WScript.Echo("2026 in base 16: " + bases.ConvertDec2Base(2026, 16));
require(bases.ConvertDec2Base(2026, 16) === "7EA");
require(bases.ConvertBase2Dec("7EA", 16) === 2026);

try {
  restored.Item("no such book");
  WScript.Quit(1);
} catch (error) {
  WScript.Echo("Error " + (error.number & 0xFFFF) + ": " + error.description);
  require((error.number & 0xFFFF) === 5);
}
WScript.Echo("books: done");
