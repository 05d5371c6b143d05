// What the address sanitizer would call a leak and is none: other libraries keep it until the process ends. A program has one
// such function, so this is compiled into each that is linked with rtrie_core, in builds with that sanitizer.
extern "C" {
const char* __lsan_default_suppressions();
const char* __lsan_default_options();
}

// fontconfig keeps the fonts that it has found, and libedit the names of keys.
const char* __lsan_default_suppressions() { return "leak:libfontconfig\nleak:wcsdup\n"; }
const char* __lsan_default_options() { return "print_suppressions=0"; }
