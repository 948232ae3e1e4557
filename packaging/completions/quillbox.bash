# SPDX-License-Identifier: GPL-3.0-or-later
# shellcheck shell=bash
# Completion of quillbox for bash.

_quillbox_fields() {
    # The running program's answer has one member a line.
    quillbox "${@:2}" --json 2>/dev/null | sed -n 's/^ *"'"$1"'": "\([^"\\]*\)",\{0,1\}$/\1/p'
}

_quillbox() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local verb='' device='' count=0 word skip=0
    local verbs='list mount unmount root info reveal quit doctor'
    local options='--headless --simulate --simulate= --volumes --preferences --log-level --json --version --help'
    COMPREPLY=()
    case $previous in
    --volumes) mapfile -t COMPREPLY < <(compgen -d -- "$current"); return ;;
    --preferences) mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
    --log-level) mapfile -t COMPREPLY < <(compgen -W 'error warning info debug' -- "$current"); return ;;
    esac
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if ((skip)); then
            skip=0
        elif [[ $word == --volumes || $word == --preferences || $word == --log-level ]]; then
            skip=1
        elif [[ $word != -* ]]; then
            count=$((count + 1))
            if ((count == 1)); then verb=$word; elif ((count == 2)); then device=$word; fi
        fi
    done
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif ((count == 0)); then
        mapfile -t COMPREPLY < <(compgen -W "$verbs" -- "$current")
    elif ((count == 1)) && [[ $verb =~ ^(mount|unmount|root|info|reveal)$ ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_quillbox_fields serialNumber list)" -- "$current")
    elif ((count == 2)) && [[ $verb == root ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_quillbox_fields root root "$device")" -- "$current")
    fi
}

complete -F _quillbox quillbox
