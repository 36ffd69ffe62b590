# SPDX-FileCopyrightText: 2026 The ormusipsetup authors
# SPDX-License-Identifier: Apache-2.0

complete -c sipd -f
complete -c sipd -l ca-file -r -F -d "trust the certificates in this file"
complete -c sipd -l expires -x -d "ask for registrations of so many seconds"
complete -c sipd -l keep-running -d "start the daemon again whenever it ends"
complete -c sipd -l no-nat -d "register this machine's own addresses even behind a NAT"
complete -c sipd -s v -l verbose -d "log more"
complete -c sipd -l help -d "print a summary"
complete -c sipd -l version -d "print the version"
