// The search field of every page: the sections that contain every word, best first. The index is in
// search_index.js as `sections`: [page, anchor, page title, section title, text].
"use strict";

(function () {
  const field = document.getElementById("search");
  const list = document.getElementById("found");
  const LIMIT = 30;

  // How well a section answers: matches in its title count more than those in its text. 0 is no answer.
  function score(section, words) {
    const title = section[3].toLowerCase();
    const text = section[4].toLowerCase();
    let sum = 0;
    for (const word of words) {
      if (title === word) sum += 20;
      else if (title.includes(word)) sum += 10;
      else if (text.includes(word)) sum += 1;
      else return 0;
    }
    return sum;
  }

  // The text around the first word, for the reader to judge by.
  function excerpt(text, word) {
    const at = Math.max(0, text.toLowerCase().indexOf(word) - 50);
    return (at > 0 ? "… " : "") + text.slice(at, at + 160) + (at + 160 < text.length ? " …" : "");
  }

  function answer(section, word) {
    const item = document.createElement("li");
    const link = document.createElement("a");
    link.href = section[0] + "#" + section[1];
    link.textContent = section[3];
    const note = document.createElement("small");
    note.textContent = section[2] + ": " + excerpt(section[4], word);
    item.append(link, note);
    return item;
  }

  function search() {
    const words = field.value.toLowerCase().split(/\s+/).filter(Boolean);
    if (words.length === 0) return list.replaceChildren();
    const found = sections.map((section) => [score(section, words), section]).filter(([points]) => points > 0);
    found.sort((a, b) => b[0] - a[0]);
    const items = found.slice(0, LIMIT).map(([, section]) => answer(section, words[0]));
    if (items.length === 0) {
      const nothing = document.createElement("li");
      nothing.textContent = "No section contains all these words.";
      items.push(nothing);
    }
    list.replaceChildren(...items);
  }

  field.addEventListener("input", search);
  document.addEventListener("keydown", (event) => {
    if (event.key === "/" && document.activeElement !== field) {
      event.preventDefault();
      field.focus();
    } else if (event.key === "Escape") {
      field.value = "";
      search();
    }
  });
  list.addEventListener("click", (event) => {
    if (event.target.closest("a")) list.replaceChildren();
  });
  document.getElementById("menu").addEventListener("click", () => document.body.classList.toggle("menu"));
})();
