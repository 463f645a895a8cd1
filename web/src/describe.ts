// SPDX-License-Identifier: Apache-2.0
// Reads the descriptions: which parameters count under the present choices, which of them make a point on the
// response curve, which pins are controls. No block type is known here by name.
import type { BlockType, Cell, Param, Params, PinName, Row, Slot, Table, Value } from './types';
import { withUnit } from './numbers';

// A parameter as it is read now; `read` false: the present choice does without it.
export interface Reading {
  param: Param;
  as: Param;
  read: boolean;
  why: string;
}

export const isOn = (v: Value | undefined): boolean => v === true || (typeof v === 'number' && v !== 0);

export function choiceOf(p: Param, v: Value | undefined): number {
  const found = p.choices?.findIndex((c) => c.name === v || c.value === v) ?? -1;
  return found < 0 ? 0 : found;
}

// How entries are read under the choices made; `entry` counts slots of a layout or columns of a table.
export function readings(entries: (Param | undefined)[], values: Record<string, Value>): (Reading | undefined)[] {
  const out = entries.map((param) =>
    param ? { param, as: param, read: !param.unused, why: param.unused ? 'not used' : '' } : undefined,
  );
  for (const p of entries) {
    if (!p?.choices) continue;
    const chosen = p.choices[choiceOf(p, values[p.name])];
    for (const r of chosen?.readings ?? []) {
      const entry = out[r.entry];
      if (!entry) continue;
      if (r.as) entry.as = r.as;
      else Object.assign(entry, { read: false, why: `not read by ${chosen!.name}` });
    }
  }
  return out;
}

export const paramsOf = (layout: Slot[]): (Param | undefined)[] => layout.map((s) => s.param);
export const tablesOf = (type: BlockType): Table[] => type.layout.flatMap((s) => s.table ?? []);

export const isMatrix = (t: Table): boolean => t.rowLength !== undefined || t.columnsEntry !== undefined;
export const isList = (t: Table): boolean => t.columns.length === 1 && !isMatrix(t);
export const canGrow = (t: Table): boolean => t.maxRows !== undefined;

// Rows come as objects, as arrays, or as plain values where there is one column.
export function rowOf(t: Table, row: unknown): Row {
  const columns = t.columns;
  if (Array.isArray(row)) return Object.fromEntries(columns.map((c, i) => [c.name, (row[i] ?? c.default) as Cell]));
  if (typeof row === 'object' && row !== null) {
    const given = row as Row;
    return Object.fromEntries(columns.map((c) => [c.name, given[c.name] ?? c.default]));
  }
  return { [columns[0]!.name]: row as Cell };
}

export const rowsOf = (_: Table, v: Value | undefined): unknown[] => (Array.isArray(v) ? v : []);

// The path below the block of one cell, as the table's rows are written now.
export function cellPath(t: Table, index: number, column: Param, row: unknown): string {
  if (Array.isArray(row)) return `${t.name}[${index}][${t.columns.indexOf(column)}]`;
  return typeof row === 'object' ? `${t.name}[${index}].${column.name}` : `${t.name}[${index}]`;
}

// A point on the response curve: what dragging sideways, up and down and turning the wheel change.
export interface Handle {
  key: string;
  label: string;
  row: number; // of the table, or -1
  x: Bound;
  y?: Bound;
  width?: Bound;
  off: boolean;
}

export interface Bound {
  path: string; // below the block
  param: Param;
  value: number;
}

const isFrequency = (p: Param): boolean => p.unit === 'Hz' && p.scale === 'logarithmic';
const isLevel = (p: Param): boolean => p.unit === 'dB' && p.kind === 'real';
const isWidth = (p: Param): boolean => p.kind === 'real' && p.unit === '' && p.scale === 'logarithmic';

const words = (name: string): string[] => name.split(/(?=[A-Z])|(?<=\d)(?=\D)/).map((w) => w.toLowerCase());

const sharesWord = (a: Param, b: Param): boolean => words(a.name).some((w) => words(b.name).includes(w));

// The partner of a frequency: the one that shares a word with it (lowFc, lowGainDb); with one frequency alone
// the one that only some choices read, else the next after it, else the last before.
function partner(all: Reading[], x: Reading, fits: (p: Param) => boolean): Reading | undefined {
  const fitting = all.filter((r) => r.read && fits(r.param));
  const named = fitting.find((r) => sharesWord(r.param, x.param));
  if (named) return named;
  if (all.filter((r) => isFrequency(r.param)).length > 1) return undefined;
  const choosy = fitting.find((r) =>
    all.some((c) => c.param.choices?.some((o) => o.readings?.some((e) => e.as === null && all[e.entry] === r))),
  );
  return choosy ?? fitting.find((r) => all.indexOf(r) > all.indexOf(x)) ?? fitting.at(-1);
}

type Bind = (r: Reading) => Bound;

function handlesIn(entries: (Reading | undefined)[], bind: Bind): Omit<Handle, 'key' | 'label' | 'row' | 'off'>[] {
  const all = entries.map((e) => e ?? { param: { unit: '-' } as Param, as: {} as Param, read: false, why: '' });
  return all
    .filter((r) => r.read && isFrequency(r.param))
    .map((x) => {
      const y = partner(all, x, isLevel);
      const width = partner(all, x, isWidth);
      return { x: bind(x), ...(y && { y: bind(y) }), ...(width && { width: bind(width) }) };
    });
}

function rowHandles(t: Table, rows: unknown[]): Handle[] {
  return rows.flatMap((raw, i) => {
    const row = rowOf(t, raw);
    const off = t.columns.some((c) => c.kind === 'flag' && !c.unused && isOn(row[c.name]) !== flagMeansOn(c));
    const bind: Bind = (r) => ({ path: cellPath(t, i, r.param, raw), param: r.as, value: Number(row[r.param.name]) });
    return handlesIn(readings(t.columns, row), bind).map((h) => ({
      ...h,
      key: `${t.name}${i}`,
      label: String(i + 1),
      row: i,
      off,
    }));
  });
}

// Whether a row is in force at 1: flags that a new row has at 1 say so, those at 0 (bypass) are off then.
const flagMeansOn = (c: Param): boolean => c.default !== 0;

export function handlesOf(type: BlockType, params: Params): Handle[] {
  if (!type.traits.includes('linearModel')) return [];
  const bind: Bind = (r) => ({ path: r.param.name, param: r.as, value: Number(params[r.param.name]) });
  const own = handlesIn(readings(paramsOf(type.layout), params), bind).map((h, i, list) => ({
    ...h,
    key: h.x.path,
    label: list.length > 1 ? String(i + 1) : '',
    row: -1,
    off: false,
  }));
  return own.concat(tablesOf(type).flatMap((t) => rowHandles(t, rowsOf(t, params[t.name]))));
}

export function handleText(h: Handle): string {
  const parts = [h.x, h.y, h.width].flatMap((b) => (b ? `${b.param.name} ${withUnit(b.value, b.param.unit)}` : []));
  return `${h.label ? `Point ${h.label}: ` : 'Point: '}${parts.join(', ')}`;
}

// The table that is a static curve: two columns in dB.
export const curveTable = (type: BlockType): Table | undefined =>
  tablesOf(type).find((t) => t.columns.length === 2 && t.columns.every(isLevel));

// Whether asking for a static curve makes sense: something between signals whose gain follows a level.
export const mayHaveCurve = (type: BlockType): boolean =>
  !type.traits.some((t) => ['linearModel', 'source', 'terminal', 'meter'].includes(t)) &&
  (curveTable(type) !== undefined || type.layout.some((s) => s.param && isLevel(s.param) && !s.param.unused));

function covers(n: PinName, pin: number, count: number): boolean {
  const at = (i: number): number => (i < 0 ? count + i : i);
  return pin >= at(n.first) && pin <= at(n.last) && (pin - at(n.first)) % n.every === 0;
}

export function pinName(
  type: BlockType | undefined,
  side: 'input' | 'output',
  pin: number,
  count: number,
): PinName | undefined {
  return type?.pins.named.find((n) => n.side === side && covers(n, pin, count));
}

export interface Summary {
  name: string;
  number: boolean;
  text: string;
}

// What a row does, in a line: its choice and the numbers that it reads.
export function rowSummary(t: Table, row: Row): Summary[] {
  return readings(t.columns, row)
    .filter((r) => r !== undefined && r.param.kind !== 'flag' && !r.param.unused)
    .map((r) => summaryOf(r!, row))
    .sort((a, b) => Number(a.number) - Number(b.number));
}

function summaryOf({ param, as, read }: Reading, row: Row): Summary {
  const v = row[param.name];
  const text = param.choices ? shortChoice(param, choiceOf(param, v)) : read ? withUnit(Number(v), as.unit) : '';
  return { name: param.name, number: !param.choices, text };
}

// The names of a choice without the prefix that all of them share.
export function shortChoice(p: Param, index: number): string {
  const names = p.choices!.map((c) => c.name);
  let n = names[0]!.length;
  while (n > 0 && !(names[0]![n - 1] === '_' && names.every((x) => x.startsWith(names[0]!.slice(0, n))))) n -= 1;
  return names[index]!.slice(n).replaceAll('_', ' ');
}

export function splitPin(text: string): [string, number] {
  const dot = text.lastIndexOf('.');
  return dot < 0 ? [text, 0] : [text.slice(0, dot), Number(text.slice(dot + 1))];
}
