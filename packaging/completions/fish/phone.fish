# SPDX-FileCopyrightText: 2026 The ormusipsetup authors
# SPDX-License-Identifier: Apache-2.0

complete -c phone -f
complete -c phone -l screenshot -x -a '(__fish_complete_directories)' -d "write pictures of the screens and end"
complete -c phone -s h -l help -d "print a summary"
complete -c phone -l help-all -d "the same, with Qt's options"
complete -c phone -s v -l version -d "print the version"
