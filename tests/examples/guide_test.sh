#!/usr/bin/env bash
# guide_test.sh SOURCE EXAMPLES WORK: the lines of code on the pages of docs/ stand, in one piece, in
# examples/guide/<page>.cpp, and these programs find what the pages say of them.
set -euo pipefail
mkdir -p "$3" && cd "$3"

python3 - "$1" <<'EOF'
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
shown = 0
for page in sorted((source / "docs").glob("*.md")):
    blocks = re.findall(r"^```cpp\n(.*?)^```$", page.read_text(), re.DOTALL | re.MULTILINE)
    if not blocks:
        continue
    program = (source / "examples" / "guide" / (page.stem + ".cpp")).read_text()
    lines = [line.strip() for line in program.splitlines()]
    for block in blocks:
        wanted = [line.strip() for line in block.splitlines()]
        places = range(len(lines) - len(wanted) + 1)
        if not any(lines[i : i + len(wanted)] == wanted for i in places):
            sys.exit(f"{page.name} shows what examples/guide/{page.stem}.cpp does not have:\n{block}")
        shown += 1
if shown == 0:
    sys.exit("the pages show no code")
EOF

for page in "$1"/examples/guide/*.cpp; do
    "$2/guide/$(basename "$page" .cpp)" >/dev/null
done
