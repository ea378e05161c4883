// What is going on with supporters on other computers, in words for the customer.

import {advice, hasText, text} from './language.js';

// A name is somebody else's text, and must not turn round the words beside it.
const isolated = (name) => `\u2068${name}\u2069`;

// Why none can be invited, if that is so: {what, next}.
export function explainProblem({configured, problem, full}) {
  const name = configured ? (problem ?? (full ? 'full' : null)) : 'unconfigured';
  return name && hasText(`problem.${name}.what`) ? advice(`problem.${name}`) : {what: '', next: ''};
}

const finalStages = ['expired', 'tooManyTries', 'refused', 'gone', 'ended'];

// {what, next, isOver} of a session as the server tells it. `sinceMs` is how long it has been
// connected, `state` what the server says of the session on this computer, `page` the supporter's.
export function explainStage(session, {sinceMs = null, state = null, page = ''} = {}) {
  const {stage} = session;
  const said =
    stage === 'connected'
      ? connected(session, {sinceMs, state})
      : advice(`guest.${kindOf(session)}`, {name: isolated(session.name), page});
  return {...said, isOver: finalStages.includes(stage)};
}

function kindOf({stage, code, name}) {
  if (stage === 'waiting' && !code) return 'waitingForLink';
  return stage === 'ended' && !name ? 'withdrawn' : stage;
}

function connected({name, control, path}, {sinceMs, state}) {
  const seen = control && state?.control ? 'controls' : 'watches';
  const kind = state?.session === 'live' ? seen : 'unshared';
  return {what: text(`guest.${kind}`, {name: isolated(name)}), next: wayOf(path, sinceMs)};
}

function wayOf(path, sinceMs) {
  if (path === null) return text('way.unknown');
  const way = path === 'relayed' ? 'relayed' : 'direct';
  return sinceMs === null ? text(`way.${way}`) : text(`way.${way}For`, {time: durationOf(sinceMs)});
}

function durationOf(ms) {
  const minutes = Math.floor(ms / 60_000);
  return minutes === 0 ? text('duration.short') : text('duration.minutes', {count: minutes});
}

// An entry of the session log, as the server tells it.
export function logLine({name, event, control, path, why}) {
  const rights = ['allowed', 'control'].includes(event) && (control ? 'controls' : 'watches');
  const parts = [event, rights, path, why === event ? '' : why].filter(Boolean);
  const words = parts.map((part) => (hasText(`log.${part}`) ? text(`log.${part}`) : part));
  return [name && isolated(name), ...words].filter(Boolean).join(' · ');
}
