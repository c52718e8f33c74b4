// The pictures of docs/browser.md, taken by the test of the page where a folder is named:
//   scripts/test-web.sh BUILD_DIR docs/images

import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

// `models` holds the sample's models, `game` is the folder above it.
export async function takePictures({ newTab, choose, idle, game, models, pictures }) {
  // An mds has no quotes in its skin files.
  writeFileSync(join(models, 'sample.skin'), 'body,models/players/sample/figure.tga\n');
  for (const [name, scheme, width, height, keys] of [
    ['light', 'light', 1280, 800, 'bt'], ['dark', 'dark', 1280, 800, 'wx'], ['phone', 'light', 390, 844, ''],
  ]) {
    const tab = await newTab();
    await tab.setViewportSize({ width, height });
    await tab.emulateMedia({ colorScheme: scheme });
    await choose(tab, [game], 'folder');
    await tab.locator('.models button', { hasText: '.mds' }).click();
    await idle(tab);
    await tab.getByRole('combobox', { name: /^Sequence/ }).selectOption({ index: 1 });
    await tab.getByRole('slider').fill('6');
    await tab.locator('canvas').focus();
    for (const key of keys) {
      await tab.keyboard.press(key);
    }
    await tab.evaluate(() => document.activeElement.blur());
    await tab.waitForTimeout(300);
    await tab.screenshot({ path: join(pictures, `browser-${name}.png`) });
    await tab.close();
  }
}
