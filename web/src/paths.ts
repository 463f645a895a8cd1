// SPDX-License-Identifier: Apache-2.0
// Paths as on the command line: "eq.fc", "eq.bands[0].boostDb", "matrix.gains[0][1]".
import type { Params, Value } from './types';

export function splitPath(path: string): { block: string; keys: (string | number)[] } {
  const [block = '', ...rest] = path.split(/[.[]/);
  return { block, keys: rest.map((k) => (k.endsWith(']') ? Number(k.slice(0, -1)) : k)) };
}

// The parameters with one value replaced; what did not change stays the same object.
export function withValue(params: Params, keys: (string | number)[], value: Value): Params {
  if (keys.length === 0) return value as unknown as Params;
  return put(params, keys, value) as Params;
}

function put(node: unknown, [key, ...rest]: (string | number)[], value: Value): unknown {
  if (key === undefined) return value;
  if (Array.isArray(node)) return node.map((x: unknown, i) => (i === key ? put(x, rest, value) : x));
  const object = (node ?? {}) as Record<string, unknown>;
  return { ...object, [key]: put(object[key], rest, value) };
}
