// A target needs a source to have its headers compiled.
