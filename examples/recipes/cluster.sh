mapfile -t share < <(printf '%s\n' photos/*.jpg | awk -v task="$TASK" -v tasks="$TASKS" 'NR % tasks == task')
dib each "${share[@]}" fit:320x320 'small/{name}.jpg' --resume --jobs=1
