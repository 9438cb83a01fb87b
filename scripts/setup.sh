#!/usr/bin/env bash
# Installs what the wizard, its tools and its tests need from Debian's packages, then
# configures and builds. Safe to run again: installed packages are not fetched twice.
#   BUILD_DIR    build folder (default: build)
#   BUILD_TYPE   CMake build type (default: RelWithDebInfo)
#   LABFOLIO_CMAKE_ARGS  extra arguments for the configure step (e.g. -DLABFOLIO_SANITIZE=ON)
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  build-essential cmake ninja-build ccache pkg-config
  qt6-base-dev qt6-svg-dev libqt6svg6
  unixodbc unixodbc-dev tdsodbc freetds-bin
  librdkit-dev libboost-dev libboost-serialization-dev libboost-iostreams-dev
  libpugixml-dev libsqlite3-dev libfmt-dev libssl-dev
  libgtest-dev libgmock-dev
  xvfb xauth fonts-dejavu-core
)
# Structure index: molecules for its tests, benchmark and demo (SMILES from rdkit-data, turned
# into CDXML by openbabel's obabel).
packages+=(rdkit-data openbabel)
# The installation's tests: the desktop entry checked, the Debian package built and read.
packages+=(desktop-file-utils dpkg-dev)
# The structure index files' CRC-32 (zlib).
packages+=(zlib1g-dev)

# shellcheck source=scripts/install-packages.sh
. scripts/install-packages.sh
install_packages setup "${packages[@]}"

BUILD_DIR=${BUILD_DIR:-build}
BUILD_TYPE=${BUILD_TYPE:-RelWithDebInfo}
# shellcheck disable=SC2086
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE="$BUILD_TYPE" ${LABFOLIO_CMAKE_ARGS:-}
cmake --build "$BUILD_DIR" -j "$(nproc)"
