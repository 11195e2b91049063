// The objects as a JScript program meets them, and failures as exceptions.
var component = new ActiveXObject("Talvo.BinaryEncoding");
var format = new ActiveXObject("Talvo.Base64Encoding");
component.EncodingFormat = format;
function encode(text) { return component.ToString(component.Encode(component.FromString(text), true)); }
function decode(text) { return component.ToString(component.Decode(component.FromString(text), true)); }

check("encoded", encode("Hello, world"), "SGVsbG8sIHdvcmxk");
check("there and back", decode(encode("Hello, world")), "Hello, world");
check("no more than an ending", component.Encode(null, true), undefined);
format.MaxLineLength = 8;
format.EndOfLineType = 3;
check("in lines", encode("Hello, world"), "SGVsbG8s\rIHdvcmxk");
format.ContinueOnInvalidData = true;
check("tolerant", format.ContinueOnInvalidData + " " + decode("SGVs*bG8="), "true Hello");
format.ContinueOnInvalidData = false;
format.SubProcessing = new ActiveXObject("Talvo.Base64Encoding");
check("a chain back", decode(encode("abc")), "abc");
format = new ActiveXObject("Talvo.Base64Encoding");  // JScript cannot set a property to no object
component.EncodingFormat = format;
check("no chain", format.SubProcessing, null);

check("a defect", thrown(function () { decode("SGVs*bG8="); }), "80044001: Invalid character in the data.\r\n");
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
