// DEOldInfo
