// Keeps a list of books in a file, in Go, late bound. A 64-bit program needs the 64-bit component,
// a 32-bit one (GOARCH=386) the 32-bit component.
//
//	go build
package main

import (
	"fmt"
	"log"
	"os"
	"path/filepath"
	"runtime"
)

// Book is the record.
type Book struct {
	Title string
	Price float64
}

// GetMemberNames returns the fields in the order in which they are written, each under itself as key.
func (*Book) GetMemberNames() *object {
	names := must(create("Brindlex.clsCollection"))
	for _, name := range []string{"Title", "Price"} {
		must(names.call("Add", name, name))
	}
	return names
}

// CreateBook is the creator that the component asks for new books.
type CreateBook struct{}

// GetNewObject returns a book without a title.
func (*CreateBook) GetNewObject() *object { return export(&Book{}) }

func must[T any](value T, err error) T {
	if err != nil {
		log.Fatal("FAILED: ", err)
	}
	return value
}

func require(holds bool, what string) {
	if !holds {
		log.Fatal("FAILED: ", what)
	}
}

func add(list *object, book *Book) {
	entry := export(book)
	defer entry.release()
	must(list.call("Add", entry))
}

// listed returns "Title costs Price" for every book.
func listed(list *object) (lines string) {
	err := list.each(func(entry any) {
		book := entry.(*object)
		defer book.release()
		lines += fmt.Sprintf("%v costs %v\n", must(book.call("Title")), must(book.call("Price")))
	})
	require(err == nil, "the list can be enumerated")
	return lines
}

// keepInFile saves the text in a temporary file and returns the content of the file.
func keepInFile(member, text string) string {
	files := must(create("Brindlex.clsAppFiles"))
	defer files.release()
	path := filepath.Join(os.TempDir(), "go books.txt")
	defer os.Remove(path)
	require(must(files.call(member, path, text, false)) == true, "the text is saved")
	return must(files.call("ReadTextFile", path, false)).(string)
}

func keepBooks() {
	list := must(create("Brindlex.clsCollection"))
	defer list.release()
	saver := must(create("Brindlex.clsCollectionSaveRestore"))
	defer saver.release()
	add(list, &Book{"Moby Dick", 12.5})
	add(list, &Book{"Emma", 9})

	text := must(saver.call("AsDelimitedFromCollection", list)).(string)
	require(text != "", "the list becomes a text")
	require(keepInFile("SaveTextFile", text) == text, "the file holds the text")
	require(keepInFile("SaveTextFileSafely", text) == text, "saved safely, too")

	creator := export(&CreateBook{})
	defer creator.release()
	restored, _ := must(saver.call("AsDelimitedToCollection", text, creator, omitted{}, omitted{}, "Title")).(*object)
	require(restored != nil, "the text becomes a list again")
	defer restored.release()
	fmt.Print(listed(restored))
	require(listed(restored) == listed(list), "every book is as it was")

	emma := must(restored.call("Item", "EMMA")).(*object)
	defer emma.release()
	require(must(emma.call("Price")) == 9.0, "Emma is found by her key, in any letter case")

	_, err := restored.call("Item", "no such book")
	fmt.Println(err)
	require(err != nil && err.(*raised).Number == 5, "an absent key is error 5")
}

func convert() {
	bases := must(create("Brindlex.clsBases"))
	defer bases.release()
	digits := must(bases.call("ConvertDec2Base", 2026, 16))
	fmt.Println("2026 in base 16:", digits)
	require(digits == "7EA", "2026 is 7EA in base 16")
	require(must(bases.call("ConvertBase2Dec", digits, 16)) == 2026.0, "and back")

	// By reference: the variable receives the absolute value of the tolerance.
	tolerance := -0.5
	digits = must(bases.call("ConvertDec2Base", 2.75, 16, omitted{}, &tolerance))
	fmt.Println("2.75 in base 16:", digits, "tolerance", tolerance)
	require(digits == "2.C" && tolerance == 0.5, "the tolerance is written back")

	_, err := bases.call("ConvertBase2Dec", "1", 1)
	fmt.Println(err)
	require(err != nil && *err.(*raised) == raised{13, "ConvertBase2Dec", "Invalid Base"}, "base 1 is error 13")
}

func main() {
	// The component's objects live on one thread.
	runtime.LockOSThread()
	coInitializeEx.Call(0, apartmentThreaded)
	keepBooks()
	convert()
	require(len(alive) == 0, "every object of this program has been released")
	coUninitialize.Call()
	fmt.Println("books: done")
}
