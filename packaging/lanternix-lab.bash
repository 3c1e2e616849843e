# Completion of lanternix-lab for bash: subcommands, options, what an option can be, and files. What there is comes from the
# command's own --help.

_lanternix_lab()
{
    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local subcommand='' word help value='' words='' files=''
    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
        [[ $word == -* ]] || { subcommand=$word; break; }
    done
    help=$(LC_ALL=C "$1" ${subcommand:+"$subcommand"} --help 2>/dev/null) || return
    # "  -o,--output FILE    what it is": a blank and capitals behind the option name its value.
    if [[ $before =~ ^--?[a-z-]+$ ]]; then
        value=$(sed -nE "s/^  (-[a-z],)?($before)(,[^ ]+)? ([A-Z][^ ]*).*/\4/p; s/^  ($before),--[^ ]+ ([A-Z][^ ]*).*/\2/p" \
            <<<"$help")
    fi

    case $value in
    *'{'*) words=${value#*'{'} words=${words%'}'*} words=${words//,/ } ;;
    'N|max'*) words='1 2 4 max' ;;
    KEY*)
        if [[ $subcommand == report ]]; then
            words='rate_min_hz< jitter_rms_units> gap_count> jump_count> line_rms_units> stuck_count> orphan_lift_count>'
            words+=' id_swap_count> ghost_count> dropout_count> coverage_percent< undecodable_count> lost_count>'
            words+=' handback_violation_count>'
        else
            words='reports_per_second> stuck_count> orphan_lift_count> dropout_count> undecodable_count> handback_count>'
            words+=' lost_count> inside_median_us> inside_longest_us>'
        fi
        compopt -o nospace
        ;;
    NAME*)
        if [[ $subcommand == torture ]]; then
            words=$(LC_ALL=C "$1" torture --list | awk '{ print $2 }')
        elif [[ $subcommand == selftest ]]; then
            words='patterns contacts tags resize mapping scales screens text torture tools'
        else
            words='board robot touchpad touchscreen' files=yes
        fi
        ;;
    WIDTH* | AREA*) return ;;
    NUMBER* | SECONDS* | US*) return ;;
    '')
        if [[ -z $subcommand ]]; then
            words=$(sed -nE '/^Subcommands:/,$ s/^  ([a-z]+) .*/\1/p' <<<"$help")
            words+=' --help --version'
        elif [[ $current == -* ]]; then
            words=$(sed -nE '/^Options:/,/^$/ s/^  ((-[a-z],)?--[^ ]+).*/\1/p' <<<"$help" \
                | tr ',' '\n' | sed -nE 's/^(--[a-z-]+).*/\1/p')
        fi
        ;;
    esac
    if [[ -n $words ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
        [[ -n $files ]] || return
    fi
    compopt -o filenames
    mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$current")
}

complete -F _lanternix_lab lanternix-lab
