// Where in the shared screen a place on the page is.

// The box that a picture takes up within an element that shows it whole and centred, with bars on
// two sides where the proportions differ (object-fit: contain).
export function pictureBox(element, picture) {
  const scale = Math.min(element.width / picture.width, element.height / picture.height);
  const width = picture.width * scale;
  const height = picture.height * scale;
  return {
    left: element.left + (element.width - width) / 2,
    top: element.top + (element.height - height) / 2,
    width,
    height,
  };
}

// The place as the host counts: 0 is the first and 1 the last column or row. Null outside of the
// picture, or its nearest edge with `clamped`. A pointer points at a pixel of the supporter's
// screen, `pixelSide` wide, of which browsers give the left upper corner.
export function placeInPicture(box, picture, point, {pixelSide = 1, clamped = false} = {}) {
  const half = pixelSide / 2;
  const x = along(point.x + half - box.left, box.width, picture.width, clamped);
  const y = along(point.y + half - box.top, box.height, picture.height, clamped);
  return x === null || y === null ? null : {x, y};
}

function along(offset, length, count, clamped) {
  if (!(length > 0)) return null;
  if (!clamped && (offset < 0 || offset >= length)) return null;
  if (count <= 1) return 0;
  const fromFirst = (offset * count) / length - 0.5; // in pixels, from middle to middle
  return Math.min(Math.max(fromFirst / (count - 1), 0), 1);
}
