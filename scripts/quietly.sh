# shellcheck shell=bash
# The scripts that build source this file. Their working folder is the root of the tree, and pipefail is set.
#
# quietly NAME COMMAND...: keeps what the command prints in build/logs/NAME.log, and shows the end of that file
# when the command fails. On a terminal the name is shown meanwhile, followed by ninja's count of steps.
quietly() {
  local name=$1 log=build/logs/$1.log result=0
  shift
  mkdir -p build/logs
  if [ -t 2 ]; then
    "$@" </dev/null 2>&1 | show_steps "$name" "$log" || result=$?
  else
    "$@" </dev/null >"$log" 2>&1 || result=$?
  fi
  [ $result -ne 0 ] || return 0
  tail -n 40 "$log" >&2
  echo "${0##*/}: failed; $log has the whole story" >&2
  return $result
}

# show_steps NAME FILE: copies its input to the file, and shows the name with the newest line that begins with "[".
show_steps() {
  local line width
  width=$(tput cols 2>/dev/null || echo 80)
  printf '%s' "$1" >&2
  while IFS= read -r line; do
    printf '%s\n' "$line"
    [[ $line != \[* ]] || printf '\r\033[K%.*s' $((width - 1)) "$1 $line" >&2
  done >"$2"
  printf '\r\033[K' >&2
}

# build_preset PRESET [ARGUMENT...]: configures and builds the preset; the build gets the arguments.
build_preset() {
  cmake --preset "$1" && cmake --build --preset "$1" -j "$(nproc)" "${@:2}"
}
