// SPDX-License-Identifier: Apache-2.0
// The page against a program that plays: every control, dragging, the way back, saving, edits from outside, a lost
// connection, two browsers, a telephone.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import type { Locator, Page } from 'playwright-core';
import type { Params } from '../../web/src/types';
import { Client, open, pick, soon, start, type Schematic } from './support';

const EQ: Schematic = {
  title: 'Two ways',
  inputs: 2,
  blocks: {
    peak: { type: 'FILTER_2ND_GENERAL', params: { type: 'Gen_Param', fc: 1000, q: 1, boostDb: 3 } },
    eq: {
      type: 'FILTER_TEXTEQ',
      params: {
        bands: [
          { fc: 100, boostDb: 2 },
          { fc: 3000, boostDb: -4, q: 2 },
        ],
      },
    },
    comp: {
      type: 'DP_COMPRESSOR_RMS',
      params: {
        curve: [
          [-80, -80],
          [-40, -40],
          [0, -20],
        ],
      },
    },
    volume: { type: 'VC_SIG_CONTROL_SLEW', params: { volumeDb: -6 } },
  },
  wires: [
    ['input', 'peak'],
    ['peak', 'eq'],
    ['eq', 'comp'],
    ['comp', 'volume'],
    ['volume', 'output'],
  ],
};

const slider = (page: Page, path: string): Locator => page.locator(`[data-path="${path}"] input[type=range]`);
const typed = (page: Page, path: string): Locator => page.locator(`[data-path="${path}"] input[type=text]`);
const holds = (client: Client, block: string, wanted: Params): Promise<void> =>
  soon(async () => {
    const now = await client.params(block);
    for (const [name, value] of Object.entries(wanted)) assert.equal(now[name], value, `${block}.${name}`);
  });

test('a number is moved by keys and typed with units; nonsense is not taken; what a type does not read is greyed', async () => {
  const { page, client } = await start(EQ);
  await slider(page, 'peak.fc').press('ArrowRight');
  await holds(client, 'peak', { fc: 1010 });
  await typed(page, 'peak.fc').fill('2,5 kHz');
  await typed(page, 'peak.fc').press('Enter');
  await holds(client, 'peak', { fc: 2500 });
  await typed(page, 'peak.boostDb').press('ArrowDown');
  await holds(client, 'peak', { boostDb: 2.9 });
  await typed(page, 'peak.q').fill('much');
  assert.equal(await typed(page, 'peak.q').getAttribute('aria-invalid'), 'true');
  await typed(page, 'peak.q').press('Enter');
  assert.equal(await typed(page, 'peak.q').inputValue(), '1');

  await page.locator('[data-path="peak.type"] select').selectOption({ label: 'Gen_Butter_LP' });
  await holds(client, 'peak', { type: 'Gen_Butter_LP' });
  for (const path of ['peak.q', 'peak.boostDb']) assert.ok(await slider(page, path).isDisabled(), path);
  assert.ok(await slider(page, 'peak.fc').isEnabled());
  await page.locator('[data-path="peak.type"] select').selectOption({ label: 'Gen_LS' });
  await page.locator('[data-path="peak.q"] .name', { hasText: 'slope' }).waitFor();
  await page.locator('[data-path="peak.polarity"]').getByRole('switch').press('Space');
  await holds(client, 'peak', { type: 'Gen_LS', polarity: true });
});

test('a point is dragged in one step of undo, the wheel turns its width, and both ways back work', async () => {
  const { page, client } = await start(EQ);
  const point = page.locator('[data-point="fc"]');
  await point.hover(); // where it stands still: what the block's response says may move the scale
  const at = (await point.boundingBox())!;
  const [x, y] = [at.x + at.width / 2, at.y + at.height / 2];
  await page.mouse.move(x, y);
  await page.mouse.down();
  for (let i = 1; i <= 12; i += 1) await page.mouse.move(x + 10 * i, y - 4 * i);
  await page.mouse.up();
  const scale = await page.locator('.u-over').first().boundingBox();
  const fc = 1000 * 1000 ** (120 / scale!.width);
  await soon(async () => {
    const p = await client.params('peak');
    assert.ok(Math.abs(p.fc / fc - 1) < 0.02, `${p.fc} Hz, dragged to ${fc}`);
    assert.ok(p.boostDb > 5 && p.boostDb < 14, `${p.boostDb} dB`);
  });
  await soon(() => assert.equal(client.state.undo, 1));
  await page.mouse.move(x + 120, y - 48);
  await page.mouse.wheel(0, -100);
  await soon(async () => assert.ok((await client.params('peak'))['q'] > 1));
  await page.keyboard.press('Control+z');
  await holds(client, 'peak', { q: 1 });
  await page.keyboard.press('Control+z');
  await holds(client, 'peak', { fc: 1000, boostDb: 3 });
  await soon(async () => assert.equal(await typed(page, 'peak.fc').inputValue(), '1000'));
  await page.keyboard.press('Control+Shift+Z');
  await soon(async () => assert.ok(Math.abs((await client.params('peak'))['fc'] / fc - 1) < 0.02));
});

test('bands have a point each; keys move it; rows come and go', async () => {
  const { page, client } = await start(EQ);
  await pick(page, 'eq');
  const second = page.locator('[data-point="bands1"]');
  await second.press('ArrowUp');
  await second.press('ArrowRight');
  await second.press('PageUp');
  await soon(async () => {
    const [, band] = (await client.params('eq'))['bands'];
    assert.deepEqual([band.boostDb, band.fc], [-3.9, 3030]);
    assert.ok(band.q > 2);
  });
  await page.getByRole('button', { name: 'Add a row' }).click();
  await page.locator('[data-point="bands2"]').waitFor();
  await typed(page, 'eq.bands[2].fc').fill('8k');
  await typed(page, 'eq.bands[2].fc').press('Enter');
  await soon(async () => assert.equal((await client.params('eq'))['bands'][2].fc, 8000));
  await page.getByRole('button', { name: 'Remove row 3' }).click();
  await soon(async () => assert.equal((await client.params('eq'))['bands'].length, 2));
  await page.locator('.area').dblclick({ position: { x: 400, y: 40 } });
  await page.locator('[data-point="bands2"]').press('Delete');
  await page.locator('[data-point="bands2"]').waitFor({ state: 'detached' });
  await page.locator('[data-point="bands1"]').focus();
  await page.locator('[data-path="eq.bands[1].type"] select').selectOption({ label: 'Text_Notch' });
  await soon(async () =>
    assert.match((await page.locator('[data-point="bands1"]').getAttribute('aria-label'))!, /gainDb/),
  );
});

test('a dynamics block shows its static curve; a point of it is dragged; levels move', async () => {
  const { page, client } = await start(EQ);
  await pick(page, 'comp');
  const point = page.locator('[data-point="curve1"]');
  await point.press('ArrowUp');
  await soon(async () => {
    const row = (await client.params('comp'))['curve'][1];
    assert.equal(row.out ?? row[1], -39.9);
  });
  await soon(async () => assert.notEqual(await page.locator('.dot').evaluate((e) => e.style.opacity), '0'));
  const level = page.locator('[data-meter="output.0"] .peak');
  await soon(async () => assert.match((await level.textContent())!, /^−\d+\.\d$/));
});

test('bypass, solo, A and B, presets', async () => {
  const { page, client } = await start(EQ);
  await page.getByRole('button', { name: 'Bypass', exact: true }).click();
  await soon(() => assert.deepEqual(client.state.bypass, ['peak']));
  await page.locator('[data-block=peak].off').waitFor();
  await page.getByRole('button', { name: 'Bypass', exact: true }).click();
  await page.getByRole('button', { name: 'Solo output.1' }).click();
  await soon(() => assert.deepEqual(client.state.solo, ['output.1']));
  await page.getByRole('button', { name: 'Solo output.1' }).click();
  await soon(() => assert.deepEqual(client.state.solo, []));

  await page.getByRole('button', { name: 'Presets' }).click();
  await page.getByPlaceholder('New preset').fill('day');
  await page.keyboard.press('Enter');
  await page.getByRole('button', { name: 'day', exact: true }).waitFor();
  await page.keyboard.press('Escape');

  await page.getByRole('radio', { name: 'B', exact: true }).click();
  await soon(() => assert.equal(client.state.ab, 'b'));
  await slider(page, 'peak.boostDb').press('ArrowRight');
  await holds(client, 'peak', { boostDb: 3.1 });
  await page.getByRole('radio', { name: 'A', exact: true }).click();
  await holds(client, 'peak', { boostDb: 3 });
  await page.getByRole('radio', { name: 'B', exact: true }).click();
  await holds(client, 'peak', { boostDb: 3.1 });
  await page.getByRole('button', { name: 'Make A like B' }).click();
  await soon(() => assert.equal(client.state.abDiffers, false));

  await page.getByRole('button', { name: 'Presets' }).click();
  await page.getByRole('button', { name: 'day', exact: true }).click();
  await holds(client, 'peak', { boostDb: 3 });
  await page.getByRole('button', { name: 'Remove day' }).click();
  await soon(() => assert.deepEqual(client.state.presets, []));
});

test('saving lists what will change and changes that', async () => {
  const { page, program } = await start(EQ);
  const before = program.read();
  const save = page.getByRole('button', { name: 'Save…' });
  assert.ok(await save.isDisabled());
  await typed(page, 'peak.fc').fill('1250');
  await typed(page, 'peak.fc').press('Enter');
  await page.keyboard.press('Control+s');
  const row = page.getByRole('row').filter({ hasText: 'fc' });
  assert.match((await row.textContent())!, /1(000)?.*12?[.]?25/);
  assert.equal(program.read(), before);
  await page.getByRole('dialog').getByRole('button', { name: 'Save', exact: true }).click();
  await soon(() => assert.match(program.read(), /1250/));
  await soon(async () => assert.ok(await save.isDisabled()));
});

test('an edit of the file from outside is taken; a broken one is shown and plays on', async () => {
  const { page, program, client } = await start(EQ);
  const text = program.read();
  program.write(text.replace('"fc": 1000', '"fc": 1500'));
  await holds(client, 'peak', { fc: 1500 });
  await soon(async () => assert.equal(await typed(page, 'peak.fc').inputValue(), '1500'));
  program.write(text.replace('"fc": 1000', '"fc": "low"').replace('"FILTER_TEXTEQ"', '"FILTER_TEXTEX"'));
  const alert = page.getByRole('alert').filter({ hasText: 'not valid' });
  await alert.waitFor();
  assert.match((await alert.textContent())!, /line \d+/);
  assert.equal(await typed(page, 'peak.fc').inputValue(), '1500');
  program.write(text);
  await alert.waitFor({ state: 'detached' });
  await soon(async () => assert.equal(await typed(page, 'peak.fc').inputValue(), '1000'));
});

test('a file that changed under unsaved work is not overwritten', async () => {
  const { page, program, client } = await start(EQ);
  await slider(page, 'peak.boostDb').press('ArrowRight');
  await holds(client, 'peak', { boostDb: 3.1 });
  const theirs = program.read().replace('"volumeDb": -6', '"volumeDb": -9');
  program.write(theirs);
  const notice = page.getByRole('status').filter({ hasText: 'changed on disk' });
  await notice.waitFor();
  await page.keyboard.press('Control+s');
  await page.getByRole('dialog').getByRole('button', { name: 'Save', exact: true }).click();
  await page.locator('.notes .bad').waitFor();
  assert.equal(program.read(), theirs);
  await page.getByRole('dialog').getByRole('button', { name: 'Cancel' }).click();
  await notice.getByRole('button', { name: 'Take the file' }).click();
  await holds(client, 'volume', { volumeDb: -9 });
  await holds(client, 'peak', { boostDb: 3 });
  await page.getByRole('button', { name: 'Undo', exact: true }).click();
  await holds(client, 'peak', { boostDb: 3.1 });
});

test('a lost connection is said, and comes back without a reload', async () => {
  const { page, program } = await start(EQ);
  await pick(page, 'volume');
  await page.evaluate('window.stays = true');
  await program.kill();
  const alert = page.getByRole('alert').filter({ hasText: 'Connection lost' });
  await alert.waitFor();
  assert.ok(await slider(page, 'volume.volumeDb').isDisabled());
  await program.run();
  await alert.waitFor({ state: 'detached', timeout: 8000 });
  assert.equal(await page.evaluate('window.stays'), true);
  await slider(page, 'volume.volumeDb').press('ArrowRight');
  const client = await Client.join(program);
  await holds(client, 'volume', { volumeDb: -5.9 });
  await soon(async () => assert.match((await page.locator('[data-meter="input.0"] .peak').textContent())!, /\d/));
});

test('two browsers see what the other changes', async () => {
  const { page, program } = await start(EQ);
  const other = await open(program, { colorScheme: 'dark' });
  await slider(page, 'peak.boostDb').press('ArrowRight');
  await soon(async () => assert.equal(await typed(other, 'peak.boostDb').inputValue(), '3.1'));
  await other.getByRole('button', { name: 'Undo', exact: true }).click();
  await soon(async () => assert.equal(await typed(page, 'peak.boostDb').inputValue(), '3'));
  await soon(async () => assert.ok(await page.getByRole('button', { name: 'Redo' }).isEnabled()));
});

test('the loudspeaker and the sum with it', async () => {
  const { page } = await start(EQ);
  const rows = Array.from(
    { length: 100 },
    (_, i) => `${(20 * 1000 ** (i / 99)).toFixed(2)} ${(80 + Math.sin(i)).toFixed(2)} 0`,
  );
  await page
    .getByTestId('speaker')
    .setInputFiles({ name: 'box.frd', mimeType: 'text/plain', buffer: Buffer.from(rows.join('\n')) });
  for (const name of ['loudspeaker', 'sum']) await page.locator('.chip', { hasText: name }).waitFor();
  await page.getByRole('button', { name: /Drop the loudspeaker/ }).click();
  await page.locator('.chip.sum').waitFor({ state: 'detached' });
});

test('a telephone: one part at a time, nothing beside the screen, fingers reach', async () => {
  const { page, client } = await start(EQ, { viewport: { width: 380, height: 720 }, hasTouch: true, isMobile: true });
  for (const tab of ['Graph', 'Block', 'Response', 'Levels']) {
    await page.getByRole('tab', { name: tab }).tap();
    const outside = await page.evaluate(() =>
      [...document.querySelectorAll<HTMLElement>('button, input, select')]
        .filter((e) => e.checkVisibility({ visibilityProperty: true }) && !e.closest('.nodes'))
        .filter((e) => e.getBoundingClientRect().right > innerWidth + 0.5 || e.getBoundingClientRect().left < 0)
        .map((e) => e.getAttribute('aria-label') ?? e.textContent),
    );
    assert.deepEqual(outside, [], tab);
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), tab);
  }
  await page.getByRole('tab', { name: 'Graph' }).tap();
  await page.locator('[data-block=peak]').tap();
  await page.locator('[data-path="peak.enable"]').getByRole('switch').tap();
  await holds(client, 'peak', { enable: false });
});
