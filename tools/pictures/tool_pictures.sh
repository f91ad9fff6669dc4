#!/usr/bin/env bash
# Takes the two pictures of the program that the guide shows, from what it really prints: a table as an
# SVG, and a page of to-html in headless Chromium. Needs ./dev setup and a release build.
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/../common.sh"
readonly program=$root/build/release/brindlex
[[ -x $program ]] || fail "no ${program#"$root"/}: cmake --build --preset release first"
command -v chromium >/dev/null || fail "'chromium' is missing: ./dev setup installs it"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
python3 - "$scratch/books.txt" <<'END'
import sys
books = [("Moby-Dick; or, The Whale", "Herman Melville", 1851, "12.50", True, "first printed in London as “The Whale”"),
         ("Middlemarch", "George Eliot", 1871, "9.90", True, "in eight parts"),
         ("Der grüne Heinrich", "Gottfried Keller", 1855, "14.00", False, "second version 1880"),
         ("Madame Bovary", "Gustave Flaubert", 1856, "7.25", True, ""),
         ("Great Expectations", "Charles Dickens", 1861, "8.40", True, "serialised weekly"),
         ("Niels Lyhne", "J. P. Jacobsen", 1880, "11.30", False, ""),
         ("Effi Briest", "Theodor Fontane", 1895, "6.80", True, "in six instalments"),
         ("Gösta Berlings saga", "Selma Lagerlöf", 1891, "10.00", False, "a prize novel"),
         ("Doña Perfecta", "Benito Pérez Galdós", 1876, "5.95", True, "")]
names = ("Title", "Author", "Year", "Price", "InStock", "Note")
text = "".join("".join(str(value) + "¥" for value in row) + "Œ" for row in (names, *books))
open(sys.argv[1], "w", encoding="windows-1252", newline="").write(text)
END

say "docs/images/tool-table.svg"
(cd "$scratch" && "$program" view --width 100 books.txt) |
  python3 "$root/tools/pictures/terminal_svg.py" "brindlex view books.txt" >"$root/docs/images/tool-table.svg"

say "docs/images/tool-page.png"
(cd "$scratch" && "$program" to-html books.txt -o books.html --title "Our books")
chromium --headless=new --no-sandbox --disable-gpu --hide-scrollbars --window-size=1000,520 \
  --user-data-dir="$scratch/profile" --screenshot="$root/docs/images/tool-page.png" \
  "file://$scratch/books.html" >/dev/null 2>&1
