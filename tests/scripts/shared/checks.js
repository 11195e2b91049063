// Put before every script of checks. Call endOfChecks() last: a script that dies of an error says nothing, and is known
// by the missing line.
var checksPassed = 0, checksFailed = 0;

function check(name, got, expected) {
  if (String(got) === String(expected)) {
    ++checksPassed;
    WScript.Echo("ok " + name);
  } else {
    ++checksFailed;
    WScript.Echo("not ok " + name + ": " + got + ", expected " + expected);
  }
}

// What an action throws, as "number: message", the number in hexadecimal.
function thrown(action) {
  try {
    action();
  } catch (e) {
    return hexadecimal(e.number) + ": " + e.message;
  }
  return "nothing";
}

function hexadecimal(number) {
  return (number < 0 ? number + 0x100000000 : number).toString(16);
}

function endOfChecks() {
  WScript.Echo("end of checks: " + checksPassed + " passed, " + checksFailed + " failed");
}
