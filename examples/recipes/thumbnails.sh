dib each 'photos/*.jpg' fit:200x200 'thumbs/{name}.jpg'
