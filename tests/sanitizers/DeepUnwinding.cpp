// Linked into programs that use GLib, whose leaks are recognised by frames that quick unwinding does not see.
// Not for all programs: it makes one that allocates much, as TLS does, twenty times slower.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0";
}
