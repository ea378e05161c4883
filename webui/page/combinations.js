// Keys that the supporter's browser or system keeps for itself, to be sent from a list.

const combinations = [
  {label: 'Ctrl+Alt+Del', codes: ['ControlLeft', 'AltLeft', 'Delete']},
  {label: 'Alt+Tab', codes: ['AltLeft', 'Tab']},
  {label: 'Alt+F4', codes: ['AltLeft', 'F4']},
  {label: 'Super', codes: ['MetaLeft']},
  {label: 'Ctrl+W', codes: ['ControlLeft', 'KeyW']},
  {label: 'Ctrl+T', codes: ['ControlLeft', 'KeyT']},
  {label: 'Ctrl+N', codes: ['ControlLeft', 'KeyN']},
  {label: 'Ctrl+Tab', codes: ['ControlLeft', 'Tab']},
  {label: 'Ctrl+Alt+Home', codes: ['ControlLeft', 'AltLeft', 'Home']},
  {label: 'F11', codes: ['F11']},
  {label: 'Escape', codes: ['Escape']},
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

  #entry({label, codes}, onChosen) {
    const entry = document.createElement('button');
    entry.type = 'button';
    entry.textContent = label;
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
