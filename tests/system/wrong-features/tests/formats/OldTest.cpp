// LoadOLD
