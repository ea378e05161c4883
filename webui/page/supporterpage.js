// The supporter's page on the shared computer itself.

import {Connection, showConnection} from './connection.js';
import {loadTexts} from './language.js';
import {makeView} from './view.js';

await loadTexts();

const connection = new Connection();
showConnection(connection, document.getElementById('connection-state'));
makeView(connection);
connection.open();
