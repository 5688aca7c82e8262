# shellcheck shell=bash
# What the commands of ./ketra take and say of themselves, so that a wrong line is refused and --help
# answered before anything is installed or built. Sourced by ./ketra; $standing is where it was called.

# The options of ketra-tv and ketra-push, once more; a test compares them with what the programs say.
# ketra-tv takes each as it stands; those with ":" behind them take the next word as their value.
# ketra-push reads its line with getopt_long, and getopt does the same here: --to=NAME, --interf NAME,
# -tNAME and -lt NAME mean what they mean there.
run_options=(--ask --allow --deny --json --verbose --script: --trace: --patience: --version)
push_options=list,keep,to:,interface:,timeout:,as:,port:,version,help
push_letters=hlt:i:

demo_help() {
    cat <<'END'
usage: ./ketra demo

Builds everything and shows it in a closed world of its own: a phone pushes a film, a song and a
photo, the viewer says yes, the TV plays. Takes no argument and ends by itself; pictures of the
screen are in build/demo afterwards.
END
}

test_help() {
    cat <<'END'
usage: ./ketra test [PART..]

Without a part everything but coverage runs. Parts: format dev asan tsan fuzz target
--coverage: line and branch coverage of the library (docs/coverage.md)
KETRA_FUZZ_SECONDS=N ./ketra test fuzz: N seconds on each fuzz target instead of 3
For a single test: cmake --preset dev && cmake --build --preset dev && ctest --preset dev -R NAME
END
}

run_help() {
    cat <<'END'
usage: ./ketra run [OPTION..]

The TV on the real network, until Ctrl-C. At a terminal the keyboard is its remote control; ? lists
the keys. Options:

  --ask, --allow, --deny   how to answer when a controller wants to play something;
                           without one of them you are asked
  --script FILE            commands from a file, one a line; - is standard input
  --json                   one JSON object a line
  --trace FILE             keeps what the library and the companion processes print
  --verbose                shows it among the TV's own lines
  --patience SECONDS       how long the companions may take to appear (10)
  --version

Settings are environment variables (docs/settings.md): KETRA_FRIENDLY_NAME=Kitchen ./ketra run
Once it is built, build/release/bin/ketra-tv --help tells the commands of a script, too.
END
}

push_help() {
    cat <<'END'
usage: ./ketra push FILE [--to NAME] [OPTION..]
       ./ketra push --list [OPTION..]

Shows a film, a song or a picture of this machine on a television of the home network (any UPnP AV
renderer). Ctrl-C stops it there. Options:

  -t, --to NAME         the television's name, a part of it, or its uuid; not needed when there is
                        only one
  -l, --list            show the televisions that answer
  -i, --interface NAME  look on this network interface only
      --timeout SEC     how long to look for televisions (5)
      --as NAME         how this phone is called when the television asks its viewer: one word of
                        at most 40 plain characters
      --port N          serve the file on this port (any free one)
      --keep            a picture: stay until the television stops showing it
      --version
END
}

refuse() { # COMMAND SENTENCE
    printf 'ketra: %s; ./ketra %s --help tells more\n' "$2" "$1" >&2
    return 2
}

# check_file FILE: whether it can be read, from where the person stands; says so if not.
check_file() {
    (cd "$standing" && [ -r "$1" ]) && return
    printf 'ketra: cannot read %s\n' "$1" >&2
    return 1
}

# wants_help ARG..: whether the usage is asked for, before any "--".
wants_help() {
    local word
    for word in "$@"; do
        case $word in
        --help | -h) return 0 ;;
        --) return 1 ;;
        esac
    done
    return 1
}

# check_run ARG..: whether ketra-tv knows these options.
check_run() {
    local word option
    while [ $# -gt 0 ]; do
        word=$1
        shift
        for option in "${run_options[@]}"; do
            [ "$word" = "${option%:}" ] || continue
            if [ "$word" != "$option" ]; then
                [ $# -gt 0 ] || refuse run "$word needs a value" || return 2
                [ "$word" != --script ] || [ "$1" = - ] || check_file "$1" || return 2
                shift
            fi
            continue 2
        done
        case $word in
        -*) refuse run "unknown option: $word" ;;
        *) refuse run "too many arguments: $word" ;;
        esac
        return 2
    done
}

# check_push ARG..: the same for ketra-push. As there, the last of --list, --version and --help holds.
check_push() {
    local words complaint action=push
    words=$(LC_ALL=C getopt -q -o "$push_letters" -l "$push_options" -- "$@") || {
        complaint=$(LC_ALL=C getopt -Q -n ketra -o "$push_letters" -l "$push_options" -- "$@" 2>&1) || :
        complaint=${complaint%%$'\n'*}
        refuse push "${complaint#ketra: }"
        return 2
    }
    eval set -- "$words"
    while [ "$1" != -- ]; do
        case $1 in
        --list | -l) action=list ;;
        --version) action=version ;;
        --help | -h) action=help ;;
        --keep) ;;
        *) shift ;; # the value
        esac
        shift
    done
    shift
    case $action-$# in
    help-*)
        push_help
        exit 0
        ;;
    push-0) refuse push "push needs a file" ;;
    push-1) check_file "$1" || return 3 ;; # the statuses of the programs
    list-0 | version-[01]) ;;
    list-1) refuse push "--list takes no file: $1" ;;
    *) refuse push "one file at a time, not also $2" ;;
    esac
}

# check_line COMMAND ARG..: 0 when the command can go on, 2 or 3 when it was refused; --help is answered
# and ends ./ketra.
check_line() {
    local command=$1
    shift
    if wants_help "$@"; then
        "${command}_help"
        exit 0
    fi
    case $command in
    demo) [ $# -eq 0 ] || refuse demo "demo takes no argument: $1" ;;
    run) check_run "$@" ;;
    push) check_push "$@" ;;
    esac
}
