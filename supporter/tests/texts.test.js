// What a supporter reads.

import assert from 'node:assert/strict';
import {test} from 'node:test';

import {explainReduction} from '../texts.js';

test('a reduced picture is told with its reason, and a whole one not at all', () => {
  assert.equal(explainReduction({why: null, steps: 0}), '');
  assert.match(explainReduction({why: 'network', steps: 1}), /^The picture is reduced, because the network/);
  assert.match(explainReduction({why: 'network', steps: 3}), /^The picture is reduced \(3 steps\), because/);
});
