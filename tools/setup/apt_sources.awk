# Reads apt source files of both forms and prints one line "URI<tab>KEYRING" for each entry that
# offers the suite given with -v suite=NAME in its component main. KEYRING is empty if none is named.

function offer(uris, suites, components, keyring) {
  if (index(" " suites " ", " " suite " ") && index(" " components " ", " main ")) {
    split(uris, uri, " ")
    # Only a file can be handed on; a key written out in the entry cannot.
    print uri[1] "\t" (keyring ~ /^\// ? keyring : "")
  }
}

function end_stanza() {
  if (("types" in field) && index(" " field["types"] " ", " deb ") && field["enabled"] !~ /^(no|false|0)$/)
    offer(field["uris"], field["suites"], field["components"], field["signed-by"])
  split("", field)
  name = ""
}

# deb [arch=amd64 signed-by=/keyring.gpg] URI SUITE COMPONENT...
function one_line_entry(line,    options, keyring, word, count, i, components) {
  options = ""
  if (match(line, /\[[^]]*\]/)) {
    options = substr(line, RSTART + 1, RLENGTH - 2)
    line = substr(line, 1, RSTART - 1) " " substr(line, RSTART + RLENGTH)
  }
  keyring = ""
  if (match(options, /signed-by=[^ ]+/)) keyring = substr(options, RSTART + 10, RLENGTH - 10)
  sub(/#.*/, "", line)
  count = split(line, word, " ")
  components = ""
  for (i = 4; i <= count; i++) components = components " " word[i]
  offer(word[2], word[3], components, keyring)
}

FNR == 1 { end_stanza() }
{ sub(/\r$/, "") }
/^[ \t]*#/ { next }
/^deb[ \t]/ { gsub(/\t/, " "); one_line_entry($0); next }
/^[ \t]*$/ { end_stanza(); next }
/^[ \t]/ { if (name != "") field[name] = field[name] " " $0; next }
/^[A-Za-z-]+:/ {
  name = tolower(substr($0, 1, index($0, ":") - 1))
  value = substr($0, index($0, ":") + 1)
  gsub(/^[ \t]+|[ \t]+$/, "", value)
  field[name] = value
}
END { end_stanza() }
