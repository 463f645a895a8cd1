// SPDX-License-Identifier: Apache-2.0
// What the page knows, and what it can ask for. Every part of the page reads these signals; only this file writes
// what comes from the server.
import { batch, computed, signal, type Signal } from '@preact/signals';
import { Link, Refused, type Answer } from './link';
import { splitPath, withValue } from './paths';
import { Gesture, Sender } from './sender';
import type { Block, BlockType, Change, Changed, Hello, Meters, Params, Problem, State, Status, Value } from './types';

export type Connection = 'connecting' | 'open' | 'lost' | 'token' | 'refused';

export const connection = signal<Connection>('connecting');
export const farewell = signal('');
export const program = signal({ version: '', file: '', rate: 48000, blockSize: 64 });
export const catalog = signal(new Map<string, BlockType>());
export const state = signal<State | undefined>(undefined);
export const status = signal<Status | undefined>(undefined);
export const selected = signal('');
export const selectedRow = signal(0);
export const notes = signal<Note[]>([]);
export const setWarnings = signal<Problem[]>([]);
export const detectors = signal<Record<string, number[]>>({});

export interface Note {
  id: number;
  text: string;
  bad: boolean;
}

// Parameters by block: a moved slider redraws what shows its block and nothing else.
const params = new Map<string, Signal<Params>>();
export const revision = signal(0); // of what is heard, as far as the page knows; also moved by its own changes

export const block = computed<Block | undefined>(() => state.value?.blocks[selected.value]);
export const blockType = computed(() => typeOf(block.value?.type));
export const rate = computed(() => status.value?.rate || program.value.rate);
export const unsaved = computed(() => state.value !== undefined && state.value.rev !== state.value.saved);
export const live = computed(() => connection.value === 'open');

// Schematics may write types with or without the prefix that the C enumerators have, or as a code.
export function typeOf(name: string | number | undefined): BlockType | undefined {
  if (name === undefined) return undefined;
  const text = String(name);
  return catalog.value.get(text) ?? catalog.value.get(text.replace(/^EN_/, ''));
}

export function paramsOfBlock(id: string): Params {
  return paramsSignal(id).value;
}

function paramsSignal(id: string): Signal<Params> {
  let s = params.get(id);
  if (!s) params.set(id, (s = signal(state.peek()?.blocks[id]?.params ?? {})));
  return s;
}

// ---- what streams in many times a second, read by the drawing loop and not by components

export const stream = {
  signals: new Map<string, number>(),
  names: [] as string[],
  peak: [] as number[],
  rms: [] as number[],
  spectrum: {} as Record<string, number[]>,
  spectrumHz: [] as number[],
  meterCount: 0,
  spectrumCount: 0,
};

const frameJobs = new Set<(now: number) => void>();
export function onFrame(job: (now: number) => void): () => void {
  frameJobs.add(job);
  return () => frameJobs.delete(job);
}

function frame(now: number): void {
  for (const job of frameJobs) job(now);
  requestAnimationFrame(frame);
}

// ---- the connection

const TOKEN = 'vantoro token';
const link = new Link(new URL('control', location.href).href.replace(/^http/, 'ws').replace(/#.*$/, ''), {
  opened: () => void greet(),
  closed: (reason) => {
    Object.assign(stream, {
      peak: [],
      rms: [],
      spectrum: {},
      meterCount: stream.meterCount + 1,
      spectrumCount: stream.spectrumCount + 1,
    });
    farewell.value = reason;
    if (connection.value !== 'token' && connection.value !== 'refused') connection.value = 'lost';
  },
  pushed,
});

export function start(): void {
  const given = /^#token=([\w-]+)$/.exec(location.hash);
  if (given) {
    sessionStorage.setItem(TOKEN, given[1]!);
    history.replaceState(null, '', location.pathname);
  }
  document.addEventListener('visibilitychange', () => void subscribe());
  requestAnimationFrame(frame);
  link.open();
}

export function useToken(token: string): void {
  sessionStorage.setItem(TOKEN, token.trim());
  connection.value = 'connecting';
  link.resume();
}

async function greet(): Promise<void> {
  const token = sessionStorage.getItem(TOKEN);
  try {
    const { hello } = await link.ask<{ hello: Hello }>({
      hello: { protocol: 1, client: 'page', ...(token && { token }) },
    });
    link.settled();
    welcome(hello);
    await Promise.all([subscribe(), link.ask({ status: true }).then(takeStatus)]);
  } catch (error) {
    if (!(error instanceof Refused)) return;
    link.stop();
    farewell.value = error.message;
    connection.value = error.problems.some((p) => p.where.includes('token')) ? 'token' : 'refused';
  }
}

function welcome(hello: Hello): void {
  batch(() => {
    sender.clear();
    program.value = { version: hello.program, file: hello.file, rate: hello.rate, blockSize: hello.blockSize };
    catalog.value = new Map(hello.catalog.flatMap((t) => [[t.name, t] as const, [String(t.code), t] as const]));
    takeState(hello.state);
    farewell.value = '';
    connection.value = 'open';
  });
}

function takeState(next: State): void {
  batch(() => {
    state.value = next;
    revision.value += 1;
    for (const [id, b] of Object.entries(next.blocks)) paramsSignal(id).value = b.params;
    for (const [path, value] of sender.open()) show(path, value);
    for (const id of params.keys()) if (!(id in next.blocks)) params.delete(id);
    if (!(selected.value in next.blocks)) selected.value = next.order[0] ?? '';
  });
}

function pushed(message: Answer): void {
  if (message['meters']) takeMeters(message['meters'] as Meters);
  else if (message['spectrum']) {
    stream.spectrum = message['spectrum'] as Record<string, number[]>;
    stream.spectrumCount += 1;
  } else if (message['changed']) takeChanged(message['changed'] as Changed);
  else if (message['state']) {
    const wires = JSON.stringify(state.peek()?.wires);
    takeState(message['state'] as State);
    if (JSON.stringify(state.peek()?.wires) !== wires) void subscribe();
  } else if (message['status']) takeStatus(message);
  else if (message['problems']) patch({ problems: message['problems'] as Problem[] });
}

function takeStatus(message: Answer): void {
  status.value = message['status'] as Status;
}

function takeMeters(m: Meters): void {
  stream.peak = m.peak;
  stream.rms = m.rms;
  stream.meterCount += 1;
  if (m.detectors) detectors.value = m.detectors;
}

function takeChanged(c: Changed): void {
  batch(() => {
    for (const [path, value] of Object.entries(c.values)) if (!sender.owns(path, c.rev, value)) show(path, value);
    const { rev, saved, by, undo, redo, undoWhat, abDiffers } = c;
    patch({ rev, saved: saved ?? state.value!.saved, by, undo, redo, undoWhat, abDiffers, redoWhat: c.redoWhat ?? '' });
    revision.value += 1;
  });
}

function patch(part: Partial<State>): void {
  if (state.value) state.value = { ...state.value, ...part };
}

function show(path: string, value: Value): void {
  const { block: id, keys } = splitPath(path);
  const s = paramsSignal(id);
  s.value = withValue(s.peek(), keys, value);
}

// ---- meters and spectrum

let heard: [string, string] | undefined;

export function listenTo(before: string, after: string): void {
  heard = before || after ? [before, after] : undefined;
  void subscribe();
}

async function subscribe(): Promise<void> {
  const on = !document.hidden;
  const signals = [...new Set(heard?.filter(Boolean))];
  const spectrum = { rate: on && signals.length > 0 ? 15 : 0, signals, points: 256 };
  try {
    const a = await link.ask({ subscribe: { meters: on ? 30 : 0, status: on ? 1 : 0, spectrum } });
    if (Array.isArray(a['frequency'])) stream.spectrumHz = a['frequency'] as number[];
    stream.names = (a['signals'] as string[] | undefined) ?? [];
    stream.signals = new Map(stream.names.map((name, i) => [name, i]));
  } catch (error) {
    complain(error);
  }
}

// ---- changing things

const sender = new Sender(
  async (gesture, set) => {
    const a = await link.ask({ gesture, set });
    setWarnings.value = (a['warnings'] as Problem[] | undefined) ?? [];
    const rev = a['rev'] as number;
    if (state.value && rev > state.value.rev) patch({ rev });
    return rev;
  },
  show,
  (error, paths) => {
    complain(error);
    void restore(paths);
  },
);

// Shown at once, sent as soon as the last message is answered.
export function change(id: string, values: Record<string, Value>, gesture: Gesture | string = Gesture.fresh()): void {
  if (!live.value) return;
  const full = Object.fromEntries(Object.entries(values).map(([path, v]) => [`${id}.${path}`, v]));
  batch(() => Object.entries(full).forEach(([path, value]) => show(path, value)));
  sender.push(typeof gesture === 'string' ? gesture : gesture.current(), full);
}

// A refused value: back to what is heard.
async function restore(paths: string[]): Promise<void> {
  const ids = [...new Set(paths.map((p) => splitPath(p).block))];
  const a = await link.ask<{ values: Record<string, Params> }>({ get: ids }).catch(() => undefined);
  if (a) batch(() => Object.entries(a.values).forEach(([id, p]) => (paramsSignal(id).value = p)));
}

export async function ask<T = Answer>(verb: Answer): Promise<T | undefined> {
  try {
    return await link.ask<T>(verb);
  } catch (error) {
    complain(error);
    return undefined;
  }
}

// For what may fail without anybody being at fault.
export const quietly = <T = Answer>(verb: Answer): Promise<T | undefined> => link.ask<T>(verb).catch(() => undefined);

export const undo = (): void => void (state.value?.undo && ask({ undo: true }));
export const redo = (): void => void (state.value?.redo && ask({ redo: true }));
export const switchAb = (to: 'a' | 'b' | 'copy'): void => void ask({ ab: to });
export const bypass = (id: string, on: boolean): void => void ask({ bypass: { [id]: on } });
export const isBypassed = (id: string): boolean => state.value?.bypass.includes(id) ?? false;

export function solo(output: string): void {
  const now = state.value?.solo ?? [];
  void ask({ solo: now.includes(output) ? now.filter((o) => o !== output) : [...now, output] });
}

export async function pendingChanges(): Promise<Change[] | undefined> {
  await sender.settled();
  const a = await ask<{ changes?: Change[] }>({ save: { rev: state.value!.rev, list: true } });
  return a && (a.changes ?? []);
}

export async function save(): Promise<boolean> {
  const a = await ask({ save: { rev: state.value!.rev } });
  if (a) say(`Saved to ${fileName()}`);
  return a !== undefined;
}

export const fileName = (): string => program.value.file.split('/').pop() || 'the schematic';

// ---- short messages

let noteCount = 0;

export function say(text: string, bad = false): void {
  const note = { id: ++noteCount, text, bad };
  notes.value = [...notes.value.filter((n) => n.text !== text).slice(-2), note];
  setTimeout(() => dismiss(note.id), bad ? 8000 : 3000);
}

export const dismiss = (id: number): void => {
  notes.value = notes.value.filter((n) => n.id !== id);
};

export function complain(error: unknown): void {
  if (error instanceof Refused) say(error.problems.map(problemText).join('\n'), true);
}

// "/blocks/eq/params/bands/0/fc" as the rest of the page writes it: "eq.bands[0].fc"; "~1" in a step is a slash.
function placeText(where: string): string {
  const steps = where
    .replace(/^\/blocks\/([^/]+)\/params(?=\/)/, '/$1')
    .split('/')
    .slice(1)
    .map((s) => s.replaceAll('~1', '/').replaceAll('~0', '~'));
  return steps.map((s, i) => (/^\d+$/.test(s) ? `[${s}]` : i > 0 ? `.${s}` : s)).join('');
}

export function problemText(p: Problem): string {
  const value = p.value === '' ? '' : `${p.value}: `;
  const place = placeText(p.where);
  const line = p.line > 0 ? ` (line ${p.line})` : '';
  return `${place ? `${place}: ` : ''}${value}${p.warning ? '' : 'wanted '}${p.wanted}${line}`;
}
