// node read_database.mjs DATABASE: every table that the npm package mdb-reader sees, as one JSON document:
//   {"tables": [{"name", "columns": [name, ...], "rows": [[value, ...], ...]}], "errors": [...]}
// A value is null, true/false, text (numbers too, so that none is rounded), {"date": milliseconds since 1970}, {"bytes": hex}
// or {"complex": true}. TOLVANE_MDB_READER names the package's folder.
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { pathToFileURL } from "node:url";

const folder = process.env.TOLVANE_MDB_READER;
const manifest = JSON.parse(readFileSync(join(folder, "package.json"), "utf8"));
const entry = join(folder, manifest.main ?? "lib/node/index.js");
const { default: MDBReader } = await import(pathToFileURL(entry).href);

function plain(value) {
  if (value === null || value === undefined) return null;
  if (typeof value === "boolean") return value;
  if (value instanceof Date) return { date: value.getTime() };
  if (value instanceof Uint8Array) return { bytes: Buffer.from(value).toString("hex") };
  if (typeof value === "object") return { complex: true };
  return String(value);
}

const reader = new MDBReader(readFileSync(process.argv[2]));
const result = { tables: [], errors: [] };
for (const name of reader.getTableNames({ normalTables: true, systemTables: true, linkedTables: false })) {
  try {
    const table = reader.getTable(name);
    const columns = table.getColumnNames();
    const rows = table.getData().map((row) => columns.map((column) => plain(row[column])));
    result.tables.push({ name, columns, rows });
  } catch (error) {
    result.errors.push(`${name}: ${error.message}`);
  }
}
process.stdout.write(JSON.stringify(result));
