# What the program lets go of
