"""Runs one of the tests in Blender: blender --python run.py -- MARROW ZIP TEST."""

import importlib
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
importlib.import_module(sys.argv[-1])
