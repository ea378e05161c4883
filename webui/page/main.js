// Puts the page together: one connection, the customer's side and the supporter's side.

import {Connection} from './connection.js';
import {Control} from './control.js';
import {CustomerSide} from './customer.js';
import {Picture} from './picture.js';
import {Settings} from './settings.js';

const connection = new Connection();
const settings = new Settings(connection);
const picture = new Picture(
  () => settings.fallBack(),
  () => connection.requestWholePicture(),
);
const customer = new CustomerSide(connection, (unattended) => picture.setUnattended(unattended));
const control = new Control(connection, showSides);

const connectionState = document.getElementById('connection-state');

function showConnection(state, text) {
  connectionState.dataset.state = state;
  connectionState.textContent = text;
}

// A page in the background needs no pictures, but can still be brought back to press Stop.
function showSides() {
  connection.show({customer: true, picture: !document.hidden, input: !control.viewOnly});
}

connection.addEventListener('open', () => {
  showConnection('connected', 'Connected');
  customer.connected();
  picture.connected();
  control.connected();
});

connection.addEventListener('closed', ({detail}) => {
  const seconds = Math.ceil(detail.retryMs / 1000);
  showConnection('disconnected', `Connection lost, trying again in ${seconds} s`);
  customer.disconnected();
  picture.disconnected();
  control.disconnected();
  settings.disconnected();
});

connection.addEventListener('state', ({detail}) => {
  customer.showSession(detail.session, detail.error, detail.input);
  picture.showSession(detail.session);
  control.showSession(detail.session);
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
connection.open();
