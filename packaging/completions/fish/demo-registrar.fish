# SPDX-FileCopyrightText: 2026 The ormusipsetup authors
# SPDX-License-Identifier: Apache-2.0

complete -c demo-registrar -f
complete -c demo-registrar -l port -x -d "listen on this port"
complete -c demo-registrar -l account -r -F -d "read more accounts from this file"
complete -c demo-registrar -l help -d "print a summary"
complete -c demo-registrar -l version -d "print the version"
