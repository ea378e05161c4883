// The customer's page: who can see the screen, the permissions, and the buttons that allow and
// stop a session, or keep mouse and keyboard from the supporter.

import {Connection, showConnection} from './connection.js';
import {Guests} from './guests.js';
import {linkHelp} from './helplink.js';
import {Invitations} from './invite.js';
import {advice, hasText, loadTexts, onLanguage, say, setText} from './language.js';
import {showReports} from './report.js';
import {explain, sentence} from './texts.js';

await loadTexts();

const permissionsPollMs = 4000;

// Where nobody sits at the computer, whoever opens this page comes to support it.
function headlineOf(name, isUnattended) {
  const isOwn = isUnattended && hasText(`unattended.${name}.what`);
  return isOwn ? advice(`unattended.${name}`) : advice(`headline.${name}`);
}

const byId = (id) => document.getElementById(id);

class CustomerSide {
  #connection;
  #unattended = false;
  #onStop;
  #state = null; // as the server told it last
  #startsByItself = false; // once for each connection: a session that was stopped stays stopped
  #permissionsAsked = false;
  #allGranted = false;
  #guests = 0;
  #isRemote = false; // whether supporters on other computers may come

  // `onStop` is told when everything is to end.
  constructor(connection, onStop) {
    this.#connection = connection;
    this.#onStop = onStop;
    byId('allow-button').onclick = () => {
      this.#sharesForGuests = false;
      this.allow();
    };
    byId('stop-button').onclick = () => this.#stop();
    byId('control-button').onclick = () => this.#connection.tell({control: !this.#state.control});
    byId('desktop-link').onclick = () => this.#makeDesktopLink();
    byId('request-permissions').onclick = () => this.#askForPermissions();
    document.addEventListener('visibilitychange', () => this.#refreshPermissions());
    window.addEventListener('focus', () => this.#refreshPermissions());
    setInterval(() => {
      if (!this.#allGranted) this.#refreshPermissions();
    }, permissionsPollMs);
    onLanguage(() => {
      if (this.#state) this.showSession(this.#state);
      else if (byId('session').dataset.state === 'unknown') this.disconnected();
    });
  }

  // And for nobody else. Still known when this page is loaded again.
  get #sharesForGuests() {
    return sessionStorage.getItem('sharesForGuests') === 'true';
  }

  set #sharesForGuests(shares) {
    sessionStorage.setItem('sharesForGuests', String(shares));
  }

  async connected() {
    this.#refreshPermissions();
    try {
      const capabilities = await this.#connection.call('capabilities');
      this.#unattended = capabilities.unattended === true;
      const {unattendedName, deviceName} = capabilities;
      setText(byId('device-name'), this.#unattended ? unattendedName : deviceName);
    } catch {
      say(byId('device-name'), 'customer.thisComputer');
    }
    if (!this.#unattended) return;
    say(byId('allow-button'), 'customer.start');
    say(byId('show-supporter'), 'customer.openSupporter');
    this.#startsByItself = !this.#isRemote;
    if (this.#state) this.showSession(this.#state);
  }

  disconnected() {
    this.#state = null;
    byId('desktop-link').disabled = true;
    this.#show('unknown', headlineOf('unknown'), false);
    byId('allow-button').disabled = true;
    byId('stop-button').disabled = true;
    byId('control-button').disabled = true;
  }

  // The server's event: `session` is one of its states, `error` why it ended, or null, `input`
  // whether any supporter's page may use the mouse and keyboard, `control` whether one could.
  showSession(state) {
    const {session, error, input} = state;
    const running = isRunning(state);
    if (isRunning(this.#state) && !running) this.#sharesForGuests = false;
    this.#state = state;
    byId('desktop-link').disabled = false;
    // Where supporters on other computers come with a link, no page begins without one.
    const awaitsLink = this.#unattended && this.#isRemote && !running;
    const shared = session === 'live' && input ? 'controlled' : session;
    const headline = headlineOf(awaitsLink ? 'awaitsLink' : shared, this.#unattended);
    this.#show(session, error ? explain(error) : headline, Boolean(error));
    const allow = byId('allow-button');
    const stop = byId('stop-button');
    const focused = document.activeElement;
    allow.hidden = running;
    allow.disabled = false;
    stop.hidden = !running && this.#guests === 0;
    say(stop, this.#guests > 0 ? 'customer.stopAll' : 'customer.stop');
    stop.disabled = false;
    // Whoever works with the keyboard keeps their place when one button takes the other's.
    if (running && focused === allow) stop.focus();
    if (!running && focused === stop) allow.focus();
    this.#showControl();
    if (this.#startsByItself) this.#startUnattended(running);
  }

  // How many supporters on other computers there are; Stop ends their connections as well. Whatever
  // was begun for them ends with the last.
  showGuests(count, {isRemote, isCarrier}) {
    const begins = isCarrier && this.#guests === 0;
    const ends = count === 0 && this.#guests > 0;
    this.#guests = count;
    this.#isRemote = isRemote;
    if (!this.#state || !this.#connection.isOpen) return;
    this.showSession(this.#state);
    if (this.#unattended && begins) this.#shareForGuests();
    if (ends && this.#sharesForGuests) this.#connection.call('stopCapture').catch(() => {});
  }

  // Whoever allows a supporter to see the screen shares it, and with whom to work it as well.
  allowGuest(withControl) {
    if (withControl) this.#connection.tell({control: true});
    this.#shareForGuests();
  }

  #shareForGuests() {
    if (isRunning(this.#state)) return;
    this.allow();
    this.#sharesForGuests = true;
  }

  #showControl() {
    const {session, input, control} = this.#state;
    const button = byId('control-button');
    button.hidden = session !== 'live';
    button.disabled = false;
    say(button, `rights.${control ? (input ? 'controlled' : 'watched') : 'refused'}`);
  }

  #startUnattended(running) {
    this.#startsByItself = false;
    if (!running) this.allow();
  }

  #show(state, {id, what, next, detail}, isError) {
    const headline = byId('session-state');
    setText(headline, what);
    headline.dataset.state = state;
    setText(byId('session-advice'), [detail, next].filter(Boolean).join(' '));
    linkHelp(byId('session-advice'), id);
    const section = byId('session');
    section.dataset.state = state;
    section.classList.toggle('failed', isError);
    say(byId('session-note'), ['starting', 'live'].includes(state) ? 'customer.closing' : '');
  }

  async allow() {
    // The outcome reaches every page as the session's state, this one included.
    const consent = this.#unattended ? {unattended: true} : {locallyAuthorized: true};
    await this.#connection.call('startCapture', consent).catch(() => {});
    this.#refreshPermissions();
  }

  async #stop() {
    this.#onStop();
    await this.#connection.call('stopCapture').catch(() => {});
  }

  async #makeDesktopLink() {
    const result = byId('desktop-link-result');
    say(result, '');
    linkHelp(result, '');
    try {
      await this.#connection.call('createDesktopShortcut');
      say(result, 'customer.desktopLinkMade');
    } catch (error) {
      setText(result, sentence(error));
      linkHelp(result, explain(error).id);
    }
  }

  async #askForPermissions() {
    this.#permissionsAsked = true;
    try {
      this.#showPermissions(await this.#connection.call('requestPermissions'));
    } catch (error) {
      setText(byId('permissions-advice'), sentence(error));
      linkHelp(byId('permissions-advice'), explain(error).id);
    }
  }

  async #refreshPermissions() {
    if (document.hidden || !this.#connection.isOpen) return;
    try {
      this.#showPermissions(await this.#connection.call('permissions'));
    } catch {
      // The state of the connection is shown elsewhere.
    }
  }

  #showPermissions({screenRecording, accessibility}) {
    showPermission('permission-screen', screenRecording);
    showPermission('permission-input', accessibility);
    this.#allGranted = screenRecording && accessibility;
    byId('request-permissions').hidden = this.#allGranted;
    say(byId('permissions-advice'), this.#allGranted ? '' : this.#neededAdvice());
    linkHelp(byId('permissions-advice'), '');
  }

  // Linux asks nobody: what is missing there is a display that shows all of the screen.
  #neededAdvice() {
    if (navigator.userAgent.includes('Linux')) return 'permissions.display';
    return this.#permissionsAsked ? 'permissions.asked' : 'permissions.needed';
  }
}

const isRunning = (state) => ['starting', 'live'].includes(state?.session);

function showPermission(id, granted) {
  const row = byId(id);
  row.dataset.granted = String(granted);
  say(row.querySelector('.verdict'), granted ? 'permissions.granted' : 'permissions.notGranted');
}

const connection = new Connection();
const guests = new Guests(connection);
const customer = new CustomerSide(connection, () => invitations.endAll());
const invitations = new Invitations(connection, customer);

showReports(connection);
showConnection(connection, document.getElementById('connection-state'));
connection.addEventListener('open', () => {
  customer.connected();
  tellWhetherInFront();
});
connection.addEventListener('closed', () => {
  guests.disconnected();
  invitations.disconnected();
  customer.disconnected();
});
connection.addEventListener('state', ({detail}) => {
  customer.showSession(detail);
  invitations.showState(detail);
});
connection.addEventListener('remote', ({detail}) => {
  guests.review(detail);
  invitations.show(detail);
});
connection.addEventListener('signal', ({detail}) => guests.take(detail));
connection.addEventListener('log', ({detail}) => invitations.showLog(detail.entries));

// Whoever does not see the page is told in another way when somebody asks.
function tellWhetherInFront() {
  connection.tell({front: !document.hidden && document.hasFocus()});
}
for (const type of ['focus', 'blur']) window.addEventListener(type, tellWhetherInFront);
document.addEventListener('visibilitychange', tellWhetherInFront);

// A page in the background can be brought back to press Stop.
connection.show({customer: true, picture: false, input: false});
connection.open();
