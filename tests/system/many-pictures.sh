#!/usr/bin/env bash
# Runs the commands of docs/many-pictures.md on a folder of pictures: on this machine, and on a second one, which is a
# folder reached by a replacement of ssh.
# usage: many-pictures.sh DIB MAKE_SAMPLE_PICTURE WORK_DIR
set -euo pipefail
program="$1" make_sample_picture="$2" work="$3"
command -v parallel >/dev/null || { echo "parallel is not installed"; exit 77; }

rm -rf "$work"
mkdir -p "$work/bin" "$work/here/pictures/holiday" "$work/there" "$work/home/.parallel"
ln -s "$program" "$work/bin/dib"
export PATH="$work/bin:$PATH" HOME="$work/home"
touch "$HOME/.parallel/will-cite"

cd "$work/here"
for name in one two "three of us" "it's four" holiday/five; do
    "$make_sample_picture" 64 48 "pictures/$name.bmp"
done
# Of the same name as another one.
"$make_sample_picture" 32 32 pictures/holiday/one.bmp
head -c 100 pictures/one.bmp >pictures/broken.bmp

shrink_pictures() {
    find pictures -name '*.bmp' -print0 | sort -z |
        parallel --null --joblog jobs.tsv --resume-failed --rpl '{result} s:^pictures/:small/:' "$@" \
            'mkdir -p "$(dirname {result})" && dib run {} resize:50%,filter=area bpp:8,method=median {result}'
}

failures() {
    awk -F '\t' 'NR > 1 { exit_value[$1] = $7; command[$1] = $9 }
        END { for (job in command) if (exit_value[job] != 0) print exit_value[job] "\t" command[job] }' jobs.tsv
}

# Results of the six good pictures, and none of the broken one.
expect_results() {
    local names=("holiday/five" "holiday/one" "it's four" "one" "three of us" "two") name size
    [ "$(find small -type f | LC_ALL=C sort)" = "$(printf 'small/%s.bmp\n' "${names[@]}")" ]
    for name in "${names[@]}"; do
        size=32x24
        [ "$name" != holiday/one ] || size=16x16
        [ "$(dib info "small/$name.bmp" | sed 's/.*: //')" = \
            "bmp, $size pixels, 8 bits, 1 channel, bottom-up, palette of 256, compression none" ]
    done
    # The input folder is unchanged.
    [ "$(find pictures -type f | wc -l)" -eq 7 ]
}

# Number of jobs in the log, which has a line of titles.
jobs_run() { echo $(($(wc -l <jobs.tsv) - 1)); }

# A run over the folder with one broken file, then again after its repair; the options are those of the recipe.
run_twice() {
    local status=0
    shrink_pictures "$@" 2>messages.txt || status=$?
    [ "$status" -eq 1 ] || { cat messages.txt; echo "exit $status with one broken file"; exit 1; }
    grep -F 'dib: pictures/broken.bmp: load: the file ends before its pixels do' messages.txt
    ! grep -F Warning messages.txt || exit 1
    expect_results
    [ "$(jobs_run)" -eq 7 ]
    failures | grep -P '^3\t.* && dib run pictures/broken.bmp '
    [ "$(failures | wc -l)" -eq 1 ]

    # Only failed jobs run again.
    cp pictures/two.bmp pictures/broken.bmp
    rm small/one.bmp
    shrink_pictures "$@"
    [ "$(jobs_run)" -eq 8 ]
    [ -z "$(failures)" ]
    [ -f small/broken.bmp ] && [ ! -e small/one.bmp ]
}

echo "== on this machine"
[ "$(type -P shrink_pictures || true)" = "" ]
run_twice

if ! command -v rsync >/dev/null; then
    echo "rsync is not installed: not tried on a second machine"
    exit 0
fi
echo "== on another one"
# Called like ssh, with options, machine and command. Home is another folder. SHELL is set as a login sets it, because
# jobs run under it and the environment of the tests may lack it.
cat >"$work/bin/ssh-stand-in" <<STANDIN
#!/usr/bin/env bash
while [ "\${1#-}" != "\$1" ]; do case "\$1" in -l | -S | -o | -p | -i) shift 2 ;; *) shift ;; esac; done
shift
[ "\$1" != -- ] || shift
cd "$work/there" && echo "\$*" >>"$work/commands.txt" && exec env HOME="$work/there" SHELL=/bin/bash bash -c "\$*"
STANDIN
chmod +x "$work/bin/ssh-stand-in"
export PARALLEL_SSH="$work/bin/ssh-stand-in" RSYNC_OLD_ARGS=1
rm -rf small jobs.tsv
head -c 100 pictures/one.bmp >pictures/broken.bmp
run_twice --sshlogin 2/far --transferfile {} --return {result}
grep -F 'far' jobs.tsv >/dev/null
grep -F 'GNU_Parallel_worker' "$work/commands.txt" >/dev/null
