// What the page and its worker say to each other. Requests are answered in their order.

import type { Listing, Source } from '../files/tree';
import type { Outcome } from './program';

export type Request =
  | { type: 'warm' }
  | { type: 'open'; sources: Source[] }
  | { type: 'run'; args: string[]; extra: { path: string; content: Uint8Array }[] }
  | { type: 'read'; path: string }
  | { type: 'scene'; path: string }
  | { type: 'names'; folder: string };

// A scene file as it is, or with what is compressed in it unpacked: then it is a .glb.
export interface SceneContent {
  content: Uint8Array;
  unpacked: boolean;
}

export interface Answers {
  warm: undefined;
  open: Listing;
  run: Outcome;
  read: Uint8Array | undefined;
  scene: SceneContent | undefined;
  names: string[];
}

export type Message = { id: number; request: Request };
export type Reply = { id: number; answer: unknown } | { id: number; fault: string };
