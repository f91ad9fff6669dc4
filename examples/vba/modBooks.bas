Attribute VB_Name = "modBooks"
' Keeps a list of books in a file, in VB or VBA. Import the three files of this folder, and set a
' reference to "Brindlex 1.0 Type Library". What a line prints is after "->"; the tests run all of it as VBScript.
Option Explicit

Private Function NewBook(ByVal Title As String, ByVal Price As Currency) As clsBook
    Set NewBook = New clsBook
    NewBook.Title = Title
    NewBook.Price = Price
End Function

Public Sub KeepBooks()
    Dim books As New Brindlex.clsCollection
    Dim saver As New Brindlex.clsCollectionSaveRestore
    Dim files As New Brindlex.clsAppFiles
    Dim path As String
    path = Environ$("TEMP") & "\vba books.txt"

    books.Add NewBook("Moby Dick", 12.5)
    books.Add NewBook("Emma", 9)
    If Not files.SaveTextFile(path, saver.AsDelimitedFromCollection(books), False) Then Exit Sub

    Dim restored As Brindlex.clsCollection
    Set restored = saver.AsDelimitedToCollection(files.ReadTextFile(path, False), _
                                                 New clsCreateBook, KeyProperty:="Title")
    If restored Is Nothing Then Exit Sub
    Dim book As Variant
    For Each book In restored
        Debug.Print book.Title & " costs " & book.Price     ' -> Moby Dick costs 12.5
                                                            ' -> Emma costs 9
    Next
    Debug.Print restored("EMMA").Price                      ' -> 9

    Dim bases As New Brindlex.clsBases
    Debug.Print "2026 in base 16: " & bases.ConvertDec2Base(2026, 16)     ' -> 2026 in base 16: 7EA

    On Error Resume Next
    Debug.Print restored.Item("no such book").Price
    Debug.Print "Error " & Err.Number & ": " & Err.Description     ' -> Error 5: Invalid procedure call or argument
End Sub
