// SPDX-License-Identifier: Apache-2.0
// Numbers between people and sliders: positions on a parameter's scale, rounding, text.
import type { Param } from './types';

// The suggested range of a parameter; frequencies end below half the rate.
export function rangeOf(p: Param, rate: number): { min: number; max: number } {
  const min = p.range.min ?? 0;
  const max = p.range.max ?? 1;
  return { min, max: p.belowHalfRate ? Math.min(max, 0.499 * rate) : max };
}

const isLog = (p: Param): boolean => p.scale === 'logarithmic' && (p.range.min ?? 0) > 0 && p.step > 1;

// Steps from one end of the range to the other: what a slider counts.
export function stepsOf(p: Param, rate: number): number {
  const { min, max } = rangeOf(p, rate);
  const steps = isLog(p) ? Math.log(max / min) / Math.log(p.step) : (max - min) / p.step;
  return Math.max(1, Math.round(steps));
}

export function positionOf(p: Param, value: number, rate: number): number {
  const { min, max } = rangeOf(p, rate);
  const v = Math.min(max, Math.max(min, value));
  const share = isLog(p) ? Math.log(v / min) / Math.log(max / min) : (v - min) / (max - min);
  return Math.round(share * stepsOf(p, rate));
}

export function valueAt(p: Param, position: number, rate: number): number {
  const { min, max } = rangeOf(p, rate);
  const share = position / stepsOf(p, rate);
  const value = isLog(p) ? min * (max / min) ** share : min + share * (max - min);
  return rounded(p, value);
}

// As many digits as a step can tell apart.
export function rounded(p: Param, value: number): number {
  if (p.kind !== 'real') return Math.round(value);
  if (isLog(p)) return Number(value.toPrecision(4));
  const digits = Math.min(8, Math.max(0, Math.ceil(-Math.log10(p.step) - 1e-9)));
  return Number(value.toFixed(digits));
}

// One step up or down, or several.
export function stepped(p: Param, value: number, steps: number): number {
  const moved = isLog(p) ? value * p.step ** steps : value + steps * p.step;
  const floor = isLog(p) && moved <= 0 ? (p.range.min ?? 1) : moved;
  return rounded(p, limited(p, floor));
}

export function limited(p: Param, value: number): number {
  const min = p.clamp.min ?? p.valid.min ?? -Infinity;
  const max = p.clamp.max ?? p.valid.max ?? Infinity;
  return Math.min(max, Math.max(min, value));
}

export function numberText(value: number): string {
  if (!Number.isFinite(value)) return String(value);
  const text = String(Number(value.toPrecision(7)));
  return text.replace('-', '−');
}

// "1.9 kHz", "−2.5 dB", "1.41".
export function withUnit(value: number, unit: string): string {
  if (unit === 'Hz' && Math.abs(value) >= 1000) return `${numberText(Number((value / 1000).toPrecision(3)))} kHz`;
  const short = numberText(Number(value.toPrecision(4)));
  return unit ? `${short} ${unit}` : short;
}

// What people type: "1900", "1.9k", "1,9 kHz", "−3 dB". Undefined: not a number.
export function parsed(text: string): number | undefined {
  const m = /^\s*([-+−]?[\d.,]+(?:e[-+]?\d+)?)\s*(k?)[a-z%/]*\s*$/i.exec(text);
  if (!m) return undefined;
  const digits = m[1]!.replace('−', '-').replace(',', '.');
  const value = Number(digits) * (m[2] ? 1000 : 1);
  return Number.isFinite(value) ? value : undefined;
}

export function levelText(db: number | undefined): string {
  if (db === undefined || !Number.isFinite(db) || db <= -119) return '−∞';
  return db.toFixed(1).replace('-', '−');
}

export const clamp = (v: number, min: number, max: number): number => Math.min(max, Math.max(min, v));
