# SPDX-License-Identifier: BSD-2-Clause
# Completion of tvk for bash. Written by scripts/make-pages.
_tvk() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} options=
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "info decode index cut export sheet compare explain --help --version" -- "$word")
        return
    fi
    # Words where an option takes one of a few; nothing where it takes a number; else files.
    case $command:$before in
        decode:-o|decode:--output) return ;;
        decode:--precision) mapfile -t COMPREPLY < <(compgen -W "fast exact" -- "$word"); return ;;
        decode:--threads) compopt +o default 2>/dev/null; return ;;
        decode:--reduce) mapfile -t COMPREPLY < <(compgen -W "1 2 4 8" -- "$word"); return ;;
        decode:--from) compopt +o default 2>/dev/null; return ;;
        decode:--to) compopt +o default 2>/dev/null; return ;;
        decode:--time) compopt +o default 2>/dev/null; return ;;
        decode:--types) mapfile -t COMPREPLY < <(compgen -W "i ip ipb" -- "$word"); return ;;
        decode:--frames) compopt +o default 2>/dev/null; return ;;
        decode:--list) compopt +o default 2>/dev/null; return ;;
        index:-o|index:--output) return ;;
        cut:--from) compopt +o default 2>/dev/null; return ;;
        cut:--to) compopt +o default 2>/dev/null; return ;;
        cut:-o|cut:--output) return ;;
        export:--frame) compopt +o default 2>/dev/null; return ;;
        export:--list) compopt +o default 2>/dev/null; return ;;
        export:-o|export:--output) return ;;
        export:--precision) mapfile -t COMPREPLY < <(compgen -W "fast exact" -- "$word"); return ;;
        export:--threads) compopt +o default 2>/dev/null; return ;;
        export:--reduce) mapfile -t COMPREPLY < <(compgen -W "1 2 4 8" -- "$word"); return ;;
        sheet:-o|sheet:--output) return ;;
        sheet:--columns) compopt +o default 2>/dev/null; return ;;
        sheet:--rows) compopt +o default 2>/dev/null; return ;;
        sheet:--width) compopt +o default 2>/dev/null; return ;;
        compare:--threads) compopt +o default 2>/dev/null; return ;;
        explain:--frames) compopt +o default 2>/dev/null; return ;;
    esac
    [[ $word == -* ]] || return
    case $command in
        info) options="--json --count --help" ;;
        decode) options="-o --output --precision --threads --reduce --from --to --time --types --reverse --frames --list --md5 --help" ;;
        index) options="-o --output --json --help" ;;
        cut) options="--from --to -o --output --help" ;;
        export) options="--frame --list -o --output --precision --threads --reduce --help" ;;
        sheet) options="-o --output --columns --rows --width --help" ;;
        compare) options="--threads --total --help" ;;
        explain) options="--frames --help" ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
}
complete -o default -F _tvk tvk
