dib montage 'photos/*.jpg' --columns=4 --tile=150x150 --gap=12 --labels --background=#20242c sheet.png
