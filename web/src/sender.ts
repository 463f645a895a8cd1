// SPDX-License-Identifier: Apache-2.0
// Changed values on their way: one message under way, the newest value of each path wins, steps of undo kept apart.
import type { Value } from './types';

interface Batch {
  gesture: string;
  values: Map<string, Value>;
}

type Send = (gesture: string, values: Record<string, Value>) => Promise<number>;

export class Sender {
  private queue: Batch[] = [];
  private flying: Batch | undefined;
  private passed = new Map<string, { rev: number; value: Value }>();

  constructor(
    private readonly send: Send,
    private readonly accepted: (path: string, value: Value) => void,
    private readonly failed: (error: unknown, paths: string[]) => void,
  ) {}

  push(gesture: string, values: Record<string, Value>): void {
    let last = this.queue.at(-1);
    if (last?.gesture !== gesture) this.queue.push((last = { gesture, values: new Map() }));
    for (const [path, value] of Object.entries(values)) last.values.set(path, value);
    void this.next();
  }

  // What the server says of a path while a newer value of ours is under way must not be shown.
  owns(path: string, rev: number, value: Value): boolean {
    const mine = [this.flying, ...this.queue].some((b) => b && [...b.values.keys()].some((p) => overlap(p, path)));
    if (mine) this.passed.set(path, { rev, value });
    return mine;
  }

  // Values of ours that the server has not confirmed yet.
  open(): [string, Value][] {
    return [this.flying, ...this.queue].flatMap((b) => (b ? [...b.values] : []));
  }

  clear(): void {
    this.queue = [];
    this.flying = undefined;
    this.passed.clear();
  }

  // Once all that was changed is answered.
  async settled(): Promise<void> {
    while (this.flying || this.queue.length > 0) await new Promise((next) => setTimeout(next, 10));
  }

  private async next(): Promise<void> {
    if (this.flying || this.queue.length === 0) return;
    const batch = this.queue.shift()!;
    this.flying = batch;
    try {
      const rev = await this.send(batch.gesture, Object.fromEntries(batch.values));
      if (this.flying !== batch) return;
      this.flying = undefined;
      this.release(rev);
    } catch (error) {
      if (this.flying !== batch) return;
      this.flying = undefined;
      this.failed(error, [...batch.values.keys()]);
    }
    void this.next();
  }

  // Another client may have had the last word after our own.
  private release(rev: number): void {
    if (this.queue.length > 0) return;
    for (const [path, late] of this.passed) if (late.rev > rev) this.accepted(path, late.value);
    this.passed.clear();
  }
}

const overlap = (a: string, b: string): boolean => a === b || inside(a, b) || inside(b, a);
const inside = (a: string, b: string): boolean => a.startsWith(b) && /^[.[]/.test(a.slice(b.length));

// One id from pressing to letting go; of wheels and keys, until they rest.
export class Gesture {
  private static count = 0;
  private static readonly client = Math.random().toString(36).slice(2, 8);
  private id = '';
  private last = 0;
  private held = false;

  hold(): void {
    this.id = Gesture.fresh();
    this.held = true;
  }

  drop(): void {
    this.held = false;
    this.last = 0;
  }

  current(): string {
    const now = performance.now();
    if (!this.held && now - this.last > 700) this.id = Gesture.fresh();
    this.last = now;
    return this.id;
  }

  static fresh(): string {
    return `${Gesture.client}-${++Gesture.count}`;
  }
}
