#!/usr/bin/env bash
# Builds the library without sanitizers, installs it to a staging prefix and
# uses it the way a user would: the layout, the soname and the exported
# symbols, the tool and its manual page, the C examples built with
# pkg-config, the CMake consumer project, and the Python binding's tests.
# Anything broken in the install fails here. Run by scripts/test.sh; alone:
#   bash scripts/check_install.sh
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
build=${KVSVG_INSTALL_BUILD:-build-install}
python=${KVSVG_PYTHON:-/usr/bin/python3}
[ -x "$python" ] || python=python3

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKVSVG_BUILD_TESTS=OFF -DKVSVG_SANITIZE=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" --target kvsvg kvsvg_cli
stage=$root/$build/stage
work=$root/$build/check
rm -rf "$stage" "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$stage" >/dev/null

fail() { echo "check_install: $*" >&2; exit 1; }
version=$(sed -n 's/^project(kvsvg VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
step() { echo "-- $*"; }

step "layout under the prefix"
pc=$(find "$stage" -name kvsvg.pc)
[ -n "$pc" ] || fail "no kvsvg.pc installed"
libdir=$(dirname "$(dirname "$pc")")
for f in "$libdir/libkvsvg.so" "$libdir/libkvsvg.so.0" "$libdir/cmake/kvsvg/kvsvgConfig.cmake" \
    "$libdir/cmake/kvsvg/kvsvgConfigVersion.cmake" "$libdir/cmake/kvsvg/kvsvgTargets.cmake" \
    "$stage/bin/kvsvg" "$stage/share/man/man1/kvsvg.1"; do
    [ -e "$f" ] || fail "missing $f"
done
for h in include/kvsvg/*.h; do
    [ -f "$stage/$h" ] || fail "header $h not installed"
done
[ -L "$libdir/libkvsvg.so" ] && [ -L "$libdir/libkvsvg.so.0" ] || fail "libkvsvg.so and .so.0 must be links"
real=$(readlink -f "$libdir/libkvsvg.so")
[[ $real == *libkvsvg.so.0.* ]] || fail "libkvsvg.so points at $real"

step "soname and exported symbols"
soname=$(readelf -d "$real" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ "$soname" = libkvsvg.so.0 ] || fail "soname is '$soname'"
# grep -q would stop reading early and, under pipefail, fail the pipe
# through nm's SIGPIPE now and then: the greps below read everything.
# Only the C interface leaves the library: no C++ runtime, no pugixml, no
# internal helpers.
others=$(nm -D --defined-only "$real" | awk '{print $3}' |
    grep -Ev '^(K_Svg|K_Draw_|K_Bitmap|K_Drawing|fltInfo$|fltLoad$|fltSave$|fltFreeData$)' || true)
[ -z "$others" ] || fail "exports outside the C interface: $(echo "$others" | head -5 | tr '\n' ' ')"
nm -D --defined-only "$real" | grep ' K_SvgDiagnoseLoad$' >/dev/null || fail "K_SvgDiagnoseLoad not exported"

step "the tool: --version, --help, the manual page"
[ "$("$stage/bin/kvsvg" --version)" = "kvsvg $version (library $version)" ] ||
    fail "kvsvg --version: $("$stage/bin/kvsvg" --version)"
help=$("$stage/bin/kvsvg" --help) || fail "kvsvg --help does not exit 0"
commands=$(echo "$help" | sed -n 's/^  \([a-z][a-z-]*\) .*/\1/p')
[ "$(echo "$commands" | wc -l)" -ge 5 ] || fail "kvsvg --help lists too few commands: $commands"
man_page="$stage/share/man/man1/kvsvg.1"
grep -q "^\.TH KVSVG 1 .* \"kvsvg $version\"" "$man_page" || fail "the manual page does not carry version $version"
for command in $commands; do
    # Each command heads an entry: .BI "render " ... or .BI "render\-batch " ...
    grep -Eq "^\.BI? \"${command//-/\\\\-}( |\")" "$man_page" || fail "the manual page lacks the command '$command'"
    "$stage/bin/kvsvg" "$command" --help >/dev/null || fail "kvsvg $command --help does not exit 0"
done
for option in $(echo "$help" | grep -o -- '--[a-z][a-z0-9-]*' | sort -u); do
    grep -q -- "${option//-/\\\\-}" "$man_page" || fail "the manual page lacks the option $option"
done
if command -v groff >/dev/null; then
    warnings=$(LC_ALL=C.UTF-8 groff -man -Tutf8 -ww -z "$man_page" 2>&1)
    [ -z "$warnings" ] || fail "the manual page does not format cleanly: $warnings"
fi
# Failed loads say why, after the status, for every command that loads.
printf '<svg xmlns="http://www.w3.org/2000/svg">\n  <g>\n</svg>\n' > "$work/bad.svg"
printf '<html><body/></html>\n' > "$work/page.svg"
expect_failure() {  # expected line, then the command
    local expected=$1 rc=0
    shift
    "$@" >/dev/null 2>"$work/stderr.txt" || rc=$?
    [ $rc -eq 1 ] && [ "$(cat "$work/stderr.txt")" = "$expected" ] ||
        fail "'$*' gave exit $rc and: $(cat "$work/stderr.txt") (expected: $expected)"
}
expect_failure "kvsvg: load failed: ERROR_FILE_OPEN (-14): $work/no-such.svg: no such file" \
    "$stage/bin/kvsvg" info "$work/no-such.svg"
expect_failure "kvsvg: load failed: ERROR_FILE_OPEN (-14): $work/bad.svg:3:3: not well-formed XML: Start-end tags mismatch" \
    "$stage/bin/kvsvg" render "$work/bad.svg" "$work/bad.png"
expect_failure "kvsvg: load failed: ERROR_NO_SVG_ROOT (-771): $work/page.svg: the root element is <html>, not <svg>" \
    "$stage/bin/kvsvg" flatten "$work/page.svg" "$work/flat.svg"
expect_failure "kvsvg: load failed: ERROR_FILE_OPEN (-14): $work/bad.svg:3:3: not well-formed XML: Start-end tags mismatch" \
    "$stage/bin/kvsvg" convert "$work/bad.svg" "$work/out.svgz"
printf '%s\t%s\n' "$work/bad.svg" "$work/bad.png" > "$work/list.tsv"
"$stage/bin/kvsvg" render-batch "$work/list.tsv" > "$work/batch.txt" 2>&1 || true
[ "$(cat "$work/batch.txt")" = "$(printf 'fail\t%s\tload: ERROR_FILE_OPEN: %s:3:3: not well-formed XML: Start-end tags mismatch' \
    "$work/bad.png" "$work/bad.svg")" ] || fail "render-batch said: $(cat "$work/batch.txt")"
# A flattened file opens in other viewers as SVG and still reads as flat here.
"$stage/bin/kvsvg" flatten examples/badge.svg "$work/badge-flat.svg"
grep -q 'xmlns="http://www.w3.org/2000/svg"' "$work/badge-flat.svg" || fail "the flat file names no SVG namespace"
"$stage/bin/kvsvg" info "$work/badge-flat.svg" | grep '^flat: *yes' >/dev/null || fail "the flat file lost its flat mark"
rc=0
"$stage/bin/kvsvg" no-such-command 2>/dev/null || rc=$?
[ $rc -eq 2 ] || fail "an unknown command gave exit $rc"

step "C examples built with pkg-config"
export PKG_CONFIG_PATH=$libdir/pkgconfig
[ "$(pkg-config --modversion kvsvg)" = "$version" ] ||
    fail "pkg-config --modversion kvsvg: $(pkg-config --modversion kvsvg)"
flags=$(pkg-config --cflags --libs kvsvg)
for example in edit_document render_png; do
    cc -std=c11 -Wall -Wextra -Werror -Wno-missing-field-initializers "examples/$example.c" $flags -lm \
        -o "$work/$example" || fail "$example does not build with pkg-config"
done
echo '#include <kvsvg/kvsvg.h>
#include <kvsvg/kvbase.h>
#include <kvsvg/kvdrw.h>
int main() { return K_SvgGetLibraryVersion()[0] ? 0 : 1; }' > "$work/cxx_consumer.cpp"
c++ -std=c++17 -Wall -Werror "$work/cxx_consumer.cpp" $flags -o "$work/cxx_consumer" || fail "C++ use of the headers"
export LD_LIBRARY_PATH=$libdir
"$work/cxx_consumer"
"$work/edit_document" examples/badge.svg "$work/edited.svg" "#123456" | tee "$work/edit.txt"
grep -q '^recoloured 3 shapes, retitled, added a dot' "$work/edit.txt" || fail "edit_document said: $(cat "$work/edit.txt")"
[ "$(grep -c 'fill="#123456"' "$work/edited.svg")" = 4 ] && grep -q '<title>edited</title>' "$work/edited.svg" &&
    grep -q '<circle cx="12" cy="12" r="6" fill="#123456" />' "$work/edited.svg" ||
    fail "edit_document did not write its edits: $(cat "$work/edited.svg")"
"$work/render_png" examples/badge.svgz "$work/badge.png" 300 | tee "$work/render.txt"
grep -qx "wrote $work/badge.png: 300 x 150 pixels" "$work/render.txt" || fail "render_png said: $(cat "$work/render.txt")"
[ "$(head -c 8 "$work/badge.png" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] || fail "render_png wrote no PNG"
unset LD_LIBRARY_PATH

step "the CMake consumer project"
cmake -S examples -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$stage" >/dev/null
cmake --build "$work/consumer" >/dev/null
# The imported target carries the library's place: these run without
# LD_LIBRARY_PATH.
"$work/consumer/render_png" examples/badge.svg "$work/consumer.png" 120 | grep ": 120 x 60 pixels$" >/dev/null ||
    fail "the CMake consumer's render_png"
"$work/consumer/edit_document" examples/badge.svg "$work/consumer.svgz" >/dev/null
[ "$(head -c 2 "$work/consumer.svgz" | od -An -tx1 | tr -d ' \n')" = 1f8b ] || fail "an .svgz name gives gzip"

step "the installed Python package finds the staged library by itself"
package=$(dirname "$(find "$stage" -path '*/kvsvg/__init__.py')")
[ -f "$package/_location.py" ] || fail "the Python package was not installed with its _location.py"
(cd "$work" && env -u KVSVG_LIBRARY PYTHONPATH="$(dirname "$package")" PYTHONDONTWRITEBYTECODE=1 "$python" -c '
import kvsvg, sys
assert kvsvg.__file__.startswith(sys.argv[1]), kvsvg.__file__
with kvsvg.Document.load(sys.argv[2]) as badge:
    assert badge.render(width=24)[:4] == b"\x89PNG"
print("import kvsvg", kvsvg.__version__, "from", kvsvg.__file__)
' "$package" "$root/examples/badge.svg")

step "the Python binding's tests against the staged library"
if "$python" -c 'import pytest' 2>/dev/null; then
    KVSVG_LIBRARY=$(readlink -f "$libdir/libkvsvg.so.0") PYTHONPATH=$root/python PYTHONDONTWRITEBYTECODE=1 \
        "$python" -m pytest -q -p no:cacheprovider python/tests
else
    fail "pytest is missing for $python (scripts/deps.sh installs python3-pytest)"
fi
echo "install checks passed"
