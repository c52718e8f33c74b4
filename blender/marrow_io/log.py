"""What the program said, to the user: reports, and a text block with all of it."""

from __future__ import annotations

import bpy

from .program import Message, ProgramError

TEXT_NAME = "Marrow messages"
REPORTED_WARNINGS = 5


def keep(subject: str, messages: list[Message]) -> None:
    """Adds a run's messages to the text block of all runs, newest last."""
    text = bpy.data.texts.get(TEXT_NAME) or bpy.data.texts.new(TEXT_NAME)
    lines = [f"{message.kind}: {message.text}" for message in messages] or ["no messages"]
    text.write("\n".join([f"== {subject}", *lines, "", ""]))


def add_error(messages: list[Message], fault: Exception) -> None:
    """What ended a run, where the program did not say it itself."""
    if not any(message.kind == "error" for message in messages):
        text = str(fault) if isinstance(fault, ProgramError) else f"{type(fault).__name__}: {fault}"
        messages.append(Message("error", text))


def report(operator: bpy.types.Operator, messages: list[Message]) -> None:
    """Warnings one by one; where there are many, the rest by their number."""
    warnings = [message.text for message in messages if message.kind == "warning"]
    for text in warnings[:REPORTED_WARNINGS]:
        operator.report({"WARNING"}, text)
    if len(warnings) > REPORTED_WARNINGS:
        operator.report({"WARNING"}, f"{len(warnings) - REPORTED_WARNINGS} more warnings: "
                                     f"see the text block {TEXT_NAME}")
