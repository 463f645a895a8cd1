// SPDX-License-Identifier: Apache-2.0
// The bar on top: file, undo and redo, A and B, presets, save; and what must not be missed below it.
import { signal } from '@preact/signals';
import type { ComponentChildren } from 'preact';
import { useRef } from 'preact/hooks';
import { Segments } from './controls';
import { Icon, Tool } from './icons';
import {
  ask,
  connection,
  farewell,
  fileName,
  live,
  problemText,
  program,
  redo,
  say,
  state,
  status,
  switchAb,
  undo,
  unsaved,
} from './store';
import { openSave } from './dialogs';
import type { Problem, State } from './types';

export function Bar() {
  const s = state.value;
  return (
    <header class="bar">
      <div class="file">
        <strong>{s ? (s.schematic.title ?? fileName()) : 'vantoro'}</strong>
        <small>
          <Light />
          {program.value.file ? fileName() : 'not connected'}
          {unsaved.value && <em> · not saved</em>}
        </small>
      </div>
      {s && <Actions s={s} />}
    </header>
  );
}

function Actions({ s }: { s: State }) {
  const undoTitle = s.undo ? `Undo ${s.undoWhat} (Ctrl-Z)` : 'Nothing to undo';
  const redoTitle = s.redo ? `Redo ${s.redoWhat} (Ctrl-Shift-Z)` : 'Nothing to redo';
  const off = !live.value;
  return (
    <div class="actions" role="group" aria-label="Edit">
      <span class="group">
        <Tool icon="undo" label="Undo" title={undoTitle} disabled={off || !s.undo} onClick={undo} />
        <Tool icon="redo" label="Redo" title={redoTitle} disabled={off || !s.redo} onClick={redo} />
      </span>
      <AB s={s} />
      <Presets />
      <button class="primary" onClick={() => void openSave()} disabled={off || !unsaved.value} title="Ctrl-S">
        Save…
      </button>
    </div>
  );
}

function Light() {
  const text = {
    open: 'connected',
    connecting: 'connecting',
    lost: 'connection lost',
    token: 'token needed',
    refused: 'refused',
  }[connection.value];
  return <i class={`light ${connection.value}`} role="img" aria-label={text} title={text} />;
}

function AB({ s }: { s: State }) {
  const copy = `Make ${s.ab === 'a' ? 'B' : 'A'} like ${s.ab.toUpperCase()}`;
  return (
    <span class="group">
      <Segments
        label="State"
        names={['A', 'B']}
        index={s.ab === 'a' ? 0 : 1}
        disabled={!live.value}
        title={s.abDiffers ? 'A and B differ' : 'A and B are alike'}
        set={(i) => switchAb(i ? 'b' : 'a')}
      />
      <Tool icon="copy" label={copy} disabled={!live.value || !s.abDiffers} onClick={() => switchAb('copy')} />
    </span>
  );
}

const presetsOpen = signal(false);
const NAME = /^[A-Za-z0-9_-]{1,64}$/;

function Presets() {
  const root = useRef<HTMLSpanElement>(null);
  const close = (e: FocusEvent): void => {
    if (!root.current!.contains(e.relatedTarget as Node | null)) presetsOpen.value = false;
  };
  return (
    <span
      class="menu"
      ref={root}
      onFocusOut={close}
      onKeyDown={(e) => e.key === 'Escape' && (presetsOpen.value = false)}
    >
      <button
        aria-expanded={presetsOpen.value}
        aria-haspopup="dialog"
        onClick={() => (presetsOpen.value = !presetsOpen.value)}
      >
        Presets
        <Icon name="down" />
      </button>
      {presetsOpen.value && <PresetList />}
    </span>
  );
}

async function preset(verb: 'load' | 'store' | 'remove', name: string, done: string): Promise<void> {
  if (await ask({ preset: { [verb]: name } })) say(`${done} ${name}`);
}

// Where the focus is already inside, it stays.
function focusOnce(el: HTMLElement | null): void {
  if (el && !el.contains(document.activeElement)) el.focus();
}

function PresetList() {
  const names = state.value!.presets;
  const store = (e: Event): void => {
    e.preventDefault();
    const input = (e.currentTarget as HTMLFormElement).elements.namedItem('name') as HTMLInputElement;
    if (!NAME.test(input.value)) return say('A preset has 1 to 64 letters, digits, _ or -', true);
    void preset('store', input.value, 'Stored');
    input.value = '';
  };
  return (
    <div class="popover" role="dialog" aria-label="Presets" tabIndex={-1} ref={focusOnce}>
      {names.length === 0 && (
        <p class="empty">No presets yet. A preset keeps all parameters under a name, beside the schematic.</p>
      )}
      <ul>
        {names.map((n) => (
          <li key={n}>
            <button class="plain" disabled={!live.value} onClick={() => void preset('load', n, 'Loaded')}>
              {n}
            </button>
            <Tool
              icon="trash"
              label={`Remove ${n}`}
              disabled={!live.value}
              onClick={() => void preset('remove', n, 'Removed')}
            />
          </li>
        ))}
      </ul>
      <form onSubmit={store}>
        <input
          type="text"
          name="name"
          aria-label="Name of the new preset"
          placeholder="New preset"
          maxLength={64}
          autocomplete="off"
        />
        <button disabled={!live.value}>Store</button>
      </form>
    </div>
  );
}

const hiddenBanners = signal<Set<string>>(new Set());

// Lies over the page, so nothing moves; what has been read can be put away until it says something else.
function Banner({
  title,
  text,
  more = '',
  bad,
  children,
}: {
  title: string;
  text: string;
  more?: string;
  bad?: boolean;
  children?: ComponentChildren;
}) {
  const mark = title + text + more;
  if (hiddenBanners.value.has(mark)) return null;
  return (
    <div class={`banner${bad ? ' bad' : ''}`} role={bad ? 'alert' : 'status'}>
      <div>
        <b>{title}</b> <span>{text}</span>
        {children}
      </div>
      <Tool icon="close" label="Hide" onClick={() => (hiddenBanners.value = new Set([...hiddenBanners.value, mark]))} />
    </div>
  );
}

// What needs a decision or explains a silence.
export function Banners() {
  const s = state.value;
  const st = status.value;
  const wrong = s?.problems.filter((p) => !p.warning) ?? [];
  return (
    <div class="banners">
      {connection.value === 'lost' && (
        <div class="banner bad" role="alert">
          <div>
            <b>Connection lost.</b> <span>{farewell.value || 'The program does not answer.'} Trying again…</span>
          </div>
        </div>
      )}
      {connection.value === 'refused' && (
        <div class="banner bad" role="alert">
          <div>
            <b>Refused.</b> <span>{farewell.value}</span>
          </div>
        </div>
      )}
      {wrong.length > 0 && <Wrong problems={wrong} />}
      {s?.fileChanged && wrong.length === 0 && (
        <Banner title={`${fileName()} changed on disk.`} text="Saving is refused until you take its text.">
          <button disabled={!live.value} onClick={() => void ask({ reload: true })}>
            Take the file
          </button>
        </Banner>
      )}
      {st?.fault && (
        <Banner
          bad
          title="A block failed."
          text={`${st.fault}${st.mutedBlocks ? `; ${st.mutedBlocks} blocks of audio muted` : ''}`}
        />
      )}
      {st?.trouble && <Banner bad title="Sound device." text={st.trouble} />}
    </div>
  );
}

function Wrong({ problems }: { problems: Problem[] }) {
  const texts = problems.map(problemText);
  return (
    <Banner
      bad
      title={`${fileName()} was edited and is not valid.`}
      text="The last valid version keeps playing."
      more={texts.join()}
    >
      <ul>
        {texts.slice(0, 6).map((t, i) => (
          <li key={i}>{t}</li>
        ))}
      </ul>
      {texts.length > 6 && <span>and {texts.length - 6} more</span>}
    </Banner>
  );
}
