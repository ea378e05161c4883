// Bytes in and out of texts.

export const idBytes = 16;

export const utf8 = (text) => new TextEncoder().encode(text);
export const textOf = (bytes) => new TextDecoder('utf-8', {fatal: true}).decode(bytes);

export function joined(...parts) {
  const bytes = new Uint8Array(parts.reduce((length, part) => length + part.length, 0));
  let at = 0;
  for (const part of parts) {
    bytes.set(part, at);
    at += part.length;
  }
  return bytes;
}

export function equal(a, b) {
  let difference = a.length ^ b.length;
  for (let index = 0; index < a.length; ++index) difference |= a[index] ^ b[index];
  return difference === 0;
}

// 32 hexadecimal digits, by which a broker knows a client.
export const idText = (id) =>
  Array.from(id, (byte) => byte.toString(16).padStart(2, '0')).join('');

// What may be told everybody of the client with this id.
export async function sidOf(id) {
  const digest = await crypto.subtle.digest('SHA-256', utf8(idText(id)));
  return new Uint8Array(digest, 0, idBytes);
}

// Base64 for addresses, without padding (RFC 4648, section 5).
export const toBase64Url = (bytes) =>
  btoa(String.fromCharCode(...bytes)).replace(/[+]/g, '-').replace(/[/]/g, '_').replace(/=/g, '');

// Nothing unless the text is the one way to write this many bytes.
export function fromBase64Url(text, length) {
  if (!/^[\w-]*$/.test(text) || text.length !== Math.ceil((length * 4) / 3)) return undefined;
  const binary = atob(text.replace(/-/g, '+').replace(/_/g, '/'));
  const bytes = Uint8Array.from(binary, (character) => character.charCodeAt(0));
  return toBase64Url(bytes) === text ? bytes : undefined;
}
