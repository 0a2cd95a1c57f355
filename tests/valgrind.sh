#!/usr/bin/env bash
# Runs every test program of a build under valgrind memcheck, two at a time;
# any memory error or leak (definite, indirect or possible), or a failing
# test, fails the run. The whole suite takes about a minute on two cores.
#
#   tests/valgrind.sh [build-dir]      build-dir (default build): built without sanitizers
#
# Logs go to <build-dir>/valgrind/. Installs valgrind when missing.
set -euo pipefail
cd "$(dirname "$0")/.."

build="${1:-build}"

scripts/install_packages.sh valgrind

programs=()
for p in "$build"/tests/test_*; do
  [ -f "$p" ] && [ -x "$p" ] && programs+=("$p")
done
if [ ${#programs[@]} -eq 0 ]; then
  echo "valgrind: no test programs in $build/tests" >&2
  exit 1
fi
logs="$build/valgrind"
rm -rf "$logs"
mkdir -p "$logs"

# One program; leaves <name>.passed in the log folder when clean. The
# allocation-failure program replaces operator new itself, so valgrind keeps
# its hands off the program's own allocation functions.
run_one() {
  local program="$1" logs="$2" name start rc=0
  name="$(basename "$program")"
  start=$SECONDS
  valgrind --tool=memcheck --error-exitcode=99 --leak-check=full \
    --show-leak-kinds=definite,indirect,possible --errors-for-leak-kinds=definite,indirect,possible \
    --soname-synonyms=somalloc=nouserintercepts --num-callers=30 \
    --log-file="$logs/$name.log" "$program" >"$logs/$name.out" 2>&1 || rc=$?
  if [ "$rc" -eq 0 ]; then
    echo "valgrind: $name clean ($((SECONDS - start)) s)"
    touch "$logs/$name.passed"
    return
  fi
  if [ "$rc" -eq 99 ]; then
    echo "valgrind: $name: memory errors or leaks"
    cat "$logs/$name.log"
  else
    echo "valgrind: $name: tests failed (exit $rc)"
    tail -n 40 "$logs/$name.out"
  fi
}
export -f run_one

printf '%s\0' "${programs[@]}" | xargs -0 -n 1 -P 2 bash -c 'run_one "$0" '"$logs"

passed=$(find "$logs" -name '*.passed' | wc -l)
failed=$((${#programs[@]} - passed))
echo "valgrind: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
