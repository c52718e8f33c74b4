// Playing: sequences, frames, speed.

import { useState } from 'preact/hooks';
import type { Clip } from '../view/viewer';

const speeds = [0.1, 0.25, 0.5, 1, 2];

// Set to what takes the number of the shown frame.
export type ShowFrame = { current: ((frame: number) => void) | undefined };

export function Transport(props: {
  clips: Clip[];
  clip: number;
  showFrame: ShowFrame;
  playing: boolean;
  speed: number;
  onClip: (index: number) => void;
  onFrame: (frame: number) => void;
  onPlay: (playing: boolean) => void;
  onStep: (by: number) => void;
  onSpeed: (speed: number) => void;
}) {
  const { clips, clip, playing } = props;
  const frames = clips[clip]?.frames ?? 1;
  const none = clips.length === 0;
  return (
    <div class="transport" role="group" aria-label="Playing">
      <label>
        <span>Sequence</span>
        <select
          disabled={none}
          value={none ? 'none' : clip}
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
      <Scrub
        last={frames - 1}
        disabled={none}
        showFrame={props.showFrame}
        onFrame={props.onFrame}
      />
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

function Scrub(props: {
  last: number;
  disabled: boolean;
  showFrame: ShowFrame;
  onFrame: (frame: number) => void;
}) {
  const { last } = props;
  const [frame, setFrame] = useState(0);
  props.showFrame.current = setFrame;
  return (
    <label class="scrub">
      <span class="hidden">Frame</span>
      <input
        type="range"
        min={0}
        max={last}
        step={1}
        value={frame}
        disabled={props.disabled}
        aria-valuetext={`frame ${frame} of ${last}`}
        onInput={({ currentTarget }) => props.onFrame(Number(currentTarget.value))}
      />
      <output>
        {frame} / {last}
      </output>
    </label>
  );
}
