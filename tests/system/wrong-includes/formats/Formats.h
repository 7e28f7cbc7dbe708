// A private header of the tree of offences.
