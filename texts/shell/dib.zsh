#compdef dib

_dib() {
    local kind line word
    local -a whole begun
    for line in "${(@f)$(${words[1]} __complete "${(@)words[2,CURRENT]}" 2>/dev/null)}"; do
        if [[ -z $kind ]]; then
            kind=$line
            continue
        fi
        # _describe splits "word:explanation" at the first bare colon.
        word=${${line%%$'\t'*}//:/\\:}
        [[ $line == *$'\t'* ]] && line=$word:${line#*$'\t'} || line=$word
        if [[ $word == *[:=]* ]]; then begun+=("$line"); else whole+=("$line"); fi
    done
    _describe -t words word whole
    _describe -t words word begun -S ''
    [[ $kind != files ]] || _files
}

if [[ $funcstack[1] == _dib ]]; then
    _dib "$@"
else
    compdef _dib dib
fi
