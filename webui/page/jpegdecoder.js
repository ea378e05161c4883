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
  const source = isSmall
    ? await loaded(joined(file, byteLength))
    : new Blob(file, {type: 'image/jpeg'});
  return createImageBitmap(source).catch(() => null);
}

// The file is often there at the end of the task, long before the event that says so.
async function loaded(bytes) {
  const image = new Image();
  image.src = `data:image/jpeg;base64,${bytes.toBase64()}`;
  await null;
  if (image.complete && image.naturalWidth > 0) return image;
  return new Promise((resolve) => {
    image.onload = image.onerror = () => resolve(image); // there is no bitmap of one with an error
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
