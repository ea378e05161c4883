// The supporter's mouse and keyboard in the picture. They are taken during a session, while View
// only is off and the picture has the focus; whenever that ends, everything held is let go.

import {CombinationMenu, strokesOf} from './combinations.js';
import {FeedbackLoopDetector} from './feedback.js';
import {listenToFingers} from './fingers.js';
import {linkHelp} from './helplink.js';
import {InputQueue} from './inputqueue.js';
import {Keyboard, isEscapeShortcut} from './keyboard.js';
import {keyCodes} from './keycodes.js';
import {onLanguage, say, setText, text} from './language.js';
import {Pointer} from './pointer.js';
import {explain, sentence} from './texts.js';
import {TextLine} from './typing.js';
import {Wheel} from './wheel.js';

const troubleShownMs = 6000;

const system = navigator.userAgentData?.platform ?? navigator.platform;
const isMac = /mac/i.test(system);
const byId = (id) => document.getElementById(id);

export class Control {
  #canvas = byId('picture');
  #switch = byId('view-only');
  #connected = false;
  #live = false;
  #allowed = false; // by the customer
  #viewOnly = true;
  #onSwitched;
  #queue;
  #keyboard;
  #pointer;
  #wheel = new Wheel();
  #feedback = new FeedbackLoopDetector();
  #menu;
  #textLine;
  #troubleTimer;

  // `onSwitched` is told when `viewOnly` has changed.
  constructor(connection, onSwitched) {
    this.#onSwitched = onSwitched;
    this.#queue = new InputQueue(
      (method, args) => connection.call(method, args),
      (error) => this.#showTrouble(error),
    );
    const input = {
      push: (event, options) => {
        this.#feedback.sent(event);
        this.#queue.push(event, options);
      },
      holds: (what) => this.#queue.holds(what),
    };
    this.#keyboard = new Keyboard(keyCodes, input, {isMac});
    this.#pointer = new Pointer(this.#canvas, input);
    this.#menu = new CombinationMenu(byId('combinations'), (codes) => this.#strike(codes));
    this.#textLine = new TextLine((codes) => this.#type(codes));
    this.#switch.onclick = () => this.#switchTo(!this.#viewOnly);
    this.#listenToPicture();
    this.#listenToWindow();
    onLanguage(() => this.#review()); // the shortcut's name
    this.#review();
  }

  get viewOnly() {
    return this.#viewOnly;
  }

  connected() {
    this.#connected = true;
    this.#review();
  }

  disconnected() {
    this.#connected = false;
    this.#queue.forget();
    this.#forgetGestures();
    this.#review();
  }

  // `allowed` is whether the customer lets supporters use mouse and keyboard.
  showSession(session, allowed) {
    this.#live = session === 'live';
    this.#allowed = allowed;
    // Whoever allows the next session has not seen anybody take the mouse.
    if (!(this.#live && allowed) && !this.#viewOnly) this.#switchTo(true);
    this.#review();
  }

  get #isReady() {
    return this.#connected && this.#live && !this.#viewOnly;
  }

  get #isTaking() {
    return this.#isReady && document.activeElement === this.#canvas;
  }

  #switchTo(viewOnly) {
    if (viewOnly) this.#release();
    this.#viewOnly = viewOnly;
    this.#review();
    this.#onSwitched();
    if (!viewOnly) this.#canvas.focus({preventScroll: true});
  }

  #listenToPicture() {
    listenToFingers(this.#canvas, {
      pointer: this.#pointer,
      scroll: (turn) => this.#scroll(turn),
      isReady: () => this.#isReady,
    });
    const listen = (type, handle, options) =>
      this.#canvas.addEventListener(type, (event) => this.#isTaking && handle(event), options);
    // The press that gives the picture the focus works in it already.
    this.#canvas.addEventListener('pointerdown', (event) => {
      if (!this.#isReady) return;
      this.#canvas.focus({preventScroll: true});
      this.#canvas.setPointerCapture(event.pointerId);
      this.#pointer.located(event);
    });
    listen('pointermove', (event) => event.pointerType !== 'touch' && this.#pointer.moved(event));
    listen('pointerup', (event) => this.#pointer.located(event));
    listen('pointercancel', () => this.#release());
    listen('mousedown', (event) => {
      event.preventDefault();
      this.#pointer.pressed(event);
    });
    listen('mouseup', (event) => {
      event.preventDefault();
      this.#pointer.released(event);
    });
    for (const type of ['contextmenu', 'auxclick', 'dragstart']) {
      listen(type, (event) => event.preventDefault());
    }
    listen('wheel', (event) => this.#turned(event), {passive: false});
    listen('keydown', (event) => this.#keyPressed(event));
    listen('keyup', (event) => {
      this.#feedback.keyUp(event.code);
      if (this.#keyboard.up(event)) event.preventDefault();
    });
    this.#canvas.addEventListener('focus', () => this.#review());
    this.#canvas.addEventListener('blur', () => {
      this.#release();
      this.#review();
    });
  }

  #listenToWindow() {
    window.addEventListener('blur', () => this.#release());
    window.addEventListener('pagehide', () => this.#release());
    document.addEventListener('visibilitychange', () => {
      if (document.hidden) this.#release();
    });
    document.addEventListener('fullscreenchange', () => this.#screenFilled());
    window.addEventListener('pointermove', (event) => this.#watchPointer(event), {capture: true});
  }

  #watchPointer({screenX, screenY, timeStamp, pointerType}) {
    if (!this.#isTaking || pointerType === 'touch') return;
    const pointer = {x: screenX, y: screenY};
    if (this.#feedback.pointerAt(pointer, window.screen, timeStamp)) this.#endFeedbackLoop();
  }

  #endFeedbackLoop() {
    this.#switchTo(true);
    this.#showTrouble({code: 'input_echo'});
  }

  #turned(event) {
    event.preventDefault();
    // Two fingers that spread on a touchpad come as a wheel with a Control key that nobody holds.
    if (event.ctrlKey && !this.#keyboard.holds('ControlLeft', 'ControlRight')) return;
    this.#scroll(event);
  }

  #scroll(event) {
    const turn = this.#wheel.take(event, this.#canvas.clientHeight);
    if (turn) this.#queue.push({action: 'scroll', ...turn});
  }

  #keyPressed(event) {
    // A Mac, which does not tell of every key that goes up, is never what this page controls.
    if (!isMac && this.#feedback.keyDown(event.code, event.timeStamp)) {
      event.preventDefault();
      this.#endFeedbackLoop();
    } else if (isEscapeShortcut(event)) {
      event.preventDefault();
      this.#leave();
    } else if (this.#keyboard.down(event)) {
      event.preventDefault();
    }
  }

  async #leave() {
    if (document.fullscreenElement) await document.exitFullscreen().catch(() => {});
    this.#switch.focus();
  }

  async #type(codes) {
    if (!this.#isReady) return false;
    for (const stroke of strokesOf(codes, keyCodes)) this.#queue.push(stroke);
    return this.#queue.drained();
  }

  #strike(codes) {
    this.#type(codes);
    this.#canvas.focus({preventScroll: true});
  }

  // While the picture fills the screen, some browsers hand over the system's own keys as well.
  #screenFilled() {
    if (document.fullscreenElement && this.#isReady) {
      this.#canvas.focus();
      navigator.keyboard?.lock?.().catch(() => {});
    } else {
      navigator.keyboard?.unlock?.();
    }
  }

  #release() {
    this.#queue.release();
    this.#forgetGestures();
  }

  #forgetGestures() {
    this.#wheel.forget();
    this.#feedback.forget();
  }

  // One notice, however often the same thing is refused.
  #showTrouble(error) {
    if (error.code === 'input_overflow') this.#forgetGestures();
    const notice = byId('control-trouble');
    setText(notice, sentence(error));
    linkHelp(notice, explain(error).id);
    clearTimeout(this.#troubleTimer);
    this.#troubleTimer = setTimeout(() => {
      notice.textContent = '';
      linkHelp(notice, '');
    }, troubleShownMs);
  }

  #review() {
    const canSwitch = this.#connected && this.#live && this.#allowed;
    this.#switch.disabled = !canSwitch;
    this.#switch.setAttribute('aria-pressed', String(this.#viewOnly));
    this.#menu.setEnabled(this.#isReady);
    this.#textLine.setEnabled(this.#isReady);
    const mood = this.#mood();
    const shortcut = text(isMac ? 'control.escapeOnMac' : 'control.escape');
    say(byId('control-hint'), mood && `control.${mood}`, {shortcut});
    this.#reviewPicture();
  }

  #mood() {
    if (!this.#connected || !this.#live) return '';
    if (!this.#allowed) return 'refused';
    if (this.#viewOnly) return 'watching';
    if (matchMedia('(pointer: coarse)').matches) return ''; // what fingers do is above the text to type
    return this.#isTaking ? 'taking' : 'unfocused';
  }

  // To those who do not see it the picture is a picture, or a place that takes every key.
  #reviewPicture() {
    this.#canvas.setAttribute('role', this.#isReady ? 'application' : 'img');
    byId('stage').dataset.control = this.#isReady ? 'on' : 'off';
    if (this.#isReady) {
      this.#canvas.tabIndex = 0;
    } else {
      this.#canvas.blur();
      this.#canvas.removeAttribute('tabindex');
    }
  }
}
