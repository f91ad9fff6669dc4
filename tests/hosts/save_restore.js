// The component in JScript: records and creators are objects of the script.

var failures = 0;

function check(what, expected, actual) {
  if (expected !== actual) {
    failures++;
    WScript.Echo("FAILED " + what + ": expected " + expected + ", got " + actual);
  }
}

function expectBox(caption, text) {
  WScript.Echo("expects box: " + caption + "|" + text.replace(/\r\n/g, "\\r\\n"));
}

function expectTagged(caption, description, number, line, more) {
  expectBox(caption, caption + "\r\n\r\n" + description + " Number: " + number + " Line: " + line +
            (more || ""));
}

function newCollection() {
  return new ActiveXObject("Brindlex.clsCollection");
}

function namesOf(list) {
  var names = newCollection();
  for (var i = 0; i < list.length; i++) names.Add(list[i], list[i]);
  return names;
}

function Item(title, price, used) {
  this.Title = title || "";
  this.Price = price || 0;
  this.Used = used || false;
}
Item.prototype.GetMemberNames = function () {
  return namesOf(["Title", "Price", "Used"]);
};

var createItem = {
  GetNewObject: function () {
    return new Item();
  }
};

var sr = new ActiveXObject("Brindlex.clsCollectionSaveRestore");
var items = newCollection();
items.Add(new Item("Alpha", 1.5, true), "first");
items.Add(new Item("", -0.25, false));
items.Add(new Item("Gamma ray", 1000000, true));

// Round trip; a JScript property has no type of its own, so its values come back as text
var text = sr.AsDelimitedFromCollection(items);
check("header and first record", "Title|Price|Used|;Alpha|1.5|True|;",
      text.substring(0, 34).replace(/\u00A5/g, "|").replace(/\u0152/g, ";"));
var restored = sr.AsDelimitedToCollection(text, createItem, undefined, undefined, "Title");
check("count", 3, restored.Count);
check("price", "-0.25", restored.Item(2).Price);
check("default member", "Alpha", restored(1).Title);
check("key in another case", "1000000", restored("GAMMA RAY").Price);

var seen = [];
for (var enumerator = new Enumerator(restored); !enumerator.atEnd(); enumerator.moveNext()) {
  seen.push(enumerator.item().Title);
}
check("Enumerator", "Alpha,,Gamma ray", seen.join(","));

// A header that spells the names in another letter case still finds the properties, although
// JScript itself tells them apart
restored = sr.AsDelimitedToCollection("TITLE|price|;Beta|7|;", createItem, ";", "|");
check("names in another case", "Beta", restored(1).Title);
check("names in another case", "7", restored(1).Price);

// Several collections in one text
sr.MultiDataString = sr.MultiDataColString(items, "All");
sr.multidatastring = sr.MULTIDATACOLSTRING(namesOfOne(items(3)), "One");
check("all", 3, sr.WorkingCol("all", createItem).Count);
check("one", "Gamma ray", sr.WorkingCol("ONE", createItem, "Title")("gamma ray").Title);
check("unknown name", null, sr.WorkingCol("none", createItem));
check("stored", true, sr.StoreCollection(items, "More"));
check("stored under its name", 3, sr.WorkingCol("MORE", createItem).Count);
check("names", 3, sr.CollectionNames().Count);
check("removed", true, sr.RemoveCollection("more"));
check("removed before", false, sr.RemoveCollection("more"));

function namesOfOne(entry) {
  var one = newCollection();
  one.Add(entry);
  return one;
}

// Positions
items.Add(new Item("Zero"), "zero", 1);
items.Add(new Item("Last"), undefined, undefined, "zero");
check("before", "Zero", items(1).Title);
check("after", "Last", items(2).Title);
items.Remove("zero");
check("removed", "Last", items(1).Title);
check("count after removal", 4, items.Count);

// Errors, as the script sees them
function errorOf(action) {
  try {
    action();
  } catch (error) {
    return error.number & 0xFFFF;
  }
  return 0;
}
check("key in use", 457, errorOf(function () { items.Add(1, "FIRST"); }));
check("absent key", 5, errorOf(function () { items.Item("absent"); }));
check("out of range", 9, errorOf(function () { items.Item(99); }));

// Reports
var lacking = newCollection();
lacking.Add({GetMemberNames: function () { return namesOf(["Missing"]); }});
expectTagged("Error DFC", "Object doesn't support this property or method", 438, 5,
             " Member Name: Missing");
check("a member that is not there", "", sr.AsDelimitedFromCollection(lacking));

expectTagged("Error ADTC", "Object doesn't support this property or method", 438, 3);
check("a creator that is none", null, sr.AsDelimitedToCollection(text, {}));

var numbers = newCollection();
numbers.Add(1);
expectTagged("Error DFC", "Object required", 424, 3, " Member Name: ");
check("entries that are no objects", "", sr.AsDelimitedFromCollection(numbers));

if (failures == 0) WScript.Echo("all passed");
