#!/usr/bin/env bash
# assemble_test.sh SOURCE EXAMPLES WORK
set -euo pipefail
rm -rf "$3" && mkdir -p "$3" && cd "$3"

"$2/assemble" | tee out
# 4 elements on 9 nodes, 12 times, twice. Of the 3 + 3 * 4 sides in a sector 3 pairs meet, and 9 are
# left; sectors share no node yet.
grep -q '^  copied  *96 elements on 216 nodes, 216 free edges$' out
# Half a drum: the pole and 4 rings of 12. Both halves: 2 * 49 less the ring they share.
grep -q '^  joined  *130 nodes merged, 130 removed, 86 left, 0 free edges$' out
grep -q '^  drum  *-2.00 -2.00 -1.00 to 2.00 2.00 1.00$' out
# Six digits are left of 2 cos(30 degrees) = 1.7320508.
grep -q '^  FEMAP  *2 runs, elements the same, groups the same, 86 nodes within 8.1e-07$' out
grep -q '^  lattiq-report/drum.obj  *result -1: 86 nodes, 0 triangles, 0 quadrangles$' out
grep -q '^  lattiq-report/drum_spaced.obj  *result 0: 86 nodes, 24 triangles, 72 quadrangles$' out
# 12 triangles and 2 * 12 quadrangles above the ring at z = 0.5: the pole and 3 rings.
grep -q '^  clipped  *36 elements on 37 nodes, 12 free edges$' out
grep -q '^  lid  *-2.00 -2.00 0.50 to 2.00 2.00 1.00$' out

# The file holds the drum closed and turned one way: each side of a face is run along once, and once
# the other way. 96 faces have 24 * 3 + 72 * 4 = 360 sides. The upper half is group 1.
awk '
/^Vertices$/ {getline; for (n = $1; n > 0; --n) {getline; z[++k] = $3}; next}
/^(Triangles|Quadrilaterals)$/ {corners = $1 == "Triangles" ? 3 : 4; getline; next}
/^[A-Z]/ {corners = 0}
corners && NF == corners + 1 {
    for (i = 1; i <= corners; ++i) {
        ++side[$i, $(i % corners + 1)]
        height[$NF] += z[$i]
    }
    ++half[$NF]
}
END {
    for (s in side) {
        split(s, ends, SUBSEP)
        if (side[s] != 1 || side[ends[2], ends[1]] != 1) ++bad
        ++sides
    }
    # By element 3, 4, 3 and 1, in each of 12 sectors.
    print sides, bad + 0, half[1], half[2], height[1], height[2]
}' lattiq-report/drum.mesh | tee sides
grep -qx '360 0 48 48 132 -132' sides
# Outward: the first triangle is on the lid, and its normal points up, or on the floor, and down.
awk '
/^Vertices$/ {getline; for (n = $1; n > 0; --n) {getline; ++k; x[k] = $1; y[k] = $2; z[k] = $3}}
/^Triangles$/ {
    getline; getline
    up = (x[$2] - x[$1]) * (y[$3] - y[$1]) - (y[$2] - y[$1]) * (x[$3] - x[$1])
    print (up * z[$1] > 0 ? "outward" : "inward")
}' lattiq-report/drum.mesh | grep -qx outward

# OBJ: a line for each face and node. FEMAP: one for each node, 7 for each element.
test "$(grep -c '^ f ' lattiq-report/drum.obj)" -eq 96
test "$(grep -c '^ v ' lattiq-report/drum.obj)" -eq 86
awk '/^40[34]$/ {on = $1; next} /^-1$/ {on = 0} on {++lines[on]}
     END {print lines[403], lines[404]}' lattiq-report/drum.neu | grep -qx '86 672'
test -s lattiq-report/lid.mesh

# A file in place of the folder: one line and a failing exit.
rm -r lattiq-report && : >lattiq-report
if "$2/assemble" >out 2>errors; then exit 1; fi
test "$(wc -l <errors)" -eq 1
grep -q '^assemble: ' errors
