import { chromium, firefox } from 'playwright-core';

import { until } from './until.mjs';

const chromiumArguments = [
  '--no-sandbox',
  '--disable-gpu',
  '--disable-quic',
  '--no-first-run',
  '--disable-background-networking',
  '--disable-component-update',
  '--disable-sync',
];

const chromiumOptions = {
  executablePath: process.env.QUORVIN_CHROMIUM ?? '/usr/bin/chromium',
  args: [...chromiumArguments, '--window-position=0,0', '--window-size=1280,900'],
};

const isFirefox = process.env.QUORVIN_BROWSER === 'firefox';

export function launch(onScreen = null) {
  const options = { headless: onScreen === null, env: onScreen ?? process.env };
  if (isFirefox) {
    const executablePath = '/usr/bin/firefox-esr';
    return firefox.launch({ ...options, channel: 'moz-firefox', executablePath });
  }
  return chromium.launch({ ...options, ...chromiumOptions });
}

// A Chromium that can be killed.
export async function launchServer() {
  const server = await chromium.launchServer(chromiumOptions);
  const connect = () => chromium.connect(server.wsEndpoint());
  return { connect, kill: () => server.kill() };
}

// The pages of the program under test, in a real browser: `customer` and `page`, the supporter's.
export class HostPage {
  // With the environment of a screen the browser shows itself there, in a window that fills it.
  // `prepare` gets the supporter's page before it loads anything.
  static async open(address, { onScreen = null, prepare = async () => {} } = {}) {
    const hostPage = await HostPage.openCustomer(address, { onScreen });
    await hostPage.openSupporter(prepare);
    return hostPage;
  }

  // Without a supporter's page.
  static async openCustomer(address, { onScreen = null } = {}) {
    const browser = await launch(onScreen);
    const viewport = onScreen === null ? { width: 1280, height: 900 } : null;
    const context = await browser.newContext({ viewport });
    const hostPage = new HostPage(browser, await context.newPage());
    await hostPage.customer.goto(address);
    return hostPage;
  }

  constructor(browser, customer) {
    this.browser = browser;
    this.customer = customer;
    this.complaints = [];
    this.#listenTo(customer);
  }

  #listenTo(page) {
    page.on('pageerror', (error) => this.complaints.push(String(error)));
    page.on('console', (message) => {
      if (message.type() === 'error') this.complaints.push(message.text());
    });
  }

  async openSupporter(prepare = async () => {}) {
    this.page = await this.customer.context().newPage();
    this.#listenTo(this.page);
    await prepare(this.page);
    await this.page.goto(await this.customer.$eval('#show-supporter', ({ href }) => href));
  }

  async allow() {
    await this.customer.click('#allow-button');
    await this.awaitState('live');
  }

  sessionState() {
    return this.customer.getAttribute('#session-state', 'data-state');
  }

  awaitState(wanted) {
    return until(`the session to be ${wanted}`, async () => (await this.sessionState()) === wanted);
  }

  // Size of the picture itself, whatever the size at which it is shown.
  pictureSize() {
    return this.page.$eval('#picture', (canvas) => [canvas.width, canvas.height]);
  }

  // The colour of the picture at a place given as fractions of its size, as [red, green, blue].
  colourAt(x, y) {
    return this.page.$eval(
      '#picture',
      (canvas, [x, y]) => {
        const left = Math.floor(canvas.width * x);
        const top = Math.floor(canvas.height * y);
        return [...canvas.getContext('2d').getImageData(left, top, 1, 1).data.slice(0, 3)];
      },
      [x, y],
    );
  }

  // JPEG alters colours slightly.
  async awaitColour(x, y, wanted, tolerance = 12) {
    let last;
    await until(`the colour ${wanted}`, async () => {
      last = await this.colourAt(x, y);
      return last.every((part, index) => Math.abs(part - wanted[index]) <= tolerance);
    }).catch((error) => {
      throw new Error(`${error.message} (saw ${last})`);
    });
  }

  async apply(settings) {
    for (const [name, value] of Object.entries(settings)) {
      await this.page.fill(`#settings-form [name=${name}]`, String(value));
    }
    await this.page.click('#apply-settings');
    await until('the settings to be in force', async () =>
      /^Applied/.test(await this.text('#settings-result')),
    );
  }

  text(selector, on = this.page) {
    return on.$eval(selector, (element) => element.textContent.trim());
  }

  customerText(selector) {
    return this.text(selector, this.customer);
  }

  async screenshot(path, of = this.page) {
    if (!isFirefox) await of.screenshot({ path }); // there a style is added, which the page forbids
  }

  close() {
    return this.browser.close();
  }
}
