// DuckDB on a file of comma-separated values, for tool_bench.py: its rows as JSON, by one thread as the
// programs beside it, all values as text.
//
// usage: node duckdb_csv.js FOLDER CSV JSON, where FOLDER has the node_modules with @duckdb/node-api

const [, , folder, table, lines] = process.argv;
const { DuckDBInstance } = require(`${folder}/node_modules/@duckdb/node-api`);

const quoted = (path) => `'${path.replaceAll("'", "''")}'`;

async function main() {
  const instance = await DuckDBInstance.create(':memory:', { threads: '1' });
  const connection = await instance.connect();
  await connection.run(`COPY (SELECT * FROM read_csv(${quoted(table)}, all_varchar = true))
    TO ${quoted(lines)} (FORMAT json)`);
}

main();
