' One number in all nine bases, there and back, and one error.
'
'   cscript //nologo bases_demo.vbs

Option Explicit

Dim bases, base, number, text, back

Set bases = CreateObject("Brindlex.clsBases")
number = 3725.5

WScript.Echo "Base      " & number & " is written"
For Each base In Array(2, 8, 10, 16, 26, 30, 31, 32, 60)
  ' A conversion to base 10 by ConvertBase gives a number; this one gives text in every base.
  text = bases.ConvertDec2Base(number, base, 3)
  back = bases.ConvertBase2Dec(text, base)
  WScript.Echo Right("    " & base, 4) & "      " & text
  If Abs(number - back) > 0.001 Then
    WScript.Echo "FAILED: it reads as " & back
    WScript.Quit 1
  End If
Next

On Error Resume Next
bases.ConvertBase "1.2.3", 16, 10
WScript.Echo "An error is raised to the script: " & Err.Number & ", " & Err.Source & ", " & Err.Description
If Err.Description <> "More than one decimal point" Then WScript.Quit 1
On Error GoTo 0

WScript.Echo "demo: done"
