#!/usr/bin/env bash
# install_test.sh BUILD_DIR SOURCE_DIR: installs the build into a temporary
# prefix and uses what a user gets: the installed tool and Python module
# find the installed database by the location rule, and a project outside
# the tree builds against find_package(quillon).
set -euo pipefail
build=$1 source=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix/usr" >"$prefix/install.log"
sample=$source/samples/demo.isf

# The tool, from bin/, with ../Database.
"$prefix/usr/bin/quillon" dump "$sample" --count 2 | grep -q "Version Information"
"$prefix/usr/bin/quillon" db check --no-descriptions >/dev/null

# The module, from its package, with the package's Database/.
PYTHONPATH=$prefix/usr/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 - "$sample" <<'PY'
import pathlib, sys
import quillon
database = pathlib.Path(quillon.database_directory()).resolve()
assert database == pathlib.Path(quillon.__file__).parent / "Database", database
with quillon.open(sys.argv[1]) as store:
    assert store[1].name == "Version Information", store[1].name
PY

# A consumer project.
cmake -S "$source/tests/install/consumer" -B "$prefix/consumer" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix/usr" >"$prefix/consumer.log"
cmake --build "$prefix/consumer" >>"$prefix/consumer.log"
"$prefix/consumer/count_items" "$sample" | grep -q "324 items, the first named Information"
echo "install test passed"
