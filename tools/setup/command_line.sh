# shellcheck shell=bash
# What the commands of ./ketra take and say of themselves, so that a wrong line is refused and --help
# answered before anything is installed or built. Sourced by ./ketra.

# The options of ketra-tv and ketra-push, once more; a test compares them with what the programs say.
# Those with ":" behind them take the next word as their value, those with "=" also what stands in the
# same one: --to=NAME, -tNAME.
run_options=(--ask --allow --deny --json --verbose --script: --trace: --patience: --version)
push_options=(--list --keep --to= --interface= --timeout= --as= --port= --version -l -t= -i=)

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
      --as NAME         how this phone is called when the television asks its viewer
      --port N          serve the file on this port (any free one)
      --keep            a picture: stay until the television stops showing it
      --version
END
}

refuse() { # COMMAND SENTENCE
    printf 'ketra: %s; ./ketra %s --help tells more\n' "$2" "$1" >&2
    return 2
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

# known_option WORD OPTION..: prints the option that WORD is, as it stands in the list.
known_option() {
    local word=$1 option
    shift
    case $word in
    --*=*) word=${word%%=*}= ;;
    -[!-]?*) word=${word:0:2}= ;;
    esac
    for option in "$@"; do
        case $option in
        "$word" | "$word=" | "$word:")
            echo "$option"
            return 0
            ;;
        esac
    done
    return 1
}

# check_options COMMAND FILES OPTION.. -- ARG..: FILES is how many words that are no option may be
# there. Leaves their number in `files` and whether an option stands for one in `fileless`.
check_options() {
    local command=$1 most=$2 options=() option word ended=
    shift 2
    while [ "$1" != -- ]; do
        options+=("$1")
        shift
    done
    shift
    files=0
    fileless=
    while [ $# -gt 0 ]; do
        word=$1
        shift
        if [ -z "$ended" ] && [ "$word" = -- ]; then
            ended=yes
        elif [ -z "$ended" ] && [ "$word" != - ] && [ "${word#-}" != "$word" ]; then
            option=$(known_option "$word" "${options[@]}") ||
                refuse "$command" "unknown option: $word" || return 2
            case $option in
            --list | -l | --version) fileless=yes ;;
            esac
            if [ "${option%[=:]}" = "$word" ] && [ "$option" != "$word" ]; then
                [ $# -gt 0 ] || refuse "$command" "$word needs a value" || return 2
                shift
            fi
        else
            files=$((files + 1))
            [ "$files" -le "$most" ] || refuse "$command" "too many arguments: $word" || return 2
        fi
    done
}

# check_line COMMAND ARG..: 0 when the command can go on, 2 when it was refused; --help is answered
# and ends ./ketra.
check_line() {
    local command=$1 files fileless
    shift
    if wants_help "$@"; then
        "${command}_help"
        exit 0
    fi
    case $command in
    demo) check_options demo 0 -- "$@" ;;
    run) check_options run 0 "${run_options[@]}" -- "$@" ;;
    push)
        check_options push 1 "${push_options[@]}" -- "$@" || return 2
        [ "$files" = 1 ] || [ -n "$fileless" ] || refuse push "which file?"
        ;;
    esac
}
