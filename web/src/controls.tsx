// SPDX-License-Identifier: Apache-2.0
// One control for each kind of parameter: slider with typed value, switch, choice.
import { signal } from '@preact/signals';
import { useMemo, useState } from 'preact/hooks';
import { choiceOf, isOn, shortChoice, type Reading } from './describe';
import { limited, numberText, parsed, positionOf, rounded, stepped, stepsOf, valueAt, withUnit } from './numbers';
import { Gesture } from './sender';
import { change, live, rate } from './store';
import type { Param, Params, Value } from './types';

// What the parameter under the pointer or with the focus means: shown in a line of its own, so nothing jumps.
export const hint = signal('');

interface Props {
  id: string; // of the block
  path: string; // below the block
  reading: Reading;
  value: Value | undefined;
  label?: string;
  also?: (value: Value) => Params; // what must change with it
}

export function Control({ id, path, reading, value, label, also }: Props) {
  const { param, as, read } = reading;
  const name = label ?? as.name;
  const disabled = !read || !live.value;
  const text = `${as.help}${as === param ? '' : ` (${param.name})`}${reading.why ? `; ${reading.why}` : ''}`;
  const show = (): void => void (hint.value = `${name}: ${text}`);
  const own = { id, path, param: as, name, disabled, ...(also && { also }) };
  return (
    <div
      class={`control ${param.kind}${read ? '' : ' unread'}`}
      data-path={`${id}.${path}`}
      onPointerEnter={show}
      onFocusIn={show}
    >
      <span class="name" title={text}>
        {name}
      </span>
      {param.kind === 'flag' && <Switch {...own} on={isOn(value)} />}
      {param.kind === 'choice' && <Choose {...own} param={param} value={value} />}
      {(param.kind === 'real' || param.kind === 'integer') && <Slide {...own} value={Number(value ?? as.default)} />}
    </div>
  );
}

interface Own {
  id: string;
  path: string;
  param: Param;
  name: string;
  disabled: boolean;
  also?: (value: Value) => Params;
}

function Switch({ id, path, name, disabled, on }: Own & { on: boolean }) {
  return (
    <button
      class="switch"
      role="switch"
      aria-checked={on}
      aria-label={name}
      disabled={disabled}
      onClick={() => change(id, { [path]: !on })}
    >
      <span />
    </button>
  );
}

function Choose({ id, path, param, name, disabled, value }: Own & { value: Value | undefined }) {
  const index = choiceOf(param, value);
  const set = (i: number): void => change(id, { [path]: param.choices![i]!.name });
  if (param.choices!.length <= 3) {
    const names = param.choices!.map((_, i) => shortChoice(param, i));
    return <Segments label={name} names={names} index={index} disabled={disabled} set={set} />;
  }
  return (
    <select
      aria-label={name}
      disabled={disabled}
      value={String(index)}
      onChange={(e) => set(Number(e.currentTarget.value))}
    >
      {param.choices!.map((c, i) => (
        <option key={c.name} value={String(i)}>
          {c.name}
        </option>
      ))}
    </select>
  );
}

interface SegmentsProps {
  label: string;
  names: string[];
  index: number;
  disabled?: boolean;
  title?: string;
  set: (index: number) => void;
}

// One of a few, side by side; the arrow keys go from one to the next.
export function Segments({ label, names, index, disabled = false, title, set }: SegmentsProps) {
  return (
    <span class="segments" role="radiogroup" aria-label={label} onKeyDown={(e) => turn(e, index, names.length, set)}>
      {names.map((name, i) => (
        <button
          key={name}
          role="radio"
          aria-checked={i === index}
          tabIndex={i === index ? 0 : -1}
          disabled={disabled}
          title={title}
          onClick={() => set(i)}
        >
          {name}
        </button>
      ))}
    </span>
  );
}

export function turn(e: KeyboardEvent, index: number, count: number, set: (i: number) => void): void {
  const step = ({ ArrowRight: 1, ArrowDown: 1, ArrowLeft: -1, ArrowUp: -1 } as Record<string, number>)[e.key];
  if (!step) return;
  e.preventDefault();
  const next = (index + step + count) % count;
  set(next);
  (e.currentTarget as HTMLElement).querySelectorAll('button')[next]?.focus();
}

function Slide({ id, path, param, name, disabled, value, also }: Own & { value: number }) {
  const gesture = useMemo(() => new Gesture(), [id, path]);
  const steps = stepsOf(param, rate.value);
  const position = positionOf(param, value, rate.value);
  const set = (v: number): void => change(id, { [path]: v, ...also?.(v) }, gesture);
  return (
    <>
      <input
        type="range"
        min="0"
        max={steps}
        step="1"
        value={position}
        aria-label={name}
        disabled={disabled}
        aria-valuetext={withUnit(value, param.unit)}
        ref={(el) => el?.style.setProperty('--at', `${(100 * position) / steps}%`)}
        onPointerDown={() => gesture.hold()}
        onPointerUp={() => gesture.drop()}
        onPointerCancel={() => gesture.drop()}
        onDblClick={() => set(param.default)}
        onInput={(e) => set(valueAt(param, Number(e.currentTarget.value), rate.value))}
      />
      <NumberField name={name} param={param} value={value} disabled={disabled} set={set} />
    </>
  );
}

interface FieldProps {
  name: string;
  param: Param;
  value: number;
  disabled: boolean;
  set: (v: number) => void;
}

// A typed value: Enter or leaving takes it, Escape drops it, the arrows step.
export function NumberField({ name, param, value, disabled, set }: FieldProps) {
  const [draft, setDraft] = useState<string | undefined>(undefined);
  const bad = draft !== undefined && parsed(draft) === undefined;
  const take = (): void => {
    const v = draft === undefined ? undefined : parsed(draft);
    setDraft(undefined);
    if (v !== undefined && v !== value) set(param.kind === 'integer' ? rounded(param, limited(param, v)) : v);
  };
  const key = (e: KeyboardEvent): void => {
    const up = ({ ArrowUp: 1, ArrowDown: -1, PageUp: 10, PageDown: -10 } as Record<string, number>)[e.key];
    if (e.key === 'Enter') take();
    else if (e.key === 'Escape' && draft !== undefined) setDraft(undefined);
    else if (up) {
      set(stepped(param, parsed(draft ?? '') ?? value, up * (e.shiftKey ? 10 : 1)));
      setDraft(undefined);
    } else return;
    e.preventDefault();
    e.stopPropagation();
  };
  return (
    <label class={`number${bad ? ' bad' : ''}`}>
      <input
        type="text"
        inputMode="decimal"
        autocomplete="off"
        spellcheck={false}
        aria-label={`${name}, typed`}
        aria-invalid={bad}
        disabled={disabled}
        data-draft={draft !== undefined}
        value={draft ?? numberText(value)}
        onFocus={(e) => e.currentTarget.select()}
        onInput={(e) => setDraft(e.currentTarget.value)}
        onKeyDown={key}
        onBlur={take}
      />
      <span class="unit">{param.unit}</span>
    </label>
  );
}
