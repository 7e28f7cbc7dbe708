// Recieves the picture.
