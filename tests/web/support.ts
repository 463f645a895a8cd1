// SPDX-License-Identifier: Apache-2.0
// What the tests of the page share: a program playing a schematic, a browser, a client of the protocol.
import assert from 'node:assert/strict';
import { execFileSync, spawn, type ChildProcess } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, afterEach } from 'node:test';
import { chromium, type Browser, type BrowserContextOptions, type Page } from 'playwright-core';
import { WebSocket } from 'ws';
import type { BlockType, Params, State } from '../../web/src/types';

const env = (name: string): string => process.env[name] ?? assert.fail(`${name} is not set; start tests/web/run.sh`);

export const catalog = JSON.parse(
  execFileSync(env('VANTORO'), ['blocks', '--json'], { encoding: 'utf8', maxBuffer: 1 << 24 }),
) as BlockType[];

export interface Schematic {
  title?: string;
  inputs?: number;
  blocks: Record<string, { type: string; params?: Params; inputs?: number; outputs?: number }>;
  wires: [string, string][];
}

// A program of its own for each test: VANTORO_SERVER is the command that plays a schematic without a sound card.
export class Program {
  private process: ChildProcess | undefined;
  private readonly folder = mkdtempSync(join(tmpdir(), 'vantoro-page-'));
  readonly file = join(this.folder, 'room.json');
  private readonly inputs: number | undefined;
  url = '';

  constructor(schematic: Schematic) {
    this.inputs = schematic.inputs;
    this.write(JSON.stringify(schematic, null, 2) + '\n');
  }

  async run(): Promise<void> {
    const [command = '', ...rest] = env('VANTORO_SERVER').split(' ');
    const port = this.url ? ['--port', new URL(this.url).port] : [];
    const sound = this.inputs === 2 ? ['--input', `file:${env('VANTORO_SOUND')}`, '--loop'] : ['--input', 'null'];
    const child = spawn(command, [...rest, ...sound, this.file, ...port], { stdio: 'pipe' });
    this.process = child;
    let said = '';
    this.url = await new Promise<string>((found, failed) => {
      const read = (data: Buffer): void => {
        said += String(data);
        const url = /http:\/\/[\d.]+:\d+/.exec(said);
        if (url) found(url[0]);
      };
      child.stdout!.on('data', read);
      child.stderr!.on('data', read);
      child.on('exit', () => failed(new Error(`the program ended: ${said}`)));
    });
  }

  read = (): string => readFileSync(this.file, 'utf8');
  write = (text: string): void => writeFileSync(this.file, text);

  async kill(): Promise<void> {
    const child = this.process;
    if (!child) return;
    if (child.exitCode !== null || child.signalCode !== null) return;
    const gone = new Promise((done) => child.once('exit', done));
    child.kill('SIGKILL');
    await gone;
  }

  async end(): Promise<void> {
    await this.kill();
    rmSync(this.folder, { recursive: true });
  }
}

// A client without a page: what the program holds to be true.
export class Client {
  private id = 0;
  private waiting = new Map<number, (answer: Answer) => void>();
  state!: State;
  meters = 0; // messages with them, so far

  static async join(program: Program): Promise<Client> {
    const client = new Client(new WebSocket(`${program.url.replace('http', 'ws')}/control`, { origin: program.url }));
    await new Promise((open, failed) => client.socket.once('open', open).once('error', failed));
    cleanup.push(() => client.socket.close());
    client.state = ((await client.ask({ hello: { protocol: 1, client: 'test' } }))['hello'] as { state: State }).state;
    return client;
  }

  private constructor(private readonly socket: WebSocket) {
    socket.on('message', (data) => {
      const message = JSON.parse(String(data)) as Answer;
      if (message['meters']) this.meters += 1;
      if (message['state']) this.state = message['state'] as State;
      if (message['changed']) Object.assign(this.state, { undo: (message['changed'] as State).undo });
      this.waiting.get(message['id'] as number)?.(message);
    });
  }

  async ask(verb: Answer): Promise<Answer> {
    const id = ++this.id;
    this.socket.send(JSON.stringify({ id, ...verb }));
    return new Promise((done) => this.waiting.set(id, done));
  }

  async params(block: string): Promise<Record<string, any>> {
    return ((await this.ask({ get: [block] }))['values'] as Record<string, Params>)[block]!;
  }
}

type Answer = Record<string, unknown>;

let browser: Browser | undefined;
const faults: string[] = []; // errors in any page, what the content policy forbids among them
const cleanup: (() => Promise<void> | void)[] = [];

afterEach(async () => {
  for (const undo of cleanup.splice(0).reverse()) await undo();
  assert.deepEqual(faults.splice(0), []);
});
after(() => browser?.close());

export async function start(
  schematic: Schematic,
  options: BrowserContextOptions = {},
): Promise<{ program: Program; page: Page; client: Client }> {
  const program = new Program(structuredClone(schematic));
  cleanup.push(() => program.end());
  await program.run();
  return { program, client: await Client.join(program), page: await open(program, options) };
}

export async function open(program: Program, options: BrowserContextOptions = {}): Promise<Page> {
  browser ??= await chromium.launch({
    executablePath: process.env['CHROMIUM'] ?? '/usr/bin/chromium',
    args: [
      '--no-sandbox',
      '--disable-gpu',
      '--disable-quic',
      '--no-first-run',
      '--disable-background-networking',
      '--disable-component-update',
      '--disable-sync',
    ],
  });
  const page = await browser.newPage({ viewport: { width: 1440, height: 900 }, ...options });
  cleanup.push(() => page.close());
  page.setDefaultTimeout(5000);
  page.on('pageerror', (error) => faults.push(String(error)));
  page.on(
    'console',
    (m) => m.type() === 'error' && !/ERR_CONNECTION_REFUSED|WebSocket/.test(m.text()) && faults.push(m.text()),
  );
  await page.goto(program.url);
  await page.locator('.light.open').waitFor();
  return page;
}

// Waits until it holds; the message of the last failure, where it never does.
export async function soon(check: () => Promise<void> | void, within = 4000): Promise<void> {
  const end = Date.now() + within;
  for (;;) {
    try {
      return await check();
    } catch (error) {
      if (Date.now() > end) throw error;
      await new Promise((next) => setTimeout(next, 30));
    }
  }
}

export const pick = (page: Page, block: string): Promise<unknown> =>
  page.getByLabel('Block', { exact: true }).and(page.locator('select')).selectOption(block);
