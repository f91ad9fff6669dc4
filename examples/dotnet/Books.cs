// Keeps a list of books in a file, in C# for every .NET, since .NET Core has no `dynamic` for COM objects: the
// collection and the number bases early bound, through interfaces declared after the type library, the
// rest late bound, by reflection. For .NET Framework and .NET 5 or later, ../csharp is shorter.
// A 64-bit .NET needs the 64-bit component.

using System;
using System.Collections.Generic;
using System.IO;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Runtime.InteropServices.ComTypes;

// The methods of an interface are in the order of the type library; a property is its accessors.
[ComImport, Guid("FC246086-1E11-478A-9AF5-ED731C901ACE"), InterfaceType(ComInterfaceType.InterfaceIsDual)]
public interface ICollection
{
    object GetItem(object index);
    void Add(object item, object key, object before, object after);
    int GetCount();
    void Remove(object index);
    IEnumVARIANT GetEnumerator();
}

[ComImport, Guid("C81AACF2-555D-4E7D-A5EB-51D0818D32C3"), InterfaceType(ComInterfaceType.InterfaceIsDual)]
public interface IBases
{
    object ConvertBase(object number, int fromBase, int toBase, ref int maxFractionDigits, ref double tolerance,
                       ref int groupSize);
    [return: MarshalAs(UnmanagedType.BStr)]
    string ConvertDec2Base(object number, int toBase, ref int maxFractionDigits, ref double tolerance,
                           ref int groupSize);
    double ConvertBase2Dec([MarshalAs(UnmanagedType.BStr)] string text, int fromBase);
}

// The record. Its public properties and methods are its members.
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
        var names = (ICollection)Books.Create("clsCollection");
        names.Add("Title", "Title", Type.Missing, Type.Missing);
        names.Add("Price", "Price", Type.Missing, Type.Missing);
        return names;
    }
}

// The creator that the component asks for new books.
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

    // Calls a method by its name.
    private static object Call(object target, string method, params object[] arguments)
    {
        return target.GetType().InvokeMember(method, BindingFlags.InvokeMethod, null, target, arguments);
    }

    private static void Require(bool holds, string what)
    {
        if (holds) return;
        Console.WriteLine("FAILED: " + what);
        Environment.Exit(1);
    }

    // Requires an error of the call, shows it, and returns it.
    private static COMException Raised(Action call)
    {
        try
        {
            call();
        }
        catch (COMException error)
        {
            Console.WriteLine("Error " + (error.ErrorCode & 0xFFFF) + " in " + error.Source + ": " + error.Message);
            return error;
        }
        Require(false, "the call fails");
        return null;
    }

    private static List<string> Listed(ICollection list)
    {
        var lines = new List<string>();
        IEnumVARIANT entries = list.GetEnumerator();
        var entry = new object[1];
        while (entries.Next(1, entry, IntPtr.Zero) == 0)
        {
            // An object of this program comes back as itself.
            var book = (Book)entry[0];
            lines.Add(book.Title + " costs " + book.Price);
        }
        return lines;
    }

    private static void KeepBooks()
    {
        var list = (ICollection)Create("clsCollection");
        object saver = Create("clsCollectionSaveRestore");
        object files = Create("clsAppFiles");
        string path = Path.Combine(Path.GetTempPath(), "dotnet books.txt");

        list.Add(new Book { Title = "Moby Dick", Price = 12.5 }, Type.Missing, Type.Missing, Type.Missing);
        list.Add(new Book { Title = "Emma", Price = 9 }, Type.Missing, Type.Missing, Type.Missing);
        var text = (string)Call(saver, "AsDelimitedFromCollection", list);
        foreach (string save in new[] { "SaveTextFile", "SaveTextFileSafely" })
        {
            Require((bool)Call(files, save, path, text, false), "the text is saved");
            Require((string)Call(files, "ReadTextFile", path, false) == text, "the file holds the text");
            File.Delete(path);
        }

        var restored = (ICollection)Call(saver, "AsDelimitedToCollection", text, new CreateBook(), Type.Missing,
                                         Type.Missing, "Title");
        Require(restored != null, "the text becomes a list again");
        Listed(restored).ForEach(Console.WriteLine);
        Require(string.Join("|", Listed(restored)) == string.Join("|", Listed(list)), "every book is as it was");
        Require((double)((Book)restored.GetItem("EMMA")).Price == 9, "Emma is found by her key");
        Require((Raised(() => restored.GetItem("no such book")).ErrorCode & 0xFFFF) == 5, "an absent key is error 5");
    }

    private static void ConvertNumbers()
    {
        var bases = (IBases)Create("clsBases");
        int allDigits = -1, noGroups = 0;
        double tolerance = 1E-27;
        string digits = bases.ConvertDec2Base(2026, 16, ref allDigits, ref tolerance, ref noGroups);
        Console.WriteLine("2026 in base 16: " + digits);
        Require(digits == "7EA", "2026 is 7EA in base 16");
        Require(bases.ConvertBase2Dec(digits, 16) == 2026, "and back");

        tolerance = -0.5;
        digits = bases.ConvertDec2Base(2.75, 16, ref allDigits, ref tolerance, ref noGroups);
        Console.WriteLine("2.75 in base 16: " + digits + ", tolerance " + tolerance);
        Require(digits == "2.C", "2.75 is 2.C in base 16");
        Require(tolerance == 0.5, "the variable receives the absolute value of the tolerance");

        COMException error = Raised(() => bases.ConvertBase2Dec("1", 1));
        Require((error.ErrorCode & 0xFFFF) == 13, "base 1 is error 13");
        Require(error.Source == "ConvertBase2Dec" && error.Message == "Invalid Base", "with source and description");
    }

    // The component's classes live in apartments of one thread.
    [STAThread]
    public static int Main()
    {
        KeepBooks();
        ConvertNumbers();
        Console.WriteLine("books: done");
        return 0;
    }
}
