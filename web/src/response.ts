// SPDX-License-Identifier: Apache-2.0
// The response of the chosen block and of the whole way: asked for anew after every change, one question at a time.
import { computed, effect, signal } from '@preact/signals';
import { Asker } from './asker';
import { splitPin } from './describe';
import { blockType, live, quietly, revision, selected, state } from './store';
import type { Response } from './types';

export const response = signal<Response | undefined>(undefined);
export const fromPin = signal('');
export const toPin = signal('all');

const pinsOf = (end: 'input' | 'output'): string[] => {
  const wires = state.value?.wires ?? [];
  const pins = new Set(wires.map((w) => (end === 'input' ? w.from : w.to)).filter((p) => splitPin(p)[0] === end));
  return [...pins].sort((a, b) => splitPin(a)[1] - splitPin(b)[1]);
};
export const inputs = computed(() => pinsOf('input'));
export const outputs = computed(() => pinsOf('output'));

// More outputs than these are too many curves to tell apart.
export const MOST_OUTPUTS = 8;

// Asked for: by default from the first input to all outputs.
export const source = computed(() => (inputs.value.includes(fromPin.value) ? fromPin.value : (inputs.value[0] ?? '')));
export const targets = computed(() => {
  if (outputs.value.includes(toPin.value)) return [toPin.value];
  return toPin.value === 'all' ? outputs.value.slice(0, MOST_OUTPUTS) : outputs.value.slice(0, 1);
});

// The signal before and after the chosen block: what its first input that is no control hears, and its first output.
export const around = computed((): [string, string] => {
  const s = state.value;
  const id = selected.value;
  const b = s?.blocks[id];
  if (!s || !b) return ['', ''];
  const controls = blockType.value?.pins.named.filter((n) => n.side === 'input' && n.control) ?? [];
  const taken = (pin: number): boolean => controls.some((n) => pin >= n.first && (n.last < 0 || pin <= n.last));
  const fed = s.wires.find((w) => splitPin(w.to)[0] === id && !taken(splitPin(w.to)[1]));
  return [fed?.from ?? '', b.outputs > 0 ? `${id}.0` : ''];
});

const responds = computed(() => blockType.value?.traits.includes('linearModel') ?? false);
const question = computed(() => {
  const blocks = responds.value ? [selected.value] : [];
  const way = source.value !== '' && targets.value.length > 0;
  return JSON.stringify({ from: way ? source.value : '', to: targets.value, blocks });
});

// While something moves, half the points will do; all of them are asked for when it stands still.
const MOVING = 250; // ms from one question to the next
let asked = -Infinity;
let refine = 0;

const asker = new Asker(async () => {
  const now = performance.now();
  const moving = now - asked < MOVING;
  asked = now;
  clearTimeout(refine);
  if (moving) refine = window.setTimeout(() => asker.ask(), MOVING);
  const { from, to, blocks } = JSON.parse(question.peek()) as { from: string; to: string[]; blocks: string[] };
  const verb = { ...(from && { from, to }), blocks, pointsPerOctave: moving ? 24 : 48 };
  const a = from || blocks.length ? await quietly<Response>({ response: verb }) : undefined;
  response.value = a?.responses ? a : undefined;
});

effect(() => {
  void [revision.value, question.value, state.value?.speaker];
  if (live.value) asker.ask();
});
