// What the page asks the command for, as a user would type it.

import { folderOf, stemOf } from '../files/kinds';
import type { Model } from '../files/tree';
import type { Client } from './client';
import type { Outcome } from './program';

export interface Message {
  kind: 'error' | 'warning' | 'note';
  text: string;
}

export interface Attachment {
  tag: string;
  path: string;
  // The first by name without one.
  skin?: string;
  // Of an mdc that stays at one.
  frame?: number;
}

export interface ImportChoice {
  // Empty: what the command takes by itself.
  skin: string;
  noSkin: boolean;
  attachments: Attachment[];
  // Further ones of `import`, as typed.
  options: string[];
}

export interface ExportChoice {
  format: 'mdc' | 'mds' | 'mdm';
  facing: string;
  scale: string;
  // Empty: each clip's own.
  fps: string;
  sequences: boolean;
  helperBones: boolean;
  skin: boolean;
  images: boolean;
}

export interface Taken {
  files: Map<string, Uint8Array>;
  messages: Message[];
}

export const defaultImport: ImportChoice = { skin: '', noSkin: false, attachments: [], options: [] };

// A path that begins with a dash would be an option.
const named = (path: string) => (path.startsWith('-') ? `./${path}` : path);

export async function importModel(
  client: Client,
  model: Model,
  { skin, noSkin, attachments, options }: ImportChoice,
): Promise<{ glb: Uint8Array | undefined; messages: Message[] }> {
  const path = `${folderOf(model.path)}${stemOf(model.path)}.glb`;
  const args = ['import', named(model.path), '-o', named(path), ...options];
  if (noSkin) {
    args.push('--no-skin');
  } else if (skin !== '') {
    args.push('--skin', skin);
  }
  for (const { tag, path: attached, skin: worn, frame } of attachments) {
    args.push('--attach', `${tag}=${attached}${frame === undefined ? '' : `:${frame}`}`);
    if (worn && !noSkin) {
      args.push('--skin', `${tag}:${worn}`);
    }
  }
  const outcome = await client.run(args);
  const glb = outcome.code === 0 ? outcome.written.get(path) : undefined;
  return { glb, messages: messagesOf(outcome) };
}

export async function exportScene(
  client: Client,
  path: string,
  content: Uint8Array | undefined,
  choice: ExportChoice,
): Promise<Taken> {
  const target = `${folderOf(path)}${stemOf(path)}.${choice.format}`;
  const args = ['export', named(path), '-o', named(target), '--facing', choice.facing];
  args.push('--scale', choice.scale, ...(choice.fps === '' ? [] : ['--fps', choice.fps]));
  if (choice.format === 'mdm') {
    args.push('--mdx', named(target.replace(/mdm$/, 'mdx')));
  }
  const skeletal = choice.format !== 'mdc';
  const beside = [
    ...(skeletal && choice.sequences ? ['--sequences'] : []),
    ...(skeletal && choice.skin ? ['--write-skin'] : []),
    ...(choice.images ? ['--write-images'] : []),
  ];
  // What was dropped stays as it is wherever it came from.
  args.push(...beside, ...(beside.length > 0 ? ['--force'] : []));
  args.push(...(skeletal && !choice.helperBones ? ['--no-helper-bones'] : []));
  const outcome = await client.run(args, content === undefined ? [] : [{ path, content }]);
  const own = [...outcome.written].filter(([name]) => name !== path);
  return { files: new Map(outcome.code === 0 ? own : []), messages: messagesOf(outcome) };
}

// `content` stands for the file's own where that is compressed.
export async function infoOf(
  client: Client,
  path: string,
  content: Uint8Array | undefined,
): Promise<string> {
  const extra = content === undefined ? [] : [{ path, content }];
  const outcome = await client.run(['info', '--json', named(path)], extra);
  return outcome.code === 0 ? outcome.stdout : '';
}

// The lines of a run, as they come; what is written is a note.
export function messagesOf(outcome: Outcome): Message[] {
  const messages: Message[] = [];
  for (const line of outcome.stderr.split('\n')) {
    const [, kind, text] = /^marrow: (error|warning|note): (.*)$/.exec(line) ?? [];
    if (text !== undefined) {
      messages.push({ kind: kind as Message['kind'], text });
    } else if (line.trim() !== '') {
      messages.push({ kind: outcome.code === 0 ? 'note' : 'error', text: line });
    }
  }
  for (const line of outcome.stdout.split('\n').filter((text) => text.trim() !== '')) {
    messages.push({ kind: 'note', text: line });
  }
  if (outcome.code !== 0 && !messages.some(({ kind }) => kind === 'error')) {
    messages.push({ kind: 'error', text: `the run ended with exit code ${outcome.code}` });
  }
  return messages;
}
