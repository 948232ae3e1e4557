# SPDX-License-Identifier: GPL-3.0-or-later
# Completion of quillbox for fish.

function __quillbox_fields
    quillbox $argv[2..-1] --json 2>/dev/null | string replace -rf '^ *"'$argv[1]'": "([^"\\\\]*)",?$' '$1'
end

function __quillbox_words
    for word in (commandline -opc)[2..-1]
        string match -q -- '-*' $word; or echo $word
    end
end

function __quillbox_needs_verb
    test (count (__quillbox_words)) -eq 0
end

function __quillbox_needs_device
    set -l words (__quillbox_words)
    test (count $words) -eq 1; and contains -- $words[1] mount unmount root info reveal
end

function __quillbox_needs_root
    set -l words (__quillbox_words)
    test (count $words) -eq 2; and test $words[1] = root
end

complete -c quillbox -f
complete -c quillbox -n __quillbox_needs_verb -a list -d 'attached devices, their states and volumes'
complete -c quillbox -n __quillbox_needs_verb -a mount -d 'mount the device\'s volume'
complete -c quillbox -n __quillbox_needs_verb -a unmount -d 'unmount it'
complete -c quillbox -n __quillbox_needs_verb -a root -d 'show another root of the device, or list them'
complete -c quillbox -n __quillbox_needs_verb -a info -d 'what is known about the device'
complete -c quillbox -n __quillbox_needs_verb -a reveal -d 'show the volume in the file manager'
complete -c quillbox -n __quillbox_needs_verb -a quit -d 'unmount everything and end Quillbox'
complete -c quillbox -n __quillbox_needs_verb -a doctor -d 'find out why a device does not appear'
complete -c quillbox -n __quillbox_needs_device -a '(__quillbox_fields serialNumber list)'
complete -c quillbox -n __quillbox_needs_root -a '(__quillbox_fields root root (__quillbox_words)[2])'
complete -c quillbox -l headless -d 'run without a display'
complete -c quillbox -l simulate -d 'attach one simulated phone'
complete -c quillbox -l volumes -r -a '(__fish_complete_directories)' -d 'let volumes appear in this folder'
complete -c quillbox -l preferences -r -F -d 'keep the settings in this file'
complete -c quillbox -l log-level -x -a 'error warning info debug' -d 'how much is told'
complete -c quillbox -l json -d 'let a command print JSON'
complete -c quillbox -l version -d 'print the version'
complete -c quillbox -l help -d 'print the usage'
