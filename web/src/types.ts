// SPDX-License-Identifier: Apache-2.0
// What the server says: the catalog of block types, the state of the schematic, and what it pushes.

export type Value = number | string | boolean | Row[] | Cell[][] | Cell[];
export type Cell = number | string | boolean;
export type Row = Record<string, Cell>;
export type Params = Record<string, Value>;

export interface Range {
  min?: number;
  max?: number;
}

export interface Param {
  name: string;
  unit: string;
  help: string;
  kind: 'real' | 'integer' | 'flag' | 'choice';
  scale: 'linear' | 'logarithmic' | 'decibel';
  belowHalfRate: boolean;
  unused: boolean;
  below: string;
  default: number;
  step: number; // a factor on a logarithmic scale
  clamp: Range;
  valid: Range;
  range: Range;
  choices?: Choice[];
}

// What a choice makes of the entries that it does not read as they are described; `as` null: not read.
export interface Choice {
  name: string;
  value: number;
  readings?: { entry: number; as: Param | null }[];
}

export interface Table {
  name: string;
  help: string;
  byColumns: boolean;
  columns: Param[];
  rowsPer?: string;
  rowLength?: string;
  rowsEntry?: number;
  columnsEntry?: number;
  minRows?: number;
  maxRows?: number;
  default?: number[];
}

export interface Slot {
  slot: 'value' | 'rows' | 'count' | 'firstOf';
  param?: Param;
  table?: Table;
}

export interface PinName {
  side: 'input' | 'output';
  control: boolean;
  first: number; // negative: from the end
  last: number;
  every: number;
  name: string;
  help: string;
}

export interface BlockType {
  code: number;
  name: string;
  category: string;
  summary: string;
  traits: string[];
  onSet: 'keeps' | 'restarts' | 'glides';
  pins: { rule: string; named: PinName[] };
  layout: Slot[];
  defaults: Params;
}

export interface Block {
  type: string;
  inputs: number;
  outputs: number;
  params: Params;
  bypassable: boolean;
}

export interface Problem {
  where: string;
  value: string;
  wanted: string;
  line: number;
  column: number;
  warning: boolean;
}

export interface Wire {
  from: string;
  to: string;
}

export interface State {
  rev: number;
  saved: number;
  by: string;
  schematic: { title?: string; note?: string; blocks?: Record<string, { title?: string; note?: string }> };
  blocks: Record<string, Block>;
  wires: Wire[];
  order: string[];
  bypass: string[];
  solo: string[];
  ab: 'a' | 'b';
  abDiffers: boolean;
  undo: number;
  redo: number;
  undoWhat: string;
  redoWhat: string;
  presets: string[];
  problems: Problem[];
  fileChanged: boolean;
  warnings: Problem[];
  speaker: string;
}

export interface Status {
  playing: boolean;
  device: string;
  trouble: string;
  rate: number;
  period: number;
  seconds: number;
  load: number;
  worstLoad: number;
  xruns: number;
  mutedBlocks: number;
  fault: string;
  heard: number;
}

export interface Changed {
  rev: number;
  saved?: number;
  by: string;
  values: Record<string, Value>;
  undo: number;
  redo: number;
  undoWhat: string;
  redoWhat?: string;
  abDiffers: boolean;
}

export interface Curve {
  db?: (number | null)[];
  phase?: (number | null)[];
  bands?: { db?: (number | null)[] }[];
  note?: string;
}

export interface Response {
  rev: number;
  frequency: number[];
  responses: Record<string, Curve>;
  speaker?: { db: (number | null)[] };
  note?: string;
}

export interface Meters {
  rev: number;
  peak: number[];
  rms: number[];
  detectors?: Record<string, number[]>;
}

export interface Change {
  path: string;
  was: string;
  is: string;
}

export interface Hello {
  protocol: number;
  program: string;
  file: string;
  rate: number;
  blockSize: number;
  catalog: BlockType[];
  state: State;
}
