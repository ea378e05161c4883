// A session between two networks, measured: from a change of the screen to the supporter's canvas, from
// a key there to a program on the screen, and what that costs. Prints a table, and puts it into a
// document if one is named. Inside `networks.sh run`; QUORVIN_HIDDEN_S says how long the customer's page
// is hidden before it is measured so.
// Usage: remote.mjs [DOCUMENT.md]

import {loadavg} from 'node:os';
import {setTimeout as pause} from 'node:timers/promises';

import {ScreenChanger} from '../../tests/e2e/browser/support/ScreenChanger.mjs';
import {screenChanger} from '../../tests/e2e/browser/support/built.mjs';
import {until} from '../../tests/e2e/browser/support/until.mjs';
import {Supporter} from '../../tests/e2e/networks/support/Session.mjs';
import {launchIn, setNetworks} from '../../tests/e2e/networks/support/networks.mjs';
import {processTree, processesNamed, processorTime, threadsTime} from '../glass/processes.mjs';
import {high, median, renew} from '../glass/report.mjs';
import {awaitGrey, changeTimes, inTime, keyTimes, now} from '../glass/times.mjs';
import {HelpedSession} from './HelpedSession.mjs';

const [document] = process.argv.slice(2);
const hiddenMs = Number(process.env.QUORVIN_HIDDEN_S ?? 75) * 1000;
const few = process.env.QUORVIN_FEW === '1'; // to try this script, not to measure
const [changes, keys, begins, letters, runS] = few ? [10, 10, 2, 200, 3] : [200, 100, 9, 400, 15];
const size = [1920, 1080];
const far = {delayMs: 10}; // of each of two wires, in each direction
const caret = [400, 320, 8, 16];
const field = [400, 600, 600, 320]; // where letters are typed, dark on white
const emptyField = ['#picture', field[0] + 4, field[1] + 8, 255];
const cellOf = (letter) => [field[0] + (letter % 60) * 10, field[1] + Math.floor(letter / 60) * 20, 8, 16];

// In the supporter's page: how many bytes of messages came, and how many with the transport's own.
async function countBytes() {
  const reports = [...(await window.channels.peer.getStats()).values()];
  const sumOf = (wanted) =>
    reports.reduce((sum, {type, bytesReceived}) => sum + (type === wanted ? bytesReceived : 0), 0);
  return ['data-channel', 'transport'].map(sumOf);
}

const caretTimes = (page, changer) =>
  changeTimes(page, '#picture', caret, changes, (rect, grey) => changer.fill(rect, grey * 0x010101));

// In the page: at which animation frames the canvas has the letters, one after the other.
function awaitLetters(cells) {
  return new Promise((resolve) => {
    const context = document.getElementById('picture').getContext('2d');
    const times = [];
    const isDark = ([x, y]) => context.getImageData(x + 4, y + 8, 1, 1).data[0] < 128;
    const look = () => {
      const at = performance.timeOrigin + performance.now();
      while (times.length < cells.length && isDark(cells[times.length])) times.push(at);
      if (times.length < cells.length) requestAnimationFrame(look);
      else resolve(times);
    };
    look();
  });
}

async function clearField(page, changer) {
  await changer.fill(field, 0xffffff);
  await inTime('the empty field', page.evaluate(awaitGrey, emptyField));
}

// At that pace, whatever arrives, but not in step with animation frames; resolves with when each letter
// was.
async function type(changer, perSecond, count) {
  const times = [];
  for (let begin = now(); times.length < count; ) {
    times.push(now());
    await changer.fill(cellOf(times.length - 1), 0x202428);
    const due = begin + (times.length * 1000) / perSecond + ((times.length * 7) % 17);
    await pause(Math.max(0, due - now()));
  }
  return times;
}

async function typingTimes(page, changer) {
  await clearField(page, changer);
  const seen = page.evaluate(awaitLetters, Array.from({length: letters}, (_, letter) => cellOf(letter)));
  const typed = await type(changer, 10, letters);
  const times = await inTime('the last letter', seen);
  return times.map((time, letter) => time - typed[letter]);
}

// Shares of a core while `work` goes on.
async function sharesOf(roots, work) {
  const costs = () => ({
    customer: processorTime(processTree(roots.customer)),
    supporter: processorTime(processTree(roots.supporter)),
    webui: threadsTime(processesNamed('quorvin-webui')),
  });
  const [begin, before] = [now(), costs()];
  await work();
  const [ms, after] = [now() - begin, costs()];
  const share = ([name, seconds]) => [name, ((seconds - before[name]) / ms) * 100_000];
  return Object.fromEntries(Object.entries(after).map(share));
}

const rows = [];
const both = (times) => `${median(times).toFixed(1)} / ${high(times).toFixed(1)}`;
function row(what, measure, value, target = '') {
  rows.push(`| ${what} | ${measure} | ${value} | ${target} |`);
  console.error(rows.at(-1));
}

// `seen` is what the same took while the customer's page was in front.
async function measureWays(title, session, page, changer, seen = null) {
  const caretMs = await caretTimes(page, changer);
  const keyMs = await keyTimes(page, session.window, keys);
  const times = (of) => `${(1.5 * median(of)).toFixed(1)} / ${(2.5 * high(of)).toFixed(1)}`;
  row(`caret${title}`, 'ms', both(caretMs), seen ? times(seen.caretMs) : '45 / 90');
  row(`a key${title}`, 'ms', both(keyMs), seen ? times(seen.keyMs) : '30');
  return {caretMs, keyMs};
}

async function measureLoad(title, roots, page, changer) {
  await clearField(page, changer);
  const shares = await sharesOf(roots, () => type(changer, 30, runS * 30));
  const what = `30 small changes a second${title}`;
  row(what, 'frames a second', await page.textContent('#stats-rate'));
  row(what, 'customer’s browser, % of a core', shares.customer.toFixed(1), '10');
  row(what, '`quorvin-webui`, % of a core', shares.webui.toFixed(1), '2');
  row(what, 'supporter’s browser, % of a core', shares.supporter.toFixed(1));
}

async function measureBegins(session, supporter) {
  const times = [];
  while (times.length < begins) {
    if (times.length > 0) await session.endGuest();
    await supporter.page.goto('https://place.test/');
    const seen = supporter.page.evaluate(awaitGrey, emptyField);
    const [at] = await Promise.all([seen, session.helpedBy(supporter)]);
    times.push(at - session.answeredAt);
  }
  row('from Allow to the first frame', 'ms', both(times), '1500');
}

async function measureBytes(session, page, changer) {
  const here = await launchIn('customer');
  const local = await here.newPage();
  let own = 0;
  local.on('websocket', (socket) => socket.on('framereceived', ({payload}) => (own += payload.length)));
  await local.goto(await session.browser.evaluate(() => document.getElementById('show-supporter').href));
  await until('its picture', () => local.$eval('#picture', ({width}, wanted) => width === wanted, size[0]));
  await clearField(page, changer);
  await pause(2000);
  const bytes = async () => [...(await page.evaluate(countBytes)), own];
  const before = await bytes();
  await type(changer, 10, runS * 10);
  await pause(1000);
  const after = await bytes();
  await here.close();
  const [messages, all, beside] = after.map((count, index) => (count - before[index]) / (runS * 10));
  row('a letter', 'bytes in messages', messages.toFixed(0), (1.1 * beside).toFixed(0));
  row('a letter', 'the same, to a page on the same computer', beside.toFixed(0));
  row('a letter', 'bytes with the transport’s own', all.toFixed(0));
}

async function measureLoss(title, lossPercent, page, changer, target = '') {
  setNetworks({...far, lossPercent});
  if (lossPercent > 0) row(`caret${title}`, 'ms', both(await caretTimes(page, changer)), target);
  row(`typing, 10 letters a second${title}`, 'ms', both(await typingTimes(page, changer)), target);
  setNetworks(far);
}

async function measureHidden(how, title, session, roots, page, changer, seen) {
  await session.browser.hide(how);
  await pause(hiddenMs);
  await measureWays(title, session, page, changer, seen);
  await measureLoad(title, roots, page, changer);
  await session.browser.show(how);
}

async function measureAll(session, supporter) {
  const {page} = supporter;
  const changer = new ScreenChanger(screenChanger, session.screen.environment);
  await changer.desktop(1);
  await changer.fill(field, 0xffffff);
  await measureBegins(session, supporter);
  await supporter.awaitWay('direct');
  await supporter.takeControl();
  await pause(2000);
  row('there and back, as the browser says', 'ms', await page.textContent('#stats-trip'));
  const seen = await measureWays('', session, page, changer);
  const customer = session.browser.process.pid;
  const chromiums = processTree(process.pid).filter((at) => processesNamed('chromium').includes(at));
  const roots = {customer, supporter: chromiums.find((at) => !processTree(customer).includes(at))};
  await measureLoad('', roots, page, changer);
  await measureBytes(session, page, changer);
  await measureLoss('', 0, page, changer);
  await measureLoss(', 1 % lost', 0.5, page, changer, '– / 120');
  await measureLoss(', 2 % lost', 1, page, changer);
  await measureHidden('tab', ', customer’s page behind a tab', session, roots, page, changer, seen);
  await measureHidden('window', ', customer’s window minimised', session, roots, page, changer, seen);
  await changer.close();
}

const [load] = loadavg();
setNetworks(far);
const session = await HelpedSession.start(size);
const supporter = await Supporter.arrive();
try {
  await measureAll(session, supporter);
} finally {
  await supporter.close();
  await session.stop();
}
const lines = [
  '| What | Measured | Reached | Target: at most |',
  '| --- | --- | ---: | ---: |',
  ...rows,
  '',
  `Measured on ${new Date().toISOString().slice(0, 10)}; load average before: ${load.toFixed(2)}.`,
];
console.log(lines.join('\n'));
if (document) renew(document, lines, 'remote');
process.exit(0);
