// Every class by both of its names, and every property that a script can read and write.
var component = new ActiveXObject("Talvo.BinaryEncoding");

// Property, its value at first, what is put, what is read then.
var all = [["EndOfLineType", 1, 2, 2], ["ContinueOnInvalidData", false, true, true]];
var header = [["IncludeHeaderFooter", true, false, false], ["HeaderFilename", "", "notes \u00e4.txt", "notes \u00e4.txt"]];
var permissions = [["HeaderPermissions", 292, 493, 493]];
var information = [["HeaderFlags", 0, -32768, -32768], ["HeaderDataForkLength", 0, 1000000, 1000000],
                   ["HeaderResourceForkLength", 0, -1, -1]];
function lengths(low, taken, high) { return [["MaxLineLength", 0, low, taken], ["MaxLineLength", taken, 100, high]]; }

var classes = [["UUEncoding", all.concat(lengths(3, 5, 85), header, permissions)],
               ["XXEncoding", all.concat(lengths(3, 5, 85), header, permissions)],
               ["Base64Encoding", all.concat(lengths(3, 4, 100))],
               ["HexaEncoding", all.concat(lengths(1, 2, 100))],
               ["BinHexEncoding", all.concat(lengths(3, 5, 100), header, information)],
               ["QuotedPrintableEncoding", all.concat(lengths(3, 4, 100))]];
for (var i = 0; i < classes.length; ++i) {
  for (var version = 0; version < 2; ++version) {
    var name = classes[i][0] + (version ? ".1" : ""), rows = classes[i][1];
    var format = new ActiveXObject("Talvo." + name);
    for (var j = 0; j < rows.length; ++j) {
      var property = rows[j][0];
      check(name + " " + property, format[property], rows[j][1]);
      format[property] = rows[j][2];
      check(name + " " + property + " set", format[property], rows[j][3]);
    }
    format.SubProcessing = new ActiveXObject("Talvo.HexaEncoding");
    check(name + " sub-processing set", format.SubProcessing.MaxLineLength, 0);
  }
}

// Type and creator are four bytes: a byte array goes in and comes out.
format = new ActiveXObject("Talvo.BinHexEncoding");
check("type", component.ToString(format.HeaderType), "\0\0\0\0");
format.HeaderType = component.FromString("TEXT");
check("type set", component.ToString(format.HeaderType), "TEXT");
format.HeaderCreator = component.FromString("ttxt, and more");
check("creator set", component.ToString(format.HeaderCreator), "ttxt");

for (version = 0; version < 2; ++version) {
  component = new ActiveXObject("Talvo.BinaryEncoding" + (version ? ".1" : ""));
  check("begins with UU", component.EncodingFormat.HeaderPermissions, 292);
  component.EncodingFormat = new ActiveXObject("Talvo.Base64Encoding");
  component.EncodingFormat.MaxLineLength = 60;
  check("holds another", component.EncodingFormat.MaxLineLength, 60);
}
endOfChecks();
