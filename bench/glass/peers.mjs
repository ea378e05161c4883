// The ways of a screen into a browser that are held against each other. Each is started on a screen
// and shows it in a page.

import { createHash } from 'node:crypto';
import { once } from 'node:events';
import { createServer } from 'node:http';

import { Host } from '../../tests/e2e/browser/support/Host.mjs';
import { spawnChild } from '../../tests/e2e/browser/support/children.mjs';
import { until } from '../../tests/e2e/browser/support/until.mjs';
import { processesNamed } from './processes.mjs';

// {name, shows, canvas, processes(), open(page), control(page), changed(rect, colour), stop()}: `shows`
// is what of the measurements it takes part in, `canvas` a selector, `processes` gives the ids of the
// servers, `control` takes mouse and keyboard, and `changed` is told of every change of the screen.

export async function startPage(screen, program) {
  const host = await Host.start(program, screen.environment);
  let customer;
  return {
    name: 'the page',
    shows: ['still', 'motion', 'keys'],
    canvas: '#picture',
    processes: () => processesNamed('quorvin-'),
    async open(page) {
      customer = await page.context().newPage();
      await customer.goto(host.address);
      await customer.click('#allow-button');
      await page.bringToFront();
      await page.goto(await customer.$eval('#show-supporter', ({ href }) => href));
    },
    control: (page) => page.click('#view-only:not(:disabled)[aria-pressed=true]'),
    changed() {},
    async stop() {
      await customer?.close();
      await host.destroy();
    },
  };
}

export async function startPageWithH264(screen, program) {
  const peer = await startPage(screen, program);
  return {
    ...peer,
    name: 'the page with H.264',
    shows: ['still'],
    async open(page) {
      await peer.open(page);
      await page.selectOption('#codec', 'h264');
      await page.click('#apply-settings:not(:disabled)');
    },
  };
}

export async function startNoVnc(screen) {
  const [rfb, web] = [5900 + freePort(), 6900 + freePort()];
  const quiet = { env: screen.environment, stdio: 'ignore' };
  const ends = [`127.0.0.1:${web}`, `127.0.0.1:${rfb}`];
  const servers = [
    spawnChild('x0vncserver', ['-rfbport', `${rfb}`, '-localhost', '-SecurityTypes', 'None'], quiet),
    spawnChild('websockify', ['--web=/usr/share/novnc', ...ends], quiet),
  ];
  await until('noVNC', () => fetch(`http://127.0.0.1:${web}/vnc_lite.html`).catch(() => null));
  return {
    name: 'noVNC with x0vncserver',
    shows: ['still', 'motion', 'keys'],
    canvas: '#screen canvas',
    processes: () => processesNamed('X0tigervnc', 'websockify'),
    open: (page) => page.goto(`http://127.0.0.1:${web}/vnc_lite.html?scale=true`),
    control: (page) => page.click('#screen canvas'),
    changed() {},
    async stop() {
      const running = servers.filter((server) => (server.exitCode ?? server.signalCode) === null);
      for (const server of running) server.kill('SIGTERM');
      await Promise.all(running.map((server) => once(server, 'exit')));
    },
  };
}

let lastPort = 0;
const freePort = () => (process.pid % 500) + ++lastPort;

const floorPage = `<!doctype html><canvas id="floor"></canvas><script>
const canvas = document.getElementById('floor');
const context = canvas.getContext('2d', {alpha: false});
const socket = new WebSocket(location.href.replace('http', 'ws'));
socket.binaryType = 'arraybuffer';
socket.onmessage = ({data}) => {
  if (typeof data === 'string') [canvas.width, canvas.height] = JSON.parse(data);
  else {
    const [x, y, grey] = new Uint8Array(data);
    context.fillStyle = 'rgb(' + grey + ',' + grey + ',' + grey + ')';
    context.fillRect(x * 8, y * 8, 128, 128);
  }
};
</script>`;

// What no way could do without: somebody who knows of the change says in three bytes what it is.
export async function startFloor(screen) {
  let socket = null;
  const server = createServer((request, response) => response.end(floorPage));
  server.on('upgrade', ({ headers }, upgraded) => {
    const key = `${headers['sec-websocket-key']}258EAFA5-E914-47DA-95CA-C5AB0DC85B11`;
    const accepted = createHash('sha1').update(key).digest('base64');
    upgraded.write(
      'HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n' +
        `Sec-WebSocket-Accept: ${accepted}\r\n\r\n`,
    );
    upgraded.setNoDelay(true);
    socket = upgraded;
    const size = JSON.stringify([screen.width, screen.height]);
    socket.write(Buffer.concat([Buffer.from([0x81, size.length]), Buffer.from(size)]));
  });
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  return {
    name: 'three bytes: the floor',
    canvas: '#floor',
    shows: ['field'],
    processes: () => [],
    open: (page) => page.goto(`http://127.0.0.1:${server.address().port}/`),
    changed([x, y], colour) {
      socket.write(Buffer.from([0x82, 3, x >> 3, y >> 3, colour & 0xff]));
    },
    async stop() {
      socket?.destroy();
      server.close();
    },
  };
}
