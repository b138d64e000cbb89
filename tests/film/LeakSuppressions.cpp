// What the leak checker is to pass over: x265 3.5 never frees some hundred bytes of each encoder that was opened.
extern "C" const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier): the checker's name
extern "C" const char* __lsan_default_suppressions() { return "leak:libx265.so\n"; }  // NOLINT
