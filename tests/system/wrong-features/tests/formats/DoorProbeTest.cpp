// "old"
