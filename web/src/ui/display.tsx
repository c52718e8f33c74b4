// How the model is drawn.

import type { Display, Surface } from '../view/viewer';

const switches: [keyof Display, string][] = [
  ['wireframe', 'Wireframe'],
  ['backFaces', 'Back faces'],
  ['skeleton', 'Skeleton'],
  ['boneNames', 'Bone names'],
  ['tags', 'Tags'],
  ['normals', 'Normals'],
  ['box', 'Bounding box'],
];

export function DisplayPanel(props: {
  display: Display;
  onChange: (display: Display) => void;
  onFit: () => void;
  surfaces: Surface[];
  onSurface: (index: number, visible: boolean) => void;
}) {
  const { display, surfaces } = props;
  return (
    <>
      <section aria-label="Show">
        <h2>Show</h2>
        <div class="switches">
          {switches.map(([name, label]) => (
            <label key={name}>
              <input
                type="checkbox"
                checked={display[name]}
                onChange={({ currentTarget }) =>
                  props.onChange({ ...display, [name]: currentTarget.checked })
                }
              />
              {label}
            </label>
          ))}
        </div>
        <button type="button" onClick={props.onFit} title="F">
          Fit in view
        </button>
      </section>
      <details open={surfaces.length <= 12}>
        <summary>Surfaces ({surfaces.length})</summary>
        <div class="surfaces">
          {surfaces.map(({ name, visible, vertices, triangles }, i) => (
            <label key={i}>
              <input
                type="checkbox"
                checked={visible}
                onChange={({ currentTarget }) => props.onSurface(i, currentTarget.checked)}
              />
              <span>{name || `surface ${i}`}</span>
              <small>
                {vertices} vertices, {triangles} triangles
              </small>
            </label>
          ))}
        </div>
      </details>
    </>
  );
}
