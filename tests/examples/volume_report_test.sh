#!/usr/bin/env bash
# volume_report_test.sh SOURCE EXAMPLES WORK
set -euo pipefail
rm -rf "$3" && mkdir -p "$3" && cd "$3"

"$2/volume_report" | tee out
# 5 x 4 x 3 of the block, 12 apexes, 4 at the toe of the ramp, 4 of the wedge that hangs on.
grep -q '^  nodes  *80$' out
# 24 in the block, 3 and 1 wedges, 12 + 6 pyramids, 17 gaps between pyramids over inner edges.
grep -q '^  elements  *63$' out
grep -q '^  pieces  *2: 62 1 elements$' out
# Quadrangles: 12 + 16 + 6 + 3 of the block, 6 of the ramp, 6 of the roof, 3 of the wedge that hangs
# on. Triangles: 2 of the ramp, 14 of pyramids and 10 of tetrahedra at the rim of the roof, 2 of the
# wedge that hangs on.
grep -q '^  free faces  *80: 52 of 4 nodes 28 of 3 nodes$' out
# Two faces of the ramp and two of the wedge meet at the edge that the wedge hangs on.
grep -q 'without one face across: 4$' out
# A cube scores 1. A box of height 1/2: the face 1 x 1/2 with diagonals sqrt(5)/2 and edges of 3 in
# all, (1/2) sqrt(32) / (3 sqrt(5)/2) = 0.8433.
grep -q '^  hexahedra  *24, quality 0.8433 to 1.0000, mean 0.9216$' out
# The triangle with legs of 1: sqrt(12) / ((2 + sqrt(2)) sqrt(2)) = 0.7174.
grep -q '^  wedges  *4, quality 0.7174 to 0.7174, mean 0.7174$' out
# Height 1/2 on a unit square: 2 h^2 / (1/2 + h^2)^2 = 8/9.
grep -q '^  pyramids  *18, quality 0.8889 to 0.8889, mean 0.8889$' out
# Two edges of 1 at right angles, 1/2 apart: (1/2) sqrt(24) / (4 sqrt(1/2)) = sqrt(3)/2.
grep -q '^  tetrahedra  *17, quality 0.8660 to 0.8660, mean 0.8660$' out
grep -q '^  all 63, of them 0 below 0.6$' out
grep -q '^    0.70 to 0.75  *4 #' out
grep -q '^    0.80 to 0.85  *12 #' out
grep -q '^    0.85 to 0.90  *35 #' out
grep -q '^    0.95 to 1.00  *12 #' out

# The cells in the VTK file fill 18 in the block, 4 / 2 in the wedges, and in the roof
# 12 / 6 + 6 / 6 + 17 / 12.
awk '
function tetra(a, b, c, d,  i, u, v, w, det) {
    for (i = 0; i < 3; ++i) {
        u[i] = x[b, i] - x[a, i]; v[i] = x[c, i] - x[a, i]; w[i] = x[d, i] - x[a, i]
    }
    det = u[0] * (v[1] * w[2] - v[2] * w[1]) - u[1] * (v[0] * w[2] - v[2] * w[0]) \
        + u[2] * (v[0] * w[1] - v[1] * w[0])
    return (det < 0 ? -det : det) / 6
}
function wedge(a, b, c, d, e, f) {
    return tetra(a, b, c, d) + tetra(b, c, d, e) + tetra(c, d, e, f)
}
$1 == "POINTS" { points = $2; next }
$1 == "CELLS" { cells = $2; next }
points > 0 && NF == 3 { for (i = 0; i < 3; ++i) x[node + 0, i] = $(i + 1); ++node; --points; next }
cells > 0 && NF == $1 + 1 {
    --cells
    if ($1 == 4) volume += tetra($2, $3, $4, $5)
    if ($1 == 5) volume += tetra($2, $3, $4, $6) + tetra($2, $4, $5, $6)
    if ($1 == 6) volume += wedge($2, $3, $4, $5, $6, $7)
    if ($1 == 8) volume += wedge($2, $3, $4, $6, $7, $8) + wedge($2, $4, $5, $6, $8, $9)
    ++count
}
END { printf "%d cells, volume %.5f\n", count, volume }' lattiq-report/solids.vtk | tee filled
grep -q '^63 cells, volume 24.41667$' filled

# A part for each kind but the third, the pyramids; the nodes are all there.
test "$(grep -c '^part' lattiq-report/solids.geo)" -eq 3
grep -q '^part  *4$' lattiq-report/solids.geo
test "$(awk '/^coordinates/ {getline; print $1}' lattiq-report/solids.geo)" -eq 80
test "$(awk '/^tetra4/ {getline; print $1}' lattiq-report/solids.geo)" -eq 17
if grep -q pyra lattiq-report/solids.geo; then exit 1; fi

# A file in place of the folder: one line and a failing exit.
rm -r lattiq-report && : >lattiq-report
if "$2/volume_report" >out 2>errors; then exit 1; fi
test "$(wc -l <errors)" -eq 1
grep -q '^volume_report: ' errors
