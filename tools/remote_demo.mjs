// usage: node tools/remote_demo.mjs PAGE ADDRESS PORT BROKER_PORT [CERTIFICATE KEY]
//
// Serves the page of a supporter on another computer, in that folder, and leads its connections to the
// broker on this computer. For trying it out: no relay, no limits. Says "ready" when it serves.

import {createReadStream, existsSync, readFileSync} from 'node:fs';
import http from 'node:http';
import https from 'node:https';
import {connect} from 'node:net';
import {join} from 'node:path';

const [page, address, port, brokerPort, certificate, key] = process.argv.slice(2);
const isSecure = certificate !== undefined;
const place = {broker: `${isSecure ? 'wss' : 'ws'}://${address}:${port}/mqtt`, iceServers: []};
const types = {
  html: 'text/html',
  css: 'text/css',
  js: 'text/javascript',
  json: 'application/json',
  svg: 'image/svg+xml',
};

function serve(request, response) {
  const [, name] = /^\/([a-z]+\.[a-z]+)?(?:[?].*)?$/.exec(request.url) ?? [null, ' '];
  const file = join(page, name ?? 'index.html');
  if (name === 'place.json') {
    const headers = {'Content-Type': 'application/json', 'Access-Control-Allow-Origin': '*'};
    response.writeHead(200, headers).end(JSON.stringify(place));
  } else if (existsSync(file)) {
    response.writeHead(200, {'Content-Type': types[file.split('.').pop()], 'Cache-Control': 'no-cache'});
    createReadStream(file).pipe(response);
  } else {
    response.writeHead(404).end();
  }
}

// From then on the broker speaks with the browser itself.
function leadToBroker({url, rawHeaders}, browser) {
  if (url !== '/mqtt') return browser.destroy();
  const broker = connect(Number(brokerPort), '127.0.0.1');
  const headers = rawHeaders.map((part, i) => part + (i % 2 ? '\r\n' : ': ')).join('');
  broker.write(`GET ${url} HTTP/1.1\r\n${headers}\r\n`);
  broker.pipe(browser).pipe(broker);
  for (const end of [broker, browser]) {
    end.on('error', () => {
      broker.destroy();
      browser.destroy();
    });
  }
}

const server = isSecure
  ? https.createServer({cert: readFileSync(certificate), key: readFileSync(key)}, serve)
  : http.createServer(serve);
server.on('upgrade', leadToBroker);
server.listen(Number(port), address, () => console.log('ready'));
