// Parses scripts of PowerShell, and the blocks of that language in pages.
//
// usage: node parse_powershell.js GRAMMAR.wasm FILE...
'use strict';
const fs = require('fs');
const {Language, Parser} = require('web-tree-sitter');

// Every file as (name, code): a page has one for each of its blocks.
function scriptsOf(path) {
  const text = fs.readFileSync(path, 'utf8');
  if (!path.endsWith('.md')) return [[path, text]];
  return [...text.matchAll(/^```powershell\n(.*?)^```$/gms)].map((block) => [path, block[1]]);
}

async function main(grammar, ...paths) {
  await Parser.init();
  const parser = new Parser();
  parser.setLanguage(await Language.load(grammar));
  const isScript = (code) => !parser.parse(code).rootNode.hasError;
  // A parser that takes everything would prove nothing.
  if (isScript('function { $x = ') || isScript('if ($x) { Write-Host "a" ')) throw new Error('the parser finds no errors');
  const scripts = paths.flatMap(scriptsOf);
  const wrong = scripts.filter(([, code]) => !isScript(code));
  for (const [path, code] of wrong) console.error(`${path} is no PowerShell:\n${code}`);
  console.log(`PowerShell: ${scripts.length} scripts parsed, ${wrong.length} wrong`);
  const kinds = new Set(scripts.map(([path]) => path.endsWith('.md')));
  process.exit(wrong.length === 0 && kinds.size === 2 ? 0 : 1);
}

main(...process.argv.slice(2)).catch((error) => {
  console.error(error);
  process.exit(1);
});
