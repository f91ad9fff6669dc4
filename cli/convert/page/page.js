"use strict";
(() => {
  const byId = (id) => document.getElementById(id);
  const rowsAtOnce = 200;
  const collections = [...document.querySelectorAll("script.collection")].map((element) => ({
    name: element.dataset.name, element,
  }));
  const collator = new Intl.Collator(undefined, { numeric: true, sensitivity: "base" });
  const plainNumber = /^[+-]?\d+([.,]\d+)?$/;
  const toNumber = (text) => plainNumber.test(text) ? Number(text.replace(",", ".")) : NaN;
  const title = document.title;
  let columns = [], rows = [], keyOf = [], haystacks = null;
  let sorted = { column: -1, down: false };
  // What the table shows, and the part of it that is drawn.
  let shown = [], first = 0, drawn = 0;

  // Controls, and the marks that change the direction of writing, as every command shows them. Line
  // breaks and tabs stay.
  const acting =
    /[\x00-\x08\x0B-\x1F\x7F-\x9F\u061C\u200E\u200F\u2028-\u202E\u2066-\u2069]/g;
  function display(text) {
    return text.replaceAll("\r\n", "\n").replace(acting, (character) => {
      const digits = character.charCodeAt(0).toString(16).toUpperCase();
      return digits.length > 2 ? "\\u" + digits.padStart(4, "0") : "\\x" + digits.padStart(2, "0");
    });
  }

  // The order of day, month and year that the user's system writes them in.
  const userOrder = new Intl.DateTimeFormat().formatToParts(new Date())
    .map((part) => part.type).filter((type) => ["day", "month", "year"].includes(type));
  const datePattern =
    /^(\d{1,4})([.\/-])(\d{1,2})\2(\d{1,4})(?:,?[ T]+(\d{1,2}):(\d{2})(?::(\d{2}))?(?: ?([AP])M)?)?$/i;

  // The time of a date in the user's order, or with the year first if that has four digits.
  function toTime(text) {
    const found = datePattern.exec(text);
    if (found === null) return NaN;
    const order = found[1].length > 2 ? ["year", "month", "day"] : userOrder;
    const part = {};
    [found[1], found[3], found[4]].forEach((digits, index) => { part[order[index]] = digits; });
    // A year of two digits, as the component reads it.
    const { day, month } = part;
    const year = Number(part.year) + (part.year.length > 2 ? 0 : part.year < 30 ? 2000 : 1900);
    const date = new Date(0);
    date.setUTCFullYear(year, month - 1, day);
    if (date.getUTCDate() !== Number(day) || date.getUTCMonth() !== month - 1) return NaN;
    const half = (found[8] ?? "").toUpperCase();
    const hour = half === "" ? Number(found[5] ?? 0) : found[5] % 12 + (half === "P" ? 12 : 0);
    return date.getTime() + ((hour * 60 + Number(found[6] ?? 0)) * 60 + Number(found[7] ?? 0)) * 1000;
  }

  // Values come in as text and leave as text: nothing of the data is ever read as markup.
  function open(collection) {
    const data = JSON.parse(collection.element.textContent);
    columns = data.columns;
    rows = data.rows;
    haystacks = null;
    keyOf = columns.map((_, column) => [toNumber, toTime].find((parse) => parsesAll(column, parse)));
    byId("table").setAttribute(
      "aria-label", title + (collection.name === "" ? "" : ", " + display(collection.name)));
    sorted = { column: -1, down: false };
    drawHead();
    update();
  }

  // Whether the values of a column, as far as there are any, all parse.
  function parsesAll(column, parse) {
    let found = false;
    for (const row of rows) {
      if (row[column] === "") continue;
      if (Number.isNaN(parse(row[column]))) return false;
      found = true;
    }
    return found;
  }

  const isNumeric = (column) => keyOf[column] === toNumber;

  function labelOf(column) {
    return columns[column] === "" ? "(column " + (column + 1) + ")" : display(columns[column]);
  }

  function drawHead() {
    const cells = ["#", ...columns.keys()].map((_, index) => {
      const cell = document.createElement("th");
      cell.scope = "col";
      if (index > 0 && isNumeric(index - 1)) cell.className = "number";
      const button = document.createElement("button");
      button.type = "button";
      button.dir = "auto";
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
      return [index, keyOf[column] && text !== "" ? keyOf[column](text) : text];
    }));
    const compare = (left, right) => {
      const a = keys.get(left), b = keys.get(right);
      // Empty values come last, whichever way.
      if (a === "" || b === "") return (a === "") - (b === "") || left - right;
      const difference = keyOf[column] ? a - b : collator.compare(a, b);
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
    first = drawn = 0;
    byId("body").replaceChildren();
    byId("none").hidden = shown.length > 0 || rows.length === 0;
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

  function rowsOf(begin, end) {
    const fragment = document.createDocumentFragment();
    for (let at = begin; at < end; ++at) fragment.append(drawRow(shown[at]));
    return fragment;
  }

  function drawMore(count) {
    const begin = drawn;
    drawn = Math.min(drawn + count, shown.length);
    byId("body").append(rowsOf(begin, drawn));
    showRest();
  }

  function drawBefore(count) {
    const end = first;
    first = Math.max(first - count, 0);
    const page = document.documentElement;
    const height = page.scrollHeight;
    byId("body").prepend(rowsOf(first, end));
    showRest();
    // What is in sight stays there.
    window.scrollBy(0, page.scrollHeight - height);
  }

  function showRest() {
    for (const [id, left] of [["before", first], ["more", shown.length - drawn]]) {
      byId(id).hidden = left === 0;
      byId(id).textContent = left.toLocaleString() + " more\u2026";
    }
    byId("jump").textContent = first > 0 ? "Go to the start" : "Go to the end";
    byId("jump").hidden = shown.length <= rowsAtOnce / 10;
  }

  // Draws the last records alone, however many there are; those before come when one scrolls up.
  function jump() {
    if (first > 0) return update();
    first = drawn = Math.max(shown.length - rowsAtOnce, 0);
    byId("body").replaceChildren();
    drawMore(rowsAtOnce);
    window.scrollTo(0, document.documentElement.scrollHeight);
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
      if (isNumeric(column)) cell.className = "number";
      cell.dir = "auto";
      cell.textContent = display(value);
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
  byId("jump").addEventListener("click", jump);
  // What is not drawn yet comes when the end of the page is near, and all of it for a printer.
  for (const [id, draw] of [["more", drawMore], ["before", drawBefore]]) {
    new IntersectionObserver((entries) => {
      if (entries.some((entry) => entry.isIntersecting)) draw(rowsAtOnce);
    }, { rootMargin: "1500px" }).observe(byId(id));
  }
  window.addEventListener("beforeprint", () => {
    drawBefore(first);
    drawMore(shown.length);
  });
  // The names stay in sight below what is above them.
  new ResizeObserver(() => {
    document.documentElement.style.setProperty("--bar", byId("bar").offsetHeight + "px");
  }).observe(byId("bar"));

  if (collections.length > 1) {
    byId("collection").hidden = false;
    byId("collection").replaceChildren(
      ...collections.map((collection, index) => new Option(display(collection.name), index)));
  }
  if (collections.length > 0) open(collections[0]);
})();
