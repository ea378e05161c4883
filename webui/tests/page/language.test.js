// Texts of a catalogue with their values, as a language writes them.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {advice, decimal, locale, text, useTexts} from '../../page/language.js';

const catalogue = {
  'a.what': 'What {name} did',
  'b.what': 'What',
  'b.next': 'Next',
  'n.one': 'one',
  'n.two': 'two',
  'n.few': '{count} few',
  'n.other': '{count} others',
};

test('values stand where their names are, whatever they contain', () => {
  useTexts('en', catalogue);
  assert.equal(text('a.what', {name: '$& {name}'}), 'What $& {name} did');
  assert.deepEqual(advice('a', {name: 'Ann'}), {id: 'a', what: 'What Ann did', next: ''});
  assert.equal(advice('b').next, 'Next');
});

test('a count has the forms of its language', () => {
  useTexts('en', catalogue);
  assert.deepEqual([1, 2, 1200].map((count) => text('n', {count})), ['one', '2 others', '1,200 others']);
  useTexts('ar', catalogue, ['ar-AE']);
  assert.deepEqual([1, 2, 3].map((count) => text('n', {count})), ['one', 'two', '3 few']);
});

test('numbers are written as in the country of whoever reads them', () => {
  useTexts('de', catalogue, ['fr-FR', 'de-CH', 'de-DE']);
  assert.equal(locale, 'de-CH');
  useTexts('de', catalogue, ['fr-FR']);
  assert.equal(locale, 'de');
  assert.equal(decimal(1234.56, 1), '1234,6');
  assert.equal(decimal(7, 0, 2), '07');
});

test('what has no text is a mistake that is noticed', () => {
  useTexts('en', catalogue);
  assert.throws(() => text('c.what'), /no text c\.what/);
});
