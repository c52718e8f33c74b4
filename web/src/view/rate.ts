// How many frames of a clip there are to the second.

import type { AnimationClip } from 'three';

// Where keys do not tell.
const usual = 20;
const highest = 1000;
// Times are rounded.
const wholeFrame = 0.01;

// A whole rate at whose every frame some channel has a key, as the command writes and reads them.
// Below `least` such keys are taken for ones that a person set.
export function rateOf(clip: AnimationClip, least: number): number {
  let rate = 0;
  for (const { times } of clip.tracks) {
    const [first, last] = [times[0] ?? 0, times[times.length - 1] ?? 0];
    const whole = last > first ? Math.round((times.length - 1) / (last - first)) : 0;
    const regular = times.every((time, k) => Math.abs((time - first) * whole - k) < wholeFrame);
    if (whole >= least && whole <= highest && regular) {
      rate = Math.max(rate, whole);
    }
  }
  return rate === 0 ? usual : rate;
}
