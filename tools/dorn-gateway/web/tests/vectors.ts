// The vectors of station/vectors, which the stations' C++ tests read as well.

import { readFileSync } from "node:fs";
import { join } from "node:path";

import type { JsonObject } from "../src/json";

const folder = process.env["DORN_STATION_VECTORS"] ?? "../../../station/vectors";

export interface Vector extends JsonObject {
  rule: string;
}

export function vectorsOf(file: string): Vector[] {
  const read = JSON.parse(readFileSync(join(folder, file), "utf8")) as { vectors: Vector[] };
  return read.vectors;
}
