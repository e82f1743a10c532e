# SPDX-License-Identifier: GPL-3.0-or-later
# Debian packages of the project, and the one way to install what is missing of them. Sourced by
# ./run and ./test.

BUILD_PACKAGES=(
  g++ cmake ninja-build ccache pkg-config
  qt6-base-dev qt6-svg-dev qt6-image-formats-plugins
  libavformat-dev libavcodec-dev libavutil-dev libswresample-dev
  libvips-dev libtag1-dev
  libfftw3-dev libhwy-dev libunistring-dev libcubeb-dev opencl-headers
)
TEST_PACKAGES=(libgtest-dev pocl-opencl-icd ffmpeg pulseaudio pulseaudio-utils git python3 procps
  clang-format-19 clang)

# need_packages PACKAGE...: installs those that are missing; silent and quick when none is.
need_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "These packages are missing and sudo is not here to install them: ${missing[*]}" >&2
      return 1
    fi
    as_root=(sudo)
  fi
  echo "Installing: ${missing[*]}" >&2
  "${as_root[@]}" apt-get update -qq >&2 &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}
