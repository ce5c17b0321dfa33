# Completion for tavrel-sitetool: its commands and options, as --help lists them, or else files.
_tavrel_sitetool() {
    local help command typed='' choices='' word=${COMP_WORDS[COMP_CWORD]}
    help=$("$1" --help 2>/dev/null)
    if [[ $word == -* ]]; then
        choices=$(grep -oP '^ +(-\w, )?\K--[a-z-]+' <<<"$help")
    else
        ((COMP_CWORD == 1)) || typed="${COMP_WORDS[*]:1:COMP_CWORD-1} "
        while read -r command; do
            command+=' '
            [[ $command != "$typed"* ]] || choices+=" ${command#"$typed"}"
        done < <(grep -oP '^  \K[a-z]+( [a-z]+)?(?= |$)' <<<"${help%%Options:*}")
    fi
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
}
complete -o default -F _tavrel_sitetool tavrel-sitetool
