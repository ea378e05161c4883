import {until} from '../../tests/e2e/browser/support/until.mjs';
import {Session} from '../../tests/e2e/networks/support/Session.mjs';
import {WindowedBrowser} from './WindowedBrowser.mjs';

// A session whose customer has a browser with a window.
export class HelpedSession extends Session {
  async openCustomer() {
    this.browser = await WindowedBrowser.open('customer', this.host.address);
  }

  async invite() {
    await this.#press('#invite-button');
    const read = () => document.querySelector('.guest [data-part=code]')?.textContent;
    return until('the code', async () => {
      const code = await this.browser.evaluate(read);
      return /^\d{3} \d{3} \d{4}$/.test(code) && code;
    });
  }

  async answer(part) {
    this.answeredAt = await this.#press(`.guest [data-part=${part}]`);
  }

  async endGuest() {
    await this.#press('.guest [data-part=end]');
    const isOver = () => document.querySelector('.guest [data-part=actions]').hidden;
    await until('the end', () => this.browser.evaluate(isOver));
  }

  // Resolves with the time when the first such button could be pressed, and was.
  #press(selector) {
    const press = (selector) => {
      const button = document.querySelector(selector);
      if (!button?.checkVisibility() || button.disabled) return null;
      const at = performance.timeOrigin + performance.now();
      button.click();
      return at;
    };
    return until(selector, () => this.browser.evaluate(press, selector));
  }
}
