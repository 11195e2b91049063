' Put before every script of checks. Call EndOfChecks last: a script that dies of an error says nothing, and is known by
' the missing line.
Option Explicit
Dim checksPassed, checksFailed
checksPassed = 0
checksFailed = 0

Sub Check(name, got, expected)
  If CStr(got) = CStr(expected) Then
    checksPassed = checksPassed + 1
    WScript.Echo "ok " & name
  Else
    checksFailed = checksFailed + 1
    WScript.Echo "not ok " & name & ": " & got & ", expected " & expected
  End If
End Sub

' The error of the statement before, under On Error Resume Next; clears it.
Sub CheckError(name, number, source, description)
  Check name, Hex(Err.Number) & " | " & Err.Source & " | " & Err.Description, _
              Hex(number) & " | " & source & " | " & description
  Err.Clear
End Sub

Sub EndOfChecks
  WScript.Echo "end of checks: " & checksPassed & " passed, " & checksFailed & " failed"
End Sub
