// SPDX-License-Identifier: Apache-2.0
// The panel of the chosen block: bypass, its parameters and tables, all from the description.
import { Control, hint, NumberField } from './controls';
import { CurvePlot } from './curve';
import {
  canGrow,
  cellPath,
  isList,
  isMatrix,
  isOn,
  mayHaveCurve,
  paramsOf,
  pinName,
  readings,
  rowOf,
  rowSummary,
  rowsOf,
  tablesOf,
} from './describe';
import { focusBlock } from './graph';
import { Icon } from './icons';
import {
  block,
  blockType,
  bypass,
  change,
  detectors,
  isBypassed,
  live,
  paramsOfBlock,
  problemText,
  selected,
  selectedRow,
  setWarnings,
  state,
} from './store';
import type { BlockType, Cell, Params, Problem, Row, Table, Value } from './types';
import { levelText, withUnit } from './numbers';

export function Panel() {
  const id = selected.value;
  const type = blockType.value;
  return (
    <section class="panel" aria-label="Block">
      {id && type ? <Chosen key={id} id={id} type={type} /> : <p class="empty">Choose a block in the schematic.</p>}
      <p class="hint" aria-live="polite">
        {hint.value || 'Point at a parameter to read what it does.'}
      </p>
    </section>
  );
}

function Chosen({ id, type }: { id: string; type: BlockType }) {
  const params = paramsOfBlock(id);
  const entries = readings(paramsOf(type.layout), params);
  const nothing = type.layout.length === 0;
  return (
    <>
      <Head id={id} type={type} />
      <div class="scroll">
        <Warnings id={id} />
        {mayHaveCurve(type) && <CurvePlot id={id} type={type} />}
        <Detectors id={id} />
        {nothing && <p class="empty">This block has no parameters.</p>}
        {entries.some(Boolean) && (
          <div class="controls">
            {entries.map(
              (r, i) =>
                r && (
                  <Control
                    key={r.param.name}
                    id={id}
                    path={r.param.name}
                    reading={r}
                    value={params[r.param.name]}
                    also={(v) => resized(id, type, i, v)}
                  />
                ),
            )}
          </div>
        )}
        {tablesOf(type).map((t) => (
          <TableOf key={t.name} id={id} type={type} table={t} params={params} />
        ))}
      </div>
    </>
  );
}

function Head({ id, type }: { id: string; type: BlockType }) {
  const s = state.value!;
  const off = isBypassed(id);
  const note = s.schematic.blocks?.[id]?.note;
  return (
    <header class="head">
      <div class="titles">
        <select class="pick" aria-label="Block" value={id} onChange={(e) => focusBlock(e.currentTarget.value)}>
          {s.order.map((o) => (
            <option key={o} value={o}>
              {o}
            </option>
          ))}
        </select>
        <p>
          <span>{type.summary}</span>
          <code>{type.name}</code>
        </p>
        {note && <p class="note">{note}</p>}
      </div>
      {block.value?.bypassable && (
        <button
          class="toggle"
          aria-pressed={off}
          disabled={!live.value}
          onClick={() => bypass(id, !off)}
          title="Inputs go straight to the outputs"
        >
          Bypass
        </button>
      )}
    </header>
  );
}

function Warnings({ id }: { id: string }) {
  const here = (p: Problem): boolean =>
    p.where.startsWith(`/blocks/${id}/`) || p.where.startsWith(`/set/${id}.`) || p.where.startsWith(`${id}.`);
  const all = [...(state.value?.warnings ?? []), ...(state.value?.problems ?? []), ...setWarnings.value].filter(here);
  const texts = [...new Set(all.map(problemText))];
  return texts.length ? (
    <ul class="warnings">
      {texts.map((t) => (
        <li key={t}>{t}</li>
      ))}
    </ul>
  ) : null;
}

function Detectors({ id }: { id: string }) {
  const levels = detectors.value[id];
  if (!levels) return null;
  const hz = bandNames(id, levels.length);
  return (
    <div class="detectors" role="group" aria-label="Detected levels">
      {levels.map((db, i) => (
        <span key={i} title={`${hz[i] ?? `level ${i + 1}`}: ${levelText(db)} dB`}>
          <i ref={(el) => el?.style.setProperty('--level', String(Math.min(1, Math.max(0, (db + 120) / 120))))} />
          <b>{levelText(db)}</b>
          {hz[i] && <small>{hz[i]}</small>}
        </span>
      ))}
    </div>
  );
}

// The frequencies of measured bands, where a table has one for each.
function bandNames(id: string, count: number): string[] {
  const table = blockType.value && tablesOf(blockType.value).find((t) => t.columns.some((c) => c.unit === 'Hz'));
  const rows = table ? rowsOf(table, paramsOfBlock(id)[table.name]).map((r) => rowOf(table, r)) : [];
  const column = table?.columns.find((c) => c.unit === 'Hz')?.name ?? '';
  return rows.length === count ? rows.map((r) => withUnit(Number(r[column]), 'Hz')) : [];
}

// ---- tables

// A table whose rows or columns a parameter counts gets its new size in the same step.
function resized(id: string, type: BlockType, entry: number, value: Value): Params {
  const table = tablesOf(type).find((t) => t.rowsEntry === entry || t.columnsEntry === entry);
  if (!table) return {};
  const old = rowsOf(table, paramsOfBlock(id)[table.name]) as Cell[][];
  const rows = table.rowsEntry === entry ? Number(value) : old.length;
  const columns = table.columnsEntry === entry ? Number(value) : (old[0]?.length ?? 0);
  const cell = (i: number, k: number): Cell => old[i]?.[k] ?? table.columns[0]!.default;
  return {
    [table.name]: Array.from({ length: rows }, (_, i) => Array.from({ length: columns }, (_, k) => cell(i, k))),
  };
}

interface TableProps {
  id: string;
  type: BlockType;
  table: Table;
  params: Params;
}

function TableOf({ id, type, table, params }: TableProps) {
  const rows = rowsOf(table, params[table.name]);
  const Shape = isMatrix(table) ? Matrix : isList(table) ? List : Rows;
  return (
    <section class="table" aria-label={table.name}>
      <h3>
        {table.name}
        <small>{table.help}</small>
      </h3>
      {rows.length === 0 && <p class="empty">No rows.</p>}
      <Shape id={id} type={type} table={table} rows={rows} />
      {canGrow(table) && <Grow id={id} table={table} rows={rows} />}
    </section>
  );
}

interface ShapeProps {
  id: string;
  type: BlockType;
  table: Table;
  rows: unknown[];
}

const PAGE = 32;

// A value a row: sliders, a page at a time where there are thousands.
function List({ id, type, table, rows }: ShapeProps) {
  const param = table.columns[0]!;
  const first = Math.min(Math.floor(selectedRow.value / PAGE) * PAGE, Math.max(0, rows.length - 1));
  const side = table.rowsPer === 'input' ? 'input' : 'output';
  const b = block.value;
  const label = (i: number): string =>
    (b && table.rowsPer && pinName(type, side, i, rows.length)?.name) || `${param.name} ${i + (table.rowsPer ? 0 : 1)}`;
  return (
    <>
      <div class="controls">
        {rows.slice(first, first + PAGE).map((raw, k) => {
          const reading = { param, as: param, read: !param.unused, why: '' };
          const value = rowOf(table, raw)[param.name];
          return (
            <Control
              key={first + k}
              id={id}
              path={cellPath(table, first + k, param, raw)}
              reading={reading}
              value={value}
              label={label(first + k)}
            />
          );
        })}
      </div>
      {rows.length > PAGE && <Pages first={first} count={rows.length} />}
    </>
  );
}

function Pages({ first, count }: { first: number; count: number }) {
  return (
    <p class="pages">
      <button disabled={first === 0} onClick={() => (selectedRow.value = first - PAGE)}>
        Previous
      </button>
      <span>
        {first + 1} to {Math.min(count, first + PAGE)} of {count}
      </span>
      <button disabled={first + PAGE >= count} onClick={() => (selectedRow.value = first + PAGE)}>
        Next
      </button>
    </p>
  );
}

function Matrix({ id, table, rows }: ShapeProps) {
  const param = table.columns[0]!;
  return (
    <div class="matrix" role="table" aria-label={`${table.name}${param.unit ? `, ${param.unit}` : ''}`}>
      <div role="row">
        <span class="name" role="columnheader" aria-label="from" />
        {((rows[0] ?? []) as Cell[]).map((_, k) => (
          <span class="name" role="columnheader" key={k}>
            {k}
          </span>
        ))}
      </div>
      {rows.map((row, i) => (
        <div role="row" key={i}>
          <span class="name" role="rowheader">
            {i}
          </span>
          {(row as Cell[]).map((v, k) => (
            <span role="cell" key={k} data-path={`${id}.${table.name}[${i}][${k}]`}>
              <NumberField
                name={`${table.name} ${i} to ${k}`}
                param={{ ...param, unit: '' }}
                value={Number(v)}
                disabled={!live.value}
                set={(n) => change(id, { [`${table.name}[${i}][${k}]`]: n })}
              />
            </span>
          ))}
        </div>
      ))}
    </div>
  );
}

// Several columns: a line for each row, the chosen one opened into its controls.
function Rows({ id, table, rows }: ShapeProps) {
  const open = Math.min(selectedRow.value, rows.length - 1);
  const first = Math.floor(Math.max(0, open) / PAGE) * PAGE;
  return (
    <>
      <ol class="rows">
        {rows.slice(first, first + PAGE).map((raw, k) => (
          <RowOf key={first + k} id={id} table={table} raw={raw} index={first + k} open={first + k === open} />
        ))}
      </ol>
      {rows.length > PAGE && <Pages first={first} count={rows.length} />}
    </>
  );
}

interface RowProps {
  id: string;
  table: Table;
  raw: unknown;
  index: number;
  open: boolean;
}

function RowOf({ id, table, raw, index, open }: RowProps) {
  const row = rowOf(table, raw);
  const off = table.columns.some((c) => c.kind === 'flag' && !c.unused && isOn(row[c.name]) !== (c.default !== 0));
  return (
    <li class={`${open ? 'open' : ''}${off ? ' off' : ''}`}>
      <button class="row" aria-expanded={open} onClick={() => (selectedRow.value = index)}>
        <b>{index + 1}</b>
        <RowCells table={table} row={row} />
      </button>
      {open && (
        <div class="controls">
          {readings(table.columns, row).map(
            (r) =>
              r && (
                <Control
                  key={r.param.name}
                  id={id}
                  path={cellPath(table, index, r.param, raw)}
                  reading={r}
                  value={row[r.param.name]}
                />
              ),
          )}
        </div>
      )}
    </li>
  );
}

function RowCells({ table, row }: { table: Table; row: Row }) {
  const cells = rowSummary(table, row);
  return (
    <>
      {cells.map((c) => (
        <span key={c.name} class={c.number ? 'n' : 't'}>
          {c.text}
        </span>
      ))}
    </>
  );
}

// Rows are added after the chosen one and start as the table's columns do.
function Grow({ id, table, rows }: { id: string; table: Table; rows: unknown[] }) {
  const at = Math.min(selectedRow.value, rows.length - 1);
  const put = (next: unknown[], row: number): void => {
    change(id, { [table.name]: next as Value });
    selectedRow.value = Math.max(0, row);
  };
  return (
    <p class="grow">
      <button
        disabled={!live.value || rows.length >= (table.maxRows ?? 0)}
        onClick={() => put(rows.toSpliced(at + 1, 0, freshRow(table, rows[at])), at + 1)}
      >
        <Icon name="plus" />
        Add a row
      </button>
      <button
        disabled={!live.value || rows.length <= (table.minRows ?? 0)}
        onClick={() => put(rows.toSpliced(at, 1), at - 1)}
      >
        <Icon name="trash" />
        Remove row {at + 1}
      </button>
    </p>
  );
}

export function freshRow(table: Table, like: unknown): Row | Cell | Cell[] {
  const cells = table.columns.map((c): Cell =>
    c.choices ? c.choices[0]!.name : c.kind === 'flag' ? c.default !== 0 : c.unit === 'dB' ? 0 : c.default,
  );
  if (Array.isArray(like)) return cells;
  if (typeof like === 'object' || table.columns.length > 1)
    return Object.fromEntries(table.columns.map((c, i) => [c.name, cells[i]!]));
  return cells[0]!;
}
