#!/usr/bin/env bash
# The long mutation runs: every reader of a stored format or file, fed a million damaged inputs (or
# COUNT) by the mutation cases of its test program, and one table at the end with the inputs, their
# rate, the crashes, the hangs and the wrong results of each target.
# Usage: scripts/fuzz.sh [COUNT] [PROGRAM...]
#   COUNT      inputs per target (default 1000000)
#   PROGRAM    test programs to run (default all that hold mutation cases)
# PAGEMARK_FUZZ_JOBS programs run side by side (default 1), each on a device of its own.
# The build folder is $PAGEMARK_BUILD_DIR, by default ./build, built beforehand (scripts/build.sh).
# A crash or a hang leaves its input as fuzz-TARGET-fault.bin or fuzz-TARGET-hang.bin in the
# device's temporary folder; the program's output is kept in BUILD/fuzz/PROGRAM.log.
set -uo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
export PAGEMARK_BUILD_DIR="${PAGEMARK_BUILD_DIR:-$root/build}"
count="${1:-1000000}"
shift || true
programs=("$@")
if [[ ${#programs[@]} -eq 0 ]]; then
  mapfile -t programs < <(cd "$root/tests" && grep -l 'TEST_CASE("mutations: ' -r . |
    xargs -n1 dirname | sort -u | while read -r folder; do
      grep -o 'pagemark_test(test_[a-z_]*' "$folder/CMakeLists.txt" | sed 's/pagemark_test(//'
    done | sort -u)
fi
source "$root/scripts/device-lib.sh"
device_ensure_display
export PAGEMARK_KEEP_DISPLAY=1
trap device_stop EXIT
device_refresh_template
logs="$PAGEMARK_BUILD_DIR/fuzz"
mkdir -p "$logs"

jobs="${PAGEMARK_FUZZ_JOBS:-1}"
rows=()
failed=0

# One program's run: its output in BUILD/fuzz/PROGRAM.log and its exit status in PROGRAM.status.
run_program() {
  local program="$1"
  local log="$logs/$program.log"
  echo "fuzz: $program, $count inputs per target" >&2
  PAGEMARK_DEVICE="fuzz-$program" PAGEMARK_FUZZ_COUNT="$count" \
    "$PAGEMARK_BUILD_DIR/wine-run" "$PAGEMARK_BUILD_DIR/bin/$program.exe" --test-case='mutations: *' \
    >"$log" 2>&1
  echo $? >"$logs/$program.status"
}

built=()
for program in "${programs[@]}"; do
  if [[ -f "$PAGEMARK_BUILD_DIR/bin/$program.exe" ]]; then
    built+=("$program")
  else
    echo "fuzz: $program is not built" >&2
    failed=1
  fi
done
running=0
pids=()
for program in "${built[@]}"; do
  rm -f "$logs/$program.status"
  if ((running >= jobs)); then
    wait -n
    running=$((running - 1))
  fi
  run_program "$program" &
  pids+=($!)
  running=$((running + 1))
done
# Only the programs: the screen this script may have started is a child too, and never ends.
if ((${#pids[@]} > 0)); then wait "${pids[@]}"; fi

for program in "${built[@]}"; do
  log="$logs/$program.log"
  status=$(cat "$logs/$program.status" 2>/dev/null || echo 1)
  # A finished target prints its summary; a hang prints its own line; a crash ends the program
  # without either for the target it was in.
  summaries=$(grep -o 'mutations [a-z0-9-]*: [0-9]* inputs in [0-9.]* s ([0-9]* per second), [0-9]* wrong' "$log")
  while read -r line; do
    [[ -z "$line" ]] && continue
    target=$(sed 's/mutations \([^:]*\):.*/\1/' <<<"$line")
    inputs=$(sed 's/.*: \([0-9]*\) inputs.*/\1/' <<<"$line")
    rate=$(sed 's/.*(\([0-9]*\) per second).*/\1/' <<<"$line")
    wrong=$(sed 's/.*, \([0-9]*\) wrong/\1/' <<<"$line")
    rows+=("$(printf '%-14s %-22s %12s %12s %8s %6s %6s' "$program" "$target" "$inputs" "$rate" 0 0 "$wrong")")
    [[ "$wrong" != 0 ]] && failed=1
  done <<<"$summaries"
  if grep -q 'hang on input' "$log"; then
    target=$(grep -o 'mutations [a-z0-9-]*: hang' "$log" | head -1 | sed 's/mutations \(.*\): hang/\1/')
    rows+=("$(printf '%-14s %-22s %12s %12s %8s %6s %6s' "$program" "$target" - - 0 1 -)")
    failed=1
  elif [[ $status -ne 0 ]]; then
    # Failed checks of the test program also end it with a status: a crash only when it never got
    # to its summary of test cases.
    if grep -q 'test cases:' "$log"; then
      rows+=("$(printf '%-14s %-22s %12s %12s %8s %6s %6s' "$program" "(failed checks)" - - 0 0 "see log")")
    else
      rows+=("$(printf '%-14s %-22s %12s %12s %8s %6s %6s' "$program" "(crashed)" - - 1 0 -)")
    fi
    failed=1
  fi
done

printf '\n%-14s %-22s %12s %12s %8s %6s %6s\n' program target inputs "per second" crashes hangs wrong
for row in "${rows[@]}"; do echo "$row"; done
exit $failed
