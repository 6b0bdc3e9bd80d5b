#!/usr/bin/env bash
# readme_test.sh SOURCE EXAMPLES WORK: the README shows examples/first_look.cpp as it stands.
set -euo pipefail
mkdir -p "$3" && cd "$3"

awk '/^```cpp$/ {inside = 1; next} /^```$/ {if (inside) exit} inside' "$1/README.md" >shown.cpp
diff shown.cpp "$1/examples/first_look.cpp"
