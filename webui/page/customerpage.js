// Puts the customer's page together.

import {Connection, showConnection} from './connection.js';
import {CustomerSide} from './customer.js';

const connection = new Connection();
const customer = new CustomerSide(connection);

showConnection(connection, document.getElementById('connection-state'));
connection.addEventListener('open', () => customer.connected());
connection.addEventListener('closed', () => customer.disconnected());
connection.addEventListener('state', ({detail}) => customer.showSession(detail));

// A page in the background can be brought back to press Stop.
connection.show({customer: true, picture: false, input: false});
connection.open();
