dib layers coin.psd layers
dib montage 'layers/*.png' --columns=8 --gap=2 --background=#00000000 sprites.png
