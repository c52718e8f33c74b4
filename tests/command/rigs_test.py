"""What an export makes of a scene's skeleton, or of a scene without one."""

import json

import program
from program import SAMPLE


class Rigs(program.ProgramTest):
    def scene(self, name, change):
        """The sample as text, with its document changed."""
        if not (self.dir / "sample.gltf").exists():
            self.marrow("convert", SAMPLE, "sample.gltf")
        document = json.loads(self.read("sample.gltf"))
        change(document, {node.get("name"): node for node in document["nodes"]})
        self.write(name, json.dumps(document))

    def test_a_scene_without_bones(self):
        def unbind(document, nodes):
            document.pop("skins")
            for node in document["nodes"]:
                for key in "skin", "extras":  # what makes bones of nodes
                    node.pop(key, None)
            nodes["Bip01"]["name"] = "root"
            sword = document["nodes"].index(nodes["sword"])
            document["scenes"][0]["nodes"].remove(sword)
            nodes["Bip01 R Hand"].setdefault("children", []).append(sword)

        self.scene("prop.gltf", unbind)
        self.marrow("export", "prop.gltf", "-o", "prop.mdc")
        mdc = self.info("prop.mdc")
        for name, *options in ("prop.mds",), ("prop.mdm", "--mdx", "prop.mdx"):
            err = self.marrow("export", "prop.gltf", "-o", name, *options).err
            self.assertRegex(err, r"no bones, so .* hang from one root bone, root1\n")
            self.assertRegex(err, r"warning: .* stay where they are at frame 0, .*: sword\n")
            for surface in self.info(name)["surfaces"]:
                self.assertEqual(surface["weights"], surface["numVerts"])
        mds, mdm, mdx = (self.info("prop." + kind) for kind in ("mds", "mdm", "mdx"))
        self.assertEqual([(bone["name"], bone["parent"]) for bone in mdx["bones"]], [("root1", -1)])
        self.assertEqual(mds["bones"][0]["parent"], -1)
        self.assertTrue(all(bone["parent"] >= 0 for bone in mds["bones"][1:]))
        for corner in 0, 1:
            for mine, its in zip(mds["frames"][0]["bounds"][corner],
                                 mdc["frames"][0]["bounds"][corner]):
                self.assertAlmostEqual(mine, its, delta=1 / 16)
        places = {tag["name"]: tag["position at frame 0"] for tag in mdc["tags"]}
        self.assertEqual(len(mdm["tags"]), 2)
        for tag in mdm["tags"]:
            self.assertEqual(tag["boneIndex"], 0)
            for mine, its in zip(tag["offset"], places[tag["name"]]):
                self.assertAlmostEqual(mine, its, delta=1 / 32)
        err = self.marrow("convert", "prop.mdc", "again.mds").err
        self.assertIn("keep the shape", err)
        self.assertEqual(self.info("again.mds")["numSurfaces"], 2)

    def test_a_mesh_beside_the_skeleton_is_told(self):
        self.scene("a.gltf", lambda document, nodes: nodes["body"].pop("skin"))
        self.assertRegex(self.marrow("export", "a.gltf", "-o", "a.mds").err, "left out, .*: body\n")


if __name__ == "__main__":
    program.main()
