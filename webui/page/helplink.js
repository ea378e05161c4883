// Leads from an error to its row in the table of all errors.

import {say} from './language.js';

// The errors among the texts that are linked from somewhere; most stages are none.
const withRow = new RegExp(
  '^(error|problem)\\.\\w+$|^headline\\.unknown$|^help\\.link\\w+$' +
    '|^guest\\.(lost|expired|tooManyTries|refused|gone)$' +
    '|^stage\\.(resuming|refused|unanswered|wrong|expired|tooManyTries|taken|version|broken)$' +
    '|^stage\\.(unreachable|noAnswer|gone|noWay|lost)$',
);

// Behind the element that says what `id` does stands a link from now on, if that is an error.
export function linkHelp(element, id) {
  const behind = element.nextElementSibling;
  const old = behind?.classList.contains('more') ? behind : null;
  if (!withRow.test(id ?? '')) {
    old?.remove();
    return;
  }
  const link = old ?? document.createElement('a');
  Object.assign(link, {className: 'more fine', href: `help.html#${id}`, target: '_blank', rel: 'noopener'});
  say(link, 'error.more');
  if (!old) element.after(link);
}
