// The classes are registered, their type library is not: a late-bound call fails with the platform's own error.
var component = new ActiveXObject("Talvo.BinaryEncoding");
check("a method", thrown(function () { component.Reset(); }).substr(0, 8), "8002801d");
check("a property", thrown(function () { return component.EncodingFormat; }).substr(0, 8), "8002801d");
endOfChecks();
