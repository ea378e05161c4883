// Text as the strokes of keys that make it on a US keyboard, which is how the host's key codes are
// named.

import {say} from './language.js';

const shiftedOf = {
  Backquote: '`~',
  Digit1: '1!',
  Digit2: '2@',
  Digit3: '3#',
  Digit4: '4$',
  Digit5: '5%',
  Digit6: '6^',
  Digit7: '7&',
  Digit8: '8*',
  Digit9: '9(',
  Digit0: '0)',
  Minus: '-_',
  Equal: '=+',
  BracketLeft: '[{',
  BracketRight: ']}',
  Backslash: '\\|',
  Semicolon: ';:',
  Quote: '\'"',
  Comma: ',<',
  Period: '.>',
  Slash: '/?',
  Space: ' ',
};

const codesOf = new Map();
for (const letter of 'abcdefghijklmnopqrstuvwxyz') {
  shiftedOf[`Key${letter.toUpperCase()}`] = letter + letter.toUpperCase();
}
for (const [code, [plain, shifted]] of Object.entries(shiftedOf)) {
  codesOf.set(plain, [code]);
  if (shifted) codesOf.set(shifted, ['ShiftLeft', code]);
}

// {keys, refused}: for each character the codes (KeyboardEvent.code) of the keys that make it
// together, and each of those that no key makes, once.
export function keysOf(text) {
  const characters = [...text];
  const refused = characters.filter((character) => !codesOf.has(character));
  return {keys: characters.map((character) => codesOf.get(character)), refused: [...new Set(refused)]};
}

const byId = (id) => document.getElementById(id);

// A line for those who have no keyboard but that of a telephone, which makes characters and no keys.
export class TextLine {
  #form = byId('text-line');
  #line = byId('text-to-type');
  #strike;

  // `strike` presses and lifts the keys of some codes, and resolves with whether it could once there
  // is room for more.
  constructor(strike) {
    this.#strike = strike;
    this.#form.onsubmit = (event) => {
      event.preventDefault();
      if (!this.#line.readOnly) this.#type();
    };
  }

  setEnabled(enabled) {
    this.#form.hidden = !enabled;
  }

  // What has been typed leaves the line, whatever comes in between.
  async #type() {
    const {keys, refused} = keysOf(this.#line.value);
    const problem = refused.length > 0 && 'control.textRefused';
    say(byId('text-problem'), problem || '', {characters: refused.join(' ')});
    if (problem) return;
    this.#line.readOnly = true;
    for (const codes of keys) {
      if (!(await this.#strike(codes))) break;
      this.#line.value = this.#line.value.slice(1);
    }
    this.#line.readOnly = false;
  }
}
