import {once} from 'node:events';
import {mkdtempSync, rmSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';

import {VirtualScreen} from '../../tests/e2e/browser/support/VirtualScreen.mjs';
import {until} from '../../tests/e2e/browser/support/until.mjs';
import {browserArguments, startIn} from '../../tests/e2e/networks/support/networks.mjs';
import {inTime} from '../glass/times.mjs';

const quietly = ['--no-first-run', '--disable-background-networking', '--disable-component-update'];

// A Chromium with a window on a screen of its own, worked over DevTools alone: Playwright would have
// its page believe that it is in front, and switches off how a browser treats those that are not.
export class WindowedBrowser {
  #lastId = 0;
  #calls = new Map();

  // With one page, in that network.
  static async open(network, address) {
    const browser = new WindowedBrowser(await VirtualScreen.start(1280, 900), network, address);
    const targetId = await until('the page', async () => {
      const {targetInfos} = await browser.#call('Target.getTargets');
      return targetInfos.find(({url}) => url.startsWith(address))?.targetId;
    });
    const {sessionId} = await browser.#call('Target.attachToTarget', {targetId, flatten: true});
    const {windowId} = await browser.#call('Browser.getWindowForTarget', {targetId});
    Object.assign(browser, {sessionId, windowId});
    await until('the page to be seen', () => browser.#is('visible').catch(() => false));
    return browser;
  }

  constructor(screen, network, address) {
    screen.open('openbox');
    this.screen = screen;
    this.profile = mkdtempSync(join(tmpdir(), 'quorvin-profile-'));
    const own = ['--remote-debugging-pipe', `--user-data-dir=${this.profile}`];
    this.process = startIn(network, 'chromium', [...browserArguments, ...quietly, ...own, address], {
      env: screen.environment,
      stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'],
    });
    this.#read(this.process.stdio[4]);
  }

  // Calls a function, which knows nothing but its arguments, in the page.
  async evaluate(work, ...args) {
    const asked = {expression: `(${work})(...${JSON.stringify(args)})`, returnByValue: true};
    const {result, exceptionDetails} = await this.#call('Runtime.evaluate', asked, this.sessionId);
    if (exceptionDetails) throw new Error(exceptionDetails.exception?.description);
    return result.value;
  }

  // 'tab': behind another tab; 'window': minimised.
  async hide(how) {
    if (how === 'tab') this.cover = await this.#call('Target.createTarget', {url: 'about:blank'});
    else await this.#setWindow('minimized');
    await until('the page to be hidden', () => this.#is('hidden'));
  }

  // Throws if the page is not hidden any more.
  async show(how) {
    if (!(await this.#is('hidden'))) throw new Error('the page was to be hidden');
    if (how === 'tab') await this.#call('Target.closeTarget', this.cover);
    else await this.#setWindow('normal');
    await until('the page to be seen', () => this.#is('visible'));
  }

  async close() {
    const ended = once(this.process, 'exit');
    await Promise.race([this.#call('Browser.close'), ended]);
    await ended;
    await this.screen.stop();
    rmSync(this.profile, {recursive: true, force: true});
  }

  #is(visibility) {
    return this.evaluate((wanted) => document.visibilityState === wanted, visibility);
  }

  #setWindow(windowState) {
    return this.#call('Browser.setWindowBounds', {windowId: this.windowId, bounds: {windowState}});
  }

  #call(method, params = {}, sessionId = undefined) {
    const id = ++this.#lastId;
    this.process.stdio[3].write(`${JSON.stringify({id, method, params, sessionId})}\0`);
    const answer = new Promise((resolve, reject) => this.#calls.set(id, {resolve, reject}));
    return inTime(`the answer to ${method}`, answer);
  }

  async #read(stream) {
    let text = '';
    for await (const chunk of stream.setEncoding('utf8')) {
      const messages = (text + chunk).split('\0');
      text = messages.pop();
      for (const {id, error, result} of messages.map((message) => JSON.parse(message))) {
        if (error) this.#calls.get(id)?.reject(new Error(error.message));
        else this.#calls.get(id)?.resolve(result);
        this.#calls.delete(id);
      }
    }
  }
}
