// A library that a driver needs and that is not installed with it.

__attribute__((visibility("default"))) void absent();

void absent() { }
