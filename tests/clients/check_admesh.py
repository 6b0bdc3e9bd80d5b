"""admesh: see common.py."""
import re
import shutil

import common
from common import check, check_close

if not shutil.which("admesh"):
    common.missing("admesh")


def check_stl(folder, _):
    for form in ("text", "binary"):
        # The faces of a tetrahedron that counts as positive look inwards: all are turned round.
        for name, reversed_facets in (("closed", 340), ("turned", 0)):
            result = common.run("admesh", f"{folder}/{name}.{form}.stl")
            check(name, "exit", result.returncode, 0)

            def value(pattern):
                return float(re.search(pattern + r"\s*[:=]\s*([-\d.]+)", result.stdout).group(1))

            check(name, "facets", value("Number of facets +"), 340)
            check(name, "pieces", value("Number of parts +"), 1)
            check(name, "open facets", value("Total disconnected facets +"), 0)
            check(name, "degenerate facets", value("Degenerate facets +"), 0)
            check(name, "normals that differ from the order of nodes", value("Normals fixed +"), 0)
            check(name, "facets turned round", value("Facets reversed +"), reversed_facets)
            check_close(name, "volume", value("Volume +"), 6.0)
            for axis, high in zip("XYZ", (2.0, 1.0, 3.0)):
                check_close(name, f"lower bound {axis}", value(f"Min {axis}"), 0.0)
                check_close(name, f"upper bound {axis}", value(f"Max {axis}"), high)


common.main({"stl": check_stl})
