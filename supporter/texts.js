// What a supporter reads, in every stage of Help: what happens, and what to do.

const again = 'Ask for a new invitation.';

const stages = {
  joining: ['Asking to help…', ''],
  asked: [
    'The customer is being asked.',
    'Talk to each other: these three words have to be the same on both screens.',
  ],
  connecting: ['You are allowed to help. Connecting…', ''],
  connected: ['', ''],
  resuming: ['The connection was interrupted.', 'It is being resumed, for up to 30 seconds.'],
  refused: ['The customer did not let you in.', ''],
  unanswered: ['The customer has not answered.', again],
  wrong: ['The code or link is not right.', 'Compare it with the customer’s. After three tries it is void.'],
  expired: ['The invitation has expired.', again],
  tooManyTries: ['The invitation is void after three wrong codes.', again],
  taken: ['Somebody else has come with this invitation.', `If that was not you, tell the customer. ${again}`],
  over: ['The session is over.', again],
  version: ['The customer’s program and this page do not fit.', 'Reload this page; if that does not help, the customer’s program needs an update.'],
  broken: ['What came from the other side made no sense.', `Somebody may be in between. ${again}`],
  unreachable: ['The meeting place cannot be reached.', 'Check your network, then try again.'],
  noAnswer: ['Nobody answers to this invitation.', 'Compare the code with the customer’s, whose program has to be running.'],
  gone: ['The customer’s computer cannot be reached any more.', again],
  noWay: ['No way between the two computers was found.', 'A network in between forbids it, or the meeting place has no relay.'],
  lost: ['The connection was lost.', `It did not come back within 30 seconds. ${again}`],
  stopped: ['The customer has stopped sharing.', ''],
  disconnected: ['The customer has ended your connection.', ''],
  departed: ['The customer’s program has ended.', ''],
  left: ['You have left.', 'Nothing of this computer is connected any more.'],
};

export function explainStage(stage) {
  const [what, next] = stages[stage];
  return {what, next};
}

// Of a link that was opened: nothing, or why it cannot be used.
export const linkProblems = {
  version: 'This link is for another version of this page. Reload the page, or ask for a new invitation.',
  unreadable: 'This link is not complete. Open it again as it was sent, or enter the code.',
};

// `why` the picture is reduced, in so many `steps`.
export function explainReduction({why, steps}) {
  if (!why) return '';
  const by = steps > 1 ? ` (${steps} steps)` : '';
  return `The picture is reduced${by}, because the network does not carry more now.`;
}
