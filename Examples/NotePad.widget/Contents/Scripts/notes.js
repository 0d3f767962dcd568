var notes = [];

function addNote(template) {
  if (notes.length === 40) return notify("Note Pad", "There are forty notes already.");
  var text = template ? readFile(template) : "";
  notes.push(surface("note").open({ text: text, x: 40 + 12 * notes.length, y: 40 + 12 * notes.length }));
  saveSoon();
}

function removeNote(note) {
  notes.splice(notes.indexOf(note), 1);
  note.close();
  saveSoon();
}

function saveSoon() {
  schedule("save").enabled = true;
}

function saveNow() {
  schedule("save").enabled = false;
  store("notes", JSON.stringify(notes.map(function (n) { return { text: n.text, x: n.x, y: n.y }; })));
}

function loadNotes() {
  JSON.parse(stored("notes") || "[]").forEach(function (n) { notes.push(surface("note").open(n)); });
  applyPaper();
}

function applyPaper() {
  picture("pin").visible = setting("pin") !== "none";
  if (setting("pin") !== "none") picture("pin").source = "Images/Pins/" + setting("pin") + ".png";
  textArea("text").font = setting("font");
}

function gather() {
  notes.forEach(function (n, i) { n.moveTo(40 + 12 * i, 40 + 12 * i); });
}
