// SPDX-License-Identifier: Apache-2.0
// Every block type of the catalog: its panel has the control that each parameter asks for, and each works.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import type { Page } from 'playwright-core';
import type { BlockType, Param, Params, Table, Value } from '../../web/src/types';
import { catalog, pick, soon, start, type Schematic } from './support';

const TYPES = catalog.filter((t) => !t.traits.includes('terminal'));
const idOf = (t: BlockType): string => `b${t.code}`;

// One of each. Nothing needs a wire to have its panel, but something must play.
function all(): Schematic {
  const blocks: Schematic['blocks'] = Object.fromEntries(TYPES.map((t) => [idOf(t), { type: t.name }]));
  blocks['through'] = { type: 'BASIC_GAIN' };
  return {
    title: 'One of each',
    inputs: 1,
    blocks,
    wires: [
      ['input', 'through'],
      ['through', 'output'],
    ],
  };
}

interface Seen {
  kind: string;
  disabled: boolean;
}

// Operates every control of the open panel once, as keys would, and says what there was.
function operate(page: Page, skip: string[]): Promise<Record<string, Seen>> {
  return page.evaluate((left) => {
    const seen: Record<string, Seen> = {};
    for (const row of document.querySelectorAll<HTMLElement>('.panel [data-path]')) {
      const toggle = row.querySelector<HTMLButtonElement>('[role=switch]');
      const select = row.querySelector('select');
      const radios = row.querySelectorAll<HTMLButtonElement>('[role=radio]');
      const number = row.querySelector<HTMLInputElement>('input[type=text]');
      const control = toggle ?? select ?? radios[0] ?? number;
      const kind = toggle ? 'flag' : select || radios.length ? 'choice' : 'number';
      seen[row.dataset['path']!] = { kind, disabled: control!.disabled };
      if (control!.disabled || kind === 'choice' || left.includes(row.dataset['path']!)) continue;
      toggle?.click();
      number?.dispatchEvent(new KeyboardEvent('keydown', { key: 'ArrowUp', bubbles: true, cancelable: true }));
    }
    return seen;
  }, skip);
}

const kindOf = (p: Param): string => (p.kind === 'flag' || p.kind === 'choice' ? p.kind : 'number');

// What the description asks for under the values that hold: kind, and whether it is read. Written from the catalog
// alone, apart from the page's own reading of it.
function wanted(entries: (Param | undefined)[], values: Params): Map<string, Seen> {
  const unread = new Set<number>();
  for (const p of entries) {
    const chosen = p?.choices?.find((c) => c.name === values[p.name] || c.value === values[p.name]);
    for (const r of chosen?.readings ?? []) if (r.as === null) unread.add(r.entry);
  }
  return new Map(
    entries.flatMap((p, i) => (p ? [[p.name, { kind: kindOf(p), disabled: p.unused || unread.has(i) }] as const] : [])),
  );
}

function firstCells(t: Table, table: Value | undefined): Map<string, Seen> {
  const row = (table as unknown[])[0];
  if (Array.isArray(row) && t.columns.length === 1)
    return new Map([[`${t.name}[0][0]`, { kind: 'number', disabled: false }]]);
  if (typeof row !== 'object') return new Map([[`${t.name}[0]`, { kind: 'number', disabled: false }]]);
  const at = (name: string): string =>
    Array.isArray(row) ? `${t.name}[0][${t.columns.findIndex((c) => c.name === name)}]` : `${t.name}[0].${name}`;
  return new Map([...wanted(t.columns, row as Params)].map(([name, seen]) => [at(name), seen]));
}

test(`controls of all ${TYPES.length} block types`, async () => {
  const { client, page } = await start(all());
  for (const type of TYPES) {
    const id = idOf(type);
    await pick(page, id);
    const before = (await client.params(id)) as Params;
    const expected = wanted(
      type.layout.map((s) => s.param),
      before,
    );
    for (const s of type.layout)
      if (s.table && (before[s.table.name] as unknown[]).length)
        firstCells(s.table, before[s.table.name]).forEach((v, k) => expected.set(k, v));
    // Of the two sizes of a table one at a time.
    const skip = type.layout.flatMap((s) =>
      s.table?.rowsEntry === undefined ? [] : [type.layout[s.table.rowsEntry]!.param!.name],
    );
    const seen = await operate(
      page,
      skip.map((name) => `${id}.${name}`),
    );
    for (const [path, want] of expected) assert.deepEqual(seen[`${id}.${path}`], want, `${type.name} ${path}`);
    const moved = [...expected]
      .filter(([path, w]) => !w.disabled && w.kind !== 'choice' && !skip.includes(path))
      .map(([path]) => path);
    await soon(async () => {
      const now = (await client.ask({ get: moved.map((p) => `${id}.${p}`) }))['values'] as Params;
      const still = moved.filter((p) => String(now[`${id}.${p}`]) === String(valueAt(before, p)));
      assert.deepEqual(still, [], `${type.name}: not changed`);
    });
  }
  assert.deepEqual(await page.locator('.notes .bad').allTextContents(), []);
});

const valueAt = (params: Params, path: string): unknown =>
  path
    .split(/[.[\]]+/)
    .filter(Boolean)
    .reduce<unknown>((node, key) => (node as Record<string, unknown>)[key], params);

// Points on the response: so many for the type with its defaults.
test('filters have their points', async () => {
  const points: Record<string, number> = {
    FILTER_1ST: 1,
    FILTER_2ND_GENERAL: 1,
    FILTER_2ND_TONE: 2,
    FILTER_2ND_FIRSTORDERS: 1,
    FILTER_TEXTEQ: 1,
    FILTER_GRAPHICAL_EQ: 1,
    FILTER_CROSSOVER_2WAY: 2,
    FILTER_CROSSOVER_3WAY: 4,
    FILTER_MISCE_STATEVARIABLE: 1,
    FILTER_LOOKUP_COMMON: 2,
    LOUDNESS_LH: 2,
    FILTER_2ND_IIR: 0,
    BASIC_GAIN: 0,
    DP_LIMITER: 0,
  };
  const { page } = await start(all());
  for (const [name, count] of Object.entries(points)) {
    await pick(page, idOf(TYPES.find((t) => t.name === name)!));
    await soon(async () => assert.equal(await page.locator('.plot .point').count(), count, name));
  }
});
