// Puts the page of a supporter on another computer together: the first view, and then what a
// supporter on the same computer has.

import mqtt from 'mqtt';

import {Connection} from '../webui/page/connection.js';
import {linkHelp} from '../webui/page/helplink.js';
import {advice, decimal, loadTexts, onLanguage, say, setText, text} from '../webui/page/language.js';
import {Peer} from '../webui/page/peer.js';
import {makeView} from '../webui/page/view.js';
import {Help} from './help.js';
import {Signalling} from './signalling.js';
import {Guest} from './trust/guest.js';
import {cleanName, parseCode, parseLink} from './trust/invitation.js';

await loadTexts();

const pathEveryMs = 1000;
const linkProblems = {version: 'help.linkVersion', unreadable: 'help.linkUnreadable'};

const byId = (id) => document.getElementById(id);

const connection = new Connection();
let help = null;
let link = readLink();

function readLink() {
  const fragment = location.hash;
  if (fragment.length < 2) return null;
  const parsed = parseLink(fragment);
  const problem = linkProblems[parsed ? parsed.outcome : 'unreadable'] ?? '';
  say(byId('link-problem'), problem);
  linkHelp(byId('link-problem'), problem);
  return parsed?.way ? parsed : null;
}

// What was opened stays in the browser's memory no longer than it is good for.
function forgetLink() {
  link = null;
  history.replaceState(null, '', location.pathname);
}

function readPlace() {
  const options = {cache: 'no-store', signal: AbortSignal.timeout(10_000)};
  return fetch('place.json', options).then((response) => response.json());
}

function check(input, isValid) {
  input.setAttribute('aria-invalid', String(!isValid));
  const hint = byId(input.getAttribute('aria-describedby'));
  hint.dataset.kind = isValid ? 'neutral' : 'bad';
  if (!isValid) input.focus();
  return isValid;
}

function ask() {
  const name = cleanName(byId('name').value);
  const invitation = link ?? parseCode(byId('code').value);
  const codeIsValid = check(byId('code'), Boolean(invitation));
  if (!check(byId('name'), name !== undefined) || !codeIsValid) return;
  help = new Help({
    guest: new Guest(invitation, name),
    digits: invitation.place,
    connection,
    readPlace,
    openSignalling: (options) => Signalling.open(mqtt.connect, options),
    makePeer: (options) => new Peer(options),
    onChange: show,
  });
  help.join();
}

function show() {
  const stage = help?.stage;
  const said = stage && stage !== 'connected' ? advice(`stage.${stage}`) : {what: '', next: ''};
  const isOver = help?.isOver ?? true;
  if (stage === 'asked') forgetLink();
  byId('ask-form').hidden = stage !== undefined;
  byId('by-code').hidden = link !== null;
  byId('by-link').hidden = link === null;
  byId('first').hidden = stage === 'connected';
  byId('progress').hidden = stage === undefined;
  byId('progress').dataset.stage = isOver ? 'over' : stage;
  setText(byId('stage-what'), said.what);
  setText(byId('stage-next'), said.next);
  linkHelp(byId('stage-next'), said.id);
  setText(byId('words'), stage === 'asked' ? help.words.join(' · ') : '');
  byId('again').hidden = !isOver;
  byId('leave').hidden = isOver;
  // The view stays while what it shows may come back.
  if (stage === 'connected') byId('view').hidden = false;
  else if (isOver) byId('view').hidden = true;
  showChip(stage, isOver);
}

function showChip(stage, isOver) {
  const said = ['connected', 'resuming'].includes(stage) ? stage : isOver ? 'off' : 'connecting';
  byId('connection-state').dataset.state = {resuming: 'disconnected'}[stage] ?? stage;
  say(byId('connection-state'), `connection.${said}`);
}

async function showPath() {
  const path = await help?.peer?.path().catch(() => null);
  setText(byId('stats-way'), path ? text(`statistics.way.${path.way}`) : '–');
  setText(byId('stats-trip'), path && path.roundTripMs >= 0 ? decimal(path.roundTripMs) : '–');
}

byId('ask-form').onsubmit = (event) => {
  event.preventDefault();
  ask();
};
byId('again').onclick = () => {
  help = null;
  show();
  byId('name').focus();
};
byId('leave').onclick = () => help.leave();
window.addEventListener('hashchange', () => {
  link = readLink();
  show();
});
connection.addEventListener('reduced', ({detail: {why, steps}}) => {
  say(byId('reduced'), why ? 'help.reduced' : '', {count: steps});
});
connection.addEventListener('closed', () => say(byId('reduced'), ''));
onLanguage(show);
setInterval(showPath, pathEveryMs);
makeView(connection);
show();
