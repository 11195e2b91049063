' Encoding and decoding, in one call and in pieces; the result of one call is an argument of the next.

Dim component, format, bytes, text, i, all
all = ""
For i = 0 To 255
  all = all & Chr(i)
Next

Set component = CreateObject("Talvo.BinaryEncoding")
Set format = CreateObject("Talvo.Base64Encoding")
Set component.EncodingFormat = format

bytes = component.FromString("abc")
Check "bytes are an array of bytes", VarType(bytes), vbArray + vbByte
Check "no bytes are Empty", VarType(component.FromString("")), vbEmpty
Check "bytes to text", component.ToString(bytes), "abc"
Check "all characters of the code page", component.ToString(component.FromString(all)), all

Check "there and back", component.ToString(component.Decode(component.Encode(component.FromString(all), True), True)), all

' What a piece does not complete is held back for the next; nothing at all ends the conversion.
text = component.ToString(component.Encode(component.FromString("a"), False))
text = text & component.ToString(component.Encode(component.FromString("bcde"), False))
text = text & component.ToString(component.Encode(Empty, True))
Check "in pieces", text, "YWJjZGU="

format.MaxLineLength = 8
format.EndOfLineType = 2
Check "in lines", component.ToString(component.Encode(component.FromString("abcdefghi"), True)), _
  "YWJjZGVm" & vbLf & "Z2hp"

' Numbers are taken as their bytes in memory, strings as UTF-16.
format.MaxLineLength = 0
Check "a long", component.ToString(component.Encode(&H64636261, True)), "YWJjZA=="
Check "a string", component.ToString(component.Encode("ab", True)), "YQBiAA=="
Check "Null", VarType(component.Encode(Null, True)), vbEmpty

' Base64 within Base64.
Set format.SubProcessing = CreateObject("Talvo.Base64Encoding")
text = component.ToString(component.Encode(component.FromString("abc"), True))
Check "a chain", text, "WVdKag=="
Check "a chain back", component.ToString(component.Decode(component.FromString(text), True)), "abc"
EndOfChecks
