// A session between two networks, whole: the host and the customer's page in one, the supporter's
// browser in the other, broker, relay and page in the public one. Inside `networks.sh run`.

import assert from 'node:assert/strict';
import {after, afterEach, before, test} from 'node:test';

import {ScreenChanger} from '../browser/support/ScreenChanger.mjs';
import {screenChanger} from '../browser/support/built.mjs';
import {until} from '../browser/support/until.mjs';
import {Session, Supporter, Wiretap} from './support/Session.mjs';
import {setNetworks} from './support/networks.mjs';

const navy = [0, 0, 128];
const orange = [255, 165, 0];
const isWhole = process.env.QUORVIN_NIGHTLY === '1';

let session;
let changer;
let supporters = [];

before(async () => {
  session = await Session.start();
  changer = new ScreenChanger(screenChanger, session.screen.environment);
});

afterEach(async () => {
  setNetworks({});
  for (const supporter of supporters) await supporter.close();
  supporters = [];
  await session.endAll();
  session.screen.paint('navy');
  session.window.forget();
});

after(async () => {
  await changer?.close();
  await session?.stop();
});

async function arrive(prepare) {
  const supporter = await Supporter.arrive(prepare);
  supporters.push(supporter);
  return supporter;
}

const cases = [
  {name: 'from open network to open network', networks: {nat: 'open'}, way: 'direct'},
  {name: 'from NAT to NAT', networks: {}, way: 'direct'},
  {name: 'between symmetric NATs', networks: {nat: 'symmetric'}, way: 'relayed'},
  {name: 'without UDP', networks: {nat: 'symmetric', udp: 'block'}, way: 'relayed'},
  {name: 'with one packet in a hundred lost', networks: {delayMs: 10, lossPercent: 1}, way: 'direct'},
  {name: 'over 2 Mbit/s', networks: {delayMs: 10, rateMbit: 2}, way: 'direct'},
  {name: 'over 200 ms', networks: {delayMs: 50}, way: 'direct'},
];

// The others are for the night.
const everyDay = cases.filter((_, index) => isWhole || [1, 2, 3].includes(index));

for (const {name, networks, way} of everyDay) {
  test(`${name}: picture, key and Stop`, async () => {
    setNetworks(networks);
    const supporter = await arrive();
    await session.helpedBy(supporter);
    await supporter.awaitWay(way);
    await supporter.awaitColour(navy);
    session.screen.paint('orange');
    await supporter.awaitColour(orange);
    await supporter.takeControl();
    await supporter.page.keyboard.press('a');
    await session.window.next('the key', ({type}) => type === 'keyUp');
    assert.equal(session.window.text(), 'a');

    const start = performance.now();
    await session.customer.click('#stop-button');
    await supporter.page.waitForSelector('#view', {state: 'hidden'});
    const ms = performance.now() - start;
    assert.ok(ms < 1000, `${ms} ms until the picture was gone`);
    await supporter.awaitText(/stopped sharing/);
  });
}

test('whoever only watches presses no key, whatever its page sends', async () => {
  const supporter = await arrive();
  await session.helpedBy(supporter, 'watch');
  await supporter.awaitColour(navy);
  await supporter.say({id: 901, method: 'injectInput', arguments: {action: 'keyDown', keyCode: 0}});
  await supporter.say({id: 902, method: 'startCapture', arguments: {locallyAuthorized: true}});
  // What is sent first has been answered when what comes later has its effect.
  await session.part('control').click();
  await supporter.takeControl();
  await supporter.page.keyboard.press('b');
  await session.window.next('the key', ({type}) => type === 'keyUp');
  assert.equal(session.window.text(), 'b');
});

test('a supporter’s browser that is killed leaves nothing held', async () => {
  const supporter = await arrive();
  await session.helpedBy(supporter);
  await supporter.takeControl();
  await supporter.page.keyboard.down('c');
  await until('the key to be held', async () => (await session.window.held()).keys.length === 1);
  await supporter.kill();
  await session.window.awaitNothingHeld();
});

test('a program that is killed leaves nothing held, and the supporter reads that it has ended', async () => {
  const supporter = await arrive();
  await session.helpedBy(supporter);
  await supporter.takeControl();
  await supporter.page.keyboard.down('c');
  await until('the key to be held', async () => (await session.window.held()).keys.length === 1);
  session.host.process.kill('SIGKILL');
  await session.window.awaitNothingHeld();
  await supporter.awaitText(/program has ended/);
  assert.equal(await supporter.page.isVisible('#view'), false);
  await session.startHost();
  await session.customer.goto(session.host.address);
});

// Changes all of the screen again and again, until the supporter reads that.
async function scrollUntil(supporter, what, pattern) {
  let count = 0;
  await until(what, async () => {
    await changer.scroll(40, ++count);
    return pattern.test(await supporter.page.textContent('#reduced'));
  });
}

test('why the picture is reduced is to be read as long as the way is too narrow', async () => {
  const supporter = await arrive();
  await session.helpedBy(supporter, 'watch');
  setNetworks({delayMs: 10, rateMbit: 2});
  await scrollUntil(supporter, 'the reason', /reduced.*network/);
  setNetworks({delayMs: 10});
  await scrollUntil(supporter, 'the end of the reason', /^$/);
});

const withoutVideo = () => delete window.VideoDecoder;
const codecs = [['JPEG', withoutVideo], ...(isWhole ? [['H.264']] : [])];

for (const [codec, prepare] of codecs) {
  test(`on a screen that rests, a picture reduced in ${codec} becomes what it was`, async () => {
    await changer.desktop(1);
    const supporter = await arrive(prepare);
    await session.helpedBy(supporter, 'watch');
    await until('the picture', async () => {
      await supporter.keepPicture();
      return (await supporter.distance()) === 0;
    });
    setNetworks({delayMs: 10, rateMbit: 2});
    await scrollUntil(supporter, 'the reason', /reduced.*network/);
    await changer.desktop(1);
    await until('the reduced picture', async () => {
      const distance = await supporter.distance();
      return distance > 0 && distance < 20;
    });
    const isAsItWas = async () => (await supporter.distance()) === 0;
    await until('the picture as it was', isAsItWas, 60_000);
    assert.equal(await supporter.page.textContent('#reduced'), '');
  });
}

test('a second supporter is refused, and three wrong codes end an invitation', async () => {
  const [first, second] = [await arrive(), await arrive()];
  const code = await session.invite();
  await first.ask(code);
  await first.awaitWords();
  await second.ask(code);
  await second.awaitText(/Somebody else has come/);
  await session.answer('refuse');
  await first.awaitText(/did not let you in/);

  const digits = (await session.invite()).replaceAll(' ', '');
  const wrong = digits.slice(0, 9) + ((Number(digits[9]) + 1) % 10);
  for (const expected of [/not right/, /not right/, /(not right|void)/]) {
    await second.page.click('#again:visible');
    await second.ask(wrong);
    await second.awaitText(expected);
  }
  await until('the end', async () =>
    /closed after three wrong codes/.test(await session.part('title').textContent()),
  );
  await second.page.click('#again:visible');
  await second.ask(digits);
  await until('no answer', async () => !/Asking/.test(await second.page.textContent('#stage-what')));
  assert.equal(await session.part('both').isVisible(), false);
});

test('whoever listens learns nothing', async () => {
  setNetworks({nat: 'symmetric'});
  const taps = [];
  for (const network of ['customer', 'public']) {
    taps.push(await Wiretap.start(network, session.folder));
  }
  let heard;
  try {
    const supporter = await arrive();
    await session.helpedBy(supporter);
    session.screen.paint('orange');
    await supporter.awaitColour(orange);
  } finally {
    heard = [await taps[0].stop(), await taps[1].stop()];
  }
  const [here, there] = heard;
  const jpegHead = Buffer.from('ffd8ffe000104a464946', 'hex');
  // On the customer's own loopback both are to be found, or the search would be worth nothing; as is
  // the broker's traffic in the clear, behind the web server.
  assert.ok(here.includes(jpegHead));
  assert.ok(there.includes('quorvin/1/'));
  assert.ok(there.length > 10_000);
  for (const secret of ['ufrag', 'candidate:', jpegHead]) {
    assert.equal(there.includes(secret), false, `${secret}`);
  }
});
