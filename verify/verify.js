// The checks of verify.cmd, and their report. Runs in the Windows Script Host alone.
//
//   cscript //nologo verify.js report REPORT
//   cscript //nologo verify.js probe          shows by its exit status 0 that it can run
//
// Exit status: 0 all checks passed, 1 some failed, 2 it could not run.

var shell = new ActiveXObject("WScript.Shell");
var fso = new ActiveXObject("Scripting.FileSystemObject");

var own = fso.GetParentFolderName(WScript.ScriptFullName);
var root = fso.GetParentFolderName(own);
var windows = fso.GetSpecialFolder(0).Path;
var work = fso.BuildPath(fso.GetSpecialFolder(2).Path, fso.GetTempName());

// Which programs of the system are of which bitness: System32 holds those of the system itself.
var is64 = fso.FolderExists(windows + "\\SysWOW64");
var systems = {
  x86: windows + (is64 ? "\\SysWOW64\\" : "\\System32\\"),
  x64: is64 ? windows + "\\System32\\" : null
};
var KILLED = 99;         // the status of killed_save.exe when it was killed as planned
var MOST_CALLS = 60;     // far more calls than a save makes
var SCRIPTS = [["books.vbs", "books: done"], ["books.js", "books: done"],
               ["collection_demo.vbs", "demo: done"], ["bases_demo.vbs", "demo: done"]];

var rows = [];           // {group, name, state: "pass" | "fail" | "skip", expected, actual}

function add(group, name, state, expected, actual) {
  rows.push({group: group, name: name, state: state, expected: expected || "", actual: actual || ""});
  WScript.Echo(state + "  " + group + ": " + name + (state === "fail" ? "  expected " + expected + ", got " + actual : ""));
}

function expect(group, name, expected, actual) {
  add(group, name, String(expected) === String(actual) ? "pass" : "fail", expected, actual);
}

// Wine's script host leaves the final NUL in the text.
function expanded(text) {
  return shell.ExpandEnvironmentStrings(text).replace(/\u0000/g, "");
}

function readFile(path) {
  if (!fso.FileExists(path) || fso.GetFile(path).Size === 0) return "";
  var stream = fso.OpenTextFile(path, 1);
  var text = stream.ReadAll();
  stream.Close();
  return text;
}

function writeFile(path, text) {
  var stream = fso.CreateTextFile(path, true);
  stream.Write(text);
  stream.Close();
}

// Bare words stay as they are, since cmd.exe does not know its own switches in quotes.
function quoted(text) {
  return /^[\w\/.:\\-]+$/.test(text) ? text : '"' + text + '"';
}

// Runs a command without a window. Returns {status, text}: its exit status, and what it printed.
function run(parts) {
  var output = work + "\\output.txt";
  var command = [];
  for (var i = 0; i < parts.length; ++i) command.push(quoted(parts[i]));
  var status = shell.Run('cmd /s /c "' + command.join(" ") + " >" + quoted(output) + ' 2>&1"', 0, true);
  return {status: status, text: readFile(output)};
}

function lines(text) {
  return text.replace(/\s+$/, "").split(/\r?\n/);
}

function lastLine(text) {
  var all = lines(text);
  return all[all.length - 1];
}

// ---- The checks -----------------------------------------------------------------------------------

// Returns whether the DLL can be loaded; without it nothing else has a meaning.
function checkInterface(bitness, folder) {
  var group = bitness + ", registration-free";
  var result = run([folder + "\\verify\\interface.exe", folder + "\\Brindlex.dll"]);
  var all = lines(result.text);
  for (var i = 0; i < all.length; ++i) {
    var fields = all[i].split("\t");
    if (fields[0] === "pass" || fields[0] === "fail") add(group, fields[1], fields[0], fields[2], fields[3]);
  }
  expect(group, "prints its last line", "done", lastLine(result.text));
  return all[0] === "pass\tloads the DLL";
}

function checkDigests(bitness, folder) {
  var result = run([folder + "\\verify\\digest.exe", "short"]);
  expect(bitness + ", numbers", "the digests of 900,000 conversions", "0",
         result.status + (result.status === 0 ? "" : " " + result.text));
}

// One save, killed before or after a call of the system; the file then holds the old text or the new one.
function killSave(folder, call, moment) {
  var path = work + "\\saved.txt";
  writeFile(path, "old");
  var result = run([folder + "\\verify\\killed_save.exe", path, String(call), moment, "new"]);
  return {status: result.status, text: readFile(path)};
}

function checkKilledSaves(bitness, folder) {
  var moments = ["before", "after"];
  var wrong = [], kills = 0, last = null;
  for (var m = 0; m < moments.length; ++m) {
    for (var call = 1; call <= MOST_CALLS; ++call) {
      last = killSave(folder, call, moments[m]);
      if (last.text !== "old" && last.text !== "new") wrong.push(moments[m] + " call " + call + ": " + last.text);
      if (last.status !== KILLED) break;
      ++kills;
    }
  }
  var group = bitness + ", files";
  expect(group, "a killed save leaves the old text or the new one", "", wrong.join("; "));
  expect(group, "saves were killed", "true", kills > 8);
  expect(group, "the save that nobody kills succeeds", "0 new", last.status + " " + last.text);
}

function hasKey(key) {
  return run([windows + "\\System32\\reg.exe", "query", key]).status === 0;
}

function checkScripts(bitness, folder) {
  var group = bitness + ", cscript";
  for (var i = 0; i < SCRIPTS.length; ++i) {
    var script = root + "\\examples\\" + SCRIPTS[i][0];
    var result = run([systems[bitness] + "cscript.exe", "//nologo", script]);
    var last = lastLine(result.text);
    expect(group, "examples\\" + SCRIPTS[i][0], SCRIPTS[i][1], last);
  }
}

// The scripts need the classes registered: for this user, as long as they run. Somebody's own registration is
// neither used nor touched.
function checkRegistered(bitness, folder) {
  var group = bitness + ", registered for the user";
  var key = "HKCU\\Software\\Classes\\Brindlex.clsCollection";
  if (hasKey(key)) {
    add(group, "not run: Brindlex is registered for this user already", "skip");
    return;
  }
  var register = systems[bitness] + "regsvr32.exe";
  expect(group, "regsvr32 registers", "0", run([register, "/s", "/n", "/i:user", folder + "\\Brindlex.dll"]).status);
  try {
    expect(group, "the keys are the user's", "true", hasKey(key));
    checkScripts(bitness, folder);
  } finally {
    expect(group, "regsvr32 unregisters", "0",
           run([register, "/s", "/u", "/n", "/i:user", folder + "\\Brindlex.dll"]).status);
  }
  expect(group, "no key is left", "false", hasKey(key));
}

function checkBitness(bitness) {
  var folder = root + "\\" + bitness;
  if (systems[bitness] === null) {
    add(bitness, "not run: this Windows has 32 bits", "skip");
    return;
  }
  if (!checkInterface(bitness, folder)) {
    add(bitness, "not run: everything else, since the DLL cannot be loaded", "skip");
    return;
  }
  checkDigests(bitness, folder);
  checkKilledSaves(bitness, folder);
  checkRegistered(bitness, folder);
}

// ---- The report -----------------------------------------------------------------------------------

function registryValue(name) {
  try {
    return String(shell.RegRead(name));
  } catch (error) {
    return "unknown";
  }
}

function aboutTheSystem() {
  var version = "HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\";
  return [
    ["Windows", lines(run([expanded("%ComSpec%"), "/c", "ver"]).text).join(" ")],
    ["Product", registryValue(version + "ProductName")],
    ["Build", registryValue(version + "CurrentBuildNumber") + "." + registryValue(version + "UBR")],
    ["Bitness of Windows", is64 ? "64" : "32"],
    ["Processor", expanded("%PROCESSOR_ARCHITECTURE%, %PROCESSOR_IDENTIFIER%")],
    ["ANSI code page", registryValue("HKLM\\SYSTEM\\CurrentControlSet\\Control\\Nls\\CodePage\\ACP")],
    ["Locale", registryValue("HKCU\\Control Panel\\International\\LocaleName")],
    ["Script host", WScript.Version],
    ["Time", new Date().toUTCString()]
  ];
}

function escaped(text) {
  return String(text).replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;").replace(/"/g, "&quot;")
    .replace(/[^\x20-\x7e]/g, function (unit) { return "&#" + unit.charCodeAt(0) + ";"; });
}

function count(state) {
  var sum = 0;
  for (var i = 0; i < rows.length; ++i) if (rows[i].state === state) ++sum;
  return sum;
}

function tableRow(cells, kind, style) {
  var text = "<tr" + (style ? ' class="' + style + '"' : "") + ">";
  for (var i = 0; i < cells.length; ++i) text += "<" + kind + ">" + escaped(cells[i]) + "</" + kind + ">";
  return text + "</tr>\r\n";
}

function report(system) {
  var title = "Brindlex: " + count("pass") + " passed, " + count("fail") + " failed, " + count("skip") + " not run";
  var text = "<!DOCTYPE html>\r\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" + escaped(title) +
    "</title>\r\n<style>body{font:15px sans-serif;margin:2em}table{border-collapse:collapse;margin:1em 0}" +
    "td,th{border:1px solid #bbb;padding:3px 8px;text-align:left;vertical-align:top}" +
    ".fail{background:#fdd}.skip{background:#eee}</style></head><body>\r\n<h1>" + escaped(title) +
    "</h1>\r\n<table>\r\n";
  for (var i = 0; i < system.length; ++i) text += tableRow(system[i], "td");
  text += "</table>\r\n<table>\r\n" + tableRow(["Result", "Where", "Check", "Expected", "Came"], "th");
  for (var r = 0; r < rows.length; ++r) {
    var row = rows[r];
    text += tableRow([row.state, row.group, row.name, row.expected, row.actual], "td", row.state);
  }
  return text + "</table>\r\n</body></html>\r\n";
}

function main() {
  if (WScript.Arguments.length === 1 && WScript.Arguments.Item(0) === "probe") return 0;
  if (WScript.Arguments.length !== 2) {
    WScript.Echo("usage: cscript //nologo verify.js report REPORT");
    return 2;
  }
  fso.CreateFolder(work);
  try {
    checkBitness("x64");
    checkBitness("x86");
    writeFile(WScript.Arguments.Item(1), report(aboutTheSystem()));
  } finally {
    fso.DeleteFolder(work, true);
  }
  WScript.Echo(count("pass") + " passed, " + count("fail") + " failed, " + count("skip") + " not run: " +
               WScript.Arguments.Item(1));
  return count("fail") === 0 ? 0 : 1;
}

WScript.Quit(main());
