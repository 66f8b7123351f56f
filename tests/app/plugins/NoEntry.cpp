// A library that isn't a plug-in.
extern "C" __attribute__((visibility("default"))) int Nothing() { return 0; }
