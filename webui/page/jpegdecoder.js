// Decodes a JPEG file, given as its pieces in order, to an ImageBitmap that the caller closes; null
// for one that cannot be read. createImageBitmap() for every file: other decoders round colours
// another way, and parts of a picture have to meet without a seam.

// A Blob lives in another process of the browser. For a small file the ways there take longer than
// decoding, which an address that holds the file avoids; a large one is decoded by a thread beside
// the page's own only as a Blob.
const inlineBytesMax = 32_768;

export async function decodeJpeg(file) {
  const byteLength = file.reduce((sum, piece) => sum + piece.length, 0);
  const source = byteLength > inlineBytesMax ? new Blob(file, {type: 'image/jpeg'}) : loaded(file);
  return createImageBitmap(await source).catch(() => null);
}

function loaded(file) {
  const bytes = file.map((piece) => String.fromCharCode(...piece)).join('');
  return new Promise((resolve) => {
    const image = new Image();
    image.onload = image.onerror = () => resolve(image); // there is no bitmap of one with an error
    image.src = `data:image/jpeg;base64,${btoa(bytes)}`;
  });
}
