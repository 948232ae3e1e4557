#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
#
# make_icns.sh OUTPUT TYPE=PNG... : an icon family of PNG pictures, each an element of the type that stands for its
# size: ic07 is 128 pixels wide, ic08 256, ic09 512, ic10 1024.
set -euo pipefail

# A number as four bytes, the highest first.
big_endian() {
    local shift
    for shift in 24 16 8 0; do
        # shellcheck disable=SC2059 # the format is the byte's own escape
        printf "\\x$(printf %02x $((($1 >> shift) & 255)))"
    done
}

output=$1
shift
total=8
for element in "$@"; do
    total=$((total + 8 + $(stat -Lc %s "${element#*=}")))
done
{
    printf icns
    big_endian "$total"
    for element in "$@"; do
        printf %s "${element%%=*}"
        big_endian $((8 + $(stat -Lc %s "${element#*=}")))
        cat "${element#*=}"
    done
} >"$output.new"
mv "$output.new" "$output"
