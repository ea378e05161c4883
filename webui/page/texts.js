// What the codes of the host and of the page's own server mean to a person: what happened, and
// what to do next.

const texts = {
  consent_required: {
    what: 'The session was not allowed.',
    next: 'The person at this computer has to allow it.',
  },
  screen_recording_required: {
    what: 'Screen Recording is not allowed yet.',
    next: 'Allow Quorvin Support to record the screen in your system’s privacy settings, then try again.',
  },
  accessibility_required: {
    what: 'Accessibility is not allowed yet.',
    next: 'Allow Quorvin Support under Accessibility in your system’s privacy settings, then try again.',
  },
  capture_failed: {
    what: 'Your screen could not be shared.',
    next: 'Check that a display is on, then allow the session again.',
  },
  capture_cancelled: {
    what: 'The session was stopped before it began.',
    next: 'Allow it again when you are ready.',
  },
  capture_stopped: {
    what: 'Sharing has stopped unexpectedly.',
    next: 'Nobody can see your screen now. Allow the session again to continue.',
  },
  capture_user_stopped: {
    what: 'Sharing was stopped from the system’s controls.',
    next: 'Nobody can see your screen now. Allow the session again to continue.',
  },
  customer_absent: {
    what: 'Sharing stopped because this page was closed.',
    next: 'Without the page you could not have stopped it yourself. Allow the session again to continue.',
  },
  bad_stream_settings: {
    what: 'The host did not accept these settings.',
    next: 'Settings can be changed only while a session is live, and only within their ranges.',
  },
  stream_settings_failed: {
    what: 'The settings could not be applied.',
    next: 'The picture stays as it was. Try other settings, or start the session again.',
  },
  h264_unsupported: {
    what: 'This browser cannot show H.264.',
    next: 'The picture comes as JPEG instead.',
  },
  input_not_authorized: {
    what: 'Mouse and keyboard are not available now.',
    next: 'They work only during a session, with Accessibility allowed.',
  },
  bad_input: {
    what: 'The computer did not accept that input.',
    next: 'Try again.',
  },
  not_allowed: {
    what: 'A supporter cannot do that.',
    next: 'Only the customer’s page can.',
  },
  input_echo: {
    what: 'This page is open on the very screen that it controls.',
    next: 'What you did came back to the page, so View only is on again. Open the page on another screen.',
  },
  input_overflow: {
    what: 'The computer does not keep up.',
    next: 'Your last clicks and keys were not sent. Wait a moment, then try again.',
  },
  install_first: {
    what: 'This copy of Quorvin Support is not installed.',
    next: 'Move Quorvin Support to Applications, open it there, then make the link.',
  },
  desktop_unavailable: {
    what: 'There is no Desktop folder.',
    next: 'Make one in your file manager, then try again.',
  },
  shortcut_failed: {
    what: 'The link was not made.',
    next: 'Nothing on the Desktop was changed.',
  },
  not_available: {
    what: 'This version of Quorvin Support cannot do that.',
    next: 'Update it, then try again.',
  },
  disconnected: {
    what: 'The connection to Quorvin Support was lost.',
    next: 'Wait until this page is connected again, then try once more.',
  },
};

const unknown = {
  what: 'Something went wrong.',
  next: 'Try again. If it keeps happening, restart Quorvin Support.',
};

// {what, next, detail}: `detail` is what the host itself said, where that may tell more.
export function explain(error) {
  const text = texts[error.code] ?? unknown;
  const saysMore = [
    'capture_failed',
    'capture_stopped',
    'stream_settings_failed',
    'shortcut_failed',
  ];
  const detail = text === unknown || saysMore.includes(error.code) ? error.message ?? '' : '';
  return {...text, detail};
}

export function sentence(error) {
  const {what, next, detail} = explain(error);
  return [what, detail && `(${detail})`, next].filter(Boolean).join(' ');
}
