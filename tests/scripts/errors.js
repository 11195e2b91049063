// What a JScript program sees in its own way: failures are exceptions, no bytes are undefined.
var component = new ActiveXObject("Talvo.BinaryEncoding");
component.EncodingFormat = new ActiveXObject("Talvo.Base64Encoding");

check("no more than an ending", component.Encode(null, true), undefined);
check("a defect", thrown(function () { component.Decode(component.FromString("SGVs*bG8="), true); }),
      "80044001: Invalid character in the data.\r\n");
check("an unknown name is an error", thrown(function () { component.NoSuchMethod(); }) !== "nothing", true);
endOfChecks();
