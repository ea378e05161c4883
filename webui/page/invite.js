// Invitations of supporters on other computers, on the customer's page: what to hand on, the question
// before anybody sees anything, and who is connected.

import {linkHelp} from './helplink.js';
import {decimal, locale, onLanguage, say, setText, text} from './language.js';
import {explainProblem, explainStage, logLine} from './remotetexts.js';

const product = document.title;
const qrBorder = 4; // modules
// What has just appeared under somebody's mouse was not what they meant to press.
const answersAfterMs = 700;

const byId = (id) => document.getElementById(id);

const clockOf = (ms) => {
  const seconds = Math.max(0, Math.round(ms / 1000));
  return `${decimal(Math.floor(seconds / 60))}:${decimal(seconds % 60, 0, 2)}`;
};

export class Invitations {
  #connection;
  #customer;
  #rows = new Map(); // by the session's id
  #event = null;
  #state = null; // of the session on this computer

  // `customer` can allowGuest(withControl), and is told of guests with showGuests(count,
  // {isRemote: whether there can be any, isCarrier: of one of them}).
  constructor(connection, customer) {
    this.#connection = connection;
    this.#customer = customer;
    byId('invite-button').onclick = () => connection.tell({invite: true});
    byId('log-button').onclick = () => this.#toggleLog();
    setInterval(() => this.#review(), 1000);
    onLanguage(() => this.#event && this.show(this.#event));
  }

  // The server's event.
  show(event) {
    const {configured, detail, full, page, sessions} = event;
    this.#event = event;
    byId('remote').hidden = false;
    const {id: reason, what, next} = explainProblem(event);
    setText(byId('remote-problem'), [what, detail && `(${detail})`, next].filter(Boolean).join(' '));
    linkHelp(byId('remote-problem'), reason);
    byId('invite-button').disabled = !configured || full;
    for (const [id, row] of this.#rows) {
      if (sessions.every((session) => session.id !== id)) this.#remove(id, row);
    }
    for (const session of sessions) this.#rowOf(session.id).show(session, page);
    const guests = this.#with('connected', 'lost');
    const isCarrier = guests.some(({session}) => session.carrier);
    this.#customer.showGuests(guests.length, {isRemote: configured, isCarrier});
    const isAsked = this.#with('asking').length > 0;
    document.title = isAsked ? text('remote.question', {title: product}) : product;
    this.#review();
    if (!byId('log').hidden) this.#connection.tell({log: true});
  }

  // Of the session on this computer, as the server tells it.
  showState(state) {
    this.#state = state;
    this.#review();
  }

  disconnected() {
    this.#event = null;
    for (const [id, row] of this.#rows) this.#remove(id, row);
    this.#customer.showGuests(0, {isRemote: false, isCarrier: false});
    byId('remote').hidden = true;
  }

  endAll() {
    this.#connection.tell({stopAll: true});
  }

  // As they are in the log, the newest first.
  showLog(entries) {
    byId('log').replaceChildren(...entries.map(logRow));
  }

  #with(...stages) {
    return [...this.#rows.values()].filter(({session}) => stages.includes(session.stage));
  }

  #rowOf(id) {
    if (!this.#rows.has(id)) {
      const answer = (message) => this.#answer(id, message);
      const row = new Row(answer, (text) => setText(byId('remote-news'), text));
      byId('remote-sessions').prepend(row.element);
      this.#rows.set(id, row);
    }
    return this.#rows.get(id);
  }

  #answer(id, message) {
    this.#connection.tell({remote: id, ...message});
    const isAllowed = message.answer === 'watch' || message.answer === 'control';
    const withControl = message.answer === 'control' || message.control === true;
    if (isAllowed || withControl) this.#customer.allowGuest(withControl);
  }

  #remove(id, row) {
    const hadFocus = row.element.contains(document.activeElement);
    row.element.remove();
    this.#rows.delete(id);
    if (hadFocus) byId('invite-button').focus();
  }

  #review() {
    for (const row of this.#rows.values()) row.review(this.#state);
  }

  #toggleLog() {
    const log = byId('log');
    log.hidden = !log.hidden;
    byId('log-button').setAttribute('aria-expanded', String(!log.hidden));
    if (!log.hidden) this.#connection.tell({log: true});
  }
}

// One invitation, from its code to the supporter who came with it.
class Row {
  element = byId('guest-template').content.firstElementChild.cloneNode(true);
  session = null;
  #page;
  #toldAt; // on the clock of performance.now()
  #askedAt = 0;
  #state = null;
  #news;
  #isNews = false; // the stage, until it has been said

  // `answer` sends what is to be done, `news` says something to those who listen to the page.
  constructor(answer, news) {
    this.#news = news;
    const messages = {
      watch: () => answer({answer: 'watch'}),
      both: () => answer({answer: 'control'}),
      refuse: () => answer({answer: 'refuse'}),
      control: () => answer({control: !this.session.control}),
      end: () => answer({end: true}),
      copy: () => this.#copy(),
    };
    for (const [name, act] of Object.entries(messages)) this.#part(name).onclick = act;
  }

  show(session, page) {
    const before = this.session?.stage;
    const hadFocus = this.element.contains(document.activeElement);
    this.session = session;
    this.#page = page;
    this.#toldAt = performance.now();
    const {stage, code, link, qr, words} = session;
    this.element.dataset.stage = stage;
    this.#part('invitation').hidden = stage !== 'waiting';
    this.#part('question').hidden = stage !== 'asking';
    this.#part('code').hidden = code === '';
    setText(this.#part('code'), code);
    if (this.#part('link').value !== link) this.#part('link').value = link;
    if (stage === 'waiting' && before !== stage) this.#draw(qr ?? []);
    if (stage === 'asking' && before !== stage) this.#ask();
    setText(this.#part('words'), (words ?? []).join(' · '));
    const isOver = explainStage(session).isOver;
    this.#part('actions').hidden = isOver || stage === 'asking';
    this.#part('control').hidden = stage !== 'connected';
    say(this.#part('control'), session.control ? 'rights.controlled' : 'rights.give');
    say(this.#part('end'), session.name ? 'remote.disconnect' : 'remote.withdraw');
    if (before === stage) return;
    this.#isNews = true;
    // What had the focus may be gone; whoever works with the keyboard goes on from here.
    if (hadFocus) this.element.focus({preventScroll: true});
  }

  // `state` is that of the session on this computer, or null.
  review(state) {
    this.#state = state;
    const passedMs = performance.now() - this.#toldAt;
    const {stage, expiresInMs, sinceMs} = this.session;
    const connectedMs = sinceMs === null ? null : sinceMs + passedMs;
    const terms = {sinceMs: connectedMs, state, page: this.#page};
    const {id, what, next} = explainStage(this.session, terms);
    setText(this.#part('title'), what);
    // Whether somebody who is connected sees anything is not known before sharing has begun.
    const isOpen = stage === 'connected' && (state?.session ?? 'starting') === 'starting';
    if (this.#isNews && !isOpen) this.#news(what);
    this.#isNews &&= isOpen;
    setText(this.#part('advice'), next);
    linkHelp(this.#part('advice'), id);
    const expires = stage === 'waiting' && expiresInMs !== null;
    const left = expires ? text('remote.goodFor', {left: clockOf(expiresInMs - passedMs)}) : '';
    setText(this.#part('countdown'), left);
    const tooSoon = performance.now() < this.#askedAt + answersAfterMs - 1;
    for (const name of ['watch', 'both']) this.#part(name).disabled = tooSoon;
  }

  #part(name) {
    return this.element.querySelector(`[data-part=${name}]`);
  }

  #ask() {
    this.#askedAt = performance.now();
    setTimeout(() => this.review(this.#state), answersAfterMs);
    this.element.scrollIntoView({block: 'nearest'});
  }

  async #copy() {
    const input = this.#part('link');
    input.select();
    await navigator.clipboard.writeText(input.value);
    say(this.#part('copied'), 'remote.copied');
  }

  #draw(rows) {
    const qr = this.#part('qr');
    const side = rows.length + 2 * qrBorder;
    qr.toggleAttribute('hidden', rows.length === 0);
    qr.setAttribute('viewBox', `0 0 ${side} ${side}`);
    const dark = [];
    rows.forEach((row, y) => {
      for (const {index, 0: run} of row.matchAll(/1+/g)) {
        dark.push(`M${index + qrBorder} ${y + qrBorder}h${run.length}v1h-${run.length}z`);
      }
    });
    qr.firstElementChild.setAttribute('d', dark.join(''));
  }
}

function logRow(entry) {
  const row = document.createElement('li');
  const time = document.createElement('time');
  time.dateTime = entry.time;
  time.textContent = new Date(entry.time).toLocaleString(locale);
  row.append(time, ' · ', logLine(entry));
  return row;
}
