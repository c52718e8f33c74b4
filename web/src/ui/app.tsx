// The page: what was dropped, what is shown of it, and what is said about it.

import { useCallback, useEffect, useMemo, useRef, useState } from 'preact/hooks';
import { takeInside } from '../files/inside';
import { nameOf as fileNameOf, folderOf, stemOf, suffixOf } from '../files/kinds';
import type { Listing, Model } from '../files/tree';
import { Client } from '../run/client';
import {
  defaultImport,
  exportScene,
  importModel,
  infoOf,
  type ExportChoice,
  type ImportChoice,
  type Message,
} from '../run/models';
import { isTag, nameOf } from '../view/names';
import { loadScene } from '../view/scenefile';
import { Viewer, type Clip, type Display, type Surface } from '../view/viewer';
import { DisplayPanel } from './display';
import { collectChosen, collectDropped, type Collect } from './dropping';
import { keyActions, KeyHelp, useKeys } from './keys';
import { Messages } from './messages';
import { ModelList } from './modellist';
import { ExportPanel, ImportPanel } from './options';
import { save, saveAll } from './taking';
import { Transport } from './transport';

interface Asked {
  model: Model;
  how: ImportChoice;
}

interface Shown extends Asked {
  glb: Uint8Array;
  // Of the scene, as a user would have it beside the model.
  glbName: string;
  // A scene file that was compressed; `glb` is not.
  unpacked: boolean;
  skins: string[];
  tags: string[];
  clips: Clip[];
  surfaces: Surface[];
  // Empty until the command has told it.
  info: string;
}

const firstDisplay: Display = {
  wireframe: false,
  backFaces: false,
  skeleton: false,
  boneNames: false,
  tags: false,
  normals: false,
  box: false,
};

const textOf = (error: unknown) => (error instanceof Error ? error.message : String(error));

export function App() {
  const client = useMemo(() => new Client(), []);
  const viewer = useRef<Viewer>();
  const collect = useRef<Collect>();
  const [listing, setListing] = useState<Listing>();
  const [shown, setShown] = useState<Shown>();
  const [asked, setAsked] = useState<Asked>();
  const [messages, setMessages] = useState<Message[]>([]);
  const [busy, setBusy] = useState('');
  const [over, setOver] = useState(false);
  const [display, setDisplay] = useState(firstDisplay);
  // As it is now, for keys that come faster than the page is drawn.
  const chosen = useRef(firstDisplay);
  const [clip, setClip] = useState(0);
  // Set by what shows the frame: the page as a whole is not drawn anew for each.
  const showFrame = useRef<(frame: number) => void>();
  const [playing, setPlaying] = useState(false);
  const [speed, setSpeed] = useState(1);
  // Of what is asked for last; older requests are aborted.
  const latest = useRef(new AbortController());
  // The model that the camera was set to last.
  const viewed = useRef('');

  const say = useCallback((more: Message[]) => setMessages((before) => [...before, ...more]), []);
  const fail = useCallback(
    (error: unknown) => say([{ kind: 'error', text: textOf(error) }]),
    [say],
  );

  const hide = useCallback(() => {
    viewer.current?.clear();
    setShown(undefined);
  }, []);

  // Set up once, when the canvas is there.
  const attach = useCallback(
    (canvas: HTMLCanvasElement | null) => {
      const labels = canvas?.nextElementSibling;
      if (canvas === null || !(labels instanceof HTMLElement) || viewer.current !== undefined) {
        return;
      }
      try {
        const made = new Viewer(canvas, labels, firstDisplay);
        made.onFrame = (frame) => showFrame.current?.(frame);
        made.onFault = (error) => {
          hide();
          fail(new Error(`the scene cannot be drawn: ${textOf(error)}`));
        };
        const scheme = matchMedia('(prefers-color-scheme: dark)');
        made.setDark(scheme.matches);
        scheme.addEventListener('change', () => made.setDark(scheme.matches));
        viewer.current = made;
        window.marrowViewer = made;
      } catch {
        fail(new Error('this browser has no WebGL 2, so models can be taken but not shown'));
      }
    },
    [hide, fail],
  );

  // The page is the newest request's: what an older one comes to is not shown, not even that it fails.
  const request = useCallback(
    async (text: string, run: (signal: AbortSignal) => Promise<void>) => {
      latest.current.abort();
      latest.current = new AbortController();
      const { signal } = latest.current;
      setBusy(text);
      setMessages([]);
      try {
        await run(signal);
      } catch (error) {
        if (!signal.aborted) {
          fail(error);
        }
      }
      if (!signal.aborted) {
        setBusy('');
      }
    },
    [fail],
  );

  const read = useCallback(
    async (wanted: Asked, keepView: boolean, signal: AbortSignal) => {
      const { model, how } = wanted;
      const isScene = model.kind === 'scene';
      setAsked(wanted);
      setBusy(`Reading ${model.path}`);
      try {
        let glb: Uint8Array | undefined;
        let unpacked = false;
        if (isScene) {
          const scene = await client.scene(model.path);
          signal.throwIfAborted();
          glb = scene?.content;
          unpacked = scene?.unpacked === true;
        } else {
          const outcome = await importModel(client, model, how);
          signal.throwIfAborted();
          say(outcome.messages);
          glb = outcome.glb;
        }
        if (glb === undefined) {
          hide();
          return;
        }
        const warn = (text: string) => !signal.aborted && say([{ kind: 'warning', text }]);
        const gltf = await loadScene(glb, model.path, (path) => client.read(path), warn);
        signal.throwIfAborted();
        const names = isScene ? [] : await client.namesIn(folderOf(model.path));
        signal.throwIfAborted();
        const again = keepView && viewed.current === model.path;
        viewer.current?.show(gltf, { game: !isScene, keepView: again });
        viewed.current = model.path;
        setClip(viewer.current?.clipIndex ?? 0);
        const tags: string[] = [];
        gltf.scene.traverse((node) => {
          if (isTag(node)) {
            tags.push(nameOf(node));
          }
        });
        setShown({
          ...wanted,
          glb,
          unpacked,
          glbName: isScene && !unpacked ? fileNameOf(model.path) : `${stemOf(model.path)}.glb`,
          skins: names.filter((name) => suffixOf(name) === 'skin'),
          tags,
          clips: viewer.current?.clips ?? [],
          surfaces: viewer.current?.surfaces() ?? [],
          info: '',
        });
        // It matters less than what is shown: nobody waits for it, and without it there is none.
        const path = unpacked ? `${folderOf(model.path)}${stemOf(model.path)}.glb` : model.path;
        infoOf(client, path, unpacked ? glb : undefined).then(
          (info) => setShown((now) => (now?.glb === glb ? { ...now, info } : now)),
          () => undefined,
        );
      } catch (error) {
        signal.throwIfAborted();
        hide();
        throw new Error(`${model.path}: ${textOf(error)}`);
      }
    },
    [client, hide, say],
  );

  const show = useCallback(
    (model: Model, how: ImportChoice, keepView: boolean) =>
      void request('', (signal) => read({ model, how }, keepView, signal)),
    [request, read],
  );

  // With what is shown first of them; of others the first model by name.
  const open = useCallback(
    (from: Collect, first?: { path: string; how: ImportChoice; keepView: boolean }) =>
      void request('Looking through the files', async (signal) => {
        const sources = await from(signal);
        signal.throwIfAborted();
        const found = await client.open(sources);
        // Also where a newer request began: these are the files that the worker has.
        collect.current = from;
        setListing(found);
        signal.throwIfAborted();
        say(found.faults.map((text): Message => ({ kind: 'warning', text })));
        const same = found.models.find(({ path }) => path === first?.path);
        const model = same ?? found.models[0];
        if (model === undefined) {
          hide();
          setAsked(undefined);
          throw new Error(
            `there is no model among the ${found.files} files: mdc, mds, mdm, glb or gltf`,
          );
        }
        const how = same && first ? first.how : defaultImport;
        await read({ model, how }, same !== undefined && first?.keepView === true, signal);
      }),
    [client, request, read, hide, say],
  );

  const stop = () => {
    latest.current.abort();
    client.stop();
    setBusy('');
    // What is shown is still what was asked for before.
    setAsked(shown ?? asked);
  };

  useEffect(() => {
    client.warm();
    try {
      const inside = takeInside();
      if (inside !== undefined) {
        const { model: path, choice: how = defaultImport, sources } = inside;
        open(() => Promise.resolve(sources), { path, how, keepView: false });
      }
    } catch (error) {
      fail(new Error(`the model in this page cannot be read: ${textOf(error)}`));
    }
  }, [client, open, fail]);

  useEffect(() => {
    const dragged = (event: DragEvent) => {
      event.preventDefault();
      setOver(event.type === 'dragover');
    };
    const dropped = (event: DragEvent) => {
      event.preventDefault();
      setOver(false);
      if (event.dataTransfer !== null && event.dataTransfer.items.length > 0) {
        open(collectDropped(event.dataTransfer));
      }
    };
    addEventListener('dragover', dragged);
    addEventListener('dragleave', dragged);
    addEventListener('drop', dropped);
    return () => {
      removeEventListener('dragover', dragged);
      removeEventListener('dragleave', dragged);
      removeEventListener('drop', dropped);
    };
  }, [open]);

  const again = useCallback(() => {
    if (collect.current !== undefined && busy === '') {
      open(collect.current, asked && { path: asked.model.path, how: asked.how, keepView: true });
    }
  }, [open, asked, busy]);
  const clips = shown?.clips ?? [];

  const play = useCallback((now: boolean) => {
    if (viewer.current !== undefined) {
      viewer.current.playing = now;
    }
    setPlaying(now);
  }, []);
  const chooseClip = useCallback((index: number) => {
    viewer.current?.setClip(index);
    setClip(index);
  }, []);
  const change = useCallback((next: Display) => {
    viewer.current?.setDisplay(next);
    chosen.current = next;
    setDisplay(next);
  }, []);
  const step = (by: number) => {
    play(false);
    viewer.current?.step(by);
  };

  useKeys(
    keyActions({
      play: () => clips.length > 0 && play(viewer.current?.playing === false),
      step,
      clip: (by) => {
        const at = viewer.current?.clipIndex ?? 0;
        if (clips.length > 0) {
          chooseClip((at + by + clips.length) % clips.length);
        }
      },
      orbit: (around, over, distance) => viewer.current?.orbit(around, over, distance),
      fit: () => viewer.current?.fit(),
      again,
      toggle: (name) => change({ ...chosen.current, [name]: !chosen.current[name] }),
    }),
  );

  const takePicture = async () => {
    try {
      const picture = await viewer.current?.picture();
      if (picture !== undefined && shown !== undefined) {
        save(`${stemOf(shown.model.path)}.png`, picture);
      }
    } catch (error) {
      fail(error);
    }
  };
  const takeGame = async (how: ExportChoice) => {
    if (shown === undefined) {
      return;
    }
    await request('Writing the game files', async () => {
      const isPlain = shown.model.kind === 'scene' && !shown.unpacked;
      const path = isPlain ? shown.model.path : folderOf(shown.model.path) + shown.glbName;
      const taken = await exportScene(client, path, isPlain ? undefined : shown.glb, how);
      // Also where another model is read by now: the user still wants the files.
      say(taken.messages);
      if (taken.files.size > 0) {
        saveAll(`${stemOf(path)}-${how.format}.zip`, taken.files);
      }
    });
  };

  const opened = listing !== undefined;
  return (
    <div class={`app${over ? ' over' : ''}${opened ? '' : ' empty'}`}>
      <header>
        <h1>Marrow</h1>
        <FileButton label="Open files" onFiles={(list) => open(collectChosen(list))} />
        <FileButton label="Open folder" folder onFiles={(list) => open(collectChosen(list))} />
        <button type="button" disabled={!opened || busy !== ''} onClick={again} title="R">
          Read again
        </button>
        <p class="busy" role="status">
          {busy}
          {busy !== '' && (
            <button type="button" onClick={stop}>
              Stop
            </button>
          )}
        </p>
      </header>
      <ModelList
        listing={listing}
        shown={shown?.model.path}
        onShow={(model) => show(model, defaultImport, false)}
      />
      <main>
        <div class="stage">
          <canvas
            ref={attach}
            tabIndex={0}
            role="img"
            aria-label={shown ? `Model ${shown.model.path}` : 'No model is shown'}
          />
          <div class="labels" aria-hidden="true" />
          {shown === undefined && (
            <div class="hint">
              <p>Drop models here: files, folders or pk3 archives.</p>
              <p>
                mdc, mds, mdm with mdx, glb, gltf. Everything stays on this machine: the page sends
                nothing anywhere.
              </p>
            </div>
          )}
        </div>
        <Transport
          clips={clips}
          clip={clip}
          showFrame={showFrame}
          playing={playing}
          speed={speed}
          onClip={chooseClip}
          onFrame={(to) => {
            play(false);
            viewer.current?.setFrame(to);
          }}
          onPlay={play}
          onStep={step}
          onSpeed={(to) => {
            if (viewer.current !== undefined) {
              viewer.current.speed = to;
            }
            setSpeed(to);
          }}
        />
        <Messages messages={messages} />
      </main>
      <aside aria-label="Model">
        {shown !== undefined && (
          <>
            <section aria-label="Take">
              <h2>Take</h2>
              <div class="row">
                <button type="button" onClick={() => save(shown.glbName, shown.glb)}>
                  {shown.model.kind === 'scene' ? 'Scene' : 'glb'}
                </button>
                <button type="button" onClick={() => void takePicture()}>
                  Picture
                </button>
              </div>
              <ExportPanel disabled={busy !== ''} onExport={(how) => void takeGame(how)} />
            </section>
            {shown.model.kind !== 'scene' && (
              <ImportPanel
                choice={asked?.model === shown.model ? asked.how : shown.how}
                skins={shown.skins}
                tags={shown.tags}
                models={listing?.models ?? []}
                onChange={(how) => show(shown.model, how, true)}
              />
            )}
            <DisplayPanel
              display={display}
              onChange={change}
              onFit={() => viewer.current?.fit()}
              surfaces={shown.surfaces}
              onSurface={(index, visible) => {
                viewer.current?.setVisible(index, visible);
                const changed = viewer.current?.surfaces() ?? [];
                setShown((now) => now && { ...now, surfaces: changed });
              }}
            />
            <Info text={shown.info} />
          </>
        )}
        <KeyHelp />
      </aside>
    </div>
  );
}

// A file of thousands of frames has megabytes of them.
const mostInfo = 200_000;

function Info({ text }: { text: string }) {
  return (
    <details>
      <summary>What the file says</summary>
      <pre tabIndex={0} aria-label="What the file says">
        {text.slice(0, mostInfo)}
        {text.length > mostInfo && '\n… (marrow info --json tells all)'}
      </pre>
    </details>
  );
}

function FileButton(props: { label: string; folder?: boolean; onFiles: (list: FileList) => void }) {
  const input = useRef<HTMLInputElement>(null);
  return (
    <>
      <button type="button" onClick={() => input.current?.click()}>
        {props.label}
      </button>
      <input
        ref={input}
        type="file"
        multiple
        hidden
        data-kind={props.folder ? 'folder' : 'files'}
        {...(props.folder ? { webkitdirectory: true } : {})}
        onChange={({ currentTarget }) => {
          if (currentTarget.files !== null && currentTarget.files.length > 0) {
            props.onFiles(currentTarget.files);
          }
          // So that the same files can be chosen again.
          currentTarget.value = '';
        }}
      />
    </>
  );
}
