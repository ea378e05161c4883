// Keys that the supporter's browser or system keeps for itself, to be sent from a list.

import {say} from './language.js';

const combinations = [
  {name: 'ctrlAltDel', codes: ['ControlLeft', 'AltLeft', 'Delete']},
  {name: 'altTab', codes: ['AltLeft', 'Tab']},
  {name: 'altF4', codes: ['AltLeft', 'F4']},
  {name: 'super', codes: ['MetaLeft']},
  {name: 'ctrlW', codes: ['ControlLeft', 'KeyW']},
  {name: 'ctrlT', codes: ['ControlLeft', 'KeyT']},
  {name: 'ctrlN', codes: ['ControlLeft', 'KeyN']},
  {name: 'ctrlTab', codes: ['ControlLeft', 'Tab']},
  {name: 'ctrlAltHome', codes: ['ControlLeft', 'AltLeft', 'Home']},
  {name: 'f11', codes: ['F11']},
  {name: 'escape', codes: ['Escape']},
  {name: 'enter', codes: ['Enter']},
  {name: 'backspace', codes: ['Backspace']},
];

// The host's events of keys that go down one after the other and up in the opposite order.
export function strokesOf(codes, keyCodes) {
  const numbers = codes.map((code) => keyCodes[code]);
  return [
    ...numbers.map((keyCode) => ({action: 'keyDown', keyCode})),
    ...numbers.reverse().map((keyCode) => ({action: 'keyUp', keyCode})),
  ];
}

// A button that unfolds the list.
export class CombinationMenu {
  #root;
  #button;
  #list;

  // `onChosen` gets the codes (KeyboardEvent.code) of the keys.
  constructor(root, onChosen) {
    this.#root = root;
    this.#button = root.querySelector('button');
    this.#list = root.querySelector('ul');
    this.#list.append(...combinations.map((combination) => this.#entry(combination, onChosen)));
    this.#button.onclick = () => this.#unfold(this.#list.hidden);
    root.addEventListener('keydown', (event) => this.#keyPressed(event));
    root.addEventListener('focusout', ({relatedTarget}) => {
      if (!root.contains(relatedTarget)) this.#unfold(false);
    });
  }

  setEnabled(enabled) {
    this.#button.disabled = !enabled;
    if (!enabled) this.#unfold(false);
  }

  #entry({name, codes}, onChosen) {
    const entry = document.createElement('button');
    entry.type = 'button';
    say(entry, `keys.${name}`);
    entry.onclick = () => {
      this.#unfold(false);
      onChosen(codes);
    };
    const item = document.createElement('li');
    item.append(entry);
    return item;
  }

  #unfold(unfolded) {
    this.#list.hidden = !unfolded;
    this.#button.setAttribute('aria-expanded', String(unfolded));
  }

  #keyPressed(event) {
    const entries = [...this.#list.querySelectorAll('button')];
    const step = {ArrowDown: 1, ArrowUp: -1}[event.key];
    if (event.key === 'Escape' && !this.#list.hidden) {
      this.#unfold(false);
      this.#button.focus();
    } else if (step) {
      this.#unfold(true);
      const at = entries.indexOf(document.activeElement);
      const next = at < 0 && step < 0 ? entries.length - 1 : at + step;
      entries[(next + entries.length) % entries.length].focus();
    } else {
      return;
    }
    event.preventDefault();
  }
}
