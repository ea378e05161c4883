// The payload that carries one picture in H.264, and what a decoder has to be told of it:
// docs/channels.md describes the payload, ITU-T H.264 (Annex B, 7.3) the stream in it and RFC 6381
// (3.3) the codec's name.

const headerBytes = 12;
const magic = [0x51, 0x4e, 0x48, 0x32]; // "QNH2"
const sequenceParameterSet = 7;

export function isH264(buffer) {
  if (buffer.byteLength < magic.length) return false;
  const head = new Uint8Array(buffer, 0, magic.length);
  return magic.every((byte, index) => head[index] === byte);
}

// {isKey, width, height, codec, stream}: the picture's size in pixels, the name of the stream's
// codec and the stream itself. Null for what no decoder needs to be bothered with.
export function parsePayload(buffer) {
  if (!isH264(buffer) || buffer.byteLength <= headerBytes) return null;
  const header = new DataView(buffer, 0, headerBytes);
  const width = header.getUint16(6);
  const height = header.getUint16(8);
  const stream = new Uint8Array(buffer, headerBytes);
  const codec = codecOf(stream);
  if (width === 0 || height === 0 || codec === null) return null;
  return {isKey: header.getUint8(4) === 1, width, height, codec, stream};
}

// "avc1." and the profile, its constraints and the level in hexadecimal, from the first sequence
// parameter set of a byte stream; null without one.
export function codecOf(stream) {
  for (let start = unitAfter(stream, 0); start !== -1; start = unitAfter(stream, start)) {
    if (start + 3 >= stream.length) return null;
    if (stream[start] >> 7 === 0 && (stream[start] & 0x1f) === sequenceParameterSet) {
      const hex = [...stream.subarray(start + 1, start + 4)].map(twoDigits);
      return `avc1.${hex.join('')}`;
    }
  }
  return null;
}

// Where the first unit begins whose start code lies at `from` or later; -1 without one.
function unitAfter(stream, from) {
  for (let one = stream.indexOf(1, from + 2); one !== -1; one = stream.indexOf(1, one + 1)) {
    if (stream[one - 1] === 0 && stream[one - 2] === 0) return one + 1;
  }
  return -1;
}

const twoDigits = (byte) => byte.toString(16).padStart(2, '0');
