# fish completion for dib

function __dib_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l lines ($words[1] __complete $words[2..] "$current" 2>/dev/null)
    test "$lines[1]" = files; and __fish_complete_path "$current"
    printf '%s\n' $lines[2..]
end

complete -c dib -f -a '(__dib_complete)'
