#!/bin/sh
# Compares the ABI of built libraries (names, versions, parameters, records) with the dumps in this folder, or makes
# the dumps anew.
#   check_abi.sh [--update] SOURCE-FOLDER ARCHITECTURE LIBRARY...
# The exit status is 77 when a library has no debug information to compare.
set -eu

update=
[ "$1" != --update ] || { update=1; shift; }
source=$1 architecture=$2
shift 2
dumps=$source/tests/abi
changed=0

dump() { # LIBRARY FILE
  abidw --exported-interfaces-only --drop-undefined-syms --type-id-style hash \
    --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --out-file "$2" "$1"
  sed -i "s| path='$source/| path='|" "$2"
}

for library in "$@"; do
  name=$(basename "$library")
  expected=$dumps/${name%.so*}.$architecture.abi
  readelf -S "$library" | grep -q '\.debug_info' || { echo "$name was built without debug information"; exit 77; }
  if [ -n "$update" ]; then
    dump "$library" "$expected"
    echo "wrote $expected"
    continue
  fi
  status=0
  abidiff "$expected" "$library" || status=$?
  [ $((status & 3)) = 0 ] || { echo "abidiff could not compare $name with $expected"; exit 1; }
  if [ $((status & 8)) != 0 ]; then
    echo "$name: INCOMPATIBLE with $expected: programs that were linked with it would break."
    changed=1
  elif [ $((status & 4)) != 0 ]; then
    echo "$name: differs from $expected."
    changed=1
  fi
done

[ $changed = 0 ] || cat <<'END'

Is this change meant? docs/abi.md tells what may change in liblumipmi.so.1: names may be added, under a new version
node. When it is right, write the dumps anew and commit them with the change:

    ./dev abi-update
END
exit $changed
