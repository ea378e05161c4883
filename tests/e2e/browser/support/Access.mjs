import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';

const axe = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const narrow = { width: 320, height: 700 };

// Fails where something on the page, in the state that it is in, cannot be perceived or reached by
// everybody: in both colour schemes, and in the width of a small telephone, which is that of a
// larger screen at a zoom of 400 %.
export async function assertForEverybody(page, state) {
  const size = page.viewportSize();
  await page.evaluate(axe);
  for (const colorScheme of ['light', 'dark']) {
    await page.emulateMedia({ colorScheme, reducedMotion: 'reduce' });
    assert.deepEqual(await page.evaluate(violations), [], `${state}, ${colorScheme}`);
  }
  await page.setViewportSize(narrow);
  await assertNothingCut(page, `${state}, ${narrow.width} px wide`);
  await page.setViewportSize(size);
  await page.emulateMedia({ colorScheme: 'light', reducedMotion: null });
}

export async function assertNothingCut(page, state) {
  assert.deepEqual(await page.evaluate(whatIsCut), [], state);
}

// In a page.
async function violations() {
  const { violations } = await globalThis.axe.run(document, { resultTypes: ['violations'] });
  return violations.flatMap(({ id, nodes }) =>
    nodes.map(({ html, failureSummary }) => `${id}: ${html} ${failureSummary}`),
  );
}

// In a page: what is wider than the window, or larger than the place that it has.
function whatIsCut() {
  const wide = document.scrollingElement.clientWidth;
  const isSeen = (element) => element.checkVisibility({ visibilityProperty: true });
  const isCut = (element) => {
    const { left, right } = element.getBoundingClientRect();
    if (left < 0 || right > wide + 0.5) return true;
    if (getComputedStyle(element).overflowX === 'visible' || element.tagName === 'INPUT') return false;
    const isLow = element.clientHeight + 1 < element.scrollHeight;
    const isNarrow = element.clientWidth + 1 < element.scrollWidth;
    return isNarrow || (isLow && getComputedStyle(element).overflowY === 'hidden');
  };
  const elements = [...document.body.querySelectorAll('*')].filter(
    (element) => isSeen(element) && !element.closest('.unseen, svg'),
  );
  return elements.filter(isCut).map((element) => element.outerHTML.slice(0, 160));
}
