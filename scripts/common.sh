# Read by ./run and ./test: where things lie, how steps are shown, how Wine is set up.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=$root/out
logs=$out/log
cd "$root"
mkdir -p "$logs"

# Programs under Wine see file names in the character set of the locale; the base system's default has none.
[ "$(locale charmap 2>/dev/null)" = UTF-8 ] || export LC_ALL=C.UTF-8
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree,mshtml=d;winemenubuilder.exe,winedbg.exe=d"

fail()
{
    echo "${0##*/}: $*" >&2
    exit 1
}

# say TEXT... : progress, on a terminal only.
say()
{
    if [ -t 1 ]; then echo "$*"; fi
}

# quietly NAME COMMAND... : the output goes to out/log/NAME.log, and its end is shown if the command fails.
quietly()
{
    local name=$1
    shift
    if ! "$@" >"$logs/$name.log" 2>&1 </dev/null; then
        tail -n 40 "$logs/$name.log" >&2
        fail "$name failed; all of its output: out/log/$name.log"
    fi
}

# build PRESET [TARGET...] : configures and builds; on a terminal with ninja's own progress.
build()
{
    local preset=$1 target targets=()
    shift
    for target in "$@"; do targets+=(--target "$target"); done
    say "Building ($preset) ..."
    quietly "configure-$preset" cmake --preset "$preset"
    if [ -t 1 ]; then
        cmake --build --preset "$preset" "${targets[@]}" || fail "the build ($preset) failed"
    else
        quietly "build-$preset" cmake --build --preset "$preset" "${targets[@]}"
    fi
}
