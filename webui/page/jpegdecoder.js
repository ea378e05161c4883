// Decodes a JPEG file, given as its pieces in order, to an ImageBitmap that the caller closes; null
// for one that cannot be read. createImageBitmap() for every file: other decoders round colours
// another way, and parts of a picture have to meet without a seam.

// A Blob lives in another process of the browser. For a small file the ways there take longer than
// decoding, which an address that holds the file avoids; a large one is decoded by a thread beside
// the page's own only as a Blob. Writing base64 by hand takes as long as those ways.
const inlineBytesMax = 'toBase64' in Uint8Array.prototype ? 32_768 : 0;

export async function decodeJpeg(file) {
  const byteLength = file.reduce((sum, piece) => sum + piece.length, 0);
  const isSmall = byteLength <= inlineBytesMax;
  const source = isSmall ? loaded(joined(file, byteLength)) : new Blob(file, {type: 'image/jpeg'});
  return createImageBitmap(await source).catch(() => null);
}

function loaded(bytes) {
  return new Promise((resolve) => {
    const image = new Image();
    image.onload = image.onerror = () => resolve(image); // there is no bitmap of one with an error
    image.src = `data:image/jpeg;base64,${bytes.toBase64()}`;
  });
}

function joined(file, byteLength) {
  const bytes = new Uint8Array(byteLength);
  let position = 0;
  for (const piece of file) {
    bytes.set(piece, position);
    position += piece.length;
  }
  return bytes;
}
