# What scripts/demo and scripts/test share. Sourced, not run.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1

say() { printf '== %s\n' "$*"; }

# The last line of a script that cannot go on.
stop() {
    printf 'FAILED: %s\n' "$*"
    exit 1
}

# Installs the Debian packages that are not there yet.
need_packages() {
    local missing=()
    local package
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    say "installing ${missing[*]}"
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    { "${as_root[@]}" apt-get update -qq &&
        DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq \
            --no-install-recommends "${missing[@]}"; } >/dev/null ||
        stop "these packages are missing and could not be installed: ${missing[*]}"
}

# Configures (when needed) and builds one preset; the output is shown when it fails.
build_preset() {
    local preset=$1
    shift
    say "building the preset $preset in build/$preset"
    mkdir -p build
    local log=build/$preset.log
    { cmake --preset "$preset" "$@" && cmake --build --preset "$preset"; } >"$log" 2>&1 || {
        tail -n 60 "$log"
        stop "the preset $preset does not build (the whole output is in $log)"
    }
}
