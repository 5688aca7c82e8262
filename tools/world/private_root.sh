# Sourced by the scripts beside it. Shows a staged tree at /applications/DLNA to one command and its
# children; everybody else on the machine sees nothing of it.

# mirror FROM TO EXCEPT: every entry of FROM appears under TO as it is, but the one called EXCEPT.
mirror() {
    local from=${1%/} to=$2 except=$3 entry name
    for entry in "$from"/* "$from"/.[!.]*; do
        name=${entry##*/}
        if [ "$name" = "$except" ]; then
            continue
        elif [ -L "$entry" ]; then
            cp -P "$entry" "$to/"
        elif [ -d "$entry" ]; then
            mkdir "$to/$name"
            mount --rbind "$entry" "$to/$name"
        elif [ -f "$entry" ]; then
            : >"$to/$name"
            mount --bind "$entry" "$to/$name"
        fi
    done
}

# private_root STAGE: needs a mount namespace of its own. The new root is a tmpfs on which the old
# root's folders are bound, so that a mount point can exist that the machine does not have. The
# empty folder on which it is mounted lies in the build tree and may be shared: what is mounted
# there is seen in one namespace only.
private_root() {
    local stage=$1 root=$1/.root where=$PWD
    mkdir -p "$root"
    mount -t tmpfs -o mode=0755 ketra "$root"
    mount --make-unbindable "$root" # else binding the folder that holds it would bind it again
    mirror / "$root" applications
    mkdir "$root/applications"
    if [ -d /applications ]; then
        mirror /applications "$root/applications" DLNA
    fi
    mkdir "$root/applications/DLNA"
    mount --rbind "$stage/applications/DLNA" "$root/applications/DLNA"
    cd "$root" || return
    pivot_root . .
    umount -l . # the old root, which pivot_root has put on top of the new one
    cd "$where" || return
}

# Root may, and where user namespaces are allowed anybody.
may_make_namespaces() {
    [ "$(id -u)" = 0 ] || unshare --user --map-root-user --mount true 2>/dev/null
}

# check_stage STAGE: says its absolute path, or what is missing.
check_stage() {
    if [ ! -d "$1/applications/DLNA/release/bin" ]; then
        echo "${0##*/}: no staged programs in \"$1\"; build the target \"stage\" first" >&2
        return 1
    fi
    readlink -f "$1"
}

# For a machine that allows no namespaces: root installs the tree for as long as the calling script
# runs. One at a time: a second one waits. Call remove_installed at the end, however it ends. WHY is
# what was said when a namespace was tried.
install_for_now() { # STAGE WHY
    local stage=$1
    if [ "$(id -u)" != 0 ]; then
        echo "${0##*/}: the programs cannot be shown at their place to this user:" >&2
        echo "${0##*/}: ${2%%$'\n'*}" >&2
        echo "${0##*/}: put that right, or run it as root" >&2
        return 1
    fi
    exec 8>/run/lock/ketra-applications
    flock 8
    # Ours, of a run that was killed: nobody else has the lock.
    [ ! -e /applications/DLNA/.installed-for-now ] || rm -rf /applications/DLNA
    if [ -e /applications/DLNA ]; then
        echo "${0##*/}: /applications/DLNA exists on this machine and is left alone" >&2
        return 1
    fi
    echo "${0##*/}: no namespaces here: installing /applications/DLNA until this ends" >&2
    [ -d /applications ] || made_applications=yes
    installed=yes # also when the copy fails half way
    mkdir -p /applications/DLNA
    touch /applications/DLNA/.installed-for-now
    cp -R --preserve=mode "$stage/applications/DLNA/." /applications/DLNA
}

remove_installed() {
    [ "${installed:-}" = yes ] || return 0
    rm -rf /applications/DLNA
    [ "${made_applications:-}" != yes ] || rmdir /applications 2>/dev/null || true
    installed=
}

# run_and_wait COMMAND..: a child that Ctrl-C reaches as it reaches us, and to which TERM is passed
# on; gives its exit status.
run_and_wait() {
    local status=0 again=yes stopping=
    child=
    trap 'again=yes' INT HUP
    trap 'again=yes stopping=yes; pass_on_term' TERM
    # The shell would start it with INT ignored and without input.
    env --default-signal=INT,QUIT "$@" <&0 8>&- &
    child=$!
    [ -z "$stopping" ] || pass_on_term
    while [ "$again" = yes ]; do
        again=
        status=0
        wait "$child" || status=$?
    done
    return "$status"
}

# What run_and_wait does with TERM; with-world has its own.
pass_on_term() {
    [ -z "$child" ] || kill -TERM "$child" 2>/dev/null || true
}
