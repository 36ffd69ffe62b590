# SPDX-FileCopyrightText: 2026 The ormusipsetup authors
# SPDX-License-Identifier: Apache-2.0

set -l commands list status connect disconnect check repair
complete -c sip-profile -f
complete -c sip-profile -n "not __fish_seen_subcommand_from $commands" -a list -d "print the profiles"
complete -c sip-profile -n "not __fish_seen_subcommand_from $commands" -a status -d "ask whether they are connected"
complete -c sip-profile -n "not __fish_seen_subcommand_from $commands" -a connect -d "connect a profile"
complete -c sip-profile -n "not __fish_seen_subcommand_from $commands" -a disconnect -d "disconnect a profile"
complete -c sip-profile -n "not __fish_seen_subcommand_from $commands" -a check -d "print the faults of the settings file"
complete -c sip-profile -n "not __fish_seen_subcommand_from $commands" -a repair -d "repair it"
complete -c sip-profile -n "__fish_seen_subcommand_from status connect disconnect" \
    -a '(sip-profile --json list 2>/dev/null | string match -r -g \'^ *"name": "(.*)",$\')'
complete -c sip-profile -l json -d "print one JSON document"
complete -c sip-profile -s v -l verbose -d "print the diagnostics of the daemon link, too"
complete -c sip-profile -s h -l help -d "print a summary"
complete -c sip-profile -l version -d "print the version"
