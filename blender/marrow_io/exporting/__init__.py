"""What is seen in the open scene into a game file: evaluated objects, sampled frame by frame, go
into a GLB file that the program exports.

Blender's own glTF exporter is not used for it: it keeps four weights a vertex, drops shape keys
where it applies modifiers, and samples neither drivers nor constraints of objects.
"""
