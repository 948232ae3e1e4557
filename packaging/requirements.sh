# SPDX-License-Identifier: GPL-3.0-or-later
# shellcheck shell=bash
#
# The packages of Debian 12 and Ubuntu that the build and the tests need, and how missing ones are installed.
# To be sourced.

BUILD_PACKAGES=(build-essential ca-certificates ccache cmake fuse3 git libfuse3-dev libicu-dev libimobiledevice-dev
    libplist-dev librsvg2-bin libssl-dev libusbmuxd-dev libxcb1-dev ninja-build pkg-config qt6-base-dev
    qt6-l10n-tools qt6-tools-dev qt6-tools-dev-tools xdg-utils)

TEST_PACKAGES=("${BUILD_PACKAGES[@]}" appstream at-spi2-core attr bash clang-format-14 clang-tidy-14 coreutils dbus-bin
    dbus-daemon desktop-file-utils findutils fish gir1.2-atspi-2.0 groff-base icnsutils imagemagick libglib2.0-bin
    libgtest-dev libimobiledevice-utils libjpeg-turbo-progs lxqt-panel openbox procps psmisc python3 python3-dbus
    python3-gi rsync tar tint2 util-linux x11-utils xclip xdotool xvfb zsh)

# install_packages PURPOSE PACKAGE... : installs those that are missing, and says so. Nothing is asked for.
install_packages() {
    local purpose=$1 package
    shift
    local missing=()
    for package in "$@"; do
        if [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) != installed ]]; then
            missing+=("$package")
        fi
    done
    if ((${#missing[@]} == 0)); then
        echo "Everything needed to $purpose is installed."
        return 0
    fi
    local as_root=()
    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            echo "Missing: ${missing[*]}. Installing them needs root or sudo." >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "Installing what is needed to $purpose: ${missing[*]}"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq update
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -y --no-install-recommends install "${missing[@]}"
}
