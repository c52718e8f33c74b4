// The page by keyboard.

import { useEffect } from 'preact/hooks';
import type { Display } from '../view/viewer';

export interface Actions {
  play(): void;
  step(by: number): void;
  clip(by: number): void;
  orbit(around: number, over: number, distance?: number): void;
  fit(): void;
  again(): void;
  toggle(name: keyof Display): void;
}

type Keys = Record<string, () => void>;

export function keyActions(actions: Actions): Keys {
  return {
    ' ': () => actions.play(),
    ArrowLeft: () => actions.step(-1),
    ArrowRight: () => actions.step(1),
    PageUp: () => actions.clip(-1),
    PageDown: () => actions.clip(1),
    'Shift+ArrowLeft': () => actions.orbit(-10, 0),
    'Shift+ArrowRight': () => actions.orbit(10, 0),
    'Shift+ArrowUp': () => actions.orbit(0, -10),
    'Shift+ArrowDown': () => actions.orbit(0, 10),
    '+': () => actions.orbit(0, 0, 0.85),
    '-': () => actions.orbit(0, 0, 1 / 0.85),
    f: () => actions.fit(),
    r: () => actions.again(),
    w: () => actions.toggle('wireframe'),
    b: () => actions.toggle('skeleton'),
    m: () => actions.toggle('boneNames'),
    t: () => actions.toggle('tags'),
    n: () => actions.toggle('normals'),
    x: () => actions.toggle('box'),
    k: () => actions.toggle('backFaces'),
  };
}

// Where a key has a meaning of its own, it keeps it: texts, lists, sliders, the messages;
// the space bar on a button.
function isTaken(target: EventTarget | null, key: string): boolean {
  if (!(target instanceof HTMLElement)) {
    return false;
  }
  if (target.closest('select, textarea, input:not([type=checkbox]), pre, [role=log]')) {
    return true;
  }
  return key === ' ' && target.closest('button, summary, input, a') !== null;
}

export function useKeys(keys: Keys): void {
  useEffect(() => {
    const pressed = (event: KeyboardEvent) => {
      if (event.ctrlKey || event.metaKey || event.altKey || isTaken(event.target, event.key)) {
        return;
      }
      const isArrow = event.key.startsWith('Arrow');
      const name = event.shiftKey && isArrow ? `Shift+${event.key}` : event.key.toLowerCase();
      const action = keys[name] ?? keys[event.key];
      if (action !== undefined) {
        event.preventDefault();
        action();
      }
    };
    addEventListener('keydown', pressed);
    return () => removeEventListener('keydown', pressed);
  });
}

const help: [string, string][] = [
  ['Space', 'play or pause'],
  ['← →', 'a frame back or on'],
  ['Page ↑ ↓', 'sequence before or after'],
  ['Shift + arrows', 'orbit'],
  ['+ -', 'nearer, farther'],
  ['F', 'all in sight'],
  ['R', 'read the files again'],
  ['W B M T N X K', 'wireframe, bones, bone names, tags, normals, box, back faces'],
];

export function KeyHelp() {
  return (
    <details>
      <summary>Keys</summary>
      <dl class="keys">
        {help.map(([key, text]) => (
          <>
            <dt>
              <kbd>{key}</kbd>
            </dt>
            <dd>{text}</dd>
          </>
        ))}
      </dl>
    </details>
  );
}
