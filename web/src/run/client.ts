// The worker as the page sees it. A run that takes too long is stopped by ending the worker; the
// next one gets the same files.

import workerSource from 'marrow-worker';
import type { Listing, Source } from '../files/tree';
import type { Outcome } from './program';
import type { Answers, Message, Reply, Request, SceneContent } from './protocol';

interface Waiting {
  resolve(answer: unknown): void;
  reject(reason: Error): void;
}

export class Client {
  private worker: Worker | undefined;
  private readonly waiting = new Map<number, Waiting>();
  private lastId = 0;
  private sources: Source[] = [];

  // So that the first run finds the program compiled.
  warm(): void {
    this.ask({ type: 'warm' }).catch(() => undefined);
  }

  async open(sources: Source[]): Promise<Listing> {
    const listing = await this.ask({ type: 'open', sources });
    // Not before, so that a worker that is started anew has the files of the last listing.
    this.sources = sources;
    return listing;
  }

  run(args: string[], extra: { path: string; content: Uint8Array }[] = []): Promise<Outcome> {
    return this.ask({ type: 'run', args, extra });
  }

  read(path: string): Promise<Uint8Array | undefined> {
    return this.ask({ type: 'read', path });
  }

  scene(path: string): Promise<SceneContent | undefined> {
    return this.ask({ type: 'scene', path });
  }

  namesIn(folder: string): Promise<string[]> {
    return this.ask({ type: 'names', folder });
  }

  // All that was asked fails for that reason.
  stop(reason = 'stopped'): void {
    this.worker?.terminate();
    this.worker = undefined;
    const waiting = [...this.waiting.values()];
    this.waiting.clear();
    waiting.forEach(({ reject }) => reject(new Error(reason)));
  }

  private ask<Type extends Request['type']>(
    request: Extract<Request, { type: Type }>,
  ): Promise<Answers[Type]> {
    if (this.worker === undefined) {
      this.worker = this.start();
      if (request.type !== 'open' && this.sources.length > 0) {
        this.ask({ type: 'open', sources: this.sources }).catch(() => undefined);
      }
    }
    const id = ++this.lastId;
    const message: Message = { id, request };
    this.worker.postMessage(message);
    return new Promise((resolve, reject) => {
      this.waiting.set(id, { resolve: (answer) => resolve(answer as Answers[Type]), reject });
    });
  }

  private start(): Worker {
    const url = URL.createObjectURL(new Blob([workerSource], { type: 'text/javascript' }));
    const worker = new Worker(url);
    URL.revokeObjectURL(url);
    worker.onmessage = ({ data }: MessageEvent<Reply>) => {
      const waiting = this.waiting.get(data.id);
      this.waiting.delete(data.id);
      if ('fault' in data) {
        waiting?.reject(new Error(data.fault));
      } else {
        waiting?.resolve(data.answer);
      }
    };
    worker.onerror = ({ message }) => this.stop(message || 'the worker cannot be started');
    return worker;
  }
}
