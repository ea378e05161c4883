import {spawnSync} from 'node:child_process';
import {once} from 'node:events';
import {mkdtempSync, readFileSync, rmSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {fileURLToPath} from 'node:url';

import {Host} from '../../browser/support/Host.mjs';
import {InputWindow} from '../../browser/support/InputWindow.mjs';
import {VirtualScreen} from '../../browser/support/VirtualScreen.mjs';
import {inputWindow, program} from '../../browser/support/built.mjs';
import {until} from '../../browser/support/until.mjs';
import {PublicPlace} from './PublicPlace.mjs';
import {connectTo, launchIn, launchServerIn, script, startIn} from './networks.mjs';

const builder = fileURLToPath(new URL('../../../../supporter/build.mjs', import.meta.url));
const capturer = fileURLToPath(new URL('capture.py', import.meta.url));

// Everything that a session needs, each in its network: the place; the host with a screen, a program on
// it that notes what is typed, and the customer's page.
export class Session {
  static async start(size = [1280, 800]) {
    const session = new this();
    session.size = size;
    session.folder = mkdtempSync(join(tmpdir(), 'quorvin-session-'));
    const page = join(session.folder, 'page');
    const built = spawnSync('node', [builder, page], {encoding: 'utf8'});
    if (built.status !== 0) throw new Error(`the page was not built: ${built.stderr}`);
    session.place = await PublicPlace.start(page);
    session.screen = await VirtualScreen.start(...size);
    session.screen.paint('navy');
    await session.startHost();
    session.window = await InputWindow.open(inputWindow, session.screen.environment, [0, 0, 200, 200]);
    await session.openCustomer();
    return session;
  }

  async startHost() {
    await this.host?.destroy();
    const environment = {
      ...this.screen.environment,
      QUORVIN_REMOTE_BROKER: 'mqtts://place.test:8883',
      QUORVIN_REMOTE_PAGE: 'https://place.test/',
      QUORVIN_REMOTE_CA_FILE: this.place.certificate,
    };
    this.host = await Host.start(script, environment, {args: ['in', 'customer', program]});
  }

  async openCustomer() {
    this.browser = await launchIn('customer');
    this.customer = await this.browser.newPage();
    await this.customer.goto(this.host.address);
  }

  part(name) {
    return this.customer.locator(`.guest [data-part=${name}]`).first();
  }

  // The code of a new invitation.
  async invite() {
    await this.customer.click('#invite-button');
    return until('the code', async () => {
      const code = await this.part('code').textContent({timeout: 1000}).catch(() => '');
      return /^\d{3} \d{3} \d{4}$/.test(code) && code;
    });
  }

  async answer(part) {
    await until('the question', () => this.part(part).isEnabled({timeout: 1000}).catch(() => false));
    await this.part(part).click();
  }

  // A supporter whom the customer allows to do what `part` says, with a picture to see.
  async helpedBy(supporter, part = 'both') {
    await supporter.ask(await this.invite());
    await supporter.awaitWords();
    await this.answer(part);
    await supporter.awaitPicture(this.size);
  }

  async endAll() {
    if (await this.customer.isVisible('#stop-button')) await this.customer.click('#stop-button');
    await until('the end', async () => !(await this.customer.isVisible('#stop-button')));
  }

  async stop() {
    await this.browser?.close();
    await this.window?.close();
    await this.host?.destroy();
    await this.screen?.stop();
    await this.place?.stop();
    rmSync(this.folder, {recursive: true, force: true});
  }
}

export class Supporter {
  // `prepare` is called in the page before its own scripts.
  static async arrive(prepare = () => {}) {
    const server = await launchServerIn('supporter');
    const page = await (await connectTo(server)).newPage({ignoreHTTPSErrors: true});
    await page.addInitScript(keepChannels);
    await page.addInitScript(prepare);
    await page.goto('https://place.test/');
    return new Supporter(server, page);
  }

  constructor(server, page) {
    this.server = server;
    this.page = page;
  }

  async ask(code) {
    await this.page.fill('#name', 'Ann');
    await this.page.fill('#code', code);
    await this.page.click('#ask-form button');
  }

  awaitWords() {
    return until('the words', () => this.page.textContent('#words'));
  }

  // Waits until it reads that.
  awaitText(pattern) {
    return until(`${pattern}`, async () => pattern.test(await this.page.textContent('#stage-what')));
  }

  async awaitPicture(wanted) {
    const sizeOf = ({width, height}) => [width, height];
    await until('the picture', async () => {
      const shown = await this.page.$eval('#picture', sizeOf);
      return shown.join() === wanted.join();
    });
  }

  // From now on `distance` is from the picture as it is now: the mean of all pixels.
  keepPicture() {
    return this.page.$eval('#picture', (canvas) => {
      const pixelsOf = () =>
        canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data;
      const kept = pixelsOf();
      window.distance = () => {
        const pixels = pixelsOf();
        const sum = pixels.reduce((sum, value, at) => sum + Math.abs(value - kept[at]), 0);
        return pixels.length === kept.length ? sum / pixels.length : null; // of another size
      };
    });
  }

  distance() {
    return this.page.evaluate(() => window.distance());
  }

  colour() {
    return this.page.$eval('#picture', (canvas) => [
      ...canvas.getContext('2d').getImageData(canvas.width - 9, canvas.height - 9, 1, 1).data.slice(0, 3),
    ]);
  }

  async awaitColour(wanted) {
    await until(`the colour ${wanted}`, async () =>
      (await this.colour()).every((part, index) => Math.abs(part - wanted[index]) <= 12),
    );
  }

  async takeControl() {
    await this.page.click('#view-only:not(:disabled)[aria-pressed=true]');
    await until('the focus', () => this.page.evaluate(() => document.activeElement.id === 'picture'));
  }

  way() {
    return this.page.textContent('#stats-way');
  }

  awaitWay(wanted) {
    return until(`the way ${wanted}`, async () => (await this.way()) === wanted);
  }

  // As a page could that is not ours.
  say(message) {
    return this.page.evaluate((text) => window.channels[0].send(text), JSON.stringify(message));
  }

  close() {
    return this.server.close();
  }

  kill() {
    return this.server.kill();
  }
}

// In the page, before its own scripts.
function keepChannels() {
  window.channels = [];
  const {createDataChannel} = RTCPeerConnection.prototype;
  RTCPeerConnection.prototype.createDataChannel = function (...args) {
    const channel = createDataChannel.apply(this, args);
    window.channels.push(channel);
    window.channels.peer = this;
    return channel;
  };
}

// Keeps what passes a network; `stop` resolves with it.
export class Wiretap {
  static async start(network, folder) {
    const file = join(folder, `${network}.packets`);
    const child = startIn(network, 'python3', [capturer, file], {stdio: ['ignore', 'pipe', 'inherit']});
    await once(child.stdout, 'data');
    return new Wiretap(child, file);
  }

  constructor(child, file) {
    this.child = child;
    this.file = file;
  }

  async stop() {
    this.child.kill('SIGTERM');
    await once(this.child, 'exit');
    return readFileSync(this.file);
  }
}
