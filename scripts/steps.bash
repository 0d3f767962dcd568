# Sourced by the other scripts: prints the name of each step, and reports at the end which one failed.

current_step="start"
cleanups=()

step() {
  current_step=$1
  printf '\n== %s\n' "$current_step"
}

# Runs a command when the script ends, however it ends.
at_exit() { cleanups+=("$1"); }

finish() {
  local status=$? cleanup
  for cleanup in "${cleanups[@]}"; do "$cleanup"; done
  ((status == 0)) || printf '\n%s: failed in the step "%s" (status %d)\n' "${0##*/}" "$current_step" "$status" >&2
}
trap finish EXIT
