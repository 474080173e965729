// The object that the compiled headers belong to.
