#!/usr/bin/env bash
# metric_field_test.sh SOURCE EXAMPLES WORK
set -euo pipefail
rm -rf "$3" && mkdir -p "$3" && cd "$3"

"$2/metric_field" | tee out
grep -q '^  800 triangles on 441 nodes$' out
# At (0.3, 0.4) the radius runs along (0.6, 0.8), the front across that. The sizes ask for 0.04
# there, less than 0.1 along the front and more than 0.01 across it. The bounds are 0.02 and 0.08.
grep -q '^  front  *size 0.1000 along (-0.80, 0.60), 0.0100 across it$' out
grep -q '^  with the sizes  *size 0.0400 along (-0.80, 0.60), 0.0100 across it$' out
grep -q '^  bounded front  *size 0.0400 along (-0.80, 0.60), 0.0200 across it$' out
# The origin lies 0.5 away from that point: 0.04 + 0.2 * 0.5, in all directions.
grep -q '^  repaired origin  *size 0.1400 along (1.00, 0.00), 0.1400 across it$' out
grep -q '^  bounded origin  *size 0.0800 along (1.00, 0.00), 0.0800 across it$' out
grep -q '^  three broken  *not valid, 3 invalid$' out
grep -q '^  repaired  *valid, 0 invalid$' out
grep -q '^  bounded  *valid, 0 invalid$' out
# 2 * 20 * 21 sides of cells and 400 diagonals. The least is a side of 0.05 where the size is 0.08.
# The rest is from an independent computation of the same field.
grep -q '^  1240 edges, length in the metric 0.625 to 3.386$' out
grep -q '^    0.50 to 0.70  *637 #' out
grep -q '^    0.70 to 1.00  *362 #' out
grep -q '^    1.00 to 1.40  *97 #' out
grep -q '^    1.40 to 2.00  *75 #' out
grep -q '^    2.00 to 2.80  *56 #' out
grep -q '^    2.80 to 4.00  *13 #' out

# A tensor of 3 entries for each node: 1 / 0.08^2 at the origin, and at (0.3, 0.4), node 174 from 0,
# 1 / 0.02^2 = 2500 and 1 / 0.04^2 = 625 in the frame (0.6, 0.8), (-0.8, 0.6).
awk '/^Triangles$/ {getline; print $1}' lattiq-report/front.mesh | grep -qx 800
awk 'NF == 3 && /E/' lattiq-report/front.sol >tensors
test "$(wc -l <tensors)" -eq 441
awk 'NR == 1 {print $1, $2, $3}' tensors | grep -qx '1.562500E+02 0.000000E+00 1.562500E+02'
awk 'NR == 175 {print $1, $2, $3}' tensors | tee front
awk 'function off(a, b) {return a < b - 0.01 || a > b + 0.01}
     {exit off($1, 1300) || off($2, 900) || off($3, 1825)}' front

# A file in place of the folder: one line and a failing exit.
rm -r lattiq-report && : >lattiq-report
if "$2/metric_field" >out 2>errors; then exit 1; fi
test "$(wc -l <errors)" -eq 1
grep -q '^metric_field: ' errors
