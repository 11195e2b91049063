// Another implementation of Base64: what MSXML makes of bytes we read, and the reverse, byte for byte.
var component = new ActiveXObject("Talvo.BinaryEncoding");
var format = new ActiveXObject("Talvo.Base64Encoding");
component.EncodingFormat = format;
var element = new ActiveXObject("MSXML2.DOMDocument").createElement("data");
element.dataType = "bin.base64";

// Characters that the code page maps to one byte and back.
function textOf(length) {
  var text = "";
  for (var i = 0; i < length; ++i) text += String.fromCharCode((i * 37 + length) % 127 + 1);
  return text;
}

var lengths = [1, 2, 3, 4, 5, 47, 48, 49, 56, 57, 58, 1000, 4095, 4096, 100003];
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

// All 256 values, from a text of theirs.
var digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
var all = "";
for (var value = 0; value < 256; ++value) {
  all += digits.charAt(value >> 2) + digits.charAt((value & 3) << 4 | value >> 4) +
         digits.charAt((value & 15) << 2 | value >> 6) + digits.charAt(value & 63);
}
element.text = all;
format.EndOfLineType = 0;
check("every value thrice", component.ToString(component.Encode(element.nodeTypedValue, true)) === all, true);
endOfChecks();
