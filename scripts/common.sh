# shellcheck shell=bash
# Functions that the scripts share. To be sourced, with `set -euo pipefail` in force.

project=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

say() {
    printf '== %s\n' "$*" >&2
}

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

usage() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 2
}

is_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# Prints the packages of the named groups, one per line.
packages_of() {
    local group package
    while read -r group package; do
        case " $* " in
        *" $group "*) printf '%s\n' "$package" ;;
        esac
    done < <(grep -v '^#' "$project/scripts/debian-packages")
}

# Installs the missing packages of the named groups.
require() {
    local package missing=() as_root=() log
    command -v dpkg-query >/dev/null || die 'this is not a Debian system; scripts/debian-packages names what is needed'
    for package in $(packages_of "$@"); do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || die "only root can install what is missing: ${missing[*]}"
        as_root=(sudo)
    fi
    say "installing ${missing[*]}"
    log=$(mktemp)
    if ! { "${as_root[@]}" apt-get update &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"; } \
        >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        die "could not install ${missing[*]}; the whole output is in $log"
    fi
    rm -f "$log"
}

# build PRESET [TARGET]...: configures a preset if necessary, and builds the targets, by default all.
build() {
    local preset=$1 folder="$project/build/$1" target targets=()
    shift
    for target in "$@"; do
        targets+=(--target "$target")
    done
    mkdir -p "$folder" 2>/dev/null && [ -w "$folder" ] || die "cannot write to $folder, which belongs to somebody else"
    # Start with an empty build folder if this one was copied along with the project, because it would still build the
    # original, and if it is older than the presets, because it ignores changes in them.
    if ! grep -qsxF "CMAKE_HOME_DIRECTORY:INTERNAL=$project" "$folder/CMakeCache.txt" || [ ! -f "$folder/build.ninja" ] ||
        [ "$folder/CMakeCache.txt" -ot "$project/CMakePresets.json" ]; then
        say "configuring for $preset"
        rm -rf "$folder"
        (cd "$project" && cmake --preset "$preset" >/dev/null) || die 'could not configure the build'
    fi
    say "building for $preset"
    cmake --build "$folder" "${targets[@]}" -- --quiet | sed '/^ninja: no work to do/d' >&2 || die 'could not build'
}
