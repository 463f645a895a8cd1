// SPDX-License-Identifier: Apache-2.0
// The response plot: the block's own, the way through the schematic, loudspeaker and sum, the spectrum before and
// after, and the points that are dragged.
import { computed, effect, signal } from '@preact/signals';
import { useEffect, useMemo, useRef } from 'preact/hooks';
import uPlot from 'uplot';
import { Segments } from './controls';
import { handlesOf, tablesOf, canGrow, rowsOf } from './describe';
import { Icon } from './icons';
import { clamp, numberText, withUnit } from './numbers';
import { Points } from './points';
import { around, fromPin, inputs, MOST_OUTPUTS, outputs, response, source, targets, toPin } from './response';
import {
  ask,
  blockType,
  change,
  listenTo,
  live,
  onFrame,
  paramsOfBlock,
  rate,
  selected,
  selectedRow,
  state,
  stream,
} from './store';
import { colours, FONT, type Colours } from './theme';
import type { Curve } from './types';
import { freshRow } from './panel';

type Numbers = (number | null)[];
type Layer = 'own' | 'bands' | 'way' | 'speaker' | 'sum' | 'before' | 'after';

const hidden = signal<Set<Layer>>(new Set());
const phase = signal(false);
const shows = (l: Layer): boolean => !hidden.value.has(l);

// Where the plot stands in its box, in CSS pixels, and what it covers: points are placed with this.
export interface Frame {
  left: number;
  top: number;
  width: number;
  height: number;
}
export const frameBox = signal<Frame>({ left: 0, top: 0, width: 0, height: 0 });
export const LOW = 20;
export const high = computed(() => Math.min(20000, rate.value / 2));

export const handles = computed(() => {
  const type = blockType.value;
  return type && selected.value ? handlesOf(type, paramsOfBlock(selected.value)) : [];
});

// ---- curves

interface Drawn {
  key: string;
  colour: keyof Colours;
  width: number;
  alpha: string; // two hex digits
  data: Numbers;
  dash?: number[];
}

const pick = (c: Curve | undefined): Numbers | undefined => (phase.value ? c?.phase : c?.db);

const curves = computed((): Drawn[] => {
  const r = response.value;
  if (!r) return [];
  const out: Drawn[] = [];
  const own = r.responses[selected.value];
  if (shows('bands') && !phase.value) {
    own?.bands?.forEach(
      (b, i) =>
        b.db &&
        out.push({
          key: `band ${i}`,
          colour: 'accent',
          width: 1,
          alpha: i === selectedRow.value ? 'b0' : '48',
          data: b.db,
        }),
    );
  }
  const ways = targets.value.flatMap((t) => pick(r.responses[t]) ?? []).length ? targets.value : [];
  if (shows('way')) {
    ways.forEach((t, i) => {
      const data = pick(r.responses[t]);
      if (data)
        out.push({
          key: t,
          colour: 'text',
          width: 1.5,
          alpha: ['e0', 'a0', '78', '58'][i % 4]!,
          data,
          ...(i > 3 && { dash: [6, 4] }),
        });
    });
  }
  return out.concat(
    speakerCurves(),
    pick(own) && shows('own') ? [{ key: 'own', colour: 'accent', width: 2.25, alpha: 'ff', data: pick(own)! }] : [],
  );
});

function speakerCurves(): Drawn[] {
  const r = response.value;
  const speaker = r?.speaker?.db;
  if (!r || !speaker || phase.value) return [];
  const way = r.responses[targets.value[0] ?? '']?.db ?? r.responses[selected.value]?.db;
  const sum = way?.map((v, i) => (v === null || speaker[i] == null ? null : v + speaker[i]!));
  const out: Drawn[] = [];
  if (shows('speaker')) out.push({ key: 'speaker', colour: 'speaker', width: 1.5, alpha: 'ff', data: speaker });
  if (sum && shows('sum')) out.push({ key: 'sum', colour: 'sum', width: 2, alpha: 'ff', data: sum });
  return out;
}

// In sixes of dB; it grows with what is shown and shrinks only when another block is chosen.
let last = { key: '', lo: -18, hi: 12 };
export const bounds = computed((): { lo: number; hi: number } => {
  if (phase.value) return { lo: -180, hi: 180 };
  const key = `${selected.value} ${[...hidden.value].join()}`;
  const start = last.key === key ? last : { key, lo: -18, hi: 12 };
  let { lo, hi } = start;
  for (const c of curves.value) {
    for (const v of c.data) {
      if (v === null) continue;
      if (v < lo) lo = v;
      if (v > hi) hi = v;
    }
  }
  for (const h of handles.value) if (h.y) [lo, hi] = [Math.min(lo, h.y.value - 1), Math.max(hi, h.y.value + 1)];
  last = { key, lo: clamp(Math.floor(lo / 6) * 6, -36, 0), hi: clamp(Math.ceil(hi / 6) * 6, 6, 48) };
  return { lo: last.lo, hi: last.hi };
});

// ---- the plot itself

const TICKS = [20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000];

function options(
  c: Colours,
  drawn: Drawn[],
  width: number,
  height: number,
  readout: (u: uPlot) => void,
): uPlot.Options {
  return {
    width,
    height,
    padding: [8, 0, 0, 0],
    legend: { show: false },
    pxAlign: 0,
    cursor: { y: false, drag: { x: false, y: false }, points: { show: false } },
    scales: {
      x: { time: false, distr: 3, range: () => [LOW, high.peek()] },
      y: { range: () => [bounds.peek().lo, bounds.peek().hi] },
      spectrum: { range: () => [FLOOR, 0] },
    },
    axes: axes(c),
    series: [
      {},
      { scale: 'spectrum', show: true, points: { show: false } },
      ...drawn.map((d) => ({
        stroke: c[d.colour] + d.alpha,
        width: d.width,
        points: { show: false },
        ...(d.dash && { dash: d.dash }),
      })),
    ],
    hooks: { drawClear: [drawSpectra], setCursor: [readout], setSize: [measure], ready: [measure] },
  };
}

function axes(c: Colours): uPlot.Axis[] {
  const axis = { stroke: c.muted, font: FONT(11), ticks: { show: false }, grid: { stroke: c.grid, width: 1 } };
  return [
    {
      ...axis,
      size: 26,
      splits: () => TICKS,
      values: (_, v) => v.map((f) => (f >= 1000 ? `${f / 1000}k` : String(f))),
      filter: (_, v) => v,
    },
    { ...axis, size: 40, splits: (_u, _i, lo, hi) => splits(lo, hi), values: (_, v) => v.map((x) => numberText(x)) },
    {
      ...axis,
      scale: 'spectrum',
      side: 1,
      size: 36,
      grid: { show: false },
      splits: () => [-80, -60, -40, -20],
      values: (_, v) => v.map((x) => numberText(x)),
    },
  ];
}

function splits(lo: number, hi: number): number[] {
  const step = hi - lo > 200 ? 90 : hi - lo > 48 ? 12 : 6;
  return Array.from(
    { length: Math.floor((hi - lo) / step) + 1 },
    (_, i) => Math.ceil(lo / step) * step + i * step,
  ).filter((v) => v <= hi);
}

function measure(u: uPlot): void {
  const r = devicePixelRatio || 1;
  frameBox.value = { left: u.bbox.left / r, top: u.bbox.top / r, width: u.bbox.width / r, height: u.bbox.height / r };
}

const FLOOR = -100; // dBFS at the lower edge of the plot; the upper edge is 0

function drawSpectra(u: uPlot): void {
  const [before, after] = around.peek();
  const c = colours.peek();
  if (shows('before')) spectrum(u, stream.spectrum[before], c.muted, '28', '60');
  if (shows('after')) spectrum(u, stream.spectrum[after], c.after, '30', 'b0');
}

function spectrum(u: uPlot, db: number[] | undefined, colour: string, fill: string, outline: string): void {
  const hz = stream.spectrumHz;
  if (!db || db.length !== hz.length) return;
  const { left, top, width, height } = u.bbox;
  const wide = Math.log(high.peek() / LOW);
  const ctx = u.ctx;
  ctx.save();
  ctx.beginPath();
  ctx.rect(left, top, width, height);
  ctx.clip();
  ctx.beginPath();
  db.forEach((v, i) =>
    ctx.lineTo(left + (width * Math.log(hz[i]! / LOW)) / wide, top + height * clamp(v / FLOOR, 0, 1.02)),
  );
  ctx.strokeStyle = colour + outline;
  ctx.lineWidth = devicePixelRatio || 1;
  ctx.stroke();
  ctx.lineTo(left + width * 2, top + height * 1.02);
  ctx.lineTo(left - width, top + height * 1.02);
  ctx.fillStyle = colour + fill;
  ctx.fill();
  ctx.restore();
}

// Builds the plot again when the kinds of curves change, else gives it new numbers; at most once a frame.
function run(box: HTMLElement, readout: (u: uPlot) => void): () => void {
  let u: uPlot | undefined;
  let built = '';
  let stale = true;
  let spectra = -1;
  const size = (): [number, number] => [box.clientWidth, box.clientHeight];
  const stopData = effect(() => {
    void [curves.value, bounds.value, colours.value, hidden.value, high.value];
    stale = true;
  });
  const observer = new ResizeObserver(() => {
    const [width, height] = size();
    if (width && height) u?.setSize({ width, height });
    stale = true;
  });
  observer.observe(box);
  const stopFrames = onFrame(() => {
    const [width, height] = size();
    if (!width || !height) return;
    const drawn = curves.peek();
    const key = JSON.stringify([colours.peek().text, drawn.map((d) => [d.key, d.alpha]), high.peek()]);
    const hz = response.peek()?.frequency ?? [LOW, high.peek()];
    const data = [hz, hz.map(() => null), ...drawn.map((d) => d.data)] as uPlot.AlignedData;
    if (key !== built) {
      u?.destroy();
      u = new uPlot(options(colours.peek(), drawn, width, height, readout), data, box);
      built = key;
    } else if (stale) u!.setData(data);
    else if (spectra !== stream.spectrumCount) u!.redraw(false, false);
    stale = false;
    spectra = stream.spectrumCount;
  });
  return () => (stopData(), stopFrames(), observer.disconnect(), u?.destroy());
}

// ---- around the plot

export function Plot() {
  const box = useRef<HTMLDivElement>(null);
  const text = useRef<HTMLSpanElement>(null);
  useEffect(() => run(box.current!, (u) => (text.current!.textContent = readoutText(u))), []);
  useEffect(() => effect(() => listenTo(...around.value)), []);
  return (
    <section class="plot" aria-label="Response">
      <header>
        <h2>Response</h2>
        <Legend />
        <Ways />
      </header>
      <div class="area" ref={box} onDblClick={addRow}>
        <Points />
        <span class="readout" ref={text} aria-hidden="true" />
      </div>
      <p class="note" title={noteText()}>
        {noteText()}
      </p>
    </section>
  );
}

// What has no curve, or not the whole of it: "output.2, output.3: nothing arrives".
function noteText(): string {
  const by = new Map<string, string[]>();
  for (const key of new Set([selected.value, ...targets.value])) {
    const note = response.value?.responses[key]?.note;
    if (note) by.set(note, [...(by.get(note) ?? []), key]);
  }
  return [...by]
    .map(([note, keys]) =>
      keys.length > 1 && keys.length === targets.value.length ? note : `${keys.join(', ')}: ${note}`,
    )
    .join('; ');
}

function readoutText(u: uPlot): string {
  const { idx } = u.cursor;
  const f = idx == null ? undefined : u.data[0][idx];
  if (f === undefined || u.cursor.left! < 0) return '';
  const drawn = curves.peek();
  const main = drawn.findIndex((d) => d.key === 'own');
  const v = u.data[(main < 0 ? drawn.findIndex((d) => d.key !== 'speaker') : main) + 2]?.[idx!];
  return `${withUnit(Number(f.toPrecision(3)), 'Hz')}${v == null ? '' : `  ${v.toFixed(1).replace('-', '−')} ${phase.peek() ? '°' : 'dB'}`}`;
}

function Legend() {
  const own = response.value?.responses[selected.value];
  const [before, after] = around.value;
  const has: [Layer, string, boolean][] = [
    ['own', selected.value, own?.db !== undefined],
    ['bands', 'bands', (own?.bands?.length ?? 0) > 0],
    ['way', 'whole way', targets.value.some((t) => response.value?.responses[t]?.db)],
    ['speaker', 'loudspeaker', response.value?.speaker !== undefined],
    ['sum', 'sum', response.value?.speaker !== undefined],
    ['before', 'before', before !== ''],
    ['after', 'after', after !== ''],
  ];
  const flip = (l: Layer): void => {
    const next = new Set(hidden.value);
    if (!next.delete(l)) next.add(l);
    hidden.value = next;
  };
  return (
    <div class="chips" role="group" aria-label="Curves">
      {has
        .filter(([, , there]) => there)
        .map(([l, name]) => (
          <button
            key={l}
            class={`chip ${l}`}
            aria-pressed={shows(l)}
            onClick={() => flip(l)}
            title={l === 'before' || l === 'after' ? `spectrum ${l} the block` : name}
          >
            <i />
            {name}
          </button>
        ))}
    </div>
  );
}

function Ways() {
  const choose =
    (s: typeof fromPin) =>
    (e: Event): void =>
      void (s.value = (e.currentTarget as HTMLSelectElement).value);
  return (
    <div class="ways">
      {inputs.value.length > 1 && (
        <select aria-label="From" value={source.value} onChange={choose(fromPin)}>
          {inputs.value.map((p) => (
            <option key={p}>{p}</option>
          ))}
        </select>
      )}
      {outputs.value.length > 1 && (
        <select aria-label="To" value={toPin.value} onChange={choose(toPin)}>
          <option value="all">
            {outputs.value.length > MOST_OUTPUTS ? `first ${MOST_OUTPUTS} outputs` : 'all outputs'}
          </option>
          {outputs.value.map((p) => (
            <option key={p}>{p}</option>
          ))}
        </select>
      )}
      <Segments
        label="Shown"
        names={['Level', 'Phase']}
        index={Number(phase.value)}
        set={(i) => (phase.value = i === 1)}
      />
      <Speaker />
    </div>
  );
}

function Speaker() {
  const name = state.value?.speaker;
  const file = useRef<HTMLInputElement>(null);
  const load = useMemo(
    () => async (e: Event) => {
      const input = e.currentTarget as HTMLInputElement;
      const chosen = input.files?.[0];
      if (chosen) await ask({ speaker: { text: await chosen.text(), name: chosen.name } });
      input.value = '';
    },
    [],
  );
  return (
    <>
      <input ref={file} type="file" accept=".frd,.txt,.csv,text/plain" hidden onChange={load} data-testid="speaker" />
      {name ? (
        <button
          class="speaker"
          onClick={() => void ask({ speaker: null })}
          disabled={!live.value}
          aria-label={`Drop the loudspeaker ${name}`}
          title={name}
        >
          Loudspeaker
          <Icon name="close" />
        </button>
      ) : (
        <button
          class="speaker"
          onClick={() => file.current!.click()}
          disabled={!live.value}
          title="A measured loudspeaker: FRD or CSV"
        >
          Loudspeaker…
        </button>
      )}
    </>
  );
}

// A double click on the empty plot adds a row there.
function addRow(e: MouseEvent): void {
  const type = blockType.peek();
  const id = selected.peek();
  const table = type ? tablesOf(type).find((t) => canGrow(t) && t.columns.some((c) => c.unit === 'Hz')) : undefined;
  if (!type || !table || !type.traits.includes('linearModel') || (e.target as Element).closest('.point')) return;
  const { left, width } = frameBox.peek();
  const box = (e.currentTarget as Element).getBoundingClientRect();
  const f = Number((LOW * (high.peek() / LOW) ** clamp((e.clientX - box.left - left) / width, 0, 1)).toPrecision(3));
  const rows = rowsOf(table, paramsOfBlock(id)[table.name]);
  const row = freshRow(table, rows[0]);
  const hz = table.columns.find((c) => c.unit === 'Hz')!;
  if (Array.isArray(row)) row[table.columns.indexOf(hz)] = f;
  else if (typeof row === 'object') row[hz.name] = f;
  change(id, { [table.name]: [...rows, row] as never });
  selectedRow.value = rows.length;
}
