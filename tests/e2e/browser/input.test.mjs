// The supporter's mouse and keyboard, from the page in a real browser to a program on the shared
// screen. The tests build on one another, as a session does.

import assert from 'node:assert/strict';
import { mkdirSync } from 'node:fs';
import { after, before, beforeEach, test } from 'node:test';

import { Host } from './support/Host.mjs';
import { HostPage } from './support/HostPage.mjs';
import { InputWindow } from './support/InputWindow.mjs';
import { VirtualScreen } from './support/VirtualScreen.mjs';
import { artifacts, inputWindow, program } from './support/built.mjs';
import { until } from './support/until.mjs';

// So small that the page shows each of its pixels larger than one of its own.
const [width, height] = [640, 400];
const tall = { width: 1000, height: 900 };
const flat = { width: 1280, height: 500 };

let screen;
let host;
let page;
let remote;

before(async () => {
  mkdirSync(artifacts, { recursive: true });
  screen = await VirtualScreen.start(width, height);
  host = await Host.start(program, screen.environment);
  page = await HostPage.open(host.address);
  await page.allow();
  await until('the picture', async () => (await page.pictureSize())[0] === width);
  remote = await InputWindow.open(inputWindow, screen.environment, [0, 0, width, height]);
});

// Whatever the test before has set in motion has arrived once nothing is held.
beforeEach(async () => {
  await page.page.setViewportSize(tall);
  await remote.awaitNothingHeld();
  remote.forget();
});

after(async () => {
  await page?.close();
  await remote?.close();
  await host?.destroy();
  await screen?.stop();
});

// Where the page shows the middle of a pixel of the screen.
async function placeOf(x, y, of = page) {
  const box = await of.page.locator('#picture').boundingBox();
  return [
    Math.round(box.x + ((x + 0.5) * box.width) / width - 0.5),
    Math.round(box.y + ((y + 0.5) * box.height) / height - 0.5),
  ];
}

const mouse = () => page.page.mouse;
const keyboard = () => page.page.keyboard;
const moveTo = async (x, y) => mouse().move(...(await placeOf(x, y)));
const clickAt = async (x, y, options) => mouse().click(...(await placeOf(x, y)), options);
const focused = (of = page) => of.page.evaluate(() => document.activeElement.id);
const viewOnly = () => page.page.getAttribute('#view-only', 'aria-pressed');

// Takes control in a page whose session is live.
async function takeControl(of = page) {
  await of.page.click('#view-only:not(:disabled)[aria-pressed=true]');
  await until('the picture to have the focus', async () => (await focused(of)) === 'picture');
}

async function holdShiftAndButton(of = page) {
  await of.page.mouse.move(...(await placeOf(100, 100, of)));
  await of.page.keyboard.down('ShiftLeft');
  await of.page.mouse.down();
  await until('both to be held', async () => {
    const { shift, buttons, keys } = await remote.held();
    return shift && keys.length === 1 && buttons.join() === '1';
  });
}

// So that the browser's own idea of what is held begins anew.
async function letGo() {
  await mouse().up();
  await keyboard().up('ShiftLeft');
}

// In the supporter's page: another one, that sends whatever it likes.
async function joinAsHostilePage() {
  const socket = new WebSocket(new URL('ws', location.href.replace(/^http/, 'ws')));
  await new Promise((resolve) => {
    socket.onopen = resolve;
  });
  // Resolves with the code of the error, if it is one.
  const answerTo = (message) =>
    new Promise((resolve) => {
      socket.onmessage = ({ data }) => {
        const { id, error } = JSON.parse(data);
        if (id !== undefined) resolve(error?.code);
      };
      socket.send(JSON.stringify(message));
    });
  const press = (keyCode) =>
    answerTo({ id: 1, method: 'injectInput', arguments: { action: 'keyDown', keyCode } });
  const consent = { locallyAuthorized: true, unattended: true };
  window.hostile = {
    press,
    start: () => answerTo({ id: 2, method: 'startCapture', arguments: consent }),
    stop: () => answerTo({ id: 3, method: 'stopCapture' }),
    giveControl: () => answerTo({ control: true }),
    leave: () => socket.close(),
  };
  socket.send(JSON.stringify({ show: { customer: true, picture: false, input: true } }));
}

test('a supporter only watches at first', async () => {
  assert.equal(await viewOnly(), 'true');
  assert.match(await page.customerText('#session-advice'), /only watches/);
  await clickAt(10, 10);
  await mouse().wheel(0, 500);
  await keyboard().press('KeyX');
  // Had anything of it been sent, it would come before this.
  await takeControl();
  await keyboard().press('KeyA');
  await remote.take(1, 'keyUp');
  assert.deepEqual(remote.events.map(({ type, symbol }) => [type, symbol]), [
    ['keyDown', 'a'],
    ['keyUp', 'a'],
  ]);
});

test('the customer is told that mouse and keyboard are shared', async () => {
  await until('the headline', async () =>
    /mouse and keyboard/.test(await page.customerText('#session-state')),
  );
  assert.match(await page.customerText('#session-advice'), /can use your mouse and keyboard/);
});

test('a click arrives at exactly the pixel that was clicked', async () => {
  for (const [x, y] of [[0, 0], [width - 1, height - 1], [123, 77], [320, 399], [639, 0]]) {
    remote.forget();
    await clickAt(x, y);
    await remote.take(1, 'buttonUp');
    const presses = remote.ofType('buttonDown', 'buttonUp').map((event) => ({
      type: event.type,
      button: event.button,
      x: event.x,
      y: event.y,
    }));
    assert.deepEqual(presses, [
      { type: 'buttonDown', button: 1, x, y },
      { type: 'buttonUp', button: 1, x, y },
    ]);
  }
});

test('a double click is two clicks at one place', async () => {
  await mouse().dblclick(...(await placeOf(200, 150)));
  await remote.take(2, 'buttonUp');
  const presses = remote.ofType('buttonDown', 'buttonUp');
  assert.deepEqual(
    presses.map(({ type, x, y }) => `${type} ${x},${y}`),
    ['buttonDown 200,150', 'buttonUp 200,150', 'buttonDown 200,150', 'buttonUp 200,150'],
  );
});

test('the right and the middle button are themselves and open no menu here', async () => {
  await page.page.evaluate(() => {
    window.menuPrevented = null;
    document.addEventListener('contextmenu', (event) => {
      window.menuPrevented = event.defaultPrevented;
    });
  });
  await clickAt(50, 60, { button: 'right' });
  await clickAt(50, 60, { button: 'middle' });
  await remote.take(2, 'buttonUp');
  assert.deepEqual(
    remote.ofType('buttonDown', 'buttonUp').map(({ button }) => button),
    [3, 3, 2, 2],
  );
  assert.equal(await page.page.evaluate(() => window.menuPrevented), true);
});

test('a drag is seen on its way and where it ends', async () => {
  await moveTo(100, 100);
  await mouse().down();
  await mouse().move(...(await placeOf(300, 250)), { steps: 8 });
  await mouse().up();
  await remote.take(1, 'buttonUp');
  const [down] = remote.ofType('buttonDown');
  const [up] = remote.ofType('buttonUp');
  assert.deepEqual([down.x, down.y, up.x, up.y], [100, 100, 300, 250]);
  const begin = remote.events.indexOf(down);
  const onTheWay = remote.events.slice(begin).filter(({ type }) => type === 'motion');
  assert.ok(onTheWay.length > 0);
  assert.ok(onTheWay.every(({ state }) => (state & 0x100) !== 0));
});

test('a drag out of the picture goes on along its edge', async () => {
  await moveTo(100, 100);
  await mouse().down();
  await mouse().move(...(await placeOf(-500, 200)), { steps: 4 });
  await mouse().move(...(await placeOf(-500, 5000)), { steps: 4 });
  await mouse().up();
  const [up] = await remote.take(1, 'buttonUp');
  assert.deepEqual([up.x, up.y], [0, height - 1]);
});

test('a sentence arrives as it was typed', async () => {
  const sentence = 'The Quick Brown Fox, "13" lazy dogs: 50% of $2 & {more}~ <ok>? It\'s done!';
  for (const character of sentence) {
    const shifted = /[A-Z"%:$&{}~<>?!]/.test(character);
    if (shifted) await keyboard().down('ShiftLeft');
    await keyboard().press(character);
    if (shifted) await keyboard().up('ShiftLeft');
  }
  await until('the sentence', () => remote.text().length >= sentence.length);
  assert.equal(remote.text(), sentence);
});

test('keys that the page itself knows go to the other side', async () => {
  for (const key of ['Tab', 'Escape', 'F5', 'Enter', 'Backspace', 'ArrowDown']) {
    await keyboard().press(key);
  }
  await remote.take(6, 'keyUp');
  assert.deepEqual(
    remote.ofType('keyDown').map(({ symbol }) => symbol),
    ['Tab', 'Escape', 'F5', 'Return', 'BackSpace', 'Down'],
  );
  assert.equal(await focused(), 'picture');
});

test('a notice over the picture does not keep the mouse from it', async () => {
  await page.page.waitForSelector('#notice:not([hidden])');
  await clickAt(width / 2, height / 2);
  await remote.take(1, 'buttonUp');
});

test('the wheel turns the right way and the page stays where it is', async () => {
  const turns = [
    { by: [0, -300], button: 4 },
    { by: [0, 300], button: 5 },
    { by: [-300, 0], button: 6 },
    { by: [300, 0], button: 7 },
  ];
  await moveTo(320, 200);
  for (const { by, button } of turns) {
    remote.forget();
    await mouse().wheel(...by);
    await remote.take(3, 'buttonUp');
    assert.deepEqual(
      remote.ofType('buttonDown').map((press) => press.button),
      [button, button, button],
    );
  }
  assert.equal(await page.page.evaluate(() => window.scrollY), 0);
});

test('left and right modifiers are different keys', async () => {
  const symbols = {
    ShiftLeft: 'Shift_L',
    ShiftRight: 'Shift_R',
    ControlLeft: 'Control_L',
    ControlRight: 'Control_R',
    AltLeft: 'Alt_L',
    AltRight: 'Alt_R',
    MetaLeft: 'Super_L',
    MetaRight: 'Super_R',
  };
  for (const code of Object.keys(symbols)) await keyboard().press(code);
  await remote.take(8, 'keyUp');
  assert.deepEqual(
    remote.ofType('keyDown').map(({ symbol }) => symbol),
    Object.values(symbols),
  );
});

test('a combination from the list arrives whole and the picture has the focus again', async () => {
  await page.page.click('#combinations > button');
  await page.screenshot(`${artifacts}combinations.png`);
  await page.page.click('#combination-list button:text-is("Ctrl+Alt+Del")');
  await remote.take(3, 'keyUp');
  assert.deepEqual(
    remote.ofType('keyDown', 'keyUp').map(({ type, symbol }) => `${type} ${symbol}`),
    [
      'keyDown Control_L',
      'keyDown Alt_L',
      'keyDown Delete',
      'keyUp Delete',
      'keyUp Alt_L',
      'keyUp Control_L',
    ],
  );
  assert.equal(await focused(), 'picture');
});

test('bars beside the picture are no part of it', async () => {
  await page.page.setViewportSize(flat);
  const box = await page.page.locator('#picture').boundingBox();
  const shownWidth = (box.height * width) / height;
  const left = box.x + (box.width - shownWidth) / 2;
  assert.ok(left > box.x + 50, 'there are bars');
  await mouse().click(Math.round(left - 20), Math.round(box.y + box.height / 2));
  await mouse().click(Math.round(left + shownWidth / 4), Math.round(box.y + box.height / 2));
  await remote.take(1, 'buttonUp');
  const [{ x, y }, ...others] = remote.ofType('buttonDown');
  assert.deepEqual(others, []);
  assert.ok(Math.abs(x - width / 4) <= 1 && Math.abs(y - height / 2) <= 1, `${x},${y}`);
});

test('the way out brings the focus back to the page and lifts what is held', async () => {
  await keyboard().down('ControlLeft');
  await keyboard().down('AltLeft');
  await keyboard().press('Home');
  await until('the switch to have the focus', async () => (await focused()) === 'view-only');
  await keyboard().up('AltLeft');
  await keyboard().up('ControlLeft');
  await remote.awaitNothingHeld();
  assert.ok(remote.ofType('keyDown').every(({ symbol }) => symbol !== 'Home'));
  await keyboard().press('KeyQ');
  await clickAt(5, 5);
  await remote.take(1, 'buttonUp');
  assert.ok(remote.ofType('keyDown').every(({ symbol }) => symbol !== 'q'));
  assert.equal(await focused(), 'picture');
});

test('nothing stays down when the picture loses the focus', async () => {
  await holdShiftAndButton();
  await page.page.focus('#toggle-stats');
  await remote.awaitNothingHeld();
  await letGo();
});

test('nothing stays down when the window loses the focus', async () => {
  await page.page.focus('#picture');
  await holdShiftAndButton();
  await page.page.evaluate(() => window.dispatchEvent(new Event('blur')));
  await remote.awaitNothingHeld();
  await letGo();
});

test('nothing stays down when the page is hidden', async () => {
  const setHidden = (hidden) =>
    page.page.evaluate((value) => {
      Object.defineProperty(document, 'hidden', { value, configurable: true });
      document.dispatchEvent(new Event('visibilitychange'));
    }, hidden);
  await page.page.focus('#picture');
  await holdShiftAndButton();
  await setHidden(true);
  await remote.awaitNothingHeld();
  await setHidden(false);
  await letGo();
});

test('nothing stays down when the page is loaded anew, which then only watches', async () => {
  await page.page.focus('#picture');
  await holdShiftAndButton();
  await page.page.reload();
  await remote.awaitNothingHeld();
  await letGo();
  await page.awaitState('live');
  assert.equal(await viewOnly(), 'true');
  assert.match(await page.customerText('#session-advice'), /only watches/);
});

test('nothing stays down when another supporter’s browser goes away', async () => {
  const other = await HostPage.open(host.address);
  await other.awaitState('live');
  await until('the picture', async () => (await other.pictureSize())[0] === width);
  await takeControl(other);
  await until('the customer to be told', async () =>
    /can use your mouse/.test(await page.customerText('#session-advice')),
  );
  await holdShiftAndButton(other);
  await other.close();
  await remote.awaitNothingHeld();
  await until('the customer to be told', async () =>
    /only watches/.test(await page.customerText('#session-advice')),
  );
});

test('nothing stays down and nothing is sent once View only is on', async () => {
  await until('the picture', async () => (await page.pictureSize())[0] === width);
  await takeControl();
  await holdShiftAndButton();
  await page.page.evaluate(() => document.getElementById('view-only').click());
  await remote.awaitNothingHeld();
  await letGo();
  remote.forget();
  await clickAt(30, 30);
  await keyboard().press('KeyX');
  await takeControl();
  await keyboard().press('KeyB');
  await remote.take(1, 'keyUp');
  assert.deepEqual(remote.events.map(({ type, symbol }) => [type, symbol]), [
    ['keyDown', 'b'],
    ['keyUp', 'b'],
  ]);
});

const whenControlIs = (text) => `#control-button:text-is("${text}")`;

test('control that is taken back lifts what is held, and no page gets round that', async () => {
  await page.page.click('#view-only');
  await page.page.evaluate(joinAsHostilePage);
  const hostile = (what, ...args) =>
    page.page.evaluate(([what, args]) => window.hostile[what](...args), [what, args]);
  assert.equal(await hostile('press', 7), undefined);
  await until('the key to be held', async () => (await remote.held()).keys.length === 1);
  await page.customer.click(whenControlIs('Take back control'));
  await remote.awaitNothingHeld();
  remote.forget();
  assert.equal(await hostile('press', 7), 'input_not_authorized');
  assert.equal(await hostile('giveControl'), 'not_allowed');
  assert.equal(await hostile('press', 7), 'input_not_authorized');
  assert.equal(await hostile('stop'), 'not_allowed');
  assert.equal(await hostile('start'), 'not_allowed');
  await hostile('leave');
  assert.equal(await page.sessionState(), 'live');
  assert.deepEqual(remote.ofType('keyDown'), []);
  await page.customer.click(whenControlIs('Allow control again'));
  await takeControl();
});

test('the page of a supporter who may only watch says so', async () => {
  await holdShiftAndButton();
  await page.customer.click(whenControlIs('Take back control'));
  await remote.awaitNothingHeld();
  await letGo();
  await until('View only to be on', async () => (await viewOnly()) === 'true');
  assert.equal(await page.page.isDisabled('#view-only'), true);
  assert.match(await page.text('#control-hint'), /was taken back/);
  await until('the customer to be told', async () =>
    /only watches/.test(await page.customerText('#session-advice')),
  );
  await page.customer.click(whenControlIs('Allow control again'));
  await takeControl();
  remote.forget();
  await keyboard().press('KeyC');
  await remote.take(1, 'keyUp');
  assert.deepEqual(
    remote.ofType('keyDown').map(({ symbol }) => symbol),
    ['c'],
  );
});

test('input ends with the session and the next one begins without it', async () => {
  await holdShiftAndButton();
  await page.customer.evaluate(() => document.getElementById('stop-button').click());
  await page.awaitState('ended');
  await remote.awaitNothingHeld();
  await letGo();
  assert.equal(await viewOnly(), 'true');
  assert.equal(await page.page.isDisabled('#view-only'), true);
  await page.allow();
  assert.equal(await viewOnly(), 'true');
  assert.match(await page.customerText('#session-advice'), /only watches/);
});

test('the page had nothing to complain about', () => {
  assert.deepEqual(page.complaints, []);
});

// Last, since nothing is left after it but the screen.
test('nothing stays down when the user interface is killed', async () => {
  await takeControl();
  await holdShiftAndButton();
  process.kill(host.child('quorvin-webui'), 'SIGKILL');
  await remote.awaitNothingHeld();
  // A user interface that dies has failed.
  const [status] = await host.ended;
  assert.equal(status, 1);
});
