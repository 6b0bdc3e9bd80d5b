#!/usr/bin/env bash
# first_look_test.sh SOURCE EXAMPLES WORK
set -euo pipefail
rm -rf "$3" && mkdir -p "$3" && cd "$3"

"$2/first_look" "$1/examples/data/bracket.stl" | tee out
grep -q '^45486 triangles on 22733 nodes, 0 free edges' out
grep -q '^Triangles$' part.mesh
