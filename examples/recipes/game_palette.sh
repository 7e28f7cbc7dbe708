dib montage 'art/*.png' all.png
dib run all.png colors:16 all.png
dib palette all.png game.gpl
dib each 'art/*.png' remap:game.gpl,dither=ordered 'tiles/{name}.png'
