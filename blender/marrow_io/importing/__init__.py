"""A game model into the open scene: the program writes a GLB file, Blender's own importer reads
it, and what came of it is given the shape that Blender's users expect."""
