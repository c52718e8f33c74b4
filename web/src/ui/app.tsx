// The page: what was dropped, what is shown of it, and what is said about it.

import { useCallback, useEffect, useMemo, useRef, useState } from 'preact/hooks';
import { nameOf as fileNameOf, folderOf, stemOf, suffixOf } from '../files/kinds';
import type { Listing, Model } from '../files/tree';
import { Client, Stopped } from '../run/client';
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

interface Shown {
  model: Model;
  glb: Uint8Array;
  // Of the scene, as a user would have it beside the model.
  glbName: string;
  skins: string[];
  tags: string[];
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
  const [choice, setChoice] = useState<ImportChoice>(defaultImport);
  const [messages, setMessages] = useState<Message[]>([]);
  const [info, setInfo] = useState('');
  const [busy, setBusy] = useState('');
  const [over, setOver] = useState(false);
  const [display, setDisplay] = useState(firstDisplay);
  // As it is now, for keys that come faster than the page is drawn.
  const chosen = useRef(firstDisplay);
  const [clips, setClips] = useState<Clip[]>([]);
  const [clip, setClip] = useState(0);
  const [frame, setFrame] = useState(0);
  const [playing, setPlaying] = useState(false);
  const [speed, setSpeed] = useState(1);
  const [surfaces, setSurfaces] = useState<Surface[]>([]);
  const latest = useRef(0);

  const say = useCallback((more: Message[]) => setMessages((before) => [...before, ...more]), []);
  const fail = useCallback(
    (error: unknown) => say([{ kind: 'error', text: textOf(error) }]),
    [say],
  );

  // Set up once, when the canvas is there.
  const attach = useCallback(
    (canvas: HTMLCanvasElement | null) => {
      const labels = canvas?.nextElementSibling;
      if (canvas === null || !(labels instanceof HTMLElement) || viewer.current !== undefined) {
        return;
      }
      try {
        const made = new Viewer(canvas, labels, firstDisplay);
        made.onFrame = setFrame;
        made.onFault = (error) =>
          say([{ kind: 'error', text: `the scene cannot be drawn: ${textOf(error)}` }]);
        const scheme = matchMedia('(prefers-color-scheme: dark)');
        made.setDark(scheme.matches);
        scheme.addEventListener('change', () => made.setDark(scheme.matches));
        viewer.current = made;
        window.marrowViewer = made;
      } catch {
        fail(new Error('this browser has no WebGL 2, so models can be taken but not shown'));
      }
    },
    [say, fail],
  );

  const show = useCallback(
    async (model: Model, how: ImportChoice, keepView: boolean) => {
      const mine = ++latest.current;
      const current = () => mine === latest.current;
      setChoice(how);
      setMessages([]);
      setBusy(`Reading ${model.path}`);
      try {
        let glb: Uint8Array | undefined;
        if (model.kind === 'scene') {
          glb = await client.read(model.path);
        } else {
          const outcome = await importModel(client, model, how);
          if (!current()) {
            return;
          }
          say(outcome.messages);
          glb = outcome.glb;
        }
        if (glb === undefined) {
          viewer.current?.clear();
          setShown(undefined);
          setClips([]);
          setSurfaces([]);
          setInfo('');
          return;
        }
        const warn = (text: string) => current() && say([{ kind: 'warning', text }]);
        const gltf = await loadScene(glb, model.path, (path) => client.read(path), warn);
        const names = model.kind === 'scene' ? [] : await client.namesIn(folderOf(model.path));
        if (!current()) {
          return;
        }
        viewer.current?.show(gltf, { game: model.kind !== 'scene', keepView });
        setClips(viewer.current?.clips ?? []);
        setClip(viewer.current?.clipIndex ?? 0);
        setSurfaces(viewer.current?.surfaces() ?? []);
        const tags: string[] = [];
        gltf.scene.traverse((node) => {
          if (isTag(node)) {
            tags.push(nameOf(node));
          }
        });
        const isScene = model.kind === 'scene';
        setShown({
          model,
          glb,
          glbName: isScene ? fileNameOf(model.path) : `${stemOf(model.path)}.glb`,
          skins: names.filter((name) => suffixOf(name) === 'skin'),
          tags,
        });
        setBusy('');
        // It matters less than what is shown: without it there is none.
        const said = await infoOf(client, model.path).catch(() => '');
        if (current()) {
          setInfo(said);
        }
      } catch (error) {
        if (current() && !(error instanceof Stopped)) {
          viewer.current?.clear();
          setShown(undefined);
          setClips([]);
          setSurfaces([]);
          say([{ kind: 'error', text: `${model.path}: ${textOf(error)}` }]);
        }
      } finally {
        if (current()) {
          setBusy('');
        }
      }
    },
    [client, say],
  );

  const open = useCallback(
    async (from: Collect, again?: { model: Model; how: ImportChoice }) => {
      collect.current = from;
      ++latest.current;
      setBusy('Looking through the files');
      setMessages([]);
      try {
        const found = await client.open(await from());
        setListing(found);
        const faults = found.faults.map((text): Message => ({ kind: 'warning', text }));
        const next = again
          ? found.models.find(({ path }) => path === again.model.path)
          : found.models[0];
        if (next !== undefined) {
          await show(next, again?.how ?? defaultImport, again !== undefined);
        } else {
          viewer.current?.clear();
          setShown(undefined);
          const text = `there is no model among the ${found.files} files: mdc, mds, mdm, glb or gltf`;
          say([{ kind: 'error', text }]);
        }
        say(faults);
      } catch (error) {
        fail(error);
      } finally {
        setBusy('');
      }
    },
    [client, show, say, fail],
  );

  useEffect(() => {
    client.warm();
  }, [client]);

  useEffect(() => {
    const dragged = (event: DragEvent) => {
      event.preventDefault();
      setOver(event.type === 'dragover');
    };
    const dropped = (event: DragEvent) => {
      event.preventDefault();
      setOver(false);
      if (event.dataTransfer !== null && event.dataTransfer.items.length > 0) {
        void open(collectDropped(event.dataTransfer));
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
    if (collect.current !== undefined) {
      void open(collect.current, shown && { model: shown.model, how: choice });
    }
  }, [open, shown, choice]);

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
    setBusy('Writing the game files');
    try {
      const isScene = shown.model.kind === 'scene';
      const path = isScene ? shown.model.path : folderOf(shown.model.path) + shown.glbName;
      const taken = await exportScene(client, path, isScene ? undefined : shown.glb, how);
      setMessages(taken.messages);
      if (taken.files.size > 0) {
        saveAll(`${stemOf(path)}-${how.format}.zip`, taken.files);
      }
    } catch (error) {
      if (!(error instanceof Stopped)) {
        fail(error);
      }
    } finally {
      setBusy('');
    }
  };

  const opened = listing !== undefined;
  return (
    <div class={`app${over ? ' over' : ''}${opened ? '' : ' empty'}`}>
      <header>
        <h1>Marrow</h1>
        <FileButton label="Open files" onFiles={(list) => void open(collectChosen(list))} />
        <FileButton label="Open folder" folder onFiles={(list) => void open(collectChosen(list))} />
        <button type="button" disabled={!opened || busy !== ''} onClick={again} title="R">
          Read again
        </button>
        <p class="busy" role="status">
          {busy}
          {busy !== '' && (
            <button type="button" onClick={() => client.stop()}>
              Stop
            </button>
          )}
        </p>
      </header>
      <ModelList
        listing={listing}
        shown={shown?.model.path}
        onShow={(model) => void show(model, defaultImport, false)}
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
          frame={frame}
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
                choice={choice}
                skins={shown.skins}
                tags={shown.tags}
                models={listing?.models ?? []}
                onChange={(how) => void show(shown.model, how, true)}
              />
            )}
            <DisplayPanel
              display={display}
              onChange={change}
              onFit={() => viewer.current?.fit()}
              surfaces={surfaces}
              onSurface={(index, visible) => {
                viewer.current?.setVisible(index, visible);
                setSurfaces(viewer.current?.surfaces() ?? []);
              }}
            />
            <Info text={info} />
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
