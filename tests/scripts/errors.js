// What a JScript program sees in its own way: failures are exceptions, no bytes are undefined, null is no object.
var component = new ActiveXObject("Talvo.BinaryEncoding");
var format = new ActiveXObject("Talvo.Base64Encoding");
component.EncodingFormat = format;

check("no more than an ending", component.Encode(null, true), undefined);
check("a defect", thrown(function () { component.Decode(component.FromString("SGVs*bG8="), true); }),
      "80044001: Invalid character in the data.\r\n");
check("a value that is refused", thrown(function () { format.EndOfLineType = -1; }),
      "80044019: Invalid end of line type.\r\n");
component.Encode(component.FromString("a"), false);
check("options are frozen", thrown(function () { format.MaxLineLength = 4; }),
      "8004401a: A session is already underway.\r\n");
component.Reset();
check("free after Reset", thrown(function () { format.MaxLineLength = 4; }), "nothing");
check("a chain that would close on itself",
      thrown(function () { format.SubProcessing = format; }).substr(0, 8), "80070057");
check("an unknown name is an error", thrown(function () { component.NoSuchMethod(); }) !== "nothing", true);
endOfChecks();
