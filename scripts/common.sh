# Sourced by the scripts beside it: where the repository stands, and how a preset is built.

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

# The compiler's cache serves every checkout and every preset that compiles a file alike, wherever it lies.
export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$root}"
export CCACHE_NOHASHDIR=1

# build PRESET [ARGUMENT...]: configures the preset and builds it; arguments go to `cmake --build`.
build() {
    local preset="$1"
    shift
    (cd "$root" && cmake --preset "$preset" && cmake --build --preset "$preset" --parallel "$(nproc)" "$@")
}

# is_installed PACKAGE: whether Debian's package is installed.
is_installed() {
    [[ "$(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null)" == installed ]]
}

# missing_of PACKAGE...: prints those that are not installed.
missing_of() {
    local package
    for package in "$@"; do
        is_installed "$package" || printf '%s\n' "$package"
    done
}

# require PACKAGE...: installs what a script needs beyond scripts/setup; ends the script where it is missing and cannot be
# installed.
require() {
    local missing
    mapfile -t missing < <(missing_of "$@")
    [[ ${#missing[@]} -gt 0 ]] || return 0
    if [[ "$(id -u)" -ne 0 ]]; then
        echo "$(basename "$0"): not installed: ${missing[*]}; run it as root once" >&2
        exit 1
    fi
    apt-get update -q
    DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
}
