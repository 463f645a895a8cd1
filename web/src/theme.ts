// SPDX-License-Identifier: Apache-2.0
// Colours of the canvases, from the style sheet; read again when the system changes between dark and light.
import { signal } from '@preact/signals';

const NAMES = [
  'bg',
  'text',
  'muted',
  'line',
  'grid',
  'surface',
  'accent',
  'control',
  'ok',
  'warn',
  'bad',
  'speaker',
  'sum',
  'after',
  'quiet',
] as const;
export type Colours = Record<(typeof NAMES)[number], string>;

function read(): Colours {
  const style = getComputedStyle(document.documentElement);
  return Object.fromEntries(NAMES.map((n) => [n, style.getPropertyValue(`--${n}`).trim()])) as Colours;
}

export const colours = signal<Colours>(read());
matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => (colours.value = read()));

export const FONT = (px: number): string =>
  `${px}px Inter, system-ui, "Segoe UI", Roboto, "Liberation Sans", sans-serif`;

// Sharp lines on every screen: the canvas has the screen's pixels, its context counts CSS pixels.
export function prepare(canvas: HTMLCanvasElement, width: number, height: number): CanvasRenderingContext2D {
  const ratio = devicePixelRatio || 1;
  const [w, h] = [Math.round(width * ratio), Math.round(height * ratio)];
  if (canvas.width !== w || canvas.height !== h) Object.assign(canvas, { width: w, height: h });
  const ctx = canvas.getContext('2d')!;
  ctx.setTransform(ratio, 0, 0, ratio, 0, 0);
  return ctx;
}
