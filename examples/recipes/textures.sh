dib each 'art/*.png' fill:64x64 colors:16 'textures/{name}.tim'
dib each 'textures/*.tim' 'pictures/{name}.png'
