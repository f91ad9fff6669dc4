' Shows what a report looks like: a record whose list of members names a property that it lacks.

Option Explicit

Class Book
  Public Title
  Public Function GetMemberNames()
    Dim names
    Set names = CreateObject("Brindlex.clsCollection")
    names.Add "Title", "Title"
    names.Add "Price", "Price"
    Set GetMemberNames = names
  End Function
End Class
Dim books
Set books = CreateObject("Brindlex.clsCollection")
books.Add New Book
CreateObject("Brindlex.clsCollectionSaveRestore").AsDelimitedFromCollection books
