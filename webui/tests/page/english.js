// The page's texts, for tests of what has words.

import {readFileSync} from 'node:fs';

import {useTexts} from '../../page/language.js';

const file = new URL('../../languages/en.json', import.meta.url);
useTexts('en', JSON.parse(readFileSync(file, 'utf8')));
