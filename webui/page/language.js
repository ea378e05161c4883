// The page's texts, from the catalogue of the language that is spoken. Apart from the catalogues no
// file has words for a person in it.

// By the names that they have for themselves.
export const languages = {en: 'English', de: 'Deutsch', ar: 'العربية'};
const rightToLeft = ['ar'];
const keptAs = 'language';

let texts = {};
let plurals;
let numbers;

// As it is written in the country of whoever reads it.
export let locale = 'en';

// `catalogue` maps ids to texts. Times and numbers are those of the first of `wanted` (language tags,
// the most welcome first) that is of the same language.
export function useTexts(language, catalogue, wanted = []) {
  texts = catalogue;
  locale = wanted.find((tag) => languageOf(tag) === language) ?? language;
  plurals = new Intl.PluralRules(language);
  numbers = new Intl.NumberFormat(locale);
}

const languageOf = (tag) => tag.toLowerCase().split('-')[0];

function spokenLanguage() {
  const kept = localStorage.getItem(keptAs);
  return [kept, ...navigator.languages.map(languageOf), 'en'].find((name) => Object.hasOwn(languages, name));
}

// Puts words into the page, which does not show anything before.
export async function loadTexts(language = spokenLanguage()) {
  const catalogue = await (await fetch(`${language}.json`)).json();
  useTexts(language, catalogue, navigator.languages);
  const root = document.documentElement;
  root.lang = language;
  root.dir = rightToLeft.includes(language) ? 'rtl' : 'ltr';
  textsInto(document);
  offerLanguages(language);
  delete root.dataset.wordless;
  for (const listener of listeners) listener();
}

// In the page's menu.
function offerLanguages(spoken) {
  const menu = document.getElementById('language');
  const options = Object.entries(languages).map(([language, name]) => {
    const option = new Option(name, language, false, language === spoken);
    option.lang = language;
    return option;
  });
  if (menu.length === 0) menu.append(...options);
  menu.onchange = async () => {
    try {
      await loadTexts(menu.value);
      localStorage.setItem(keptAs, menu.value);
    } catch {
      menu.value = document.documentElement.lang; // the program is gone
    }
  };
}

const listeners = [];

// `listener` is called whenever the language has changed.
export function onLanguage(listener) {
  listeners.push(listener);
}

export const hasText = (id) => Object.hasOwn(texts, id);

// Values stand where the text has their names in braces. A `count` chooses the form of the text.
export function text(id, values = {}) {
  const form = 'count' in values ? `${id}.${plurals.select(values.count)}` : id;
  if (!hasText(form)) throw new Error(`no text ${form}`);
  return texts[form].replace(/\{(\w+)\}/g, (_, name) => {
    const value = values[name];
    return typeof value === 'number' ? numbers.format(value) : value;
  });
}

// What there is to say of something: {id, what: what it is, next: what to do about it, or ''}.
export function advice(id, values) {
  const next = `${id}.next`;
  return {id, what: text(`${id}.what`, values), next: hasText(next) ? text(next, values) : ''};
}

// A number with so many digits after the point, and at least so many before it.
export function decimal(value, after = 0, before = 1) {
  const digits = {minimumFractionDigits: after, maximumFractionDigits: after, minimumIntegerDigits: before};
  return value.toLocaleString(locale, {useGrouping: false, ...digits});
}

// Markup names its texts: data-text that of an element, data-text-label that of its label.
function textsInto(root) {
  for (const element of root.querySelectorAll('[data-text]')) {
    element.textContent = text(element.dataset.text, valuesOf.get(element));
  }
  for (const element of root.querySelectorAll('[data-text-label]')) {
    element.setAttribute('aria-label', text(element.dataset.textLabel));
  }
  for (const {content} of root.querySelectorAll('template')) textsInto(content);
}

const valuesOf = new WeakMap();

// Gives an element another text, or none, whatever the language becomes.
export function say(element, id, values) {
  setText(element, id && text(id, values));
  valuesOf.set(element, values);
  if (id) element.dataset.text = id;
}

// For what is put together from several texts: whoever sets it does so again in another language.
// Text that stays the same is not set again, so that screen readers do not repeat it.
export function setText(element, said) {
  delete element.dataset.text;
  if (element.textContent !== said) element.textContent = said;
}
