// SPDX-License-Identifier: Apache-2.0
// Asks a question again and again: never twice at once, and with a pause after answers that were long in coming, so
// that a slow curve does not stand in the way of the values that are being moved.
export class Asker {
  private busy = false;
  private again = false;

  constructor(private readonly question: () => Promise<void>) {}

  ask(): void {
    if (this.busy) this.again = true;
    else void this.run();
  }

  private async run(): Promise<void> {
    this.busy = true;
    do {
      this.again = false;
      const start = performance.now();
      await this.question();
      const took = performance.now() - start;
      if (took > 12) await new Promise((done) => setTimeout(done, Math.min(1000, 1.5 * took)));
    } while (this.again);
    this.busy = false;
  }
}
