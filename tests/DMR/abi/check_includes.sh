#!/bin/sh
# Who may include whom.
#   check_includes.sh TREE
# The library and what it shares with its sisters: the standard library, POSIX, the contract. The
# contract: the standard library and itself. The programs: neither each other nor the library's
# sources. The system bus's library: only behind the state bus.
set -u
cd "$1" || exit 2

{
    find DMR KetraSrv_DLNA_Common platform applications tools -type f -name '*.h' 2>/dev/null |
        sed 's/^/F:/'
    grep -rnE '^[[:space:]]*#[[:space:]]*include' DMR KetraSrv_DLNA_Common platform applications \
        tools --include='*.h' --include='*.cpp' 2>/dev/null |
        sed -E 's/^([^:]*:[0-9]+:)[[:space:]]*#[[:space:]]*include(_next)?[[:space:]]*/I:\1/'
} | awk -F: '
BEGIN {
    count = split("algorithm array atomic cassert cctype cerrno chrono climits cmath csignal " \
        "cstdarg cstddef cstdint cstdio cstdlib cstring functional initializer_list iostream " \
        "iterator limits list map memory new optional ostream string string_view type_traits " \
        "utility vector sys/types.h sys/wait.h unistd.h", names, " ")
    for (i = 1; i <= count; ++i)
        standard[names[i]] = 1
}

# The component that a file belongs to: applications/NAME, DMR/src, else its first folder.
function componentOf(path, parts) {
    split(path, parts, "/")
    if (parts[1] == "applications" || parts[1] == "DMR")
        return parts[1] "/" parts[2]
    return parts[1]
}

function refuse(who) {
    print file ":" line ": " who " must not include " included
    bad = 1
}

# Of the standard library or POSIX, or found beside the file or in one of the folders.
function allowed(roots, list, n, i, folder) {
    if (fromSystem)
        return name in standard
    folder = file
    sub("[^/]*$", "", folder)
    if ((folder name) in header)
        return 1
    n = split(roots, list, " ")
    for (i = 1; i <= n; ++i)
        if ((list[i] "/" name) in header)
            return 1
    return 0
}

$1 == "F" {
    header[$2] = 1
    component = componentOf($2)
    for (rest = $2; (slash = index(rest, "/")) > 0; ) {
        rest = substr(rest, slash + 1)
        owners[rest] = owners[rest] " " component " "
    }
    next
}

{
    file = $2
    line = $3
    included = $4
    name = included
    sub("^[<\"]", "", name)
    sub("[>\"].*$", "", name)
    component = componentOf(file)
    fromSystem = included ~ /^</
}

file ~ "^(DMR|KetraSrv_DLNA_Common)/" {
    if (!allowed("DMR/include DMR/src KetraSrv_DLNA_Common platform/include"))
        refuse("the library")
}

file ~ "^platform/include/" {
    if (!allowed("platform/include"))
        refuse("the contract")
}

file ~ "^applications/" && !fromSystem && !index(owners[name], " " component " ") {
    if (owners[name] ~ " (applications/|DMR/src )" && owners[name] !~ " applications/common ")
        refuse(component)
}

name ~ "^(systemd|dbus)/" && file !~ "^platform/linux/" {
    refuse("whoever stands before the state bus")
}

END { exit bad }
'
