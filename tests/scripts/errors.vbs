' What a script learns of a failure: number, description and source, as error information carries them.

Const InvalidCharacter = &H80044001
Const InvalidEndOfLineType = &H80044019
Const SessionOpened = &H8004401A
Const NoEncodingFormat = &H8004401B

Dim component, format, bytes
Set component = CreateObject("Talvo.BinaryEncoding")
Set format = CreateObject("Talvo.Base64Encoding")
Set component.EncodingFormat = format
bytes = component.FromString("abc")

On Error Resume Next
format.EndOfLineType = 4
CheckError "a value that is refused", InvalidEndOfLineType, "Talvo.Base64Encoding.1", "Invalid end of line type." & vbCrLf
Check "which changes nothing", format.EndOfLineType, 1
CheckError "a success clears the error", 0, "", ""

component.Decode component.FromString("YW*Jj"), True
CheckError "a defect", InvalidCharacter, "Talvo.BinaryEncoding.1", "Invalid character in the data." & vbCrLf

component.Encode bytes, False
format.MaxLineLength = 60
CheckError "options are frozen", SessionOpened, "Talvo.Base64Encoding.1", "A session is already underway." & vbCrLf
component.Decode bytes, True
CheckError "the other direction", SessionOpened, "Talvo.BinaryEncoding.1", "A session is already underway." & vbCrLf
component.Reset
format.MaxLineLength = 60
CheckError "free again after Reset", 0, "", ""

Set component.EncodingFormat = Nothing
component.Encode bytes, True
CheckError "no format", NoEncodingFormat, "Talvo.BinaryEncoding.1", "No encoding format specified." & vbCrLf

Set format.SubProcessing = format
Check "a chain that would close on itself", Hex(Err.Number), "80070057"
Err.Clear
component.NoSuchMethod
Check "an unknown name", Err.Number <> 0, True
Err.Clear
component.Encode bytes
Check "a missing argument", Err.Number <> 0, True
Err.Clear
On Error Goto 0
EndOfChecks
