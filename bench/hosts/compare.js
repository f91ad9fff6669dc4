// The component against the best that JScript does by itself: 100,000 records of its own saved as
// text and restored. Prints the seconds of each way.

var recordCount = 100000;
var fieldEnd = String.fromCharCode(165);
var recordEnd = String.fromCharCode(338);

var names = new ActiveXObject("Brindlex.clsCollection");
var listed = ["Title", "Author", "Year", "Price", "Remarks"];
for (var n = 0; n < listed.length; n++) names.Add(listed[n], listed[n]);

function getMemberNames() { return names; }
function Record(title, author, year, price, remarks) {
  this.Title = title;
  this.Author = author;
  this.Year = year;
  this.Price = price;
  this.Remarks = remarks;
  this.GetMemberNames = getMemberNames;
}
function getNewObject() { return new Record("", "", "", "", ""); }
var creator = { GetNewObject: getNewObject };

var records = new ActiveXObject("Brindlex.clsCollection");
var list = [];
for (var i = 1; i <= recordCount; i++) {
  var made = new Record("Title " + i * 7919, "An author", "2026", "12.50", "remark " + i * 7919);
  records.Add(made);
  list.push(made);
}

function saveByScript() {
  var parts = ["Title", "Author", "Year", "Price", "Remarks", recordEnd];
  for (var i = 0; i < list.length; i++) {
    var record = list[i];
    parts.push(record.Title, record.Author, record.Year, record.Price, record.Remarks, recordEnd);
  }
  return parts.join(fieldEnd).split(recordEnd + fieldEnd).join(recordEnd);
}

function restoreByScript(text) {
  var lines = text.split(recordEnd);
  var restored = [];
  for (var line = 1; line < lines.length - 1; line++) {
    var fields = lines[line].split(fieldEnd);
    restored.push(new Record(fields[0], fields[1], fields[2], fields[3], fields[4]));
  }
  return restored.length;
}

var seconds = [];
// The quickest of the runs, which other programs on the machine have disturbed least.
function keep(way, start) {
  var took = (new Date().getTime() - start) / 1000;
  if (seconds[way] === undefined || took < seconds[way]) seconds[way] = took;
}

// Nothing that was made earlier is held while objects are made: memory that is freed meanwhile
// would serve one way and not the other.
var store = new ActiveXObject("Brindlex.clsCollectionSaveRestore");
var own, text, restored;
for (var run = 0; run < 3; run++) {
  own = text = restored = null;
  CollectGarbage();
  var start = new Date().getTime();
  own = saveByScript();
  keep(0, start);
  start = new Date().getTime();
  text = store.AsDelimitedFromCollection(records);
  keep(1, start);
  if (own !== text) {
    WScript.Echo("the two texts differ");
    WScript.Quit(1);
  }
  start = new Date().getTime();
  var count = restoreByScript(text);
  keep(2, start);
  CollectGarbage();
  start = new Date().getTime();
  restored = store.AsDelimitedToCollection(text, creator);
  keep(3, start);
  if (restored.Count !== count || count !== recordCount) {
    WScript.Echo("the restored counts differ");
    WScript.Quit(1);
  }
}

WScript.Echo("jscript save " + seconds[0] + " " + seconds[1]);
WScript.Echo("jscript restore " + seconds[2] + " " + seconds[3]);
