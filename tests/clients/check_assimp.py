"""assimp: see common.py."""
import re
import shutil

import common
from common import check

if not shutil.which("assimp"):
    common.missing("assimp-utils")


class Info:
    """What `assimp info` says. Nodes at one place are joined."""

    def __init__(self, path):
        result = common.run("assimp", "info", path)
        self.refused = result.returncode != 0
        self.text = result.stdout

    def count(self, what):
        return int(re.search(what + r":\s+(\d+)", self.text).group(1))

    def point(self, which):
        found = re.search(which + r" point\s+\(([^)]*)\)", self.text).group(1)
        return [float(x) for x in found.split()]


def check_stl(folder, _):
    samples = common.samples(folder)
    for name, sample, faces in (("tria3", "tria3", 288), ("closed", "tetra4", 340),
                                ("turned", "tetra4", 340)):
        for form in ("text", "binary"):
            info = Info(f"{folder}/{name}.{form}.stl")
            check(name, "refused", info.refused, False)
            check(name, "faces", info.count("Faces"), faces)
            common.check_box(name, (info.point("Minimum"), info.point("Maximum")), samples[sample])
    check("empty", "refused", Info(f"{folder}/empty.stl").refused, True)


def check_obj(folder, programs):
    path = f"{folder}/assimp_closed.obj"
    result = common.run("assimp", "export", f"{folder}/closed.text.stl", path)
    check("assimp_closed", "exit", result.returncode, 0)
    # One normal for each of the six sides, and nodes at one place joined.
    common.check_our_obj("assimp_closed", path, programs, ((0, 0, 0), (2, 1, 3)), nodes=172,
                         normals=6, triangles=340)
    # Of ours the blank that begins each line is enough for a refusal.
    check("ours", "refused", Info(f"{folder}/ours.obj").refused, True)
    mended = Info(common.mend_obj(folder, "assimp"))
    check("mended", "faces", mended.count("Faces"), 288 + 2 * 144)  # quadrangles come in as two


common.main({"stl": check_stl, "obj": check_obj})
