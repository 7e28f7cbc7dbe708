# bash completion for dib

_dib() {
    local line=${COMP_LINE:0:COMP_POINT} kept='' kind offer
    local -a words
    read -ra words <<<"$line"
    [[ $line == *[[:blank:]] ]] && words+=('')
    local current=${words[-1]}
    COMPREPLY=()
    # The line editor keeps what stands before its own last word break.
    [[ $current == *[:=]* ]] && kept=${current%"${current##*[:=]}"}
    while IFS=$'\t' read -r offer _; do
        if [[ -z $kind ]]; then
            kind=$offer
            continue
        fi
        COMPREPLY+=("${offer#"$kept"}")
        [[ $offer == *[:=] ]] && compopt -o nospace 2>/dev/null
    done < <("${words[0]}" __complete "${words[@]:1}" 2>/dev/null)
    # Without words the line editor offers files by itself.
    [[ $kind == files && ${#COMPREPLY[@]} -gt 0 ]] &&
        mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$current")
    return 0
}

complete -o default -F _dib dib
