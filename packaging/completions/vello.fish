# SPDX-License-Identifier: Apache-2.0
# Completion of vello's commands, options and values for fish. `vello complete` knows what may stand where.

function __vello_offered
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -q current[1]; or set current ''
    set -l lines (vello complete -- $words[2..-1] $current[1] 2>/dev/null)
    if test "$lines[1]" = files
        __fish_complete_path $current[1]
    else
        printf '%s\n' $lines[2..-1]
    end
end

complete -c vello -f -a '(__vello_offered)'
