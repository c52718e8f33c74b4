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

    def test_bones_that_are_left_out(self):
        def tags(name):
            return {tag["name"]: tag["position at frame 0"] for tag in self.info(name)["tags"]}

        choice = ["--bones=BIP01*", "--no-bones=*hand", "--no-bones", "Bip01 ? Toe0",
                  "--no-bones=ik_*"]
        self.export("all.mds")
        result = self.export("a.mds", "--sequences", *choice)
        self.assertIn("no bone of the scene matches --no-bones ik_*", result.err)
        self.assertIn("4 bones left out: Bip01 L Hand, Bip01 L Toe0", result.err)
        whole, model = self.info("all.mds"), self.info("a.mds")
        bones = model["bones"]
        parents = {bone["name"]: bones[bone["parent"]]["name"] for bone in bones}
        self.assertEqual(len(bones), 21)
        self.assertEqual(parents["tag_weapon"], "Bip01 R Forearm")
        for mine, its in zip(model["surfaces"], whole["surfaces"]):
            self.assertLessEqual(mine["weights"], its["weights"])
        def exchange(document, nodes):
            """Weights of the bones that are left out go to the ones above in the file itself."""
            data = bytearray(self.read(document["buffers"][0]["uri"]))
            number = {id(node): i for i, node in enumerate(document["nodes"])}
            for node in document["nodes"]:
                if "mesh" not in node or "skin" not in node:
                    continue
                joints = document["skins"][node["skin"]]["joints"]
                above = {joints.index(number[id(nodes[old])]): joints.index(number[id(nodes[new])])
                         for side in "LR" for part, parent in (("Hand", "Forearm"), ("Toe0", "Foot"))
                         for old, new in ((f"Bip01 {side} {part}", f"Bip01 {side} {parent}"),)
                         if number[id(nodes[old])] in joints}
                for part in document["meshes"][node["mesh"]]["primitives"]:
                    accessor = document["accessors"][part["attributes"]["JOINTS_0"]]
                    view = document["bufferViews"][accessor["bufferView"]]
                    size = {5121: 1, 5123: 2}[accessor["componentType"]]
                    for v in range(accessor["count"]):
                        at = (view.get("byteOffset", 0) + accessor.get("byteOffset", 0)
                              + v * view.get("byteStride", 4 * size))
                        for k in range(at, at + 4 * size, size):
                            joint = int.from_bytes(data[k:k + size], "little")
                            data[k:k + size] = above.get(joint, joint).to_bytes(size, "little")
            document["buffers"][0]["uri"] = "exchanged.bin"
            self.write("exchanged.bin", bytes(data))

        self.scene("exchanged.gltf", exchange)
        self.marrow("export", "exchanged.gltf", "-o", "exchanged.mds")
        frames = [self.info(name)["frames"] for name in ("a.mds", "exchanged.mds", "all.mds")]
        worst = [max(abs(x - y) for a, b in zip(frames[0], other)
                     for mine, its in zip(a["bounds"], b["bounds"]) for x, y in zip(mine, its))
                 for other in frames[1:]]
        self.assertLess(worst[0], 0.02)
        self.assertGreater(worst[1], 1.0)
        for frame in "0", "50", "80":
            self.export("b.mdc", "--start", frame, "--end", frame)
            self.marrow("convert", "a.mds", "a.mdc", "--start", frame, "--end", frame)
            for name, place in tags("a.mdc").items():
                for mine, its in zip(place, tags("b.mdc")[name]):
                    self.assertAlmostEqual(mine, its, delta=0.05)
        for saying, *refused in (("Bip01 Pelvis hangs", "--no-bones=Bip01"),
                                 ("every bone", "--bones=nothing")):
            self.fails(1, "export", SAMPLE, "-o", "x.mds", *refused, saying=[saying])
        self.marrow("convert", "a.mds", "b.mds", "--no-bones=tag_*")
        self.assertEqual((self.info("b.mds")["numBones"], self.info("b.mds")["numTags"]), (19, 0))


if __name__ == "__main__":
    program.main()
