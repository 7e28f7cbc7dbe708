#!/usr/bin/env bash
# What bash, fish and zsh offer with the program's completion scripts, for the same lines.
# usage: completions.sh DIB WORK_DIR
set -euo pipefail
dib="$1" work="$2"
rm -rf "$work"
mkdir -p "$work"
cd "$work"
PATH="$(dirname "$dib"):$PATH"
touch picture.bmp

# bash passes the line and the position of the cursor. Its line editor keeps the text before the last ':' or '='.
"$dib" completion bash >dib.bash
cat >ask.bash <<'END'
source ./dib.bash
complete -p dib >/dev/null
COMP_LINE=$1 COMP_POINT=${#1}
_dib 2>/dev/null
word=${1##* }
# What the line editor does where nothing is offered.
[ ${#COMPREPLY[@]} -gt 0 ] || mapfile -t COMPREPLY < <(compgen -f -- "$word")
kept=${word%"${word##*[:=]}"}
[[ $word == *[:=]* ]] || kept=
for offer in "${COMPREPLY[@]}"; do echo "$kept$offer"; done
END

# fish completes without its line editor; the text after a tab is an explanation.
"$dib" completion fish >dib.fish
cat >ask.fish <<'END'
source dib.fish
complete -C $argv[1] | string replace -r '\t.*' ''
true  # string replace fails when it replaces nothing
END

# The completion system of zsh works in its line editor only, so the functions it offers are replaced.
"$dib" completion zsh >_dib
cat >ask.zsh <<'END'
compdef() { :; }
offer() { for word in "$@"; do [[ $word == $PREFIX* ]] && print -r -- "$word"; done; return 0; }
_describe() {
    while [[ $1 == -* ]]; do shift 2; done
    local entry
    for entry in ${(P)2}; do entry=${entry//\\:/$'\1'}; offer "${${entry%%:*}//$'\1'/:}"; done
}
_files() { offer *; }
source ./_dib
words=(${(s: :)1}) CURRENT=$#words PREFIX=$words[-1]
_dib
END

failed=0
# offers LINE WORD...: exactly these words complete the line, in any order.
offers() {
    local line="$1" wanted shell got
    shift
    wanted="$(printf '%s\n' "$@" | LC_ALL=C sort)"
    for shell in bash fish zsh; do
        command -v "$shell" >/dev/null || continue
        case "$shell" in
            bash) got="$(bash --norc ask.bash "$line")" ;;
            fish) got="$(HOME="$work" fish --no-config ask.fish "$line")" ;;
            zsh) got="$(zsh -f ask.zsh "$line")" ;;
        esac
        # Shells differ in whether a trailing '=' belongs to the offer: fish adds it in the next round.
        got="$(printf '%s\n' "$got" | sed 's/=$//' | LC_ALL=C sort -u)"
        [ "$got" = "$wanted" ] && continue
        printf '%s: "%s" is completed to\n%s\ninstead of\n%s\n' "$shell" "$line" "$got" "$wanted"
        failed=1
    done
}

offers 'dib ru' run
offers 'dib help whi' whirl
offers 'dib completion z' zsh
offers 'dib run picture.bmp bp' bpp:
offers 'dib run pic' picture.bmp
offers 'dib run picture.bmp bpp:1' bpp:1 bpp:16
offers 'dib run picture.bmp bpp:8,method=m' bpp:8,method=median
offers 'dib run picture.bmp rotate:30,w' rotate:30,wrap
offers 'dib run --progress=a' --progress=always --progress=auto
offers 'dib info --js' --json
exit "$failed"
