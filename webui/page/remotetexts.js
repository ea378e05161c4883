// What is going on with supporters on other computers, in words for the customer.

// Why none can be invited.
export const problems = {
  unconfigured: {
    what: 'Supporters on other computers cannot be invited yet.',
    next:
      'That needs a meeting place, whose addresses are missing in the file remote.json of this ' +
      'program’s settings.',
  },
  full: {
    what: 'No further supporter can be invited now.',
    next: 'Withdraw an invitation or disconnect a supporter first.',
  },
  unreachable: {
    what: 'The meeting place cannot be reached.',
    next: 'Check this computer’s network; it is tried again by itself.',
  },
  certificateWrong: {
    what: 'The meeting place could not prove that it is the right one.',
    next: 'Nobody can be invited until whoever runs it has put its certificate in order.',
  },
  refused: {
    what: 'The meeting place does not let this computer in.',
    next: 'Whoever runs it can tell why.',
  },
};

// A name is somebody else's text, and must not turn round the words beside it.
const isolated = (name) => `\u2068${name}\u2069`;

const stages = {
  preparing: () => ({what: 'Preparing the invitation…', next: ''}),
  waiting: ({code}, {page}) =>
    code
      ? {
          what: 'Read this code to your supporter, or send the link.',
          next: `The code is entered at ${page}`,
        }
      : {
          what: 'Send this link to your supporter.',
          next: 'There is no code this time, because too many are in use.',
        },
  asking: ({name}) => ({
    what: `${isolated(name)} asks to see your screen.`,
    next: 'Talk to each other first: these three words have to be the same on both screens.',
  }),
  connected,
  lost: ({name}) => ({
    what: `The connection to ${isolated(name)} was interrupted.`,
    next: 'It may come back within 30 seconds, without another question.',
  }),
  expired: () => ({what: 'The invitation has expired.', next: 'Invite again for a new code.'}),
  tooManyTries: () => ({
    what: 'The invitation was closed after three wrong codes.',
    next: 'If that was not your supporter, somebody was guessing. Invite again for a new code.',
  }),
  refused: ({name}) => ({
    what: `${isolated(name)} was not let in.`,
    next: 'You refused, or the question was not answered within two minutes.',
  }),
  gone: ({name}) => ({
    what: `The connection to ${isolated(name)} was lost.`,
    next: 'It did not come back within 30 seconds. Invite again to continue.',
  }),
  ended: ({name}) =>
    name
      ? {what: `${isolated(name)} is not connected any more.`, next: ''}
      : {what: 'The invitation was withdrawn.', next: ''},
};

const finalStages = ['expired', 'tooManyTries', 'refused', 'gone', 'ended'];

// {what, next, isOver} of a session as the server tells it. `sinceMs` is how long it has been
// connected, `state` what the server says of the session on this computer, `page` the supporter's.
export function explainStage(session, {sinceMs = null, state = null, page = ''} = {}) {
  const text = stages[session.stage](session, {sinceMs, state, page});
  return {...text, isOver: finalStages.includes(session.stage)};
}

function connected({name, control, path}, {sinceMs, state}) {
  const next = path === null ? 'The way between the two computers is being found…' : wayOf(path, sinceMs);
  if (state?.session !== 'live') {
    return {what: `${isolated(name)} is connected, and your screen is not shared.`, next};
  }
  return control && state.control
    ? {what: `${isolated(name)} sees your screen and can use your mouse and keyboard.`, next}
    : {what: `${isolated(name)} sees your screen, and only watches.`, next};
}

function wayOf(path, sinceMs) {
  const way = path === 'relayed' ? 'Connected through a relay, which cannot see anything' : 'Connected directly';
  return sinceMs === null ? `${way}.` : `${way}, for ${durationOf(sinceMs)}.`;
}

function durationOf(ms) {
  const minutes = Math.floor(ms / 60_000);
  if (minutes === 0) return 'less than a minute';
  return minutes === 1 ? 'a minute' : `${minutes} minutes`;
}

const entryWords = {
  invited: 'invitation made',
  relayed: 'through a relay',
  unanswered: 'not answered',
  page: 'noticed here',
  supporter: 'noticed there',
  tooManyTries: 'after three wrong codes',
};

// An entry of the session log, as the server tells it.
export function logLine({name, event, control, path, why}) {
  const rights = ['allowed', 'control'].includes(event) && (control ? 'may control' : 'only watches');
  const parts = [event, rights, path, why === event ? '' : why].map((part) => entryWords[part] ?? part);
  return [name && isolated(name), ...parts].filter(Boolean).join(' · ');
}
