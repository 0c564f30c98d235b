# shellcheck shell=bash
# Builds a preset of CMakePresets.json below build/. Source it, after common.sh.

# zr_build PRESET [TARGET...]: configures and builds; two builds of a tree wait for each other.
zr_build() {
    local preset=$1 lock
    shift
    mkdir -p "$ZR_TREE/build"
    exec {lock}<"$ZR_TREE/build"
    flock "$lock"
    zr_say "building $preset"
    (
        cd "$ZR_TREE" || exit
        cmake --preset "$preset" >"build/$preset.log" 2>&1 ||
            { cat "build/$preset.log" >&2 && zr_fail "cmake --preset $preset failed"; }
        cmake --build --preset "$preset" ${1+--target "$@"} || zr_fail "the build of $preset failed"
    ) {lock}<&-
    exec {lock}<&-
}
