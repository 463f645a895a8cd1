// SPDX-License-Identifier: Apache-2.0
// The schematic: blocks are buttons, wires and their levels are drawn on a canvas below them.
import { computed, signal } from '@preact/signals';
import { useEffect, useRef } from 'preact/hooks';
import { Tool } from './icons';
import { neighbour, plan, type Line, type Plan } from './layout';
import { clamp, levelText } from './numbers';
import { isBypassed, onFrame, selected, state, stream, typeOf } from './store';
import { colours, FONT, prepare, type Colours } from './theme';

const EMPTY: Plan = { nodes: [], lines: [], width: 0, height: 0 };

// The plan depends on blocks, pins and wires only; sets and meters leave it alone.
const shape = computed(() => {
  const s = state.value;
  return s
    ? JSON.stringify([
        s.order,
        s.order.map((id) => [s.blocks[id]!.type, s.blocks[id]!.inputs, s.blocks[id]!.outputs]),
        s.wires,
      ])
    : '';
});
const drawn = computed(() => (shape.value && state.peek() ? plan(state.peek()!) : EMPTY));

const view = signal({ x: 0, y: 0, k: 1 });
let box = { width: 0, height: 0 };
let moved = false; // by the user; until then the view follows the size of the window

export function fit(): void {
  const { width, height } = drawn.peek();
  if (!width || !box.width) return;
  const k = clamp(Math.min(box.width / width, box.height / height), box.width < 600 ? 0.62 : 0.2, 1.15);
  const middle = (space: number, size: number): number => Math.max(0, (space - size * k) / 2);
  view.value = { x: middle(box.width, width), y: middle(box.height, height), k };
  moved = false;
}

function zoom(factor: number, cx = box.width / 2, cy = box.height / 2): void {
  const { x, y, k } = view.peek();
  const next = clamp(k * factor, 0.15, 2.5);
  view.value = { x: cx - ((cx - x) * next) / k, y: cy - ((cy - y) * next) / k, k: next };
  moved = true;
}

function pan(dx: number, dy: number): void {
  const v = view.peek();
  view.value = { ...v, x: v.x + dx, y: v.y + dy };
  moved = true;
}

// Brings a block into sight when it was chosen elsewhere.
function reveal(id: string): void {
  const n = drawn.peek().nodes.find((m) => m.id === id);
  if (!n || !box.width) return;
  const { x, y, k } = view.peek();
  const off = (at: number, size: number, space: number): number =>
    at < 8 ? 8 - at : at + size > space - 8 ? space - 8 - at - size : 0;
  const dx = off(n.x * k + x, n.width * k, box.width);
  const dy = off(n.y * k + y, n.height * k, box.height);
  if (dx || dy) view.value = { x: x + dx, y: y + dy, k };
}

export function Graph() {
  const root = useRef<HTMLDivElement>(null);
  const canvas = useRef<HTMLCanvasElement>(null);
  useEffect(() => watchSize(root.current!), []);
  useEffect(() => drawOnFrames(canvas.current!), []);
  useEffect(() => steer(root.current!), []);
  const empty = state.value && drawn.value.nodes.length === 0;
  return (
    <section class="graph" aria-label="Schematic" ref={root}>
      <canvas ref={canvas} aria-hidden="true" />
      <Nodes />
      {empty && (
        <p class="empty">This schematic has no blocks yet. Add some in the file; they appear here when it is saved.</p>
      )}
      <div class="tools">
        <Tool icon="plus" label="Zoom in" title="Zoom in (+)" onClick={() => zoom(1.25)} />
        <Tool icon="minus" label="Zoom out" title="Zoom out (−)" onClick={() => zoom(0.8)} />
        <Tool icon="fit" label="Fit the schematic" title="Fit (0)" onClick={fit} />
      </div>
      <div class="legend" aria-hidden="true">
        <span class="signal-key">signal</span>
        <span class="control-key">control</span>
      </div>
    </section>
  );
}

function Nodes() {
  const layer = useRef<HTMLDivElement>(null);
  useEffect(
    () =>
      view.subscribe(({ x, y, k }) => {
        layer.current!.style.transform = `translate(${x}px, ${y}px) scale(${k})`;
        layer.current!.classList.toggle('far', k < 0.76); // names alone, larger
      }),
    [],
  );
  return (
    <div class="nodes" ref={layer} onKeyDown={arrows}>
      {drawn.value.nodes.map((n) => (
        <NodeBox key={n.id} {...n} />
      ))}
    </div>
  );
}

function NodeBox({ id, x, y, width, height }: Plan['nodes'][number]) {
  const s = state.value!;
  const b = s.blocks[id];
  const title = s.schematic.blocks?.[id]?.title;
  const place = { left: `${x}px`, top: `${y}px`, width: `${width}px`, height: `${height}px` };
  if (!b)
    return (
      <div class="node end" style={place}>
        <b>{id}</b>
      </div>
    );
  const off = isBypassed(id);
  const what = title ?? typeOf(b.type)?.summary ?? b.type;
  const bad = s.problems.some((p) => p.where.startsWith(`/blocks/${id}/`) && !p.warning);
  const on = selected.value === id;
  return (
    <button
      class={`node${on ? ' on' : ''}${off ? ' off' : ''}${bad ? ' bad' : ''}`}
      style={place}
      data-block={id}
      aria-pressed={on}
      aria-label={`${id}, ${what}${off ? ', bypassed' : ''}`}
      title={what}
      tabIndex={on ? 0 : -1}
      onClick={() => choose(id)}
    >
      <b>
        {id.split(/(?<=[_/-])/).map((part) => (
          <>
            {part}
            <wbr />
          </>
        ))}
      </b>
      <small>{off ? 'bypassed' : what}</small>
    </button>
  );
}

// Choosing on a phone shows the block.
export const tab = signal<'graph' | 'block' | 'response' | 'levels'>('graph');

function choose(id: string): void {
  if (selected.value === id || matchMedia('(max-width: 759px)').matches) tab.value = 'block';
  selected.value = id;
}

function arrows(e: KeyboardEvent): void {
  const way = (
    { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] } as Record<string, [number, number]>
  )[e.key];
  if (way) {
    const blocks = drawn.peek().nodes.filter((n) => n.inputs + n.outputs > 0 && state.peek()?.blocks[n.id]);
    const next = neighbour(blocks, selected.peek(), ...way);
    if (next) focusBlock(next);
  } else if (e.key === '+' || e.key === '=') zoom(1.25);
  else if (e.key === '-') zoom(0.8);
  else if (e.key === '0') fit();
  else return;
  e.preventDefault();
}

export function focusBlock(id: string): void {
  selected.value = id;
  reveal(id);
  requestAnimationFrame(() =>
    document.querySelector<HTMLElement>(`[data-block="${id}"]`)?.focus({ preventScroll: true }),
  );
}

function watchSize(root: HTMLElement): () => void {
  const observer = new ResizeObserver(() => {
    box = { width: root.clientWidth, height: root.clientHeight };
    if (!moved) fit();
    view.value = { ...view.peek() };
  });
  observer.observe(root);
  const stop = drawn.subscribe(() => fit());
  return () => (observer.disconnect(), stop());
}

// Drag to move, wheel or two fingers to zoom.
function steer(root: HTMLElement): () => void {
  const fingers = new Map<number, [number, number]>();
  const down = (e: PointerEvent): void => {
    if ((e.target as Element).closest('button')) return;
    root.setPointerCapture(e.pointerId);
    fingers.set(e.pointerId, [e.clientX, e.clientY]);
  };
  const move = (e: PointerEvent): void => {
    const old = fingers.get(e.pointerId);
    if (!old) return;
    const other = [...fingers].find(([id]) => id !== e.pointerId)?.[1];
    fingers.set(e.pointerId, [e.clientX, e.clientY]);
    if (!other) return pan(e.clientX - old[0], e.clientY - old[1]);
    const far = (p: [number, number]): number => Math.hypot(p[0] - other[0], p[1] - other[1]);
    const r = root.getBoundingClientRect();
    zoom(
      far([e.clientX, e.clientY]) / Math.max(1, far(old)),
      (e.clientX + other[0]) / 2 - r.left,
      (e.clientY + other[1]) / 2 - r.top,
    );
  };
  const up = (e: PointerEvent): void => void fingers.delete(e.pointerId);
  const wheel = (e: WheelEvent): void => {
    e.preventDefault();
    const r = root.getBoundingClientRect();
    zoom(Math.exp(-clamp(e.deltaY, -60, 60) * 0.004), e.clientX - r.left, e.clientY - r.top);
  };
  root.addEventListener('pointerdown', down);
  root.addEventListener('pointermove', move);
  root.addEventListener('pointerup', up);
  root.addEventListener('pointercancel', up);
  root.addEventListener('wheel', wheel, { passive: false });
  return () => root.removeEventListener('wheel', wheel);
}

// ---- wires

function drawOnFrames(canvas: HTMLCanvasElement): () => void {
  let last = '';
  return onFrame((now) => {
    const v = view.peek();
    const mark = [
      stream.meterCount,
      v.x,
      v.y,
      v.k,
      box.width,
      box.height,
      selected.peek(),
      shape.peek().length,
      colours.peek().text,
      drawn.peek().width,
    ].join();
    if (mark === last || !box.width) return;
    last = mark;
    drawWires(canvas, colours.peek(), now);
  });
}

function drawWires(canvas: HTMLCanvasElement, c: Colours, now: number): void {
  const ctx = prepare(canvas, box.width, box.height);
  const { x, y, k } = view.peek();
  ctx.clearRect(0, 0, box.width, box.height);
  ctx.translate(x, y);
  ctx.scale(k, k);
  ctx.lineCap = 'round';
  const chosen = selected.peek();
  for (const line of drawn.peek().lines) drawWire(ctx, line, c, line.block.includes(chosen));
  if (k > 0.5) drawPins(ctx, drawn.peek().lines, c);
  if (k > 0.7) drawLevels(ctx, c, now, Math.max(9.5, 9.5 / k));
}

function drawWire(ctx: CanvasRenderingContext2D, line: Line, c: Colours, near: boolean): void {
  const i = stream.signals.get(line.from);
  const level = i === undefined ? -120 : (stream.peak[i] ?? -120);
  const share = line.control ? 0 : clamp((level + 72) / 72, 0, 1);
  if (line.control) ctx.setLineDash([5, 4]);
  ctx.lineWidth = (near ? 2 : 1.25) + 1.5 * share;
  ctx.strokeStyle = line.control ? c.control : share > 0 ? levelColour(level, c) : c.quiet;
  ctx.globalAlpha = share > 0 ? 0.35 + 0.65 * share : 1;
  ctx.stroke(line.path);
  ctx.globalAlpha = 1;
  if (line.control) ctx.setLineDash([]);
}

// Round for signals, square for controls; all of a kind at once.
function drawPins(ctx: CanvasRenderingContext2D, lines: Line[], c: Colours): void {
  const round = new Path2D();
  const square = new Path2D();
  for (const line of lines) {
    for (const [x, y] of [line.start, line.end]) {
      round.moveTo(x, y);
      if (line.control) square.rect(x - 3, y - 3, 6, 6);
      else round.arc(x, y, 2.5, 0, 7);
    }
  }
  ctx.fillStyle = c.muted;
  ctx.fill(round);
  ctx.fillStyle = c.control;
  ctx.fill(square);
}

export const levelColour = (db: number, c: Colours): string => (db >= -0.1 ? c.bad : db > -6 ? c.warn : c.ok);

// Numbers that can be read: the highest of a fifth of a second.
const shown = { at: 0, levels: new Map<string, number>(), next: new Map<string, number>() };

function drawLevels(ctx: CanvasRenderingContext2D, c: Colours, now: number, size: number): void {
  for (const [name, i] of stream.signals) {
    shown.next.set(name, Math.max(shown.next.get(name) ?? -120, stream.peak[i] ?? -120));
  }
  if (now - shown.at > 200) Object.assign(shown, { at: now, levels: shown.next, next: new Map() });
  ctx.font = FONT(size);
  ctx.textBaseline = 'bottom';
  ctx.strokeStyle = c.bg; // keeps crossing wires off the digits
  ctx.lineWidth = 3;
  for (const line of drawn.peek().lines) {
    const level = shown.levels.get(line.from);
    if (!line.first || line.control || level === undefined || level <= -90) continue;
    const [text, x, y] = [levelText(level), line.start[0] + 6, line.start[1] - 1] as const;
    ctx.strokeText(text, x, y);
    ctx.fillStyle = level > -0.1 ? c.bad : c.muted;
    ctx.fillText(text, x, y);
  }
}
