// Nothing: the headers that are precompiled for the tests belong to some target.
