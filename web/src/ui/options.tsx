// What a run of the command is given: skins and attached models, and the options of an export.

import { useState } from 'preact/hooks';
import type { Model } from '../files/tree';
import type { ExportChoice, ImportChoice } from '../run/models';

export function ImportPanel(props: {
  choice: ImportChoice;
  skins: string[];
  tags: string[];
  models: Model[];
  onChange: (choice: ImportChoice) => void;
}) {
  const { choice, skins, tags, models, onChange } = props;
  const [tag, setTag] = useState('');
  const [path, setPath] = useState('');
  const game = models.filter(({ kind }) => kind !== 'scene');
  const onTag = tags.includes(tag) ? tag : (tags[0] ?? '');
  const hung = game.some((model) => model.path === path) ? path : (game[0]?.path ?? '');
  return (
    <section aria-label="Skin and attached models">
      {skins.length > 0 && (
        <label>
          <span>Skin</span>
          <select
            value={choice.noSkin ? 'none' : `=${choice.skin}`}
            onChange={({ currentTarget: { value } }) =>
              onChange({ ...choice, noSkin: value === 'none', skin: value.replace(/^none$|^=/, '') })
            }
          >
            <option value="=">the first by name</option>
            {skins.map((name) => (
              <option key={name} value={`=${name}`}>
                {name}
              </option>
            ))}
            <option value="none">none</option>
          </select>
        </label>
      )}
      {tags.length > 0 && (
        <details>
          <summary>Attached models ({choice.attachments.length})</summary>
          <ul>
            {choice.attachments.map((attached, i) => (
              <li key={i}>
                {attached.tag}: {attached.path}{' '}
                <button
                  type="button"
                  aria-label={`Take ${attached.path} off ${attached.tag}`}
                  onClick={() =>
                    onChange({ ...choice, attachments: choice.attachments.filter((_, k) => k !== i) })
                  }
                >
                  ×
                </button>
              </li>
            ))}
          </ul>
          <label>
            <span>Tag</span>
            <select value={onTag} onChange={({ currentTarget }) => setTag(currentTarget.value)}>
              {tags.map((name) => (
                <option key={name}>{name}</option>
              ))}
            </select>
          </label>
          <label>
            <span>Model</span>
            <select value={hung} onChange={({ currentTarget }) => setPath(currentTarget.value)}>
              {game.map((model) => (
                <option key={model.path}>{model.path}</option>
              ))}
            </select>
          </label>
          <button
            type="button"
            onClick={() =>
              onChange({ ...choice, attachments: [...choice.attachments, { tag: onTag, path: hung }] })
            }
          >
            Attach
          </button>
        </details>
      )}
    </section>
  );
}

const firstExport: ExportChoice = {
  format: 'mds',
  facing: '+z',
  scale: '40',
  fps: '',
  sequences: true,
  helperBones: true,
  skin: false,
  images: false,
};
const boxes = [
  ['sequences', 'Sequence file'],
  ['helperBones', 'Helper bones'],
  ['skin', 'Skin file'],
  ['images', 'Images'],
] as const;
const formats: [ExportChoice['format'], string][] = [
  ['mdc', 'mdc (vertices)'],
  ['mds', 'mds (skeleton)'],
  ['mdm', 'mdm and mdx (skeleton)'],
];

export function ExportPanel(props: { disabled: boolean; onExport: (how: ExportChoice) => void }) {
  const [how, setHow] = useState(firstExport);
  const skeletal = how.format !== 'mdc';
  return (
    <details>
      <summary>Game files</summary>
      <form
        onSubmit={(event) => {
          event.preventDefault();
          props.onExport(how);
        }}
      >
        <label>
          <span>Format</span>
          <select
            value={how.format}
            onChange={({ currentTarget }) =>
              setHow({ ...how, format: currentTarget.value as ExportChoice['format'] })
            }
          >
            {formats.map(([format, text]) => (
              <option key={format} value={format}>
                {text}
              </option>
            ))}
          </select>
        </label>
        <label>
          <span>Looks along</span>
          <select
            value={how.facing}
            onChange={({ currentTarget }) => setHow({ ...how, facing: currentTarget.value })}
          >
            {['+z', '-z', '+x', '-x'].map((axis) => (
              <option key={axis}>{axis}</option>
            ))}
          </select>
        </label>
        <label>
          <span>Units to the metre</span>
          <input
            type="number"
            required
            min="0.0001"
            max="1000000"
            step="any"
            value={how.scale}
            onInput={({ currentTarget }) => setHow({ ...how, scale: currentTarget.value })}
          />
        </label>
        <label>
          <span>Frames a second</span>
          <input
            type="number"
            placeholder="each clip's own"
            min="1"
            max="1000"
            step="any"
            value={how.fps}
            onInput={({ currentTarget }) => setHow({ ...how, fps: currentTarget.value })}
          />
        </label>
        {boxes.map(([key, text]) => (
          <label class="check" key={key}>
            <input
              type="checkbox"
              disabled={!skeletal && key !== 'images'}
              checked={how[key]}
              onChange={({ currentTarget }) => setHow({ ...how, [key]: currentTarget.checked })}
            />
            {text}
          </label>
        ))}
        <button type="submit" disabled={props.disabled}>
          Take game files
        </button>
      </form>
    </details>
  );
}
