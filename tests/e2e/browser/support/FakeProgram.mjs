import { createReadStream, existsSync } from 'node:fs';
import { createServer } from 'node:http';
import { extname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const types = {
  '.html': 'text/html; charset=utf-8',
  '.css': 'text/css; charset=utf-8',
  '.js': 'text/javascript; charset=utf-8',
  '.svg': 'image/svg+xml',
  '.json': 'application/json',
};

// Serves the files of these folders, the first that has one. Everybody may read them, as those of a
// place. Returns the server's address and what closes it.
export async function serveFiles(...folders) {
  const server = createServer((request, response) => {
    const name = new URL(request.url, 'http://x').pathname.split('/').pop() || 'index.html';
    const path = folders.map((folder) => join(folder, name)).find((file) => existsSync(file));
    response.setHeader('Access-Control-Allow-Origin', '*');
    response.writeHead(path ? 200 : 404, { 'Content-Type': types[extname(name)] ?? 'text/plain' });
    if (path) createReadStream(path).pipe(response);
    else response.end();
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const address = `http://127.0.0.1:${server.address().port}/`;
  return { address, close: () => server.close() };
}

export const pageFolders = ['page', 'languages'].map((name) =>
  fileURLToPath(new URL(`../../../../webui/${name}/`, import.meta.url)),
);

export const idle = {
  event: 'state',
  session: 'idle',
  error: null,
  settings: null,
  input: false,
  control: true,
};

export const session = {
  id: 1,
  stage: 'waiting',
  code: '482 913 5072',
  link: 'https://help.example.org/#1.AAECAwQFBgcICQoLDA0ODw.EBESExQVFhcYGRobHB0eHyAhIiMkJSYnKCkqKywtLi8',
  qr: [],
  expiresInMs: 600_000,
  name: '',
  words: null,
  control: false,
  sinceMs: null,
  path: null,
  carrier: true,
};

// Stands in for quorvin-webui before a page that is opened after `attach`: keeps every text that
// comes over the page's own connection, and sends what a test wants.
export class FakeProgram {
  texts = [];
  guests = new Map(); // by the name of their connection: {socket, texts}
  socket = null;
  #answers = {
    permissions: { screenRecording: true, accessibility: true },
    capabilities: { deviceName: 'Study' },
  };

  // `answers` are results by method, where they are others than of a program that is allowed all.
  static async attach(page, answers = {}) {
    const program = new FakeProgram();
    Object.assign(program.#answers, answers);
    await page.routeWebSocket(/\/ws$/, (socket) => {
      program.socket = socket;
      socket.onMessage((text) => program.#take(JSON.parse(text)));
      program.send(idle);
    });
    await page.routeWebSocket(/\/guest-\d+$/, (socket) => {
      const guest = { socket, texts: [] };
      socket.onMessage((text) => guest.texts.push(text));
      program.guests.set(new URL(socket.url()).pathname.split('/').pop(), guest);
    });
    return program;
  }

  #take(message) {
    this.texts.push(message);
    if (message.id && message.method) {
      this.send({ id: message.id, result: this.#answers[message.method] ?? null });
    }
  }

  send(message) {
    this.socket.send(JSON.stringify(message));
  }

  sendPicture(bytes) {
    this.send({ event: 'frame', ageMs: 0 });
    this.socket.send(bytes);
  }

  sendRemote(sessions, rest = {}) {
    const base = { configured: true, problem: null, detail: '', page: 'https://help.example.org/' };
    this.send({ event: 'remote', ...base, iceServers: [], sessions, ...rest });
  }

  // The texts that came, of which each has all these fields.
  has(fields) {
    const wanted = Object.entries(fields).map(([name, value]) => [name, JSON.stringify(value)]);
    return this.texts.some((text) =>
      wanted.every(([name, value]) => JSON.stringify(text[name]) === value),
    );
  }
}
