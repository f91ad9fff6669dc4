' A class of the script that receives the reports; no box comes up while it listens.
Option Explicit

Dim failures, reported
failures = 0

Sub Check(what, expected, actual)
  If expected <> actual Then
    failures = failures + 1
    WScript.Echo "FAILED " & what & ": expected " & expected & ", got " & actual
  End If
End Sub

Class Log
  Public Function OnReport(caption, text, style, number, description, line)
    reported = reported & caption & "/" & style & "/" & number & "/" & description & "/" & line & ";"
    OnReport = 1
  End Function
End Class

Class Deaf
  Public Other
End Class

Dim environment, saver
Set environment = CreateObject("Brindlex.clsEnvironment")
Set saver = CreateObject("Brindlex.clsCollectionSaveRestore")
Check "nobody listens at first", True, environment.ReportListener Is Nothing

Set environment.ReportListener = New Log
Check "save", "", saver.AsDelimitedFromCollection(Nothing)
Check "reports", "Error DFC/48/91/Object variable or With block variable not set/1;", reported

' A listener that cannot be called: the report goes to the standard error, and nothing waits.
Set environment.ReportListener = New Deaf
Check "save", "", saver.AsDelimitedFromCollection(Nothing)

Set environment.ReportListener = Nothing
WScript.Echo "expects box: Error DFC|Error DFC\r\n\r\nObject variable or With block variable not set Number: 91 Line: 1 Member Name: "
Check "save", "", saver.AsDelimitedFromCollection(Nothing)

If failures = 0 Then WScript.Echo "all passed"
