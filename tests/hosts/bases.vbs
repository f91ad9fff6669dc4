' The number bases in VBScript: typed and late-bound values, variables, errors.
Option Explicit

Dim failures
failures = 0

Sub Check(what, expected, actual)
  If expected <> actual Or VarType(expected) <> VarType(actual) Then
    failures = failures + 1
    WScript.Echo "FAILED " & what & ": expected " & expected & ", got " & actual
  End If
End Sub

Sub CheckError(what, number, source, description)
  If Err.Number <> number Or Err.Source <> source Or Err.Description <> description Then
    failures = failures + 1
    WScript.Echo "FAILED " & what & ": " & Err.Number & ", " & Err.Source & ", " & Err.Description
  End If
  Err.Clear
End Sub

Class Amount
  Public Default Property Get Value
    Value = 255
  End Property
End Class

Dim bases, tolerance, digits, unset, result
Set bases = CreateObject("Brindlex.clsBases")

' Values
Check "whole number", "FF", bases.ConvertBase(255, 10, 16)
Check "double", "10.11", bases.ConvertBase(2.75, 10, 2)
Check "currency", "A.4", bases.ConvertBase(CCur(10.25), 10, 16)
Check "byte", "C8", bases.ConvertBase(CByte(200), 10, 16)
Check "text", "FF", bases.ConvertBase("255", 10, 16)
Check "empty", "0", bases.ConvertBase(Empty, 10, 16)
Check "object", "FF", bases.ConvertBase(New Amount, 10, 16)
Check "back", 3725.0, bases.ConvertBase("01:02:05:", 60, 10)
Check "fraction", -26.5, bases.ConvertBase2Dec("-1A.8", 16)
Check "digit", "05:", bases.ConvertDigit(5, 60)
Check "digit back", CLng(9), bases.DeconvertDigit("B", 30)

' Optional arguments
Check "digits", "A.199", bases.ConvertBase(10.1, 10, 16, 3)
Check "left out", "0101", bases.ConvertBase(5, 10, 2, , , 4)
Check "unset variable", "0.1999999999999A", bases.ConvertBase(0.1, 10, 16, unset, unset, unset)

' Variables
tolerance = -0.5
digits = 3
Check "with variables", "2.C", bases.ConvertBase(2.75, 10, 16, digits, tolerance)
Check "tolerance", 0.5, tolerance
Check "digits stay", 3, digits
tolerance = -0.5
Check "zero", "0", bases.ConvertBase(0, 10, 16, digits, tolerance)
Check "tolerance of a zero", -0.5, tolerance

' Errors
On Error Resume Next
result = bases.ConvertBase(0.01, 10, 16, digits, tolerance)
CheckError "small number", 6, "Brindlex", "Overflow"
Check "tolerance of a failure", 0.5, tolerance
bases.ConvertBase "12abc", 10, 16
CheckError "no number", 13, "ConvertBase", "Not a decimal number"
bases.ConvertDigit 16, 16
CheckError "digit", 13, "ConvertDigit", "Invalid digit for base"
bases.ConvertBase Null, 10, 16
CheckError "null", 94, "Brindlex", "Invalid use of Null"
On Error GoTo 0

If failures = 0 Then WScript.Echo "all passed"
