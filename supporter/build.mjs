// Builds the page into dist/, or the folder that is named: what a web server needs to give away, but
// for place.json.

import {execFileSync} from 'node:child_process';
import {copyFileSync, cpSync, mkdirSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {join, resolve} from 'node:path';
import {fileURLToPath} from 'node:url';

import {build} from 'esbuild';

const here = (path) => fileURLToPath(new URL(path, import.meta.url));
const read = (path) => readFileSync(here(path), 'utf8');
const dist = process.argv[2] ?? here('dist/');

function replaced(text, part, by) {
  if (text.split(part).length !== 2) throw new Error(`the markup has no single ${part}`);
  return text.replace(part, () => by);
}

// The view of the shared screen is that of a supporter on the same computer, and says more.
function markup() {
  const [view] = read('../webui/page/supporter.html').match(/ *<section.*<\/section>\n/s);
  const more =
    '  <div><dt data-text="statistics.way"></dt><dd id="stats-way">–</dd></div>\n' +
    '          <div><dt data-text="statistics.trip"></dt><dd id="stats-trip">–</dd></div>\n        </dl>';
  const trouble = '<p id="control-trouble"';
  const reduced = `<p id="reduced" class="fine" role="status"></p>\n        ${trouble}`;
  const said = replaced(replaced(view, '</dl>', more), trouble, reduced);
  const hidden = replaced(said, '<section ', '<section id="view" hidden ');
  return replaced(read('index.html'), '    <!-- the shared screen -->\n', hidden);
}

rmSync(dist, {recursive: true, force: true});
mkdirSync(dist, {recursive: true});
writeFileSync(join(dist, 'index.html'), markup());
const styles = ['../webui/page/app.css', '../webui/page/supporter.css', 'page.css'];
writeFileSync(join(dist, 'page.css'), styles.map(read).join('\n'));
copyFileSync(here('../webui/page/icon.svg'), join(dist, 'icon.svg'));
cpSync(here('../webui/languages/'), dist, {recursive: true});
const path = resolve(dist, 'keycodes.js');
const tables = ['../tools/browser_keycodes.py', '../platform/mac-keycodes.csv'].map(here);
execFileSync('python3', ['-B', ...tables, path]);
const help = ['../tools/troubleshooting.py', '../docs/troubleshooting.md'].map(here);
execFileSync('python3', ['-B', ...help, join(dist, 'help.html'), 'page.css']);
await build({
  entryPoints: [here('main.js')],
  outfile: join(dist, 'page.js'),
  bundle: true,
  format: 'esm',
  minify: true,
  legalComments: 'linked',
  target: 'es2022',
  plugins: [{name: 'key table', setup: (build) => build.onResolve({filter: /keycodes\.js$/}, () => ({path}))}],
  logLevel: 'warning',
});
rmSync(path); // it is in page.js
