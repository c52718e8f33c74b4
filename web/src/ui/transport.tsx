// Playing: sequences, frames, speed.

import type { Clip } from '../view/viewer';

const speeds = [0.1, 0.25, 0.5, 1, 2];

export function Transport(props: {
  clips: Clip[];
  clip: number;
  frame: number;
  playing: boolean;
  speed: number;
  onClip: (index: number) => void;
  onFrame: (frame: number) => void;
  onPlay: (playing: boolean) => void;
  onStep: (by: number) => void;
  onSpeed: (speed: number) => void;
}) {
  const { clips, clip, frame, playing } = props;
  const frames = clips[clip]?.frames ?? 1;
  const none = clips.length === 0;
  return (
    <div class="transport" role="group" aria-label="Playing">
      <label>
        <span>Sequence</span>
        <select
          disabled={none}
          value={clip}
          onChange={({ currentTarget }) => props.onClip(Number(currentTarget.value))}
        >
          {none && <option>none</option>}
          {clips.map(({ name, frames: count, rate }, i) => (
            <option key={i} value={i}>
              {name || `sequence ${i}`} ({count} frames, {rate}/s)
            </option>
          ))}
        </select>
      </label>
      <div class="row">
        <button type="button" disabled={none} aria-label="Frame back" onClick={() => props.onStep(-1)}>
          ◂
        </button>
        <button type="button" class="play" disabled={none} onClick={() => props.onPlay(!playing)}>
          {playing ? 'Pause' : 'Play'}
        </button>
        <button type="button" disabled={none} aria-label="Frame on" onClick={() => props.onStep(1)}>
          ▸
        </button>
      </div>
      <label class="scrub">
        <span class="hidden">Frame</span>
        <input
          type="range"
          min={0}
          max={frames - 1}
          step={1}
          value={frame}
          disabled={none}
          aria-valuetext={`frame ${frame} of ${frames - 1}`}
          onInput={({ currentTarget }) => props.onFrame(Number(currentTarget.value))}
        />
        <output>
          {frame} / {frames - 1}
        </output>
      </label>
      <label>
        <span>Speed</span>
        <select
          value={props.speed}
          onChange={({ currentTarget }) => props.onSpeed(Number(currentTarget.value))}
        >
          {speeds.map((speed) => (
            <option key={speed} value={speed}>
              {speed}×
            </option>
          ))}
        </select>
      </label>
    </div>
  );
}
