#!/usr/bin/env bash
# Writes vexafs's manual page (vexafs.1.gz) and its bash completion (vexafs.bash) from the
# program's own --help, so that both list the commands and options the program has.
# The manual page is help2man's, with a section per command and the text of STATIC_INCLUDE.
#
# Usage: vexafs_help_files.sh VEXAFS HELP2MAN STATIC_INCLUDE OUTPUT_FOLDER
set -euo pipefail
program=$1 help2man=$2 static_include=$3 out=$4
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

main_help=$("$program" --help)
commands=$(sed -n '/^Subcommands:$/,/^$/s/^  \([^ ]\+\).*/\1/p' <<<"$main_help")
if [[ -z $commands ]]; then
    echo "$0: no commands under 'Subcommands:' in '$program --help'" >&2
    exit 1
fi

# One line per option of a help text: its names, then "*" when it takes a free value, the
# words of its value when the help lists them ("{unix->0,windows->1}"), or nothing for a flag.
options_of() {
    awk '
        /^[^ ]/ { in_options = ($0 == "Options:") }
        in_options && /^  -/ {
            names = $1; gsub(",", " ", names)
            value = ""
            if ($2 ~ /^[A-Z]+(:|$)/) {
                value = "*"
                if (match($0, /\{[^}]*\}/)) {
                    value = substr($0, RSTART + 1, RLENGTH - 2)
                    gsub(/->[^,]*/, "", value); gsub(",", " ", value)
                }
            }
            print names "\t" value
        }'
}

# --- bash completion ---------------------------------------------------------------------
# Options are looked up as "COMMAND OPTION"; the program's own options, which every command
# also takes, under "vexafs".
completion_table() {
    local scope=$1 names value name
    while IFS=$'\t' read -r names value; do
        for name in $names; do
            all_options[$scope]+="${all_options[$scope]:+ }$name"
            if [[ -n $value ]]; then
                printf '    [%q]=%q\n' "$scope $name" "$value" >>"$work/values"
            fi
        done
    done
}
declare -A all_options=()
: >"$work/values"
completion_table vexafs < <(options_of <<<"$main_help")
for command in $commands; do
    completion_table "$command" < <("$program" "$command" --help | options_of)
done
{
    echo "# bash completion for vexafs; made by the build from 'vexafs --help'."
    echo
    echo "_vexafs_commands=$(printf '%q' "$(echo $commands)")"
    echo "declare -gA _vexafs_options=("
    for scope in "${!all_options[@]}"; do
        printf '    [%q]=%q\n' "$scope" "${all_options[$scope]}"
    done
    echo ")"
    echo "# What follows an option that takes a value: its words, or * for any text."
    echo "declare -gA _vexafs_values=("
    cat "$work/values"
    echo ")"
    cat <<'EOF'

_vexafs() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
    local command=vexafs word i
    # The command is the first word that is neither an option nor an option's value.
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $word == -* ]]; then
            [[ -n ${_vexafs_values["$command $word"]-${_vexafs_values["vexafs $word"]-}} ]] &&
                ((i++))
        elif [[ $command == vexafs ]]; then
            command=$word
        fi
    done
    COMPREPLY=()
    if ((COMP_CWORD > 1)); then
        local value=${_vexafs_values["$command $prev"]-${_vexafs_values["vexafs $prev"]-}}
        if [[ -n $value ]]; then
            # Any text: left to the shell's completion of file names.
            [[ $value == "*" ]] || mapfile -t COMPREPLY < <(compgen -W "$value" -- "$cur")
            return 0
        fi
    fi
    if [[ $cur == -* ]]; then
        local options=${_vexafs_options[vexafs]}
        [[ $command == vexafs ]] || options+=" ${_vexafs_options[$command]-}"
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
    elif [[ $command == vexafs ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$_vexafs_commands" -- "$cur")
    fi
    return 0
}
complete -o default -F _vexafs vexafs
EOF
} >"$work/vexafs.bash"

# --- manual page -------------------------------------------------------------------------
# Each command's page from help2man, its synopsis, description and options kept as a
# subsection of COMMANDS.
{
    echo "[COMMANDS]"
    for command in $commands; do
        "$help2man" --no-info --help-option="$command --help" "$program" |
            awk -v command="$command" '
                /^\.SH SYNOPSIS/ { print ".SS " command; body = 1; next }
                !body { next }
                /^\.SH DESCRIPTION/ { print ".PP"; next }
                /^\.SH OPTIONS/ { print ".PP"; print "Options:"; next }
                /^\.S[HS] / { sub(/^\.S[HS] /, ""); gsub(/"/, ""); print ".PP"; print; next }
                { print }'
    done
    # The program reads these variables where an option is not given.
    environment=$(sed -n 's/^  \(-[^ ]*\) .*(Env:\([A-Za-z_0-9]*\)).*/\2 \1/p' <<<"$main_help")
    if [[ -n $environment ]]; then
        echo "[ENVIRONMENT]"
        while read -r variable option; do
            printf '.TP\n.B %s\nThe value of \\fB%s\\fR when the option is not given.\n' \
                "$variable" "${option//-/\\-}"
        done <<<"$environment"
    fi
} >"$work/commands.h2m"
name=$(head -n 1 <<<"$main_help")
"$help2man" --no-info --section=1 --name="${name#vexafs: }" --include="$work/commands.h2m" \
    --include="$static_include" --output="$work/vexafs.1" "$program"
gzip -9n "$work/vexafs.1"

mv "$work/vexafs.bash" "$work/vexafs.1.gz" "$out/"
