"""Long work of an operator: at once from Python and without a window, else in slices that leave
the window alive, with progress in the status bar and Esc to end it."""

from __future__ import annotations

import time
import traceback
from typing import Iterator

import bpy

from .program import ProgramError

SLICE_SECONDS = 0.05
TIMER_SECONDS = 0.02

# Operators at work in a window.
running = 0


class Stepping:
    """Mixed into an operator that has `steps(context)`, which yields (share, text), and
    `finish(context)`, which says whether anything was done. What ends the steps early is thrown
    into them: they take back what they did."""

    interactive = False
    _timer = None

    def steps(self, context: bpy.types.Context) -> Iterator[tuple[float, str]]:
        raise NotImplementedError

    def finish(self, context: bpy.types.Context) -> set[str]:
        raise NotImplementedError

    def execute(self, context: bpy.types.Context) -> set[str]:
        self._steps = self.steps(context)
        if bpy.app.background or not self.interactive:
            if self._advance(context, None):
                return self.finish(context)
            return {"CANCELLED"}
        global running
        running += 1
        manager = context.window_manager
        manager.progress_begin(0, 100)
        self._timer = manager.event_timer_add(TIMER_SECONDS, window=context.window)
        manager.modal_handler_add(self)
        return {"RUNNING_MODAL"}

    def modal(self, context: bpy.types.Context, event: bpy.types.Event) -> set[str]:
        if event.type == "ESC" and event.value == "PRESS":
            self._steps.close()
            self._end(context)
            self.report({"WARNING"}, "cancelled: nothing was changed or written")
            return {"CANCELLED"}
        if event.type != "TIMER":
            return {"RUNNING_MODAL"}
        done = self._advance(context, time.monotonic() + SLICE_SECONDS)
        if done is None:
            return {"RUNNING_MODAL"}
        self._end(context)
        return self.finish(context) if done else {"CANCELLED"}

    def cancel(self, context: bpy.types.Context) -> None:
        """Blender quits or opens another file."""
        if self._timer:
            self._steps.close()
            self._end(context)

    def _advance(self, context: bpy.types.Context, until: float | None) -> bool | None:
        """True where the steps are through, False where they failed, None where more is left."""
        try:
            for share, text in self._steps:
                if until is not None:
                    context.window_manager.progress_update(int(100 * share))
                    context.workspace.status_text_set(f"{text} ({share:.0%})    Esc: cancel")
                    if time.monotonic() > until:
                        return None
        except ProgramError as fault:
            self.report({"ERROR"}, str(fault))
            return False
        except Exception as fault:
            # A fault of Blender's importer or of ours: the whole of it is for the console.
            traceback.print_exc()
            self.report({"ERROR"}, f"{type(fault).__name__}: {fault}")
            return False
        return True

    def _end(self, context: bpy.types.Context) -> None:
        global running
        running -= 1
        context.window_manager.event_timer_remove(self._timer)
        self._timer = None
        context.window_manager.progress_end()
        context.workspace.status_text_set(None)
