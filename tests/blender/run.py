"""Runs one of the tests, or of scripts/pictures, in Blender:
blender --python run.py -- MARROW ZIP NAME."""

import importlib
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent.parent / "scripts" / "pictures")]
importlib.import_module(sys.argv[-1])
