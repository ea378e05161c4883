// What the codes of the host and of the page's own server mean to a person: what happened, and
// what to do next.

import {advice, hasText} from './language.js';

const saysMore = ['capture_failed', 'capture_stopped', 'stream_settings_failed', 'shortcut_failed'];

// {what, next, detail}: `detail` is what the host itself said, where that may tell more.
export function explain({code, message}) {
  const isKnown = hasText(`error.${code}.what`);
  const detail = isKnown && !saysMore.includes(code) ? '' : (message ?? '');
  return {...advice(`error.${isKnown ? code : 'unknown'}`), detail};
}

export function sentence(error) {
  const {what, next, detail} = explain(error);
  return [what, detail && `(${detail})`, next].filter(Boolean).join(' ');
}
