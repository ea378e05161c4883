// What a customer hands on: a link or a code; and the name that a supporter shows.

import {fromBase64Url, utf8} from './bytes.js';

const nameCharactersMax = 64;

// Of the part of a link behind "#": {way, inbox, password}, {outcome: 'version'} for a link of
// another version, or nothing.
export function parseLink(fragment) {
  const [version, inboxText = '', secretText = '', ...more] = fragment.replace(/^#/, '').split('.');
  if (/^[0-9]+$/.test(version) && version !== '1') return {outcome: 'version'};
  const inbox = fromBase64Url(inboxText, 16);
  const password = fromBase64Url(secretText, 32);
  if (version !== '1' || !inbox || !password || more.length > 0) return undefined;
  return {way: 'link', inbox, password};
}

// Of ten digits, in groups or not: {way, place, password}, or nothing.
export function parseCode(text) {
  const digits = text.replace(/[\s-]/g, '');
  if (!/^[0-9]{10}$/.test(digits)) return undefined;
  return {way: 'code', place: digits.slice(0, 4), password: utf8(digits.slice(4))};
}

// As the customer will see it: without what is invisible or changes the direction of the rest.
// Nothing when it then has no characters or more than 64.
export function cleanName(name) {
  const cleaned = name
    .replace(/[\p{Cc}\p{Cf}\p{Zl}\p{Zp}]/gu, '')
    .replace(/\p{Zs}+/gu, ' ')
    .replace(/^ | $/g, '');
  const characters = [...cleaned].length;
  return characters > 0 && characters <= nameCharactersMax ? cleaned : undefined;
}
