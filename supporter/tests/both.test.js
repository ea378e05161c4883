// Both ends as they are, with random bytes of their own: QUORVIN_TRUST_CUSTOMER is the customer's.

import assert from 'node:assert/strict';
import {spawn} from 'node:child_process';
import {createInterface} from 'node:readline';
import {test} from 'node:test';

import {fromHex, toHex} from './support.js';
import {textOf, utf8} from '../trust/bytes.js';
import {Guest} from '../trust/guest.js';
import {parseCode, parseLink} from '../trust/invitation.js';

class Customer {
  static async start(context) {
    const customer = new Customer();
    const program = spawn(process.env.QUORVIN_TRUST_CUSTOMER, {stdio: ['pipe', 'pipe', 'inherit']});
    context.after(() => program.stdin.end());
    customer.input = program.stdin;
    customer.lines = createInterface({input: program.stdout})[Symbol.asyncIterator]();
    customer.link = parseLink(new URL(await customer.line()).hash);
    customer.code = parseCode(await customer.line());
    return customer;
  }

  async line() {
    const {value, done} = await this.lines.next();
    assert.ok(!done, 'the customer ended');
    return value;
  }

  // The last thing that it says of each kind.
  async tell(line) {
    this.input.write(`${line}\n`);
    for (const said = {}; ; ) {
      const [kind, ...rest] = (await this.line()).split(' ');
      said[kind] = rest.join(' ');
      if (kind === 'stage') return said;
    }
  }

  // Carries messages back and forth until there is nothing more to say.
  async exchange(guest, bytes) {
    const heard = {};
    const effects = {};
    while (bytes) {
      Object.assign(heard, {send: ''}, await this.tell(toHex(bytes)));
      const {send, ...others} = await guest.receive(fromHex(heard.send));
      Object.assign(effects, others);
      bytes = send;
    }
    return {heard, ...effects};
  }
}

for (const way of ['link', 'code']) {
  test(`a session by ${way}, which is lost and goes on, twice`, async (context) => {
    const customer = await Customer.start(context);
    const guest = new Guest(customer[way], 'Zoë');
    const {heard, words} = await customer.exchange(guest, await guest.join());
    assert.equal(heard.ask, `Zoë|${words.join(' ')}`);
    const {send} = await customer.tell('control');
    assert.deepEqual(await guest.receive(fromHex(send)), {control: true});
    const echo = async (text) => {
      const {heard, message} = await customer.exchange(guest, await guest.seal(utf8(text)));
      assert.equal(heard.message, text);
      assert.equal(textOf(message), text);
    };
    for (const time of ['first', 'second']) {
      await echo(time);
      await guest.receive(fromHex((await customer.tell('lost')).send));
      assert.equal(guest.state, 'lost');
      await customer.exchange(guest, await guest.resume());
      assert.equal(guest.state, 'allowed');
    }
    await echo('third');
  });
}

test('three wrong codes, and the right one comes too late', async (context) => {
  const customer = await Customer.start(context);
  const wrong = {...customer.code, password: customer.code.password.map((digit) => digit ^ 1)};
  for (const state of ['wrong', 'wrong', 'tooManyTries']) {
    const guest = new Guest(wrong, 'Zoë');
    await customer.exchange(guest, await guest.join());
    assert.equal(guest.state, state);
  }
  const guest = new Guest(customer.code, 'Zoë');
  await customer.exchange(guest, await guest.join());
  assert.equal(guest.state, 'tooManyTries');
});

test('the customer refuses, and nobody else is let in', async (context) => {
  const customer = await Customer.start(context);
  const guest = new Guest(customer.link, 'Zoë');
  await customer.exchange(guest, await guest.join());
  const second = new Guest(customer.code, 'Ann');
  await customer.exchange(second, await second.join());
  assert.equal(second.state, 'taken');
  await guest.receive(fromHex((await customer.tell('refuse')).send));
  assert.equal(guest.state, 'refused');
});
