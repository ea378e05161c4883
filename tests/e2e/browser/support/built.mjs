import { fileURLToPath } from 'node:url';

const release = new URL('../../../../build/release/', import.meta.url);
const built = (path) => fileURLToPath(new URL(path, release));

// The programs that the tests run: those that the environment names, or of the release build.
export const program =
  process.env.QUORVIN_HOST ?? built('Quorvin Support.app/Contents/Linux/quorvin-support');
export const screenChanger =
  process.env.QUORVIN_SCREEN_CHANGER ?? built('tests/e2e/browser/screen_changer');
export const inputWindow =
  process.env.QUORVIN_INPUT_WINDOW ?? built('tests/e2e/browser/input_window');
export const keyTableFolder =
  process.env.QUORVIN_KEY_TABLE_FOLDER ?? built('webui/generated/');

// Where pictures of the page are left to be looked at.
export const artifacts = fileURLToPath(new URL('../../artifacts/', import.meta.url));
