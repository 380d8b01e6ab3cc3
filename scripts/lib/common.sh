# Shared by the scripts of this folder; sourced, never run. Sets `root`, the project's folder as an absolute path.
root=$(cd "${BASH_SOURCE[0]%/*}/../.." && pwd -P)

say() { printf '%s\n' "$*" >&2; }
fail() {
    say "${0##*/}: $1"
    exit "${2:-1}"
}
