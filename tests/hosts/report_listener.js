// The same from JScript, whose objects are listeners as they are.
var failures = 0, reported = "";

function check(what, expected, actual) {
  if (expected !== actual) {
    failures++;
    WScript.Echo("FAILED " + what + ": expected " + expected + ", got " + actual);
  }
}

var environment = new ActiveXObject("Brindlex.clsEnvironment");
var files = new ActiveXObject("Brindlex.clsAppFiles");

function Log() {}
Log.prototype.OnReport = function (caption, text, style, number, description, line) {
  reported += caption + "/" + number + "/" + line + ";";
};

environment.ReportListener = new Log();
check("read", "", files.ReadTextFile("C:\\windows\\no such file", false));
check("reports", "KX Error/53/1;", reported);
environment.ReportListener = null;
check("nobody", null, environment.ReportListener);
if (failures === 0) WScript.Echo("all passed");
