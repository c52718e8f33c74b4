"""What an export makes of a scene's skeleton, or of a scene without one."""

import numpy as np

import program  # also brings the path of the oracle's modules
from program import SAMPLE
import gltf
import models


class Rigs(program.ProgramTest):
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
        self.assert_near(mds["frames"][0]["bounds"], mdc["frames"][0]["bounds"], 1 / 16)
        places = {tag["name"]: tag["position at frame 0"] for tag in mdc["tags"]}
        self.assertEqual(len(mdm["tags"]), 2)
        for tag in mdm["tags"]:
            self.assertEqual(tag["boneIndex"], 0)
            self.assert_near(tag["offset"], places[tag["name"]], 1 / 32)
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
        # Every vertex goes as if its weights on those bones were on the ones above.
        scene, written = gltf.Scene(SAMPLE), models.read_mds(self.dir / "a.mds")
        above = {f"Bip01 {side} {part}": f"Bip01 {side} {parent}" for side in "LR"
                 for part, parent in (("Hand", "Forearm"), ("Toe0", "Foot"))}
        parts = [(surface, part) for surface, part in
                 zip(scene.surfaces, written.surfaces, strict=True) if surface.skin is not None]
        for surface, _ in parts:
            joints = [scene.name(node) for node in scene.skins[surface.skin][0]]
            surface.joints = np.array([joints.index(above.get(name, name)) for name in joints])[
                surface.joints]
        for frame, (clip, time) in list(enumerate(scene.frames(20)))[::9]:
            for surface, part in parts:
                wanted = gltf.scene_points(scene.vertices(surface, scene.world(clip, time)), 40)
                off = abs(part.vertices(*written.pose(frame)) - wanted)
                self.assertLess(off.max(), 0.02, surface.name)
        for frame in "0", "50", "80":
            self.export("b.mdc", "--start", frame, "--end", frame)
            self.marrow("convert", "a.mds", "a.mdc", "--start", frame, "--end", frame)
            self.assertEqual(tags("a.mdc").keys(), tags("b.mdc").keys())
            self.assert_near(list(tags("a.mdc").values()), list(tags("b.mdc").values()), 0.05)
        for saying, *refused in (("Bip01 Pelvis hangs", "--no-bones=Bip01"),
                                 ("every bone", "--bones=nothing")):
            self.fails(1, "export", SAMPLE, "-o", "x.mds", *refused, saying=[saying])
        self.marrow("convert", "a.mds", "b.mds", "--no-bones=tag_*")
        self.assertEqual((self.info("b.mds")["numBones"], self.info("b.mds")["numTags"]), (19, 0))

    def test_the_torso(self):
        for name, mdx in ("a.mds", "a.mds"), ("a.mdm", "a.mdx"):
            self.export(name, "--torso", "Bip01 Neck")
            info = self.info(mdx)
            self.assertEqual(info["bones"][info["torsoParent"]]["name"], "Bip01 Neck")
            for bone in info["bones"]:
                self.assertEqual(bone["torsoWeight"], float("Neck" in bone["name"]
                                                            or "ead" in bone["name"]), bone)
        self.assertEqual([(tag["name"], tag["torsoWeight"]) for tag in self.info("a.mds")["tags"]],
                         [("tag_weapon", 0), ("tag_head", 1)])
        self.fails(1, "export", SAMPLE, "-o", "x.mds", "--torso=bip01 nek",
                   saying=["no bone bip01 nek", "did you mean Bip01 Neck"])

        def rename(document, nodes):
            for node in document["nodes"]:
                node["name"] = node.get("name", "").replace("Bip01 ", "mix:")

        self.scene("mix.gltf", rename)
        for name in "b.mds", "b.mdm", "b.mdx":
            err = self.marrow("export", "mix.gltf", "-o", name).err
            self.assertEqual(err.count("no bone has a name of the games' skeleton"), 1, err)
        self.assertEqual(self.marrow("export", "mix.gltf", "-o", "b.mds", "--torso=mix:Spine").err, "")

    def test_names_of_the_scene_and_of_the_games(self):
        text = ("\ufeff# rig = game\r\nhips of rig = Bip01 Spine\r\n\nx=y\n"
                "Bip01 Head = Bip01 Neck\nBip01 Neck = Bip01 Head\n")
        self.write("m.txt", text)
        self.export("a.mds")
        self.marrow("import", "a.mds", "-o", "a.glb", "--bone-map", "m.txt", "--first-frame")
        names = [node["name"] for node in self.info("a.glb")["nodes"] if node["type"] == "bone"]
        self.assertEqual(names[1:7], ["Bip01 Pelvis", "hips of rig", "Bip01 Spine1", "Bip01 Spine2",
                                      "Bip01 Head", "Bip01 Neck"])
        self.write("m.txt", text.encode("utf-16-le"))
        self.marrow("export", "a.glb", "-o", "b.mds", "--bone-map", "m.txt", "--torso=hips of rig",
                    "--origin=hips of rig")
        info = self.info("b.mds")
        self.assertEqual([bone["name"] for bone in info["bones"]],
                         [bone["name"] for bone in self.info("a.mds")["bones"]])
        self.assertEqual(info["bones"][info["torsoParent"]]["name"], "Bip01 Spine")
        for text, *saying in (("a = b\nc", "line 2", "has no ="), ("\n = b", "line 2", "before"),
                              ("a=b\na=c", "line 2", "a of the scene"),
                              ("a=b\nc=b", "line 2", "b of the game")):
            self.write("bad.txt", text)
            self.fails(1, "export", SAMPLE, "-o", "x.mds", "--bone-map", "bad.txt",
                       saying=["bad.txt", *saying])
        self.write("bad.txt", "Bip01 Neck = Bip01 Head")
        self.fails(1, "export", SAMPLE, "-o", "x.mds", "--bone-map", "bad.txt",
                   saying=["Bip01 Neck cannot be renamed to Bip01 Head"])

    def test_names_that_a_file_cuts(self):
        def lengthen(document, nodes):
            for name, end in (("Bip01 Neck", "a"), ("Bip01 Head", "b"), ("body", "c"), ("sword", "d")):
                nodes[name]["name"] = "\u00fc" * 40 + end
            nodes["tag_weapon"]["name"] = "tag_head.001"

        self.scene("long.gltf", lengthen)
        for name in "a.mds", "a.mdm", "a.mdc":
            err = self.marrow("export", "long.gltf", "-o", name).err
            self.assertRegex(err, "second tag .*: tag_head.001\n")
            info = self.info(name)
            for names in ("surfaces", "bones", "tags"):
                names = [entry["name"] for entry in info.get(names, [])]
                self.assertEqual(len(set(names)), len(names), names)


program.main()
