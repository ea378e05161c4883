import {spawnSync} from 'node:child_process';
import {createRequire} from 'node:module';
import {fileURLToPath} from 'node:url';

import {spawnChild} from '../../browser/support/children.mjs';

const {chromium} = createRequire(new URL('../../browser/', import.meta.url))('playwright-core');
export const script = fileURLToPath(new URL('../networks.sh', import.meta.url));
const chromiumScript = fileURLToPath(new URL('../chromium.sh', import.meta.url));

function tell(...args) {
  const {status, stderr} = spawnSync(script, args.map(String), {encoding: 'utf8'});
  if (status !== 0) throw new Error(`networks.sh ${args.join(' ')}: ${stderr}`);
}

// What stands between the two sides: {nat, udp, delayMs, lossPercent, rateMbit}, see networks.sh.
export function setNetworks({nat = 'plain', udp = 'pass', delayMs = 0, lossPercent = 0, rateMbit = 0}) {
  tell('nat', nat);
  tell('udp', udp);
  tell('shape', delayMs, lossPercent, rateMbit, 400);
}

export const startIn = (network, program, args, options) =>
  spawnChild(script, ['in', network, program, ...args], options);

export const browserArguments = [
  '--no-sandbox',
  '--disable-gpu',
  '--disable-quic',
  '--ignore-certificate-errors',
  // WebRTC asks for names with a dot at their end, which no file of hosts answers.
  '--host-resolver-rules=MAP place.test. 198.51.100.10',
];

// A browser there. Addresses of its machine are hidden, as they are to everybody whom the user has
// not given a camera. The place's certificate is nobody's.
export function launchIn(network, options = {}) {
  return chromium.launch(optionsIn(network, options));
}

// One that can be killed.
export function launchServerIn(network) {
  return chromium.launchServer(optionsIn(network));
}

export const connectTo = (server) => chromium.connect(server.wsEndpoint());

const optionsIn = (network, {env} = {}) => ({
  executablePath: chromiumScript,
  env: {...process.env, QUORVIN_NETWORK: network, ...env},
  args: browserArguments,
});
