// The supporter's picture settings: three profiles that fill in every setting, and the form that
// sends them to the host.

import {linkHelp} from './helplink.js';
import {say, setText} from './language.js';
import {explain, sentence} from './texts.js';

const profiles = {
  fast: {max_width: 1280, max_height: 800, fps: 30, bitrate_mbps: 3, jpeg_quality: 55, queue_depth: 2},
  balanced: {max_width: 1920, max_height: 1200, fps: 30, bitrate_mbps: 7, jpeg_quality: 72, queue_depth: 3},
  sharp: {max_width: 3840, max_height: 2160, fps: 24, bitrate_mbps: 16, jpeg_quality: 90, queue_depth: 3},
};
const common = {show_cursor: true, codec: 'jpeg'};
// What a new session begins with; the host does not say.
const hostDefaults = {profile: 'balanced', ...common, ...profiles.balanced};

const byId = (id) => document.getElementById(id);

export class Settings {
  #connection;
  #form = byId('settings-form');
  #live = false;
  #inForce = null; // the settings the host works with, or null without a session
  #accepted = false; // whether those are settings that a page has applied
  #applying = false;
  #fallBackWanted = false;
  #fallBackTried = false; // for the settings in force
  #fellBack = false; // and nothing has been chosen since

  constructor(connection) {
    this.#connection = connection;
    this.#fill(hostDefaults);
    this.#form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.#apply();
    });
    this.#form.addEventListener('input', ({target}) => this.#changed(target));
    this.#review();
  }

  // `settings` are those that the host accepted during this session, or null for its defaults.
  showSession(session, settings) {
    const wasLive = this.#live;
    this.#live = session === 'live';
    this.#inForce = this.#live ? {...hostDefaults, ...settings} : null;
    this.#accepted = this.#live && settings !== null;
    if (this.#live && !wasLive && settings) this.#fill(this.#inForce);
    if (this.#live !== wasLive) this.#fellBack = this.#fallBackWanted = false;
    if (this.#inForce?.codec !== 'h264') this.#fallBackTried = false;
    this.#review();
    if (this.#fallBackWanted) this.fallBack();
  }

  // The browser cannot show the H.264 that comes: asks the host for JPEG, once for the settings in
  // force. A picture can come before the page hears of the settings that it was made with.
  async fallBack() {
    if (this.#fallBackTried) return;
    this.#fallBackWanted = this.#applying || this.#inForce?.codec !== 'h264';
    if (this.#fallBackWanted) return;
    this.#fallBackTried = true;
    this.#fellBack = await this.#send({...this.#inForce, codec: 'jpeg'});
    if (!this.#fellBack) return;
    if (this.#form.elements.codec.value === 'h264') this.#form.elements.codec.value = 'jpeg';
    this.#review();
  }

  disconnected() {
    this.showSession('unknown', null);
  }

  #changed(input) {
    this.#fellBack = false;
    if (input.name === 'profile') this.#fill({...this.#read(), ...profiles[input.value]});
    this.#check(input);
    this.#review();
  }

  #fill(values) {
    for (const [name, value] of Object.entries(values)) {
      const input = this.#form.elements[name];
      if (!input) continue;
      if (input.type === 'checkbox') input.checked = value;
      else input.value = value;
      if (input.type === 'number') this.#check(input);
    }
  }

  #read() {
    const values = {};
    for (const name of Object.keys(hostDefaults)) {
      const input = this.#form.elements[name];
      if (input.type === 'checkbox') values[name] = input.checked;
      else values[name] = input.type === 'number' ? input.valueAsNumber : input.value;
    }
    return values;
  }

  // Says under the field what is wrong with it. Returns whether all is well.
  #check(input) {
    if (input.type !== 'number') return true;
    const valid = !Number.isNaN(input.valueAsNumber) && input.checkValidity();
    input.setAttribute('aria-invalid', String(!valid));
    const hint = byId(input.getAttribute('aria-describedby'));
    hint.dataset.range ??= hint.dataset.text;
    say(hint, valid ? hint.dataset.range : 'settings.outOfRange', {min: input.min, max: input.max});
    return valid;
  }

  #numbers() {
    return [...this.#form.elements].filter((input) => input.type === 'number');
  }

  #review() {
    say(byId('profile-hint'), `settings.hint.${this.#form.elements.profile.value}`);
    byId('apply-settings').disabled = !this.#live;
    if (this.#live && this.#fellBack) this.#explain({code: 'h264_unsupported'}, 'neutral');
    else this.#say(this.#status());
  }

  #status() {
    if (!this.#live) return 'settings.idle';
    const values = this.#read();
    const same = Object.keys(values).every((name) => values[name] === this.#inForce[name]);
    if (!same) return 'settings.changed';
    return this.#accepted ? 'settings.applied' : 'settings.inForce';
  }

  #say(id, kind = 'neutral') {
    const result = byId('settings-result');
    say(result, id);
    linkHelp(result, '');
    result.dataset.kind = kind;
  }

  #explain(error, kind) {
    const result = byId('settings-result');
    setText(result, sentence(error));
    linkHelp(result, explain(error).id);
    result.dataset.kind = kind;
  }

  async #apply() {
    const wrong = this.#numbers().filter((input) => !this.#check(input));
    if (wrong.length > 0) {
      wrong[0].focus();
      this.#say('settings.invalid', 'bad');
      return;
    }
    this.#say('settings.applying');
    this.#fellBack = false;
    this.#fallBackTried = false;
    this.#applying = true;
    const applied = await this.#send(this.#read());
    this.#applying = false;
    if (applied) this.#say('settings.applied');
  }

  // Resolves with whether the host has accepted; what went wrong is said.
  async #send(settings) {
    try {
      await this.#connection.call('configureStream', settings);
      return true;
    } catch (error) {
      this.#explain(error, 'bad');
      return false;
    }
  }
}
