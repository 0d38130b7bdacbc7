#!/usr/bin/env bash
# Builds the Debian package from the build folder and reads its control data: the name and version,
# the shared-library dependencies found by dpkg-shlibdeps, git, and Node.js/npm as recommends.
# Usage: check-package.sh BUILD_DIR VERSION
set -euo pipefail
build=$1
version=$2
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
(cd "$build" && cpack -G DEB -B "$out" >/dev/null)
deb="$out/quillory_${version}_$(dpkg --print-architecture).deb"
failures=0
check() {
  if "$@"; then echo "ok: $*"; else echo "FAILED: $*"; failures=$((failures + 1)); fi
}
check test -f "$deb"
depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
for needed in libgtk-4-1 libadwaita-1-0 libgtksourceview-5-0 libwebkitgtk-6.0-4 git; do
  check grep -q "$needed" <<<"$depends"
done
check grep -q "nodejs" <<<"$(dpkg-deb -f "$deb" Recommends)"
contents=$(dpkg-deb -c "$deb")
for path in ./usr/bin/quillory ./usr/bin/quillory-cli ./usr/share/applications/app.quillory.Quillory.desktop \
            ./usr/share/metainfo/app.quillory.Quillory.metainfo.xml; do
  check grep -q " $path\$" <<<"$contents"
done
echo "$failures failed"
[[ $failures -eq 0 ]]
