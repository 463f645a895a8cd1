// SPDX-License-Identifier: Apache-2.0
import 'uplot/dist/uPlot.min.css';
import './page.css';
import { render } from 'preact';
import { useEffect } from 'preact/hooks';
import { Banners, Bar } from './bar';
import { turn } from './controls';
import { Dialogs, openSave } from './dialogs';
import { Graph, tab } from './graph';
import { Levels } from './levels';
import { Panel } from './panel';
import { Plot } from './plot';
import { connection, dismiss, live, notes, redo, start, state, undo } from './store';

function App() {
  useEffect(() => {
    document.addEventListener('keydown', shortcuts);
    return () => document.removeEventListener('keydown', shortcuts);
  }, []);
  return (
    <div class={`app tab-${tab.value}${state.value && !live.value ? ' stale' : ''}`}>
      <Bar />
      <Banners />
      {state.value ? (
        <Work />
      ) : (
        <p class="start">{connection.value === 'connecting' ? 'Connecting…' : 'Not connected.'}</p>
      )}
      <Notes />
      <Dialogs />
    </div>
  );
}

function Work() {
  return (
    <>
      <main>
        <Graph />
        <Panel />
        <Plot />
        <Levels />
      </main>
      <Tabs />
    </>
  );
}

const TABS = ['graph', 'block', 'response', 'levels'] as const;

// On narrow screens one part at a time.
function Tabs() {
  const at = TABS.indexOf(tab.value);
  return (
    <nav
      class="tabs"
      role="tablist"
      aria-label="Parts"
      onKeyDown={(e) => turn(e, at, TABS.length, (i) => (tab.value = TABS[i]!))}
    >
      {TABS.map((t, i) => (
        <button
          key={t}
          role="tab"
          aria-selected={i === at}
          tabIndex={i === at ? 0 : -1}
          onClick={() => (tab.value = t)}
        >
          {t[0]!.toUpperCase() + t.slice(1)}
        </button>
      ))}
    </nav>
  );
}

function Notes() {
  return (
    <div class="notes" role="status" aria-live="polite">
      {notes.value.map((n) => (
        <button key={n.id} class={n.bad ? 'bad' : ''} onClick={() => dismiss(n.id)} title="Dismiss">
          {n.text}
        </button>
      ))}
    </div>
  );
}

function shortcuts(e: KeyboardEvent): void {
  if (!(e.ctrlKey || e.metaKey) || e.altKey) return;
  const typing = e.target instanceof HTMLInputElement && e.target.dataset['draft'] === 'true';
  const key = e.key.toLowerCase();
  if (key === 's') {
    if (live.value) void openSave();
  } else if (typing) return;
  else if (key === 'z') (e.shiftKey ? redo : undo)();
  else if (key === 'y') redo();
  else return;
  e.preventDefault();
}

render(<App />, document.getElementById('page')!);
start();
