// What a web server gives away is whole, and loads nothing but its own.

import assert from 'node:assert/strict';
import {spawnSync} from 'node:child_process';
import {mkdtempSync, readFileSync, readdirSync, rmSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {fileURLToPath} from 'node:url';
import {test} from 'node:test';

const builder = fileURLToPath(new URL('../build.mjs', import.meta.url));

test('the page is built from the markup of the page on the same computer', (context) => {
  const dist = mkdtempSync(join(tmpdir(), 'quorvin-dist-'));
  context.after(() => rmSync(dist, {recursive: true}));
  const {status, stderr} = spawnSync(process.execPath, [builder, dist], {encoding: 'utf8'});
  assert.equal(status, 0, stderr);
  const markup = readFileSync(join(dist, 'index.html'), 'utf8');
  for (const id of ['ask-form', 'view', 'picture', 'stats-age', 'stats-trip', 'reduced']) {
    assert.equal(markup.split(`id="${id}"`).length, 2, id);
  }
  const files = readdirSync(dist);
  const used = [...markup.matchAll(/(?:src|href)="([^"]*)"/g)].map(([, name]) => name);
  assert.deepEqual([...new Set(used)].sort(), ['icon.svg', 'page.css', 'page.js']);
  for (const name of [...used, 'en.json']) assert.ok(files.includes(name), name);
  const help = readFileSync(join(dist, 'help.html'), 'utf8');
  assert.match(help, /<link rel="stylesheet" href="page.css">/);
  assert.match(help, /id="stage.noWay"/);
  assert.match(markup, /Content-Security-Policy" content="default-src 'none'; script-src 'self';/);
  assert.equal(/<script(?![^>]* src=)|style=|onclick=/.test(markup), false);
});
