// Keeps a list of books in a file, in C#, late bound by `dynamic`. That needs .NET Framework 4, or .NET 5 or
// later; ../dotnet runs on every .NET. A program for "Any CPU" is a 64-bit one on 64-bit Windows and needs
// the 64-bit component. ./dev clients compiles it; no test runs it.
//
//   csc Books.cs

using System;
using System.IO;
using System.Runtime.InteropServices;

[ComVisible(true), ClassInterface(ClassInterfaceType.AutoDispatch)]
public class Book
{
    private double price;

    public string Title { get; set; } = "";

    // Restoring brings every value as text, in the user's locale.
    public object Price
    {
        get { return price; }
        set { price = Convert.ToDouble(value); }
    }

    // The fields in the order in which they are written, each under itself as key.
    public object GetMemberNames()
    {
        dynamic names = Books.Create("clsCollection");
        names.Add("Title", "Title");
        names.Add("Price", "Price");
        return names;
    }
}

[ComVisible(true), ClassInterface(ClassInterfaceType.AutoDispatch)]
public class CreateBook
{
    public object GetNewObject() { return new Book(); }
}

public static class Books
{
    internal static object Create(string name)
    {
        return Activator.CreateInstance(Type.GetTypeFromProgID("Brindlex." + name, true));
    }

    // The component's classes live in apartments of one thread.
    [STAThread]
    public static int Main()
    {
        dynamic books = Create("clsCollection");
        dynamic saver = Create("clsCollectionSaveRestore");
        dynamic files = Create("clsAppFiles");
        string path = Path.Combine(Path.GetTempPath(), "csharp books.txt");

        books.Add(new Book { Title = "Moby Dick", Price = 12.5 });
        books.Add(new Book { Title = "Emma", Price = 9 });
        if (!files.SaveTextFile(path, saver.AsDelimitedFromCollection(books), false)) return 1;

        dynamic restored = saver.AsDelimitedToCollection(files.ReadTextFile(path, false),
                                                         new CreateBook(), KeyProperty: "Title");
        File.Delete(path);
        if (restored == null) return 1;
        foreach (dynamic book in restored) Console.WriteLine(book.Title + " costs " + book.Price);
        Console.WriteLine(restored.Item["EMMA"].Price);

        dynamic bases = Create("clsBases");
        Console.WriteLine("2026 in base 16: " + bases.ConvertDec2Base(2026, 16)); // 7EA

        try
        {
            Console.WriteLine(restored.Item["no such book"].Price);
        }
        catch (COMException error)
        {
            Console.WriteLine("Error " + (error.ErrorCode & 0xFFFF) + ": " + error.Message); // Error 5
        }
        Console.WriteLine("books: done");
        return 0;
    }
}
