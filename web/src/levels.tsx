// SPDX-License-Identifier: Apache-2.0
// Meters of inputs and outputs: peak with hold, mean square, solo of outputs; load, dropouts and device below.
import { useEffect, useRef } from 'preact/hooks';
import { clamp, levelText } from './numbers';
import { inputs, outputs } from './response';
import { live, onFrame, rate, solo, state, status, stream } from './store';

const FLOOR = -60;
const HOLD = 1500; // ms that a peak stands before it falls
const FALL = 0.03; // dB per ms

const share = (db: number): number => clamp((db - FLOOR) / -FLOOR, 0, 1);

export function Levels() {
  return (
    <section class="levels" aria-label="Levels">
      <header>
        <h2>Levels</h2>
        <span class="unit">dBFS</span>
      </header>
      <div class="scroll">
        <Scale />
        {inputs.value.map((p) => (
          <Meter key={p} pin={p} />
        ))}
        {outputs.value.map((p) => (
          <Meter key={p} pin={p} output />
        ))}
        {inputs.value.length + outputs.value.length === 0 && (
          <p class="empty">Nothing is wired to the inputs and outputs.</p>
        )}
      </div>
      <Engine />
    </section>
  );
}

function Scale() {
  return (
    <div class="meter scale" aria-hidden="true">
      <span />
      <span class="ticks">
        {[-60, -40, -20, 0].map((v) => (
          <i key={v} style={{ left: `${100 * share(v)}%` }}>
            {String(v).replace('-', '−')}
          </i>
        ))}
      </span>
    </div>
  );
}

function Meter({ pin, output }: { pin: string; output?: boolean }) {
  const row = useRef<HTMLDivElement>(null);
  useEffect(() => animate(pin, row.current!), [pin]);
  const on = state.value?.solo.includes(pin) ?? false;
  const muted = output && (state.value?.solo.length ?? 0) > 0 && !on;
  return (
    <div class={`meter${muted ? ' muted' : ''}`} ref={row} data-meter={pin}>
      <span class="name">{pin.replace('.', ' ')}</span>
      <span class="level">
        <i class="rest" />
        <i class="mean" />
        <i class="hold" />
      </span>
      <b class="peak">−∞</b>
      {output && (
        <button
          class="solo"
          aria-pressed={on}
          disabled={!live.value}
          aria-label={`Solo ${pin}`}
          title={`Hear ${pin} alone`}
          onClick={() => solo(pin)}
        >
          S
        </button>
      )}
    </div>
  );
}

// Straight to the elements: thirty times a second is too often to go through components.
function animate(pin: string, row: HTMLElement): () => void {
  const part = (name: string): HTMLElement => row.querySelector<HTMLElement>(`.${name}`)!;
  const [rest, mean, hold, text] = [part('rest'), part('mean'), part('hold'), part('peak')];
  let held = -120;
  let last = -1;
  let until = 0;
  let before = 0;
  let wrote = 0;
  return onFrame((now) => {
    if (last === stream.meterCount) return;
    last = stream.meterCount;
    const i = stream.signals.get(pin);
    const peak = i === undefined ? -120 : (stream.peak[i] ?? -120);
    held = now > until ? Math.max(-120, held - FALL * (now - before)) : held;
    before = now;
    if (peak >= held) [held, until] = [peak, now + HOLD];
    rest.style.transform = `scaleX(${1 - share(peak)})`;
    mean.style.transform = `scaleX(${share(i === undefined ? -120 : (stream.rms[i] ?? -120))})`;
    hold.style.left = `${100 * share(held)}%`;
    hold.style.opacity = held > FLOOR ? '1' : '0';
    if (now - wrote < 150) return;
    wrote = now;
    text.textContent = levelText(held);
    text.classList.toggle('over', held > -0.1);
  });
}

const percent = (v: number): string => `${(100 * v).toFixed(v < 0.1 ? 1 : 0)} %`;

function Engine() {
  const s = status.value;
  if (!s) return null;
  return (
    <dl class="engine">
      <div>
        <dt>Load</dt>
        <dd class={s.worstLoad > 0.9 ? 'over' : ''} title={`at worst ${percent(s.worstLoad)}`}>
          {percent(s.load)}
          <small>max {percent(s.worstLoad)}</small>
        </dd>
      </div>
      <div>
        <dt>Dropouts</dt>
        <dd class={s.xruns ? 'over' : ''}>{s.xruns}</dd>
      </div>
      <div>
        <dt>Rate</dt>
        <dd>
          {rate.value / 1000} kHz<small>{s.period} frames</small>
        </dd>
      </div>
      <div class="wide">
        <dt>Device</dt>
        <dd title={s.device}>{s.playing ? s.device || 'none' : 'stopped'}</dd>
      </div>
    </dl>
  );
}
