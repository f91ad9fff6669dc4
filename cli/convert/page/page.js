"use strict";
(() => {
  const byId = (id) => document.getElementById(id);
  const rowsAtOnce = 200;
  const collections = [...document.querySelectorAll("script.collection")].map((element) => ({
    name: element.dataset.name, element,
  }));
  const collator = new Intl.Collator(undefined, { numeric: true, sensitivity: "base" });
  const plainNumber = /^[+-]?\d+([.,]\d+)?$/;
  const toNumber = (text) => Number(text.replace(",", "."));
  let columns = [], rows = [], numeric = [], haystacks = null;
  let sorted = { column: -1, down: false };
  let shown = [], drawn = 0;

  // Values come in as text and leave as text: nothing of the data is ever read as markup.
  function open(collection) {
    const data = JSON.parse(collection.element.textContent);
    columns = data.columns;
    rows = data.rows;
    haystacks = null;
    numeric = columns.map((_, column) => isNumeric(column));
    sorted = { column: -1, down: false };
    drawHead();
    update();
  }

  function isNumeric(column) {
    let found = false;
    for (const row of rows) {
      if (row[column] === "") continue;
      if (!plainNumber.test(row[column])) return false;
      found = true;
    }
    return found;
  }

  function labelOf(column) {
    return columns[column] === "" ? "(column " + (column + 1) + ")" : columns[column];
  }

  function drawHead() {
    const cells = ["#", ...columns.keys()].map((_, index) => {
      const cell = document.createElement("th");
      cell.scope = "col";
      if (index > 0 && numeric[index - 1]) cell.className = "number";
      const button = document.createElement("button");
      button.type = "button";
      button.textContent = index === 0 ? "#" : labelOf(index - 1);
      button.addEventListener("click", () => sortBy(index - 1));
      cell.append(button);
      return cell;
    });
    byId("head").replaceChildren(...cells);
    const options = [new Option("In file order", "-1 "), new Option("Last first", "-1 down")];
    columns.forEach((_, column) => {
      options.push(new Option(labelOf(column) + " \u25B2", column + " "));
      options.push(new Option(labelOf(column) + " \u25BC", column + " down"));
    });
    byId("order").replaceChildren(...options);
  }

  function sortBy(column, down = sorted.column === column && !sorted.down) {
    sorted = { column, down };
    update();
  }

  function order(found) {
    const { column, down } = sorted;
    if (column < 0) return down ? found.reverse() : found;
    const keys = new Map(found.map((index) => {
      const text = rows[index][column];
      return [index, numeric[column] && text !== "" ? toNumber(text) : text];
    }));
    const compare = (left, right) => {
      const a = keys.get(left), b = keys.get(right);
      // Empty values come last, whichever way.
      if (a === "" || b === "") return (a === "") - (b === "") || left - right;
      const difference = numeric[column] ? a - b : collator.compare(a, b);
      return (down ? -difference : difference) || left - right;
    };
    return found.sort(compare);
  }

  function search(text) {
    const words = text.toLowerCase().split(/\s+/).filter((word) => word !== "");
    const found = [];
    if (words.length > 0 && haystacks === null) {
      haystacks = rows.map((row) => row.join("\n").toLowerCase());
    }
    for (let index = 0; index < rows.length; ++index) {
      if (words.every((word) => haystacks[index].includes(word))) found.push(index);
    }
    return found;
  }

  function update() {
    shown = order(search(byId("search").value));
    drawn = 0;
    byId("body").replaceChildren();
    [...byId("head").children].forEach((cell, index) => {
      if (index - 1 !== sorted.column) cell.removeAttribute("aria-sort");
      else cell.setAttribute("aria-sort", sorted.down ? "descending" : "ascending");
    });
    byId("order").value = sorted.column + " " + (sorted.down ? "down" : "");
    const whole = rows.length.toLocaleString() + (rows.length === 1 ? " record" : " records");
    byId("count").textContent =
      shown.length === rows.length ? whole : shown.length.toLocaleString() + " of " + whole;
    drawMore(rowsAtOnce);
    window.scrollTo(0, 0);
  }

  function drawMore(count) {
    const fragment = document.createDocumentFragment();
    const end = Math.min(drawn + count, shown.length);
    for (; drawn < end; ++drawn) fragment.append(drawRow(shown[drawn]));
    byId("body").append(fragment);
    byId("more").hidden = drawn === shown.length;
    byId("more").textContent = (shown.length - drawn).toLocaleString() + " more\u2026";
  }

  function drawRow(index) {
    const line = document.createElement("tr");
    const number = document.createElement("td");
    number.dataset.name = "#";
    number.textContent = index + 1;
    line.append(number);
    rows[index].forEach((value, column) => {
      const cell = document.createElement("td");
      cell.dataset.name = labelOf(column);
      if (numeric[column]) cell.className = "number";
      cell.textContent = value;
      line.append(cell);
    });
    return line;
  }

  let waiting = 0;
  byId("search").addEventListener("input", () => {
    clearTimeout(waiting);
    waiting = setTimeout(update, 120);
  });
  byId("order").addEventListener("change", (event) => {
    const [column, down] = event.target.value.split(" ");
    sortBy(Number(column), down === "down");
  });
  byId("collection").addEventListener("change", (event) => open(collections[event.target.value]));
  // What is not drawn yet comes when the end of the page is near, and all of it for a printer.
  new IntersectionObserver((entries) => {
    if (entries.some((entry) => entry.isIntersecting)) drawMore(rowsAtOnce);
  }, { rootMargin: "1500px" }).observe(byId("more"));
  window.addEventListener("beforeprint", () => drawMore(shown.length));

  if (collections.length > 1) {
    byId("collection").hidden = false;
    byId("collection").replaceChildren(
      ...collections.map((collection, index) => new Option(collection.name, index)));
  }
  if (collections.length > 0) open(collections[0]);
})();
