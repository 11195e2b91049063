// Another implementation of Base64: what MSXML makes of bytes we read, and the reverse, byte for byte.
var component = new ActiveXObject("Talvo.BinaryEncoding");
component.EncodingFormat = new ActiveXObject("Talvo.Base64Encoding");
var element = new ActiveXObject("MSXML2.DOMDocument").createElement("data");
element.dataType = "bin.base64";

// Characters that the code page maps to one byte and back.
function textOf(length) {
  var text = "";
  for (var i = 0; i < length; ++i) text += String.fromCharCode((i * 37 + length) % 127 + 1);
  return text;
}

var lengths = [1, 2, 3, 48, 57, 58, 4096, 100003];
for (var i = 0; i < lengths.length; ++i) {
  var text = textOf(lengths[i]);
  var bytes = component.FromString(text);
  var ours = component.ToString(component.Encode(bytes, true));

  element.nodeTypedValue = bytes;
  var theirs = element.text;
  check(lengths[i] + " bytes, both texts", ours.replace(/\s/g, "") === theirs.replace(/\s/g, ""), true);
  check(lengths[i] + " bytes, theirs read by us",
        component.ToString(component.Decode(component.FromString(theirs), true)) === text, true);
  element.text = ours;
  check(lengths[i] + " bytes, ours read by them", component.ToString(element.nodeTypedValue) === text, true);
}
endOfChecks();
