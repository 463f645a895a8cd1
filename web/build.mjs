// SPDX-License-Identifier: Apache-2.0
// Builds web/dist: the page that the program carries. The same sources give the same bytes.
import { build } from 'esbuild';
import { copyFile, mkdir } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const here = dirname(fileURLToPath(import.meta.url));
const out = process.argv[2] ?? join(here, 'dist');

await mkdir(out, { recursive: true });
await build({
  absWorkingDir: here,
  entryPoints: { page: 'src/main.tsx' },
  outdir: out,
  bundle: true,
  minify: true,
  format: 'iife',
  target: 'es2022',
  charset: 'utf8',
  legalComments: 'none',
  banner: { js: '/* Preact, signals, uPlot, dagre: MIT licence, web/licences.txt */' },
  logLevel: 'warning',
});
await copyFile(join(here, 'src/index.html'), join(out, 'index.html'));
