# Bash completion for vexctl and vexsim: commands, subcommands and options,
# read from the tools' own --help (which never touches a controller), so it
# cannot drift from what the installed tools accept.

# Prints the subcommands (or, with "options", the options) that the help
# text of `$@ --help` lists.
_vexsdk_help_words() {
    local what=$1
    shift
    "$@" --help 2>/dev/null | awk -v what="$what" '
        /^[A-Z][A-Z ]*:$/ { section = $0; next }
        what == "commands" && section == "SUBCOMMANDS:" && $1 ~ /^[a-z]/ { print $1 }
        what == "options" && section ~ /OPTIONS:$/ {
            n = split($1, names, ",")
            for (i = 1; i <= n; i++) if (names[i] ~ /^--?[A-Za-z]/) print names[i]
        }'
}

_vexsdk_tool() {
    local cur=${COMP_WORDS[COMP_CWORD]}
    local -a path=("${COMP_WORDS[0]}")
    local i word commands
    # Walk down the subcommands typed so far.
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        [[ $word == -* ]] && continue
        commands=$(_vexsdk_help_words commands "${path[@]}")
        if grep -qxF -- "$word" <<<"$commands"; then
            path+=("$word")
        fi
    done
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_vexsdk_help_words options "${path[@]}")" -- "$cur")
    else
        mapfile -t COMPREPLY < <(compgen -W "$(_vexsdk_help_words commands "${path[@]}")" -- "$cur")
    fi
}

complete -F _vexsdk_tool vexctl vexsim
