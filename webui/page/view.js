// What a supporter has of a session: the picture, mouse and keyboard in it, and its settings,
// wherever the connection leads.

import {Control} from './control.js';
import {Picture} from './picture.js';
import {Settings} from './settings.js';

export function makeView(connection) {
  const settings = new Settings(connection);
  let h264 = 'VideoDecoder' in globalThis;
  const picture = new Picture(
    () => {
      h264 = false;
      showSides();
      settings.fallBack();
    },
    () => connection.requestWholePicture(),
  );
  const control = new Control(connection, showSides);

  // A page in the background needs no pictures.
  function showSides() {
    connection.show({customer: false, picture: !document.hidden, input: !control.viewOnly, h264});
  }

  async function askWhetherUnattended() {
    const capabilities = await connection.call('capabilities').catch(() => ({}));
    picture.setUnattended(capabilities.unattended === true);
  }

  connection.addEventListener('open', () => {
    askWhetherUnattended();
    picture.connected();
    control.connected();
  });

  connection.addEventListener('closed', () => {
    picture.disconnected();
    control.disconnected();
    settings.disconnected();
  });

  connection.addEventListener('state', ({detail}) => {
    picture.showSession(detail.session);
    control.showSession(detail.session, detail.control);
    settings.showSession(detail.session, detail.settings);
  });

  connection.addEventListener('picture', async ({detail}) => {
    try {
      await picture.draw(detail.bytes, detail.arrivedAt, detail.number);
    } finally {
      connection.acknowledgePicture();
    }
  });

  document.addEventListener('visibilitychange', showSides);
  showSides();
}
