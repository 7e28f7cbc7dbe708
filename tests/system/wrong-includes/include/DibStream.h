// A public header of the tree of offences.
