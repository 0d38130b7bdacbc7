#!/usr/bin/env bash
# Installs the build into a temporary prefix and checks what a desktop needs from it: the programs
# run from there, the launcher entry and the software-centre data validate, the icons are in place.
# Usage: check-install.sh BUILD_DIR
set -euo pipefail
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
id=app.quillory.Quillory

cmake --install "$build" --prefix "$prefix" >/dev/null
failures=0
check() {
  if "$@"; then echo "ok: $*"; else echo "FAILED: $*"; failures=$((failures + 1)); fi
}
check test -x "$prefix/bin/quillory"
check test -x "$prefix/bin/quillory-cli"
check test -f "$prefix/share/icons/hicolor/scalable/apps/$id.svg"
check test -f "$prefix/share/icons/hicolor/symbolic/apps/$id-symbolic.svg"
check desktop-file-validate "$prefix/share/applications/$id.desktop"
check appstreamcli validate --no-net "$prefix/share/metainfo/$id.metainfo.xml"
check grep -qx "Icon=$id" "$prefix/share/applications/$id.desktop"
check test -x "$prefix/share/quillory/ThirdParty/dprint/0.54.0/bin/x86_64-unknown-linux-gnu/dprint"
check test -n "$(cd "$build" && ls -d *.bundle)"
for package in $(cd "$build" && ls -d *.bundle); do
  check test -s "$prefix/share/quillory/$package/queries/highlights.scm"
done
# The installed command-line companion works from the prefix on a real folder.
site=$(mktemp -d)
printf '<!doctype html><title>Home</title><style>h1 { color: red }</style><a href="about.html">About</a>\n' > "$site/index.html"
check sh -c "'$prefix/bin/quillory-cli' sitemap '$site' | grep -q '\"index.html\"'"
# Moved elsewhere, the installed programs still find their query folders under ../share/quillory:
# the highlighting equals the build's, and differs from the hand-written scanner's fallback.
moved=$(mktemp -d)
cp -a "$prefix/." "$moved/"
installed=$("$moved/bin/quillory-cli" highlight "$site/index.html")
check test "$installed" = "$("$build/quillory-cli" highlight "$site/index.html")"
check test "$installed" != "$("$moved/bin/quillory-cli" highlight "$site/index.html" --scanner)"
rm -rf "$site" "$moved"
echo "$failures failed"
[[ $failures -eq 0 ]]
