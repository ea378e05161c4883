// What has been measured as a table and a picture in Markdown. `results` is
// {"what|measure": {peer: [value]}}.

import { readFileSync, writeFileSync } from 'node:fs';

const sorted = (values) => [...values].sort((a, b) => a - b);
export const median = (values) => sorted(values)[values.length >> 1];
export const high = (values) => sorted(values)[Math.floor(values.length * 0.95)];

const peersOf = (results) => [...new Set(Object.values(results).flatMap(Object.keys))];

function cell(measure, values) {
  if (values === undefined) return '';
  if (measure === 'ms') return `${median(values).toFixed(1)} / ${high(values).toFixed(1)}`;
  return median(values).toFixed(measure.includes('ms') ? 2 : 1);
}

// Medians, of times with the 95th percentile behind.
export function tableOf(results) {
  const peers = peersOf(results);
  const rows = Object.entries(results).map(([key, row]) => {
    const [what, measure] = key.split('|');
    return [what, measure, ...peers.map((peer) => cell(measure, row[peer]))];
  });
  const head = ['What changes', 'Measured', ...peers];
  const line = (cells) => `| ${cells.join(' | ')} |`;
  return [line(head), line(head.map((_, at) => (at < 2 ? '---' : '---:'))), ...rows.map(line)];
}

// The medians of times as bars.
export function pictureOf(results) {
  const times = Object.entries(results).filter(([key]) => key.endsWith('|ms'));
  const bars = times.flatMap(([key, row]) =>
    Object.entries(row).map(([peer, values]) => [`${key.split('|')[0]}: ${peer}`, median(values)]),
  );
  const list = (values) => `[${values.join(', ')}]`;
  return [
    '```mermaid',
    'xychart-beta horizontal',
    '  title "Median, ms"',
    `  x-axis ${list(bars.map(([label]) => JSON.stringify(label)))}`,
    `  bar ${list(bars.map(([, time]) => time.toFixed(1)))}`,
    '```',
  ];
}

// Puts the lines between the document's marks of that name.
export function renew(document, lines, name = 'glass') {
  const text = readFileSync(document, 'utf8');
  const [begin, end] = [`<!-- ${name} -->\n`, `<!-- end of ${name} -->`];
  const from = text.indexOf(begin) + begin.length;
  if (from < begin.length) throw new Error(`${document} has no table for this`);
  const to = text.indexOf(end, from);
  writeFileSync(document, text.slice(0, from) + `\n${lines.join('\n')}\n\n` + text.slice(to));
}
