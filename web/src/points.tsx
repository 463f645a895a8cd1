// SPDX-License-Identifier: Apache-2.0
// The points of filters and bands on the response plot: drag for frequency and level, wheel for the width, or keys.
import { useEffect, useMemo, useRef } from 'preact/hooks';
import { canGrow, handleText, rowsOf, tablesOf, type Bound, type Handle } from './describe';
import { clamp, limited, rangeOf, rounded, stepped } from './numbers';
import { bounds, frameBox, handles, high, LOW } from './plot';
import { response } from './response';
import { Gesture } from './sender';
import { blockType, change, live, paramsOfBlock, rate, selected, selectedRow } from './store';
import type { Value } from './types';

const gesture = new Gesture();

export function Points() {
  const layer = useRef<HTMLDivElement>(null);
  useEffect(() => {
    const wheel = (e: WheelEvent): void => {
      const h = handles.peek().find((x) => x.row === selectedRow.peek()) ?? handles.peek()[0];
      if (!h?.width) return;
      e.preventDefault();
      turnWidth(h, e.deltaY < 0 ? 4 : -4);
    };
    const area = layer.current!.parentElement!;
    area.addEventListener('wheel', wheel, { passive: false });
    return () => area.removeEventListener('wheel', wheel);
  }, []);
  return (
    <div class="points" ref={layer}>
      {spread(handles.value).map(([h, aside]) => (
        <Point key={h.key} handle={h} aside={aside} />
      ))}
    </div>
  );
}

interface Spot {
  x: number;
  y: number;
}

function spotOf(h: Handle): Spot {
  const { left, top, width, height } = frameBox.value;
  const { lo, hi } = bounds.value;
  return {
    x: left + width * clamp(Math.log(h.x.value / LOW) / Math.log(high.value / LOW), 0, 1),
    y: top + height * clamp((hi - levelAt(h)) / (hi - lo), 0, 1),
  };
}

// Points in the same place are shown below one another, so that each can be taken.
function spread(all: Handle[]): [Handle, number][] {
  const taken: Spot[] = [];
  return all.map((h) => {
    const { x, y } = spotOf(h);
    let aside = 0;
    while (taken.some((t) => Math.hypot(t.x - x, t.y - y - aside) < 12)) aside += 26;
    taken.push({ x, y: y + aside });
    return [h, aside];
  });
}

// Without a level of its own the point rides on the block's curve.
function levelAt(h: Handle): number {
  if (h.y) return h.y.value;
  const r = response.value;
  const db = r?.responses[selected.value]?.db;
  const i = r?.frequency.findIndex((f) => f >= h.x.value) ?? -1;
  return db?.[i] ?? 0;
}

function Point({ handle: h, aside }: { handle: Handle; aside: number }) {
  const { x, y } = spotOf(h);
  const drag = useMemo(() => dragger(h.key), [h.key]);
  const on = h.row < 0 || h.row === selectedRow.value;
  return (
    <button
      class={`point${on ? ' on' : ''}${h.off ? ' off' : ''}`}
      disabled={!live.value}
      data-point={h.key}
      style={{ transform: `translate(${x}px, ${y + aside}px)` }}
      aria-label={handleText(h)}
      aria-roledescription="point on the response"
      title={`${handleText(h)}\nDrag: frequency and level. Wheel, Page keys: width.`}
      onFocus={() => h.row >= 0 && (selectedRow.value = h.row)}
      onKeyDown={(e) => keys(e, h)}
      {...drag}
    >
      {h.label}
    </button>
  );
}

const current = (key: string): Handle | undefined => handles.peek().find((h) => h.key === key);
const move = (values: Record<string, Value>): void => change(selected.peek(), values, gesture);

function dragger(key: string) {
  let grip: { dx: number; dy: number } | undefined;
  const place = (e: PointerEvent): { x: number; y: number } => {
    const box = (e.currentTarget as Element).closest('.area')!.getBoundingClientRect();
    return { x: e.clientX - box.left, y: e.clientY - box.top };
  };
  return {
    onPointerDown(e: PointerEvent) {
      const h = current(key);
      if (!h || e.button !== 0) return;
      (e.currentTarget as HTMLElement).setPointerCapture(e.pointerId);
      const at = spotOf(h);
      const p = place(e);
      grip = { dx: at.x - p.x, dy: at.y - p.y };
      gesture.hold();
      if (h.row >= 0) selectedRow.value = h.row;
    },
    onPointerMove(e: PointerEvent) {
      const h = grip && current(key);
      if (!h) return;
      const p = place(e);
      move(valuesAt(h, p.x + grip!.dx, p.y + grip!.dy));
    },
    onPointerUp() {
      if (grip) gesture.drop();
      grip = undefined;
    },
    onPointerCancel() {
      gesture.drop();
      grip = undefined;
    },
  };
}

function valuesAt(h: Handle, x: number, y: number): Record<string, Value> {
  const { left, top, width, height } = frameBox.peek();
  const { lo, hi } = bounds.peek();
  const out: Record<string, Value> = { [h.x.path]: within(h.x, LOW * (high.peek() / LOW) ** ((x - left) / width)) };
  if (h.y) out[h.y.path] = within(h.y, hi - ((y - top) / height) * (hi - lo));
  return out;
}

function within(b: Bound, value: number): number {
  const { min, max } = rangeOf(b.param, rate.peek());
  return rounded(b.param, clamp(limited(b.param, value), min, max));
}

function turnWidth(h: Handle, steps: number): void {
  if (h.width) move({ [h.width.path]: within(h.width, stepped(h.width.param, h.width.value, steps)) });
}

function keys(e: KeyboardEvent, h: Handle): void {
  const n = e.shiftKey ? 10 : 1;
  const sideways = ({ ArrowRight: 1, ArrowLeft: -1 } as Record<string, number>)[e.key];
  const upward = ({ ArrowUp: 1, ArrowDown: -1 } as Record<string, number>)[e.key];
  const wider = ({ PageUp: 4, PageDown: -4 } as Record<string, number>)[e.key];
  if (sideways) move({ [h.x.path]: within(h.x, stepped(h.x.param, h.x.value, sideways * n)) });
  else if (upward && h.y) move({ [h.y.path]: within(h.y, stepped(h.y.param, h.y.value, upward * n)) });
  else if (wider) turnWidth(h, wider);
  else if (e.key === 'Delete' && h.row >= 0) removeRow(h.row);
  else return;
  e.preventDefault();
}

function removeRow(row: number): void {
  const table = tablesOf(blockType.peek()!).find(canGrow);
  const rows = table && rowsOf(table, paramsOfBlock(selected.peek())[table.name]);
  if (!table || !rows || rows.length <= (table.minRows ?? 0)) return;
  change(selected.peek(), { [table.name]: rows.toSpliced(row, 1) as Value });
  selectedRow.value = Math.max(0, row - 1);
}
