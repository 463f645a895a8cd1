// The bar on top: file, undo and redo, A and B, presets, save; and what must not be missed below it.
import { signal } from '@preact/signals';
import { useRef } from 'preact/hooks';
import { turn } from './controls';
import { Icon } from './icons';
import { ask, connection, farewell, fileName, live, problemText, program, redo, say, state, status, switchAb, undo, unsaved } from './store';
import { openSave } from './dialogs';

export function Bar() {
  const s = state.value;
  return (
    <header class="bar">
      <div class="file">
        <strong>{s?.schematic.title ?? fileName()}</strong>
        <small><Light />{program.value.file ? fileName() : 'vantoro'}{unsaved.value && <em> · not saved</em>}</small>
      </div>
      {s && (
        <div class="actions" role="toolbar" aria-label="Edit">
          <span class="group">
            <button class="icon-button" onClick={undo} disabled={!live.value || !s.undo} aria-label="Undo" title={s.undo ? `Undo ${s.undoWhat} (Ctrl-Z)` : 'Nothing to undo'}><Icon name="undo" /></button>
            <button class="icon-button" onClick={redo} disabled={!live.value || !s.redo} aria-label="Redo" title={s.redo ? `Redo ${s.redoWhat} (Ctrl-Shift-Z)` : 'Nothing to redo'}><Icon name="redo" /></button>
          </span>
          <AB />
          <Presets />
          <button class="primary" onClick={() => void openSave()} disabled={!live.value || !unsaved.value} title="Ctrl-S">Save…</button>
        </div>
      )}
    </header>
  );
}

function Light() {
  const text = { open: 'connected', connecting: 'connecting', lost: 'connection lost', token: 'token needed', refused: 'refused' }[connection.value];
  return <i class={`light ${connection.value}`} role="img" aria-label={text} title={text} />;
}

function AB() {
  const s = state.value!;
  const other = s.ab === 'a' ? 'B' : 'A';
  return (
    <span class="group">
      <span class="segments ab" role="radiogroup" aria-label="State" onKeyDown={(e) => turn(e, s.ab === 'a' ? 0 : 1, 2, (i) => switchAb(i ? 'b' : 'a'))}>
        {(['a', 'b'] as const).map((x) => (
          <button key={x} role="radio" aria-checked={s.ab === x} tabIndex={s.ab === x ? 0 : -1} disabled={!live.value} onClick={() => switchAb(x)}
            title={s.abDiffers ? 'A and B differ' : 'A and B are alike'}>{x.toUpperCase()}</button>
        ))}
      </span>
      <button class="icon-button copy" disabled={!live.value || !s.abDiffers} onClick={() => switchAb('copy')} aria-label={`Make ${other} like ${s.ab.toUpperCase()}`} title={`Make ${other} like ${s.ab.toUpperCase()}`}><Icon name="copy" /></button>
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
    <span class="menu" ref={root} onFocusOut={close} onKeyDown={(e) => e.key === 'Escape' && (presetsOpen.value = false)}>
      <button aria-expanded={presetsOpen.value} aria-haspopup="dialog" onClick={() => (presetsOpen.value = !presetsOpen.value)}>Presets<Icon name="down" /></button>
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
      {names.length === 0 && <p class="empty">No presets yet. A preset keeps all parameters under a name, beside the schematic.</p>}
      <ul>
        {names.map((n) => (
          <li key={n}>
            <button class="plain" disabled={!live.value} onClick={() => void preset('load', n, 'Loaded')}>{n}</button>
            <button class="icon-button" disabled={!live.value} aria-label={`Remove ${n}`} title={`Remove ${n}`} onClick={() => void preset('remove', n, 'Removed')}><Icon name="trash" /></button>
          </li>
        ))}
      </ul>
      <form onSubmit={store}>
        <input type="text" name="name" aria-label="Name of the new preset" placeholder="New preset" maxLength={64} autocomplete="off" />
        <button disabled={!live.value}>Store</button>
      </form>
    </div>
  );
}

// What needs a decision or explains a silence. It lies over the page, so nothing moves.
export function Banners() {
  const s = state.value;
  const st = status.value;
  const wrong = s?.problems.filter((p) => !p.warning) ?? [];
  return (
    <div class="banners" aria-live="assertive">
      {connection.value === 'lost' && (
        <div class="banner bad" role="alert"><b>Connection lost.</b> <span>{farewell.value || 'The program does not answer.'} Trying again…</span></div>
      )}
      {connection.value === 'refused' && <div class="banner bad" role="alert"><b>Refused.</b> <span>{farewell.value}</span></div>}
      {wrong.length > 0 && (
        <div class="banner bad" role="alert">
          <b>{fileName()} was edited and is not valid.</b> <span>The last valid version keeps playing.</span>
          <ul>{wrong.slice(0, 6).map((p, i) => <li key={i}>{problemText(p)}</li>)}</ul>
          {wrong.length > 6 && <span>and {wrong.length - 6} more</span>}
        </div>
      )}
      {s?.fileChanged && wrong.length === 0 && (
        <div class="banner" role="status">
          <b>{fileName()} changed on disk.</b> <span>Saving is refused until you take its text.</span>
          <button disabled={!live.value} onClick={() => void ask({ reload: true })}>Take the file</button>
        </div>
      )}
      {st?.fault && <div class="banner bad" role="alert"><b>A block failed.</b> <span>{st.fault}{st.mutedBlocks ? `; ${st.mutedBlocks} periods muted` : ''}</span></div>}
      {st?.trouble && <div class="banner bad" role="alert"><b>Sound device.</b> <span>{st.trouble}</span></div>}
    </div>
  );
}
