#!/usr/bin/env bash
# Installs what Quillory needs to build, test and run on Debian 12: the Debian packages that are
# missing (through sudo when not root) and the pinned npm packages of third_party/.
# Idempotent and quick when everything is present.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  build-essential cmake ninja-build pkg-config git
  libgtk-4-dev libadwaita-1-dev libgtksourceview-5-dev libwebkitgtk-6.0-dev
  libicu-dev nlohmann-json3-dev libsigc++-3.0-dev libtree-sitter-dev libcurl4-openssl-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth dbus-x11 fonts-dejavu-core
  # The window tests move and press the pointer through the X server's test extension.
  libxtst-dev
  # The install test validates the launcher entry and software-centre data with the desktop's tools.
  desktop-file-utils appstream
  # The sanitizer build and the fuzzing harnesses (libFuzzer comes with clang's runtime).
  clang libclang-rt-14-dev
)
# Node.js and npm come with the machine on our CI image; install Debian's only when absent.
command -v node >/dev/null 2>&1 || packages+=(nodejs)
command -v npm >/dev/null 2>&1 || packages+=(npm)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$package")
done

if ((${#missing[@]})); then
  echo "Installing Debian packages: ${missing[*]}"
  sudo=()
  [[ $(id -u) -eq 0 ]] || sudo=(sudo)
  "${sudo[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# Pinned npm packages: reinstall only when the lockfile changed since the last install.
stamp=third_party/.npm-installed
if [[ ! -f $stamp || third_party/package-lock.json -nt $stamp || ! -d third_party/node_modules ]]; then
  echo "Installing npm packages from third_party/package-lock.json"
  (cd third_party && npm ci --ignore-scripts --no-audit --no-fund --loglevel=error)
  touch "$stamp"
fi

# The Vite React fixture project of the frontend tests, installed from its own lockfile. Not `npm ci`:
# the registry we install from lists only some of rollup's per-platform packages, so the lockfile
# holds just those and `npm ci` refuses it as out of sync; `npm install --no-save` installs the
# locked versions without rewriting the lockfile.
fixture=tests/fixtures/frontend/vite-react
stamp=$fixture/.npm-installed
if [[ ! -f $stamp || $fixture/package-lock.json -nt $stamp || ! -d $fixture/node_modules ]]; then
  echo "Installing npm packages from $fixture/package-lock.json"
  (cd "$fixture" && npm install --no-save --ignore-scripts --no-audit --no-fund --loglevel=error)
  touch "$stamp"
fi
