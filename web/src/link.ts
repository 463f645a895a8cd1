// SPDX-License-Identifier: Apache-2.0
// The connection: requests with their answers, what the server pushes, and coming back after a loss.
import type { Problem } from './types';

export class Refused extends Error {
  constructor(readonly problems: Problem[]) {
    super(problems.map((p) => `${p.where}: ${p.value}; wanted ${p.wanted}`).join('\n'));
  }
}

export type Answer = Record<string, unknown>;
type Waiting = { resolve: (a: Answer) => void; reject: (e: Error) => void };

export interface Listener {
  opened: () => void;
  closed: (reason: string) => void;
  pushed: (message: Answer) => void;
}

const FIRST_RETRY = 300; // ms, doubled up to
const LAST_RETRY = 4000;

export class Link {
  private socket: WebSocket | undefined;
  private waiting = new Map<number, Waiting>();
  private nextId = 1;
  private retry = FIRST_RETRY;
  private timer = 0;
  private reason = '';

  constructor(
    private readonly url: string,
    private readonly listener: Listener,
  ) {}

  open(): void {
    clearTimeout(this.timer);
    this.reason = '';
    const socket = new WebSocket(this.url);
    this.socket = socket;
    socket.onopen = () => this.listener.opened();
    socket.onmessage = (e) => this.take(JSON.parse(String(e.data)) as Answer);
    socket.onclose = () => this.lost();
  }

  // Called once the server has accepted this client.
  settled(): void {
    this.retry = FIRST_RETRY;
  }

  stop(): void {
    clearTimeout(this.timer);
    this.retry = Infinity;
    this.socket?.close();
  }

  resume(): void {
    this.retry = FIRST_RETRY;
    if (this.socket?.readyState === WebSocket.OPEN) this.listener.opened();
    else this.open();
  }

  ask<T = Answer>(verb: Answer): Promise<T> {
    if (this.socket?.readyState !== WebSocket.OPEN) return Promise.reject(new Error('not connected'));
    const id = this.nextId++;
    const answer = new Promise<Answer>((resolve, reject) => this.waiting.set(id, { resolve, reject }));
    this.socket.send(JSON.stringify({ id, ...verb }));
    return answer as Promise<T>;
  }

  private take(message: Answer): void {
    if (typeof message['id'] !== 'number') {
      if (typeof message['bye'] === 'string') this.reason = message['bye'];
      this.listener.pushed(message);
      return;
    }
    const waiting = this.waiting.get(message['id']);
    this.waiting.delete(message['id']);
    const problems = message['problems'] as Problem[] | undefined;
    if (problems?.length) waiting?.reject(new Refused(problems));
    else waiting?.resolve(message);
  }

  private lost(): void {
    for (const w of this.waiting.values()) w.reject(new Error('connection lost'));
    this.waiting.clear();
    this.listener.closed(this.reason);
    if (this.retry === Infinity) return;
    this.timer = window.setTimeout(() => this.open(), this.retry);
    this.retry = Math.min(LAST_RETRY, this.retry * 2);
  }
}
