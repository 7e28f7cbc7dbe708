#!/usr/bin/env bash
# Opens pictures with examples/sandbox/dib-sandboxed, and checks that it keeps the process in.
# usage: sandbox.sh SCRIPT DIB MAKE_SAMPLE_PICTURE WORK_DIR
set -euo pipefail
sandboxed="$1" dib="$2" make_sample_picture="$3" work="$4"
command -v bwrap >/dev/null || { echo "bubblewrap is not installed"; exit 77; }
bwrap --unshare-all --ro-bind / / true || { echo "namespaces are not allowed here"; exit 77; }

# The sandbox shows the program's own prefix, in which the build has its tests.
secret="$(mktemp -d)/secret.bmp"
trap 'rm -r "$(dirname "$secret")"' EXIT
rm -rf "$work"
mkdir -p "$work/in" "$work/out" "$work/tool/bin"
cd "$work"
"$make_sample_picture" 64 48 in/picture.bmp
"$make_sample_picture" 64 48 "$secret"
export DIB="$dib"

echo "== a picture"
"$sandboxed" in/picture.bmp resize:50% bpp:8,method=median out/small.bmp
"$dib" run in/picture.bmp resize:50% bpp:8,method=median expected.bmp
cmp out/small.bmp expected.bmp

echo "== a damaged picture fails as without the sandbox"
head -c 100 in/picture.bmp >in/damaged.bmp
code=0
"$dib" run in/damaged.bmp out/damaged.bmp 2>outside.txt || code=$?
[ "$code" -ne 0 ]
inside=0
"$sandboxed" in/damaged.bmp out/damaged.bmp 2>inside.txt || inside=$?
[ "$inside" = "$code" ]
[ ! -e out/damaged.bmp ]
[ "$(sed 's/^.*: //' inside.txt)" = "$(sed 's/^.*: //' outside.txt)" ]

echo "== other files cannot be read"
"$dib" run in/picture.bmp "compose:$secret" outside.bmp
if "$sandboxed" in/picture.bmp "compose:$secret" out/composed.bmp 2>message.txt; then exit 1; fi
grep -F "No such file or directory" message.txt

echo "== a picture of 2 GB finds no memory"
printf 'P6 26000 26000 255\n' >in/large.ppm
truncate -s 2028000019 in/large.ppm
"$dib" info in/large.ppm | grep -F '26000x26000'
if "$sandboxed" in/large.ppm half out/large.png 2>message.txt; then exit 1; fi
grep -F "memory" message.txt

echo "== other folders cannot be written, the network is away"
cat >tool/bin/dib <<'END'
#!/usr/bin/bash
for folder in /usr "${0%/*}"; do touch "$folder/new" 2>/dev/null && exit 1; done
[ -w "$2" ] && exit 1
touch /out/new
timeout 5 bash -c "exec 3<>/dev/tcp/127.0.0.1/$(cat /out/port)" 2>/dev/null && exit 1
echo kept
END
chmod +x tool/bin/dib
python3 -c '
import pathlib, socket, sys
server = socket.create_server(("127.0.0.1", 0))
pathlib.Path("out/port").write_text(str(server.getsockname()[1]))
server.settimeout(60)
server.accept()' &
server=$!
trap 'kill $server 2>/dev/null || true; rm -r "$(dirname "$secret")"' EXIT
until [ -s out/port ]; do sleep 0.05; done
[ "$(DIB="$work/tool/bin/dib" "$sandboxed" in/picture.bmp out/x.bmp)" = kept ]
[ -e out/new ]
# From outside the same port answers.
timeout 5 bash -c "exec 3<>/dev/tcp/127.0.0.1/$(cat out/port)"
wait "$server"
