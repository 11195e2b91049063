' Every class by both of its names, and every property that a script can read and write.

' class, with a header, with file information, values of MaxLineLength put and read back
Dim rows, row, version, format
rows = Array( _
  Array("UUEncoding", True, False, "3 5 100 85"), _
  Array("XXEncoding", True, False, "3 5 100 85"), _
  Array("Base64Encoding", False, False, "3 4 100 100"), _
  Array("HexaEncoding", False, False, "1 2 100 100"), _
  Array("BinHexEncoding", True, True, "3 5 100 100"), _
  Array("QuotedPrintableEncoding", False, False, "3 4 100 100"))

For Each row In rows
  For Each version In Array("", ".1")
    Set format = CreateObject("Talvo." & row(0) & version)
    CommonProperties row(0) & version, format, Split(row(3), " ")
    If row(1) Then HeaderProperties row(0) & version, format
    If row(1) And Not row(2) Then Permissions row(0) & version, format
    If row(2) Then FileInformation row(0) & version, format
  Next
Next

For Each version In Array("", ".1")
  HeldFormat "BinaryEncoding" & version, CreateObject("Talvo.BinaryEncoding" & version)
Next
EndOfChecks

Sub CommonProperties(name, format, lengths)
  Check name & " line break", format.EndOfLineType, 1
  format.EndOfLineType = 2
  Check name & " line break set", format.EndOfLineType, 2
  Check name & " line length", format.MaxLineLength, 0
  format.MaxLineLength = CLng(lengths(0))
  Check name & " line length raised", format.MaxLineLength, lengths(1)
  format.MaxLineLength = CLng(lengths(2))
  Check name & " line length set", format.MaxLineLength, lengths(3)
  Check name & " tolerant", format.ContinueOnInvalidData, False
  format.ContinueOnInvalidData = True
  Check name & " tolerant set", format.ContinueOnInvalidData, True
  Check name & " sub-processing", format.SubProcessing Is Nothing, True
  Set format.SubProcessing = CreateObject("Talvo.HexaEncoding")
  Check name & " sub-processing set", format.SubProcessing.MaxLineLength, 0
  Set format.SubProcessing = Nothing
  Check name & " sub-processing removed", format.SubProcessing Is Nothing, True
End Sub

Sub HeaderProperties(name, format)
  Check name & " header", format.IncludeHeaderFooter, True
  format.IncludeHeaderFooter = False
  Check name & " header off", format.IncludeHeaderFooter, False
  Check name & " file name", format.HeaderFilename, ""
  format.HeaderFilename = "notes " & Chr(228) & ".txt"
  Check name & " file name set", format.HeaderFilename, "notes " & Chr(228) & ".txt"
End Sub

Sub Permissions(name, format)
  Check name & " permissions", format.HeaderPermissions, 292
  format.HeaderPermissions = 493
  Check name & " permissions set", format.HeaderPermissions, 493
End Sub

' Type and creator are four bytes: a byte array goes in and comes out.
Sub FileInformation(name, format)
  Dim component
  Set component = CreateObject("Talvo.BinaryEncoding")
  Check name & " type", component.ToString(format.HeaderType), String(4, Chr(0))
  format.HeaderType = component.FromString("TEXT")
  Check name & " type set", component.ToString(format.HeaderType), "TEXT"
  format.HeaderCreator = component.FromString("ttxt, and more")
  Check name & " creator set", component.ToString(format.HeaderCreator), "ttxt"
  format.HeaderFlags = -32768
  Check name & " flags set", format.HeaderFlags, -32768
  format.HeaderDataForkLength = 1000000
  Check name & " data fork set", format.HeaderDataForkLength, 1000000
  format.HeaderResourceForkLength = -1
  Check name & " resource fork set", format.HeaderResourceForkLength, -1
End Sub

Sub HeldFormat(name, component)
  Check name & " begins with UU", component.EncodingFormat.HeaderPermissions, 292
  Set component.EncodingFormat = CreateObject("Talvo.Base64Encoding")
  component.EncodingFormat.MaxLineLength = 60
  Check name & " holds another", component.EncodingFormat.MaxLineLength, 60
  Set component.EncodingFormat = Nothing
  Check name & " holds none", component.EncodingFormat Is Nothing, True
End Sub
