// What the customer can read and send to whoever helps with the program.

import {say} from './language.js';

const byId = (id) => document.getElementById(id);

export function showReports(connection) {
  const button = byId('report-button');
  const text = byId('report-text');
  const show = (shown) => {
    byId('report').hidden = !shown;
    button.setAttribute('aria-expanded', String(shown));
    say(byId('report-copied'), '');
  };
  button.onclick = () => {
    if (byId('report').hidden) connection.tell({report: true});
    else show(false);
  };
  byId('report-copy').onclick = async () => {
    text.select();
    await navigator.clipboard.writeText(text.value);
    say(byId('report-copied'), 'report.copied');
  };
  connection.addEventListener('report', ({detail}) => {
    text.value = `${detail.text}Browser: ${navigator.userAgent}\n`;
    show(true);
  });
}
