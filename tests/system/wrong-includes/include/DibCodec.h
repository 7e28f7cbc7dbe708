// The codec header of the tree of offences.
