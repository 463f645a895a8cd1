// SPDX-License-Identifier: Apache-2.0
// Where blocks and wires of the graph stand. dagre ranks and orders; pins keep their order on the blocks' sides.
import { Graph, layout as arrange } from '@dagrejs/dagre';
import { pinName, splitPin } from './describe';
import type { State, Wire } from './types';
import { typeOf } from './store';

export const NODE_WIDTH = 144;
const PITCH = 14; // from pin to pin
const TOP = 40; // of the first pin, below the name
const SMALL = 72; // width of the inputs and outputs of the whole

export interface Node {
  id: string;
  x: number; // left upper corner
  y: number;
  width: number;
  height: number;
  inputs: number;
  outputs: number;
}

export interface Line {
  from: string;
  to: string;
  block: [string, string];
  control: boolean;
  path: Path2D;
  start: [number, number];
  end: [number, number];
  first: boolean; // the first wire of its pin: it carries the level's text
}

export interface Plan {
  nodes: Node[];
  lines: Line[];
  width: number;
  height: number;
}

type Point = { x: number; y: number };

function pinCount(wires: Wire[], side: 'from' | 'to', id: string): number {
  const pins = wires.map((w) => splitPin(w[side])).filter(([b]) => b === id);
  return pins.reduce((n, [, pin]) => Math.max(n, pin + 1), 0);
}

function sizes(state: State): Omit<Node, 'x' | 'y'>[] {
  const tall = (pins: number): number => TOP + Math.max(1, pins) * PITCH + 2;
  const nodes = state.order.map((id) => {
    const b = state.blocks[id]!;
    return { id, width: NODE_WIDTH, height: tall(Math.max(b.inputs, b.outputs)), inputs: b.inputs, outputs: b.outputs };
  });
  const ins = pinCount(state.wires, 'from', 'input');
  const outs = pinCount(state.wires, 'to', 'output');
  if (ins) nodes.unshift({ id: 'input', width: SMALL, height: tall(ins), inputs: 0, outputs: ins });
  if (outs) nodes.push({ id: 'output', width: SMALL, height: tall(outs), inputs: outs, outputs: 0 });
  return nodes;
}

export function plan(state: State): Plan {
  const g = new Graph();
  g.setGraph({
    rankdir: 'LR',
    nodesep: 18,
    ranksep: 50,
    edgesep: 10,
    marginx: 24,
    marginy: 24,
    ranker: 'network-simplex',
  });
  g.setDefaultEdgeLabel(() => ({}));
  const boxes = sizes(state);
  for (const n of boxes) g.setNode(n.id, { width: n.width, height: n.height });
  for (const w of state.wires) g.setEdge(splitPin(w.from)[0], splitPin(w.to)[0]);
  arrange(g);
  const nodes = boxes.map((n) => {
    const at = g.node(n.id) as Point;
    return { ...n, x: Math.round(at.x - n.width / 2), y: Math.round(at.y - n.height / 2) };
  });
  const byId = new Map(nodes.map((n) => [n.id, n]));
  const seen = new Set<string>();
  const lines = state.wires.map((w) => line(state, w, byId, g, seen));
  const size = g.graph() as unknown as { width?: number; height?: number };
  return { nodes, lines, width: size.width ?? 0, height: size.height ?? 0 };
}

function line(state: State, w: Wire, nodes: Map<string, Node>, g: Graph, seen: Set<string>): Line {
  const [from, out] = splitPin(w.from);
  const [to, into] = splitPin(w.to);
  const a = nodes.get(from)!;
  const b = nodes.get(to)!;
  const start: [number, number] = [a.x + a.width, a.y + TOP + out * PITCH + PITCH / 2];
  const end: [number, number] = [b.x, b.y + TOP + into * PITCH + PITCH / 2];
  const control = pinName(typeOf(state.blocks[to]?.type), 'input', into, b.inputs)?.control ?? false;
  const bends = (g.edge(from, to) as { points?: Point[] }).points ?? [];
  const first = !seen.has(w.from);
  seen.add(w.from);
  const path = curve(start, end, bends, (into - (b.inputs - 1) / 2) * 4);
  return { from: w.from, to: w.to, block: [from, to], control, path, start, end, first };
}

// Long wires go round the blocks between, through the bends that dagre found.
function curve(start: [number, number], end: [number, number], bends: Point[], shift: number): Path2D {
  const inner = bends.length > 3 ? bends.slice(1, -1).filter((p) => p.x > start[0] + 20 && p.x < end[0] - 20) : [];
  const stops: [number, number][] = [start, ...inner.map((p): [number, number] => [p.x, p.y + shift]), end];
  const path = new Path2D();
  path.moveTo(...start);
  for (let i = 1; i < stops.length; i += 1) {
    const [x0, y0] = stops[i - 1]!;
    const [x1, y1] = stops[i]!;
    const reach = Math.max(16, (x1 - x0) / 2);
    path.bezierCurveTo(x0 + reach, y0, x1 - reach, y1, x1, y1);
  }
  return path;
}

// The nearest block to one side, for the arrow keys.
export function neighbour(nodes: Node[], id: string, dx: number, dy: number): string | undefined {
  const from = nodes.find((n) => n.id === id);
  if (!from) return undefined;
  let best: string | undefined;
  let least = Infinity;
  for (const n of nodes) {
    const x = n.x - from.x;
    const y = n.y - from.y;
    const ahead = x * dx + y * dy;
    const aside = Math.abs(x * dy) + Math.abs(y * dx);
    const cost = ahead + 2.5 * aside;
    if (n.id !== id && ahead > 8 && cost < least) [best, least] = [n.id, cost];
  }
  return best;
}
