' The classes are registered, their type library is not: objects can be created, late-bound calls cannot be served.
Dim name, object
On Error Resume Next
For Each name In Array("BinaryEncoding", "BinHexEncoding")
  Err.Clear
  Set object = CreateObject("Talvo." & name)
  Check name & " can be created", Hex(Err.Number), "0"
  object.EndOfLineType = 1
  Check name & " cannot be called", Hex(Err.Number), "8002801D"
Next
On Error Goto 0
EndOfChecks
