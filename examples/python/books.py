"""Keeps a list of books in a file, in Python for Windows with the package pywin32.

64-bit Python needs the 64-bit component. Not run by the tests.
"""

import os
import tempfile

import pythoncom
import win32com.client
from win32com.server.util import wrap


class Book:
    _public_methods_ = ["GetMemberNames"]
    _public_attrs_ = ["Title", "Price"]

    def __init__(self, title: str = "", price: float = 0) -> None:
        self.Title = title
        self.Price = price

    def GetMemberNames(self):
        """The fields in the order in which they are written, each under itself as key."""
        names = win32com.client.Dispatch("Brindlex.clsCollection")
        for name in self._public_attrs_:
            names.Add(name, name)
        return names


class CreateBook:
    _public_methods_ = ["GetNewObject"]

    def GetNewObject(self):
        return wrap(Book())


books = win32com.client.Dispatch("Brindlex.clsCollection")
saver = win32com.client.Dispatch("Brindlex.clsCollectionSaveRestore")
files = win32com.client.Dispatch("Brindlex.clsAppFiles")
path = os.path.join(tempfile.gettempdir(), "python books.txt")

books.Add(wrap(Book("Moby Dick", 12.5)))
books.Add(wrap(Book("Emma", 9)))
if not files.SaveTextFile(path, saver.AsDelimitedFromCollection(books), False):
    raise SystemExit(1)

missing = pythoncom.Missing
restored = saver.AsDelimitedToCollection(
    files.ReadTextFile(path, False), wrap(CreateBook()), missing, missing, "Title"
)
os.remove(path)
for book in restored:
    # A property of Python has no type: what was restored is text.
    print(book.Title, "costs", float(book.Price))
print(restored.Item("EMMA").Price)

bases = win32com.client.Dispatch("Brindlex.clsBases")
print("2026 in base 16:", bases.ConvertDec2Base(2026, 16))  # 7EA

try:
    restored.Item("no such book")
except pythoncom.com_error as error:
    print("Error", error.excepinfo[5] & 0xFFFF, error.excepinfo[2])  # Error 5
print("books: done")
