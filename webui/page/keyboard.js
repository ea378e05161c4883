// The supporter's keyboard as the host is to see it. Browsers do not tell of every key that goes up;
// what is known to be held is set right here, so that nothing stays down on the other side.

const modifiers = [
  {codes: ['ShiftLeft', 'ShiftRight'], isDown: (event) => event.shiftKey},
  {codes: ['ControlLeft', 'ControlRight'], isDown: (event) => event.ctrlKey},
  {
    codes: ['AltLeft', 'AltRight'],
    isDown: (event) => event.altKey || event.getModifierState('AltGraph'),
  },
  {codes: ['MetaLeft', 'MetaRight'], isDown: (event) => event.metaKey},
];

const isModifier = (code) => modifiers.some(({codes}) => codes.includes(code));
const isMeta = (code) => code === 'MetaLeft' || code === 'MetaRight';

// What brings a supporter who works with the keyboard out of the picture.
export function isEscapeShortcut({code, ctrlKey, altKey}) {
  return code === 'Home' && ctrlKey && altKey;
}

export class Keyboard {
  #keyCodes;
  #input;
  #isMac;

  // `keyCodes` maps KeyboardEvent.code to the host's key codes. `input` has `push` and `holds` as
  // InputQueue has them.
  constructor(keyCodes, input, {isMac = false} = {}) {
    this.#keyCodes = keyCodes;
    this.#input = input;
    this.#isMac = isMac;
  }

  // Each returns whether the host has such a key.
  down(event) {
    const {code, repeat} = event;
    if (!this.#knows(code)) return false;
    this.#releaseUnseen(event);
    if (repeat && !this.holds(code) && !this.#isTapped(event)) return true; // pressed elsewhere
    this.#press(code, repeat);
    if (this.#isTapped(event)) this.#release(code);
    return true;
  }

  up(event) {
    const {code} = event;
    if (!this.#knows(code)) return false;
    this.#releaseUnseen(event);
    if (this.#isMac && code === 'CapsLock') this.#tap(code);
    // macOS keeps to itself what goes up while Command is held.
    const others = () => Object.keys(this.#keyCodes).filter((other) => !isModifier(other));
    if (isMeta(code)) this.#releaseHeld(others());
    if (this.holds(code)) this.#release(code);
    return true;
  }

  holds(...codes) {
    return codes.some((code) => this.#input.holds(this.#keyCodes[code]));
  }

  #knows(code) {
    return Object.hasOwn(this.#keyCodes, code);
  }

  // Of these keys macOS tells only half: of Caps Lock that it was switched on or off, and of others
  // while Command is held that they went down.
  #isTapped({code, metaKey}) {
    return this.#isMac && (code === 'CapsLock' || (metaKey && !isModifier(code)));
  }

  #tap(code) {
    this.#press(code, false);
    this.#release(code);
  }

  #press(code, repeated) {
    this.#input.push({action: 'keyDown', keyCode: this.#keyCodes[code]}, {repeated});
  }

  #release(code) {
    this.#input.push({action: 'keyUp', keyCode: this.#keyCodes[code]});
  }

  #releaseHeld(codes) {
    for (const code of codes) {
      if (this.holds(code)) this.#release(code);
    }
  }

  // Windows does not tell of the first of two Shift keys that goes up, and tells of a Control key
  // before AltGr that nobody pressed.
  #releaseUnseen(event) {
    for (const {codes, isDown} of modifiers) {
      if (!codes.includes(event.code) && !isDown(event)) this.#releaseHeld(codes);
    }
  }
}
