// SPDX-License-Identifier: Apache-2.0
// Saving with the list of what will change, and the token that a server beyond this computer asks for.
import { signal } from '@preact/signals';
import { useEffect, useRef } from 'preact/hooks';
import { ask, connection, fileName, pendingChanges, save, state, useToken } from './store';
import type { Change } from './types';

const tried = signal(false); // a token
const changes = signal<Change[] | undefined>(undefined);

export async function openSave(): Promise<void> {
  changes.value = await pendingChanges();
}

export function Dialogs() {
  return (
    <>
      {changes.value && <SaveDialog list={changes.value} />}
      {connection.value === 'token' && <TokenDialog />}
    </>
  );
}

function useModal() {
  const ref = useRef<HTMLDialogElement>(null);
  useEffect(() => ref.current!.showModal(), []);
  return ref;
}

function SaveDialog({ list }: { list: Change[] }) {
  const ref = useModal();
  const close = (): void => void (changes.value = undefined);
  const write = async (): Promise<void> => {
    if (await save()) close();
  };
  const drop = async (): Promise<void> => {
    if (await ask({ reload: true })) close();
  };
  return (
    <dialog ref={ref} class="save" aria-labelledby="save-title" onClose={close}>
      <h2 id="save-title">Save to {fileName()}</h2>
      {list.length === 0 && <p class="empty">The file already says all of this.</p>}
      {list.length > 0 && <Changes list={list} />}
      <footer>
        <button class="quiet" onClick={() => void drop()} disabled={!state.value?.fileChanged && list.length === 0}>
          Go back to the file
        </button>
        <button onClick={close}>Cancel</button>
        <button class="primary" onClick={() => void write()} autofocus>
          Save
        </button>
      </footer>
    </dialog>
  );
}

function Changes({ list }: { list: Change[] }) {
  return (
    <div class="scroll" tabIndex={0}>
      <table>
        <thead>
          <tr>
            <th scope="col">Parameter</th>
            <th scope="col">In the file</th>
            <th scope="col">Now</th>
          </tr>
        </thead>
        <tbody>
          {list.map((c) => (
            <tr key={c.path}>
              <th scope="row">{c.path}</th>
              <td class="was">{c.was}</td>
              <td>{c.is}</td>
            </tr>
          ))}
        </tbody>
      </table>
    </div>
  );
}

function TokenDialog() {
  const ref = useModal();
  const submit = (e: Event): void => {
    e.preventDefault();
    tried.value = true;
    useToken(((e.currentTarget as HTMLFormElement).elements.namedItem('token') as HTMLInputElement).value);
  };
  return (
    <dialog ref={ref} class="ask" aria-labelledby="token-title" onCancel={(e) => e.preventDefault()}>
      <form onSubmit={submit}>
        <h2 id="token-title">Token</h2>
        <p>{tried.value ? 'That was not it. ' : ''}The program printed it when it started.</p>
        <input type="text" name="token" aria-labelledby="token-title" autocomplete="off" spellcheck={false} autofocus />
        <footer>
          <button class="primary">Connect</button>
        </footer>
      </form>
    </dialog>
  );
}
