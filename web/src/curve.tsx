// SPDX-License-Identifier: Apache-2.0
// The static curve of a dynamics block: level in, level out, the points of its table, and where the signal is now.
import { effect, signal } from '@preact/signals';
import { useEffect, useMemo, useRef } from 'preact/hooks';
import uPlot from 'uplot';
import { Asker } from './asker';
import { cellPath, curveTable, rowOf, rowsOf } from './describe';
import { clamp, levelText, limited, numberText, rounded } from './numbers';
import { around } from './response';
import { Gesture } from './sender';
import { change, live, onFrame, paramsOfBlock, quietly, selectedRow, stream } from './store';
import { colours, FONT } from './theme';
import type { BlockType, Table } from './types';

interface Static {
  in: number[];
  out: number[];
}

const LO = -80;
const HI = 6;
const MARGIN = { left: 34, top: 8, right: 8, bottom: 22 };
const HEIGHT = 196;
const curve = signal<Static | undefined>(undefined);

const share = (db: number): number => clamp((db - LO) / (HI - LO), -0.02, 1.02);

export function CurvePlot({ id, type }: { id: string; type: BlockType }) {
  const box = useRef<HTMLDivElement>(null);
  const dot = useRef<HTMLElement>(null);
  const bar = useRef<HTMLElement>(null);
  const text = useRef<HTMLElement>(null);
  useEffect(() => follow(id), [id]);
  useEffect(() => draw(box.current!), []);
  useEffect(() => moveDot(id, box.current!, dot.current!, bar.current!, text.current!), [id]);
  const table = curveTable(type);
  return (
    <section class="dynamics" aria-label="Static curve">
      <h3>
        Level out over level in<small>dB</small>
      </h3>
      <div class="static" ref={box}>
        {table && <CurvePoints id={id} table={table} />}
        <i class="dot" ref={dot} />
      </div>
      <div class="reduction" title="gain now: level out less level in">
        <span>Gain</span>
        <span class="track">
          <i ref={bar} />
        </span>
        <b ref={text}>0.0</b>
        <span class="unit">dB</span>
      </div>
    </section>
  );
}

// The curve anew after each change of the block.
function follow(id: string): () => void {
  const asker = new Asker(async () => {
    const a = await quietly<{ curve: Static }>({ curve: { block: id } });
    curve.value = a?.curve;
  });
  curve.value = undefined;
  return effect(() => {
    void paramsOfBlock(id);
    if (live.value) asker.ask();
  });
}

function draw(box: HTMLElement): () => void {
  let u: uPlot | undefined;
  const build = (): void => {
    const c = colours.value;
    const axis = {
      stroke: c.muted,
      font: FONT(10),
      ticks: { show: false },
      grid: { stroke: c.grid, width: 1 },
      splits: () => [-80, -60, -40, -20, 0],
      values: (_: uPlot, v: number[]) => v.map((x) => numberText(x)),
    };
    const width = box.clientWidth;
    u?.destroy();
    u = new uPlot(
      {
        width,
        height: HEIGHT,
        padding: [MARGIN.top, MARGIN.right, 0, 0],
        legend: { show: false },
        cursor: { show: false },
        pxAlign: 0,
        scales: { x: { time: false, range: () => [LO, HI] }, y: { range: () => [LO, HI] } },
        axes: [
          { ...axis, size: MARGIN.bottom },
          { ...axis, size: MARGIN.left },
        ],
        series: [
          {},
          { stroke: c.grid, width: 1, dash: [4, 4] },
          { stroke: c.accent, width: 2, points: { show: false } },
        ],
      },
      dataOf(curve.peek()),
      box,
    );
  };
  const stops = [effect(build), effect(() => u?.setData(dataOf(curve.value)))];
  const observer = new ResizeObserver(() => u?.setSize({ width: box.clientWidth, height: HEIGHT }));
  observer.observe(box);
  return () => (stops.forEach((s) => s()), observer.disconnect(), u?.destroy());
}

const dataOf = (c: Static | undefined): uPlot.AlignedData =>
  c
    ? [c.in, c.in, c.out]
    : [
        [LO, HI],
        [LO, HI],
        [null, null],
      ];

function level(pin: string): number {
  const i = stream.signals.get(pin);
  return i === undefined ? -120 : (stream.rms[i] ?? -120);
}

function moveDot(id: string, box: HTMLElement, dot: HTMLElement, bar: HTMLElement, text: HTMLElement): () => void {
  let seen = -1;
  let wrote = 0;
  return onFrame((now) => {
    if (seen === stream.meterCount) return;
    seen = stream.meterCount;
    const [before] = around.peek();
    const [i, o] = [level(before), level(`${id}.0`)];
    const wide = box.clientWidth - MARGIN.left - MARGIN.right;
    const tall = HEIGHT - MARGIN.top - MARGIN.bottom;
    const quiet = i < LO || o < LO;
    dot.style.opacity = quiet ? '0' : '1';
    dot.style.transform = `translate(${MARGIN.left + wide * share(i)}px, ${MARGIN.top + tall * (1 - share(o))}px)`;
    const gain = quiet ? 0 : o - i;
    bar.style.transform = `scaleX(${clamp(-gain / 24, 0, 1)})`;
    if (now - wrote > 150) [wrote, text.textContent] = [now, levelText(gain)];
  });
}

// ---- points of the table

function CurvePoints({ id, table }: { id: string; table: Table }) {
  const gesture = useMemo(() => new Gesture(), [id]);
  const rows = rowsOf(table, paramsOfBlock(id)[table.name]);
  const [x, y] = table.columns as [Table['columns'][0], Table['columns'][0]];
  return (
    <div class="points">
      {rows.map((raw, i) => {
        const row = rowOf(table, raw);
        const at: [number, number] = [Number(row[x.name]), Number(row[y.name])];
        const set = (a: number, b: number): void =>
          change(
            id,
            {
              [cellPath(table, i, x, raw)]: rounded(x, limited(x, a)),
              [cellPath(table, i, y, raw)]: rounded(y, limited(y, b)),
            },
            gesture,
          );
        return <CurvePoint key={i} index={i} at={at} set={set} gesture={gesture} />;
      })}
    </div>
  );
}

interface PointProps {
  index: number;
  at: [number, number];
  set: (x: number, y: number) => void;
  gesture: Gesture;
}

function CurvePoint({ index, at: [x, y], set, gesture }: PointProps) {
  const left = `calc(${MARGIN.left}px + (100% - ${MARGIN.left + MARGIN.right}px) * ${share(x)})`;
  const top = `${MARGIN.top + (HEIGHT - MARGIN.top - MARGIN.bottom) * (1 - share(y))}px`;
  const drag = (e: PointerEvent): void => {
    const el = e.currentTarget as HTMLElement;
    if (!el.hasPointerCapture(e.pointerId)) return;
    const r = el.closest('.static')!.getBoundingClientRect();
    const a = (e.clientX - r.left - MARGIN.left) / (r.width - MARGIN.left - MARGIN.right);
    const b = 1 - (e.clientY - r.top - MARGIN.top) / (HEIGHT - MARGIN.top - MARGIN.bottom);
    set(clamp(LO + a * (HI - LO), LO, HI), clamp(LO + b * (HI - LO), LO, HI));
  };
  const key = (e: KeyboardEvent): void => {
    const step = (
      { ArrowRight: [1, 0], ArrowLeft: [-1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] } as Record<
        string,
        [number, number]
      >
    )[e.key];
    if (!step) return;
    e.preventDefault();
    const size = e.shiftKey ? 1 : 0.1;
    set(x + step[0] * size, y + step[1] * size);
  };
  return (
    <button
      class={`point small${selectedRow.value === index ? ' on' : ''}`}
      style={{ left, top }}
      disabled={!live.value}
      data-point={`curve${index}`}
      aria-label={`Point ${index + 1}: in ${numberText(x)} dB, out ${numberText(y)} dB`}
      onFocus={() => (selectedRow.value = index)}
      onPointerDown={(e) => (e.currentTarget.setPointerCapture(e.pointerId), gesture.hold())}
      onPointerMove={drag}
      onPointerUp={() => gesture.drop()}
      onPointerCancel={() => gesture.drop()}
      onKeyDown={key}
    />
  );
}
