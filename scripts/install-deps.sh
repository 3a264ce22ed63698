#!/usr/bin/env bash
# Installs, from Debian packages, everything a fresh machine needs to build
# Kestrel, run its tests and demo, and cross-build the Windows DLLs.
# Idempotent and quiet when everything is present; runs as root without prompts.
set -euo pipefail

packages=(
  # native build and tests
  build-essential cmake pkg-config python3 git
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  # the POSIX canvas: Cairo with FreeType and fontconfig, PNG, metric-compatible fonts
  libcairo2-dev libfreetype-dev libfontconfig-dev libpng-dev fonts-liberation2
  # independent checks: PostScript rendering, GIF decoding
  ghostscript libgif-dev python3-pil
  # published echo-sounding tables (carter.d), converted at build time
  gmt-common
  # coastlines: GMT with the low-resolution GSHHG shorelines, for the converter and its check
  gmt gmt-gshhg-low python3-numpy
  # libFuzzer targets (the fuzz preset): clang with its sanitizer and fuzzer runtimes
  clang libclang-rt-14-dev
  # the Python package and its tests: pybind11, and the peers it is checked
  # against (gsw, contourpy) and the libraries it works with (xarray, Dask)
  python3-dev pybind11-dev python3-pytest python3-gsw python3-contourpy python3-xarray
  python3-dask python3-distributed python3-matplotlib python3-psutil
  # the window of `kestrel view` and its tests: GTK 3, a virtual X server,
  # scripted mouse and keys, screenshots
  libgtk-3-dev xvfb xauth xdotool x11-apps imagemagick librsvg2-bin
  # the Windows DLLs and their tests
  g++-mingw-w64-x86-64 g++-mingw-w64-i686 binutils-mingw-w64 wine wine64
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
