#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Builds rings 1 and 2, and their unit tests, where no library is on the include path: only the headers of the C++
# standard library, of the C library, and of the test framework. Proves first that this is so, and afterwards that
# no file of the core read any other header.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../.."

build=build/core-only
headers=$PWD/build/core-only-headers
multiarch=$(g++ -print-multiarch)

# A folder of links to those headers of /usr/include that belong to the C library and the test framework.
rm -rf "$headers"
mkdir -p "$headers"
dpkg -L libc6-dev linux-libc-dev libcrypt-dev libgtest-dev | sort -u | python3 -c '
import os, sys
for path in sys.stdin.read().splitlines():
    if path.startswith("/usr/include/") and os.path.isfile(path):
        link = sys.argv[1] + path.removeprefix("/usr/include")
        os.makedirs(os.path.dirname(link), exist_ok=True)
        os.symlink(path, link)
' "$headers"

# The compiler own folders, in its order, without those that hold everything installed.
# Canonical names would hide through which folder a header was found.
flags="-nostdinc -nostdinc++ -fno-canonical-system-headers"
while read -r folder; do
    case $folder in
    /usr/include | /usr/local/include | "/usr/include/$multiarch") ;;
    *) flags+=" -isystem $folder" ;;
    esac
done < <(g++ -E -x c++ - -v </dev/null 2>&1 | sed -n '/^#include </,/^End/p' | grep '^ ')
flags+=" -isystem $headers/$multiarch -isystem $headers"

reads() {
    # shellcheck disable=SC2086
    echo "#include <$1>" | g++ -std=c++20 $flags -E -x c++ - -o /dev/null 2>/dev/null
}

for header in vector thread cstdio cerrno; do
    if ! reads "$header"; then
        echo "core-only: <$header> should be on the include path" >&2
        exit 1
    fi
done
for header in fuse3/fuse_lowlevel.h plist/plist.h usbmuxd.h libimobiledevice/libimobiledevice.h openssl/ssl.h \
    unicode/ucol.h QtCore/QString; do
    if reads "$header"; then
        echo "core-only: <$header> should not be on the include path" >&2
        exit 1
    fi
done

cmake --preset core-only "-DCMAKE_CXX_FLAGS=$flags" >/dev/null
cmake --build "$build"

# The test framework's own target puts /usr/include back for the tests; the core must not have read from there.
strangers=$(ninja -C "$build" -t deps |
    awk '/^[^ ]/ { core = index($0, "src/Core/") == 1 } core && sub(/^ +/, "")' | grep '^/' | sort -u |
    grep -v -e "^$PWD/" -e '^/usr/lib/gcc/' -e '^/usr/include/c++/' -e "^/usr/include/$multiarch/c++/" || true)
if [[ -n $strangers ]]; then
    echo "core-only: these headers were read and should not be there:" "$strangers" >&2
    exit 1
fi
